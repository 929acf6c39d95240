"""What one item costs when there are ten and a hundred times as many."""

import json
import subprocess

from comparisons import inventory, update
from paired import measure, tell
from workshop import MEBIBYTE

# Queries of package.xml, as bench/PackageReaderBench.cpp names them.
_QUERIES = {"supported devices": "supportedDevices", "names": "names", "dependencies": "dependenciesOfOneDevice"}
_PARSE_ALONE = "parseAndEvaluateDependencies"


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
    """Updates of many files of 1 KiB."""
    def run(number):
        package = workshop.package(f"growth-{number}-files", 1024 * max(number, 1), files=max(number, 1))
        return update(workshop.programs, workshop.folder / "grown", workshop.folder / "fresh", package)
    return series("files in a payload", {number: run(number) for number in (0, *plan.files)}, plan.growth_rounds)


def payload(workshop, plan):
    """Updates of one file of many bytes."""
    def run(mebibytes):
        package = workshop.package(f"growth-{mebibytes}-mebibytes", int(mebibytes * MEBIBYTE) or 1)
        return update(workshop.programs, workshop.folder / "grown", workshop.folder / "fresh", package)
    sizes = {0: run(0), **{mebibytes: run(mebibytes) for mebibytes in plan.payload_mebibytes}}
    return series("payload, MiB", sizes, plan.growth_rounds)


def package_readers(programs, plan):
    """Processor time of the queries of package.xml inside one process, in seconds, by query and number."""
    tell("growth: package description")
    names = "|".join((*_QUERIES.values(), _PARSE_ALONE))
    sizes = "|".join(str(size) for size in plan.elements)
    done = subprocess.run([programs.package_reader_bench, f"--benchmark_filter=^({names})/({sizes})$",
                           f"--benchmark_repetitions={plan.repetitions}", "--benchmark_min_time=0.02",
                           "--benchmark_enable_random_interleaving=true", "--benchmark_format=json"],
                          check=True, capture_output=True, text=True)
    times = {}
    for run in json.loads(done.stdout)["benchmarks"]:
        if run["run_type"] == "iteration":
            query, size = run["run_name"].split("/")
            times.setdefault(query, {}).setdefault(size, []).append(run["cpu_time"] / 1e9)
    return times


def growth(workshop, plan):
    """All series, and the queries' processor times beside that of the parse alone."""
    whole = [devices(workshop, plan), files(workshop, plan), payload(workshop, plan)]
    times = package_readers(workshop.programs, plan)
    inside = [{"name": name, "samples": {size: [[time, time, 0] for time in runs]
                                         for size, runs in times[query].items()}}
              for name, query in _QUERIES.items()]
    largest = str(max(plan.elements))
    dependencies = {"elements": int(largest), "query": times[_QUERIES["dependencies"]][largest],
                    "parse and evaluation": times[_PARSE_ALONE][largest], "goal": 1.2}
    return {"growth": whole + inside, "dependencies": dependencies}
