"""Makes the inputs of the measured programs: chassis, inventories, packages and RAUC bundles."""

import pathlib
import random
import shutil
import subprocess
import tarfile
import zipfile

COMPONENT = "25227"
MEBIBYTE = 1024 * 1024
_BLOCK = MEBIBYTE  # a larger one would raise the least memory that the timer can see


def package_xml():
    """A package description with one device."""
    return (f'<SoftwareComponent vendorVersion="2.0"><ComponentType value="FRMW"/><SupportedDevices>'
            f'<Device componentID="{COMPONENT}"><Display>Controller</Display></Device>'
            f'</SupportedDevices></SoftwareComponent>')


def inventory_xml(devices):
    """Yields an inventory of this many devices, piece by piece; the component is the middle one."""
    def device(number):
        identity = COMPONENT if number == devices // 2 else 100000 + number
        return (f'  <Device componentID="{identity}" display="Device {number}">\n    <Application componentType="FRMW" '
                f'version="1.{number}.0" display="Device {number} firmware"/>\n  </Device>\n')
    yield '<?xml version="1.0" encoding="UTF-8"?>\n<SVMInventory>\n'
    yield from map(device, range(devices))
    yield "</SVMInventory>\n"


def blocks(size):
    """Bytes that deflate shrinks to about half; the same bytes in every run."""
    block = random.Random(size).randbytes(min(size, _BLOCK) // 2 + 1).hex().encode()
    while size > 0:
        yield block[:size]
        size -= len(block)


class Workshop:
    """Makes all inputs in one folder."""

    def __init__(self, folder, programs):
        self.folder = pathlib.Path(folder)
        self.programs = programs
        self.keys = self.folder / "keys"
        self._run(programs.vtekctl, "keygen", self.keys)
        self._run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=bundles", "-days", "30",
                  "-keyout", self.folder / "bundle.key", "-out", self.folder / "bundle.pem")

    def chassis(self, name, inventory=None):
        """Makes a chassis that trusts the workshop's signer; returns its root. Without an inventory it has one device."""
        root = self.folder / name
        vtekctl = [self.programs.vtekctl, "--root", root]
        self._run(*vtekctl, "init")
        self._run(*vtekctl, "trust", "add", self.keys / "authority.pem")
        self._run(*vtekctl, "set", "unpack-entries", "20000")
        if inventory is None:
            self._run(*vtekctl, "inventory", "add", COMPONENT, "1.0")
        else:
            self._run(*vtekctl, "inventory", "import", inventory)
        return root

    def inventory(self, devices):
        """Writes an inventory document; returns its path."""
        path = self.folder / f"inventory-{devices}.xml"
        with path.open("w", encoding="utf-8") as file:
            file.writelines(inventory_xml(devices))
        return path

    def scripted(self, inventory=None):
        """The environment that replaces the stand-in by the tests' scripted library, which answers with this inventory."""
        environment = {"LD_LIBRARY_PATH": str(self.programs.scripted_library)}
        if inventory is not None:
            script = inventory.with_suffix(".script")
            script.write_text(f"inventory {inventory.name}\n", encoding="utf-8")
            environment["VTEK_DOUBLE_SCRIPT"] = str(script)
        return environment

    def package(self, name, size, files=1, deflated=False):
        """Makes an update package whose payload is a zip of this many bytes, in this many files; returns its folder.

        The folder also holds the payload's two parts for the stock tools: archive.zip and archive.cms.
        """
        package = self.folder / name
        package.mkdir()
        (package / "package.xml").write_text(package_xml(), encoding="utf-8")
        archive, signature = package / "archive.zip", package / "archive.cms"
        with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED if deflated else zipfile.ZIP_STORED,
                             compresslevel=1) as content:
            content.writestr("manifest.xml", self._manifest(package))
            for number in range(files):
                with content.open(f"part-{number % 100}/file-{number}.bin", "w") as entry:
                    for block in blocks(size // files):
                        entry.write(block)
        self._run("openssl", "cms", "-sign", "-binary", "-md", "sha256", "-outform", "DER", "-in", archive,
                  "-signer", self.keys / "signer.pem", "-inkey", self.keys / "signer.key", "-out", signature)
        shutil.copy(archive, package / "firmware.fwp")
        with (package / "firmware.fwp").open("ab") as payload:
            payload.write(signature.read_bytes() + signature.stat().st_size.to_bytes(8, "big"))
        return package

    def _manifest(self, package):
        """The manifest of a payload for this package description."""
        content, unsigned = package / "content", package / "unsigned.fwp"
        content.mkdir()
        (content / "part.bin").write_bytes(b"part")
        self._run(self.programs.vtekctl, "sign", content, "-o", unsigned, "--unsigned", "--format", "tar", "--package",
                  package / "package.xml", "--component", COMPONENT, "--package-version", "2.0", "--chassis",
                  "LAB-CHASSIS")
        with tarfile.open(unsigned) as archive:
            manifest = archive.extractfile("manifest.xml").read()
        shutil.rmtree(content)
        unsigned.unlink()
        return manifest

    def bundle(self, name, size, deflated):
        """Makes a RAUC bundle of one image of this many bytes; returns the file."""
        content = self.folder / f"{name}-content"
        content.mkdir()
        with (content / "image.img").open("wb") as image:
            for block in blocks(size):
                image.write(block)
        (content / "manifest.raucm").write_text("[update]\ncompatible=bench\nversion=2.0\n[image.rootfs]\n"
                                                "filename=image.img\n", encoding="utf-8")
        options = [] if deflated else ["--mksquashfs-args=-noI -noD -noF -noX"]
        bundle = self.folder / f"{name}.raucb"
        self._run("rauc", "bundle", f"--cert={self.folder}/bundle.pem", f"--key={self.folder}/bundle.key", *options,
                  content, bundle)
        shutil.rmtree(content)
        return bundle

    @staticmethod
    def _run(*command):
        done = subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False)
        if done.returncode != 0:
            raise RuntimeError(f"{command} ends with {done.returncode}: {done.stderr}")
