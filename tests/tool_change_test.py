"""Tests of the commands of the nodetree program that change values and check them.
Usage: tool_change_test.py COMMAND..., which runs the program."""

import json
import random
import sys
import unittest

import tool_test
from tool_test import DEEP, LEVELS, Case, run, told, told_input

VALUE = '{"a":{"b":[1,2,3]},"c":null,"x/y":{"~z":1}}'


def compact(value):
    return json.dumps(value, separators=(",", ":"), ensure_ascii=False) + "\n"


class Places(Case):
    def expect_changes(self, *rows):
        """Rows of arguments and either the changed VALUE or a pattern for the error."""
        for arguments, outcome in rows:
            if outcome.startswith("{") or outcome == "1":
                self.expect(arguments + " -c", VALUE, 0, outcome + "\n")
            else:
                self.expect(arguments, VALUE, 2, "", "nodetree: .*" + outcome + ".*\n")

    def test_set(self):
        self.expect_changes(
            ('set /a/b/1 {"q":[]}', VALUE.replace("2", '{"q":[]}')),
            ("set /a 1", '{"a":1,"c":null,"x/y":{"~z":1}}'),
            ("set a/b/3 4", VALUE.replace("3", "3,4")),
            ("set a/b/0x3/k 4", VALUE.replace("3", '3,{"k":4}')),
            ("set ./n/m/../o true -s", VALUE[:-1] + ',"n":{"o":"true"}}'),
            ("set --pointer /x~1y/~0z {}", VALUE.replace(":1}}", ":{}}}")),
            ("set --pointer /a/b/- 4", VALUE.replace("3", "3,4")),
            ("set --pointer /x~1y/ 4", VALUE.replace(":1}}", ':1,"":4}}')),
            ("set / 1", "1"),
            ("set /a/b/4 1", "/a/b/4: leads past the end"),
            ("set --pointer /a/b/00 1", "array needs a position"),
            ("set --pointer /a/b/18446744073709551617 1", "array needs a position"),
            ("set /c/d 1", "neither an object nor an array"),
            ("set --pointer a 1", "'a' is not a JSON Pointer"),
            ("set --pointer /~2 1", "not a JSON Pointer"),
            ("set ../a 1", "'../a' is not the PATH"),
            ("set a {", "value:1:1: ends inside"),
        )
        self.expect("set -c n 1", "{} 1 {}", 2, '{"n":1}\n{"n":1}\n', told_input("n: .*neither.*"))
        self.assertEqual(run("set", "--to=msgpack", "deep" + "/0" * (LEVELS // 16), "2", text=DEEP)[0], 0)

    def test_del(self):
        self.expect_changes(
            ("del /a/b/0 -p /a/b/2", VALUE.replace("1,2,3", "2")),
            ("del /a/b/0 -p /a -p /a/b -p a", '{"c":null,"x/y":{"~z":1}}'),
            ("del --pointer /x~1y/~0z --path /none/0", VALUE.replace('"~z":1', "")),
            ("del a -p /", "whole value cannot be deleted"),
        )
        self.expect("del -c /none", VALUE, 1, VALUE + "\n")

    def test_files_change_completely_or_not_at_all(self):
        name = self.file("file", "{} {}")
        self.expect(f"set -ic /a [] {name}", "", 0, "")
        self.expect(f"set -i /a/x 1 {name}", "", 2, "", ".*")
        self.expect(["patch", "-i", self.file("p", '[{"op":"remove","path":"/a"},0]'), name], "", 2,
                    "", ".*")
        with open(name, encoding="ascii") as f:
            self.assertEqual(f.read(), '{"a":[]}\n{"a":[]}\n')


# Patch, value before, value after; without the last the patch must fail.
PATCHES = [
    ('[]', '{"a":1}', '{"a":1}'),
    ('[{"op":"add","path":"/b","value":[]}]', '{"a":1}', '{"a":1,"b":[]}'),
    ('[{"op":"add","path":"/a","value":2,"x":0}]', '{"a":1,"b":0}', '{"a":2,"b":0}'),
    ('[{"op":"add","path":"","value":[]}]', '{"a":1}', '[]'),
    ('[{"op":"add","path":"/1","value":9}]', '[1,2,3,4,5]', '[1,9,2,3,4,5]'),
    ('[{"op":"add","path":"/4","value":9}]', '[1,2,3,4,5]', '[1,2,3,4,9,5]'),
    ('[{"op":"add","path":"/-","value":9},{"op":"add","path":"/1","value":8}]', '[1]', '[1,8,9]'),
    ('[{"op":"add","path":"/2","value":9}]', '[1]'),
    ('[{"op":"add","path":"/01","value":9}]', '[1,2]'),
    ('[{"op":"add","path":"/1e0","value":9}]', '[1,2]'),
    ('[{"op":"add","path":"/a/b","value":9}]', '{}'),
    ('[{"op":"add","path":"/a/b","value":9}]', '{"a":"x"}'),
    ('[{"op":"add","path":"/~01~1","value":9}]', '{}', '{"~1/":9}'),
    ('[{"op":"add","path":"/~","value":9}]', '{}'),
    ('[{"op":"add","path":"a","value":9}]', '{}'),
    ('[{"op":"add","path":"/a"}]', '{}'),
    ('[{"op":"add","value":9}]', '{}'),
    ('[{"op":"add","path":1,"value":9}]', '{}'),
    ('[{"op":"frob","path":"/a"}]', '{}'),
    ('[{"path":"/a","value":1}]', '{}'),
    ('[["add"]]', '{}'),
    ('[{"op":"remove","path":"/1"},{"op":"remove","path":"/1"}]', '[1,2,3]', '[1]'),
    ('[{"op":"remove","path":"/-"}]', '[1]'),
    ('[{"op":"remove","path":"/b"}]', '{"a":1}'),
    ('[{"op":"remove","path":""}]', '{"a":1}'),
    ('[{"op":"replace","path":"/a","value":{"c":0}}]', '{"a":[1],"b":2}', '{"a":{"c":0},"b":2}'),
    ('[{"op":"replace","path":"/b","value":1}]', '{"a":1}'),
    ('[{"op":"replace","path":"","value":1}]', '{"a":1}', '1'),
    ('[{"op":"move","from":"/a/0","path":"/b"}]', '{"a":[{"c":1},2]}', '{"a":[2],"b":{"c":1}}'),
    ('[{"op":"move","from":"/0","path":"/2"}]', '[1,2,3]', '[2,3,1]'),
    ('[{"op":"move","from":"/0","path":"/3"}]', '[1,2,3]'),
    ('[{"op":"move","from":"/a/b","path":""}]', '{"a":{"b":[1]}}', '[1]'),
    ('[{"op":"move","from":"/a/b","path":"/a"}]', '{"a":{"b":[1]}}', '{"a":[1]}'),
    ('[{"op":"move","from":"/a","path":"/a"}]', '{"a":1}', '{"a":1}'),
    ('[{"op":"move","from":"/a","path":"/a/b"}]', '{"a":{"b":1}}'),
    ('[{"op":"move","from":"/a","path":"/ab"}]', '{"a":1}', '{"ab":1}'),
    ('[{"op":"move","path":"/a"}]', '{"a":1}'),
    ('[{"op":"copy","from":"","path":"/a"}]', '{"b":[]}', '{"b":[],"a":{"b":[]}}'),
    ('[{"op":"copy","from":"/c","path":"/a"}]', '{"b":1}'),
    ('[{"op":"test","path":"","value":{"b":[1.0,{"d":null}],"a":"x"}}]',
     '{"a":"x","b":[1,{"d":null}]}', '{"a":"x","b":[1,{"d":null}]}'),
    ('[{"op":"test","path":"/0","value":9007199254740992.0}]', '[9007199254740993]'),
    ('[{"op":"test","path":"/0","value":9223372036854775808.0}]', '[9223372036854775807]'),
    ('[{"op":"test","path":"","value":[1,[2]]}]', '[1,[3]]'),
    ('[{"op":"test","path":"","value":[[],1]}]', '[{},1]'),
    ('[{"op":"test","path":"/a","value":{"b":1}}]', '{"a":{"c":1}}'),
    ('[{"op":"test","path":"/a","value":true}]', '{"a":1}'),
    ('[{"op":"test","path":"/a","value":null}]', '{}'),
]
# The same for merge patches, from the appendix of RFC 7396 among others.
MERGES = [
    ('{"a":"c"}', '{"a":"b","e":1}', '{"a":"c","e":1}'), ('{"a":null}', '{"b":1,"a":2}', '{"b":1}'),
    ('{"a":"c"}', '{"a":["b"]}', '{"a":"c"}'), ('{"a":["b"]}', '{"a":"c"}', '{"a":["b"]}'),
    ('{"a":{"b":"d","c":null}}', '{"a":{"b":"c","c":1}}', '{"a":{"b":"d"}}'),
    ('{"a":[1]}', '{"a":[{"b":"c"}]}', '{"a":[1]}'), ('["c",null]', '["a"]', '["c",null]'),
    ('["c"]', '{"a":"f"}', '["c"]'), ('null', '{"a":"f"}', 'null'), ('"b"', '{"a":"f"}', '"b"'),
    ('{"a":1}', '{"e":null}', '{"e":null,"a":1}'), ('{"a":"b","c":null}', '[1]', '{"a":"b"}'),
    ('{"a":{"bb":{"ccc":null}},"z":{}}', '{}', '{"a":{"bb":{}},"z":{}}'),
    ('{"a":{"x":[[],null]},"b":{"c":{}}}', '{"b":7}', '{"b":{"c":{}},"a":{"x":[[],null]}}'),
]


class Patches(Case):
    def test_patch(self):
        for patch, before, *after in PATCHES:
            name = self.file("patch", patch)
            error = told_input("operation [12] of the patch.*") if not after else ""
            self.expect(["patch", "-c", name], before, 0 if after else 2,
                        "".join(text + "\n" for text in after), error)
        for patch, before, after in MERGES:
            self.expect("patch -c --merge " + self.file("patch", patch), before, 0, after + "\n")
        patch = self.file("patch", '[{"op":"remove","path":"/a"},'
                          '{"op":"test","path":"","value":{}}]')
        self.expect(f"patch -c {patch}", '{"a":1} {"a":2,"b":0} {"a":3}', 2, "{}\n{}\n",
                    told_input(r"operation 2 of the patch \(test \): the value is different"))
        self.expect(f"patch {self.file('no', '{}')}", "1", 2, "", ".*not a JSON Patch.*")

    def test_depth(self):
        deep = self.file("deep", DEEP)
        copied = self.file("p", '[{"op":"copy","from":"/deep","path":"/last"},{"op":"test",'
                           '"path":"/last","value":%s}]' % DEEP[9:-12])
        self.assertEqual(run("patch", "--to=msgpack", copied, deep)[::2], (0, ""))
        merge = self.file("m", '{"a":' * (LEVELS // 10) + "null" + "}" * (LEVELS // 10))
        self.assertEqual(run("patch", "--merge", "--to=msgpack", merge, text="{}")[::2], (0, ""))
        other = self.file("other", DEEP.replace("bottom", "top"))
        self.expect(f"diff -c --patch {deep} {other}", "", 1, '[{"op":"replace","path":"/deep' +
                    "/0" * LEVELS + '","value":"top"}]\n')

    def test_diff(self):
        many = list(range(100000))
        for a, b, patch in [
            ({"a": 1, "b": 2}, {"b": 2, "a": 1}, []),
            ({"a/~": 1, "b": []}, {"c": 1, "b": {}},
             [{"op": "remove", "path": "/a~1~0"}, {"op": "replace", "path": "/b", "value": {}},
              {"op": "add", "path": "/c", "value": 1}]),
            ([1], [1.0], [{"op": "replace", "path": "/0", "value": 1.0}]),
            (many, many[:50] + many[52:100] + [-1] + many[100:] + [7],
             [{"op": "remove", "path": "/51"}, {"op": "remove", "path": "/50"},
              {"op": "add", "path": "/98", "value": -1},
              {"op": "add", "path": "/99999", "value": 7}]),
            ([[0], {"k": [1]}, 2], [{"k": [1]}, 2], [{"op": "remove", "path": "/0"}]),
        ]:
            names = [self.file("a", compact(a)), self.file("b", compact(b))]
            self.expect(["diff", "-c", "--patch", *names], "", 1 if patch else 0, compact(patch))

    def test_a_patch_makes_the_second_value(self):
        def tree(depth):
            kind = chance.randrange(8 if depth else 5)
            if kind < 5:
                return [None, chance.random() < 0.5, chance.randrange(3), 1.0, "/~\n="][kind]
            children = [tree(depth - 1) for _ in range(chance.randrange(5))]
            if kind < 7:
                return children
            return {chance.choice(["", "/", "~", "0", "1", "é"]): child for child in children}

        def changed(value):
            if chance.random() < 0.15 or not isinstance(value, (list, dict)):
                return tree(2) if chance.random() < 0.4 else value
            if isinstance(value, dict):
                items = [(k, changed(v)) for k, v in value.items() if chance.random() < 0.9]
                return dict(chance.sample(items, len(items)))
            kept = [changed(v) for v in value if chance.random() < 0.9]
            return kept[:1] + [tree(1)] + kept[1:] if chance.random() < 0.3 else kept

        def same(a, b):
            return json.dumps(a, sort_keys=True) == json.dumps(b, sort_keys=True)

        chance = random.Random(12)
        for _ in range(150 if LEVELS == 1000000 else 40):
            a = tree(5)
            b = changed(a)
            name_a, name_b = self.file("a", compact(a)), self.file("b", compact(b))
            status, patch, _ = run("diff", "--patch", name_a, name_b)
            self.assertEqual(status, 0 if same(a, b) else 1)
            result = run("patch", self.file("p", patch), name_a)[1]
            self.assertTrue(same(json.loads(result), b), (a, b, patch, result))


class Lines(Case):
    def test_flat_and_back(self):
        for value in [
            7, "x=1", {}, [], {"a": [1, {"": [{}, []]}, None]}, [[[]]], {"0": 1, "1": {"0": 2}},
            {"0": 1, "2": 2}, {"01": 1, "a=1": 2, 'q="': '="\\', '"': '="', ".": {"..": 0}},
            {"": {"a=1": {"": {'b="x"': "y"}}}, "a=[": "],/", "\r": "\n"}, list(range(11)),
            [{"0": 1}], {" ": " "},
        ]:
            lines = run("flat", text=compact(value))[1].split("\n")[:-1]
            lines = "".join(line + "\n" for line in reversed(lines))
            self.assertEqual(json.loads(run("unflat", text=lines)[1]), value, lines)
        self.expect("flat", '{"": {"0": 1}}', 2, "/={}\n//0=1\n", ".*")
        deep = "/0" * LEVELS + "=1\n"
        status, packed, _ = run("unflat", "--to", "msgpack", text=deep)
        self.assertEqual((status, packed), (0, "\udc91" * LEVELS + "\x01"))

    def test_other_lines(self):
        told_line = "line [12] .*"
        self.expect_rows(
            ("unflat -c", '/b/1=2\n/a= {"x": [1]} \r\n/b/0=1', 0, '{"b":[1,2],"a":{"x":[1]}}\n'),
            ("unflat -c", "\n/a=1\n\n\r\n/=[]\n\n/a=2\n\n", 0, '{"a":1}\n[]\n{"a":2}\n'),
            ("unflat -c", "/a/0=1\n/a={}\n", 0, '{"a":{"0":1}}\n'),
            ("unflat", "", 1, ""),
            (f"unflat -c - {self.file('one', '/0=1')}", "/=2", 0, "2\n[1]\n"),
        )
        for text in ["a=1", "/a", "/a=", "/a=1 /*x*/", "/a=b", "/a=1\n/a=1", "/a=1\n/a/b=2",
                     "/a/b=2\n/a=[]", '/a={"b":1}\n/a/c=1', "/a=1\n/=2", "/=1\n/=1", "/a={}\n/a={}",
                     "/a/0=1\n/a=1", '/a="\0"', '/a="\\', "/a=1\n/a/b={}"]:
            self.expect("unflat", text, 2, "", told_input(told_line))
        self.expect("unflat /none", "", 2, "", told("/none", "No such.*"))


class Rules(Case):
    def test_look(self):
        self.expect_rows(
            ("keys -r", VALUE, 0, "a\nc\nx/y\n"), ("keys", '{"\\n": 1}', 0, '"\\n"\n'),
            ("keys /a/b", VALUE, 0, "0\n1\n2\n"), ("keys /none", VALUE, 1, ""),
            ("length", VALUE + "[]", 0, "3\n0\n"), ("length --pointer /x~1y", VALUE, 0, "1\n"),
            ("type --pointer a", "1 2", 2, "", told_input("a: not a JSON Pointer")),
            ("length c", VALUE, 2, "", told_input("c: neither .*null")),
            ("type", VALUE + "1 1.0 [] \"\" true null", 0,
             "object\ninteger\nreal\narray\nstring\nboolean\nnull\n"),
        )

    def test_check(self):
        rules = self.file("rules", '{"low": ["assert", ["range", 1, 9, "n"], "too low"],'
                          '"on": ["get", "on"], "in": ["not", ["get", "off"]]}')
        self.expect_rows(
            (f"check {rules}", '{"n": 5, "on": 1, "off": 0}', 0, ""),
            (f"check {rules}", '{"n": 5, "on": 1, "off": 0} {"n": 0, "on": 0}', 1,
             "value 2: low: too low\nvalue 2: on: is not true\n"
             "value 2: in: /in/1 (/): 'get' path off did not resolve to data in the context.\n"),
            (f"check {rules}", "", 1, ""),
            (f"check {self.file('list', '[1]')}", "1", 2, "", ".*an object of rules"  "\n"),
            (f"check {rules}", "[", 2, "", ".*ends inside.*"),
        )

    def test_syntax(self):
        deep = '["not",' * 201 + "1" + "]" * 201
        for expression, fault in [
            ('["get", "x", ["path"], ["atom", "y"]]', ""), ('["unique", ["frob"]]', ""),
            ('["atom", ["eq"]]', ""), ('{"a": ["frob"]}', ""),
            ('["or", 1, ["assert", ["get"], "m"]]', ""),
            ('["regex", ["get", "p"], "i", ["get"]]', ""), ('["range", "", 7, ["get"]]', ""),
            ('["exists"]', ""), (deep[7:-1], ""), (deep, "/r" + "/1" * 200 + ": nested .*"),
            ('["frob\\u001b"]', r"/r: unknown operation 'frob\?'"),
            ("[]", "/r: an operation needs .*"), ("[[1]]", "/r: the name .*"),
            ('["or", 1, ["eq", 1]]', "/r/2: 'eq' takes .*, not 1"), ('["atom"]', "/r: .*"),
            ('["not", 1, 1]', "/r: 'not' .*"), ('["assert", 1, 2, 3]', "/r: .*"),
            ('["assert", 1, 2]', "/r: operand 2 .*"), ('["get", 5]', "/r: operand 1 .*"),
            ('["length", ["not", 1]]', "/r: operand 1 .*"), ('["range", 1, 2]', "/r: .*not 2"),
            ('["range", 1.5, 2, "a"]', "/r: operand 1 .* must be a string or an integer"),
            ('["range", 1, 2, "a", "b", "c", null]', "/r: operand 6 .* a string"),
            ('["regex", "(", "", ["get"]]', "/r: .*character 1: .*"),
            ('["regex", ["atom", "["], "", ""]', "/r: .*invalid.*"),
            ('["regex", "", "im", ""]', "/r: .*flags.*"),
        ]:
            name = self.file("rules", '{"r": %s}' % expression)
            status, out, error = run("check", "--syntax", name)
            self.assertEqual((status, error), (1 if fault else 0, ""), expression)
            self.assertRegex(out, rf"\A{fault}\n\Z" if fault else r"\A\Z")
        self.expect(f"check --syntax {self.file('one', '[1]')}", "", 1,
                    "/: the name of an operation must be a string\n")
        self.expect("check --syntax a b", "", 2, "", ".*no FILE\n")


if __name__ == "__main__":
    tool_test.COMMAND[:] = sys.argv[1:]
    if not tool_test.COMMAND:
        sys.exit(__doc__)
    unittest.main(argv=sys.argv[:1])
