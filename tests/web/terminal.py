"""A terminal with a virtual reader and the service, in a directory of its own,
and a bare WebSocket that can also misbehave."""

import json
import os
import pathlib
import re
import shutil
import socket
import struct
import subprocess
import tempfile

TREE = pathlib.Path(__file__).resolve().parents[2]
OUT = TREE / os.environ.get("MV_BUILD_DIR", "build/release") / "out"
ORIGIN = "https://bank.example"


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Terminal:
    def __init__(self, *options, origins=(ORIGIN,), tool=None):
        self._home = tempfile.TemporaryDirectory()
        self.home = pathlib.Path(self._home.name)
        # Ports are named below /dev, and this one keeps its name.
        self.device = f"/dev/..{self.home}/port"
        self.port = free_port()
        self.options = [f"--allow-origin={origin}" for origin in origins]
        self.options += options
        self.program = OUT / "mvfp-web"
        if tool:
            # The service runs the mvfp that lies beside it.
            self.program = shutil.copy(self.program, self.home)
            (self.home / "mvfp").write_text(tool)
            (self.home / "mvfp").chmod(0o755)
        self.service = self.reader = None

    def __enter__(self):
        self.plug_in()
        self.start()
        return self

    def __exit__(self, *_):
        self.stop()
        self.unplug()
        self._home.cleanup()

    def plug_in(self):
        self.reader = subprocess.Popen(
            [OUT / "mvfp-vreader", "--script", "-"], text=True, bufsize=1,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        link = self.home / "port"
        link.unlink(missing_ok=True)
        link.symlink_to("/dev/" + self.reader.stdout.readline().strip())

    def script(self, text):
        self.reader.stdin.write(text + "\n")

    def unplug(self):
        self.reader.kill()
        self.reader.wait()
        self.reader.stdin.close()
        self.reader.stdout.close()

    def start(self):
        self.service = subprocess.Popen(
            [self.program, f"--port={self.port}", f"--reader={self.device}",
             "--config=/dev/null", *self.options],
            stderr=subprocess.PIPE, text=True,
            env=os.environ | {"LD_LIBRARY_PATH": str(OUT),
                              "QT_QPA_PLATFORM": "offscreen"})
        assert "allowed origins" in self.service.stderr.readline()

    def stop(self):
        if self.service.stderr.closed:
            return
        self.service.terminate()
        self.said = self.service.communicate()[1]

    def version(self):
        """What the tool learns of the reader, past the service."""
        return subprocess.run(
            [OUT / "mvfp", "version", "--port", self.device],
            capture_output=True, text=True).stdout.strip()

    def check(self, origin):
        """The status of --check, and what its last finding is about."""
        run = subprocess.run(
            [self.program, "--check", f"--port={self.port}",
             "--config=/dev/null", f"--allow-origin={origin}"],
            capture_output=True, text=True)
        findings = re.findall(r"^(?:ok|problem) +(\w+)", run.stdout, re.M)
        return run.returncode, findings[-1]

    def add_to_gallery(self, gallery, record, person):
        subprocess.run(
            [OUT / "mvfp", "gallery", "add", record, "--id", person,
             "--finger", "right index", "--gallery", gallery], check=True,
            stdout=subprocess.DEVNULL)

    def wire(self, **headers):
        return Wire(self.port, **headers)


class Wire:
    """One connection. Header names are written with _, None leaves one out."""

    def __init__(self, port, request="GET / HTTP/1.1", body="", **headers):
        usual = {
            "Host": f"127.0.0.1:{port}", "Origin": ORIGIN,
            "Upgrade": "websocket", "Connection": "Upgrade",
            "Sec_WebSocket_Version": "13",
            "Sec_WebSocket_Key": "dGhlIHNhbXBsZSBub25jZQ==",
        }
        lines = [f"{name.replace('_', '-')}: {value}"
                 for name, value in (usual | headers).items()
                 if value is not None]
        self.socket = socket.create_connection(("127.0.0.1", port), 30)
        self.stream = self.socket.makefile("rb")
        self.ids = 0
        self.socket.sendall(
            "\r\n".join([request, *lines, "", body]).encode())
        head = b"".join(iter(self.stream.readline, b"\r\n"))
        self.status = int(head.split()[1]) if head else None

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        self.stream.close()
        self.socket.close()

    def frame(self, opcode, payload):
        size = len(payload)
        length = (struct.pack("!B", 0x80 | size) if size < 126 else
                  struct.pack("!BH", 0xFE, size) if size < 65536 else
                  struct.pack("!BQ", 0xFF, size))
        # A mask of zeroes leaves the payload as it is.
        self.socket.sendall(bytes([0x80 | opcode]) + length + bytes(4) + payload)

    def receive(self):
        """A text, or the number with which the far side closes."""
        first, size = self.stream.read(2)
        if size == 126:
            size = struct.unpack("!H", self.stream.read(2))[0]
        payload = self.stream.read(size)
        if first == 0x88:
            return struct.unpack("!H", payload[:2])[0]
        return json.loads(payload)

    def request(self, method, **params):
        self.ids += 1
        self.frame(1, json.dumps({"jsonrpc": "2.0", "id": self.ids,
                                  "method": method,
                                  "params": params}).encode())
        return self.ids

    def answer(self):
        """The next answer; what is said of its progress is passed over."""
        while True:
            message = self.receive()
            if "method" not in message:
                return message

    def call(self, method, **params):
        self.request(method, **params)
        return self.answer()
