"""Tests of the nodetree program. Usage: tool_test.py COMMAND..., which runs the program."""

import os
import re
import select
import subprocess
import sys
import tempfile
import unittest

COMMAND = []
ESCAPED = "surrogateescape"
VALUES = '{"a": {"b": [1, 2.5, "x\\ty"]}, "n": null, "e": {}, "s": "l1\\nl2"}'
USERS = '{"users": [{"name": "anna"}, {"id": 7}, {"name": "beat"}]}'
DEEP = '{"deep": ' + "[" * 1000000 + '"bottom"' + "]" * 1000000 + ', "last": 1}'


def run(*arguments, text="", **options):
    data = text if isinstance(text, bytes) else text.encode()
    if "stdin" not in options:
        options["input"] = data
    done = subprocess.run(
        [*COMMAND, *arguments],
        stdout=options.pop("stdout", subprocess.PIPE),
        stderr=subprocess.PIPE,
        timeout=300,
        **options,
    )
    out = (done.stdout or b"").decode(errors=ESCAPED)
    return done.returncode, out, done.stderr.decode(errors=ESCAPED)


def told(name, text):
    """A pattern of what is said about an input."""
    return f"nodetree: {re.escape(name)}: {text}\n"


class Case(unittest.TestCase):
    def expect(self, arguments, text, status, out, error="", **options):
        """`error` is a pattern that all of standard error matches."""
        with self.subTest(arguments=arguments, text=text[:60]):
            got = run(*arguments, text=text, **options)
            self.assertEqual(got[:2], (status, out), got[2])
            self.assertRegex(got[2], re.compile(r"\A" + error + r"\Z", re.DOTALL))

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def file(self, name, content):
        path = os.path.join(self.folder.name, name)
        with open(path, "wb") as f:
            f.write(content if isinstance(content, bytes) else content.encode())
        return path


class Commands(Case):
    def test_dot(self):
        start = "digraph {\n  node [shape=box];\n"
        self.expect(["dot"], '{"a": [1, "\\"\\n"], "q\\"\\u0001": {}}', 0, start +
                    '  n0 [label="/\\n{2}"];\n'
                    '  n1 [label="a\\n[2]"];\n  n0 -> n1;\n'
                    '  n2 [label="0\\n1"];\n  n1 -> n2;\n'
                    r'  n3 [label="1\n\"\\\"\\n\""];' "\n  n1 -> n3;\n"
                    r'  n4 [label="q\"?\n{0}"];' "\n  n0 -> n4;\n}\n")
        self.expect(["dot", "/a/b/2"], VALUES, 0, start +
                    r'  n0 [label="/a/b/2\n\"x\\ty\""];' "\n}\n")
        self.expect(["dot", "/none"], VALUES, 1, "")
        self.assertEqual(run("dot", "deep", text=DEEP)[1].count("\n"), 2 + 1000001 + 1000000 + 1)

    def test_get(self):
        for path, options, status, out in [
            ("/a/b/0", [], 0, "1\n"),
            ("a/b/1", [], 0, "2.5\n"),
            ("/a/b/2", [], 0, '"x\\ty"\n'),
            ("/a/b/2", ["-r"], 0, "x\ty\n"),
            ("/a/b/0", ["-r"], 0, "1\n"),
            ("/a", [], 0, '{\n\t"b": [\n\t\t1,\n\t\t2.5,\n\t\t"x\\ty"\n\t]\n}\n'),
            ("/a/b/3", [], 1, ""),
            ("", [], 1, ""),
        ]:
            self.expect(["get", *options, path], VALUES, status, out)
        self.expect(["get", "/"], "5", 0, "5\n")
        self.expect(["get", "--", "-x"], '{"-x": 1}', 0, "1\n")
        self.expect(["get", "/s", "-r"], VALUES, 0, "l1\nl2\n")
        self.expect(["get", "n"], '{"n":1} {"m":2} [3] {"n":[]}', 0, "1\n[]\n")

    def test_glob(self):
        for pattern, status, out in [
            ("/users/*/name", 0, '/users/0/name="anna"\n/users/2/name="beat"\n'),
            ("users/1", 0, '/users/1={"id":7}\n'),
            ("/", 0, "/=" + USERS.replace(" ", "") + "\n"),
        ]:
            self.expect(["glob", pattern], USERS, status, out)

    def test_flat(self):
        lines = "/a/b/0=1\n/a/b/1=2.500000\n/a/b/2=x\ty\n/n=\n/s=l1\nl2\n"
        self.expect(["flat"], VALUES, 0, lines)
        self.expect(["flat"], "7 [true]", 0, "7\n/0=true\n")
        self.expect(["flat"], "{}", 0, "")

    def test_format(self):
        compact = VALUES.replace(", ", ",").replace(": ", ":") + "\n"
        self.expect(["format", "-c"], VALUES, 0, compact)
        indented = '[\n\t{\n\t\t"b": 2\n\t}\n]\n'
        self.expect(["format"], '1 "a"\n[{"b":2}]', 0, '1\n"a"\n' + indented)
        # bytes that are no UTF-8
        self.expect(["format", "-c"], b'["\xff\xfe"]', 0, '["\udcff\udcfe"]\n')


class Inputs(Case):
    def test_end_of_input(self):
        bad = "nodetree: standard input: "
        for text, status, out, error in [
            ("", 1, "", ""),
            (" \n// nothing", 1, "", ""),
            ("1 // one", 0, "1\n", ""),
            ("[1] [2", 2, "[1]\n", bad + "ends inside a value\n"),
            ('{"a":', 2, "", bad + "ends inside a value\n"),
            ("1 /* never", 2, "1\n", bad + "ends inside a value\n"),
            ("tru", 2, "", bad + "ends inside a value\n"),
            ("9" * 20, 2, "", bad + "Failed to parse JSON: [^\n]*overflow\n"),
        ]:
            self.expect(["format", "-c"], text, status, out, error)

    def test_broken_json_is_told_behind_what_came_before(self):
        error = r"nodetree: standard input: Failed to parse JSON: .*\[2;.*\n"
        self.expect(["format", "-c"], "[1] [2; 3]", 2, "[1]\n", error)
        error = ".*Failed to parse JSON: .*repeated member.*"
        self.expect(["flat"], '{"a":1,"a":2}', 2, "", error)
        self.expect(["flat"], "[\x1b[31m]", 2, "", r"[^\x1b]*")

    def test_a_failing_file_does_not_stop_the_next(self):
        one = self.file("one", '{"n": 1}')
        two = self.file("two", '{"n": 2} ]')
        empty = self.file("empty", "")
        blank = self.file("blank", " \n")
        other = self.file("other", '{"m": 1}')
        missing = one + "/x"
        folder = self.folder.name
        no_value = "holds no value"
        for files, text, status, out, error in [
            ([one], "", 0, "1\n", ""),
            ([other], "", 1, "", ""),
            ([other, one], "", 0, "1\n", ""),
            ([two, one], "", 2, "2\n1\n", told(two, "Failed to parse JSON: .*")),
            ([missing, one], "", 2, "1\n", told(missing, "Not a directory")),
            ([folder + "/no", one], "", 2, "1\n", told(folder + "/no", "No such file.*")),
            ([folder, one], "", 2, "1\n", told(folder, "Is a directory")),
            ([empty, blank], "", 2, "", told(empty, no_value) + told(blank, no_value)),
            ([one, "-"], '{"n": 3}', 0, "1\n3\n", ""),
            (["-"], "", 1, "", ""),
        ]:
            self.expect(["get", "n", *files], text, status, out, error)

    def test_a_value_is_answered_before_the_next_arrives(self):
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

    def test_values_may_straddle_reads(self):
        text = "".join('{"n":%d,"pad":"%s"}\n' % (i, "x" * (i % 97)) for i in range(20000))
        self.assertGreater(len(text), 10 * 64 * 1024)
        self.expect(["format", "-c", self.file("long", text)], "", 0, text)
        packed = run("convert", "--to", "msgpack", text=text)[1].encode(errors=ESCAPED)
        self.assertGreater(len(packed), 10 * 64 * 1024)
        self.expect(["convert", "--to", "json", "-c"], packed, 0, text)

    def test_deep_nesting(self):
        path = "/deep" + "/0" * 1000000
        self.expect(["flat"], DEEP, 0, path + "=bottom\n/last=1\n")
        self.expect(["get", "last"], DEEP, 0, "1\n")
        self.expect(["format"], DEEP + " 1", 2, "1\n", "nodetree: standard input: .*deep.*")
        some = "[" * 50000 + '"bottom"' + "]" * 50000
        self.expect(["get", "-r", "0/" * 50000], some, 0, "bottom\n")
        self.expect(["glob", "*/" * 50000], some, 0, "/0" * 50000 + '="bottom"\n')
        self.expect(["glob", "0/*"], some, 2, "", "nodetree: standard input: .*deep.*")


class MessagePack(Case):
    MAP = b"\x83\xa1a\x92\x01\xcb\x40\x04" + bytes(6) + b"\xa1s\xa3x\ty\xa1n\xc0"
    JSON = '{"a":[1,2.5],"s":"x\\ty","n":null}\n'

    def pack(self, text):
        status, out, error = run("convert", "--to=msgpack", text=text)
        self.assertEqual((status, error), (0, ""))
        return out.encode(errors=ESCAPED)

    def test_convert(self):
        self.assertEqual(self.pack(self.JSON), self.MAP)
        self.assertEqual(self.pack("-1 [] true"), b"\xff\x90\xc3")
        self.assertEqual(self.pack(self.MAP * 2), self.MAP * 2)
        self.expect(["convert", "--to", "json", "-c"], self.MAP * 2, 0, self.JSON * 2)
        self.expect(["convert", "--to", "json"], b"\x91\x07\x07", 0, "[\n\t7\n]\n7\n")
        self.expect(["convert", "--to", "msgpack"], "[1] [2", 2, "\udc91\x01",
                    "nodetree: standard input: ends inside a value\n")
        deep = self.pack(DEEP)
        self.expect(["convert", "--to=json"], deep + b"\1", 2, "1\n", "nodetree: .*deep.*")

    def test_every_command_reads_it(self):
        name = self.file("map", self.MAP)
        rule = self.file("rule", self.pack('["eq", ["get", "s"], "x\\ty"]'))
        for arguments, status, out in [
            (["get", "-r", "s"], 0, "x\ty\n"),
            (["eval", "@" + rule], 0, "true\n"),
            (["eval", "--from=msgpack", '["get", "n"]'], 1, "null\n"),
            (["eval", "--from=msgpack", "@" + self.file("text", "1"), name], 0, "1\n"),
            (["merge", "-c", "-", self.file("json", '{"s": 1}')], 0,
             '{"a":[1,2.5],"s":1,"n":null}\n'),
            (["merge", "--from", "msgpack", "-", self.file("byte", b"\x07")], 0, "7\n"),
            (["diff", "-c", "-", self.file("seven", "7")], 1, "7\n"),
        ]:
            self.expect(arguments, self.MAP, status, out)

    def test_recognition(self):
        for options, data, status, out in [
            ([], b"\n {}", 0, "{}\n"),
            ([], b"\x80", 0, "{}\n"),
            ([], b"\x90", 0, "[]\n"),
            ([], b"\xa1a\xc0\xe0", 0, '"a"\nnull\n-32\n'),
            ([], b"\xc3", 0, "true\n"),
            ([], b"\xdf\0\0\0\0", 0, "{}\n"),
            (["--from=msgpack"], b"\xa1a\x7b\xe0", 0, '"a"\n123\n-32\n'),
            (["--from=json", "--from=msgpack"], b"{[", 0, "123\n91\n"),
            (["--from=msgpack"], b"", 1, ""),
        ]:
            self.expect(["format", "-c", *options], data, status, out)
        for first in b"\x7f", b"\xe0", b"\xef\xbb\xbf1", b"\xff":
            self.expect(["format"], first, 2, "", ".*Failed to parse JSON.*")
        self.expect(["format", "--from=json"], self.MAP, 2, "", ".*Failed to parse JSON.*")
        empty = self.file("empty", "")
        self.expect(["format", "--from=msgpack", empty], "", 2, "",
                    told(empty, "holds no value"))

    def test_a_message_that_is_cut_off_or_broken_is_told_behind_what_came_before(self):
        parts = [self.MAP[:size] for size in range(1, len(self.MAP))]
        parts += [b"\x92\x01", b"\xcc", b"\xc4\x01", b"\xd4\x01", b"\xa1"]
        names = [self.file(f"part{i}", b"\x90" + part) for i, part in enumerate(parts)]
        error = "".join(told(name, "ends inside a value") for name in names)
        self.expect(["format", "-c", *names], "", 2, "[]\n" * len(names), error)
        error = "nodetree: standard input: Error parsing MessagePack stream: .*\n"
        self.expect(["format", "-c"], b"\x90\x91\xc1\x90", 2, "[]\n", error)

    def test_what_no_tree_holds_is_told_and_left_out(self):
        left = "some of a value is left out: [^\n]*"
        for data, out in [
            (b"\x91\xc4\x01x", "[]\n"),
            (b"\x82\xa1a\xd4\x01\x02\xa1b\x01", '{"b":1}\n'),
            (b"\x82\x01\x02\xa1a\x03", '{"a":3}\n'),
            (b"\x82\xa1a\x01\xa1a\x02", '{"a":1}\n'),
            (b"\xc4\x01x", ""),
        ]:
            self.expect(["format", "-c"], b"\x90" + data + b"\x07", 2,
                        "[]\n" + out + "7\n", told("standard input", left))
            name = self.file("part", b"\x90" + data)
            self.expect(["merge", "-", name], "{}", 2, "", told(name, left))
        # behind what was answered before, also where both go to one place
        data = b"\x90\x91\xc4\x01x\x07"
        out = subprocess.run([*COMMAND, "format", "-c"], input=data, stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, timeout=300).stdout.decode()
        self.assertRegex(out, r"\A\[\]\n" + told("standard input", left) + r"\[\]\n7\n\Z")


class Program(Case):
    def test_help_names_every_command_and_version_is_a_line(self):
        for arguments in ["--help"], ["get", "--help"], ["filter", "--removed", "--help"]:
            status, out, error = run(*arguments)
            self.assertEqual((status, error), (0, ""))
            for name in ("get [-r] PATH", "glob PATTERN", "flat", "format [-c]",
                         "convert --to", "eval EXPR", "merge [-c] FILE",
                         "filter [-c] [--include", "diff [-c] FILE"):
                self.assertIn("  " + name + " ", out)
                self.assertIn("$ nodetree " + name.split()[0], out)
        status, out, error = run("--version")
        self.assertEqual((status, error), (0, ""))
        self.assertRegex(out, r"\Anodetree \d+\.\d+\.\d+\n\Z")

    def test_usage_errors(self):
        usage = "usage: nodetree {} .*".format
        for arguments, error in [
            ([], "no command given"),
            (["frob"], "unknown command 'frob'"),
            (["get"], r"usage: nodetree get \[-r\] PATH \[FILE\.\.\.\]"),
            (["convert", "-c"], usage("convert --to")),
            (["eval"], usage("eval")),
            (["merge", "-c", "a"], usage("merge")),
            (["diff", "a"], usage("diff")),
            (["diff", "a", "b", "c"], usage("diff")),
            (["get", "-x"], "get: unknown option '-x'"),
            (["flat", "-r"], "flat: unknown option '-r'"),
            (["flat", "--colour"], "flat: unknown option '--colour'"),
            (["merge", "--include", "x"], "merge: unknown option '--include'"),
            (["flat", "--from", "xml"], "flat: option '--from' takes .*, not 'xml'"),
            (["convert", "--to", ""], "convert: option '--to' takes .*, not ''"),
            (["filter", "--include"], "filter: option '--include' needs an argument"),
            (["filter", "--include="], "filter: a pattern must not be empty"),
            (["filter", "--exclude", ""], "filter: a pattern must not be empty"),
            (["filter", "--removed=x"], "filter: option '--removed=x' takes no argument"),
        ]:
            self.expect(arguments, "1", 2, "",
                        f"nodetree: {error}\nTry 'nodetree --help'\\.\n")

    def test_output_that_cannot_be_written(self):
        lost = told("standard output", ".+")
        big = '"' + "x" * 1000000 + '"'
        with open("/dev/full", "wb") as full:
            for arguments, text in [
                (["flat"], "[1] [2]"),
                (["format"], "[1] ]"),
                (["format"], big),
                (["--help"], ""),
                (["convert", "--to", "msgpack"], "[1]"),
            ]:
                self.expect(arguments, text, 2, "", lost, stdout=full)
            self.expect(["get", "x"], "[1]", 1, "", stdout=full)
        close = lambda: os.close(1)
        name = self.file("one", "[1]")
        self.expect(["flat", name], "", 2, "", lost, preexec_fn=close)
        self.expect(["get", "x"], "[1]", 1, "", preexec_fn=close)

    def test_closed_standard_input(self):
        name = self.file("one", "[1]")
        close = lambda: os.close(0)
        error = told("standard input", ".+")
        self.expect(["flat", name, "-"], "", 2, "/0=1\n", error, stdin=None,
                    preexec_fn=close)

    def test_a_reader_that_goes_away_ends_the_program(self):
        with subprocess.Popen(
            [*COMMAND, "flat"], stdin=subprocess.PIPE, stdout=subprocess.PIPE
        ) as program:
            program.stdout.close()
            try:
                program.stdin.write(b"[1] " * 100000)
                program.stdin.close()
            except BrokenPipeError:
                pass
            self.assertEqual(program.wait(60), -13)


class Evaluation(Case):
    def test_results_and_status(self):
        config = '{"port": 80, "list": [1, 2], "none": null, "off": false}'
        said = "nodetree: standard input: "
        for expr, status, out, error in [
            ('["range", 81, 100, "/port"]', 1, "false\n", ""),
            ('["range", 1, 100, ["get", "/no"], "/port"]', 0, "true\n", ""),
            ('["get", "/list"]', 0, "[\n\t1,\n\t2\n]\n", ""),
            ('["get", "/none"]', 1, "null\n", ""),
            ('["get", "/off"]', 1, "false\n", ""),
            ('""', 1, '""\n', ""),
            ("0.0", 1, "0.0\n", ""),
            ('["atom", []]', 0, "[]\n", ""),
            ('["assert", ["get", "/off"], "it is off"]', 2, "", said + r"/ \(/\): it is off\n"),
            ('["and", 1, ["frob"]]', 2, "", said + r"/2 \(/\): Unknown [a-z ]*: frob\n"),
            ('["frob\\u001b[31m\\u007f\\u009b"]', 2, "", said + r".*: frob\?\[31m\?\?\?\n"),
            ('["get", "/no"]', 2, "", said + r"/ \(/\): 'get' path /no did not resolve.*"),
            ('["atom",' + "[" * 200 + "]" * 201, 2, "", said + ".*deep.*"),
        ]:
            self.expect(["eval", expr], config, status, out, error)
        self.expect(["eval", "--", "-1"], "{}", 0, "-1\n")

    def test_bad_expressions_answer_nothing(self):
        for expr, error in [
            ("", "holds no value"),
            ("1 2", "holds more than one value"),
            ('["eq", 1', "ends inside a value"),
            ("9" * 20, "Failed to parse JSON: [^\n]*overflow"),
        ]:
            self.expect(["eval", expr], "1", 2, "", f"nodetree: expression: {error}\n")
            path = self.file("rule", expr)
            self.expect(["eval", "@" + path], "1", 2, "", told(path, error))
        self.expect(["eval", "@/no/such"], "1", 2, "", "nodetree: /no/such: No such file.*")

    def test_the_worst_status_counts(self):
        expr = '["assert", ["get", "ok"], ["get", "why"]]'
        rule = self.file("rule", '["value", "ok"]')
        yes = self.file("yes", '{"ok": true}')
        no = self.file("no", '{"ok": false, "why": "not yet"}')
        other = self.file("other", "[]")
        for arguments, text, status, out, error in [
            (["@" + rule, yes, no, yes], "", 1, "true\nfalse\ntrue\n", ""),
            (["@" + rule, no, other, yes], "", 2, "false\ntrue\n", told(other, ".*")),
            ([expr, yes, no, yes], "", 2, "true\ntrue\n", told(no, r"/ \(/\): not yet")),
            (["@" + rule], '{"ok":0} {"ok":1} 2', 2, "0\n1\n", told("standard input", ".*")),
            (["@" + rule], "", 1, "", ""),
            (["@-", yes, no], '["get", "/ok"]', 1, "true\nfalse\n", ""),
            (["@-"], "true", 2, "", told("standard input", "has been read already")),
        ]:
            self.expect(["eval", *arguments], text, status, out, error)


class Trees(Case):
    def test_merge(self):
        one = self.file("one", '{"a": {"x": 1, "y": [1]}, "b": 1}')
        two = self.file("two", '[9] {"a": {"y": [2], "z": null}, "b": {"c": 2}}')
        bad = self.file("bad", "[1")
        missing = one + "s"
        both = '{"a":{"x":1,"y":[1,2],"z":null},"b":{"c":2}}\n'
        for files, text, status, out, error in [
            ([one, two], "", 0, both, ""),
            ([one, two, "-"], '{"a": "last"}', 0, '{"a":"last","b":{"c":2}}\n', ""),
            (["-", one], "null", 0, '{"a":{"x":1,"y":[1]},"b":1}\n', ""),
            ([one, "-"], "", 2, "", told("standard input", "holds no value")),
            (["-", "-"], "1", 2, "", told("standard input", "has been read already")),
            ([one, bad, missing, two], "", 2, "", told(bad, ".*") + told(missing, "No such.*")),
            ([one, "-"], DEEP, 2, "", "nodetree: .*deep.*"),
        ]:
            self.expect(["merge", "-c", *files], text, status, out, error)
        self.expect(["merge", one, "-"], '{"a": []} {"a": "n"}', 0,
                    '{\n\t"a": "n",\n\t"b": 1\n}\n')

    def test_filter(self):
        text = '{"db": {"host": "h", "key": "k1"}, "web": [{"key": "k2"}, {"id": 1}], "n": {}}'
        whole = text.replace(" ", "")
        for options, status, out in [
            ([], 0, whole),
            (["--exclude", "/*/key", "--exclude", "/*/*/key"], 0,
             '{"db":{"host":"h"},"web":[{},{"id":1}],"n":{}}'),
            (["--include", "/web/1", "--include", "db/host"], 0,
             '{"web":{"1":{"id":1}},"db":{"host":"h"}}'),
            (["--include", "/no"], 0, "{}"),
            (["--exclude", "/no"], 0, whole),
            (["--include", "/web", "--exclude", "/web/0", "--removed"], 0,
             "/db/host\n/db/key\n/web/0/key"),
            (["--exclude", "/n", "--removed"], 1, ""),
        ]:
            self.expect(["filter", "-c", *options], text, status, out and out + "\n")
        self.expect(["filter", "--exclude", "a"], '{"a":1,"c":2} {"b":1}', 0,
                    '{\n\t"c": 2\n}\n{\n\t"b": 1\n}\n')
        # an option behind a file is one even where the environment says otherwise
        name = self.file("name", text)
        self.expect(["filter", "-c", name, "--include", "n", "-"], "[]", 0,
                    '{"n":{}}\n{}\n', env={**os.environ, "POSIXLY_CORRECT": "1"})
        self.expect(["filter", "--exclude", "deep", "-c"], DEEP, 0, '{"last":1}\n')

    def test_diff(self):
        old = self.file("old", '{"a": 1, "b": {"c": [1, 2, 3], "d": "x"}, "e": null}')
        new = self.file("new", '{"b": {"d": "x", "c": [1, 5]}, "f": {}, "e": null}')
        same = self.file("same", '{"e":null, "b":{"d":"x","c":[1,2,3]},"a":1}')
        many = self.file("many", "1 2")
        difference = '{"b":{"c":{"1":5,"2":null}},"f":{},"a":null}\n'
        for files, text, status, out, error in [
            ([old, same], "", 0, "", ""),
            ([old, new], "", 1, difference, ""),
            ([old, "-"], "7", 1, "7\n", ""),
            (["-", many], "1", 2, "", told(many, "holds more than one value")),
            ([many + "y", many + "s"], "", 2, "", told(many + "y", ".*") + told(many + "s", ".*")),
            ([old, "-"], "[" * 200 + "]" * 200, 2, "", "nodetree: .*deep.*"),
        ]:
            self.expect(["diff", "-c", *files], text, status, out, error)
        self.expect(["diff", self.file("deep", DEEP), "-"], DEEP, 0, "")
        self.expect(["diff", old, "-"], '{"a":1,"b":2}', 1, '{\n\t"b": 2,\n\t"e": null\n}\n')


if __name__ == "__main__":
    COMMAND = sys.argv[1:]
    if not COMMAND:
        sys.exit(__doc__)
    unittest.main(argv=sys.argv[:1])
