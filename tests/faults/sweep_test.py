"""Every system call of an update fails, or is the last one: what is left is the old firmware or the new one.

    sweep_test.py [--points N] [--workers N] QRXUPDATE VTEKCTL

N points are spread evenly over all that there are; without --points all are tried.
"""

import argparse
import collections
import os
import pathlib
import queue
import subprocess
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor

from chassis import update_report
from guest import skip
from local_chassis import NEW, UPDATED, LocalChassis, Programs, versions_of
from system_calls import KILL, points, reason_not_possible, spread, traced

# Whatever else stands in the report, which lacks the package's details when package.xml could not be read.
REPORTED = '<SPStatus result = "true" >'


class Sweep:
    """Runs an update repeatedly, each time with another fault, in a few folders in parallel."""

    def __init__(self, programs, folder, workers):
        """Makes the chassis that every run starts from a copy of, and finds the points of an update."""
        self._chassis = LocalChassis.make(programs, folder)
        self._places = queue.SimpleQueue()
        for worker in range(workers):
            self._places.put(folder / f"worker{worker}")
            (folder / f"worker{worker}").mkdir()
        self.outcomes = collections.Counter()
        self.points = self._find_points()

    def _find_points(self):
        place = self._places.get()
        chassis = self._chassis.copy(place / "root")
        trace = place / "trace"
        ended = chassis.run(*traced([chassis.programs.qrxupdate, "-u"], trace))
        self._places.put(place)
        if ended.stdout != update_report(NEW):
            raise AssertionError(f"the update fails under strace: {ended.stdout} {ended.stderr}")
        return list(points(trace.read_text()))

    def try_point(self, point):
        """Runs an update with a fault at this point; returns what is wrong then."""
        place = self._places.get()
        try:
            return self._faults_at(point, self._chassis.copy(place / "root"), place / "trace")
        except subprocess.SubprocessError as failure:
            return [str(failure)]
        finally:
            self._places.put(place)

    def _faults_at(self, point, chassis, trace):
        ended = chassis.run(*point.command([chassis.programs.qrxupdate, "-u"], trace))
        if not point.is_met(trace.read_text(), ended.returncode):
            return [f"the run did not come to this point, exit status {ended.returncode}"]
        state = chassis.state()
        versions = versions_of(state)
        is_reported = REPORTED in ended.stdout
        self._count(point, versions == UPDATED, is_reported)
        faults = state.faults(versions, chassis.digests)
        if is_reported and versions != UPDATED:
            faults.append("success was reported, but the old firmware is in force")
        return faults or chassis.faults_of_next_update(versions)

    def _count(self, point, is_new, is_reported):
        self.outcomes["killed" if point.fault == KILL else "failed call", "new state" if is_new else "old state",
                      "success reported" if is_reported else "no success reported"] += 1


def main():
    parser = argparse.ArgumentParser(description="Faults at the system calls of an update.")
    parser.add_argument("--points", type=int, help="how many points to try; all of them by default")
    parser.add_argument("--workers", type=int, default=os.cpu_count() or 1, help="how many runs side by side")
    parser.add_argument("qrxupdate", type=pathlib.Path)
    parser.add_argument("vtekctl", type=pathlib.Path)
    arguments = parser.parse_args()
    if reason := reason_not_possible():
        skip(reason)
    started = time.monotonic()
    with tempfile.TemporaryDirectory() as folder, ThreadPoolExecutor(arguments.workers) as pool:
        sweep = Sweep(Programs(arguments.qrxupdate, arguments.vtekctl), pathlib.Path(folder), arguments.workers)
        chosen = spread(sweep.points, arguments.points)
        inconsistent = 0
        for tried, (point, faults) in enumerate(zip(chosen, pool.map(sweep.try_point, chosen)), 1):
            if faults:
                inconsistent += 1
                print("INCONSISTENT", "\n    ".join([str(point), *faults]), flush=True)
            if tried % 100 == 0:
                print(f"{tried} tried, {inconsistent} inconsistent", flush=True)
    for outcome, count in sorted(sweep.outcomes.items()):
        print(f"{count:5} {', '.join(outcome)}")
    print(f"{len(chosen)} of {len(sweep.points)} points tried in {time.monotonic() - started:.0f} s, "
          f"{inconsistent} inconsistent")
    sys.exit(inconsistent != 0 or not chosen)


if __name__ == "__main__":
    main()
