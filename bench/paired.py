"""Runs programs in turn, several times each, and measures every whole process."""

import os
import shutil
import statistics
import subprocess
import sys
import time
from collections.abc import Callable
from dataclasses import dataclass, field
from typing import NamedTuple


class Sample(NamedTuple):
    """One run of a program, with all its children."""

    wall: float  # seconds
    cpu: float  # seconds, user and system
    peak: int  # KiB; never below what this script itself holds


def nothing():
    """Neither prepares nor checks anything."""


@dataclass
class Command:
    """A program to measure, and what has to be done, unmeasured, before and after each of its runs."""

    arguments: list
    needs: tuple = ()  # tools, as the shell finds them
    environment: dict = field(default_factory=dict)
    folder: str = "."
    prepare: Callable = nothing
    check: Callable = nothing  # raises an error unless the run has done its job

    def missing(self):
        """The tools that this machine lacks."""
        return [tool for tool in self.needs if shutil.which(tool) is None]

    def own_environment(self):
        """What it runs with."""
        return {**os.environ, **self.environment}

    def run(self):
        """Runs it once; a failure of the program ends the measurement."""
        self.prepare()
        start = time.perf_counter()
        process = subprocess.Popen([str(argument) for argument in self.arguments], cwd=self.folder,
                                   env=self.own_environment(), stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        errors = process.stderr.read()
        _, status, usage = os.wait4(process.pid, 0)
        wall = time.perf_counter() - start
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            raise RuntimeError(f"{self.arguments} ends with {process.returncode}: {errors.decode(errors='replace')}")
        self.check()
        return Sample(wall, usage.ru_utime + usage.ru_stime, usage.ru_maxrss)


def shell(script, **options):
    """A command of several steps, which ends where one of them fails."""
    return Command(["/bin/sh", "-ec", script], **options)


def measure(commands, rounds):
    """Samples by name: after a warm-up, `rounds` rounds of all commands, every other round in the opposite order."""
    names = [name for name, command in commands.items() if not command.missing()]
    samples = {name: [] for name in names}
    for number in range(rounds + 1):
        for name in names if number % 2 == 0 else reversed(names):
            sample = commands[name].run()
            if number > 0:
                samples[name].append(sample)
    return samples


def median(samples, quantity):
    """The median of one quantity of the samples."""
    return statistics.median(getattr(Sample(*sample), quantity) for sample in samples)


def tell(text):
    """Says on standard error how far the measurement is."""
    print(text, file=sys.stderr, flush=True)
