"""The code blocks of a Markdown document, and what is said about them."""

import re
from dataclasses import dataclass, field
from typing import Optional

FENCE = re.compile(r"( *)```(\S*)\s*$")
MARK = re.compile(r"\s*<!--\s*([a-z ]+?)(?::\s*(.*?))?\s*-->\s*$")
LINK = re.compile(r"\]\(([^)#\s]+)(?:#[^)]*)?\)|(?:src|href)=\"([^\"#]+)\"")
KNOWN_MARKS = ("file", "not run", "output varies", "run if", "wrap")


class Malformed(Exception):
    """The document breaks a rule of CONTRIBUTING.md."""


@dataclass
class Block:
    line: int
    language: str
    marks: dict = field(default_factory=dict)
    text: str = ""
    shown: Optional[str] = None  # what the document says that it prints


class Reader:
    """Collects the blocks line by line."""

    def __init__(self):
        self.blocks = []
        self._marks = {}
        self._open = None  # the block whose end is still to come
        self._indent = ""
        self._directly_after = None  # the block that no prose follows yet
        self._in_list = False

    def read(self, number, line):
        fence = FENCE.match(line)
        if self._open:
            self._read_inside(line, fence)
        elif fence:
            self._begin(number, fence)
        else:
            self._read_prose(number, line)

    def end(self):
        if self._open:
            raise Malformed(f"line {self._open.line}: the block does not end")

    def _read_inside(self, line, fence):
        if not fence or fence[2]:
            self._open.text += line.removeprefix(self._indent) + "\n"
            return
        ended, self._open = self._open, None
        before, self._directly_after = self._directly_after, ended
        if ended.language == "text" and before and not ended.marks:
            before.shown = ended.text  # an output, no block of its own
        else:
            self.blocks.append(ended)

    def _begin(self, number, fence):
        self._open = Block(number, fence[2], self._marks)
        self._indent, self._marks = fence[1], {}

    def _read_prose(self, number, line):
        if not line.strip():
            return
        mark = MARK.match(line)
        if mark and mark[1] in KNOWN_MARKS:
            self._marks[mark[1]] = mark[2] or ""
            return
        if self._marks:
            raise Malformed(f"line {number}: no block after the mark")
        if not line.startswith(" "):
            self._in_list = bool(re.match(r"([-*]|\d+\.) ", line))
        elif line.startswith("    ") and not self._in_list:
            raise Malformed(f"line {number}: an indented block; fence it")
        self._directly_after = None


def read_blocks(text):
    """Every fenced block but those of language `text` that directly follow
    another one: they are its output."""
    reader = Reader()
    for number, line in enumerate(text.splitlines(), start=1):
        reader.read(number, line)
    reader.end()
    return reader.blocks


def local_links(text):
    """The files that the document points to, relative to itself."""
    prose = re.sub(r"^ *```.*?^ *```$", "", text, flags=re.M | re.S)
    targets = (a or b for a, b in LINK.findall(prose))
    return [t for t in targets if not re.match(r"[a-z]+:", t)]
