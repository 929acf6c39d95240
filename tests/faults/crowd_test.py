"""Many updates at once: they run one after the other, and one that cannot wait reports who holds the repository.

    crowd_test.py QRXUPDATE VTEKCTL
"""

import fcntl
import re

from attack import AttackTest, main
from chassis import inventory_report, update_report
from local_chassis import NEW, NOT_UPDATED, OLD

BUSY = "Start copying file failed"


class Crowd(AttackTest):
    """Whole programs that want the same repository."""

    def assert_serialised(self, count, patience):
        self.chassis.vtekctl("set", "lock-wait", str(patience))
        updates = [self.start_update() for _ in range(count)]
        inventories = [self.chassis.start(self.chassis.programs.qrxupdate, "-i") for _ in range(5)]
        reports = [update.communicate()[0] for update in updates]
        for inventory in inventories:
            self.assertIn(inventory.communicate()[0], (inventory_report(OLD), inventory_report(NEW)))
        done = reports.count(update_report(NEW))
        refused = [report for report in reports if f'<Message id="1">{BUSY}</Message>' in report]
        self.assertGreaterEqual(done, 1)
        self.assertEqual(done + len(refused), count, reports)
        self.assertEqual(self.chassis.faults([*NOT_UPDATED, *[NEW] * done]), [])
        told = re.findall(r"StartCopyFile: error 401, .* is held by process (\d+), started \d{4}-\S+Z, command: \S+",
                          self.chassis.log())
        self.assertEqual(len(told), len(refused))
        self.assertLessEqual({int(holder) for holder in told}, {update.pid for update in updates})
        return done

    def test_serialises_two_updates(self):
        self.assertEqual(self.assert_serialised(2, patience=120), 2)

    def test_serialises_ten_updates(self):
        self.assertEqual(self.assert_serialised(10, patience=300), 10)

    def test_lets_at_least_one_of_fifty_impatient_updates_win(self):
        self.assert_serialised(50, patience=0)

    def test_refuses_an_update_beside_a_holder(self):
        self.chassis.vtekctl("set", "lock-wait", "0")
        self.before = self.snapshot()
        with (self.chassis.root / "lock").open("r+") as lock:
            lock.truncate()
            lock.write("process 4711, started 2026-01-01T00:00:00Z, command: holder")
            lock.flush()
            fcntl.flock(lock, fcntl.LOCK_EX)
            self.assert_refused(self.update(), BUSY, "is held by process 4711, started 2026-01-01T00:00:00Z")

    def test_ignores_a_lock_file_of_a_dead_process(self):
        (self.chassis.root / "lock").write_text("process 1, started 2026-01-01T00:00:00Z, command: init")
        self.assert_harmless(self.update())


if __name__ == "__main__":
    main()
