"""What a plain CMake build is told: warnings stay warnings, and what is missing has a cure."""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(sys.argv.pop())


def configure(build, *options):
    return subprocess.run(["cmake", "-S", str(SOURCE), "-B", str(build), "-G", "Ninja", *options],
                          capture_output=True, text=True, check=False)


def commands(build):
    return [entry["command"] for entry in json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))]


class Configure(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.build = pathlib.Path(folder.name)

    def test_makes_warnings_errors_in_the_presets_only(self):
        plain, preset = self.build / "plain", self.build / "preset"
        self.assertEqual(configure(plain).returncode, 0)
        self.assertEqual(configure(preset, "--preset", "release").returncode, 0)
        self.assertFalse(any("-Werror" in command for command in commands(plain)))
        self.assertTrue(all("-Werror" in command for command in commands(preset)))

    def test_leaves_the_tests_out_where_a_tool_is_missing(self):
        done = configure(self.build, "-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON")
        self.assertEqual(done.returncode, 0, done.stderr)
        said = " ".join(done.stderr.split())
        self.assertIn("The tests are left out: they need GoogleTest. On Debian, 'scripts/install-packages build check' "
                      "installs what they need", said)
        self.assertFalse(any("/tests/" in command for command in commands(self.build)))

    def test_stops_a_developer_who_lacks_a_tool_of_the_tests(self):
        done = configure(self.build, "--preset", "dev", "-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON")
        self.assertNotEqual(done.returncode, 0)
        self.assertIn("The tests need GoogleTest.", done.stderr)

    def test_names_the_list_of_a_missing_library(self):
        done = configure(self.build, "-DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON")
        self.assertNotEqual(done.returncode, 0)
        said = " ".join(done.stderr.split())
        self.assertIn("CLI11 2.1 is missing. On Debian, 'scripts/install-packages build' installs everything", said)


if __name__ == "__main__":
    unittest.main()
