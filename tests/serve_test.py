"""The example service among hostile clients. Usage: serve_test.py PROGRAM RULES [SECONDS]

While all kinds of attack go on, good clients get every answer, and the service ends with 0. With a
number of seconds the attacks go on for so long, by many more clients.
"""

import os
import random
import resource
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest

PROGRAM, RULES = sys.argv[1:3]
SECONDS = float(sys.argv[3]) if len(sys.argv) > 3 else 1
REQUEST = b'{"from":"Thalwil","to":"Rapperswil","seats":2}'
ANSWER = b'{"errors":[],"passage":"Thalwil - Rapperswil","seats":2}\n'
MAX_VALUE = 65536


class Service:
    def __init__(self, *options, setup=None, log=None):
        self.folder = tempfile.TemporaryDirectory()
        self.path = os.path.join(self.folder.name, "socket")
        self.process = subprocess.Popen(
            [PROGRAM, "--socket", self.path, "--rules", RULES, "--lock", self.path + ".lock",
             "--log", log or self.path + ".log", *options], stderr=subprocess.PIPE, preexec_fn=setup)
        while not os.path.exists(self.path) and self.process.poll() is None:
            time.sleep(0.01)

    def connect(self):
        client = socket.socket(socket.AF_UNIX)
        client.settimeout(30)
        client.connect(self.path)
        return client

    def end(self):
        self.process.send_signal(signal.SIGTERM)
        errors = self.process.communicate(timeout=60)[1]
        self.folder.cleanup()
        return self.process.returncode, errors


def read_all(client):
    parts = []
    while part := client.recv(65536):
        parts.append(part)
    return b"".join(parts)


def ask(client, pieces):
    for piece in pieces:
        client.sendall(piece)
    client.shutdown(socket.SHUT_WR)
    return read_all(client)


def never_reads(client):
    client.settimeout(0.2)
    while True:  # until the service no longer takes anything in
        client.sendall(REQUEST * 1000)


def reset(client):
    client.sendall(REQUEST * 100 + b'{"a":')
    client.close()


def value(text):
    return lambda client: ask(client, [text])


ATTACKS = [
    never_reads, reset, lambda client: client.sendall(REQUEST[:-1]),
    lambda client: client.shutdown(socket.SHUT_WR),
    lambda client: [client.sendall(b"x") or time.sleep(0.01) for _ in range(20)],
    lambda client: ask(client, [random.randbytes(random.randrange(1, 5000))]),
    value(b'{"a":' + b"[" * 1000000), value(b'{"' + b"k" * 1000000), value(b'{"a":1,' * 100000),
    value(b'{"a":1,"a":2}'), value(b'{"a":' + b"[0," * 20000), value(b"\xdd\xff\xff\xff\xff" * 1000),
    value(b"\xdb\xff\xff\xff\xffabc"), value(b"\x81\xa1a" * 300000), value(b"\x00" * 100000),
    value(b"{}" * 100000), value(b"{" * 10), value(b"\xc1"), value(b""),
]


def attack(service, until):
    while time.monotonic() < until:
        try:
            with service.connect() as client:
                random.choice(ATTACKS)(client)
        except OSError:
            pass  # the service hung up, as it should


class Serve(unittest.TestCase):
    def expect_good_answers(self, service, count=200):
        with service.connect() as client:
            self.assertEqual(ask(client, [REQUEST * count]), ANSWER * count)
        with service.connect() as client:  # a byte at a time
            self.assertEqual(ask(client, [bytes([byte]) for byte in REQUEST]), ANSWER)

    def test_answers_among_attacks(self):
        for name, options, log, setup in (
                ("all limits as they are", [], None, None),
                ("a log on a full disk", [], "/dev/full", None),
                ("few descriptors", [], None,
                 lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (24, 24))),
                ("few connections", ["--max-connections", "12", "--max-idle", "1"], None, None)):
            with self.subTest(name):
                service = Service(*options, setup=setup, log=log)
                until = time.monotonic() + SECONDS
                crowd = [threading.Thread(target=attack, args=(service, until))
                         for _ in range(8 if SECONDS <= 10 else 100)]
                for one in crowd:
                    one.start()
                while time.monotonic() < until:
                    self.expect_good_answers(service)
                    service.process.send_signal(signal.SIGHUP)
                for one in crowd:
                    one.join()
                self.expect_good_answers(service)
                self.assertEqual(service.end(), (0, b""))

    def test_limits_and_errors_are_told(self):
        service = Service("--max-value", "100", "--max-values", "3")
        for text, error in ((b'{"from":"' + b"x" * 200, b"the request is too long"),
                            (REQUEST * 4, b"too many requests at once"),
                            (b'{"a":]', b"not a message, or out of memory"),
                            (b'{"from":1,"to":"Thalwil"}', b"/from: expected a string")):
            with service.connect() as client:
                self.assertIn(b'{"errors":["' + error + b'"]}\n', ask(client, [text]))
        self.assertEqual(subprocess.run(
            [PROGRAM, "--socket", service.path, "--rules", RULES, "--lock", service.path + ".lock"],
            stderr=subprocess.DEVNULL, check=False).returncode, 1, "the lock is held")
        self.assertEqual(service.end(), (0, b""))

    def test_what_has_arrived_is_answered_before_the_end(self):
        service = Service()
        with service.connect() as client:
            client.sendall(REQUEST * 1000)
            time.sleep(0.1)
            service.process.send_signal(signal.SIGTERM)
            self.assertEqual(read_all(client), ANSWER * 1000)
        self.assertEqual(service.end()[0], 0)


unittest.main(argv=sys.argv[:1])
