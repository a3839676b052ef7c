"""How gdb shows nodes. Usage: gdb_test.py GDB PRINTERS COMMAND, a nodetree with debug information.
Exits with 77 where gdb may not run programs."""

import os
import subprocess
import sys
import tempfile

JSON = '{"a": [1, 2.5, "x"], "b": {"c": null, "d": true}, "e": []}'
SHOWN = ('$1 = object of 3 = {[a] = array of 3 = {1, 2.5, "x"}, [b] = object of 2 = {[c] = null, '
         "[d] = true}, [e] = array of 0}", "$2 = link to /a/0", "$3 = unknown kind 9")

with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
    file.write(JSON)
    file.flush()
    gdb, printers, command = sys.argv[1:]
    steps = ["source " + printers, "set breakpoint pending on", "break json_stringify", "run",
             "print *n", "print *node_new_link(sl_split(\"/a/0\", '/'))",
             "set var n->type = 9", "print *n"]
    done = subprocess.run(
        [gdb, "-batch", "-nx", *(part for step in steps for part in ("-ex", step)),
         "--args", command, "format", file.name],
        env={**os.environ, "ASAN_OPTIONS": "detect_leaks=0"}, text=True, timeout=120,
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL)
if "Breakpoint 1, json_stringify" not in done.stdout:
    print(done.stdout)
    sys.exit(77 if "ptrace" in done.stdout or "personality" in done.stdout else 1)
missing = [line for line in SHOWN if line not in done.stdout.splitlines()]
if missing:
    print(done.stdout, "missing:", *missing, sep="\n")
sys.exit(bool(missing))
