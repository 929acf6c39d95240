"""Tests of console.py."""

import os
import tempfile
import unittest

from console import blocks_of, fits, shown_by

DOCUMENT = """
Text with `code`, and a file:

```text note.txt
It's here.
```

```xml
<not-a-file/>
```

```console
$ cat note.txt
It's here.
$ export WORD=kept && false
$ echo $?
1
```

```console
$ printf '%s\\n' \\
    "$WORD"
kept
```
"""


class Console(unittest.TestCase):
    def test_runs_commands_and_writes_files_in_one_shell(self):
        blocks = blocks_of(DOCUMENT)
        with tempfile.TemporaryDirectory() as folder:
            shown = shown_by(blocks, folder, os.environ)
        self.assertEqual(shown, [block.text for block in blocks if not block.file])

    def test_refuses_commands_outside_a_console(self):
        for language in ("sh", "bash", "shell"):
            with self.assertRaisesRegex(ValueError, "outside a console"):
                blocks_of(f"```{language}\nls\n```\n")

    def test_accepts_only_equal_text(self):
        self.assertTrue(fits("a [b]\n", "a [b]\n"))
        self.assertFalse(fits("a\n", "a\nb\n"))
        self.assertFalse(fits("a\nb\n", "a\n"))

    def test_matches_any_text_with_an_ellipsis(self):
        self.assertTrue(fits("at … by root\n", "at 12:00 by root\n"))
        self.assertFalse(fits("at … by root\n", "at  by you\n"))
        self.assertFalse(fits("at … by root\n", "at 12:00\nor by root\n"))
        self.assertTrue(fits("a\n…\nz\n", "a\nb\nc\nz\n"))
        self.assertFalse(fits("a\n…\nz\n", "a\nb\nc\n"))


if __name__ == "__main__":
    unittest.main()
