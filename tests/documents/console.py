"""Runs the commands in a document's consoles, in one shell, with the files that the document shows.

A block ```console contains commands, each after "$ ", and their output. A command continues on the next line after a
backslash. A block with a file name after the language, such as ```xml package.xml, is the content of that file. In the
output, "…" matches any text within a line; on a line by itself it matches any number of lines.
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
    """The consoles and files of a document, in order. Refuses a block for a shell: it shows no output to compare."""
    found = [Block(**match.groupdict()) for match in BLOCK.finditer(document)]
    for block in found:
        if block.language in SHELLS:
            raise ValueError(f"commands outside a console: {block.text}")
    return [block for block in found if block.language == "console" or block.file]


def commands_of(block):
    """The commands of a console, with their continuation lines."""
    lines = iter(block.text.splitlines())
    for line in lines:
        if line.startswith("$ "):
            command = [line]
            while command[-1].endswith("\\"):
                command.append(next(lines))
            yield "\n".join(command)


def script_of(blocks):
    """A script that writes the files, runs the commands and prints the consoles as they would look."""
    lines = ["exec 2>&1", "status=0"]
    for block in blocks:
        if block.file:
            lines.append(f"printf %s {shlex.quote(block.text)} >{shlex.quote(block.file)}")
            continue
        for command in commands_of(block):
            lines += [f"printf '%s\\n' {shlex.quote(command)}", f"(exit $status); {command[2:]}", "status=$?"]
        lines.append(f"echo '{BLOCK_ENDS}'")
    return "\n".join(lines)


def shown_by(blocks, folder, environment, shell=()):
    """Runs the blocks in the folder, in a shell that `shell` starts; returns the text of each console that ran to its end."""
    ended = subprocess.run([*shell, "/bin/sh", "-c", script_of(blocks)], cwd=folder, env=environment, stdout=subprocess.PIPE,
                           stdin=subprocess.DEVNULL, text=True, check=False, timeout=300)
    return ended.stdout.split(BLOCK_ENDS + "\n")[:-1]


def fits(expected, shown):
    """True if the actual text matches the document's."""
    pattern = "".join(r"(.*\n)*" if line == "…\n" else ".+".join(map(re.escape, line.split("…")))
                      for line in expected.splitlines(keepends=True))
    return re.fullmatch(pattern, shown) is not None
