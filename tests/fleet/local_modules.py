"""Runs the collection's modules on this machine, as Ansible would start them on a managed host."""

import json
import os
import pathlib
import signal
import stat
import subprocess
import sys
import tempfile
import unittest

from chassis import inventory_report, update_report

COMPONENT = "25227"
INSTALLED, NEW = "1.30.100", "1.40.200"
NAMESPACE = "ansible_collections/qrxupdate"
MODULE_NAMES = ("inventory_info", "update")


def collections_with(collection, folder):
    """A folder of collections that contains this one; Python and Ansible find it there."""
    place = pathlib.Path(folder) / NAMESPACE
    place.mkdir(parents=True)
    (place / "chassis").symlink_to(collection)
    return pathlib.Path(folder)


def description(component=COMPONENT, version=NEW):
    """A package.xml."""
    return (f'<SoftwareComponent vendorVersion="{version}"><ComponentType value="FRMW"/><SupportedDevices>'
            f'<Device componentID="{component}"><Display>Chassis controller firmware</Display></Device>'
            '</SupportedDevices></SoftwareComponent>')


class ModuleCase(unittest.TestCase):
    """Each test has a chassis's root, a package's folder and a folder for the module's state."""

    qrxupdate = vtekctl = collection = None
    module_folders = None

    @classmethod
    def setUpClass(cls):
        cls.shared = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.collections = collections_with(cls.collection, cls.shared)
        cls.keys = cls.shared / "keys"
        subprocess.run([cls.vtekctl, "keygen", cls.keys], check=True, stdout=subprocess.DEVNULL)

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.root = self.folder / "chassis"
        self.state = self.folder / "state"
        self.package = self.folder / "package"
        self.environment = {}

    # A chassis and a package with the real program.

    def administer(self, *arguments):
        """Runs vtekctl on this test's chassis; it must succeed."""
        return subprocess.run([self.vtekctl, *map(str, arguments)], check=True, text=True, stdout=subprocess.PIPE,
                              env=self.variables()).stdout

    def make_chassis(self, version=INSTALLED):
        """Makes a chassis that knows the component and trusts the signer."""
        self.administer("init")
        self.administer("inventory", "add", COMPONENT, version)
        self.administer("trust", "add", self.keys / "authority.pem")

    def make_package(self, version=NEW, component=COMPONENT):
        """Makes a package that the chassis accepts."""
        content = self.folder / "firmware"
        content.mkdir()
        (content / "boot.img").write_bytes(bytes(range(256)) * 40)
        self.package.mkdir()
        (self.package / "package.xml").write_text(description(component, version))
        (self.package / "qrxupdate").symlink_to(self.qrxupdate)
        self.administer("sign", content, "-o", self.package / "firmware.fwp", "--package", self.package / "package.xml",
                        "--chassis", "LAB-CHASSIS", "--certificate", self.keys / "signer.pem",
                        "--key", self.keys / "signer.key")

    def script_package(self, text):
        """Makes a package whose program is a Python script instead; it finds its arguments in `option` and `report`."""
        self.package.mkdir(exist_ok=True)
        (self.package / "package.xml").write_text(description())
        (self.package / "firmware.fwp").write_bytes(b"a payload")
        program = self.package / "qrxupdate"
        program.unlink(missing_ok=True)
        program.write_text(f"#!{sys.executable}\nimport os, pathlib, sys, time\noption, report = sys.argv[1], sys.argv[3]\n"
                           f"INVENTORY, UPDATE = {inventory_report(INSTALLED)!r}, {update_report(NEW)!r}\n"
                           f"INSTALLED, NEW = {INSTALLED!r}, {NEW!r}\n{text}\n")
        program.chmod(program.stat().st_mode | stat.S_IXUSR)

    # Running a module.

    def variables(self):
        """The environment of every program."""
        return {**os.environ, "VTEK_ROOT": str(self.root), "PYTHONDONTWRITEBYTECODE": "1",
                "PYTHONPATH": str(self.collections), **self.environment}

    def command(self, module, arguments, check):
        """The command that runs a module, and what it reads."""
        given = {"package": str(self.package), **arguments}
        if module == "update":
            given = {"state": str(self.state), "vtekctl": str(self.vtekctl), "settle": 0, "read_back_timeout": 4,
                     "timeout": 30, **given}
        text = json.dumps({"ANSIBLE_MODULE_ARGS": {**given, "_ansible_check_mode": check, "_ansible_diff": True,
                                                   "_ansible_tmpdir": str(self.folder)}})
        return [sys.executable, "-m", f"ansible_collections.qrxupdate.chassis.plugins.modules.{module}"], text

    def start(self, module="update", check=False, **arguments):
        """Starts a module and does not wait for it; its answer comes from `answer_of`."""
        command, text = self.command(module, arguments, check)
        process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   text=True, env=self.variables(), cwd=self.folder)
        process.stdin.write(text)
        process.stdin.close()
        process.stdin = None
        return process

    def answer_of(self, process):
        """Waits for a module; returns its answer."""
        output, errors = process.communicate(timeout=120)
        self.assertEqual(errors, "")
        answer = json.loads(output)
        self.assertEqual(process.returncode, 1 if answer.get("failed") else 0, output)
        return answer

    def run_module(self, module="update", **arguments):
        """Runs a module; returns its answer."""
        return self.answer_of(self.start(module, **arguments))

    def assert_answer(self, answer, outcome, changed, failed, message=None):
        """The answer has this outcome and message, and fails or not."""
        self.assertEqual((answer["outcome"], answer["changed"], answer.get("failed", False)), (outcome, changed, failed),
                         answer)
        if message is not None:
            self.assertRegex(answer["message"], message)

    def history(self):
        """The versions that were installed."""
        return [entry["toVersion"] for entry in json.loads(self.administer("history", "--json"))["history"]]

    def end_process(self, pattern_file):
        """Kills the process whose id a scripted program wrote into this file."""
        os.kill(int(pathlib.Path(pattern_file).read_text()), signal.SIGKILL)


def main(case=ModuleCase):
    """Runs a script's tests with the collection and the programs of the command line."""
    if sys.version_info >= (3, 12):
        print("skipped: the collection runs on Python up to 3.11")
        sys.exit(77)
    case.vtekctl = pathlib.Path(sys.argv.pop()).resolve()
    case.qrxupdate = pathlib.Path(sys.argv.pop()).resolve()
    case.collection = pathlib.Path(sys.argv.pop()).resolve()
    result = unittest.main(module="__main__", verbosity=2, exit=False).result
    if not result.wasSuccessful():
        sys.exit(1)
    sys.exit(77 if result.skipped else 0)
