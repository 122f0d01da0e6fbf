"""The picture of the modules shows what they include, and nothing else."""

import re
import unittest
from pathlib import Path

TREE = Path(__file__).resolve().parents[2]
PLACES = {
    path.name: path for path in (TREE / "src").iterdir() if path.is_dir()
} | {"corvex_capdlg": TREE / "corvex_capdlg"}
CHANNEL = ("cx_capdlg_lib.h", "extern/smo_opt/", "smo_mutex_lock.h")


def module_of(header):
    if header.startswith(CHANNEL):
        return "corvex_capdlg"
    return header.split("/")[0]


def included_by(module):
    headers = set()
    for file in PLACES[module].rglob("*"):
        if file.suffix in (".h", ".cpp"):
            text = file.read_text(encoding="utf-8")
            headers.update(re.findall(r'#include ["<]([^">]+)', text))
    return {module_of(header) for header in headers} & set(PLACES) - {module}


class Picture(unittest.TestCase):
    def test_its_arrows_are_the_includes(self):
        page = (TREE / "docs/design.md").read_text(encoding="utf-8")
        arrows = re.findall(r"^  (\w+) --> (\w+)$", page, flags=re.M)
        drawn = {arrow for arrow in arrows if set(arrow) <= set(PLACES)}
        self.assertEqual(
            {(a, b) for a in PLACES for b in included_by(a)}, drawn)


if __name__ == "__main__":
    unittest.main()
