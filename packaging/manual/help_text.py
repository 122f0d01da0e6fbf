"""What a program says to --help, for it and each of its subcommands."""

import re
import subprocess
from dataclasses import dataclass, field

LISTS = ("Positionals:", "Options:", "Subcommands:")


@dataclass
class Entry:
    """An option, an argument or a subcommand, and its line of help."""

    name: str  # flags with commas
    value: str  # what follows the flags: 'LETTER:{A,B,C,K}'
    relation: str  # 'Excludes: --remove'
    text: str

    @property
    def flags(self):
        return [name for name in self.name.split(",") if name.startswith("-")]


@dataclass
class Help:
    path: list  # program and subcommands
    summary: str = ""
    usage: str = ""
    lists: dict = field(default_factory=dict)
    footer: list = field(default_factory=list)  # paragraphs: lists of lines
    subcommands: list = field(default_factory=list)

    def take_summary(self):
        """Of a help that begins with the usage, the first sentence after it."""
        first, _, rest = " ".join(self.footer[0]).partition(". ")
        self.summary = first
        self.footer[0] = [rest]

    @property
    def options(self):
        return self.lists.get("Options:", [])

    @property
    def positionals(self):
        return self.lists.get("Positionals:", [])


def parse(path, text):
    top, usage, rest = re.split(r"^usage: (.*)$", text, maxsplit=1, flags=re.M | re.I)
    found = Help(path, summary=" ".join(top.split()), usage=usage)
    for part in re.split(r"\n\s*\n", rest.strip("\n")):
        lines = part.strip("\n").splitlines()
        if lines and lines[0] in LISTS:
            found.lists[lines[0]] = list(entries(lines[1:]))
        elif lines:
            found.footer.append(lines)
    if not found.summary:
        found.take_summary()
    return found


def entries(lines):
    """A term that leaves no room for its text has it on the next line."""
    text = "\n".join(lines).replace("\n" + " " * 10, " " * 10)
    for line in text.splitlines():
        entry = re.fullmatch(r"  (\S.*?) {2,}(\S.*)", line)
        if not entry:
            raise ValueError(f"no term and text: {line!r}")
        term, relation, which = re.match(
            r"(.*?)(?: ((?:Excludes|Needs):)(.*))?$", entry[1]
        ).groups("")
        name, _, value = term.partition(" ")
        yield Entry(name, value, relation + which, re.sub(" {2,}", " ", entry[2]))


def ask(command, path):
    """The help of a program and, below it, of its subcommands."""
    run = subprocess.run(
        [*command, *path[1:], "--help"], check=True, capture_output=True, text=True
    )
    found = parse(path, run.stdout)
    for entry in found.lists.get("Subcommands:", []):
        found.subcommands.append(ask(command, [*path, entry.name]))
    return found
