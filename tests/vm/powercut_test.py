"""Power cuts during an update leave the old firmware or the new one, never a mixture.

    powercut_test.py [--large] [--points N | --without-sync all|files] KERNEL INITRAMFS VTEKCTL

The power fails at N disk writes spread over an update, and once right after the program has reported success. With
--without-sync the program's syncs do nothing, all of them or those of its files, and the test passes if it notices the
loss. With --large two threads unpack the firmware.
"""

import argparse
import pathlib
import sys
import tempfile
from dataclasses import dataclass

from chassis import Chassis
from disk import FLUSH, Disk, after_power_cut
from guest import Guest, Image, skip_unless_possible
from lab import LARGE, SMALL, Lab

# The libraries to preload, by the argument of --without-sync.
WITHOUT_SYNC = {"all": "libno_file_sync.so:libno_database_sync.so", "files": "libno_file_sync.so"}
EARLIER, OLD, NEW = "1.10.0", "1.20.0", "1.40.200"
NOT_UPDATED = [EARLIER, OLD]
UPDATED = [EARLIER, OLD, NEW]


def demand(faults):
    """Ends the test if something fails that has nothing to do with a power cut."""
    if faults:
        raise AssertionError("; ".join(faults))


@dataclass(frozen=True)
class Verdict:
    """The result of a power cut."""

    is_reported: bool  # whether success was reported before the cut
    version: str  # the one in force afterwards
    faults: list  # everything that contradicts this version

    def show(self, where):
        """Prints the verdict."""
        story = f"{where}{', success was reported' if self.is_reported else ''}: version {self.version}"
        print("INCONSISTENT" if self.faults else "consistent", "\n    ".join([story, *self.faults]), flush=True)


class Bench:
    """Records an update in a guest, and boots what power cuts during it would have left of the disk."""

    def __init__(self, image, vtekctl, folder, firmware):
        """Makes a disk with two updates on it and packages for a third."""
        self._image = image
        self._folder = folder
        lab = Lab(vtekctl, folder, firmware)
        self._packages = {version: lab.make_package(version) for version in UPDATED}
        self._before = lab.make_disk()
        disk = Disk(folder, self._before)
        with self._boot(disk) as guest:
            chassis = Chassis(guest)
            chassis.make()
            for version in NOT_UPDATED:
                demand(chassis.update(version))
            demand(chassis.state(OLD).faults(NOT_UPDATED, self._packages))
            guest.expect("sync")
            synced = disk.log_size()
        self._before = after_power_cut(self._before, disk.history(synced), seed=0)

    def record_update(self, environment=""):
        """Installs the third version. Returns the disk's history up to the report and the indices of its new writes."""
        disk = Disk(self._folder, self._before)
        with self._boot(disk) as guest:
            chassis = Chassis(guest)
            begin = disk.log_size()
            demand(chassis.update(NEW, environment))
            end = disk.log_size()
        first, history = len(disk.history(begin)), disk.history(end)
        return history, [index for index in range(first, len(history)) if history[index] is not FLUSH]

    def judge(self, history, seed, is_reported):
        """Boots what a power cut after this history leaves, and installs the third version (again)."""
        disk = Disk(self._folder, after_power_cut(self._before, history, seed))
        with self._boot(disk) as guest:
            chassis = Chassis(guest)
            state = chassis.state(NEW)
            is_updated = is_reported or len(state.history) == len(UPDATED)
            versions = UPDATED if is_updated else NOT_UPDATED
            faults = state.faults(versions, self._packages)
            return Verdict(is_reported, state.version, faults or self._faults_of_next_update(chassis, [*versions, NEW]))

    def _faults_of_next_update(self, chassis, versions):
        if faults := chassis.update(NEW):
            return faults
        state = chassis.state(NEW)
        leftovers = [f"left over: {path}" for path in [*chassis.leftovers(), *state.strays(self._packages)]]
        return state.faults(versions, self._packages) + leftovers

    def _boot(self, disk):
        return Guest(self._image, disk.qemu_arguments())


def spread(points, count):
    """`points` numbers below `count`, evenly spread; some repeat if there are more points than numbers."""
    return [(2 * point + 1) * count // (2 * points) for point in range(points)]


def check_cuts(bench, points):
    """Cuts the power of a program that syncs: no cut may leave a fault."""
    history, writes = bench.record_update()
    verdict = bench.judge(history, seed=0, is_reported=True)
    verdict.show(f"after {len(writes)} writes")
    failures = bool(verdict.faults)
    for seed, write in enumerate(spread(points, len(writes))):
        verdict = bench.judge(history[:writes[write] + 1], seed, is_reported=False)
        verdict.show(f"at write {write + 1}")
        failures += bool(verdict.faults)
    print(f"{points + 1} points tried, {failures} inconsistent")
    return failures == 0


def check_without_sync(bench, taken_away):
    """Cuts the power of a program whose syncs do nothing: the cut must leave a fault."""
    history, _ = bench.record_update(f"LD_LIBRARY_PATH=/bin LD_PRELOAD={WITHOUT_SYNC[taken_away]}")
    verdict = bench.judge(history, seed=0, is_reported=True)
    verdict.show(f"without sync: {taken_away}")
    print(f"1 point tried, {'noticed, as expected' if verdict.faults else 'NOT NOTICED'}")
    return bool(verdict.faults)


def main():
    parser = argparse.ArgumentParser(description="Power cuts during an update.")
    parser.add_argument("--points", type=int, default=3, help="power cuts during the update")
    parser.add_argument("--large", action="store_true", help="firmware that two threads unpack")
    parser.add_argument("--without-sync", choices=WITHOUT_SYNC, help="disable syncs, and expect a fault")
    parser.add_argument("kernel", type=pathlib.Path)
    parser.add_argument("initramfs", type=pathlib.Path)
    parser.add_argument("vtekctl", type=pathlib.Path)
    arguments = parser.parse_args()
    image = Image(arguments.kernel, arguments.initramfs)
    skip_unless_possible(image)
    with tempfile.TemporaryDirectory() as folder:
        bench = Bench(image, arguments.vtekctl, folder, LARGE if arguments.large else SMALL)
        if arguments.without_sync:
            passed = check_without_sync(bench, arguments.without_sync)
        else:
            passed = check_cuts(bench, arguments.points)
    sys.exit(not passed)


if __name__ == "__main__":
    main()
