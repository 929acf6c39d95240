"""An update that is killed while it holds the repository: the waiting one continues.

    holder_test.py QRXUPDATE VTEKCTL
"""

import os
import re
import signal
import time

from attack import AttackTest, main
from chassis import update_report
from local_chassis import NEW, NOT_UPDATED
from system_calls import reason_not_possible


class Holder(AttackTest):
    """Stopped by strace when its files are published but not yet in force."""

    def test_continues_when_the_holder_is_killed(self):
        self.chassis.vtekctl("set", "lock-wait", "120")
        self.before = self.snapshot()
        holder = self.start_update("strace", "-o", "/dev/null", "-e", "inject=renameat2:signal=STOP")
        process = self.wait_for_holder()
        second = self.start_update()
        time.sleep(0.2)
        self.assertIsNone(second.poll(), "the second update waits")
        os.kill(process, signal.SIGKILL)
        holder.communicate()
        self.assertEqual(second.communicate()[0], update_report(NEW))
        self.assertEqual(self.chassis.faults([*NOT_UPDATED, NEW]), [])
        self.assertEqual(self.chassis.state().strays(self.chassis.digests), [])

    def wait_for_holder(self):
        """Waits until the update has published its files; returns the process id that it left in the lock."""
        deadline = time.monotonic() + 120
        while not (self.chassis.root / "repository" / "3").exists():
            self.assertLess(time.monotonic(), deadline, "the first update does not start")
            time.sleep(0.02)
        return int(re.match(r"process (\d+),", (self.chassis.root / "lock").read_text()).group(1))


if __name__ == "__main__":
    main(reason_not_possible())
