"""Writes a manual page of section 3 for every family, from the comments of its public header.

Usage: families.py HEADERS_FOLDER OUTPUT_FOLDER

A page nodetree_FAMILY.3 has the types, constants and functions of the family; each function
has a page of its own that refers to it. The date is that of SOURCE_DATE_EPOCH, or of the overview
page beside this script, so the same headers give the same pages.
"""

import datetime
import os
import pathlib
import re
import sys
import textwrap

COMMENT = r"/\*.*?\*/"
BRACES = r"\{(?:[^{}]|\{[^{}]*\})*\}"
# A comment, an exported declaration, an inline function, a macro used like a function, a
# type, a constant.
ITEM = re.compile(rf"({COMMENT})|^(?:extern )?NODETREE_API ([^;]*);|^static inline ([^{{;]*)\{{"
                  r"|^#define ((?:[a-z]\w*|AVL_RECORD)\([^)]*\))"
                  rf"|^(typedef [^;{{]*(?:{BRACES}[^;]*)?;)|^(#define (?!NODETREE)[A-Z_]+ .*?$)",
                  re.S | re.M)
HEADING = re.compile(r"^-{4} (.*?) -{4}\s*", re.S)
WIDTH = 72  # the longest literal line that fits on a terminal with 80 columns


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


def bare(comment):
    """The text of a comment without its markers."""
    lines = re.sub(r"^\s*/\*+ ?|\s*\*/$", "", comment, flags=re.S).split("\n")
    return "\n".join(re.sub(r"^ \* ?|^   ?", "", line).rstrip() for line in lines).strip("\n")


def filled(text):
    """A paragraph with one sentence on each line, `names` in italics, functions in bold."""
    out = []
    for sentence in re.split(r"(?<=[.?!]) +(?=\S)", " ".join(text.split())):
        lines = textwrap.wrap(sentence, 64, break_long_words=False, break_on_hyphens=False)
        text = escape("\n".join(lines))
        text = re.sub(r"`([^`]*)`", r"\\fI\1\\fR", text)
        out.append(re.sub(r"\b([a-z_]\w*)\(\)", r"\\fB\1\\fR()", text))
    return out


def pieces(text):
    """(kind, text) of the parts of a comment: "text", "item" of a list, "literal"."""
    for block in re.split(r"\n\n+", text):
        kind, lines = None, []
        for line in block.split("\n"):
            if line.startswith(" - "):
                new = "item"
            elif line.startswith("  ") and kind != "item":
                new = "literal"
            else:
                new = "item" if line.startswith(" ") else "text"
            if lines and (new != kind or line.startswith(" - ")):
                yield kind, "\n".join(lines)
                lines = []
            kind = new
            lines.append(line)
        yield kind, "\n".join(lines)


def prose(text):
    """A text as paragraphs and lists; indented lines and tables are kept literally."""
    out, before = [], None
    for kind, part in pieces(text):
        if before == "item" != kind:
            out.append(".El")
        if kind == "literal":
            out += [".Bd -literal -offset 2n", escape(textwrap.dedent(part)), ".Ed"]
        elif kind == "item":
            out += [*([".Bl -bullet"] if before != "item" else []), ".It", *filled(part[3:])]
        else:
            out += [*([".Pp"] if before else []), *filled(part)]
        before = kind
    return "\n".join(out + ([".El"] if before == "item" else []))


def plain_c(header):
    """A header without its parts for C++ only."""
    return re.sub(r"^#ifdef __cplusplus\n(?:(?!#e).*\n)*(?:#else\n((?:(?!#endif).*\n)*))?#endif\n",
                  lambda found: found[1] or "", header, flags=re.M)


def narrow(line):
    """A line of a type; a comment that is too long is wrapped."""
    found = re.fullmatch(r"(.*?)/\* (.*) \*/", line)
    if not found or len(line) <= WIDTH or len(found[1]) > WIDTH - 20:
        return line
    gap = "\n" + " " * (len(found[1]) + 3)
    return f"{found[1]}/* {gap.join(textwrap.wrap(found[2], WIDTH - len(found[1]) - 6))} */"


def shown_call(text):
    text = re.sub(r"NODETREE_(API|PRINTF\([^)]*\)|SENTINEL)", "", text)
    text = re.sub(r"(?<!,) ", "\0", re.sub(r"\s+", " ", text.strip()))  # break only after commas
    return "\n".join(textwrap.wrap(text, WIDTH, subsequent_indent="    ")).replace("\0", " ")


def shown_type(text):
    if "{" not in text:
        return shown_call(text)
    text = re.sub(r"\n\{ ", " {\n  ", text)
    text = re.sub(r" (/\*[^\n]*\*/) (\} \w+;)$", r" \1\n\2", text)
    return "\n".join(map(narrow, text.split("\n")))


def declarations(header):
    """(heading or None, comment, [declaration, ...], [name, ...]) for each public item of a header,
    in its order; the names are those of functions, macros and variables."""
    found, comment, fresh, seen = [], "", True, set()
    for match in ITEM.finditer(header):
        if match[1]:
            comment, fresh = bare(match[1]), True
            heading = HEADING.match(comment)
            if heading:
                found.append((" ".join(heading[1].split()), HEADING.sub("", comment, 1), [], []))
            continue
        if match[5] or match[6]:
            text, names = (shown_type(match[5]) if match[5] else match[6]), []
        else:
            text = shown_call(match[2] or match[3] or match[4]) + ("" if match[4] else ";")
            names = [re.search(r"(\w+)(?: ?\(|;$)", text)[1]]
            if names[0] in seen:  # a macro before the function of the same name
                continue
            seen.add(names[0])
        if fresh:
            found.append((None, comment, [], []))
        fresh = False
        found[-1][2].append(text)
        found[-1][3].extend(names)
    return found


def page(family, header, day):
    header = plain_c(header)
    intro = re.search(COMMENT, header, re.S)[0]
    items = declarations(header.replace(intro, "", 1))
    names = [name for item in items for name in item[3]]
    if not names:
        return None, []
    intro = bare(intro)
    intro = re.sub(r"^[\w, ]+_: (\w)", lambda found: found[1].upper(), intro)
    head = re.match(r".*?(?=[.:]\s)", intro, re.S)[0]
    head = re.sub(r"^[A-Z](?=[a-z]* )", lambda found: found[0].lower(), head)  # no name
    out = [f'.\\" Made by families.py from <nodetree/{family}.h>.', f".Dd {day}",
           f".Dt NODETREE_{family.upper()} 3", ".ds doc-volume Library Functions Manual",
           ".Os Linux", ".Sh NAME",
           *[f".Nm {name} ," for name in names[:-1]], f".Nm {names[-1]}",
           f".Nd {escape(' '.join(head.split()))}",
           ".Sh LIBRARY", ".Pa libnodetree", ".Pq Fl lnodetree", ".Sh SYNOPSIS",
           f".In nodetree/{family}.h", ".Sh DESCRIPTION", prose(intro)]
    types = [item for item in items if not item[0] and not item[3]]
    groups = [item for item in items if item[0] or item[3]]
    if types:
        out.append(".Sh TYPES AND CONSTANTS")
    for heading, text, shown, _ in types + groups:
        if heading:
            title, _, about = heading.partition(": ")
            out += [f".Sh {escape(title.upper())}", prose(about[:1].upper() + about[1:] or text)]
            continue
        if shown is groups[0][2]:
            out.append(".Sh FUNCTIONS")
        out += [".Bd -literal", *map(escape, shown), ".Ed", ".Bl -item -offset indent", ".It",
                prose(text), ".El"]
    out += [".Sh SEE ALSO", ".Xr nodetree 3" + (" ," if family == "expr" else ""),
            *([".Xr nodetree-expressions 7"] if family == "expr" else [])]
    return re.sub(r"\n\n+", "\n", "\n".join(out)) + "\n", names


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
