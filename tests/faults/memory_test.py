"""An update of a payload of any size is harmless, and its peak memory does not depend on the size.

    memory_test.py --bytes N QRXUPDATE VTEKCTL

The payload is a sparse file of exactly N bytes: the manifest, one file that is mostly a hole, and what is signed as the
stock tools sign it. It takes little space; its copy and what comes out of it do, so that 2 N bytes must be free.
"""

import argparse
import hashlib
import io
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tarfile
import tempfile

from chassis import update_report
from guest import skip
from lab import COMPONENT, digest
from local_chassis import NEW, LocalChassis, Programs

BOUND_KIB = 32 * 1024
BLOCK = tarfile.BLOCKSIZE
TRAILER = 8
# A payload is refused when less than a 200th of it is data.
DATA_OF_LENGTH = 64
END = 2 * BLOCK


def manifest(package):
    """The payload's manifest for a package.xml."""
    return (f'<VtekManifest format="1" componentID="{COMPONENT}" version="{NEW}" '
            f'packageDigest="sha256:{digest(package.read_bytes())}"><Chassis type="LAB-CHASSIS"/></VtekManifest>').encode()


def add_manifest(archive, manifest_bytes):
    """Puts the manifest into a tar, as its next entry."""
    entry = tarfile.TarInfo("manifest.xml")
    entry.size = len(manifest_bytes)
    archive.addfile(entry, io.BytesIO(manifest_bytes))


def write_archive(path, manifest_bytes, length):
    """Writes a tar of this many bytes: the manifest and main.bin, whose size it returns."""
    start = io.BytesIO()
    with tarfile.open(fileobj=start, mode="w", format=tarfile.USTAR_FORMAT) as archive:
        add_manifest(archive, manifest_bytes)
        large = tarfile.TarInfo("main.bin")
        large.size = (length - archive.offset - BLOCK - END) // BLOCK * BLOCK
        archive.addfile(large)
        begin = archive.offset
    path.write_bytes(start.getvalue()[:begin] + bytes([0x55]) * (length // DATA_OF_LENGTH))
    os.truncate(path, length)
    return large.size


def sign(archive, keys):
    """The detached signature of a file, as documented for stock tools."""
    return subprocess.run(["openssl", "cms", "-sign", "-binary", "-md", "sha256", "-outform", "DER", "-in", archive,
                           "-signer", keys / "signer.pem", "-inkey", keys / "signer.key"],
                          check=True, capture_output=True).stdout


def append_signature(payload, signature):
    """Makes a payload of an archive."""
    with payload.open("ab") as file:
        file.write(signature + len(signature).to_bytes(TRAILER, "big"))


def make_package(chassis, folder, size):
    """Makes the folder of a package whose payload has this many bytes; returns it and the size of its one file."""
    package = folder / "large"
    package.mkdir()
    shutil.copy(chassis.package / "package.xml", package)
    payload = package / "chassis.fwp"
    # A signature's length varies by a few bytes: sign again until it is as long as was thought.
    signature = b""
    expected = None
    while len(signature) != expected:
        expected = len(signature) or 1024
        content = write_archive(payload, manifest(package / "package.xml"), size - TRAILER - expected)
        signature = sign(payload, folder / "keys")
    append_signature(payload, signature)
    return package, content


def digest_of(path):
    with path.open("rb") as file:
        return hashlib.file_digest(file, "sha256").hexdigest()


def peak_kib(chassis, package):
    """Installs the package; returns the peak resident memory in KiB."""
    update = chassis.start(chassis.programs.qrxupdate, "-u", cwd=package)
    with update.stdout, update.stderr:
        report = update.stdout.read()
        _, update.returncode, usage = os.wait4(update.pid, 0)
    if report != update_report(NEW):
        raise AssertionError(f"the update fails: {report}")
    return usage.ru_maxrss


def faults(chassis, package, content):
    """The differences from what was verified."""
    installed = chassis.root / "repository" / "3" / "Chassis"
    expected = digest_of(package / "chassis.fwp")
    recorded = json.loads(chassis.vtekctl("history", "--json"))["history"][-1]["payloadDigest"]
    return [what for what, holds in (
        ("the history's digest", recorded == expected),
        ("the installed payload", digest_of(installed / "chassis.fwp") == expected),
        ("the unpacked file's size", (installed / "main.bin").stat().st_size == content),
    ) if not holds]


def main():
    parser = argparse.ArgumentParser(description="Peak memory of an update.")
    parser.add_argument("--bytes", type=int, required=True, help="size of the payload")
    parser.add_argument("qrxupdate", type=pathlib.Path)
    parser.add_argument("vtekctl", type=pathlib.Path)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        if shutil.disk_usage(folder).free < 2.2 * arguments.bytes + 2**28:
            skip(f"{folder} has no space for an update of {arguments.bytes} bytes")
        chassis = LocalChassis.make(Programs(arguments.qrxupdate, arguments.vtekctl), folder)
        package, content = make_package(chassis, folder, arguments.bytes)
        if (package / "chassis.fwp").stat().st_size != arguments.bytes:
            raise AssertionError("the payload has another size")
        peak = peak_kib(chassis, package)
        wrong = faults(chassis, package, content)
    print(f"payload {arguments.bytes} bytes: {peak} KiB resident at most, {BOUND_KIB} KiB allowed", *wrong, sep="\n")
    sys.exit(peak >= BOUND_KIB or bool(wrong))


if __name__ == "__main__":
    main()
