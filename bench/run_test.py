"""The measurement runs from end to end with next to nothing in it, and names the tools that are missing.

    run_test.py BUILD-FOLDER
"""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

RUN = pathlib.Path(__file__).with_name("run")
BUILD = pathlib.Path(sys.argv.pop()).resolve()
JOBS = ("`-h`", "`-i`, 10 devices", "`-u`, 0.01 MiB stored", "`-u`, 0.01 MiB deflated")
SERIES = ("devices", "files in a payload", "payload, MiB", "supported devices", "names", "dependencies")


class Run(unittest.TestCase):
    """One tiny measurement each."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def measure(self, path):
        """Measures with these tools; returns the table and the raw figures."""
        output = self.folder / "results"
        done = subprocess.run([sys.executable, RUN, "--tiny", "--build", BUILD, "--output", output],
                              env={**os.environ, "PATH": str(path), "HOME": str(self.folder)}, capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stdout.strip(), (output / "table.md").read_text().strip())
        return done.stdout, json.loads((output / "measurements.json").read_text())

    def rows(self, table, start):
        """The cells of the rows that start so."""
        return [line.strip("| ").split(" | ") for line in table.splitlines() if line.startswith(f"| {start} |")]

    def test_every_job_and_series_has_its_figures(self):
        table, figures = self.measure(os.environ["PATH"])
        beside_others = table.split("### Growth")[0]
        for job in JOBS:
            for cells in self.rows(beside_others, job):
                self.assertTrue(len(cells) == 9 or "not measured: missing" in cells[2], cells)
            self.assertTrue(self.rows(beside_others, job), job)
        for series in SERIES:
            [cells] = self.rows(table, series)
            self.assertEqual(len(cells), 6, cells)
        self.assertIn("100 dependencies take ", table)
        for comparison in figures["comparisons"]:
            for samples in comparison["samples"].values():
                for wall, cpu, peak in samples:
                    self.assertTrue(wall > 0 and cpu > 0 and peak > 0)

    def test_missing_tools_are_named_and_the_rest_is_measured(self):
        tools = self.folder / "tools"
        tools.mkdir()
        for tool in ("openssl", "sync"):
            (tools / tool).symlink_to(shutil.which(tool))
        table, figures = self.measure(tools)
        self.assertIn("| `-h` | rauc --version | not measured: missing rauc |", table)
        self.assertIn("| `-h` | fwupdtool --version | not measured: missing fwupdtool |", table)
        self.assertIn("| `-i`, 10 devices | xmllint --xpath | not measured: missing xmllint |", table)
        self.assertIn("| `-u`, 0.01 MiB stored | openssl, cp, bsdtar, sync | not measured: missing bsdtar |", table)
        self.assertIn("not measured: missing rauc, mksquashfs, unsquashfs |", table)
        self.assertIn("Not measured: missing valgrind, xmllint.", table)
        self.assertEqual(list(figures["comparisons"][0]["samples"]), ["qrxupdate"])
        self.assertEqual(list((self.folder / "results").glob("*.svg")), [], "no pictures without gnuplot")


unittest.main()
