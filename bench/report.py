"""The measurements as Markdown tables."""

from paired import median

GROWTH_GOAL = 1.5
_MEMORY_GOAL = 24  # MiB, for an update of any size


def ratio_text(value, goal):
    """A ratio, its goal, and a mark if it misses the goal."""
    if goal is None:
        return f"{value:.2f} | none"
    return f"{value:.2f} | {'' if value <= goal else '**missed** '}{goal:g}"


def milliseconds(seconds):
    """A time as the table shows it."""
    return f"{seconds * 1000:,.1f}"


def memory_text(job, kibibytes):
    """A peak of ours, with a mark if it misses the goal, which only updates have."""
    mebibytes = kibibytes / 1024
    missed = "`-u`" in job and mebibytes > _MEMORY_GOAL
    return f"{'**missed** ' if missed else ''}{mebibytes:.1f}"


def comparison_rows(comparison):
    """A row for each pair of our commands and others; only the first of ours has goals."""
    samples = comparison["samples"]
    for index, job in enumerate(comparison["ours"]):
        own = {quantity: median(samples[job], quantity) for quantity in ("wall", "cpu", "peak")}
        for other, goal in comparison["goals"].items():
            if other in comparison["missing"]:
                yield f"| {job} | {other} | not measured: missing {', '.join(comparison['missing'][other])} ||||||||"
                continue
            wall, cpu, peak = (median(samples[other], quantity) for quantity in ("wall", "cpu", "peak"))
            time_goal, processor_goal = (goal, comparison["processor goals"].get(other)) if index == 0 else (None, None)
            yield (f"| {job} | {other} | {milliseconds(own['wall'])} | {milliseconds(wall)} | "
                   f"{ratio_text(own['wall'] / wall, time_goal)} | {ratio_text(own['cpu'] / cpu, processor_goal)} | "
                   f"{memory_text(job, own['peak'])} | {peak / 1024:.1f} |")


def comparisons(results):
    """The table that the performance page shows, with the setting."""
    setting = results["setting"]
    yield f"Measured on {setting['date']} with `{setting['command']}`: {setting['machine']}; load average " \
          f"{setting['load before']} before and {setting['load after']} after. The timer itself holds " \
          f"{setting['timer'] / 1024:.1f} MiB; no smaller figure for memory is possible."
    yield ""
    yield "| Job | Compared with | Ours (ms) | Other (ms) | Ratio | Goal | Processor time ratio | Goal | " \
          "Ours (MiB) | Other (MiB) |"
    yield "|---|---|---:|---:|---:|---:|---:|---:|---:|---:|"
    for comparison in results["comparisons"]:
        yield from comparison_rows(comparison)


def costs(series, quantity="cpu"):
    """Cost per item by size, less the cost of a run with nothing in it."""
    samples = series["samples"]
    nothing = median(samples["0"], quantity) if "0" in samples else 0
    return {float(size): (median(runs, quantity) - nothing) / float(size)
            for size, runs in samples.items() if size != "0"}


def worst_growth(by_size):
    """The largest ratio between the costs of an item at a larger and at a smaller size."""
    sizes = sorted(by_size)
    return max((by_size[larger] / by_size[smaller] for index, smaller in enumerate(sizes)
                for larger in sizes[index + 1:]), default=1.0)


def growth(results):
    """The growth table."""
    yield "| Items | Numbers | Processor time per item (µs) | Time per item (µs) | Growth | Goal |"
    yield "|---|---|---|---|---:|---:|"
    for series in results["growth"]:
        processor, wall = costs(series), costs(series, "wall")
        numbers, times, waits = (" / ".join(texts) for texts in (
            [f"{size:,g}" for size in processor], [f"{cost * 1e6:,.2f}" for cost in processor.values()],
            [f"{cost * 1e6:,.2f}" for cost in wall.values()]))
        yield f"| {series['name']} | {numbers} | {times} | {waits} | {ratio_text(worst_growth(processor), GROWTH_GOAL)} |"
