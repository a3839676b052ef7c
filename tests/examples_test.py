"""Runs the example programs. Usage: examples_test.py BUILD_FOLDER SOURCE_FOLDER [TOOL]"""

import json
import os
import re
import subprocess
import sys
import tempfile
import unittest

from programs import launched, launched_program

BUILD = SOURCE = TOOL = None


def data(name="service.json"):
    return os.path.join(SOURCE, "data", name)


class Examples(unittest.TestCase):
    def expect(self, call, text, status, out, error=""):
        """The patterns must match all of standard output and of standard error."""
        done = subprocess.run([os.path.join(BUILD, call[0]), *call[1:]], input=text,
                              capture_output=True, encoding="utf-8", timeout=60)
        with self.subTest(call=call, text=text):
            self.assertEqual(done.returncode, status, done.stderr)
            self.assertRegex(done.stdout, re.compile(rf"\A{out}\Z", re.DOTALL))
            self.assertRegex(done.stderr, re.compile(rf"\A{error}\Z", re.DOTALL))
        return done.stdout

    def file(self, text):
        file = tempfile.NamedTemporaryFile("w", encoding="utf-8", suffix=".json")
        self.addCleanup(file.close)
        file.write(text)
        file.flush()
        return file.name

    def test_answers(self):
        some = '{"name":"a","remark":"b","berth":null,"in_service":false,"stops":[]}'
        values = '{"n": 1} {"pad": "longer than a chunk", "n": 20}\n[3] {"n": 4} 5'
        for call, text, out in [
            (["read_config", data()], "",
             "listen on      0.0.0.0 port 8443\n"
             "idle timeout   120 s\n"
             r"write timeout  10 s \(default\)" "\n"
             "upstream       timetable, 4 retries\n"
             "upstream       weather, 1 retries\n"
             "upstream       berths, 0 retries\n"),
            (["read_config", self.file("{}")], "", ".*localhost port 80\n.*"),
            (["build_reply"], "",
             '.*\t"next": {\n\t\t"harbour": "Rapperswil",\n\t\t"time": "09:30",.*'
             '\t"delayed": false,\n\t"status": "late"\n}\n'),
            (["walk_tree", data(), "/upstreams/*/retries"], "",
             r"3 matches\n  /upstreams/0/retries/count \(integer\)\n"
             r"  /upstreams/0/retries/backoff \(real\)\n.*  /upstreams/2/retries \(null\)\n"),
            (["stream_values"], values, "5 values, n adds up to 25\n"),
            (["record"], "",
             r'.*"passengers":8589934592,"stops":\["B\u00fcrkliplatz","Rapperswil"\]}\n'
             r"Bachtel \(no remark\): berth &3, in service &true, "
             r"passengers &8589934592, stops \[ B\u00fcrkliplatz, Rapperswil \]\n"),
            (["record", some], "", re.escape(
                some + "\na (b): berth NULL, in service &false, passengers NULL, stops [  ]\n")),
            (["validate", data("rules.json"), data()], "", ""),
        ]:
            self.expect(call, text, 0, out)
        for program in "settings_c", "settings_cpp":
            self.expect([program, data(), "/server/port=9443", "/limits/burst", "/a/b=[x"], "", 0,
                        r"/server/port=9443\n/limits/burst=\n/a/b=\[x\n"
                        r"listens on 0\.0\.0\.0 port 9443\n")
            edited = self.file('{"server": {"x": 1}}')
            self.expect([program, "-w", edited, '/server={"port": 1}'], "", 0, ".* port 1\n")
            self.expect([program, edited], "", 0, "listens on localhost port 1\n")

    def test_complaints(self):
        for call, text, status, out, error in [
            (["read_config", self.file("{")], "", 1, "", ".*Failed to parse JSON.*"),
            (["read_config", self.file('{"server": {"port": "x"}}')], "", 1, "",
             "/server/port: expected an integer.*"),
            *(([program, *call], "", 1, "", error)
              for program in ("settings_c", "settings_cpp") for call, error in [
                  ([self.file("{")], ".+"),
                  ([data(), "/service/port=1"], "/service/port.*cannot be changed\n"),
                  ([data(), "/none"], "/none: cannot be changed\n"),
                  ([data(), "/server/port=x"], "/server/port: not the number of a port\n")]),
            (["walk_tree", data(), "/no/*"], "", 1, "0 matches\n", ""),
            (["stream_values"], '{"n": 1} }', 1, "1 values, n adds up to 1\n",
             ".*Failed to parse JSON.*"),
            (["record", '{"name": "a", "berth": "two", "stops": ["b", 1]}'], "", 1, "",
             "[^\n]*/berth: Expected integer, got string.\n[^\n]*"
             "/stops: Expected array of strings, got integer array element.\n"),
            (["record", "{}"], "", 1, "", "[^\n]*no name[^\n]*\n"),
            (["validate", self.file('{"a": null, "b": 1, "c": ["frob"]}'), data()], "", 1,
             r"/a: is not true\n/c \(/\): Unknown expression operation: frob\n", ""),
            (["validate", self.file("[1]"), data()], "", 2, "", ".*expected an object of rules\n"),
        ]:
            self.expect(call, text, status, out, error)

    def test_broken_rules(self):
        with open(data("rules.json"), encoding="utf-8") as f:
            broken = "".join(
                f"/{name}: is not true\n" if rule[0] != "assert" else f"/{name} (/): {rule[2]}\n"
                for name, rule in json.load(f).items())
        self.expect(["validate", data("rules.json"), data("broken.json")], "", 1,
                    re.escape(broken))

    def serve(self, requests, chunk, rules="booking_rules.json", stdout=subprocess.PIPE):
        """Runs answer_requests with input in pieces of this size."""
        with subprocess.Popen([os.path.join(BUILD, "answer_requests"), data(rules)],
                              stdin=subprocess.PIPE, stdout=stdout,
                              stderr=subprocess.PIPE) as program:
            try:
                for begin in range(0, len(requests), chunk):
                    program.stdin.write(requests[begin : begin + chunk])
                    program.stdin.flush()
            except BrokenPipeError:
                pass
            return *program.communicate(timeout=60), program.returncode

    def test_answer_requests(self):
        with open(data("bookings.json"), "rb") as f:
            bookings = f.read()
        answers = re.escape(b'{"errors":[],"passage":"Thalwil - Rapperswil","seats":2}\n'
                            b'{"errors":["/to (/): no ferry goes there",'
                            b'"/seats (/): 1 to 12 seats can be booked"]}\n'
                            b'{"errors":["/seats: expected an integer"]}\n')
        packed = b"\x82\xa4from\xa1a\xa2to\xa7Thalwil"
        answer = re.escape(b"\x83\xa6errors\x90\xa7passage\xaba - Thalwil\xa5seats\xc0")
        for requests, chunk, status, out, error in [
            (bookings, 1, 0, answers, b""),
            (packed * 2, 1, 0, answer * 2, b""),
            (packed + b"\x81", 1, 0, answer, b""),
            (packed + b"\xc1" + packed, 4096, 1, answer + b".*not a message.*",
             b".*Error parsing MessagePack.*"),
            (b"\xc4\x01x" + packed, 1, 0, rb"\x81\xa6errors\x91.*" + answer, b".+"),
            (b'{"from": 7, "to": "Thalwil"}{]', 1, 1,
             rb'{"errors":\["/from: expected a string"]}\n{"errors":\["not a message.*"]}\n',
             b".*Failed to parse JSON.*"),
        ]:
            with self.subTest(requests=requests, chunk=chunk):
                got = self.serve(requests, chunk)
                self.assertEqual(got[2], status)
                self.assertRegex(got[0], re.compile(rb"\A" + out + rb"\Z", re.DOTALL))
                self.assertRegex(got[1], re.compile(rb"\A" + error + rb"\Z", re.DOTALL))
        with open("/dev/full", "wb") as full:
            _, error, status = self.serve(bookings, 1, stdout=full)
        self.assertEqual((status, error.count(b"standard output")), (1, 1))
        self.assertEqual(self.serve(b"", 1, "bookings.json")[2], 1)

    def test_demo(self):
        if not TOOL:
            self.skipTest("the tool is not built")
        build = os.path.dirname(os.path.dirname(TOOL))
        out = self.expect(["/bin/sh", os.path.join(SOURCE, "demo.sh"), build], "", 0, ".*")
        answers = out.split("\n$ ")[1:]
        self.assertEqual(len(answers), 16)
        for answer in answers:
            self.assertGreater(len(answer.splitlines()), 1, answer)


if __name__ == "__main__":
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    BUILD, SOURCE, TOOL = (sys.argv[1:] + [None])[:3]
    BUILD, TOOL = launched(BUILD), TOOL and launched_program(TOOL)
    unittest.main(argv=sys.argv[:1])
