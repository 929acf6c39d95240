"""Runs what a document shows: its consoles' commands, one after the other in one shell, and the files that they use.

A block ```console holds commands, each after "$ ", and what each prints. A command whose line ends with a backslash goes
on in the next line. A block whose first line names a file after the language, as in ```xml package.xml, is that file's
content. In what is printed, "…" stands for some text of one line, and alone in a line for any lines.
"""

import re
import shlex
import subprocess
from dataclasses import dataclass

BLOCK = re.compile(r"^```(?P<language>\w*) ?(?P<file>\S*)\n(?P<text>.*?)^```$", re.MULTILINE | re.DOTALL)
SHELLS = {"sh", "bash", "shell"}
BLOCK_ENDS = "--- end of a block ---"


@dataclass(frozen=True)
class Block:
    """A fenced block of a document."""

    language: str
    file: str
    text: str


def blocks_of(document):
    """The blocks that can run, in the document's order; a shell's block cannot, for it shows no output."""
    found = [Block(**match.groupdict()) for match in BLOCK.finditer(document)]
    for block in found:
        if block.language in SHELLS:
            raise ValueError(f"commands outside of a console: {block.text}")
    return [block for block in found if block.language == "console" or block.file]


def commands_of(block):
    """The commands of a console, each with all of its lines."""
    lines = iter(block.text.splitlines())
    for line in lines:
        if line.startswith("$ "):
            command = [line]
            while command[-1].endswith("\\"):
                command.append(next(lines))
            yield "\n".join(command)


def script_of(blocks):
    """A script that writes the files and prints what the consoles would show."""
    lines = ["exec 2>&1", "status=0"]
    for block in blocks:
        if block.file:
            lines.append(f"printf %s {shlex.quote(block.text)} >{shlex.quote(block.file)}")
            continue
        for command in commands_of(block):
            lines += [f"printf '%s\\n' {shlex.quote(command)}", f"(exit $status); {command[2:]}", "status=$?"]
        lines.append(f"echo '{BLOCK_ENDS}'")
    return "\n".join(lines)


def shown_by(blocks, folder, environment):
    """What each console shows when the blocks run in the folder."""
    ended = subprocess.run(["/bin/sh", "-c", script_of(blocks)], cwd=folder, env=environment, stdout=subprocess.PIPE,
                           stdin=subprocess.DEVNULL, text=True, check=False, timeout=300)
    return ended.stdout.split(BLOCK_ENDS + "\n")[:-1]


def fits(expected, shown):
    """True when the text is what the document shows."""
    pattern = "".join(r"(.*\n)*" if line == "…\n" else ".+".join(map(re.escape, line.split("…")))
                      for line in expected.splitlines(keepends=True))
    return re.fullmatch(pattern, shown) is not None
