#!/usr/bin/env python3
"""Checks that each family includes only the families below it."""

import pathlib
import re
import sys

MAY_INCLUDE = {
    "string": set(),
    "stringlist": {"string"},
    "avl": set(),
    "stringstream": set(),
    "log": {"stringstream"},
    "valuelist": {"stringstream"},
    "file": {"string", "stringlist", "log"},
    "process": {"stringlist", "log", "file"},
    "node": {"string", "stringlist", "avl", "stringstream", "log", "valuelist"},
}
MAY_INCLUDE["expr"] = {"string", "node"}
MAY_INCLUDE["codec"] = set(MAY_INCLUDE) - {"process", "expr"}
MAY_INCLUDE["convert"] = {"stringlist", "log", "node"}
# The shared code includes no family.
for family in MAY_INCLUDE:
    MAY_INCLUDE[family].add("shared")
MAY_INCLUDE["shared"] = set()
# Families whose public headers have other names, or none.
HEADERS_OF = {"codec": ["json", "msgpack", "node_stream"], "shared": []}

family_of_header = {
    f"nodetree/{header}.h": family
    for family in MAY_INCLUDE
    for header in HEADERS_OF.get(family, [family])
}
root = pathlib.Path(__file__).resolve().parent.parent


def families_included(path):
    for number, line in enumerate(path.read_text().splitlines(), 1):
        match = re.match(r'\s*#\s*include\s*[<"]([^>"]+)[>"]', line)
        if not match or match[1] == "nodetree/export.h":
            continue
        target = match[1]
        folder = target.split("/")[0]
        if target in family_of_header:
            yield number, target, family_of_header[target]
        elif folder in MAY_INCLUDE:
            yield number, target, folder
        elif folder.startswith("nodetree"):
            yield number, target, None  # the umbrella header, or one of no family


def main():
    bad = 0
    for family, allowed in MAY_INCLUDE.items():
        headers = [root / "include/nodetree" / f"{name}.h"
                   for name in HEADERS_OF.get(family, [family])]
        sources = [path for pattern in ("*.[ch]pp", "*.h")
                   for path in sorted((root / family).rglob(pattern))]
        for path in sources + headers:
            for number, target, included in families_included(path):
                if included != family and included not in allowed:
                    print(f"{path.relative_to(root)}:{number}: {family} may not include {target}")
                    bad += 1
    return 1 if bad else 0


sys.exit(main())
