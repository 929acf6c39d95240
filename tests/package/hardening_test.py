"""Every program and library in the package is hardened."""

import re
import unittest

from debian import SOURCE, output_of, programs

# The C library's start files contain a few branch targets in any program.
BRANCH_TARGETS_OF_START_FILES = 20

# A fortified function that each file imports; the program calls none that has a fortified form.
CHECKED_IMPORTS = {"qrxinspect": "__snprintf_chk", "vtekctl": "__snprintf_chk", "libvtek.so.0.1.0": "__syslog_chk"}
FORTIFIED_FUNCTIONS = {"printf", "fprintf", "sprintf", "snprintf", "vfprintf", "vsprintf", "syslog", "vsyslog"}


def section(text, name):
    """The lines of `readelf` that mention the name."""
    return [line for line in text.splitlines() if name in line]


class Hardening(unittest.TestCase):
    def test_covers_every_file(self):
        self.assertEqual([path.name for path in programs()],
                         ["qrxinspect", "vtekctl", "libvtek.so.0.1.0", "qrxupdate"])

    def test_builds_position_independent_code(self):
        for path in programs():
            with self.subTest(path.name):
                kind = output_of("readelf", "--file-header", path)
                self.assertRegex(kind, r"Type: +DYN")
                if ".so" not in path.name:
                    self.assertIn("PIE", output_of("readelf", "--dynamic", path))

    def test_binds_everything_at_start_and_makes_it_read_only(self):
        for path in programs():
            with self.subTest(path.name):
                self.assertTrue(section(output_of("readelf", "--segments", "--wide", path), "GNU_RELRO"))
                self.assertTrue(section(output_of("readelf", "--dynamic", path), "BIND_NOW"))

    def test_has_no_executable_stack_and_no_writable_code(self):
        for path in programs():
            with self.subTest(path.name):
                segments = output_of("readelf", "--segments", "--wide", path)
                self.assertRegex(segments, r"GNU_STACK .* RW +0x")
                self.assertFalse(re.findall(r" RWE ", segments))

    def test_protects_the_stack(self):
        for path in programs():
            with self.subTest(path.name):
                self.assertIn("__stack_chk_fail", output_of("nm", "--dynamic", path))

    def test_marks_the_targets_of_indirect_branches(self):
        for path in programs():
            with self.subTest(path.name):
                code = output_of("objdump", "--disassemble", "--no-show-raw-insn", path)
                self.assertGreater(code.count("endbr64"), BRANCH_TARGETS_OF_START_FILES)

    def test_calls_only_fortified_functions(self):
        for path in programs():
            with self.subTest(path.name):
                imports = set(re.findall(r" U (\w+)", output_of("nm", "--dynamic", path)))
                self.assertIn(CHECKED_IMPORTS.get(path.name), {*imports, None})
                self.assertFalse(imports & FORTIFIED_FUNCTIONS)

    def test_adds_no_library_path(self):
        for path in programs():
            with self.subTest(path.name):
                self.assertFalse(re.findall("RPATH|RUNPATH", output_of("readelf", "--dynamic", path)))

    def test_is_stripped(self):
        for path in programs():
            with self.subTest(path.name):
                self.assertNotIn(".symtab", output_of("readelf", "--sections", "--wide", path))

    def test_contains_no_path_of_the_build_machine(self):
        for path in programs():
            with self.subTest(path.name):
                self.assertNotIn(str(SOURCE).encode(), path.read_bytes())


if __name__ == "__main__":
    unittest.main(argv=["hardening_test"])
