"""A sample that is wrong does not pass, whatever its kind."""

import contextlib
import io
import tempfile
import unittest
from pathlib import Path

from document import Malformed
from run_samples import Surroundings, check

WRONG = {
    "does not compile": "```c\nint main(void) { return x; }\n```",
    "warns": "```cpp\nint main() { int unused = 1; return 0; }\n```",
    "ends with a failure": "```c\nint main(void) { return 3; }\n```",
    "prints something else": "```python\nprint(1)\n```\n\n```text\n2\n```",
    "raises": "```python\nmissing()\n```",
    "a command fails": "```sh\nfalse\n```",
    "a command of a console prints something else":
        "```console\n$ true\n$ echo a; false\nb\n$ echo c\nc\n```",
    "a console ends early": "```console\n$ exit\n$ true\n```",
    "no JSON": "```json\n{\n```",
    "no script": "```script\npress\n```",
    "in no language": "```\nmvfp version\n```",
    "commands in disguise": "```text\n$ mvfp version\n```",
    "left out without a reason": "<!-- not run -->\n```sh\ntrue\n```",
    "left out, and no shell": "<!-- not run: x -->\n```sh\nif\n```",
    "left out, and gone": "<!-- not run: x -->\n```sh\nscripts/gone.sh\n```",
    "a link to nowhere": "[gone](gone.md)",
}
RIGHT = """
<!-- file: one.txt -->
```text
1
```

```sh
cat one.txt
```
```text
1
```

```console
$ echo a; mvfp version --port ttyUSB0; false
a
...
$ echo b
b
```
"""


class Samples(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.surroundings = Surroundings()

    def failures(self, text):
        with tempfile.TemporaryDirectory() as directory:
            document = Path(directory) / "page.md"
            document.write_text(text, encoding="utf-8")
            with contextlib.redirect_stdout(io.StringIO()):
                return check(document, self.surroundings)

    def test_each_wrong_one_fails(self):
        for name, text in WRONG.items():
            with self.subTest(name):
                self.assertEqual(1, self.failures(text))

    def test_right_ones_pass(self):
        self.assertEqual(0, self.failures(RIGHT))

    def test_a_page_that_cannot_be_read_is_refused(self):
        for text in ("```sh\ntrue\n", "<!-- not run: x -->\nprose\n",
                     "prose\n\n    mvfp version\n"):
            with self.subTest(text), self.assertRaises(Malformed):
                self.failures(text)


if __name__ == "__main__":
    unittest.main()
