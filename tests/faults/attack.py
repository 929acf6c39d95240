"""What tests of whole programs under attack have in common."""

import argparse
import pathlib
import tempfile
import unittest

from chassis import update_report
from guest import skip
from lab import SMALL, digest
from local_chassis import NEW, NOT_UPDATED, LocalChassis, Programs, versions_of


class AttackTest(unittest.TestCase):
    """Each test gets a chassis of its own, with one update to do."""

    programs = None
    firmware = SMALL

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.origin = LocalChassis.make(cls.programs, cls.folder, cls.firmware)

    def setUp(self):
        self.chassis = self.origin.copy(self.folder / "attacked")
        self.before = self.snapshot()

    def snapshot(self):
        """Every file of the root with its digest, except the lock and the log."""
        root = self.chassis.root
        return {str(path.relative_to(root)): digest(path.read_bytes()) for path in sorted(root.rglob("*"))
                if path.is_file() and path.name != "lock" and path.parent.name != "log"}

    def update(self, *wrapper, **options):
        """Runs the update, through a wrapping command if there is one."""
        return self.chassis.run(*wrapper, self.chassis.programs.qrxupdate, "-u", **options)

    def start_update(self, *wrapper, **options):
        """Starts the update as `update` does, and does not wait for it."""
        return self.chassis.start(*wrapper, self.chassis.programs.qrxupdate, "-u", **options)

    def assert_refused(self, ended, text, cause=None):
        """The report has this text, the log this cause, and no byte of the root has changed."""
        self.assertIn(f'<SPStatus result = "false" ><Message id="1">{text}</Message></SPStatus>', ended.stdout)
        if cause is not None:
            self.assertIn(cause, self.chassis.log())
        self.assertEqual(self.snapshot(), self.before)

    def assert_harmless(self, ended):
        """The update reports success and has installed exactly the verified bytes."""
        self.assertEqual((ended.stdout, ended.returncode), (update_report(NEW), 0), ended.stderr)
        self.assertEqual(self.chassis.faults([*NOT_UPDATED, NEW]), [])

    def assert_old_or_new(self):
        """The old firmware or the new one is in force, and can be updated. Returns the versions that were installed."""
        state = self.chassis.state()
        versions = versions_of(state)
        self.assertEqual(state.faults(versions, self.chassis.digests), [])
        self.assertEqual(self.chassis.faults_of_next_update(versions), [])
        return versions


def main(reason_not_possible=""):
    """Runs the tests of the script with the programs of the command line; skips all if they are not possible."""
    parser = argparse.ArgumentParser()
    parser.add_argument("qrxupdate", type=pathlib.Path)
    parser.add_argument("vtekctl", type=pathlib.Path)
    arguments = parser.parse_args()
    if reason_not_possible:
        skip(reason_not_possible)
    AttackTest.programs = Programs(arguments.qrxupdate, arguments.vtekctl)
    unittest.main(argv=["attack"], verbosity=2)
