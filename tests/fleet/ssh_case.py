"""What the tests over ssh share: servers with a package, and chassis with an older version.

Their scripts take COLLECTION QRXUPDATE VTEKCTL LIBRARY (that the tests script).
"""

import fcntl
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

import ssh_lab
from chassis import inventory_report
from local_modules import COMPONENT, INSTALLED, collections_with, description

SUCCESS_WITHOUT_EFFECT = "inventory inventory.xml\npayloadPath /payloads/firmware.fwp\n"


class SshCase(unittest.TestCase):
    """One lab for all tests."""

    chassis = 12
    collection = qrxupdate = vtekctl = scripted_library = None

    @classmethod
    def setUpClass(cls):
        # A short path, because a socket's must fit into 108 bytes; in memory, because 12 chassis sync a lot.
        place = tempfile.TemporaryDirectory(prefix="f", dir="/dev/shm" if os.path.isdir("/dev/shm") else "/tmp")
        cls.folder = pathlib.Path(cls.enterClassContext(place))
        cls.collections = collections_with(cls.collection, cls.folder / "collections")
        cls.lab = ssh_lab.Lab(cls.folder, cls.chassis)
        cls.make_packages()
        for number in range(1, cls.chassis + 1):
            cls.make_chassis(cls.folder / f"root-{number}")
        cls.lab.start()

    @classmethod
    def administer(cls, root, *arguments):
        """Runs vtekctl on a chassis's root."""
        return ssh_lab.run(cls.vtekctl, *arguments, env={**os.environ, "VTEK_ROOT": str(root)})

    @classmethod
    def make_packages(cls):
        """Makes the signer and one package; servers get copies of it where theirs must differ."""
        ssh_lab.run(cls.vtekctl, "keygen", cls.folder / "keys")
        content = cls.folder / "content"
        content.mkdir()
        (content / "boot.img").write_bytes(bytes(range(256)) * 40)
        cls.package = cls.folder / "package"
        cls.package.mkdir()
        (cls.package / "package.xml").write_text(description())
        shutil.copy(cls.qrxupdate, cls.package / "qrxupdate")
        ssh_lab.run(cls.vtekctl, "sign", content, "-o", cls.package / "firmware.fwp", "--package",
                    cls.package / "package.xml", "--chassis", "LAB-CHASSIS", "--certificate",
                    cls.folder / "keys/signer.pem", "--key", cls.folder / "keys/signer.key")

    @classmethod
    def make_chassis(cls, root):
        """Makes the first chassis, and the others as copies of it."""
        if root.name != "root-1":
            shutil.copytree(cls.folder / "root-1", root, symlinks=True)
            return
        cls.administer(root, "init")
        cls.administer(root, "inventory", "add", COMPONENT, INSTALLED)
        cls.administer(root, "trust", "add", cls.folder / "keys/authority.pem")

    def hold(self, number, wait):
        """Holds a chassis's repository as another update does; closing what it returns lets go."""
        root = self.folder / f"root-{number}"
        self.administer(root, "set", "lock-wait", wait)
        lock = open(root / "lock", "a+", encoding="ascii")  # the caller closes it
        fcntl.flock(lock, fcntl.LOCK_EX)
        self.addCleanup(lock.close)
        return lock

    def wait_for_update(self, name):
        """Waits until a server's update is at work; returns its process id."""
        deadline = time.monotonic() + 1200
        while time.monotonic() < deadline:
            for process, line in self.lab.processes(name).items():
                if "qrxupdate -u" in line:
                    return process
            time.sleep(0.05)
        self.fail(f"no update on {name}")

    def lying_library(self, version):
        """The variables of a platform library that shows this version, says success and does nothing."""
        folder = self.folder / f"shows-{version}"
        folder.mkdir()
        (folder / "inventory.xml").write_text(inventory_report(version))
        (folder / "script").write_text(SUCCESS_WITHOUT_EFFECT)
        return {"LD_LIBRARY_PATH": str(self.scripted_library), "VTEK_DOUBLE_SCRIPT": str(folder / "script")}


def main(case):
    """Runs a script's tests inside of namespaces, with what the command line names."""
    ssh_lab.enter()
    case.scripted_library = pathlib.Path(sys.argv.pop()).resolve().parent
    case.vtekctl = pathlib.Path(sys.argv.pop()).resolve()
    case.qrxupdate = pathlib.Path(sys.argv.pop()).resolve()
    case.collection = pathlib.Path(sys.argv.pop()).resolve()
    subprocess.run(["mount", "--make-rprivate", "/"], check=True)
    unittest.main(module="__main__", verbosity=2)
