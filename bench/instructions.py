"""Instruction counts under callgrind: what a regression shows whatever else the machine is doing."""

import re
import shutil
import subprocess

from comparisons import inventory, update
from paired import Command, tell
from workshop import COMPONENT, MEBIBYTE

_BASE = "xmllint --xpath, 100 devices"


def count(command):
    """The instructions of one run."""
    command.prepare()
    callgrind = ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", *map(str, command.arguments)]
    done = subprocess.run(callgrind, cwd=command.folder, env=command.own_environment(), capture_output=True,
                          text=True, check=True)
    return int(re.search(r"refs:\s+([\d,]+)", done.stderr)[1].replace(",", ""))


def instructions(workshop):
    """Counts by run, beside the one that they are shares of; without valgrind, what is missing."""
    tell("instructions")
    if shutil.which("valgrind") is None or shutil.which("xmllint") is None:
        return {"missing": [tool for tool in ("valgrind", "xmllint") if shutil.which(tool) is None]}
    document = workshop.inventory(100)
    root = workshop.chassis("counted", document)
    package = workshop.package("counted-package", MEBIBYTE)
    commands = {
        _BASE: Command(["xmllint", "--xpath", f'/SVMInventory/Device[@componentID = "{COMPONENT}"]', document]),
        "`-h`": Command([workshop.programs.qrxupdate, "-h"]),
        "`-i`, 100 devices": inventory(workshop.programs, root, package, workshop.folder / "report.xml"),
        "`-u`, 1 MiB": update(workshop.programs, workshop.folder / "counted-update", workshop.folder / "fresh",
                              package),
    }
    return {"base": _BASE, "counts": {name: count(command) for name, command in commands.items()}}
