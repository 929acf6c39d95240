"""The peak memory of a whole update does not depend on the payload's size.

    memory_test.py --mebibytes N QRXUPDATE VTEKCTL
"""

import argparse
import os
import pathlib
import shutil
import sys
import tempfile

from chassis import update_report
from lab import COMPONENT
from local_chassis import NEW, LocalChassis, Programs

BOUND_KIB = 32 * 1024


def make_package(chassis, folder, size):
    """Makes the folder of a package of one file of this many bytes; it takes no space before it is packed."""
    package = folder / "large"
    (package / "content").mkdir(parents=True)
    with (package / "content" / "main.bin").open("wb") as file:
        file.truncate(size)
    shutil.copy(chassis.package / "package.xml", package)
    chassis.vtekctl("sign", package / "content", "-o", package / "chassis.fwp", "--package", package / "package.xml",
                    "--component", COMPONENT, "--package-version", NEW, "--chassis", "LAB-CHASSIS",
                    "--certificate", folder / "keys" / "signer.pem", "--key", folder / "keys" / "signer.key")
    return package


def peak_kib(chassis, package):
    """Installs the package; returns the most memory that was resident, in KiB."""
    update = chassis.start(chassis.programs.qrxupdate, "-u", cwd=package)
    report = update.stdout.read()
    _, update.returncode, usage = os.wait4(update.pid, 0)
    if report != update_report(NEW):
        raise AssertionError(f"the update fails: {report}")
    return usage.ru_maxrss


def main():
    parser = argparse.ArgumentParser(description="Peak memory of an update.")
    parser.add_argument("--mebibytes", type=int, required=True, help="size of the payload's one file")
    parser.add_argument("qrxupdate", type=pathlib.Path)
    parser.add_argument("vtekctl", type=pathlib.Path)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        chassis = LocalChassis.make(Programs(arguments.qrxupdate, arguments.vtekctl), folder)
        package = make_package(chassis, folder, arguments.mebibytes * 1024 * 1024)
        peak = peak_kib(chassis, package)
    print(f"payload {arguments.mebibytes} MiB: {peak} KiB resident at most, {BOUND_KIB} KiB allowed")
    sys.exit(peak >= BOUND_KIB)


if __name__ == "__main__":
    main()
