"""Checks the manual pages, the help and the completions. Usage: docs_test.py TOOL SOURCE CC LIBRARY

The manual pages are sound and tell every command and option that the help does, and so do the
completions; the examples of the pages give what they say.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

from programs import launched_program

TOOL = SOURCE = CC = LIBRARY = None


def run(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, timeout=60, **options)


def words(text):
    return re.findall(r"\w+", text.lower())


def page(name, section=None):
    """The printed text of a manual page, or of a section of it, in long lines."""
    printed = run("mandoc", "-Tascii", "-Owidth=1000", pathlib.Path(SOURCE, "docs/man", name)).stdout
    text = re.sub(r".\x08", "", printed)  # without overstriking for bold
    if section:
        text = re.search(rf"^{section}\n((?:(?: .*)?\n)*)", text, re.MULTILINE)[1]
    return text


def options_in(text):
    return set(re.findall(r"(?<![\w-])--?[a-z][a-z-]*", text))


def helps():
    """The help of each command."""
    names = re.findall(r"^  ([a-z]+) ", run(TOOL, "--help").stdout, re.MULTILINE)
    return {name: run(TOOL, "help", name).stdout for name in names}


def long_options(text):
    return set(re.findall(r"^  .{4}(--[a-z-]+)", text, re.MULTILINE))


class Pages(unittest.TestCase):
    def test_source_is_sound(self):
        symbols = run("nm", "-D", "--defined-only", LIBRARY).stdout
        names = set(re.findall(r" [TBD] (\w+)@@", symbols))
        self.assertGreater(len(names), 100)
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([sys.executable, f"{SOURCE}/docs/man/families.py",
                            f"{SOURCE}/include/nodetree", folder], check=True)
            self.assertEqual(names - {path.stem for path in pathlib.Path(folder).iterdir()}, set())
            families = [*pathlib.Path(folder).glob("nodetree_*.3")]
            for family in families:  # each contains the end of every public comment
                header = f"{SOURCE}/include/nodetree/{family.stem.removeprefix('nodetree_')}.h"
                shown, comments = words(page(family)), pathlib.Path(header).read_text(encoding="utf-8")
                for comment in re.findall(r"^/\*(?! In C )(.*?)\*/", comments, re.DOTALL | re.M):
                    self.assertIn(" ".join(words(comment)[-8:]), " ".join(shown), header)
            pages = [*pathlib.Path(SOURCE, "docs/man").glob("*.[1-7]"), *families]
            done = run("mandoc", "-Tlint", "-Wwarning", *map(str, pages))
        self.assertEqual((done.stdout, done.returncode), ("", 0))

    def test_commands_and_options(self):
        synopsis = page("nodetree.1", "SYNOPSIS")
        synopses = dict(re.findall(r"^ +nodetree ([a-z]+) (.*)$", synopsis, re.MULTILINE))
        usages = {name: options_in(text.split("\n")[0]) for name, text in helps().items()}
        self.assertEqual({name: options_in(line) for name, line in synopses.items()}, usages)
        description = page("nodetree.1", "DESCRIPTION")
        described = set(re.findall(r"^ +(?:-\w, )?(--[a-z-]+)", description, re.MULTILINE))
        self.assertEqual(set.union(*map(long_options, helps().values())), described)

    def test_expressions(self):
        text = page("nodetree-expressions.7")
        context = re.search(r'^ +(\{"host".*\})$', text, re.MULTILINE)[1]
        examples = re.findall(r"^( +)(\[.*\]) => (.*(?:\n\1 +.*)*)", text, re.MULTILINE)
        self.assertGreater(len(examples), 40)
        for _, expression, result in examples:
            result = re.sub(r"\s+", " ", result)
            done = run(TOOL, "eval", expression, input=context)
            failure = re.sub(r"^nodetree: .*?: / \(/\): ", "fails: ", done.stderr)
            self.assertEqual((done.stdout + failure).rstrip("\n"), result, expression)

    def test_operators_and_messages_are_documented(self):
        text = re.sub(r"\s+", " ", page("nodetree-expressions.7"))
        source = "".join(path.read_text() for path in pathlib.Path(SOURCE, "expr").glob("*.cpp"))
        operators = set(re.findall(r'\{"(\w+)", \w+_operation\}', source))
        self.assertEqual(set(re.findall(r'\["(\w+)"', text)) - {"sum"}, operators)
        literals = re.findall(r'"(?:[^"\\\n]|\\.)*"(?:\s+"(?:[^"\\\n]|\\.)*")*', source)
        messages = [re.sub(r'"\s+"', "", literal)[1:-1] for literal in literals]
        messages = [message for message in messages if re.search(r"[a-z]{3} [a-z]", message)]
        self.assertGreater(len(messages), 20)
        for message in messages:
            pattern = re.sub(r"%\w+", ".+?", re.escape(message).replace(r"\ ", " "))
            self.assertRegex(text, pattern)

    def test_program(self):
        code = re.search(r"^ +#include(.*\n)*? +\}$", page("nodetree.3", "EXAMPLES"), re.MULTILINE)[0]
        with tempfile.TemporaryDirectory() as folder:
            program = os.path.join(folder, "example")
            built = run(CC, "-std=c11", "-Wall", "-Wextra", "-Werror", "-x", "c", "-",
                        f"-I{SOURCE}/include", "-o", program, "-x", "none", LIBRARY,
                        f"-Wl,-rpath,{os.path.dirname(LIBRARY)}",
                        *os.environ.get("LDFLAGS", "").split(), input=code)
            self.assertEqual(built.returncode, 0, built.stderr)
            self.assertEqual(run(launched_program(program)).stdout, "443\n/server/ports/0=80\n"
                             "/server/ports/1=443\n/server/host=::1\n")


class Completion(unittest.TestCase):
    def complete(self, *words):
        script = (f'source "{SOURCE}/tool/completion/nodetree"\n'
                  'COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))\n_nodetree\necho "${COMPREPLY[@]}"')
        return set(run("bash", "-c", script, "bash", TOOL, *words).stdout.split())

    def test_bash(self):
        self.assertEqual(self.complete(""), set(helps()))
        for command, text in helps().items():
            self.assertEqual(self.complete(command, "-"), long_options(text), command)
        for words, answer in [
            (["-"], {"--help", "--version"}),
            (["f"], {"flat", "format", "filter"}),
            (["help", "con"], {"convert"}),
            (["convert", "--to", "m"], {"msgpack"}),
            (["get", "--color", "a"], {"auto", "always"}),
            (["filter", "--exclude", "-"], set()),
            (["eval", f"@{SOURCE}/LICEN"], {f"@{SOURCE}/LICENSE"}),
        ]:
            self.assertEqual(self.complete(*words), answer, words)

    def test_zsh(self):
        text = pathlib.Path(SOURCE, "tool/completion/_nodetree").read_text()
        reader = re.search(r"^_nodetree_options\(\) \{(?:.|\n)*?^\}$", text, re.MULTILINE)[0]
        specs = run("bash", "-c", reader + "\n_nodetree_options", input=helps()["filter"]).stdout
        for spec in ("*-c[prints JSON without blanks, one value on each line]",
                     "*--include=[keeps what PATTERN matches; may be repeated]:PATTERN: ",
                     "*--to=[the encoding to print]:word:(json msgpack)",
                     "*--output=[prints into FILE, which becomes complete or stays as it was]:file:_files"):
            self.assertIn(spec, specs.split("\n"))


if __name__ == "__main__":
    TOOL, SOURCE, CC, LIBRARY = sys.argv[1:]
    TOOL = launched_program(TOOL)
    unittest.main(argv=sys.argv[:1])
