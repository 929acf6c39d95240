"""The files that ship are hardened, each of them."""

import re
import unittest

from debian import SOURCE, output_of, programs

# The start files of the C library bring a few along.
BRANCH_TARGETS_OF_THE_START_FILES = 20

# A checked call that each file makes; the program makes none that has a checked form.
CHECKED_CALLS = {"qrxinspect": "__snprintf_chk", "vtekctl": "__snprintf_chk", "libvtek.so.0.1.0": "__syslog_chk"}
CALLS_THAT_ARE_ALWAYS_CHECKED = {"printf", "fprintf", "sprintf", "snprintf", "vfprintf", "vsprintf", "syslog", "vsyslog"}


def section(text, name):
    """The lines of `readelf` that mention the name."""
    return [line for line in text.splitlines() if name in line]


class Hardening(unittest.TestCase):
    def test_all_of_them_are_looked_at(self):
        self.assertEqual([path.name for path in programs()], 
                         ["qrxinspect", "vtekctl", "libvtek.so.0.1.0", "qrxupdate"])

    def test_it_can_be_loaded_anywhere(self):
        for path in programs():
            with self.subTest(path.name):
                kind = output_of("readelf", "--file-header", path)
                self.assertRegex(kind, r"Type: +DYN")
                if ".so" not in path.name:
                    self.assertIn("PIE", output_of("readelf", "--dynamic", path))

    def test_the_loader_binds_everything_at_once_and_locks_it(self):
        for path in programs():
            with self.subTest(path.name):
                self.assertTrue(section(output_of("readelf", "--segments", "--wide", path), "GNU_RELRO"))
                self.assertTrue(section(output_of("readelf", "--dynamic", path), "BIND_NOW"))

    def test_no_stack_is_executable_and_no_segment_writable_as_well(self):
        for path in programs():
            with self.subTest(path.name):
                segments = output_of("readelf", "--segments", "--wide", path)
                self.assertRegex(segments, r"GNU_STACK .* RW +0x")
                self.assertFalse(re.findall(r" RWE ", segments))

    def test_the_stack_is_guarded(self):
        for path in programs():
            with self.subTest(path.name):
                self.assertIn("__stack_chk_fail", output_of("nm", "--dynamic", path))

    def test_indirect_branches_have_marked_targets(self):
        for path in programs():
            with self.subTest(path.name):
                code = output_of("objdump", "--disassemble", "--no-show-raw-insn", path)
                self.assertGreater(code.count("endbr64"), BRANCH_TARGETS_OF_THE_START_FILES)

    def test_calls_of_the_c_library_are_the_checked_ones(self):
        for path in programs():
            with self.subTest(path.name):
                imports = set(re.findall(r" U (\w+)", output_of("nm", "--dynamic", path)))
                self.assertIn(CHECKED_CALLS.get(path.name), {*imports, None})
                self.assertFalse(imports & CALLS_THAT_ARE_ALWAYS_CHECKED)

    def test_the_loader_looks_for_libraries_nowhere_else(self):
        for path in programs():
            with self.subTest(path.name):
                self.assertFalse(re.findall("RPATH|RUNPATH", output_of("readelf", "--dynamic", path)))

    def test_it_is_stripped(self):
        for path in programs():
            with self.subTest(path.name):
                self.assertNotIn(".symtab", output_of("readelf", "--sections", "--wide", path))

    def test_it_tells_nothing_of_the_machine_that_built_it(self):
        for path in programs():
            with self.subTest(path.name):
                self.assertNotIn(str(SOURCE).encode(), path.read_bytes())


if __name__ == "__main__":
    unittest.main(argv=["hardening_test"])
