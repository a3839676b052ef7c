"""Tests how gdb shows nodes. Usage: gdb_test.py GDB PRINTERS COMMAND PROGRAM, a nodetree and the lesson
on C++ with debug information. Exits with 77 where gdb may not run programs."""

import os
import subprocess
import sys
import tempfile

JSON = '{"a": [1, 2.5, "x"], "b": {"c": null, "d": true}, "e": []}'
SHOWN = ('$1 = object of 3 = {[a] = array of 3 = {1, 2.5, "x"}, [b] = object of 2 = {[c] = null, '
         "[d] = true}, [e] = array of 0}", "$2 = link to /a/0", "$3 = unknown kind 9")
SHOWN_CPP = ('$1 = object of 2 = {[time] = "08:10", [to] = "Thalwil"}', "$2 = nothing")


def missing(shown, place, steps, *program):
    steps = ["source " + printers, "set breakpoint pending on", "break " + place, "run", *steps]
    done = subprocess.run(
        [gdb, "-batch", "-nx", *(part for step in steps for part in ("-ex", step)), "--args",
         *program], env={**os.environ, "ASAN_OPTIONS": "detect_leaks=0"}, text=True, timeout=120,
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL)
    if "Breakpoint 1, " not in done.stdout:
        print(done.stdout)
        sys.exit(77 if "ptrace" in done.stdout or "personality" in done.stdout else 1)
    lines = [line for line in shown if line not in done.stdout.splitlines()]
    if lines:
        print(done.stdout, "missing:", *lines, sep="\n")
    return lines


gdb, printers, command, lesson = sys.argv[1:]
with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
    file.write(JSON)
    file.flush()
    lines = missing(SHOWN, "msgpack_encode",  # the top
                    ["print *n", "print *node_new_link(sl_split(\"/a/0\", '/'))",
                     "set var n->type = 9", "print *n"],
                    command, "convert", "--to", "msgpack", "-o", os.devnull, file.name)
lines += missing(SHOWN_CPP, "delay", ["next", "next", "print departure",
                                      "set var timetable.raw_ = 0", "print timetable"], lesson)
sys.exit(bool(lines))
