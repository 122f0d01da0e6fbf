#!/usr/bin/env python3
"""Manual page of a text: its name and section are the file's, its first line
says what it is about, and the rest is written as the headers' comments are.

usage: text_pages.py DIRECTORY VERSION TEXT...
"""

import pathlib
import re
import sys

import header_pages
import roff

# The others, and the way in.
RELATED = (("mvfp", 1), ("mv_fpi", 3), ("mv_fpi_lock", 5), ("mv_fpi_log", 5),
           ("mv_fpi_record", 5), ("mv_fpi", 7))


def is_path(part):
    return len(part) == 1 and part[0].startswith("/")


def body(lines):
    for part in header_pages.paragraphs(lines):
        first = part[0].strip()
        entry = re.match(r"(\S+) {2,}(\S.*)", first)
        if entry:
            yield "".join(map(row, entries(part)))
        elif is_path(part):
            yield f"\\fI{roff.escape(first)}\\fR\n"
        else:
            yield "".join(header_pages.body(part))


def entries(lines):
    """Names and meanings; a name that comes again goes on with its meaning."""
    found = {}
    for line in lines:
        name, text = re.split(" {2,}", line, maxsplit=1)
        found[name] = f"{found[name]} {text}" if name in found else text
    return found.items()


def row(entry):
    name, text = entry
    return f".TP\n\\fI{roff.escape(name)}\\fR\n{roff.emphasize(text)}\n"


def main():
    directory, version, *paths = sys.argv[1:]
    for path in map(pathlib.Path, paths):
        name, section = path.stem.rsplit(".", 1)
        summary, *lines = path.read_text(encoding="utf-8").splitlines()
        related = [r for r in RELATED if r != (name, int(section))]
        links = " ,\n".join(f".BR {roff.escape(n)} ({s})" for n, s in related)
        page = "".join(body(lines)) + roff.heading("see also") + links + "\n"
        place = pathlib.Path(directory, section)
        roff.write_page(place, name, int(section), version, summary, page)


if __name__ == "__main__":
    main()
