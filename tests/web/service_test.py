"""The service at its socket: who is refused, and what becomes of its calls."""

import signal
import socket
import subprocess
import unittest

from terminal import ORIGIN, Terminal

# What is changed of a request that is welcome, and the answer.
HANDSHAKES = [
    ("foreign origin", {"Origin": "https://evil.test"}, 403),
    ("null", {"Origin": "null"}, 403),
    ("no origin", {"Origin": None}, 403),
    ("look-alike", {"Origin": ORIGIN + ".evil.test"}, 403),
    ("beginning of it", {"Origin": ORIGIN[:-1]}, 403),
    ("other scheme", {"Origin": "http://bank.example"}, 403),
    ("its subdomain", {"Origin": "https://shop.bank.example"}, 403),
    ("list of them", {"Origin": f"https://evil.test {ORIGIN}"}, 403),
    ("two of them", {"Origin": f"{ORIGIN}\r\nOrigin: https://evil.test"}, 400),
    ("folded line", {"Origin": f"{ORIGIN}\r\n .evil.test"}, 400),
    ("rebound name", {"Host": "evil.test"}, 421),
    ("other port", {"Host": "127.0.0.1:1"}, 421),
    ("no host", {"Host": None}, 421),
    ("plain request", {"Upgrade": None}, 426),
    ("POST", {"request": "POST / HTTP/1.1", "body": "{}"}, 405),
    ("long head", {"Cookie": "x" * 9000}, 431),
]

# A message, and the number in the answer or with which the line is closed.
MESSAGES = [
    ("binary frame", 2, b"{}", 1003),
    ("10 MB", 1, b" " * 10_000_000, 1009),
    ("no UTF-8", 1, b"\xff", 1007),
    ("deep JSON", 1, b"[" * 16000, -32700),
    ("batch", 1, b"[]", -32600),
    ("no id", 1, b'{"jsonrpc":"2.0","method":"reader.version"}', -32600),
]

# An option of the tool is nothing that a page could name.
REQUESTS = [
    ("reader.open", {}, -32601),
    ("reader.version", {"port": "ttyS0"}, -32602),
    ("reader.capture", {"timeout": 601}, -32602),
    ("reader.capture", {"timeout": "5 --output=x"}, -32602),
    ("reader.enroll", {"guided": 1}, -32602),
    ("record.match", {"first": "/etc/passwd", "second": "-"}, -32004),
    ("record.match", {"first": "a b", "second": "c"}, -32602),
    ("gallery.identify", {}, -32005),
]

STUBBORN = """#!/usr/bin/python3
import signal
signal.signal(signal.SIGTERM, signal.SIG_IGN)
while True: signal.pause()
"""
CRASHING = "#!/bin/sh\nkill -SEGV $$\n"


def window_is_open():
    return subprocess.run(["pgrep", "-x", "cx_capdlg"],
                          stdout=subprocess.DEVNULL).returncode == 0


class Refused(unittest.TestCase):
    """What a hostile one does must not disturb the call in progress."""

    @classmethod
    def setUpClass(cls):
        cls.terminal = cls.enterClassContext(Terminal())
        cls.counter = cls.enterClassContext(cls.terminal.wire())
        cls.counter.request("reader.enroll", timeout=600)
        assert cls.counter.receive()["method"] == "progress"

    @classmethod
    def tearDownClass(cls):
        cls.terminal.script("press 1; wait-for beep; lift; wait 700\n" * 3)
        assert "template" in cls.counter.answer().get("result", {})

    def test_before_a_message_is_read(self):
        for name, change, status in HANDSHAKES:
            with self.subTest(name), self.terminal.wire(**change) as wire:
                self.assertEqual(status, wire.status)

    def test_messages(self):
        for name, opcode, payload, number in MESSAGES:
            with self.subTest(name), self.terminal.wire() as wire:
                try:
                    wire.frame(opcode, payload)
                except ConnectionError:
                    pass  # it was not read to its end
                said = wire.receive()
                if not isinstance(said, int):
                    said = said["error"]["code"]
                self.assertEqual(number, said)

    def test_flood(self):
        with self.terminal.wire() as wire:
            for _ in range(1000):
                try:
                    wire.frame(1, b"x")
                except ConnectionError:
                    break
            while not isinstance(said := wire.receive(), int):
                pass
            self.assertEqual(1008, said)

    def test_requests(self):
        with self.terminal.wire() as wire:
            for method, parameters, number in REQUESTS:
                with self.subTest(method, **parameters):
                    error = wire.call(method, **parameters)["error"]
                    self.assertEqual(number, error["code"])

    def test_thousand_connections_and_a_handshake_that_dribbles(self):
        held = [socket.create_connection(("127.0.0.1", self.terminal.port))
                for _ in range(1000)]
        with self.terminal.wire() as wire:
            self.assertEqual(101, wire.status)
        held[-1].send(b"GET / HT")
        for one in held:
            self.assertEqual(b"", one.recv(1))
            one.close()


class Calls(unittest.TestCase):
    def test_end_with_the_service_however_it_ends(self):
        for number in (signal.SIGTERM, signal.SIGKILL):
            with self.subTest(number), Terminal() as terminal:
                wire = self.enterContext(terminal.wire())
                wire.request("reader.enroll")
                wire.receive()
                terminal.script("wait-for probe")
                terminal.service.send_signal(number)
                terminal.service.wait()
                while not (version := terminal.version()):
                    pass
                self.assertEqual("v2.15", version)

    def test_a_fault_costs_one_call(self):
        for tool, method, ended in ((CRASHING, "reader.version", -32003),
                                    (STUBBORN, "cancel", -32002)):
            with self.subTest(ended), Terminal(tool=tool) as terminal:
                wire = self.enterContext(terminal.wire())
                for _ in range(2):
                    call = wire.request("reader.version")
                    if method == "cancel":
                        self.assertEqual(
                            {"cancelled": True},
                            wire.call("cancel", id=call)["result"])
                    self.assertEqual(ended, wire.answer()["error"]["code"])

    def test_cancelling_takes_the_prompt_window_along(self):
        with Terminal() as terminal:
            wire = self.enterContext(terminal.wire())
            call = wire.request("reader.enroll", guided=True)
            while not window_is_open():
                pass
            wire.request("cancel", id=call)
            while "error" not in (answer := wire.answer()):
                pass
            self.assertEqual(-32002, answer["error"]["code"])
            self.assertIn("result", wire.call("reader.version"))
            while window_is_open():
                pass

    def test_check_knocks_at_the_running_service(self):
        with Terminal() as terminal:
            self.assertEqual((0, "page"), terminal.check(ORIGIN))
            self.assertEqual((1, "page"), terminal.check("https://evil.test"))
            terminal.stop()
            self.assertEqual((1, "service"), terminal.check(ORIGIN))

    def test_records_are_not_seen_or_logged(self):
        with Terminal(tool='#!/bin/sh\nprintf \'{"ok":true,"line":"%s"}\' "$*"\n'
                      ) as terminal:
            wire = self.enterContext(terminal.wire())
            line = wire.call("record.match", first="EgAA", second="EgAB")
            terminal.stop()
            self.assertNotIn("EgA", line["result"]["line"] + terminal.said)
            terminal.start()


if __name__ == "__main__":
    unittest.main()
