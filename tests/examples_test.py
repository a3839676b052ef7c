"""Runs the example programs. Usage: examples_test.py BUILD_FOLDER SOURCE_FOLDER [TOOL]"""

import json
import os
import select
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
    def data(self, name="service.json"):
        return os.path.join(SOURCE, "data", name)

    def answers(self, *call, text=""):
        """What a run prints that has nothing to complain of."""
        status, out, error = run(*call, text=text)
        self.assertEqual((status, error), (0, ""))
        return out

    def file(self, text):
        file = tempfile.NamedTemporaryFile("w", encoding="utf-8", suffix=".json")
        self.addCleanup(file.close)
        file.write(text)
        file.flush()
        return file.name

    def test_read_config(self):
        self.assertEqual(
            self.answers("read_config", self.data()),
            "listen on      0.0.0.0 port 8443\n"
            "idle timeout   120 s\n"
            "write timeout  10 s (default)\n"
            "upstream       timetable, 4 retries\n"
            "upstream       weather, 1 retries\n"
            "upstream       berths, 0 retries\n",
        )
        self.assertIn("localhost port 80\n", self.answers("read_config", self.file("{}")))
        for text, reason in [
            ("", "empty"),
            ("{", "Failed to parse JSON"),
            ('{"server": {"port": "x"}}', "/server/port: expected an integer"),
        ]:
            status, _, error = run("read_config", self.file(text))
            self.assertEqual(status, 1)
            self.assertIn(reason, error)

    def test_settings(self):
        for program in "settings_c", "settings_cpp":
            out = self.answers(program, self.data())
            self.assertIn('host       "0.0.0.0"\nport       9443\ntls        {"cert', out)
            self.assertIn("/server/port=9443\n/server/tls/certificate=/etc", out)
            made = (0, "port       9443\n/server/port=9443\n", "")
            self.assertEqual(run(program, self.file("{}")), made)
            for text in '{"server": 1}', "[1]", "{":
                status, out, error = run(program, self.file(text))
                self.assertEqual((status, out), (1, ""))
                self.assertNotEqual(error, "")

    def test_build_reply(self):
        out = self.answers("build_reply")
        next_departure = '\t"next": {\n\t\t"harbour": "Rapperswil",\n\t\t"time": "09:30",'
        self.assertIn(next_departure, out)
        self.assertTrue(out.endswith('\t"delayed": false,\n\t"status": "late"\n}\n'), out)

    def test_walk_tree(self):
        self.assertEqual(
            self.answers("walk_tree", self.data(), "/upstreams/*/retries"),
            "3 matches\n"
            "  /upstreams/0/retries/count (integer)\n"
            "  /upstreams/0/retries/backoff (real)\n"
            "  /upstreams/1/retries/count (integer)\n"
            "  /upstreams/1/retries/backoff (real)\n"
            "  /upstreams/2/retries (null)\n",
        )
        self.assertEqual(run("walk_tree", self.data(), "/no/*"), (1, "0 matches\n", ""))

    def test_stream_values(self):
        text = '{"n": 1} {"pad": "longer than a chunk", "n": 20}\n[3] {"n": 4} 5'
        out = self.answers("stream_values", text=text)
        self.assertEqual(out, "5 values, n adds up to 25\n")
        status, out, error = run("stream_values", text='{"n": 1} }')
        self.assertEqual((status, out), (1, "1 values, n adds up to 1\n"))
        self.assertIn("Failed to parse JSON", error)

    def test_record(self):
        out = self.answers("record")
        self.assertIn('"passengers":8589934592,"stops":["B\u00fcrkliplatz","Rapperswil"]}', out)
        told = "Bachtel (no remark): berth &3, in service &true, passengers &8589934592, "
        self.assertIn(told + "stops [ B\u00fcrkliplatz, Rapperswil ]\n", out)
        some = '{"name":"a","remark":"b","berth":null,"in_service":false,"stops":[]}'
        printed = "a (b): berth NULL, in service &false, passengers NULL, stops [  ]\n"
        self.assertEqual(self.answers("record", some), some + "\n" + printed)
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
            for line, reason in zip(error.splitlines(), reasons, strict=True):
                self.assertIn(reason, line)

    def test_validate(self):
        rules = self.data("rules.json")
        self.assertEqual(self.answers("validate", rules, self.data()), "")
        status, out, error = run("validate", rules, self.data("broken.json"))
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
            got = run("validate", self.file(text), self.data())
            self.assertEqual(got[:2], (status, out))
            self.assertIn(error, got[2])

    def serve(self, data, chunk, rules="booking_rules.json", **options):
        """What answer_requests does with data that arrives so many bytes at a time."""
        with subprocess.Popen(
            [os.path.join(BUILD, "answer_requests"), self.data(rules)],
            stdin=subprocess.PIPE,
            stdout=options.get("stdout", subprocess.PIPE),
            stderr=subprocess.PIPE,
        ) as program:
            try:
                for begin in range(0, len(data), chunk):
                    program.stdin.write(data[begin : begin + chunk])
                    program.stdin.flush()
            except BrokenPipeError:
                pass
            out, error = program.communicate(timeout=60)
            return program.returncode, out, error.decode()

    def test_answer_requests(self):
        with open(self.data("bookings.json"), "rb") as f:
            requests = f.read()
        errors = [
            [],
            ["/to (/): no ferry goes there", "/seats (/): 1 to 12 seats can be booked"],
            ["/seats: expected an integer"],
        ]
        for chunk in 1, 4096:
            status, out, error = self.serve(requests, chunk)
            self.assertEqual((status, error), (0, ""))
            answers = [json.loads(line) for line in out.splitlines()]
            self.assertEqual([answer["errors"] for answer in answers], errors)
            booked = {"errors": [], "passage": "Thalwil - Rapperswil", "seats": 2}
            self.assertEqual(answers[0], booked)

        packed = b"\x82\xa4from\xa1a\xa2to\xa7Thalwil"
        answer = b"\x83\xa6errors\x90\xa7passage\xaba - Thalwil\xa5seats\xc0"
        self.assertEqual(self.serve(packed * 2, 1), (0, answer * 2, ""))
        self.assertEqual(self.serve(packed + b"\x81", 1), (0, answer, ""))
        status, out, error = self.serve(packed + b"\xc1" + packed, 4096)
        self.assertEqual((status, out), (1, answer))
        self.assertIn("Error parsing MessagePack stream", error)
        status, out, error = self.serve(b"\xc4\x01x" + packed, 1)
        self.assertEqual((status, out[-len(answer) :]), (0, answer))
        self.assertTrue(out.startswith(b"\x81\xa6errors\x92"), out)

        status, out, error = self.serve(b'{"from": 7, "to": "Thalwil"}{]', 1)
        self.assertEqual((status, out), (1, b'{"errors":["/from: expected a string"]}\n'))
        self.assertIn("Failed to parse JSON", error)
        with open("/dev/full", "wb") as full:
            status, _, error = self.serve(requests, 1, stdout=full)
        self.assertEqual(status, 1)
        self.assertEqual(error.count("standard output"), 1)
        self.assertEqual(self.serve(b"", 1, "bookings.json")[0], 1)

    def test_an_answer_does_not_wait_for_the_next_request(self):
        with subprocess.Popen(
            [os.path.join(BUILD, "answer_requests"), self.file("{}")],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
        ) as program:
            program.stdin.write(b'{"from": "a", "to": "b"} {')
            program.stdin.flush()
            ready, _, _ = select.select([program.stdout], [], [], 60)
            self.assertTrue(ready)
            self.assertIn(b"a - b", os.read(program.stdout.fileno(), 100))

    def test_demo(self):
        if not TOOL:
            self.skipTest("the tool is not built")
        build = os.path.dirname(os.path.dirname(TOOL))
        out = self.answers("/bin/sh", os.path.join(SOURCE, "demo.sh"), build)
        answers = out.split("\n$ ")[1:]
        self.assertEqual(len(answers), 16)
        for answer in answers:
            self.assertGreater(len(answer.splitlines()), 1, answer)


if __name__ == "__main__":
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    BUILD, SOURCE, TOOL = (sys.argv[1:] + [None])[:3]
    unittest.main(argv=sys.argv[:1])
