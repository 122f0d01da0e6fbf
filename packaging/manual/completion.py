#!/usr/bin/env python3
"""Bash completion of a program, from what it says to --help.

usage: completion.py DIRECTORY [EMULATOR ...] PROGRAM
"""

import pathlib
import re
import sys

import help_text

SCRIPT = """\
# Completion for {name}, made from its help.
_{function}() {{
  local current=${{COMP_WORDS[COMP_CWORD]}} command="" words="" word
  COMPREPLY=()
  for word in "${{COMP_WORDS[@]:1:COMP_CWORD-1}}"; do
    case "$command/$word" in
      {commands}) command+="/$word" ;;
    esac
  done
  case "${{COMP_WORDS[COMP_CWORD-1]}}" in
{values}
  esac
  case "$command,$current" in
{words}
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}}
complete -o default -F _{function} {name}
"""

# An empty answer leaves the word to the shell, which offers files.
PORTS = (
    '$(cd /dev && for ports in "tty[A-Z]*[0-9]" "ttymxc*" "COM[0-9]*" '
    '"serial/by-id/*"; do compgen -G "$ports"; done)'
)


def everything(help_):
    yield help_
    for below in help_.subcommands:
        yield from everything(below)


def value_words(entry):
    choices = re.search(r"\{(.*)\}", entry.value)
    if choices:
        return choices[1].replace(",", " ")
    return PORTS if entry.value.startswith("PORT") else None


def values_case(helps):
    """What follows an option that takes a value."""
    cases = {}
    for entry in (entry for help_ in helps for entry in help_.options):
        if not entry.value:
            continue
        words = value_words(entry)
        reply = "return" if words is None else (
            f'mapfile -t COMPREPLY < <(compgen -W "{words}" -- "$current")\n'
            "      return"
        )
        cases["|".join(entry.flags)] = reply
    return "\n".join(f"    {flags}) {reply} ;;" for flags, reply in cases.items())


def words_case(helps):
    cases = []
    for help_ in helps:
        command = "".join(f"/{word}" for word in help_.path[1:])
        flags = " ".join(flag for entry in help_.options for flag in entry.flags)
        below = " ".join(sub.path[-1] for sub in help_.subcommands)
        if below or help_.positionals:
            cases.append(f'    {command},-*) words="{flags}" ;;')
            cases.append(f'    {command},*) words="{below}" ;;')
        else:
            cases.append(f'    {command},*) words="{flags}" ;;')
    return "\n".join(cases)


def script(help_):
    helps = list(everything(help_))
    commands = ["/" + "/".join(below.path[1:]) for below in helps[1:]]
    name = help_.path[0]
    return SCRIPT.format(
        name=name,
        function=name.replace("-", "_"),
        commands=" | ".join(commands) or "/",
        values=values_case(helps),
        words=words_case(helps),
    )


def main():
    directory, *command = sys.argv[1:]
    name = pathlib.Path(command[-1]).name
    text = script(help_text.ask(command, [name]))
    pathlib.Path(directory, name).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
