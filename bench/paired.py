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
    """One run of a program, including its children."""

    wall: float  # seconds
    cpu: float  # seconds, user and system
    peak: int  # KiB; never less than this script's own memory


def nothing():
    """Neither prepares nor checks anything."""


@dataclass
class Command:
    """A program to measure, with the unmeasured steps before and after each run."""

    arguments: list
    needs: tuple = ()  # tools to find on the PATH
    environment: dict = field(default_factory=dict)
    folder: str = "."
    one_core: bool = False
    prepare: Callable = nothing
    check: Callable = nothing  # raises an error unless the run did its job

    def missing(self):
        """The tools that this machine lacks."""
        return [tool for tool in self.needs if shutil.which(tool) is None]

    def run(self):
        """Runs the program once; raises RuntimeError if it fails."""
        self.prepare()
        confine = (lambda: os.sched_setaffinity(0, {min(os.sched_getaffinity(0))})) if self.one_core else None
        start = time.perf_counter()
        process = subprocess.Popen([str(argument) for argument in self.arguments], cwd=self.folder,
                                   env={**os.environ, **self.environment}, stdin=subprocess.DEVNULL, preexec_fn=confine,
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
    """A command of several steps, which ends at the first that fails."""
    return Command(["/bin/sh", "-ec", script], **options)


def measure(commands, rounds):
    """Returns samples by name: a warm-up, then `rounds` rounds of all commands, every other one in reverse order."""
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


def progress(text):
    """Reports progress on standard error."""
    print(text, file=sys.stderr, flush=True)
