#!/usr/bin/env python3
"""Manual page (section 1) of a program, from what it says to --help.

usage: program_pages.py DIRECTORY VERSION [EMULATOR ...] PROGRAM
"""

import pathlib
import re
import sys

import help_text
import roff


def is_verbatim(lines):
    return any(line.startswith("  ") for line in lines)


def paragraph(lines):
    """Examples and tables stay as they are, and their first line a title."""
    if not is_verbatim(lines):
        return ".PP\n" + roff.prose(lines)
    if lines[0].startswith("  "):
        return ".PP\n" + roff.verbatim(lines)
    return ".PP\n" + roff.prose(lines[:1]) + ".PP\n" + roff.verbatim(lines[1:])


def section(lines):
    """A paragraph of the program's own help; a short title is a heading."""
    title = re.fullmatch(r"([A-Z]\w*(?: \w+)?):", lines[0])
    if title:
        return roff.heading(title[1]) + roff.verbatim(lines[1:])
    return paragraph(lines)


def readable(value):
    """The library's way to name types, ranges, choices and defaults, in words."""
    value = re.sub(r":\w+ in \[(\S+) - (\S+)\]", r" (\1 to \2)", value)
    value = re.sub(r":\{(.*)\}", r" (\1)", value)
    value = re.sub(r"\(Env:(\w+)\)", r"(environment: \1)", value)
    return re.sub(r"=(\S+)$", r" [\1]", value)


def term(entry):
    if not entry.flags:
        return f"\\fI{roff.escape(entry.name)}\\fR"
    name, _, rest = readable(entry.value).partition(" ")
    flags = ", ".join(f"\\fB{roff.escape(flag)}\\fR" for flag in entry.flags)
    return f"{flags} \\fI{roff.escape(name)}\\fR {roff.escape(rest)}".rstrip()


def meaning(entry):
    text = roff.emphasize(entry.text)
    return f"{text}. {roff.escape(entry.relation)}" if entry.relation else text


def table(entries):
    return "".join(
        f".TP\n{term(entry)}\n{meaning(entry)}\n"
        for entry in entries
        if entry.flags != ["-h", "--help"]
    )


def subcommand(help_):
    if help_.subcommands:
        text = "".join(map(subcommand, help_.subcommands))
        return text + "".join(map(paragraph, help_.footer))
    name = " ".join(help_.path[1:])
    text = f'.SS "{roff.escape(name)}"\n{roff.escape(help_.summary)}.\n'
    text += f".PP\n\\fB{roff.escape(help_.usage)}\\fR\n"
    text += table(help_.positionals) + table(help_.options)
    return text + "".join(map(paragraph, help_.footer))


def page(help_):
    name, _, rest = help_.usage.partition(" ")
    text = roff.heading("synopsis")
    text += f"\\fB{roff.escape(name)}\\fR {roff.escape(rest)}\n"
    untitled = [part for part in help_.footer if section(part)[:3] != ".SH"]
    titled = [part for part in help_.footer if part not in untitled]
    text += roff.heading("description")
    text += roff.escape(help_.summary.rstrip(".")) + ".\n"
    text += "".join(map(paragraph, untitled))
    if help_.options:
        text += roff.heading("options") + table(help_.options)
    if help_.subcommands:
        text += roff.heading("commands")
        text += "".join(map(subcommand, help_.subcommands))
    text += "".join(map(section, titled))
    return text + roff.heading("see also") + see_also(help_.path[0])


def see_also(name):
    pages = [("mvfp", 1), ("mvfp-vreader", 1), ("mvfp-web", 1),
             ("cx_capdlg", 1), ("mv_fpi", 3), ("mv_fpi", 7)]
    others = [page for page in pages if page[0] != name]
    return " ,\n".join(f".BR {roff.escape(o)} ({n})" for o, n in others) + "\n"


def main():
    directory, version, *command = sys.argv[1:]
    name = pathlib.Path(command[-1]).name
    help_ = help_text.ask(command, [name])
    summary = help_.summary.rstrip(".")
    summary = summary[0].lower() + summary[1:]
    roff.write_page(directory, name, 1, version, summary, page(help_))


if __name__ == "__main__":
    main()
