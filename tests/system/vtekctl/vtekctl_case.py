"""What the tests of whole vtekctl runs have in common."""

import hashlib
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

COMPONENT = "25227"
INSTALLED, NEW = "1.30.100", "1.40.200"
CHASSIS = "LAB-CHASSIS"
DESCRIPTION = f"""<?xml version="1.0" encoding="UTF-8"?>
<SoftwareComponent vendorVersion="{NEW}">
  <ComponentType value="FRMW"/>
  <SupportedDevices>
    <Device componentID="{COMPONENT}"><Display>Chassis controller firmware</Display></Device>
  </SupportedDevices>
</SoftwareComponent>
"""
DONE, REFUSED, USAGE, OUTPUT_LOST = 0, 1, 2, 74


def snapshot(folder):
    """Every file and folder below a folder: mode, time of the last change, content."""
    def entry(path):
        info = path.lstat()
        content = hashlib.sha256(path.read_bytes()).hexdigest() if path.is_file() else None
        return oct(info.st_mode), info.st_mtime_ns, content
    return {str(path.relative_to(folder)): entry(path) for path in sorted(pathlib.Path(folder).rglob("*"))}


class VtekctlCase(unittest.TestCase):
    """Each test has a folder of its own, with a signer, a package.xml and some content to sign in it."""

    program = None

    @classmethod
    def setUpClass(cls):
        cls.shared = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.keys = cls.shared / "keys"
        subprocess.run([cls.program, "keygen", cls.keys], check=True, stdout=subprocess.DEVNULL)

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.root = self.folder / "chassis"
        self.content = self.folder / "firmware"
        (self.content / "images").mkdir(parents=True)
        (self.content / "images" / "boot.img").write_bytes(bytes(range(256)) * 40)
        (self.content / "release.txt").write_text("release 1.40.200\n")
        self.description = self.folder / "package.xml"
        self.description.write_text(DESCRIPTION)

    def run_vtekctl(self, *arguments, environment=(), **options):
        """Runs vtekctl on this test's chassis, in this test's folder."""
        settings = {"cwd": self.folder, "env": {**os.environ, "VTEK_ROOT": str(self.root), **dict(environment)},
                    "capture_output": True, "text": True, "timeout": 120}
        return subprocess.run([self.program, *map(str, arguments)], check=False, **{**settings, **options})

    def done(self, *arguments, **options):
        """Runs vtekctl, which must succeed and say nothing on standard error; returns what it prints."""
        ended = self.run_vtekctl(*arguments, **options)
        self.assertEqual((ended.returncode, ended.stderr), (DONE, ""))
        return ended.stdout

    def answer(self, *arguments):
        """Runs vtekctl, which must succeed; returns the JSON that it prints."""
        return json.loads(self.done(*arguments, "--json"))

    def assert_refused(self, error, *arguments, status=REFUSED, saying="", **options):
        """vtekctl ends with this status and names the error's number, and prints nothing else than that."""
        ended = self.run_vtekctl(*arguments, **options)
        self.assertEqual((ended.returncode, ended.stdout), (status, ""), ended.stderr)
        self.assertRegex(ended.stderr.splitlines()[0], rf"^vtekctl: .* \(error {error}\)$")
        self.assertIn(saying, ended.stderr)
        return ended

    def make_chassis(self):
        """Makes this test's chassis: it knows the component and trusts the signer."""
        self.done("init")
        self.done("inventory", "add", COMPONENT, INSTALLED)
        self.done("trust", "add", self.keys / "authority.pem")

    def signer(self):
        """The options that name the signer."""
        return "--certificate", self.keys / "signer.pem", "--key", self.keys / "signer.key"

    def recipe(self):
        """What a payload is made of, but for the signer."""
        return self.content, "--package", self.description, "--chassis", CHASSIS

    def pack(self, output, *options, **settings):
        """Makes a package."""
        return self.done("pack", *self.recipe(), *self.signer(), "-o", output, *options, **settings)

    def openssl(self, *arguments):
        """Runs OpenSSL's own command in this test's folder; returns what it prints."""
        return subprocess.run(["openssl", *map(str, arguments)], cwd=self.folder, check=True, capture_output=True,
                              text=True).stdout

    def printed_signature(self, payload):
        """What OpenSSL's own command tells of a payload's signature."""
        data = payload.read_bytes()
        signature = self.folder / "signature"
        signature.write_bytes(data[-8 - int.from_bytes(data[-8:], "big"):-8])
        return self.openssl("cms", "-cmsout", "-print", "-inform", "DER", "-in", signature)

    def elsewhere_signed(self, archive, *options):
        """A signature over an archive, made by OpenSSL's own command."""
        signature = self.folder / "firmware.cms"
        self.openssl("cms", "-sign", "-binary", "-md", "sha256", "-outform", "DER", "-in", archive, "-signer",
                     self.keys / "signer.pem", "-inkey", self.keys / "signer.key", "-out", signature, *options)
        return signature


class PackageCase(VtekctlCase):
    """Each test has a chassis, and a package that would be installed."""

    def setUp(self):
        super().setUp()
        self.make_chassis()
        self.package = self.folder / "package"
        self.pack(self.package)


def main():
    """Runs the tests of the script with the programs of the command line; 77 when one of them could not run."""
    VtekctlCase.program = str(pathlib.Path(sys.argv.pop(1)).resolve())
    result = unittest.main(verbosity=2, exit=False).result
    if not result.wasSuccessful():
        sys.exit(1)
    sys.exit(77 if result.skipped else 0)
