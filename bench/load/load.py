#!/usr/bin/env python3
"""usage: load.py BUILD_DIR [ROUNDS SECONDS CONNECTIONS...]

Loads the example service, and the same service with an echo and with jansson for its answers, in
turn and ROUNDS times, for SECONDS each. Prints medians: requests a second, as a share of the echo's,
too; microseconds of processor time that the service takes for one, and the share that the echo takes
as well; latencies, and the least and most memory from a tenth of the time on.
The rate is that of the service and its client together, who wake each other up and share the
processors; the time is the service's own.
"""

import json
import os
import pathlib
import resource
import signal
import statistics
import subprocess
import sys
import tempfile
import time

BUILD = pathlib.Path(sys.argv[1])
ROUNDS, SECONDS, *CONNECTIONS = sys.argv[2:] or ["5", "2", "1", "100"]
PROGRAMS = {"echo": "bench/serve_echo", "nodetree": "examples/serve", "jansson": "bench/serve_jansson"}
RULES = pathlib.Path(__file__).parents[2] / "examples/data/booking_rules.json"
TEXT = json.dumps({
    "from": "Thalwil", "to": "Rapperswil", "seats": 2, "class": "second", "passengers": [
        {"name": "Anna Keller", "half_fare": True}, {"name": "Beat Frei", "half_fare": False}],
    "contact": "anna.keller@lake.example", "remark": "two bicycles"}, separators=(",", ":")).encode()


def packed():
    return subprocess.run([BUILD / "tool/nodetree", "convert", "--to", "msgpack"], input=TEXT,
                          stdout=subprocess.PIPE, check=True).stdout


def memory(process):
    status = pathlib.Path(f"/proc/{process.pid}/status").read_text(encoding="ascii")
    return int(status.split("VmRSS:")[1].split()[0]) / 1024


def processor_time(process):
    fields = pathlib.Path(f"/proc/{process.pid}/stat").read_text(encoding="ascii").rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def measure(program, request, connections, pipelined):
    """Requests per second, processor time of one in microseconds, latencies, least and most memory."""
    with tempfile.TemporaryDirectory() as folder:
        path = f"{folder}/socket"
        service = subprocess.Popen([program, "--socket", path, "--rules", RULES], stderr=subprocess.DEVNULL)
        while not pathlib.Path(path).exists():
            time.sleep(0.05)
        try:
            load = subprocess.Popen([BUILD / "bench/load", path, connections, pipelined, SECONDS],
                                    stdin=subprocess.PIPE, stdout=subprocess.PIPE)
            load.stdin.write(request)
            load.stdin.close()
            sizes = []
            while load.poll() is None:
                sizes.append(memory(service))
                time.sleep(min(1, float(SECONDS) / 20))
            rate, *latencies = map(float, load.stdout.read().split())
            late = sizes[len(sizes) // 10:]
            return rate, processor_time(service) / (rate * float(SECONDS)) * 1e6, *latencies, min(late), max(late)
        finally:
            service.send_signal(signal.SIGTERM)
            service.wait()


limit = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
resource.setrlimit(resource.RLIMIT_NOFILE, (limit, limit))
print(f"{len(TEXT)} bytes of JSON, {len(packed())} of MessagePack, medians of {ROUNDS} rounds")
print(f"{'connections':>12}{'pipelined':>10}  {'':22}{'requests/s':>11}{'of echo':>8}{'us each':>9}{'floor':>8}"
      f"{'p50 us':>9}{'p99':>9}{'p99.9':>9}{'MiB':>13}")
for connections in CONNECTIONS:
    for pipelined in "1", "16":
        for encoding, request in ("JSON", TEXT), ("MessagePack", packed()):
            names = [name for name in PROGRAMS if (name, encoding) != ("jansson", "MessagePack")]
            rounds = {name: [] for name in names}
            for _ in range(int(ROUNDS)):
                for name in names:
                    rounds[name].append(measure(BUILD / PROGRAMS[name], request, connections, pipelined))
            medians = {name: [*map(statistics.median, zip(*rounds[name]))] for name in names}
            floor, least = medians["echo"][:2]
            for name, (rate, each, *latencies, small, large) in medians.items():
                print(f"{connections:>12}{pipelined:>10}  {encoding:12}{name:10}{rate:11.0f}{rate / floor:8.2f}"
                      f"{each:9.1f}{least / each:8.2f}" + "".join(f"{l:9.0f}" for l in latencies) +
                      f"{small:7.1f}-{large:.1f}", flush=True)
