"""Power cuts during an update: what is left is the old firmware or the new one, never something between.

    powercut_test.py [--large] [--points N | --without-sync all|files] KERNEL INITRAMFS VTEKCTL

The power fails at N disk writes spread over an update, and once right after the program has reported success. With
--without-sync the program's syncs do nothing, all of them or those of its files, and the test passes when that is
noticed. With --large the firmware is unpacked by two threads.
"""

import argparse
import pathlib
import sys
import tempfile
from dataclasses import dataclass

from chassis import Chassis
from disk import Disk
from guest import Guest, GuestEnded, Image, skip_unless_possible
from lab import LARGE, SMALL, Lab

# By what --without-sync takes away: the libraries to preload.
WITHOUT_SYNC = {"all": "libno_file_sync.so:libno_database_sync.so", "files": "libno_file_sync.so"}
EARLIER, OLD, NEW = "1.10.0", "1.20.0", "1.40.200"
NOT_UPDATED = [EARLIER, OLD]
UPDATED = [EARLIER, OLD, NEW]


def demand(faults):
    """Ends the test where something does not work that has nothing to do with a power cut."""
    if faults:
        raise AssertionError("; ".join(faults))


@dataclass(frozen=True)
class Verdict:
    """What a power cut left."""

    is_reported: bool  # success, before the cut
    version: str  # in force afterwards
    faults: list  # what does not fit

    def tell(self, where):
        """Prints it."""
        story = f"{where}{', success was reported' if self.is_reported else ''}: version {self.version}"
        print("INCONSISTENT" if self.faults else "consistent", "\n    ".join([story, *self.faults]), flush=True)


class Bench:
    """Boots guests from one disk and takes their power away."""

    def __init__(self, image, vtekctl, folder, firmware):
        """Makes a disk with two updates behind it and packages for a third."""
        self._image = image
        self._folder = folder
        lab = Lab(vtekctl, folder, firmware)
        self._packages = {version: lab.make_package(version) for version in UPDATED}
        with Disk(folder, lab.make_disk()) as disk:
            with self._boot(disk) as guest:
                chassis = Chassis(guest)
                chassis.make()
                for version in NOT_UPDATED:
                    demand(chassis.update(version))
                demand(chassis.state(OLD).faults(NOT_UPDATED, self._packages))
                guest.expect("sync")
            self._before = disk.remains(seed=0)

    def cut_after_report(self, environment=""):
        """Lets the update finish and cuts the power then. Returns the verdict, and the writes that the update took."""
        with Disk(self._folder, self._before) as disk:
            with self._boot(disk) as guest:
                chassis = Chassis(guest)
                writes_before = disk.writes
                demand(chassis.update(NEW, environment))
                writes = disk.writes - writes_before
            remains = disk.remains(seed=0)
        return self._judge(remains, is_reported=True), writes

    def cut_at_write(self, write, seed):
        """Cuts the power at a write of the update."""
        with Disk(self._folder, self._before) as disk:
            with self._boot(disk) as guest:
                chassis = Chassis(guest)
                disk.at_write(write, guest.cut_power)
                is_reported = self._is_update_reported(chassis, disk)
            remains = disk.remains(seed)
        return self._judge(remains, is_reported)

    @staticmethod
    def _is_update_reported(chassis, disk):
        chassis.begin_update(NEW)
        try:
            demand(chassis.finish_update(NEW))
        except GuestEnded:
            if not disk.is_cut:
                raise
            return False
        return True

    def _judge(self, content, is_reported):
        """Boots what is left, and updates it again."""
        with Disk(self._folder, content) as disk, self._boot(disk) as guest:
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


def spread(points, writes):
    """That many of the writes, evenly over all of them; more points than writes repeat some."""
    return [1 + (2 * point + 1) * writes // (2 * points) for point in range(points)]


def check_cuts(bench, points):
    """The power cuts of a program that syncs: none may leave a fault."""
    verdict, writes = bench.cut_after_report()
    verdict.tell(f"after {writes} writes")
    failures = bool(verdict.faults)
    for seed, write in enumerate(spread(points, writes)):
        verdict = bench.cut_at_write(write, seed)
        verdict.tell(f"at write {write}")
        failures += bool(verdict.faults)
    print(f"{points + 1} points tried, {failures} inconsistent")
    return failures == 0


def check_without_sync(bench, taken_away):
    """A power cut of a program whose syncs do nothing: it must leave a fault."""
    verdict, _ = bench.cut_after_report(f"LD_LIBRARY_PATH=/bin LD_PRELOAD={WITHOUT_SYNC[taken_away]}")
    verdict.tell(f"without sync: {taken_away}")
    print(f"1 point tried, {'noticed, as it must be' if verdict.faults else 'NOT NOTICED'}")
    return bool(verdict.faults)


def main():
    parser = argparse.ArgumentParser(description="Power cuts during an update.")
    parser.add_argument("--points", type=int, default=3, help="power cuts during the update")
    parser.add_argument("--large", action="store_true", help="firmware that two threads unpack")
    parser.add_argument("--without-sync", choices=WITHOUT_SYNC, help="expect that a program without syncs is caught")
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
