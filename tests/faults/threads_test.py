"""Large files, which two threads write: one fails to write, ends the process as it writes, or cannot be started.

    threads_test.py QRXUPDATE VTEKCTL
"""

from attack import AttackTest, main
from lab import LARGE
from local_chassis import NOT_UPDATED, UPDATED
from system_calls import KILL, Point, reason_not_possible

# Where an update unpacks, in the chassis's root: each has a number.
STAGED = f"staging/{len(UPDATED)}/Chassis"
# A file is written in pieces of 32 KiB.
MOMENTS = (1, 30, 60)


class Threads(AttackTest):
    """Faults while both threads write: the old firmware is left."""

    firmware = LARGE

    def setUp(self):
        super().setUp()
        self.trace = self.folder / "trace"

    def update_traced(self, path, point):
        """The update with a fault at this point of what it does with one of the staged files."""
        strace, *arguments = point.command([self.programs.qrxupdate, "-u"], self.trace, threads=True)
        return self.chassis.run(strace, "-P", self.chassis.root / STAGED / path, *arguments)

    def assert_old_firmware(self, fault):
        for path in self.firmware.sizes:
            for moment in MOMENTS:
                with self.subTest(path=path, write=moment):
                    self.setUp()
                    point = Point("write", moment, fault)
                    ended = self.update_traced(path, point)
                    self.assertTrue(point.is_met(self.trace.read_text(), ended.returncode), ended)
                    self.assertEqual(self.assert_old_or_new(), NOT_UPDATED)

    def test_unpacks_if_each_has_a_file(self):
        paths = [argument for path in self.firmware.sizes for argument in ("-P", self.chassis.root / STAGED / path)]
        # Slow enough for the other thread to come in time, whatever else the machine does.
        self.assert_harmless(self.update("strace", "-f", "-o", self.trace, *paths, "-e", "trace=write",
                                         "-e", "inject=write:delay_enter=5000"))
        writers = {line.split()[0] for line in self.trace.read_text().splitlines() if "write(" in line}
        self.assertEqual(len(writers), 2)

    def test_unpacks_if_the_second_cannot_be_started(self):
        self.assert_harmless(self.update("strace", "-f", "-o", self.trace, "-e", "trace=clone,clone3",
                                         "-e", "inject=clone,clone3:error=EAGAIN"))
        self.assertIn("(INJECTED)", self.trace.read_text())

    def test_killed(self):
        self.assert_old_firmware(KILL)

    def test_refuses_on_a_full_disk(self):
        self.assert_old_firmware("ENOSPC")

    def test_refuses_on_a_broken_disk(self):
        self.assert_old_firmware("EIO")


if __name__ == "__main__":
    main(reason_not_possible())
