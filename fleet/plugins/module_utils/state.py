# Copyright: 2026 The qrxupdate developers
# The developers keep all rights; see COPYRIGHT in the collection.
"""What the next call must know of a started update: one record, and a lock that the update itself holds."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import fcntl
import json
import os
import shutil
import stat
import tempfile
import time

PAUSE = 0.2  # seconds between two attempts to take the lock


class NoState(Exception):
    """Why the state folder cannot be used."""


class State(object):
    """A folder of this host that belongs to the caller alone.

    A started update inherits the lock's descriptor, so the kernel keeps the lock as long as the update lives, whatever
    happens to the module that started it, and releases it however the update ends.
    """

    def __init__(self, folder):
        """Makes the folder if it is missing. Raises NoState."""
        self.folder = folder
        self.record_file = os.path.join(folder, "update.json")
        self.lock = None
        try:
            if not os.path.isdir(folder):
                os.makedirs(folder, 0o700)
            found = os.lstat(folder)
        except EnvironmentError as error:
            raise NoState("the state folder {0}: {1}".format(folder, error.strerror))
        if not stat.S_ISDIR(found.st_mode) or found.st_uid != os.geteuid() or found.st_mode & 0o022:
            raise NoState("the state folder {0} must belong to the caller alone".format(folder))

    def take(self, deadline):
        """Waits for the lock, and with it for a running update; False if the deadline passes first."""
        lock = os.open(os.path.join(self.folder, "lock"), os.O_RDWR | os.O_CREAT | os.O_NOFOLLOW, 0o600)
        while True:
            try:
                fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
                self.lock = lock
                return True
            except EnvironmentError:
                if time.monotonic() >= deadline:
                    os.close(lock)
                    return False
            time.sleep(PAUSE)

    def new_run_folder(self):
        """A new folder for the run of an update."""
        return tempfile.mkdtemp(prefix="run.", dir=self.folder)

    def record(self):
        """The update that was started and not judged yet; None if there is none."""
        try:
            with open(self.record_file, "rb") as stream:
                return json.loads(stream.read().decode("utf-8"))
        except (EnvironmentError, ValueError):
            return None

    def write(self, record):
        """Records an update, durably, before it is started."""
        new = self.record_file + ".new"
        with open(new, "wb") as stream:
            stream.write(json.dumps(record, sort_keys=True).encode("utf-8"))
            stream.flush()
            os.fsync(stream.fileno())
        os.rename(new, self.record_file)

    def forget(self):
        """Removes the record and the folders of all runs. Only under the lock."""
        for name in os.listdir(self.folder):
            if name.startswith("run."):
                shutil.rmtree(os.path.join(self.folder, name), ignore_errors=True)
        if os.path.exists(self.record_file):
            os.unlink(self.record_file)
