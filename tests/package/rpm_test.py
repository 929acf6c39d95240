"""The RPM package: the files of the Debian package, and no claim on the platform's library.

    rpm_test.py FOLDER SOURCE RPM-FOLDER
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

RPM_FOLDER = pathlib.Path(sys.argv.pop())

from debian import SOURCE, files, output_of  # noqa: E402  (reads the other arguments)

ONLY_DEBIANS = {"usr/share/lintian/overrides/qrxupdate"}


def asked(question):
    """The lines that rpm answers about the package."""
    return set(output_of("rpm", "--query", "--package", question, PACKAGE).splitlines())


class Rpm(unittest.TestCase):
    def test_has_the_files_of_the_debian_package(self):
        with tempfile.TemporaryDirectory() as root:
            subprocess.run(["rpm", "--root", root, "--install", "--nodeps", "--dbpath", "/db", PACKAGE], check=True)
            subprocess.run(["rpm", "--root", root, "--verify", "--nodeps", "--dbpath", "/db", "qrxupdate"], check=True)
            # Beside the package, rpm keeps a database there, and its links for debuggers.
            installed = {path.relative_to(root).as_posix() for path in pathlib.Path(root, "usr").rglob("*")
                         if not path.is_dir() and ".build-id" not in path.parts}
        self.assertEqual(installed, files() - ONLY_DEBIANS)

    def test_leaves_the_platforms_library_to_the_platform(self):
        self.assertFalse([line for line in asked("--provides") | asked("--requires") if "libvtek" in line])

    def test_requires_the_libraries_of_its_programs(self):
        requires = asked("--requires")
        for library in ("libxml2.so.2", "libarchive.so.13", "libcrypto.so.3", "libsqlite3.so.0", "libstdc++.so.6"):
            self.assertTrue(any(line.startswith(f"{library}(") for line in requires), library)

    def test_runs_no_scripts(self):
        self.assertEqual(asked("--scripts"), set())


subprocess.run(["cpack", "--config", SOURCE / "build/release/CPackConfig.cmake", "-G", "RPM", "-B", RPM_FOLDER,
                "-D", "CPACK_QRX_UNRELEASED=ON"], check=True, stdout=subprocess.DEVNULL)
(PACKAGE,) = RPM_FOLDER.glob("*.rpm")
unittest.main(argv=["rpm_test"])
