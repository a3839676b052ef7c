"""Runs the example programs. Usage: examples_test.py BUILD_FOLDER SOURCE_FOLDER [TOOL]"""

import json
import os
import subprocess
import sys
import tempfile
import unittest

BUILD = SOURCE = TOOL = None


def run(program, *arguments, text=""):
    done = subprocess.run(
        [os.path.join(BUILD, program), *arguments],
        input=text,
        capture_output=True,
        encoding="utf-8",
        timeout=60,
    )
    return done.returncode, done.stdout, done.stderr


class Examples(unittest.TestCase):
    def setUp(self):
        self.data = os.path.join(SOURCE, "data", "service.json")

    def file(self, text):
        file = tempfile.NamedTemporaryFile("w", encoding="utf-8", suffix=".json")
        self.addCleanup(file.close)
        file.write(text)
        file.flush()
        return file.name

    def read_config(self, text):
        return run("read_config", self.file(text))

    def test_read_config(self):
        status, out, error = run("read_config", self.data)
        self.assertEqual((status, error), (0, ""))
        self.assertEqual(
            out,
            "listen on      0.0.0.0 port 8443\n"
            "idle timeout   120 s\n"
            "write timeout  10 s (default)\n"
            "upstream       timetable, 4 retries\n"
            "upstream       weather, 1 retries\n"
            "upstream       berths, 0 retries\n",
        )
        self.assertIn("localhost port 80\n", self.read_config("{}")[1])
        for text, reason in [
            ("", "empty"),
            ("{", "Failed to parse JSON"),
            ('{"server": {"port": "x"}}', "/server/port: expected an integer"),
        ]:
            status, _, error = self.read_config(text)
            self.assertEqual(status, 1)
            self.assertIn(reason, error)

    def test_build_reply(self):
        status, out, error = run("build_reply")
        self.assertEqual((status, error), (0, ""))
        next_departure = '\t"next": {\n\t\t"harbour": "Rapperswil",\n\t\t"time": "09:30",'
        self.assertIn(next_departure, out)
        self.assertTrue(out.endswith('\t"delayed": false,\n\t"status": "late"\n}\n'), out)

    def test_walk_tree(self):
        self.assertEqual(
            run("walk_tree", self.data, "/upstreams/*/retries"),
            (
                0,
                "3 matches\n"
                "  /upstreams/0/retries/count (integer)\n"
                "  /upstreams/0/retries/backoff (real)\n"
                "  /upstreams/1/retries/count (integer)\n"
                "  /upstreams/1/retries/backoff (real)\n"
                "  /upstreams/2/retries (null)\n",
                "",
            ),
        )
        self.assertEqual(run("walk_tree", self.data, "/no/*"), (1, "0 matches\n", ""))

    def test_stream_values(self):
        text = '{"n": 1} {"pad": "longer than a chunk", "n": 20}\n[3] {"n": 4} 5'
        self.assertEqual(
            run("stream_values", text=text), (0, "5 values, n adds up to 25\n", "")
        )
        status, out, error = run("stream_values", text='{"n": 1} }')
        self.assertEqual((status, out), (1, "1 values, n adds up to 1\n"))
        self.assertIn("Failed to parse JSON", error)

    def test_record(self):
        status, out, error = run("record")
        self.assertEqual((status, error), (0, ""))
        self.assertIn('"passengers":8589934592,"stops":["B\u00fcrkliplatz","Rapperswil"]}', out)
        told = "Bachtel (no remark): berth &3, in service &true, passengers &8589934592, "
        self.assertIn(told + "stops [ B\u00fcrkliplatz, Rapperswil ]\n", out)
        some = '{"name":"a","remark":"b","berth":null,"in_service":false,"stops":[]}'
        printed = "a (b): berth NULL, in service &false, passengers NULL, stops [  ]\n"
        self.assertEqual(run("record", some), (0, some + "\n" + printed, ""))
        for text, reasons in [
            ('{"name": "a", "berth": "two", "stops": ["b", 1]}', [
                "/berth: Expected integer, got string.",
                "/stops: Expected array of strings, got integer array element.",
            ]),
            ('{"name": null}', ["/name: Expected string, got null."]),
            ("{}", ["no name"]),
            ("{", ["Failed to parse JSON"]),
        ]:
            status, out, error = run("record", text)
            self.assertEqual((status, out), (1, ""))
            lines = error.splitlines()
            self.assertEqual(len(lines), len(reasons), error)
            for line, reason in zip(lines, reasons):
                self.assertIn(reason, line)

    def test_validate(self):
        rules, broken = (os.path.join(SOURCE, "data", n) for n in ("rules.json", "broken.json"))
        self.assertEqual(run("validate", rules, self.data), (0, "", ""))
        status, out, error = run("validate", rules, broken)
        self.assertEqual((status, error), (1, ""))
        with open(rules, encoding="utf-8") as f:
            expected = [
                f"/{name}: is not true" if rule[0] != "assert" else f"/{name} (/): {rule[2]}"
                for name, rule in json.load(f).items()
            ]
        self.assertEqual(out.splitlines(), expected)
        for text, status, out, error in [
            ('{"a": null, "b": 1, "c": ["frob"]}', 1,
             "/a: is not true\n/c (/): Unknown expression operation: frob\n", ""),
            ("[1]", 2, "", "expected an object of rules"),
            ("", 2, "", "empty"),
        ]:
            got = run("validate", self.file(text), self.data)
            self.assertEqual(got[:2], (status, out))
            self.assertIn(error, got[2])

    def test_demo(self):
        if not TOOL:
            self.skipTest("the tool is not built")
        demo = os.path.join(SOURCE, "demo.sh")
        done = subprocess.run(
            ["sh", demo, os.path.dirname(os.path.dirname(TOOL))],
            capture_output=True,
            encoding="utf-8",
            timeout=60,
        )
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        answers = done.stdout.split("\n$ ")[1:]
        self.assertEqual(len(answers), 13)
        for answer in answers:
            self.assertGreater(len(answer.splitlines()), 1, answer)


if __name__ == "__main__":
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    BUILD, SOURCE, TOOL = (sys.argv[1:] + [None])[:3]
    unittest.main(argv=sys.argv[:1])
