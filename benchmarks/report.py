#!/usr/bin/env python3
"""Prints what was measured as one table in Markdown: report.py FOLDER

Looks in the folder for process.json (written by Google Benchmark), programs.json (by
measure_programs.py) and memory.tsv (by MemoryFigures)."""

import json
import pathlib
import sys

# The largest ratio to the floor, by the beginning of the measure's name.
RATIO_GOALS = {
    "empty event": 1.05,
    "getProperty": 1.10,
    "setProperty": 1.10,
    "resolve of 1,000 instances": 0.80,
    "resolve of 10,000 instances": 0.80,
}
# The same for every measure whose name ends with "peak memory".
MEMORY_GOAL = 1.0
# What 1,000 repetitions may leave on the heap, in bytes: some hundred come and go with the seeds of
# the hashes; the smallest thing that each repetition forgets would be 24,000.
GROWTH_GOAL = 5000
# The largest figure of our own, in the measure's unit.
OWN_GOALS = {"configscript --version": 0.015, "resolve of 10,000 instances, in times of 1,000": 10.5}


def process_rows(path):
    """The medians of processor time in seconds, from names that end with /ours and /floor."""
    scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
    rows = {}
    # They ran in random order; the table is in that of the sources.
    results = json.loads(path.read_text())["benchmarks"]
    for result in sorted(results, key=lambda result: result["family_index"]):
        if result.get("aggregate_name") == "median":
            measure, side = result["run_name"].rsplit("/", 1)
            row = rows.setdefault(measure, {"measure": measure, "unit": "s"})
            row[side] = result["cpu_time"] * scale[result["time_unit"]]
    return list(rows.values())


def memory_rows(path):
    rows = []
    for line in path.read_text().splitlines():
        measure, ours, floor = line.split("\t")
        row = {"measure": measure, "unit": "bytes", "ours": float(ours)}
        if floor != "-":
            row["floor"] = float(floor)
        rows.append(row)
    return rows


def figure(value, unit):
    if value is None:
        return ""
    if unit == "s":
        for name, factor in (("s", 1), ("ms", 1e3), ("µs", 1e6)):
            if value * factor >= 1:
                return f"{value * factor:.3g} {name}"
        return f"{value * 1e9:.3g} ns"
    if unit == "bytes":
        return f"{value / 2**20:.1f} MiB" if value >= 2**20 else f"{value:,.0f} bytes"
    return f"{value:.2f}"


def goal(row):
    """The goal in words, and whether it holds; nothing for a measure that has none."""
    measure, ours, floor = row["measure"], row["ours"], row.get("floor")
    if measure in OWN_GOALS:
        most = OWN_GOALS[measure]
        return f"≤ {figure(most, row['unit'])}", ours <= most
    if measure.endswith("heap bytes added"):
        return f"≤ {GROWTH_GOAL:,} bytes", ours <= GROWTH_GOAL
    if floor is None or measure.endswith("processor time"):
        return None
    if measure.endswith("peak memory"):
        return f"≤ {MEMORY_GOAL:.2f}", ours <= MEMORY_GOAL * floor
    for beginning, most in RATIO_GOALS.items():
        if measure.startswith(beginning):
            return f"≤ {most:.2f}", ours <= most * floor
    return None


def cells(row):
    ours, floor, node = (row.get(side) for side in ("ours", "floor", "node"))
    described = goal(row)
    return [row["measure"],
            figure(ours, row["unit"]),
            figure(floor, row["unit"]),
            f"{ours / floor:.2f}" if floor else "",
            figure(node, row["unit"]),
            described[0] if described else "",
            ("yes" if described[1] else "**no**") if described else ""]


def main():
    folder = pathlib.Path(sys.argv[1])
    rows = []
    for name, read in (("process.json", process_rows),
                       ("programs.json", lambda path: json.loads(path.read_text())),
                       ("memory.tsv", memory_rows)):
        if (folder / name).exists():
            rows += read(folder / name)

    print("| measure | ours | floor | ratio | Node.js | goal | holds |")
    print("| --- | ---: | ---: | ---: | ---: | ---: | --- |")
    for row in rows:
        print("| " + " | ".join(cells(row)) + " |")


main()
