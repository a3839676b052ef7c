#!/usr/bin/env python3
"""usage: load.py BUILD_DIR [SECONDS [CONNECTIONS...]]

Loads the example service, and the same service with an echo and with jansson for its answers, one
after another: requests a second, latencies and memory, and rates as shares of the echo's.
"""

import json
import pathlib
import resource
import signal
import subprocess
import sys
import tempfile
import time

BUILD = pathlib.Path(sys.argv[1])
SECONDS = sys.argv[2] if len(sys.argv) > 2 else "5"
CONNECTIONS = sys.argv[3:] or ["1", "100"]
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


def measure(program, request, connections, pipelined):
    with tempfile.TemporaryDirectory() as folder:
        path = f"{folder}/socket"
        service = subprocess.Popen([program, "--socket", path, "--rules", RULES], stderr=subprocess.DEVNULL)
        while not pathlib.Path(path).exists():
            time.sleep(0.05)
        try:
            done = subprocess.run([BUILD / "bench/load", path, connections, pipelined, SECONDS],
                                  input=request, stdout=subprocess.PIPE, check=True)
            return *map(float, done.stdout.split()), memory(service)
        finally:
            service.send_signal(signal.SIGTERM)
            service.wait()


limit = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
resource.setrlimit(resource.RLIMIT_NOFILE, (limit, limit))
print(f"{len(TEXT)} bytes of JSON, {len(packed())} of MessagePack")
print(f"{'connections':>12}{'pipelined':>10}  {'':22}{'requests/s':>11}{'of echo':>8}"
      f"{'p50 us':>9}{'p99':>9}{'p99.9':>9}{'MiB':>7}")
for connections in CONNECTIONS:
    for pipelined in "1", "16":
        for encoding, request in ("JSON", TEXT), ("MessagePack", packed()):
            rates = {}
            for name, program in (("echo", "bench/serve_echo"), ("nodetree", "examples/serve"),
                                  ("jansson", "bench/serve_jansson")):
                if name == "jansson" and encoding != "JSON":
                    continue
                rate, *latencies, size = measure(BUILD / program, request, connections, pipelined)
                rates[name] = rate
                print(f"{connections:>12}{pipelined:>10}  {encoding:12}{name:10}{rate:11.0f}"
                      f"{rate / rates['echo']:8.2f}" + "".join(f"{l:9.0f}" for l in latencies) +
                      f"{size:7.1f}", flush=True)
