"""Writes a manual page of section 3 for every family, from the comments of its public header.

Usage: families.py HEADERS_FOLDER OUTPUT_FOLDER

A page nodetree_FAMILY.3 names all functions of the family; for each of them there is a page of
its name that leads there. Prints nothing; the date is that of SOURCE_DATE_EPOCH, or of the
overview page beside this script, so the same headers give the same pages.
"""

import datetime
import os
import pathlib
import re
import sys

COMMENT = r"/\*.*?\*/"
# A comment, an exported declaration, an inline function, a macro that stands for a function.
ITEM = re.compile(rf"({COMMENT})|^(?:extern )?NODETREE_API ([^;]*);|^static inline ([^{{;]*)\{{"
                  r"|^#define ((?:[a-z]\w*|AVL_RECORD)\([^)]*\))", re.S | re.M)


def date():
    epoch = os.environ.get("SOURCE_DATE_EPOCH")
    if epoch:
        day = datetime.datetime.fromtimestamp(int(epoch), datetime.timezone.utc)
        return f"{day:%B} {day.day}, {day.year}"
    overview = pathlib.Path(__file__).with_name("nodetree.3").read_text(encoding="utf-8")
    return re.search(r"^\.Dd (.*)$", overview, re.M)[1]


def escape(text):
    text = text.replace("\\", "\\e").replace("-", "\\-").replace("'", "\\(aq")
    return re.sub(r"^\.", r"\\&.", text, flags=re.M)


def prose(comment):
    """A comment as paragraphs; indented lines and tables stay as they are."""
    lines = re.sub(r"^\s*/\*+ ?|\s*\*/$", "", comment, flags=re.S).split("\n")
    lines = [re.sub(r"^ \* ?|^   ?", "", line).rstrip() for line in lines]
    out, literal = [], False
    for line in lines:
        if line and line.startswith("  ") != literal:
            literal = not literal
            out.append(".Bd -literal -offset indent" if literal else ".Ed")
        if line:
            text = line if literal else re.sub(r"(?<=[.?!]) +(?=\S)", "\n", line.strip())
            out.append(escape(text))
        elif out and out[-1] != ".Pp":
            out.append("" if literal else ".Pp")
    while out and out[-1] in ("", ".Pp"):
        out.pop()
    if literal:
        out.append(".Ed")
    text = re.sub(r"(?:\n|\n\.Pp)\n(\.Bd|\.Ed)", r"\n\1", "\n".join(out))  # they make room themselves
    return re.sub(r"(?<=\n\.Ed\n)(?!\.)", ".Pp\n", text)


def declarations(header):
    """(comment, [declaration, ...], [name, ...]) of what a header exports, in its order."""
    found, comment, fresh, seen = [], None, True, set()
    for match in ITEM.finditer(header):
        if match[1]:
            comment, fresh = match[1], True
            continue
        text = re.sub(r"NODETREE_(API|PRINTF\([^)]*\)|SENTINEL)", "", match[2] or match[3] or match[4])
        text = re.sub(r"\s+", " ", text.strip())
        name = re.search(r"(\w+)(?: ?\(|$)", text)[1]
        if name in seen:  # a macro in front of the function
            continue
        seen.add(name)
        if fresh:
            found.append((comment, [], []))
        fresh = False
        found[-1][1].append(text if match[4] else text + ";")
        found[-1][2].append(name)
    return found


def page(family, header, day):
    groups = declarations(header)
    names = [name for group in groups for name in group[2]]
    if not names:
        return None, []
    intro = re.search(COMMENT, header, re.S)[0]
    head = re.search(r"^ \* (?:[^:\n]*): (.*?)[.:]?$", intro, re.M)[1]
    out = [f'.\\" Made by families.py from <nodetree/{family}.h>.', f".Dd {day}",
           f".Dt NODETREE_{family.upper()} 3", ".Os Linux", ".Sh NAME",
           *[f".Nm {name} ," for name in names[:-1]], f".Nm {names[-1]}", f".Nd {escape(head)}",
           ".Sh LIBRARY", ".Pa libnodetree", ".Pq Fl lnodetree", ".Sh SYNOPSIS",
           f".In nodetree/{family}.h", ".Sh DESCRIPTION", prose(intro)]
    for comment, texts, group in groups:
        out += [f".Ss {escape(', '.join(group))}", ".Bd -literal", *map(escape, texts), ".Ed", ".Pp",
                prose(comment)]
    out += [".Sh SEE ALSO", ".Xr nodetree 3"]
    return "\n".join(out) + "\n", names


def main(headers, output):
    output.mkdir(parents=True, exist_ok=True)
    day = date()
    for path in sorted(headers.glob("*.h")):
        text, names = page(path.stem, path.read_text(encoding="utf-8"), day)
        if text is None:
            continue
        (output / f"nodetree_{path.stem}.3").write_text(text, encoding="utf-8")
        for name in names:
            (output / f"{name}.3").write_text(f".so man3/nodetree_{path.stem}.3\n", encoding="utf-8")


if __name__ == "__main__":
    main(*map(pathlib.Path, sys.argv[1:]))
