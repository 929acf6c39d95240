"""What one item costs when there are ten and a hundred times as many."""

import json
import subprocess

from comparisons import inventory, set_aside, update
from paired import measure, tell
from workshop import MEBIBYTE

# Queries of package.xml, and the parse and evaluation that each needs, as bench/PackageReaderBench.cpp names them.
_QUERIES = {"supported devices": ("supportedDevices", "parseOfSupportedDevices"), "names": ("names", "parseOfNames"),
            "dependencies": ("dependencies", "parseOfDependencies")}


def series(name, commands, rounds):
    """Samples by size; the size 0 is a run with next to nothing in it, whose cost is taken off the others."""
    tell(f"growth: {name}")
    samples = measure(commands, rounds)
    return {"name": name, "samples": {str(size): runs for size, runs in samples.items()}}


def devices(workshop, plan):
    """Inventories."""
    package = workshop.package("growth-inventory", 1)
    def run(number):
        root = workshop.chassis(f"growth-{number}-devices", workshop.inventory(max(number, 1)))
        return inventory(workshop.programs, root, package, workshop.folder / "report.xml")
    return series("devices", {number: run(number) for number in (0, *plan.devices)}, plan.growth_rounds)


def files(workshop, plan):
    """Updates of many files of 1 KiB.

    None is removed meanwhile: to make a new file, ext4 looks at every inode that was freed in the last minutes, one by
    one, and passes over it.
    """
    def run(number):
        package = workshop.package(f"growth-{number}-files", 1024 * max(number, 1), files=max(number, 1))
        return update(workshop.programs, workshop.folder / "grown-by-files", workshop.folder / "fresh", package,
                      dispose=set_aside)
    return series("files in a payload", {number: run(number) for number in (0, *plan.files)}, plan.growth_rounds)


def payload(workshop, plan):
    """Updates of one file of many bytes."""
    def run(mebibytes):
        package = workshop.package(f"growth-{mebibytes}-mebibytes", int(mebibytes * MEBIBYTE) or 1)
        return update(workshop.programs, workshop.folder / "grown", workshop.folder / "fresh", package)
    sizes = {0: run(0), **{mebibytes: run(mebibytes) for mebibytes in plan.payload_mebibytes}}
    return series("payload, MiB", sizes, plan.growth_rounds)


def processor_time(programs, plan, benchmark):
    """Processor time of one iteration, in seconds, in a process of its own: none meets the heap that another left."""
    done = subprocess.run([programs.package_reader_bench, f"--benchmark_filter=^{benchmark}$",
                           f"--benchmark_min_time={plan.query_seconds}", "--benchmark_format=json"],
                          check=True, capture_output=True, text=True)
    [measured] = [run for run in json.loads(done.stdout)["benchmarks"] if run["run_type"] == "iteration"]
    return measured["cpu_time"] / 1e9


def package_readers(programs, plan):
    """Processor times of the queries of package.xml, and of their parse alone, in turn; by benchmark and number."""
    tell("growth: package description")
    names = [name for pair in _QUERIES.values() for name in pair]
    times = {name: {size: [] for size in plan.elements} for name in names}
    for _ in range(plan.repetitions):
        for size in plan.elements:
            for name in names:
                times[name][size].append(processor_time(programs, plan, f"{name}/{size}"))
    return times


def inside(name, times):
    """A series of processor times."""
    return {"name": name, "samples": {str(size): [[time, time, 0] for time in runs] for size, runs in times.items()}}


def growth(workshop, plan):
    """All series, and the queries' processor times beside that of the parse alone."""
    whole = [devices(workshop, plan), files(workshop, plan), payload(workshop, plan)]
    times = package_readers(workshop.programs, plan)
    readers = []
    for name, (query, parse) in _QUERIES.items():
        readers += [inside(name, times[query]), inside(f"{name}: parse and evaluation alone", times[parse]) | {"goal": None}]
    largest = max(plan.elements)
    query, parse = _QUERIES["dependencies"]
    dependencies = {"elements": largest, "query": times[query][largest], "parse and evaluation": times[parse][largest],
                    "goal": 1.2}
    return {"growth": whole + readers, "dependencies": dependencies}
