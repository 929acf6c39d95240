# Copyright: 2026 The qrxupdate developers
# The developers keep all rights; see COPYRIGHT in the collection.
"""One run of the program: how it is started, and the file that it writes its report to."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import os
import signal
import stat
import subprocess
import time

MESSAGES_LIMIT = 4096  # bytes of standard error that are kept
REPORT_LIMIT = 4 * 1024 * 1024  # bytes; the judge refuses documents far below it
PAUSE = 0.1  # seconds between two looks at a process


class NotStarted(Exception):
    """Why the program could not be started."""


class Run(object):
    """A run's folder, with the report and what the program said beside it. It outlives the process that made it."""

    def __init__(self, folder):
        """Takes a folder that belongs to this run alone."""
        self.folder = folder
        self.report = os.path.join(folder, "report.xml")
        self.messages = os.path.join(folder, "messages")
        self.process = None

    def start(self, package, option, keep=()):
        """Starts the program with -i or -u, in a session of its own. Raises NotStarted.

        keep lists descriptors that the program inherits. Returns what collect needs to know of the report's file.
        """
        descriptor = os.open(self.report, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o600)
        made = os.fstat(descriptor)
        os.close(descriptor)
        started = time.time()
        try:
            with open(self.messages, "wb") as messages, open(os.devnull, "rb") as nothing:
                self.process = subprocess.Popen([package.program, option, "-o", self.report], cwd=package.folder,
                                                stdin=nothing, stdout=messages, stderr=messages, close_fds=True,
                                                pass_fds=keep, start_new_session=True)
        except EnvironmentError as error:
            raise NotStarted("{0}: {1}".format(package.program, error.strerror or error))
        return {"device": made.st_dev, "inode": made.st_ino, "started": started}

    def wait(self, deadline):
        """Waits until the program ends; False if the deadline passes first. Sends no signal."""
        while self.process.poll() is None:
            if time.monotonic() >= deadline:
                return False
            time.sleep(PAUSE)
        return True

    def end(self):
        """Ends the program and what it started. Never for an update."""
        for number, patience in ((signal.SIGTERM, 5), (signal.SIGKILL, 60)):
            try:
                os.killpg(self.process.pid, number)
            except OSError:
                pass  # it has just ended
            if self.wait(time.monotonic() + patience):
                return

    def status(self):
        """The exit status, negative for a signal; None if another process started the program."""
        return None if self.process is None else self.process.returncode

    def said(self):
        """What the program and its loader said beside the report."""
        try:
            with open(self.messages, "rb") as stream:
                return stream.read(MESSAGES_LIMIT).decode("utf-8", "replace").strip()
        except EnvironmentError:
            return ""

    def collect(self):
        """Reads the report. Returns its bytes and its file's facts, which are None if there is no readable file."""
        try:
            descriptor = os.open(self.report, os.O_RDONLY | os.O_NOFOLLOW | os.O_NONBLOCK)
        except EnvironmentError:
            return b"", None
        with os.fdopen(descriptor, "rb") as stream:
            found = os.fstat(descriptor)
            if not stat.S_ISREG(found.st_mode):
                return b"", None
            return stream.read(REPORT_LIMIT), {"device": found.st_dev, "inode": found.st_ino, "written": found.st_mtime}
