"""What one item costs when there are ten and a hundred times as many."""

import json
import subprocess

from comparisons import inventory, set_aside, update
from paired import measure, progress
from workshop import MEBIBYTE

# The benchmarks of PackageReaderBench.cpp, by the names of the series.
_READERS = {"supported devices": "supportedDevices", "names": "names", "dependencies": "dependenciesOfOneDevice",
            "devices with a dependency": "dependenciesOfManyDevices", "inventory results": "inventoryResult"}


def series(name, commands, rounds):
    """Samples by size. Size 0 is a run with next to nothing in it, whose cost the report subtracts."""
    progress(f"growth: {name}")
    samples = measure(commands, rounds)
    return {"name": name, "samples": {str(size): runs for size, runs in samples.items()}}


def devices(workshop, plan):
    """Inventories, with the scripted platform library."""
    package = workshop.package("growth-inventory", 1)
    def run(number):
        document = workshop.inventory(max(number, 1))
        return inventory(workshop, workshop.programs.qrxupdate, package, workshop.scripted(document))
    return series("devices", {number: run(number) for number in (0, *plan.devices)}, plan.growth_rounds)


def files(workshop, plan):
    """Updates of many files of 1 KiB.

    No files are removed meanwhile: when ext4 creates a file, it skips every inode freed in the last minutes, one by
    one.
    """
    def run(number):
        package = workshop.package(f"growth-{number}-files", 1024 * max(number, 1), files=max(number, 1))
        return update(workshop.programs, workshop.folder / "grown-by-files", workshop.folder / "fresh", package,
                      dispose=set_aside)
    return series("files in a payload", {number: run(number) for number in (0, *plan.files)}, plan.growth_rounds)


def payload(workshop, plan):
    """Updates of one large file."""
    def run(mebibytes):
        package = workshop.package(f"growth-{mebibytes}-mebibytes", int(mebibytes * MEBIBYTE) or 1)
        return update(workshop.programs, workshop.folder / "grown", workshop.folder / "fresh", package)
    sizes = {0: run(0), **{mebibytes: run(mebibytes) for mebibytes in plan.payload_mebibytes}}
    return series("payload, MiB", sizes, plan.growth_rounds)


def processor_time(programs, plan, benchmark):
    """Processor time of one iteration, in seconds. Each call runs a new process, whose heap is fresh."""
    done = subprocess.run([programs.package_reader_bench, f"--benchmark_filter=^{benchmark}$",
                           f"--benchmark_min_time={plan.reader_seconds}", "--benchmark_format=json"],
                          check=True, capture_output=True, text=True)
    [measured] = [run for run in json.loads(done.stdout)["benchmarks"] if run["run_type"] == "iteration"]
    return measured["cpu_time"] / 1e9


def readers(programs, plan):
    """Processor times of the readers of package.xml and of inventory results."""
    progress("growth: readers")
    times = {name: {str(size): [] for size in plan.elements} for name in _READERS}
    for _ in range(plan.repetitions):
        for size in plan.elements:
            for name, benchmark in _READERS.items():
                time = processor_time(programs, plan, f"{benchmark}/{size}")
                times[name][str(size)].append((time, time, 0))
    return [{"name": name, "samples": samples} for name, samples in times.items()]


def growth(workshop, plan):
    """All series."""
    return [devices(workshop, plan), files(workshop, plan), payload(workshop, plan),
            *readers(workshop.programs, plan)]
