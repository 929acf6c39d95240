"""Which packages CPack refuses to make, by the scripts that it runs before and after.

Usage: refusals_test.py SOURCE
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = pathlib.Path(sys.argv[1]) / "cmake/debian"
CMAKE = shutil.which("cmake")
CONTROL = "Package: qrxupdate\nVersion: 1\nArchitecture: all\nMaintainer: nobody <nobody@example.org>\nDescription: none\n"


class Refusals(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def run_script(self, name, path=None, **variables):
        """Runs the script with these variables, and finds programs in the folder `path` only, if it is given."""
        options = [f"-D{name}={value}" for name, value in variables.items()]
        if path:
            options.append("-DCMAKE_FIND_USE_CMAKE_SYSTEM_PATH=OFF")
        return subprocess.run([CMAKE, *options, "-P", SCRIPTS / name], env={"PATH": str(path)} if path else None,
                              capture_output=True, text=True, check=False)

    def refusal(self, name, **arguments):
        """What the script says when it stops, in one line."""
        ended = self.run_script(name, **arguments)
        self.assertNotEqual(ended.returncode, 0)
        return " ".join(ended.stderr.split())

    def package(self, depends=""):
        """Makes a Debian package with this line in its control file."""
        (self.folder / "tree/DEBIAN").mkdir(parents=True)
        (self.folder / "tree/DEBIAN/control").write_text(CONTROL + depends)
        made = self.folder / "made.deb"
        subprocess.run(["dpkg-deb", "--root-owner-group", "--build", self.folder / "tree", made], check=True,
                       capture_output=True)
        return made

    def test_refuses_a_release_without_the_portable_program(self):
        self.assertIn("Run package/build-portable", self.refusal("complete.cmake", CPACK_GENERATOR="DEB"))

    def test_makes_an_unreleased_package_without_it(self):
        self.assertEqual(self.run_script("complete.cmake", CPACK_GENERATOR="RPM", CPACK_QRX_UNRELEASED="ON").returncode, 0)

    def test_refuses_a_debian_package_where_a_tool_is_missing(self):
        tools = self.folder / "tools"
        tools.mkdir()
        for missing in ("file", "dpkg-shlibdeps"):
            said = self.refusal("complete.cmake", path=tools, CPACK_GENERATOR="DEB", CPACK_QRX_UNRELEASED="ON")
            self.assertIn(f"No {missing}: 'scripts/install-packages build'", said)
            (tools / missing).symlink_to(shutil.which(missing))
        self.assertEqual(self.run_script("complete.cmake", path=tools, CPACK_GENERATOR="DEB",
                                         CPACK_QRX_UNRELEASED="ON").returncode, 0)

    def test_refuses_a_package_without_dependencies(self):
        made = self.package()
        self.assertIn("The package would have no dependencies", self.refusal("dependencies.cmake", CPACK_PACKAGE_FILES=made))
        self.assertFalse(made.exists())

    def test_keeps_a_package_with_dependencies(self):
        made = self.package("Depends: libc6\n")
        self.assertEqual(self.run_script("dependencies.cmake", CPACK_PACKAGE_FILES=made).returncode, 0)
        self.assertTrue(made.exists())


if __name__ == "__main__":
    unittest.main(argv=["refusals_test"])
