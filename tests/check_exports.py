#!/usr/bin/env python3
"""usage: check_exports.py CC INCLUDE_DIR LIBRARY SONAME

The shared object exports what the public headers declare and nothing else, each symbol with
a version, carries its SONAME and does not pull a C++ runtime into C programs.
"""

import re
import subprocess
import sys

cc, include, library, soname = sys.argv[1:]


def run(*command, text=None):
    return subprocess.run(command, input=text, capture_output=True, check=True, text=True).stdout


def declared():
    source = run(cc, "-E", "-P", "-x", "c", "-I", include, "-", text="#include <nodetree.h>\n")
    names = set()
    mark = r'__attribute__\s*\(\(visibility\("default"\)\)\)'
    for declaration in re.findall(mark + r"([^;{]*);", source):
        head = declaration.split("(")[0]  # the end of a function's name; a variable's ends with the declaration
        names.add(re.findall(r"\w+", head)[-1])
    return names


def exported():
    lines = run("nm", "-D", "--defined-only", "--format=posix", library).splitlines()
    symbols = (line.split()[0].partition("@") for line in lines if line.split()[1] != "A")
    return {name: version.lstrip("@") for name, _, version in symbols}


problems = []
names, symbols = declared(), exported()
if len(names) < 100:
    problems.append(f"only {len(names)} declarations found: is the headers' mark still the same?")
problems += [f"declared but not exported, as cmake/exports.map lacks it: {name}"
             for name in sorted(names - set(symbols))]
problems += [f"exported but not declared: {name}" for name in sorted(set(symbols) - names)]
problems += [f"without a version: {name}" for name, version in sorted(symbols.items())
             if not re.fullmatch(r"NODETREE_1(\.\d+)?", version)]

dynamic = run("readelf", "-dW", library)
needed = set(re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic))
problems += [f"needs {name}" for name in sorted(needed) if re.match(r"lib(stdc\+\+|gcc_s)", name)]
if re.findall(r"\(SONAME\).*\[(.*)\]", dynamic) != [soname] or soname != "libnodetree.so.1":
    problems.append(f"the SONAME is not libnodetree.so.1 ({soname})")

print(f"{len(names)} declared, {len(symbols)} exported, needs {', '.join(sorted(needed))}")
print("\n".join(problems))
sys.exit(bool(problems))
