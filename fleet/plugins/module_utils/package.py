# Copyright: 2026 The qrxupdate developers
# The developers keep all rights; see COPYRIGHT in the collection.
"""The package's folder: the program, its package.xml and the signed payload."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import hashlib
import os
import stat

from ansible_collections.qrxupdate.chassis.plugins.module_utils.packagexml import NoVersion, read_description

PROGRAM = "qrxupdate"
DESCRIPTION_BOUND = 16 * 1024 * 1024  # bytes of a package.xml; the stand-in refuses a larger one, too


class NotAPackage(Exception):
    """Why nothing can be started in this folder."""


def open_file(path):
    """Opens a regular file. Raises EnvironmentError for anything else; never waits, as a FIFO would make it."""
    stream = os.fdopen(os.open(path, os.O_RDONLY | os.O_NONBLOCK), "rb")
    if not stat.S_ISREG(os.fstat(stream.fileno()).st_mode):
        stream.close()
        raise EnvironmentError("not a regular file")
    return stream


def read_bounded(path):
    """Returns a package.xml's bytes. Raises EnvironmentError if there are too many."""
    with open_file(path) as stream:
        data = stream.read(DESCRIPTION_BOUND + 1)
    if len(data) > DESCRIPTION_BOUND:
        raise EnvironmentError("larger than {0} bytes".format(DESCRIPTION_BOUND))
    return data


class Package(object):
    """A package's folder, and what its package.xml says."""

    def __init__(self, folder):
        """Reads package.xml. Raises NotAPackage if the folder is not a package with one component and version."""
        self.folder = os.path.realpath(folder)
        self.program = os.path.join(self.folder, PROGRAM)
        if not os.path.isdir(self.folder):
            raise NotAPackage("no such package: {0}".format(folder))
        if not os.path.isfile(self.program):
            raise NotAPackage("no program {0} in the package {1}".format(PROGRAM, folder))
        if not os.access(self.program, os.X_OK):
            raise NotAPackage("no right to run {0}".format(self.program))
        try:
            self.component, self.version = read_description(read_bounded(os.path.join(self.folder, "package.xml")))
        except (EnvironmentError, NoVersion) as error:
            raise NotAPackage("package.xml: {0}".format(error))

    def payload_sha256(self):
        """The payload's digest; None unless there is exactly one readable payload. The program checks the payload."""
        payloads = [name for name in os.listdir(self.folder) if name.endswith(".fwp")]
        if len(payloads) != 1:
            return None
        digest = hashlib.sha256()
        try:
            with open_file(os.path.join(self.folder, payloads[0])) as stream:
                for block in iter(lambda: stream.read(1 << 20), b""):
                    digest.update(block)
        except EnvironmentError:
            return None
        return digest.hexdigest()
