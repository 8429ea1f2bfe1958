#!/usr/bin/env python3
"""Measures whole programs: measure_programs.py PROGRAMS FOLDER RESULT [--quick]

PROGRAMS is the folder of the programs, FOLDER where the projects go, on the disk that is to be
measured, and RESULT a JSON file: an array of objects with "measure", "unit" ("s", "bytes" or "")
and the figures "ours", "floor" and, if there is Node.js, "node".

Every round runs each program once, in an order that rotates, on a fresh copy of the same project;
the figures are the medians of the rounds. Programs whose results differ are not measured."""

import argparse
import json
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

# Instances to rounds, and to the seconds after which no further round begins.
PLAN = {10: (15, 30), 100: (9, 60), 1000: (5, 150), 10000: (3, 240)}
QUICK_PLAN = {10: (5, 10), 100: (3, 20), 1000: (3, 60)}
# Where the wrapper that measures memory costs nothing beside what it runs.
LEAST_COUNT_FOR_MEMORY = 1000

here = pathlib.Path(__file__).resolve().parent


def progress(text):
    print(text, file=sys.stderr, flush=True)


class Run:
    """One run of a program: seconds of wall and of processor time, and bytes at the peak."""

    def __init__(self, command, prepare=None, with_memory=False):
        self.peak = None
        with tempfile.TemporaryDirectory() as folder:
            times = pathlib.Path(folder, "times.json")
            memory = pathlib.Path(folder, "memory")
            if with_memory:
                command = f"/usr/bin/time --format %M --output {memory} {command}"
            arguments = ["hyperfine", "--shell=none", "--runs", "1", "--style", "none",
                         "--export-json", str(times)]
            if prepare:
                arguments += ["--prepare", prepare]
            subprocess.run(arguments + [command], check=True, stdout=subprocess.DEVNULL,
                           stderr=subprocess.PIPE, text=True)
            result = json.loads(times.read_text())["results"][0]
            self.wall = result["times"][0]
            self.processor = result["user"] + result["system"]
            if with_memory:
                self.peak = int(memory.read_text().split()[-1]) * 1024


def rounds(contestants, count, run, seconds=float("inf")):
    """The runs of each contestant, by name, after each round; in each another one begins. Ends early
    when the seconds are over."""
    runs = {name: [] for name in contestants}
    names = list(contestants)
    end = time.monotonic() + seconds
    for number in range(count):
        if number > 0 and time.monotonic() > end:
            progress(f"  ended after {number} rounds: they take long")
            break
        first = number % len(names)
        for name in names[first:] + names[:first]:
            runs[name].append(run(name))
        yield runs


def row(measure, unit, runs, figure):
    medians = {name: statistics.median(map(figure, of_name)) for name, of_name in runs.items()}
    return {"measure": measure, "unit": unit, **medians}


def measure_start(contestants, round_count):
    progress("configscript --version")
    for runs in rounds(contestants, round_count, lambda name: Run(contestants[name])):
        pass
    return [row("configscript --version", "s", runs, lambda run: run.wall)]


def measure_resolve(programs, folder, commands, count, round_count, seconds):
    progress(f"resolve of {count:,} instances, up to {round_count} rounds")
    pristine = folder / "pristine"
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    # Where many files were deleted within the last minutes, ext4 searches long for a place for new
    # ones, which a user's single run seldom meets. So nothing is deleted before the end, and ext4 is
    # asked to keep what is in this folder far from each other.
    subprocess.run(["chattr", "+T", folder], stderr=subprocess.DEVNULL)
    subprocess.run([programs / "ProjectGenerator", pristine, str(count)], check=True)
    works = {}

    def run(name):
        work = works[name] = tempfile.mkdtemp(prefix=f"{name}-", dir=folder)
        prepare = f"cp -a '{pristine}/.' '{work}' && sync -f '{work}'"
        return Run(f"{commands[name]} {work}", f'bash -c "{prepare}"',
                   count >= LEAST_COUNT_FOR_MEMORY)

    def compare():
        results = works.values()
        if subprocess.run([here / "compare_projects.py", pristine, *results]).returncode != 0:
            sys.exit("Not measured: the programs do not do the same.")

    # Small projects once for nothing: the programs come from memory afterwards.
    if count < LEAST_COUNT_FOR_MEMORY:
        for name in commands:
            run(name)
        compare()
    for runs in rounds(commands, round_count, run, seconds):
        compare()
    shutil.rmtree(folder)

    measure = f"resolve of {count:,} instances"
    rows = [row(measure, "s", runs, lambda run: run.wall),
            row(f"{measure}, processor time", "s", runs, lambda run: run.processor)]
    if count >= LEAST_COUNT_FOR_MEMORY:
        rows.append(row(f"{measure}, peak memory", "bytes", runs, lambda run: run.peak))
    return rows


def growth(rows, small, large):
    """How many times as long the large project takes as the small one."""
    walls = {entry["measure"]: entry for entry in rows}
    few = walls[f"resolve of {small:,} instances"]
    many = walls[f"resolve of {large:,} instances"]
    figures = {name: many[name] / few[name] for name in ("ours", "floor", "node") if name in few}
    return {"measure": f"resolve of {large:,} instances, in times of {small:,}", "unit": "",
            **figures}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("programs", type=pathlib.Path)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("result", type=pathlib.Path)
    parser.add_argument("--quick", action="store_true")
    options = parser.parse_args()
    programs = options.programs.resolve()
    folder = options.folder.resolve()

    starts = {"ours": f"{programs}/configscript --version", "floor": f"{programs}/PlainStart"}
    commands = {"ours": f"{programs}/configscript resolve", "floor": f"{programs}/PlainResolve"}
    node = shutil.which("node")
    if node:
        starts["node"] = f"{node} -e 0"
        commands["node"] = f"{node} {here}/resolve.js"

    rows = measure_start(starts, 10 if options.quick else 40)
    plan = QUICK_PLAN if options.quick else PLAN
    for count, (round_count, seconds) in plan.items():
        rows += measure_resolve(programs, folder, commands, count, round_count, seconds)
    if 10000 in plan:
        rows.append(growth(rows, 1000, 10000))
    options.result.write_text(json.dumps(rows, indent=1))


try:
    main()
except subprocess.CalledProcessError as error:
    sys.exit(f"Not measured: {error}\n{error.stderr or ''}")
