"""The program mvfp-vreader as a reader for the tests."""

import os
import subprocess
import tempfile


class VirtualReader:
    """Runs for the length of a `with` block; `port` is for the driver."""

    def __init__(self, script="", options=()):
        with tempfile.NamedTemporaryFile() as file:
            file.write(script.encode("utf-8", "surrogateescape"))
            file.flush()
            self._start("--script", file.name if script else "-", *options)

    def _start(self, *options):
        self._process = subprocess.Popen(
            [os.environ["MVFP_VREADER"], "--baud", "0", *options],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            encoding="utf-8",
        )
        self.port = self._process.stdout.readline().strip()

    def tell(self, command):
        """A script command for a reader that was started without a script."""
        self._process.stdin.write(command + "\n")
        self._process.stdin.flush()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._process.kill()
        self._process.communicate()
