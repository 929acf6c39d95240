"""A payload of a million small entries is refused, before it has taken much memory or disk.

    entries_test.py QRXUPDATE VTEKCTL
"""

import gzip
import io
import os
import shutil
import tarfile

from attack import AttackTest, main
from memory_test import BOUND_KIB, add_manifest, append_signature, manifest, sign

ENTRIES = 1_000_000
NAME = slice(0, 100)
CHECKSUM = slice(148, 156)


class Entries(AttackTest):
    """The bound on an archive's entries."""

    def write_archive(self, path, manifest_bytes):
        """A tar.gz of the manifest and empty files; only name and checksum differ between their headers."""
        start = io.BytesIO()
        with tarfile.open(fileobj=start, mode="w", format=tarfile.USTAR_FORMAT) as archive:
            add_manifest(archive, manifest_bytes)
            begin = archive.offset
        header = bytearray(tarfile.TarInfo("").tobuf(tarfile.USTAR_FORMAT))
        header[CHECKSUM] = b" " * 8
        rest = sum(header)
        with gzip.open(path, "wb", compresslevel=1) as file:
            file.write(start.getvalue()[:begin])
            for number in range(ENTRIES):
                name = b"entry%d" % number
                header[NAME] = name.ljust(100, b"\0")
                header[CHECKSUM] = b"%06o\0 " % (rest + sum(name))
                file.write(header)
            file.write(bytes(2 * tarfile.BLOCKSIZE))

    def test_refuses_a_million_small_entries(self):
        package = self.folder / "million"
        package.mkdir()
        shutil.copy(self.chassis.package / "package.xml", package)
        payload = package / "chassis.fwp"
        self.write_archive(payload, manifest(package / "package.xml"))
        append_signature(payload, sign(payload, self.folder / "keys"))
        update = self.start_update(cwd=package)
        with update.stdout, update.stderr:
            report = update.stdout.read()
            _, update.returncode, usage = os.wait4(update.pid, 0)
        self.assertIn('<Message id="1">Complete Signed Unzip is failed</Message>', report)
        self.assertIn("error 605, archive exceeds the limits: archive: more entries than allowed", self.chassis.log())
        self.assertEqual(self.snapshot(), self.before)
        self.assertLess(usage.ru_maxrss, BOUND_KIB)


if __name__ == "__main__":
    main()
