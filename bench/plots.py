"""The measurements as pictures, drawn by gnuplot."""

import shutil
import subprocess

from paired import median, progress
from report import GROWTH_GOAL, costs

_START = 'set terminal svg size 900,{height} dynamic background "white"\nset output "{file}"\n'


def data_block(name, rows):
    """The rows of a plot, inlined into the gnuplot script."""
    lines = "\n".join(" ".join(f'"{cell}"' if isinstance(cell, str) else f"{cell:.6g}" for cell in row) for row in rows)
    return f"${name} << END\n{lines}\nEND\n"


def comparison_plot(results):
    """Each ratio as a bar, each goal as a circle."""
    rows = []
    for comparison in results:
        job = comparison["ours"][0]
        own = median(comparison["samples"][job], "wall")
        for other, goal in comparison["goals"].items():
            if other in comparison["samples"]:
                ratio = own / median(comparison["samples"][other], "wall")
                label = f"{job} / {other}".replace("`", "")
                rows.append((float(len(rows)), ratio, goal if goal is not None else -1.0, label))
    return data_block("ratios", rows) + f"""
set title "Time of qrxupdate as a share of the other's (circles: goals)"
set xrange [0:*]
set yrange [{len(rows) - 0.5}:-0.5]
set grid xtics
set key off
set lmargin 45
set boxwidth 0.6
plot $ratios using (0):1:(0):2:($1-0.3):($1+0.3):ytic(4) with boxxyerror fill solid 0.5 linecolor rgb "#4477aa", \\
     $ratios using ($3 < 0 ? NaN : $3):1 with points pointtype 6 pointsize 1 linewidth 2 linecolor rgb "#cc3311"
"""


def growth_plot(results):
    """The cost per item as a share of that at the smallest number."""
    blocks, plots = "", []
    for index, series in enumerate(results):
        by_size = costs(series)
        smallest = min(by_size)
        blocks += data_block(f"series{index}", [(size / smallest, cost / by_size[smallest])
                                                for size, cost in sorted(by_size.items())])
        plots.append(f'$series{index} using 1:2 with linespoints linewidth 2 title "{series["name"]}"')
    return blocks + f"""
set title "Processor time per item, as a share of that at the smallest number"
set xlabel "times as many"
set logscale x
set yrange [0:*]
set grid
set key outside
plot {GROWTH_GOAL} with lines dashtype 2 linecolor rgb "#cc3311" title "goal", """ + ", \\\n  ".join(plots) + "\n"


def draw(results, folder):
    """Writes the pictures into the folder, if there is a gnuplot."""
    if shutil.which("gnuplot") is None:
        progress("no pictures: gnuplot is missing")
        return
    for name, height, script in (("comparisons.svg", 760, comparison_plot(results["comparisons"])),
                                 ("growth.svg", 420, growth_plot(results["growth"]))):
        subprocess.run(["gnuplot"], input=_START.format(height=height, file=folder / name) + script, text=True,
                       check=True)
