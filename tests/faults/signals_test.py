"""An update that is interrupted, ended or hung up on at any time: the old firmware or the new one.

    signals_test.py QRXUPDATE VTEKCTL
"""

from attack import AttackTest, main
from chassis import update_report
from local_chassis import NEW, NOT_UPDATED, UPDATED
from system_calls import KILL, Point, points, reason_not_possible, spread, traced

MOMENTS = 12


class Signals(AttackTest):
    """Signals at moments that are spread over an update."""

    def moments(self):
        trace = self.folder / "trace"
        chassis = self.origin.copy(self.folder / "traced")
        chassis.run(*traced([chassis.programs.qrxupdate, "-u"], trace))
        return spread([point for point in points(trace.read_text()) if point.fault == KILL], MOMENTS)

    def assert_survives(self, name):
        trace = self.folder / "trace"
        for moment in self.moments():
            point = Point(moment.call, moment.number, name)
            with self.subTest(point=str(point)):
                self.setUp()
                ended = self.chassis.run(*point.command([self.programs.qrxupdate, "-u"], trace))
                self.assertTrue(point.is_met(trace.read_text(), ended.returncode), ended)
                is_reported = ended.stdout == update_report(NEW)
                self.assertIn(self.assert_old_or_new(), [UPDATED] if is_reported else [NOT_UPDATED, UPDATED])

    def test_interrupt(self):
        self.assert_survives("INT")

    def test_terminate(self):
        self.assert_survives("TERM")

    def test_hang_up(self):
        self.assert_survives("HUP")


if __name__ == "__main__":
    main(reason_not_possible())
