"""What the portable program asks of a server, and what it keeps from the platform's library.

    requirements_test.py BUILT_PROGRAM FOLDER

BUILT_PROGRAM links this system's libraries: it shows that the checks find what they look for. FOLDER contains a platform
library with a libxml2 of its own.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

PORTABLE = pathlib.Path(os.environ["PORTABLE"])
BUILT, PLATFORM = (pathlib.Path(argument) for argument in sys.argv[1:3])
CEILING = {"GLIBC": (2, 17), "GLIBCXX": (3, 4, 21), "CXXABI": (1, 3, 9), "GCC": (5, 0, 0)}
ALLOWED = {"libvtek.so.0", "libstdc++.so.6", "libgcc_s.so.1", "libc.so.6", "libm.so.6", "libdl.so.2", "libpthread.so.0",
           "ld-linux-x86-64.so.2"}
BANNER = b"RVK_VERSION = 14.11.00 (BLD_001)"
PACKAGE = """<?xml version="1.0" encoding="UTF-8"?>
<SoftwareComponent vendorVersion="1.40.200">
  <ComponentType value="FRMW"/>
  <SupportedDevices><Device componentID="25227"><Display>Controller</Display></Device></SupportedDevices>
</SoftwareComponent>
"""


def readelf(option, program):
    """What readelf says about a program."""
    return subprocess.run(["readelf", "--wide", option, program], check=True, capture_output=True, text=True).stdout


def needed(program):
    """The libraries that the loader looks for."""
    return set(re.findall(r"\(NEEDED\).*\[(.*)\]", readelf("--dynamic", program)))


def above_ceiling(program):
    """The symbol versions that the oldest supported servers lack; a version of an unknown kind counts."""
    versions = set(re.findall(r"Name: ([A-Z]+)_([0-9.]+)", readelf("--version-info", program)))
    if not versions:
        raise AssertionError(f"{program} asks for no version of anything")
    return {f"{name}_{number}" for name, number in versions
            if tuple(map(int, number.split("."))) > CEILING.get(name, ())}


def exported(program):
    """The functions and variables that other libraries of the process could get from this file."""
    return set(re.findall(r"(?:FUNC|OBJECT)\s+(?:GLOBAL|WEAK)\s+DEFAULT\s+\d+\s+(\w+)", readelf("--dyn-syms", program)))


def exported_by_libxml2(program):
    """The exported names of libxml2, by the prefixes that it uses."""
    return {name for name in exported(program) if re.match(r"_*(xml|html|xslt|input|nodePush|nodePop|UTF8|isolat1)", name)}


class Requirements(unittest.TestCase):
    def test_needs_only_libraries_of_every_server(self):
        self.assertLessEqual(needed(PORTABLE), ALLOWED)
        self.assertIn("libvtek.so.0", needed(PORTABLE))
        self.assertIn("libstdc++.so.6", needed(PORTABLE))
        self.assertEqual(needed(BUILT) - ALLOWED, {"libxml2.so.2"})

    def test_needs_no_newer_symbols(self):
        self.assertEqual(above_ceiling(PORTABLE), set())
        self.assertIn("GLIBC_2.34", above_ceiling(BUILT))

    def test_has_no_library_path(self):
        self.assertNotRegex(readelf("--dynamic", PORTABLE), "RPATH|RUNPATH")

    def test_contains_the_banner(self):
        self.assertIn(BANNER, PORTABLE.read_bytes())

    def test_contains_no_folder_of_the_build(self):
        for folder in (PORTABLE.parent, pathlib.Path(__file__).resolve().parents[2]):
            self.assertNotIn(str(folder).encode(), PORTABLE.read_bytes())

    def test_exports_nothing_of_libxml2(self):
        self.assertEqual(exported_by_libxml2(PORTABLE), set())
        library = re.search(r"libxml2\.so\.2 => (\S+)",
                            subprocess.run(["ldd", BUILT], check=True, capture_output=True, text=True).stdout)[1]
        self.assertIn("xmlReadMemory", exported_by_libxml2(library))

    def test_leaves_the_platforms_libxml2_alone(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            (folder / "package.xml").write_text(PACKAGE)
            (folder / "inventory.xml").write_text('<SVMInventory><Device componentID="25227">'
                                                  '<Application version="1.30.100"/></Device></SVMInventory>')
            (folder / "script").write_text("inventory inventory.xml\n")
            ended = subprocess.run([PORTABLE, "-i"], cwd=folder, capture_output=True, text=True, check=False, timeout=60,
                                   env={"LD_LIBRARY_PATH": str(PLATFORM), "VTEK_DOUBLE_SCRIPT": str(folder / "script"),
                                        "XML_ORIGINS": str(folder / "origins")})
            self.assertEqual((ended.returncode, ended.stderr), (0, ""))
            self.assertIn('componentID="25227"', ended.stdout)
            self.assertIn('version="1.30.100"', ended.stdout)
            lines = (folder / "origins").read_text().splitlines()
        self.assertEqual(len(lines), 8, "at its start and at its end")
        self.assertEqual(lines[:4], lines[4:])
        self.assertEqual(lines[0], "parsed")
        for line in lines[1:4]:
            self.assertRegex(line, r"^xml\w+ /\S*/libxml2\.so\.2$")


if __name__ == "__main__":
    unittest.main(argv=["requirements_test"])
