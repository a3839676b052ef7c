"""Tests of the nodetree program. Usage: tool_test.py COMMAND..., which runs the program."""

import gzip
import os
import pty
import re
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

from programs import launched_program

COMMAND = []
ESCAPED = "surrogateescape"
VALUES = '{"a": {"b": [1, 2.5, "x\\ty"]}, "n": null, "e": {}, "s": "l1\\nl2"}'
USERS = '{"users": [{"name": "anna"}, {"id": 7}, {"name": "beat"}]}'
LEVELS = 1000000 // int(os.environ.get("NODETREE_TEST_SLOWDOWN", "1"))
DEEP = '{"deep": ' + "[" * LEVELS + '"bottom"' + "]" * LEVELS + ', "last": 1}'


def run(*arguments, text="", stdout=subprocess.PIPE, stderr=subprocess.PIPE, **options):
    if "stdin" not in options:
        options["input"] = text.encode() if isinstance(text, str) else text
    done = subprocess.run([*COMMAND, *arguments], stdout=stdout, stderr=stderr, timeout=300,
                          **options)
    return (done.returncode, (done.stdout or b"").decode(errors=ESCAPED),
            (done.stderr or b"").decode(errors=ESCAPED))


def told(name, text):
    """A pattern for a message about an input, with or without a place in it."""
    return f"nodetree: {re.escape(name)}(:\\d+:\\d+|: (message|value) [^:]*)?: {text}\n"


def told_input(text):
    return told("standard input", text)


class Case(unittest.TestCase):
    def expect(self, arguments, text, status, out, error="", **options):
        """Arguments are a list or separated by blanks; `error` must match all of standard error."""
        if isinstance(arguments, str):
            arguments = arguments.split()
        with self.subTest(arguments=arguments, text=text[:60]):
            got = run(*arguments, text=text, **options)
            self.assertEqual(got[:2], (status, got[1] if out is None else out), got[2])
            self.assertRegex(got[2], re.compile(r"\A" + error + r"\Z", re.DOTALL))

    def expect_rows(self, *rows):
        for row in rows:
            self.expect(*row)

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def file(self, name, content):
        path = os.path.join(self.folder, name)
        with open(path, "wb") as f:
            f.write(content if isinstance(content, bytes) else content.encode())
        return path


class Commands(Case):
    def test_look(self):
        compact = VALUES.replace(", ", ",").replace(": ", ":") + "\n"
        self.expect_rows(
            ("get /a/b/0 -r", VALUES, 0, "1\n"),
            ("get a/b/1", VALUES, 0, "2.5\n"),
            ("get /a/b/2", VALUES, 0, '"x\\ty"\n'),
            ("get -r /a/b/2", VALUES, 0, "x\ty\n"),
            ("get /a", VALUES, 0, '{\n\t"b": [\n\t\t1,\n\t\t2.5,\n\t\t"x\\ty"\n\t]\n}\n'),
            ("get /a/b/3", VALUES, 1, ""),
            (["get", ""], VALUES, 1, ""),
            ("get -- -x", '{"-x": 1}', 0, "1\n"),
            ("get n", '{"n":1} {"m":2} [3] {"n":[]}', 0, "1\n[]\n"),
            ("glob /users/*/name", USERS, 0, '/users/0/name="anna"\n/users/2/name="beat"\n'),
            ("glob /", "[]", 0, "/=[]\n"),
            ("flat", VALUES, 0,
             '/a/b/0=1\n/a/b/1=2.5\n/a/b/2="x\\ty"\n/n=null\n/e={}\n/s="l1\\nl2"\n'),
            ("flat", "7 {} [true]", 0, "/=7\n\n/={}\n\n/0=true\n"),
            ("format -c", VALUES, 0, compact),
            ("format", '1 "a"\n[{"b":2}]', 0, '1\n"a"\n[\n\t{\n\t\t"b": 2\n\t}\n]\n'),
            ("format -c", b'["\xff\xfe"]', 0, '["\udcff\udcfe"]\n'),
        )

    def test_forms(self):
        text = '{"b": [{"y": "v", "x": null}, []], "a": 1}'
        self.expect_rows(
            ("--compact --sort-keys format", text, 0, '{"a":1,"b":[{"x":null,"y":"v"},[]]}\n'),
            ("format --indent 1", text, 0,
             '{\n "b": [\n  {\n   "y": "v",\n   "x": null\n  },\n  []\n ],\n "a": 1\n}\n'),
            ("get -c --color=always b -n", text, 0,
             '1:[{\x1b[1;34m"y"\x1b[0m:\x1b[32m"v"\x1b[0m,'
             '\x1b[1;34m"x"\x1b[0m:\x1b[90mnull\x1b[0m},[]]\n'),
            ("glob * --null", text, 0, '/b=[{"y":"v","x":null},[]]\0/a=1\0'),
            ("flat -Hn -", "1 [true]", 0,
             "standard input:1:/=1\nstandard input:2:/0=true\n"),
            ("get -r s -p /n -p /none -p a/b --default - -n", VALUES + "{}", 0,
             '1:"l1\\nl2"\tnull\t-\t[1,2.5,"x\\ty"]\n2:-\t-\t-\t-\n'),
            ("get n --default -", '{"n":1} 2', 0, "1\n-\n"),
            ("get --pointer /a~1b/0/~01", '{"a/b": [{"~1": 7}]}', 0, "7\n"),
            ("get --pointer /0/00", "[[1]]", 1, ""),
        )
        # the fewest digits that read back as the same real
        reals = ("0.1 1e-9 1.0 -0.0 2.5 1e17 5e-324 1.7976931348623157e308 0.30000000000000004 "
                 "2.2250738585072014e-308 100.0 0.00001 1e-6 9.5367431640625e-7 9007199254740992.0")
        self.expect("format", reals, 0, reals.replace(" ", "\n") + "\n")

    def test_flat_reports_what_lines_cannot_express(self):
        told_once = told_input(".*: lines cannot express this: .*")
        self.expect_rows(
            ("flat", '{"a/b": {"x": 1}, "c\\nd": 2}', 2, "/a/b/x=1\n/c\nd=2\n",
             told_once + told_input("1 more .*")),
            ("flat", '{"": 1}', 2, "/=1\n", told_once),
            ("flat", '{"": {"01": 1}, "a=": {"1": 2}, "..": "="}', 0,
             '//01=1\n/a=/1=2\n/..="="\n'),
        )

    def test_dot(self):
        start = "digraph {\n  node [shape=box];\n"
        self.expect_rows(
            ("dot", '{"a": [1, "\\"\\n"], "q\\"\\u0001": {}}', 0, start +
             '  n0 [label="/\\n{2}"];\n'
             '  n1 [label="a\\n[2]"];\n  n0 -> n1;\n'
             '  n2 [label="0\\n1"];\n  n1 -> n2;\n'
             r'  n3 [label="1\n\"\\\"\\n\""];' "\n  n1 -> n3;\n"
             r'  n4 [label="q\"?\n{0}"];' "\n  n0 -> n4;\n}\n"),
            ("dot /a/b/2", VALUES, 0, start + r'  n0 [label="/a/b/2\n\"x\\ty\""];' "\n}\n"),
            ("dot /none", VALUES, 1, ""),
        )
        self.assertEqual(run("dot", "deep", text=DEEP)[1].count("\n"), 2 * LEVELS + 4)

    def test_eval(self):
        config = '{"port": 80, "list": [1, 2], "none": null, "off": false}'
        for expr, status, out, error in [
            ('["range", 81, 100, "/port"]', 1, "false\n", ""),
            ('["range", 1, 100, ["get", "/no"], "/port"]', 0, "true\n", "/3 .*'get' path /no .*"),
            ('["get", "/list"]', 0, "[\n\t1,\n\t2\n]\n", ""),
            ('""', 1, '""\n', ""),
            ('["atom", []]', 0, "[]\n", ""),
            ('["assert", ["get", "/off"], "it is off"]', 2, "", r"/ \(/\): it is off"),
            ('["and", 1, ["frob"]]', 2, "", r"/2 \(/\): Unknown [a-z ]*: frob"),
            ('["frob\\u001b[31m\\u007f\\u009b"]', 2, "", r".*: frob\?\[31m\?\?\?"),
            ('["atom",' + "[" * 200 + "]" * 201, 2, "", ".*deep.*"),
        ]:
            self.expect(["eval", expr], config, status, out, error and told_input(error))
        self.expect("eval -- -1", "{}", 0, "-1\n")

    def test_bad_expressions_print_nothing(self):
        for expr, error in [
            ("", "is empty"),
            (" ", "contains no value"),
            ("1 2", "contains more than one value"),
            ('["eq", 1', "ends inside a value"),
            ("9" * 20, "Failed to parse JSON: [^\n]*overflow"),
        ]:
            self.expect(["eval", expr], "1", 2, "", told("expression", error))
            path = self.file("rule", expr)
            self.expect("eval @" + path, "1", 2, "", told(path, error))
        self.expect("eval @/no/such", "1", 2, "", told("/no/such", "No such file.*"))

    def test_the_worst_result_counts(self):
        expr = '["assert", ["get", "ok"], ["get", "why"]]'
        rule = "eval @" + self.file("rule", '["value", "ok"]')
        yes = self.file("yes", '{"ok": true}')
        no = self.file("no", '{"ok": false, "why": "not yet"}')
        other = self.file("other", "[]")
        self.expect_rows(
            (f"{rule} {yes} {no} {yes}", "", 1, "true\nfalse\ntrue\n"),
            (f"{rule} {no} {other} {yes}", "", 2, "false\ntrue\n", told(other, ".*")),
            (["eval", expr, yes, no], "", 2, "true\n", told(no, r"/ \(/\): not yet")),
            (rule, '{"ok":0} {"ok":1} 2', 2, "0\n1\n", told_input("value 3: .*")),
            (rule, "2", 2, "", r"nodetree: standard input: / \(/\): .*"),
            (rule, "2 3\n", 2, "", told_input("value 1: .*") + told_input("value 2: .*")),
            (rule, "", 1, ""),
            (f"eval @- {yes} {no}", '["get", "/ok"]', 1, "true\nfalse\n"),
            ("eval @-", "true", 2, "", told_input("has already been read")),
        )

    def test_merge(self):
        one = self.file("one", '{"a": {"x": 1, "y": [1]}, "b": 1}')
        two = self.file("two", '[9] {"a": {"y": [2], "z": null}, "b": {"c": 2}}')
        bad = self.file("bad", "[1")
        self.expect_rows(
            (f"merge -c {one} {two}", "", 0,
             '{"a":{"x":1,"y":[1,2],"z":null},"b":{"c":2}}\n'),
            (f"merge -c {one} {two} -", '{"a": "last"}', 0, '{"a":"last","b":{"c":2}}\n'),
            (f"merge {one} -", '{"a": []} {"a": 2}', 0, '{\n\t"a": 2,\n\t"b": 1\n}\n'),
            (f"merge {one} -", "", 2, "", told_input("is empty")),
            (f"merge -c --arrays=replace {one} {two}", "", 0,
             '{"a":{"x":1,"y":[2],"z":null},"b":{"c":2}}\n'),
            ("merge - -", "1", 2, "", told_input("has already been read")),
            (f"merge {one} {bad} {one}s {two}", "", 2, "",
             told(bad, ".*") + told(one + "s", "No such.*")),
            (f"merge {one} -", DEEP, 2, "", "nodetree: .*deep.*"),
        )

    def test_filter(self):
        text = '{"db": {"host": "h", "key": "k1"}, "web": [{"key": "k2"}, {"id": 1}], "n": {}}'
        whole = text.replace(" ", "") + "\n"
        self.expect_rows(
            ("filter -c", text, 0, whole),
            ("filter -c --exclude /*/key --exclude /*/*/key", text, 0,
             '{"db":{"host":"h"},"web":[{},{"id":1}],"n":{}}\n'),
            ("filter -c --include /web/1 --include db/host", text, 0,
             '{"web":{"1":{"id":1}},"db":{"host":"h"}}\n'),
            ("filter --include /web --exclude /web/0 --removed", text, 0,
             "/db/host\n/db/key\n/web/0/key\n"),
            ("filter --exclude /n --removed", text, 1, ""),
            ("filter --exclude a", '{"a":1,"c":2} {"b":1}', 0, '{\n\t"c": 2\n}\n{\n\t"b": 1\n}\n'),
        )
        # an option after a file is recognised whatever POSIXLY_CORRECT says
        name = self.file("name", text)
        self.expect(f"filter -c {name} --include n -", "[]", 0, '{"n":{}}\n{}\n',
                    env={**os.environ, "POSIXLY_CORRECT": "1"})

    def test_diff(self):
        old = self.file("old", '{"a": 1, "b": {"c": [1, 2, 3], "d": "x"}, "e": null}')
        new = self.file("new", '{"b": {"d": "x", "c": [1, 5]}, "f": {}, "e": null}')
        same = self.file("same", '{"e":null, "b":{"d":"x","c":[1,2,3]},"a":1}')
        many = self.file("many", "1 2")
        self.expect_rows(
            (f"diff {old} {same}", "", 0, ""),
            (f"diff -c {old} {new}", "", 1, '{"b":{"c":{"1":5,"2":null}},"f":{},"a":null}\n'),
            (f"diff {old} -", '{"a":1,"b":2}', 1, '{\n\t"b": 2,\n\t"e": null\n}\n'),
            (f"diff - {many}", "1", 2, "", told(many, "contains more than one value")),
            (f"diff {old}y {old}s", "", 2, "", told(old + "y", ".*") + told(old + "s", ".*")),
            (f"diff {old} -", "[" * 200 + "]" * 200, 2, "", "nodetree: .*deep.*"),
            (f"diff {self.file('deep', DEEP)} -", DEEP, 0, ""),
        )


class Inputs(Case):
    def test_how_json_ends(self):
        inside = told_input("ends inside a value")
        self.expect_rows(
            ("format", "", 1, ""),
            ("format", " \n// nothing", 1, ""),
            ("format", "1 // one", 0, "1\n"),
            ("format -c", "[1] [2", 2, "[1]\n", inside),
            ("format", "1 /* never", 2, "1\n", inside),
            ("format", "tru", 2, "", inside),
            ("format", "9" * 20, 2, "", told_input("Failed to parse JSON: [^\n]*overflow")),
            ("format -c", "[1] [2; 3]", 2, "[1]\n",
             told_input(r"Failed to parse JSON: .*\[2;.*")),
            ("flat", '{": Stopped at byte 1":1,\n": Stopped at byte 1":2}', 2, "",
             'nodetree: standard input:2:23: the member name ": Stopped at byte 1" is repeated\n'),
            ("flat", "[1]\n[2,\n  x]", 2, "/0=1\n",
             "nodetree: standard input:3:3: Failed to parse JSON: lexical error: .*"),
            ("flat", "1\n[2,\n", 2, "/=1\n", "nodetree: standard input:3:1: ends inside .*"),
            ("eval 1", "1 [", 2, "1\n", "nodetree: standard input:1:3: ends inside .*"),
            ("flat", "[\x1b[31m]", 2, "", r"[^\x1b]*"),
        )

    def test_places_after_many_chunks(self):
        lines = "".join('{"n":%d}\n' % i for i in range(20000))
        self.expect("get n", lines + '{"n":\n [}', 2, "".join("%d\n" % i for i in range(20000)),
                    "nodetree: standard input:20002:3: Failed .*")
        packed = run("convert", "--to", "msgpack", text=lines)[1].encode(errors=ESCAPED)
        self.expect("get n", packed + b"\x91\xc1", 2, None,
                    f"nodetree: standard input: message 20001 at byte {len(packed)}: Error .*")

    def test_foreign_formats_are_named(self):
        rows = [("\ufeff[1]".encode("utf-16"), "UTF-16"), ("[1]".encode("utf-16-le"), "UTF-16"),
                (gzip.compress(b"[1]"), "gzip data"), (b"\x7fELF", None),
                (b"\0\1", "binary data")]
        for data, name in rows:
            looks = f"looks like {name}, .*" if name else "Failed to parse JSON.*"
            self.expect("format", data, 2, "", told_input(looks))
        self.expect("format -c", b"\xef\xbb\xbf[1] [", 2, "[1]\n",
                    "nodetree: standard input:1:5: ends inside a value\n")

    def test_skip_invalid(self):
        lines = '{"n":1} {"n":2}\n{"n":\n{"n":3}}\n\n{"n":4,"n":5}\n{"n":6}'
        self.expect("get n --skip-invalid", lines, 2, "1\n2\n3\n6\n",
                    ".*:2:6: the line ends inside a value\n.*:3:8: Failed .*"
                    '.*:5:12: the member name "n" is repeated\n'
                    "nodetree: standard input: 3 broken lines skipped\n")

    def test_an_input_that_is_the_output(self):
        one, two = self.file("one", '{"a":1}'), self.file("two", "[]")
        for redirection, name, text in ((f">> {one}", one, "is also the output; .*"),
                                        (f"> {one}", one, "is empty, because .* -i or -o .*"),
                                        (">&-", "standard output", "Bad file .*")):
            done = subprocess.run(["sh", "-c", f'"$@" {redirection}', "sh", *COMMAND, "merge", two,
                                   one if name == one else two], stderr=subprocess.PIPE, timeout=60)
            self.assertEqual(done.returncode, 2)
            self.assertRegex(done.stderr.decode(), rf"\A{told(name, text)}\Z")
        self.file("two", "1 " * 200000)
        with subprocess.Popen([*COMMAND, "format", two], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE) as program:
            program.stdout.read(1)
            os.truncate(two, 2)
            self.assertRegex(program.communicate()[1].decode(), told(two, "became shorter .*"))

    def test_a_failing_file_does_not_stop_the_next(self):
        one = self.file("one", '{"n": 1}')
        two = self.file("two", '{"n": 2} ]')
        empty = self.file("empty", "")
        blank = self.file("blank", " \n")
        other = self.file("other", '{"m": 1}')
        folder = self.folder
        self.expect_rows(
            (f"get n {other}", "", 1, ""),
            (f"get n {other} {one}", "", 0, "1\n"),
            (f"get n {two} {one}", "", 2, "2\n1\n", told(two, "Failed to parse JSON: .*")),
            (f"get n {one}/x {one}", "", 2, "1\n", told(one + "/x", "Not a directory")),
            (f"get n {folder} {one}", "", 2, "1\n", told(folder, "Is a directory")),
            (f"get n {empty} {blank}", "", 2, "", told(empty, "is empty") + told(blank, "contains no value")),
            (f"get n {one} -", '{"n": 3}', 0, "1\n3\n"),
            ("get n -", "", 1, ""),
        )

    def test_a_value_is_printed_before_the_next_arrives(self):
        for value in b'{"n": %d}', b"\x81\xa1n\xa1%d":
            with self.subTest(value=value), subprocess.Popen(
                [*COMMAND, "get", "-r", "n"], stdin=subprocess.PIPE, stdout=subprocess.PIPE
            ) as program:
                for number in range(3):
                    program.stdin.write(value % number)
                    program.stdin.flush()
                    ready, _, _ = select.select([program.stdout], [], [], 60)
                    self.assertTrue(ready, "no answer while standard input is open")
                    self.assertEqual(os.read(program.stdout.fileno(), 100), b"%d\n" % number)
                program.stdin.close()
                self.assertEqual(program.wait(60), 0)

    def test_deep_nesting(self):
        self.expect_rows(
            ("flat", DEEP, 0, "/deep" + "/0" * LEVELS + '="bottom"\n/last=1\n'),
            ("format", DEEP + " 1", 2, "1\n", told_input(".*deep.*")),
            ("glob *", DEEP, 2, "/last=1\n", told_input(".*deep.*")),
            ("filter --exclude deep -c", DEEP, 0, '{"last":1}\n'),
        )


class MessagePack(Case):
    MAP = b"\x83\xa1a\x92\x01\xcb\x40\x04" + bytes(6) + b"\xa1s\xa3x\ty\xa1n\xc0"
    JSON = '{"a":[1,2.5],"s":"x\\ty","n":null}\n'

    def pack(self, text):
        status, out, error = run("convert", "--to=msgpack", text=text)
        self.assertEqual((status, error), (0, ""))
        return out.encode(errors=ESCAPED)

    def test_convert(self):
        self.assertEqual(self.pack(self.JSON + "-1 [] true"), self.MAP + b"\xff\x90\xc3")
        self.assertEqual(self.pack(self.MAP * 2), self.MAP * 2)
        self.expect_rows(
            ("convert --to json -c", self.MAP * 2, 0, self.JSON * 2),
            ("convert --to json", b"\x91\x07", 0, "[\n\t7\n]\n"),
            ("convert --to msgpack", "[1] [2", 2, "\udc91\x01", told_input("ends inside a value")),
            ("convert --to=json", self.pack(DEEP) + b"\1", 2, "1\n", "nodetree: .*deep.*"),
        )

    def test_every_command_reads_it(self):
        rule = self.file("rule", self.pack('["eq", ["get", "s"], "x\\ty"]'))
        number = self.file("number", b"\x07")
        self.expect_rows(
            ("get -r s", self.MAP, 0, "x\ty\n"),
            (f"eval @{rule}", self.MAP, 0, "true\n"),
            (f"eval --from=msgpack @{self.file('text', '1')}", self.MAP, 0, "1\n"),
            (f"merge -c - {self.file('json', '{}')}", self.MAP, 0, self.JSON),
            (f"merge --from msgpack - {number}", self.MAP, 0, "7\n"),
            (f"diff - {self.file('seven', '7')}", self.MAP, 1, "7\n"),
        )

    def test_recognition(self):
        no_json = ".*Failed to parse JSON.*"
        empty = self.file("empty", "")
        self.expect_rows(
            ("format -c", b"\n {}", 0, "{}\n"),
            ("format -c", b"\x80", 0, "{}\n"),
            ("format -c", b"\xa1a\xc0\xe0", 0, '"a"\nnull\n-32\n'),
            ("format -c", b"\xdf\0\0\0\0", 0, "{}\n"),
            ("format --from=msgpack", b"\xa1a\x7b\xe0", 0, '"a"\n123\n-32\n'),
            ("format --from=json --from=msgpack", b"{[", 0, "123\n91\n"),
            ("format --from=msgpack", b"", 1, ""),
            (f"format --from=msgpack {empty}", b"", 2, "", told(empty, "is empty")),
            ("format --from=json", self.MAP, 2, "", no_json),
            ("format", b"\x7f", 2, "", no_json),
            ("format", b"\xe0", 2, "", no_json),
        )

    def test_a_broken_message_is_reported_after_earlier_results(self):
        parts = [self.MAP[:size] for size in range(1, len(self.MAP))]
        parts += [b"\xcc", b"\xc4\x01", b"\xd4\x01"]
        names = [self.file(f"part{i}", b"\x90" + part) for i, part in enumerate(parts)]
        error = "".join(told(name, "ends inside a value") for name in names)
        self.expect(["format", "-c", *names], "", 2, "[]\n" * len(names), error)
        self.expect("format -c", b"\x90\x91\xc1\x90", 2, "[]\n",
                    told_input("Error parsing MessagePack stream: .*"))

    def test_what_a_tree_cannot_hold_is_reported_and_left_out(self):
        left = "a part of the value is left out: [^\n]*"
        for data, out in [
            (b"\x91\xc4\x01x", "[]\n"),
            (b"\x82\xa1a\xd4\x01\x02\xa1b\x01", '{"b":1}\n'),
            (b"\x82\x01\x02\xa1a\x03", '{"a":3}\n'),
            (b"\x82\xa1a\x01\xa1a\x02", '{"a":1}\n'),
            (b"\xc4\x01x", ""),
        ]:
            self.expect("format -c", b"\x90" + data + b"\x07", 2, f"[]\n{out}7\n",
                        told_input(left))
            name = self.file("part", b"\x90" + data)
            self.expect("merge - " + name, "{}", 2, "", told(name, left))
        # after the earlier answers, also if both go to the same place
        out = run("format", "-c", text=b"\x90\x91\xc4\x01x\x07", stderr=subprocess.STDOUT)[1]
        self.assertRegex(out, r"\A\[\]\n" + told_input(left) + r"\[\]\n7\n\Z")


class Replacing(Case):
    """--in-place and --output: a file is complete, or as it was."""

    def stands(self, path, content):
        with open(path, "rb") as f:
            self.assertEqual(f.read(), content if isinstance(content, bytes) else content.encode())
        self.assertEqual([name for name in os.listdir(self.folder) if name.startswith(".")], [])

    def test_what_is_replaced(self):
        one, two = self.file("one", '{"a":1}'), self.file("two", b"\x81\xa1b\x02")
        link = os.path.join(self.folder, "link")
        os.symlink("one", link)
        os.chmod(one, 0o640)
        self.expect(f"format -i {link} {two}", "", 0, "")
        self.stands(one, '{\n\t"a": 1\n}\n')
        self.stands(two, b"\x81\xa1b\x02")
        self.assertTrue(os.path.islink(link))
        self.assertEqual(os.stat(one).st_mode & 0o777, 0o640)
        self.expect(f"merge -ci {one} {two}", "", 0, "")
        self.stands(one, '{"a":1,"b":2}\n')
        self.expect(f"merge {two} {one} -o {two} -c", "", 0, "")
        self.stands(two, '{"b":2,"a":1}\n')
        new = os.path.join(self.folder, "new")
        self.expect(f"flat {two} -o {new}", "", 0, "")
        self.stands(new, "/b=2\n/a=1\n")
        self.expect(f"get x {two} -o /dev/null", "", 1, "")
        self.assertTrue(os.path.exists("/dev/null") and not os.path.isfile("/dev/null"))

    def test_an_error_changes_nothing(self):
        good, bad = self.file("good", "[ 1 ]"), self.file("bad", "[ 1 ] [ 2")
        deep = self.file("deep", "[" * 200 + "]" * 200)
        self.expect(f"format -c -i {bad} {deep} {good}", "", 2, "", told(bad, ".*") +
                    told(deep, ".*deep"))
        self.stands(bad, "[ 1 ] [ 2")
        self.stands(good, "[1]\n")
        for arguments, error in [
            (f"merge {good} {bad} -o {deep}", told(bad, ".*")),
            (f"merge -i {deep} {bad}", told(bad, ".*")),
            (f"filter -i --removed {deep}", "nodetree: --removed .*\n"),
            ("format -i", told("-", "--in-place needs the name of a file")),
            ("format -i /dev/null", told("/dev/null", "is not a regular file")),
            (f"format -i {self.folder} {good}x", told(self.folder, "Is a directory") +
             told(good + "x", "No such.*")),
            (f"format {good} -o {good}/x", told(good + "/x", "Not a directory")),
            (f"format {good} -o /dev/full", told("/dev/full", "No space.*")),
        ]:
            self.expect(arguments, "", 2, "", error)
            self.stands(deep, "[" * 200 + "]" * 200)
        # like a full disk: a file cannot grow beyond 4 blocks of 512 bytes
        long = self.file("long", "[" + "1," * 3000 + "1]")
        limited = f"ulimit -f 4; trap '' XFSZ; exec {' '.join(COMMAND)} format -i {long}"
        self.assertEqual(subprocess.run(["bash", "-c", limited], stderr=subprocess.PIPE,
                                        timeout=60).returncode, 2)
        self.stands(long, "[" + "1," * 3000 + "1]")

    def test_a_file_that_others_change_or_a_signal_interrupts(self):
        fifo, one = os.path.join(self.folder, "fifo"), self.file("one", "[1]")
        os.mkfifo(fifo)
        for act, status, content in [
            (lambda program: self.file("one", "[1, 2]"), 2, "[1, 2]"),
            (lambda program: program.terminate(), -signal.SIGTERM, "[1, 2]"),
        ]:
            with subprocess.Popen([*COMMAND, "merge", "-i", one, fifo],
                                  stderr=subprocess.PIPE) as program:
                with open(fifo, "wb") as writer:
                    act(program)
                    time.sleep(0.2 if status < 0 else 0)
                    if status >= 0:
                        writer.write(b"[3]")
                self.assertEqual(program.wait(60), status)
                self.stands(one, content)


class Program(Case):
    @unittest.skipUnless(shutil.which("parallel"), "GNU parallel is not installed")
    def test_lines_may_be_split(self):
        """The command shown in the guide, with smaller pieces."""
        guide = os.path.join(os.path.dirname(__file__), "../docs/guide/parallel.md")
        with open(guide, encoding="utf-8") as page:
            command = re.search(r"^```sh\n(.*?)^```", page.read(), re.S | re.M)[1]
        self.file("lines.json", "".join('{"user":{"name":"u%d"}}\n' % i for i in range(3000)))
        os.environ["NODETREE_TEST_LAUNCHER"] = " ".join(COMMAND[:-1])
        path = f"{os.path.dirname(launched_program(COMMAND[-1]))}:{os.environ['PATH']}"
        subprocess.run(["sh", "-c", command.replace("16M", "9k")], cwd=self.folder, check=True,
                       timeout=200, env={**os.environ, "PATH": path, "HOME": self.folder})
        with open(os.path.join(self.folder, "names.txt"), encoding="utf-8") as names:
            self.assertEqual(names.read(), "".join("u%d\n" % i for i in range(3000)))

    def test_terminal(self):
        """Colors and progress go to a terminal, MessagePack does not."""
        def shown(arguments, text, **options):
            ours, theirs = pty.openpty()
            with subprocess.Popen([*COMMAND, *arguments.split()], stdin=subprocess.PIPE,
                                  stdout=theirs, stderr=theirs, **options) as program:
                for part in text:
                    program.stdin.write(part)
                    program.stdin.flush()
                    time.sleep(2.2 if len(text) > 1 else 0)
                program.stdin.close()
                self.assertEqual(program.wait(60), 0 if "to" not in arguments else 2)
            os.close(theirs)
            got = b""
            try:
                while True:
                    got += os.read(ours, 10000)
            except OSError:  # the terminal is closed
                os.close(ours)
            return got
        environment = {**os.environ, "TERM": "xterm", "NO_COLOR": ""}
        self.assertEqual(shown("get a", [b'{"a":1}'], env=environment), b"\x1b[36m1\x1b[0m\r\n")
        for name, value in (("NO_COLOR", "1"), ("TERM", "dumb")):
            self.assertEqual(shown("get a", [b'{"a":1}'], env={**environment, name: value}), b"1\r\n")
        self.assertRegex(shown("convert --to msgpack", [b""]), b"--force")
        self.assertRegex(shown("format -o " + os.path.join(self.folder, "out"), [b"1 ", b"2 "]),
                         rb"\A\r0\.0 MB, 0\.0 MB/s\x1b\[K\r\x1b\[K\Z")

    def test_closed_output(self):
        """Ends at once: silently by SIGPIPE, or with a message if that is ignored, as here."""
        reader, closed = os.pipe()
        os.close(reader)
        told_it = "nodetree: standard output: Broken pipe\n"
        for command, endless, *how in (("format", "1", -signal.SIGPIPE, "", True),
                                       ("format", "1", 2, told_it, False),
                                       ("unflat", "/=1\n", 2, told_it, False)):
            with subprocess.Popen(["yes", endless], stdout=subprocess.PIPE) as lines:
                self.expect(command, "", how[0], "", how[1], stdin=lines.stdout, stdout=closed,
                            restore_signals=how[2])
                lines.kill()
        os.close(closed)

    def test_help_and_version(self):
        status, help_text, error = run("--help")
        self.assertEqual((status, error), (0, ""))
        self.assertIn("  get      Prints the value at PATH.\n", help_text)
        self.expect("-h", "", 0, help_text)
        self.expect("help", "", 0, help_text)
        of_get = run("help", "get")[1]
        self.assertRegex(of_get, r"(?s)PATH .*\[FILE\.\.\.\]\n.*--raw.*--help.*\$ nodetree get -r")
        self.expect("--raw get --help", "", 0, of_get)
        self.assertRegex(run("--version")[1], r"\Anodetree \d+\.\d+\.\d+\n\Z")

    def test_usage_errors(self):
        for arguments, error, about in [
            ("", "no command given", ""),
            ("frobnicate", "unknown command 'frobnicate'", ""),
            ("merg", "unknown command 'merg'; did you mean 'merge'\\?", ""),
            ("--compact gte", "unknown command 'gte'; did you mean 'get'\\?", ""),
            ("get", "usage: nodetree get PATH .*", "get "),
            ("convert -c", "usage: nodetree convert --to .*", "convert "),
            ("diff a b c", "usage: nodetree diff .*", "diff "),
            ("flat -r", "flat takes no option '--raw'", "flat "),
            ("flat --colour", "unknown option '--colour'", ""),
            ("format --in", "option '--in' is ambiguous", ""),
            ("eval -1", "unknown option '-1'; put '--' before .*", ""),
            ("flat --from xml", "option '--from' takes .*, not 'xml'", "flat "),
            ("convert --to=", "option '--to' takes .*, not ''", "convert "),
            ("format --indent 17", "option '--indent' takes .*, not '17'", "format "),
            ("filter --include", "option '--include' needs an argument", ""),
            ("filter --exclude=", "a pattern must not be empty", "filter "),
            ("filter --removed=x", "option '--removed=x' takes no argument", ""),
            ("format -i -o x", "'--in-place' and .*", "format "),
        ]:
            self.expect(arguments, "1", 2, "",
                        f"nodetree: {error}\nTry 'nodetree {about}--help'\\.\n")

    def test_output_and_input_that_cannot_be_used(self):
        lost = told("standard output", ".+")
        with open("/dev/full", "wb") as full:
            for arguments, text in [
                ("flat", "[1] [2]"),
                ("format", "[1] ]"),
                ("format", '"' + "x" * 1000000 + '"'),
                ("--help", ""),
                ("convert --to msgpack", "[1]"),
            ]:
                self.expect(arguments, text, 2, "", lost, stdout=full)
            self.expect("get x", "[1]", 1, "", stdout=full)
        self.expect("flat", "[1]", 2, "", lost, preexec_fn=lambda: os.close(1))
        self.expect("get x", "[1]", 1, "", preexec_fn=lambda: os.close(1))

        self.expect(f"flat {self.file('one', '[1]')} -", "", 2, "/0=1\n", told_input(".+"),
                    stdin=None, preexec_fn=lambda: os.close(0))


if __name__ == "__main__":
    COMMAND = sys.argv[1:]
    if not COMMAND:
        sys.exit(__doc__)
    unittest.main(argv=sys.argv[:1])
