"""The measurements as Markdown."""

from paired import median

from comparisons import OURS


def ratio_text(value, goal):
    """A ratio, and whether it is within its goal."""
    if goal is None:
        return f"{value:.2f} | none"
    return f"{value:.2f} | {'' if value <= goal else '**missed** '}{goal:.1f}"


def milliseconds(seconds):
    """A time as the tables show it."""
    return f"{seconds * 1000:,.1f}"


def comparison_rows(comparison):
    """A line per command that the program is compared with."""
    samples = comparison["samples"]
    own = {quantity: median(samples[OURS], quantity) for quantity in ("wall", "cpu", "peak")}
    for other, goal in comparison["goals"].items():
        if other in comparison["missing"]:
            yield f"| {comparison['name']} | {other} | not measured: missing {', '.join(comparison['missing'][other])} |||||||"
            continue
        wall, cpu, peak = (median(samples[other], quantity) for quantity in ("wall", "cpu", "peak"))
        yield (f"| {comparison['name']} | {other} | {milliseconds(own['wall'])} | {milliseconds(wall)} | "
               f"{ratio_text(own['wall'] / wall, goal)} | {own['cpu'] / cpu:.2f} | "
               f"{own['peak'] / 1024:.1f} | {peak / 1024:.1f} |")


def comparisons(results):
    """The comparisons' table."""
    head = ["| Job | Beside | Ours (ms) | Other (ms) | Ratio | Goal | Ratio of processor times | Ours (MiB) | Other (MiB) |",
            "|---|---|---:|---:|---:|---:|---:|---:|---:|"]
    return head + [row for comparison in results for row in comparison_rows(comparison)]


def dependency_line(measured):
    """The dependencies beside the parse and evaluation that they need."""
    own, base = (sorted(measured[name])[len(measured[name]) // 2] for name in ("query", "parse and evaluation"))
    ratio = own / base
    verdict = "within" if ratio <= measured["goal"] else "**missed:**"
    return (f"{measured['elements']:,} dependencies take {milliseconds(own)} ms of processor time, their parse and "
            f"evaluation alone {milliseconds(base)} ms: {ratio:.2f} x ({verdict} the goal of {measured['goal']} x).")


def costs(series, quantity="cpu"):
    """Cost per item by size, without what a run with nothing in it takes."""
    samples = series["samples"]
    nothing = median(samples["0"], quantity) if "0" in samples else 0
    return {float(size): (median(runs, quantity) - nothing) / float(size)
            for size, runs in samples.items() if size != "0"}


def worst_growth(by_size):
    """How many times as much as at a smaller size an item costs at a larger one, at worst."""
    sizes = sorted(by_size)
    return max((by_size[larger] / by_size[smaller] for index, smaller in enumerate(sizes)
                for larger in sizes[index + 1:]), default=1.0)


def growth(results):
    """The growth table."""
    yield "| Of what | Numbers | Processor time per item (µs) | Time per item (µs) | Growth | Goal |"
    yield "|---|---|---|---|---:|---:|"
    for series in results:
        processor, wall = costs(series), costs(series, "wall")
        numbers, times, waits = (" / ".join(texts) for texts in (
            [f"{size:,g}" for size in processor], [f"{cost * 1e6:,.2f}" for cost in processor.values()],
            [f"{cost * 1e6:,.2f}" for cost in wall.values()]))
        yield f"| {series['name']} | {numbers} | {times} | {waits} | {ratio_text(worst_growth(processor), series.get('goal', 1.5))} |"


def instructions(results):
    """The table of instruction counts."""
    if "missing" in results:
        yield f"Not measured: missing {', '.join(results['missing'])}."
        return
    base = results["counts"][results["base"]]
    yield f"| Run | Instructions | Of {results['base']} |"
    yield "|---|---:|---:|"
    for name, number in results["counts"].items():
        yield f"| {name} | {number:,} | {number / base:.2f} |"


def markdown(results):
    """Everything, as the lines of a page."""
    setting = results["setting"]
    yield f"Measured on {setting['date']} with `{setting['command']}`: {setting['machine']}; load average " \
          f"{setting['load before']} before and {setting['load after']} after."
    yield ""
    yield "### Beside stock tools"
    yield ""
    yield "Medians of whole processes that ran in turn, after a warm-up. The ratio is ours to the other's. The least " \
          f"memory that can be told is that of the timer, {setting['timer'] / 1024:.1f} MiB."
    yield ""
    yield from comparisons(results["comparisons"])
    yield ""
    yield dependency_line(results["dependencies"])
    yield ""
    yield "### Growth"
    yield ""
    yield "What a run with nothing in it takes is taken off. The growth is that of the processor time, from a smaller " \
          "number to a larger one, at worst."
    yield ""
    yield from growth(results["growth"])
    yield ""
    yield "### Instructions"
    yield ""
    yield from instructions(results["instructions"])
