"""Update packages for the guest, in several versions, all signed with one key."""

import hashlib
import io
import pathlib
import random
import subprocess
import tarfile
import zipfile
from dataclasses import dataclass

COMPONENT = "25227"
DISK_SIZE = "64M"


def digest(data):
    """SHA-256, in hexadecimal digits."""
    return hashlib.sha256(data).hexdigest()


@dataclass(frozen=True)
class Firmware:
    """The sizes of the files in a firmware, and the archive format that packs it."""

    sizes: dict  # in bytes, by path
    archive: str  # as vtekctl names it

    def files(self, version):
        """The files of one version: bytes by path, always the same for a version."""
        chance = random.Random(version)
        return {**{path: chance.randbytes(size) for path, size in self.sizes.items()},
                "release.txt": f"firmware {version}\n".encode()}


SMALL = Firmware({"controller.bin": 400_000, "boot/loader.bin": 60_000}, "tar")
# Large enough for an update to unpack each file in its own thread.
LARGE = Firmware({"controller.bin": 2_500_000, "boot/loader.bin": 2_000_000}, "zip")


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


def manifest(payload, archive_format):
    """The manifest in a payload, which is an archive, its signature, and the signature's length in 8 bytes."""
    signature_length = int.from_bytes(payload[-8:], "big")
    archive = io.BytesIO(payload[:-8 - signature_length])
    if archive_format == "zip":
        return zipfile.ZipFile(archive).read("manifest.xml")
    with tarfile.open(fileobj=archive) as entries:
        return entries.extractfile("manifest.xml").read()


class Lab:
    """Makes everything that an update needs, in a folder of the host."""

    def __init__(self, vtekctl, folder, firmware=SMALL):
        """Makes the signer's key and certificates with this vtekctl."""
        self._firmware = firmware
        self._vtekctl = str(pathlib.Path(vtekctl).resolve())
        self._keys = pathlib.Path(folder) / "keys"
        self._folder = pathlib.Path(folder) / "disk"
        self._folder.mkdir()
        self._run(self._vtekctl, "keygen", self._keys)
        (self._folder / "authority.pem").write_bytes((self._keys / "authority.pem").read_bytes())

    def make_package(self, version):
        """Makes the folder of one package; returns the digests of the files that it must install in the repository."""
        files = self._firmware.files(version)
        content = self._keys.parent / "content" / version
        for path, data in files.items():
            (content / path).parent.mkdir(parents=True, exist_ok=True)
            (content / path).write_bytes(data)
        package = self._folder / version
        package.mkdir()
        (package / "package.xml").write_text(description(version))
        self._run(self._vtekctl, "sign", content, "-o", package / "chassis.fwp", "--package", package / "package.xml",
                  "--component", COMPONENT, "--package-version", version, "--chassis", "LAB-CHASSIS",
                  "--format", self._firmware.archive,
                  "--certificate", self._keys / "signer.pem", "--key", self._keys / "signer.key")
        files["chassis.fwp"] = (package / "chassis.fwp").read_bytes()
        files["manifest.xml"] = manifest(files["chassis.fwp"], self._firmware.archive)
        return {path: digest(data) for path, data in files.items()}

    def make_disk(self):
        """An ext4 file system with the packages and the signer's authority."""
        image = self._keys.parent / "image"
        self._run("truncate", "--size", DISK_SIZE, image)
        self._run("mke2fs", "-q", "-t", "ext4", "-d", self._folder, image)
        return image.read_bytes()

    @staticmethod
    def _run(*command):
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
