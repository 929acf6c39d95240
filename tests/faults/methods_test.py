"""A zip's entries are stored or deflated: every other method is refused.

    methods_test.py QRXUPDATE VTEKCTL
"""

import shutil
import zipfile

from attack import AttackTest, main
from memory_test import append_signature, manifest, sign


class Methods(AttackTest):
    """The program accepts fewer methods than the library that reads its archives."""

    def update_with(self, method):
        """Installs a package whose payload is a zip of this method."""
        package = self.folder / "zip"
        shutil.rmtree(package, ignore_errors=True)
        package.mkdir()
        shutil.copy(self.chassis.package / "package.xml", package)
        payload = package / "chassis.fwp"
        with zipfile.ZipFile(payload, "w", compression=method) as archive:
            archive.writestr("manifest.xml", manifest(package / "package.xml"), compress_type=zipfile.ZIP_STORED)
            archive.writestr("main.bin", b"firmware" * 1000)
        append_signature(payload, sign(payload, self.folder / "keys"))
        return self.update(cwd=package)

    def test_refuses_bzip2_and_lzma(self):
        for method in (zipfile.ZIP_BZIP2, zipfile.ZIP_LZMA):
            self.assert_refused(self.update_with(method), "Complete Signed Unzip is failed",
                                "error 601, invalid archive: archive: neither stored nor deflated: ")

    def test_takes_stored_and_deflated(self):
        for method in (zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED):
            self.assertEqual(self.update_with(method).returncode, 0)


if __name__ == "__main__":
    main()
