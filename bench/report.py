#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tells what the benchmarks measured.

usage: report.py rows FOLDER            the table of the programs' rows, as Markdown
       report.py client FOLDER          the table of the client's measures
       report.py publish FOLDER PAGE    both, written into PAGE between its marks, and a plot beside it

FOLDER holds what Google Benchmark wrote (*_bench.json) and what client_measures.py wrote
(client.json).
"""

import json
import pathlib
import re
import statistics
import subprocess
import sys


# ---- The programs' rows ----

class Rival:
    def __init__(self, role):
        self.kind, _, self.name = role.partition(" ")
        self.times = []
        self.target = 0

    def ratios(self, times):
        """The project's times over this rival's: of the medians, and the quartiles of the pairs."""
        pairs = [ours / theirs for ours, theirs in zip(times, self.times)]
        if len(pairs) > 1:
            low, _, high = statistics.quantiles(pairs, n=4)
        else:
            low = high = pairs[0]
        return statistics.median(times) / statistics.median(self.times), low, high


class Row:
    def __init__(self, path, workload):
        self.path, self.workload = path, workload
        self.times = []
        self.rivals = []

    def add(self, role, time, target):
        if role == "project":
            self.times.append(time)
            return
        if not any(role == f"{rival.kind} {rival.name}" for rival in self.rivals):
            self.rivals.append(Rival(role))
        rival = next(rival for rival in self.rivals if role == f"{rival.kind} {rival.name}")
        rival.times.append(time)
        rival.target = target

    def hardest(self):
        """The rival whose target is furthest from being met, or closest to being missed."""
        judged = [rival for rival in self.rivals if rival.target]
        return max(judged, key=lambda rival: rival.ratios(self.times)[0] / rival.target)


def read_rows(folder):
    rows = {}
    for path in sorted(folder.glob("*_bench.json")):
        runs = json.loads(path.read_text() or '{"benchmarks": []}')["benchmarks"]
        for run in sorted(runs, key=lambda run: run["family_index"]):
            if run.get("run_type") != "iteration":
                continue
            if run.get("error_occurred"):
                sys.exit(f"{run['name']}: {run['error_message']}")
            # Google Benchmark marks a benchmark with its own clock by two more words.
            name, own_clock, _ = run["run_name"].partition("/iterations:")
            measure = "real_time" if own_clock else "cpu_time"
            row, workload, role = name.rsplit("/", 2)
            rows.setdefault((row, workload), Row(row, workload)).add(
                role, run[measure], run.get("target", 0))
    rows = [row for row in rows.values() if row.times and row.rivals]
    return rows or sys.exit("Nothing was measured: no row's name fits.")


def time_text(nanoseconds):
    for unit, size in (("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def rows_table(rows):
    yield "| Path | Work | Project | Hardest rival | Ratio (quartiles) | Target | | Others |"
    yield "|---|---|--:|---|---|--:|---|---|"
    for row in rows:
        hardest = row.hardest()
        ratio, low, high = hardest.ratios(row.times)
        others = ", ".join(f"{rival.name} {rival.ratios(row.times)[0]:.2f}"
                           for rival in row.rivals if rival is not hardest)
        name = f"{hardest.name} {time_text(statistics.median(hardest.times))}"
        yield (f"| {row.path} | {row.workload} | {time_text(statistics.median(row.times))} | {name} "
               f"| {ratio:.2f} ({low:.2f}–{high:.2f}) | {hardest.target:g} "
               f"| {'met' if ratio <= hardest.target else '**missed**'} | {others} |")


# ---- The client's measures ----

def client_table(folder):
    yield "| Measure | Value | Target | | Beside it, in the same run |"
    yield "|---|--:|--:|---|---|"
    for measure in json.loads((folder / "client.json").read_text()):
        is_met = (measure["value"] >= measure["target"] if measure["at_least"]
                  else measure["value"] <= measure["target"])
        yield (f"| {measure['name']} | {measure['value']:.3g} {measure['unit']} "
               f"| {'≥' if measure['at_least'] else '≤'} {measure['target']:g} {measure['unit']} "
               f"| {'met' if is_met else '**missed**'} | {measure['beside']} |")


# ---- Publishing ----

PLOT = """
set terminal svg size 900,{height} font 'sans,12' background 'white'
set output '{output}'
set logscale x 2
set xlabel "the project's time / the time that the target allows (left of 1: met)"
set yrange [-0.6:{paths}-0.4]
set ytics out nomirror ({labels})
set grid x
set lmargin 28
set arrow from 1,-0.6 to 1,{paths}-0.4 nohead lw 2 lc rgb '#c0392b'
$rows << END
{data}END
plot $rows using 2:1:3:4 with xerrorbars pt 7 ps 0.5 lw 0.7 lc rgb '#1f5fa8' notitle
"""


def write_plot(rows, output):
    """One line a path, one point with its quartiles a row, the points of a path spread a little."""
    paths = list(dict.fromkeys(row.path for row in reversed(rows)))
    data = []
    for number, path in enumerate(paths):
        of_path = [row for row in rows if row.path == path]
        for place, row in enumerate(of_path):
            hardest = row.hardest()
            height = number + 0.35 - 0.7 * (place + 0.5) / len(of_path)
            shares = [ratio / hardest.target for ratio in hardest.ratios(row.times)]
            data.append(" ".join(f"{number:.4f}" for number in (height, *shares)) + "\n")
    labels = ", ".join(f"'{path}' {number}" for number, path in enumerate(paths))
    program = PLOT.format(height=90 + 45 * len(paths), output=output, paths=len(paths),
                          labels=labels, data="".join(data))
    subprocess.run(["gnuplot"], input=program, text=True, check=True)


def replace_between(text, mark, lines):
    begin, end = f"<!-- {mark}: begin -->\n", f"<!-- {mark}: end -->"
    pattern = re.compile(re.escape(begin) + ".*?" + re.escape(end), re.DOTALL)
    if not pattern.search(text):
        sys.exit(f"The page has no marks for: {mark}")
    return pattern.sub(lambda _: begin + "\n".join(lines) + "\n" + end, text)


def publish(folder, page):
    rows = read_rows(folder)
    text = replace_between(page.read_text(), "rows", rows_table(rows))
    page.write_text(replace_between(text, "client", client_table(folder)))
    write_plot(rows, page.with_suffix(".svg"))


def main(arguments):
    if len(arguments) == 2 and arguments[0] == "rows":
        print("\n".join(rows_table(read_rows(pathlib.Path(arguments[1])))))
    elif len(arguments) == 2 and arguments[0] == "client":
        print("\n".join(client_table(pathlib.Path(arguments[1]))))
    elif len(arguments) == 3 and arguments[0] == "publish":
        publish(pathlib.Path(arguments[1]), pathlib.Path(arguments[2]))
    else:
        sys.exit(__doc__)


main(sys.argv[1:])
