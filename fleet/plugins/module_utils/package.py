# Copyright: 2026 The qrxupdate developers
# The developers keep all rights; see COPYRIGHT in the collection.
"""The package's folder: the program, its package.xml and the signed payload."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import hashlib
import os

from ansible_collections.qrxupdate.chassis.plugins.module_utils.packagexml import NoVersion, read_description

PROGRAM = "qrxupdate"


class NotAPackage(Exception):
    """Why nothing can be started in this folder."""


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
            with open(os.path.join(self.folder, "package.xml"), "rb") as stream:
                self.component, self.version = read_description(stream.read())
        except (EnvironmentError, NoVersion) as error:
            raise NotAPackage("package.xml: {0}".format(error))

    def payload_sha256(self):
        """The payload's digest; None unless there is exactly one readable payload. The program checks the payload."""
        payloads = [name for name in os.listdir(self.folder) if name.endswith(".fwp")]
        if len(payloads) != 1:
            return None
        digest = hashlib.sha256()
        try:
            with open(os.path.join(self.folder, payloads[0]), "rb") as stream:
                for block in iter(lambda: stream.read(1 << 20), b""):
                    digest.update(block)
        except EnvironmentError:
            return None
        return digest.hexdigest()
