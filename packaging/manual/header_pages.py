#!/usr/bin/env python3
"""Manual pages (section 3) of a header: an overview from its first comment and
its constants, and a page for each function from the comment before it.

usage: header_pages.py DIRECTORY VERSION LINK_OPTION HEADER
"""

import pathlib
import re
import sys

import roff

COMMENTED = re.compile(r"/\*(?P<text>.*?)\*/\n(?P<code>.*?)(?=\n\n|\Z)", re.S)
ARGUMENT = re.compile(r"(\w+(?:, \w+)*) +(in|out) +(\S.*)")
NAMED = re.compile(r"(\w+|\d+\.) {2,}(\S.*)")


def comment_lines(text):
    return [line.removeprefix(" *").rstrip() for line in text.splitlines()]


def paragraphs(lines):
    part = []
    for line in [*lines, ""]:
        if line.strip():
            part.append(line)
        elif part:
            yield part
            part = []


def tagged(lines, begins):
    """A list of names and what they mean, from lines of two columns."""
    text = ""
    for line in lines:
        entry = begins(line.strip())
        text += f".TP\n{entry[0]}\n{entry[1]}\n" if entry else roff.prose([line])
    return text


def argument(line):
    found = ARGUMENT.fullmatch(line)
    if not found:
        return None
    meaning = found[3].replace("see above", "see mv_fpi(3)")
    return f"\\fI{found[1]}\\fR ({found[2]})", roff.emphasize(meaning)


def named(line):
    found = NAMED.fullmatch(line)
    return found and (f"\\fI{found[1]}\\fR", roff.emphasize(found[2]))


def rule(line):
    found = re.fullmatch(r"(\d+\.) (.*)", line)
    return found and (found[1], roff.emphasize(found[2]))


def body(lines):
    for part in paragraphs(lines):
        first = part[0].strip()
        if first.isupper():
            yield roff.heading(first)
        elif rule(first):
            yield tagged(part, rule)
        elif argument(first):
            yield roff.heading("arguments") + tagged(part, argument)
        elif named(first):
            yield tagged(part, named)
        else:
            yield ".PP\n" + roff.prose(part)


def overview(header, lines, constants):
    text = roff.heading("synopsis")
    text += roff.verbatim([f"#include <{header}>"])
    text += "".join(body(lines))
    for comment, code in constants:
        title, _, rest = " ".join(" ".join(comment).split()).partition(". ")
        text += roff.heading(title.rstrip("."))
        text += f"{roff.emphasize(rest)}\n" if rest else ""
        text += roff.verbatim(code.splitlines())
    return text


def function_page(header, link, lines, code):
    mark = re.match(r"\w+_API ", code)[0]
    declaration = code.removeprefix(mark).replace("\n" + " " * len(mark), "\n")
    first, *rest = paragraphs(lines)
    summary, _, more = " ".join(" ".join(first).split()).partition(". ")
    if not rest:
        rest = [first]
    elif more:
        rest.insert(0, [more])
    text = roff.heading("synopsis")
    text += f"\\fB#include <{header}>\\fR\n.PP\n"
    text += roff.verbatim(declaration.splitlines())
    text += f".PP\nLink with \\fI{roff.escape(link)}\\fR.\n"
    *description, result = rest
    if description and not argument(description[0][0].strip()):
        text += roff.heading("description")
    text += "".join(body([line for part in description for line in [*part, ""]]))
    text += roff.heading("return value") + roff.prose(result)
    summary = summary.rstrip(".")
    return summary[0].lower() + summary[1:], text


def main():
    directory, version, link, path = sys.argv[1:]
    header = pathlib.Path(path).name
    overview_name = header.removesuffix(".h")
    text = pathlib.Path(path).read_text(encoding="utf-8")
    top, rest = text.removeprefix("/*").split("*/", 1)
    functions, constants = {}, []
    for found in COMMENTED.finditer(rest):
        lines, code = comment_lines(found["text"]), found["code"]
        function = re.match(r"\w+_API [^;]*?(\w+)\(", code)
        if function:
            functions[function[1]] = function_page(header, link, lines, code)
        elif re.match(r"enum|typedef", code):
            constants.append((lines, code))
    lines = comment_lines(top)
    summary = lines[0].partition(" - ")[2].rstrip(".")
    pages = {overview_name: (summary, overview(header, lines[1:], constants))}
    pages.update(functions)
    for name, (summary, page) in pages.items():
        others = sorted(other for other in pages if other != name)
        related = others if name == overview_name else [overview_name]
        page += roff.heading("see also")
        page += " ,\n".join(f".BR {roff.escape(o)} (3)" for o in related) + "\n"
        roff.write_page(directory, name, 3, version, summary, page)


if __name__ == "__main__":
    main()
