"""The examples of the README do what it says."""

import contextlib
import importlib.util
import io
import os
import re
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

from virtual_reader import VirtualReader

PACKAGE = Path(__file__).resolve().parents[1]
README = (PACKAGE / "README.md").read_text(encoding="utf-8")
INSTALLERS = ("ensurepip", "setuptools", "venv", "wheel")


def blocks(*languages):
    pattern = rf"^```({'|'.join(languages)})\n(.*?)^```$"
    return re.findall(pattern, README, flags=re.M | re.S)


class Readme(unittest.TestCase):
    def test_every_example_prints_what_is_shown(self):
        examples = blocks("python", "text")
        names = {}
        options = ["--auto-press", "1", "--link", "/dev/ttyUSB0"]
        with VirtualReader("version 1 3", options) as reader:
            os.symlink(reader.port, "/dev/COM3")
            for (_, code), (_, shown) in zip(examples[::2], examples[1::2]):
                printed = io.StringIO()
                with contextlib.redirect_stdout(printed):
                    exec(code, names)
                self.assertEqual(shown, printed.getvalue())
        self.assertEqual(["python", "text"] * 4, [name for name, _ in examples])

    @unittest.skipUnless(
        all(map(importlib.util.find_spec, INSTALLERS)),
        "installing takes " + ", ".join(INSTALLERS),
    )
    def test_it_installs_without_network(self):
        os.makedirs("/tmp/tree")
        shutil.copytree(PACKAGE, "/tmp/tree/python")
        [(_, commands)] = blocks("sh")
        environment = {**os.environ, "PIP_NO_INDEX": "1"}
        environment.pop("PYTHONPATH", None)
        subprocess.run(
            ["sh", "-ec", commands.replace("python3 ", sys.executable + " ")],
            cwd="/tmp/tree", env=environment, check=True,
        )
        where = ("import mv_fpi, pathlib; "
                 "f = pathlib.Path(mv_fpi.__file__); "
                 "print(f.with_name('py.typed').exists(), f)")
        done = subprocess.run(
            ["/tmp/tree/venv/bin/python", "-c", where],
            cwd="/", env=environment, check=True, stdout=subprocess.PIPE,
        )
        self.assertRegex(done.stdout.decode(), "^True /tmp/tree/venv/")


if __name__ == "__main__":
    unittest.main()
