"""What the package repeats of the driver's sources stays equal to them."""

import re
import unittest
from pathlib import Path

from mv_fpi import constants
from mv_fpi.meanings import MEANINGS

TREE = Path(__file__).resolve().parents[2]


def read(path):
    return (TREE / path).read_text(encoding="utf-8")


def header_constants():
    header = re.sub(r"/\*.*?\*/", "", read("include/mv_fpi.h"), flags=re.S)
    enums = re.findall(r"enum\s*\{(.*?)\}", header, flags=re.S)
    pairs = re.findall(r"(\w+)\s*=\s*(-?\d+)", " ".join(enums))
    return {name: int(value) for name, value in pairs}


def tokens_of(cpp):
    """Names, numbers, operators and (joined) strings of C++ text."""
    cpp = re.sub(r"//.*", "", cpp)
    found = re.findall(
        r'R"\((.*?)\)"|"((?:[^"\\]|\\.)*)"|(-?\w+(?:::\w+)?|[&|~{},])', cpp
    )
    tokens = []
    for raw, quoted, other in found:
        if other:
            tokens.append(other)
            continue
        text = '"' + (raw or quoted.replace('\\"', '"'))
        if tokens and tokens[-1].startswith('"'):
            tokens[-1] += text[1:]
        else:
            tokens.append(text)
    return tokens


def call_sets(cpp):
    """The sets of calls by name: single calls, then unions of earlier ones."""
    names = re.findall(r'\{(k\w+), "((?:FG|DEV)_\w+)"\}', cpp)
    sets = {call: frozenset({name}) for call, name in names}
    for name, union in re.findall(r"unsigned (k\w+) = ([k\w| ]+);", cpp):
        parts = [sets[part] for part in union.replace(" ", "").split("|")]
        sets[name] = frozenset().union(*parts)
    return sets


def functions_in(expression, sets):
    functions = frozenset()
    negate = False
    for token in expression:
        if token == "~":
            negate = True
        elif token.startswith("k"):
            functions = (
                functions - sets[token] if negate else functions | sets[token]
            )
    return functions


def braced_rows(tokens):
    """The fields of each row, each a list of tokens."""
    for token in tokens:
        if token == "{":
            row = [[]]
        elif token == "}":
            yield row
        elif token == ",":
            row.append([])
        else:
            row[-1].append(token)


def tool_rows():
    """The rows of the command-line tool's table, without the remedy."""
    cpp = read("apps/mvfp/result_codes.cpp")
    sets = call_sets(cpp)
    values = header_constants()
    table = re.search(r"kMeanings\[\] = \{(.*?)\n\};", cpp, flags=re.S)
    for row in braced_rows(tokens_of(table[1])):
        calls, code, name, stage, status, meaning, cause, _ = row
        yield (
            functions_in(calls, sets),
            values[code[0]] if code[0] in values else int(code[0]),
            name[0][1:],
            stage[0] == "Stage::kAtOnce",
            status[0][1:],
            meaning[0][1:],
            cause[0][1:],
        )


class Consistency(unittest.TestCase):
    maxDiff = None

    def test_constants_are_those_of_the_header(self):
        own = {n: v for n, v in vars(constants).items() if n[0] != "_"}
        self.assertEqual(header_constants(), own)

    def test_meanings_are_those_of_the_command_line_tool(self):
        own = [tuple(meaning)[:-1] for meaning in MEANINGS]
        self.assertEqual(list(tool_rows()), own)

    def test_version_is_the_drivers(self):
        found = re.search(
            r'^version = "(.*)"$', read("python/pyproject.toml"), flags=re.M
        )
        self.assertEqual(read("VERSION").strip(), found[1])


if __name__ == "__main__":
    unittest.main()
