"""Tests the example service with hostile clients. Usage: serve_test.py PROGRAM RULES [SECONDS [TEST...]]

While all kinds of attack go on, good clients get every answer, and the service ends with 0. With a
number of seconds the attacks go on for so long, by many more clients.
"""

import os
import pathlib
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

from programs import launched_program

PROGRAM, RULES = launched_program(sys.argv[1]), sys.argv[2]
LAUNCHED = PROGRAM != sys.argv[1]
SECONDS = float(sys.argv[3]) if len(sys.argv) > 3 else 1
REQUEST = b'{"from":"Thalwil","to":"Rapperswil","seats":2}'
ANSWER = b'{"errors":[],"passage":"Thalwil - Rapperswil","seats":2}\n'
OUT_OF_MEMORY = b'{"errors":["out of memory"]}\n'


class Service:
    def __init__(self, *options, log=None):
        self.folder = tempfile.TemporaryDirectory()
        self.path = os.path.join(self.folder.name, "socket")
        self.process = subprocess.Popen(
            [PROGRAM, "--socket", self.path, "--rules", RULES, "--lock", self.path + ".lock",
             "--log", log or self.path + ".log", *options], stderr=subprocess.PIPE)
        while self.process.poll() is None:
            try:
                return self.connect().close()
            except OSError:
                time.sleep(0.01)

    def connect(self):
        client = socket.socket(socket.AF_UNIX)
        client.settimeout(30 + SECONDS)  # a new connection may wait for long among a hundred attackers
        try:
            client.connect(self.path)
        except OSError:
            client.close()
            raise
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
    while True:  # until the service stops reading
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
            pass  # expected: the service closed the connection


class Serve(unittest.TestCase):
    def start(self, *options, **how):
        service = Service(*options, **how)
        self.addCleanup(service.process.kill)
        return service

    def expect_good_answers(self, service, may_refuse=False):
        for pieces, count in ([REQUEST * 200], 200), ([bytes([byte]) for byte in REQUEST], 1):
            try:
                with service.connect() as client:
                    answers = ask(client, pieces)
            except OSError:
                if not may_refuse:
                    raise
            else:
                if may_refuse:
                    answers = answers.removesuffix(OUT_OF_MEMORY)
                    count = answers.count(ANSWER)
                self.assertEqual(answers, ANSWER * count)

    def survive_attacks(self, *options, limit=None, may_refuse=False, **how):
        service = self.start(*options, **how)
        if limit:
            resource.prlimit(service.process.pid, limit[0], limit[1:] * 2)
        until = time.monotonic() + SECONDS
        crowd = [threading.Thread(target=attack, args=(service, until))
                 for _ in range(8 if SECONDS <= 10 else 100)]
        for one in crowd:
            one.start()
        while time.monotonic() < until:
            self.expect_good_answers(service, may_refuse)
            service.process.send_signal(signal.SIGHUP)
        for one in crowd:
            one.join()
        self.expect_good_answers(service)
        log = pathlib.Path(service.path + ".log")
        text = log.read_bytes() if log.exists() else b""
        self.assertEqual(service.end(), (0, b""))
        return text

    def test_answers_among_attacks(self):
        self.survive_attacks()

    def test_answers_while_the_log_is_on_a_full_disk(self):
        self.survive_attacks(log="/dev/full")

    def test_answers_with_few_descriptors(self):
        self.assertIn(b"no new connections", self.survive_attacks(limit=(resource.RLIMIT_NOFILE, 12)))

    def test_answers_a_few_connections(self):
        self.survive_attacks("--max-connections", "12", "--max-idle", "10")

    @unittest.skipIf(LAUNCHED or b"__asan_" in pathlib.Path(PROGRAM).read_bytes(), "they need memory")
    def test_refuses_requests_without_memory(self):
        self.assertIn(b"out of memory", self.survive_attacks(
            limit=(resource.RLIMIT_DATA, 4 << 20), may_refuse=True))

    def test_limits_and_errors_are_reported(self):
        service = self.start("--max-value", "100", "--max-values", "3")
        for text, error in ((b'{"from":"' + b"x" * 200, b"the request is too long"),
                            (REQUEST * 4, b"too many requests at once"),
                            (b'{"a":]', b"not a message"),
                            (b'{"from":1,"to":"Thalwil"}', b"/from: expected a string")):
            with service.connect() as client:
                self.assertIn(b'{"errors":["' + error + b'"]}\n', ask(client, [text]))
        self.assertEqual(subprocess.run(
            [PROGRAM, "--socket", service.path, "--rules", RULES, "--lock", service.path + ".lock"],
            stderr=subprocess.DEVNULL, check=False).returncode, 1, "the lock is held")
        self.assertEqual(service.end(), (0, b""))

    def test_occasional_bytes_are_not_activity(self):
        service = self.start("--max-idle", "1")
        with service.connect() as client, self.assertRaises(OSError):
            for byte in b'{"a":' + b" " * 50:
                client.sendall(bytes([byte]))
                time.sleep(0.1)
        self.assertEqual(service.end(), (0, b""))

    def test_rules_that_cannot_be_read_change_nothing(self):
        with tempfile.NamedTemporaryFile() as rules:
            rules.write(pathlib.Path(RULES).read_bytes())
            rules.flush()
            service = self.start("--rules", rules.name)
            rules.truncate(20)
            service.process.send_signal(signal.SIGHUP)
            self.expect_good_answers(service)
            self.assertEqual(service.end(), (0, b""))

    def test_keeps_the_path_of_an_inherited_socket(self):
        with tempfile.TemporaryDirectory() as folder, socket.socket(socket.AF_UNIX) as listener:
            path = os.path.join(folder, "socket")
            listener.bind(path)
            listener.listen()
            service = subprocess.Popen(
                ["sh", "-c", 'LISTEN_FDS=1 LISTEN_PID=$$ exec "$@" 3<&0', "sh",
                 PROGRAM, "--rules", RULES, "--socket", path], stdin=listener, stderr=subprocess.DEVNULL)
            with socket.socket(socket.AF_UNIX) as client:
                client.settimeout(30)
                client.connect(path)
                self.assertEqual(ask(client, [REQUEST]), ANSWER)
            service.send_signal(signal.SIGTERM)
            self.assertEqual(service.wait(60), 0)
            self.assertTrue(os.path.exists(path))

    def test_pending_requests_are_answered_before_the_end(self):
        service = self.start()
        with service.connect() as client:
            client.sendall(REQUEST * 1000)
            time.sleep(0.1)
            service.process.send_signal(signal.SIGTERM)
            self.assertEqual(read_all(client), ANSWER * 1000)
        self.assertEqual(service.end()[0], 0)


unittest.main(argv=sys.argv[:1] + sys.argv[4:])
