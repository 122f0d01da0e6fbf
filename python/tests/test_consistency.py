"""What the package repeats of the driver's sources stays equal to them."""

import json
import os
import re
import subprocess
import unittest
from pathlib import Path

from mv_fpi import constants

TREE = Path(__file__).resolve().parents[2]
MVFP = os.environ["MVFP"]


def read(path):
    return (TREE / path).read_text(encoding="utf-8")


def header_constants():
    header = re.sub(r"/\*.*?\*/", "", read("include/mv_fpi.h"), flags=re.S)
    enums = re.findall(r"enum\s*\{(.*?)\}", header, flags=re.S)
    pairs = re.findall(r"(\w+)\s*=\s*(-?\d+)", " ".join(enums))
    return {name: int(value) for name, value in pairs}


class Consistency(unittest.TestCase):
    maxDiff = None

    def test_constants_are_those_of_the_header(self):
        own = {n: v for n, v in vars(constants).items() if n[0] != "_"}
        self.assertEqual(header_constants(), own)

    def test_version_is_the_drivers(self):
        found = re.search(
            r'^version = "(.*)"$', read("python/pyproject.toml"), flags=re.M
        )
        self.assertEqual(read("VERSION").strip(), found[1])


if __name__ == "__main__":
    unittest.main()
