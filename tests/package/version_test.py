"""The version is stated once; tools, manual pages, package, change logs and the HTML page show the same one."""

import gzip
import os
import re
import subprocess
import unittest

from debian import SOURCE, UNPACKED, field, output_of

VERSION = re.search(r"^project\(\w+ VERSION ([\d.]+)", (SOURCE / "CMakeLists.txt").read_text(), re.MULTILINE)[1]


class Version(unittest.TestCase):
    def test_matches_in_the_tools(self):
        for tool in ("vtekctl", "qrxinspect"):
            self.assertEqual(output_of(UNPACKED / "usr/bin" / tool, "--version").split()[-1], VERSION, tool)

    def test_matches_in_the_package(self):
        self.assertEqual(field("Version"), VERSION)

    def test_matches_in_the_manual_pages(self):
        pages = sorted((UNPACKED / "usr/share/man").rglob("*.gz"))
        self.assertEqual(len(pages), 5)
        for page in pages:
            self.assertIn(f"qrxupdate {VERSION}", gzip.decompress(page.read_bytes()).decode(), page.name)

    def test_dates_the_manual_pages_with_the_release(self):
        released = re.search(r"^## \[.*\] - ([\d-]+)$", (SOURCE / "CHANGELOG.md").read_text(), re.MULTILINE)[1]
        for page in (UNPACKED / "usr/share/man").rglob("*.gz"):
            self.assertRegex(gzip.decompress(page.read_bytes()).decode(), rf'(?m)^\.TH "[^"]+" "\d" "{released}"', page.name)

    def test_matches_in_the_html_page(self):
        shown = subprocess.run([UNPACKED / "usr/bin/qrxinspect", "report", "--html", os.devnull], capture_output=True,
                               text=True, check=False).stdout
        self.assertIn(f"<footer>qrxinspect {VERSION}</footer>", shown)

    def test_matches_in_the_change_logs(self):
        newest = re.search(r"^## \[([\d.]+)\]", (SOURCE / "CHANGELOG.md").read_text(), re.MULTILINE)[1]
        self.assertEqual(newest, VERSION)
        changelog = gzip.decompress((UNPACKED / "usr/share/doc/qrxupdate/changelog.gz").read_bytes()).decode()
        self.assertTrue(changelog.startswith(f"qrxupdate ({VERSION}) "), changelog)

    def test_is_stated_once(self):
        pattern = rf"(^|[^0-9.]){re.escape(VERSION)}($|[^0-9.])"
        stated = output_of("git", "-C", SOURCE, "grep", "--files-with-matches", "--extended-regexp", pattern, "--",
                           "*.txt", "*.cmake", "*.in", "*.scd", "*.cpp", "*.h", ":!tests", ":!bench", ":!scripts")
        self.assertEqual(stated.split(), ["CMakeLists.txt"])


if __name__ == "__main__":
    unittest.main(argv=["version_test"])
