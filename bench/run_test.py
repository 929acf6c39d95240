"""bench/run works from end to end with tiny inputs, and names the tools that are missing.

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
JOBS = ("`-h`", "`-h`, stand-in", "`-i`, 10 devices", "`-i`, 10 devices, stand-in", "`-u`, 0.01 MiB stored",
        "`-u`, 0.01 MiB stored, one core", "`-u`, 0.01 MiB deflated", "`-u`, 0.01 MiB deflated, one core",
        "`-u`, 0.01 MiB stored, beside 1 MiB")
SERIES = ("devices", "files in a payload", "payload, MiB", "supported devices", "names", "dependencies",
          "devices with a dependency", "inventory results")


class Run(unittest.TestCase):
    """One tiny measurement each."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def measure(self, path, *options):
        """Measures with the tools of this PATH; returns what is printed and all samples."""
        output = self.folder / "results"
        done = subprocess.run([sys.executable, RUN, "--tiny", "--build", BUILD, "--output", output, *options],
                              env={**os.environ, "PATH": str(path), "HOME": str(self.folder)}, capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout, json.loads((output / "measurements.json").read_text())

    def rows(self, table, start):
        """The cells of the rows whose first cell is `start`."""
        return [line.strip("| ").split(" | ") for line in table.splitlines() if line.startswith(f"| {start} |")]

    def test_every_job_and_series_has_its_figures(self):
        table, figures = self.measure(os.environ["PATH"])
        for job in JOBS:
            for cells in self.rows(table, job):
                self.assertTrue(len(cells) == 10 or "not measured: missing" in cells[2], cells)
                if job.endswith("stand-in") and len(cells) == 10:
                    self.assertEqual(cells[5], "none", "a goal for the stand-in")
            self.assertTrue(self.rows(table, job), job)
        for series in SERIES:
            [cells] = self.rows(table, series)
            self.assertEqual(len(cells), 6, cells)
        for comparison in figures["comparisons"]:
            for samples in comparison["samples"].values():
                for wall, cpu, peak in samples:
                    self.assertTrue(wall > 0 and cpu > 0 and peak > 0)

    def test_judges_the_start_by_the_portable_program(self):
        table, _ = self.measure(os.environ["PATH"], "--portable", BUILD / "src/qrxupdate")
        for job, goal in (("`-h`, portable program", r"(\*\*missed\*\* )?0\.8"), ("`-h`", "none")):
            [cells] = [row for row in self.rows(table, job) if row[1] == "xmllint --version"]
            self.assertRegex(cells[5], f"^{goal}$")

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
        self.assertEqual(list(figures["comparisons"][0]["samples"]), ["`-h`", "`-h`, stand-in"])
        self.assertEqual(list((self.folder / "results").glob("*.svg")), [], "no pictures without gnuplot")


unittest.main()
