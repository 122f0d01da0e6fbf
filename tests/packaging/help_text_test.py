"""What the manual and the completion are made of: a program's own help."""

import pathlib
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "packaging/manual"))

import help_text  # noqa: E402  (found by the line above)

HELP = """\
Tie a port to a name.
Usage: tool tie [OPTIONS] [NUMBER]

Positionals:
  NUMBER INT                  Which name

Options:
  -h,--help                   Print this help message and exit
  -t,--timeout SECONDS:INT in [1 - 86400]
                              How long to wait
  --print Excludes: --remove  Change nothing
  --box LETTER:{A,B} (Env:BOX) Needs: --port
                              The box

Some prose.

Examples:
  tool tie 3
"""


class HelpTextTest(unittest.TestCase):
    def test_every_part_is_found(self):
        found = help_text.parse(["tool", "tie"], HELP)
        self.assertEqual(found.summary, "Tie a port to a name.")
        self.assertEqual(found.usage, "tool tie [OPTIONS] [NUMBER]")
        self.assertEqual([entry.name for entry in found.positionals], ["NUMBER"])
        _, timeout, dry, box = found.options
        self.assertEqual(timeout.flags, ["-t", "--timeout"])
        self.assertEqual(timeout.value, "SECONDS:INT in [1 - 86400]")
        self.assertEqual(timeout.text, "How long to wait")
        self.assertEqual((dry.value, dry.relation), ("", "Excludes: --remove"))
        self.assertEqual(box.value, "LETTER:{A,B} (Env:BOX)")
        self.assertEqual(box.relation, "Needs: --port")
        self.assertEqual(
            found.footer, [["Some prose."], ["Examples:", "  tool tie 3"]]
        )

    def test_a_line_that_is_not_understood_is_not_dropped(self):
        with self.assertRaises(ValueError):
            help_text.parse(["tool"], "Usage: tool\n\nOptions:\n  --odd\n")

    def test_a_help_without_summary_gives_its_first_sentence(self):
        found = help_text.parse(["tool"], "usage: tool [N]\n\nDoes it. And more.\n")
        self.assertEqual((found.summary, found.footer), ("Does it", [["And more."]]))


if __name__ == "__main__":
    unittest.main()
