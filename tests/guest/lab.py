"""Update packages for the guest, in several versions, signed by one lab signer."""

import hashlib
import io
import pathlib
import random
import subprocess
import tarfile

COMPONENT = "25227"
DISK_SIZE = "64M"


def digest(data):
    """SHA-256, in hexadecimal digits."""
    return hashlib.sha256(data).hexdigest()


def firmware(version):
    """The files of one version: path and bytes; equal for equal versions."""
    chance = random.Random(version)
    return {"controller.bin": chance.randbytes(400_000), "boot/loader.bin": chance.randbytes(60_000),
            "release.txt": f"firmware {version}\n".encode()}


def description(version):
    """The package.xml of one version."""
    return f"""<?xml version="1.0" encoding="UTF-8"?>
<SoftwareComponent vendorVersion="{version}">
  <ComponentType value="FRMW"/>
  <SupportedDevices>
    <Device componentID="{COMPONENT}">
      <Display>Chassis controller firmware</Display>
    </Device>
  </SupportedDevices>
</SoftwareComponent>
"""


def manifest(payload):
    """The manifest in a payload: a tar archive, its signature, and the signature's length in 8 bytes."""
    signature_length = int.from_bytes(payload[-8:], "big")
    archive = io.BytesIO(payload[:-8 - signature_length])
    with tarfile.open(fileobj=archive) as entries:
        return entries.extractfile("manifest.xml").read()


class Lab:
    """Makes everything that an update needs, in a folder of this machine."""

    def __init__(self, vtekctl, folder):
        """Makes a signer with this vtekctl."""
        self._vtekctl = str(pathlib.Path(vtekctl).resolve())
        self._keys = pathlib.Path(folder) / "keys"
        self._folder = pathlib.Path(folder) / "disk"
        self._folder.mkdir()
        self._run(self._vtekctl, "keygen", self._keys)
        (self._folder / "authority.pem").write_bytes((self._keys / "authority.pem").read_bytes())

    def make_package(self, version):
        """Makes the folder of one package; returns the digests of the files that it must leave in the repository."""
        files = firmware(version)
        content = self._keys.parent / "content" / version
        for path, data in files.items():
            (content / path).parent.mkdir(parents=True, exist_ok=True)
            (content / path).write_bytes(data)
        package = self._folder / version
        package.mkdir()
        (package / "package.xml").write_text(description(version))
        self._run(self._vtekctl, "sign", content, "-o", package / "chassis.fwp", "--package", package / "package.xml",
                  "--component", COMPONENT, "--package-version", version, "--chassis", "LAB-CHASSIS",
                  "--certificate", self._keys / "signer.pem", "--key", self._keys / "signer.key")
        files["chassis.fwp"] = (package / "chassis.fwp").read_bytes()
        files["manifest.xml"] = manifest(files["chassis.fwp"])
        return {path: digest(data) for path, data in files.items()}

    def make_disk(self):
        """An ext4 file system that holds the packages and the signer's authority."""
        image = self._keys.parent / "image"
        self._run("truncate", "--size", DISK_SIZE, image)
        self._run("mke2fs", "-q", "-t", "ext4", "-d", self._folder, image)
        return image.read_bytes()

    @staticmethod
    def _run(*command):
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
