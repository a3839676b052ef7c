"""Doxygen's input filter: turns the comments of the headers into Doxygen's form. Usage: filter.py HEADER|PAGE

The headers are plain C and C++ comments. A comment documents every declaration after it, up to the
next blank line. A comment of the form "---- Title ----" is the heading of a group, and the first
one in a file documents the file. Line numbers do not change, so Doxygen's warnings name the
lines of the header.
"""

import pathlib
import re
import sys

HEADING = re.compile(r"-{4} (.*?) -{4}\s*", re.DOTALL)
# The beginning of a comment line that is shown literally.
AS_IT_IS = re.compile(r"  +(?!\d+\. |- )\S")
LIST = re.compile(r" *(\d+\. |- )")
BRACES = r"\{(?:[^{}]|\{[^{}]*\})*\}"
# Texts for members of C++ classes without a comment of their own.
PLAIN_MEMBERS = [
    (r"\b(View|Strings)\((::node \*|char \*\*|const )", "Borrows the object."),
    (r"&& = delete;|const Node &&\) = delete;", "Deleted for temporaries, which would not live long enough."),
    (r"(integer|real|boolean)\(T\) = delete;", "Deleted for other types."),
    (r"= delete;", "Deleted: no copies."),
    (r"\boperator bool\(", "Whether something is held."),
    (r"\bbegin\(", "The first item."),
    (r"\bend\(", "The end of the range."),
    (r"\bempty\(", "Whether there are none. O(1)."),
    (r"^ *~", "Releases the object."),
    (r"= default;", "Holds nothing."),
    (r"bool is_range_of_pairs", "Not for users."),
    (r"&&other\)", "Takes over the object of the other."),
    (r"\bsize\(", "The number of bytes; 0 when there is none."),
    (r"\bget\(\)", "The object, borrowed."),
    (r"\bCString\(const (char|T)\b", "The text, for one call."),
    (r"^  \S+ (key|value);", r"The \1."),
    (r"\btype\(", "The kind of node."),
    (r"^inline .*\b(dispose|view)\(", "Not for users."),
    (r"-> ", "Deduction guide."),
    (r"^ *(using|struct) ", "A member type that the standard library requires."),
]


def escaped(text):
    """Text that Doxygen shows literally; `code` and "quotations" are not escaped."""
    parts = re.split(r'(`[^`]*`|"[^"]*"|\*\w+\*)', text)
    parts[::2] = [re.sub(r"([\\@&$#<>%*]|--+)", r"\\\1", part) for part in parts[::2]]
    return "".join(parts)


def body(text):
    """The text of a comment, for Doxygen."""
    lines = text.split("\n")
    lines[1:] = [re.sub(r"^ (\*( |$)|  |\*?$)", "", line) for line in lines[1:]]
    done, code, listed = [], False, False
    for line in lines:
        if not line.strip() and not code:
            done.append("")
            continue
        if LIST.match(line):
            listed = True
        elif line[:1] not in ("", " "):
            listed = False
        if not listed and AS_IT_IS.match(line) and done:
            if not code:
                done[-1] += " @verbatim"
            code = True
            done.append(line)
        elif code and not line.strip():
            done.append(line)
        else:
            line = re.sub(r"^ *(\d+\. )", r"\1", line)
            done.append(("@endverbatim " if code else "") + escaped(line))
            code = False
    while len(done) > 1 and not done[-1]:
        done.pop()
    done[-1] += " @endverbatim" if code else ""
    return "\n".join(done) + "\n" * (len(lines) - len(done))


def name_of(declaration):
    """The name that a declaration at the outermost level declares."""
    declaration = re.sub(r"/\*.*?\*/|NODETREE_(API|SENTINEL)|NODETREE_PRINTF\([^)]*\)", "",
                         declaration, flags=re.DOTALL)
    found = re.match(r"#define (\w+)|[^(;{]*?(\w+)\s*[(;{]", declaration)
    return found[1] or found[2]


class Header:
    def __init__(self, text):
        self.text, self.at, self.out = text, 0, []
        self.grouped = False

    def take(self, pattern, flags=re.DOTALL):
        found = re.compile(pattern, flags).match(self.text, self.at)
        if found:
            self.at = found.end()
        return found

    def declarations(self):
        """The declarations from here to the next blank line."""
        while one := (
            self.take(r"NODETREE_(BEGIN|END)\n")
            or self.take(rf"(?![\n/#}}])(?:[^;{{]*{BRACES}[^;\n]*(?:;|(?=\n))|[^;{{]*;)[^\n]*\n")
            or self.take(r"#define (?:[^\n]*\\\n)*[^\n]*\n")
        ):
            yield one[0]

    def convert_c(self, family):
        """`family` is the name of the header; its declarations make a group of that name."""
        first, opened = True, False
        while self.at < len(self.text):
            comment = self.take(r"/\*(.*?)\*/\n")
            if comment:
                heading = HEADING.match(comment[1].lstrip("\n *"))
                text = body(comment[1])
                if first and family == "nodetree":
                    self.out.append(f"/** @page conventions Conventions{text}*/"
                                    " /** @file nodetree.h */\n")
                elif first:
                    text = re.sub(r"^\s*[\w, ]+_: (\w)", lambda found: "\n" + found[1].upper(), text)
                    self.out.append(f"/** @file */ /** @defgroup {family} {family}.h\n"
                                    f"{text[1:]} @{{*/\n")
                    opened = True
                elif heading:
                    self.close()
                    about = body(re.sub(r"^\* ?", "", HEADING.split(comment[1], 1)[2]))
                    title = " ".join(heading[1].split())
                    gap = "\n" * (comment[1].count("\n") - about.count("\n"))
                    self.out.append(f"/** @name {title}{gap}{about}*/ /**@{{*/\n")
                    self.grouped = True
                else:
                    self.run(text)
                first = False
            else:
                self.out += map(self.fields, self.declarations())
                self.out.append(self.take(r"[^\n]*\n")[0])  # blank, or for the preprocessor
        self.close()
        if opened:
            self.out.append("/** @} */\n")

    def run(self, text):
        other = self.take(r"#if[^\n]*\n#define[^\n]*\n#else\n(#define[^\n]*\n)#endif\n")
        if other:
            self.out.append(f"\n\n\n/** {text}*/\n{other[1]}\n")
        for number, one in enumerate(self.declarations()):
            if number == 0:
                self.out.append(f"/** {text}*/\n")
                leader = name_of(one)
                self.out.append(self.fields(one))
            else:
                self.out.append(f"/** @copydoc {leader} */ {self.fields(one)}")

    @staticmethod
    def fields(one):
        """A declaration with the comments after its parts."""
        return re.sub(r"/\*(.*?)\*/", lambda m: f"/**<{escaped(m[1])}*/", one)

    def close(self):
        if self.grouped:
            self.out[-1] = self.out[-1].rstrip("\n") + " /**@}*/\n"
        self.grouped = False


def member_words(line, rest):
    """The text for a C++ member without a comment: its C function, or from PLAIN_MEMBERS."""
    if not re.match(r"(  )?\S", line):
        return None  # inside a function
    declared = re.match(r"  \w[^;{]*?(\{[^}]*|;)", rest)
    called = declared and re.search(r"::([a-z]+_\w+)\(", declared[1])
    if called and "(" in line:
        return f"{called[1]}()."
    for pattern, words in PLAIN_MEMBERS:
        if found := re.search(pattern, line):
            return found.expand(words)
    return None


def convert_cpp(text):
    text = re.sub(r"^///(?=.*\n(?:///.*\n)*#if)", "//", text, flags=re.MULTILINE)  # not for users
    first = re.match(r"/\*(.*?)\*/\n", text, re.DOTALL)
    out = [f"/** @file {body(first[1])}*/"]
    lines = text[first.end():].split("\n")
    documented = False
    for number, line in enumerate(lines):
        if re.match(" */// @", line):
            line = re.sub("///(.*)", r"/**\1 */", line)
        elif line.lstrip().startswith("///"):
            documented = True
        elif not line.lstrip().startswith("template"):
            words = None if documented else member_words(line, "\n".join(lines[number:]))
            line = f"/** {words} */ {line}" if words else line
            documented = False
        out.append(line)
    return "\n".join(out)


def main():
    path = pathlib.Path(sys.argv[1])
    text = path.read_text(encoding="utf-8")
    if path.suffix == ".hpp":
        text = convert_cpp(text)
        if path.stem == "owners":  # the first of them
            text = text.replace("\nnamespace nodetree {", "\n/** The interface for C++. */ namespace nodetree {", 1)
        sys.stdout.write(text)
    elif path.suffix == ".md":  # files outside the pages are not linked
        text = text.replace("](README.md)", "](@ref md_docs_guide_README)")
        if text.startswith("# Guide\n"):  # its pages are below it, in its order
            text = re.sub(r"^(\d+\. )\[(.*?)\]\((\w+)\.md\)", r'\1@subpage md_docs_guide_\3 "\2"', text,
                          flags=re.MULTILINE)
        sys.stdout.write(re.sub(r"\[([^]]*)\]\((?!https?:|@ref |[\w-]+\.md\))[^)]*\)", r"\1", text))
    else:
        header = Header(text)
        header.convert_c(path.stem)
        sys.stdout.write("".join(header.out))


main()
