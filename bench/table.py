#!/usr/bin/env python3
"""Runs benchmark programs and prints a table of the medians: what the library takes, what each peer
takes, and the ratio of the two.

usage: table.py FOLDER [FILTER]
    FOLDER   holds the programs, whose names end in _bench
    FILTER   a regular expression; only benchmarks that it matches are run
"""

import json
import pathlib
import subprocess
import sys
import tempfile

OURS = "zentova"
REPETITIONS = 9
NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


def medians(program, pattern):
    """Benchmark name to CPU time in nanoseconds. Runs of peers alternate, so that a slower spell of
    the machine falls on all of them."""
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(
            [program.resolve(), f"--benchmark_filter={pattern}", f"--benchmark_repetitions={REPETITIONS}",
             "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.1",
             "--benchmark_out=result.json"],
            cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
        text = pathlib.Path(folder, "result.json").read_text()
    entries = json.loads(text)["benchmarks"] if text else []
    found = {}
    for entry in sorted(entries, key=lambda one: (one["family_index"], one["per_family_instance_index"])):
        if entry.get("error_occurred"):
            sys.exit(f"{entry['name']}: {entry['error_message']}")
        if entry.get("aggregate_name") == "median":
            found[entry["run_name"]] = entry["cpu_time"] * NANOSECONDS[entry["time_unit"]]
    return found


def readable(nanoseconds):
    for unit in reversed(NANOSECONDS):
        if nanoseconds >= NANOSECONDS[unit]:
            return f"{nanoseconds / NANOSECONDS[unit]:.3g} {unit}"
    return f"{nanoseconds:.2g} ns"


def rows(times):
    """One row for each peer of a subject, or one without a peer."""
    subjects = {}
    for name, time in times.items():
        parts = [part for part in name.split("/") if not part.startswith(("iterations:", "repeats:"))]
        subject, who, *size = parts
        subjects.setdefault(", ".join([subject, *size]), {})[who] = time
    for subject, by_who in subjects.items():
        ours = by_who.pop(OURS)
        for peer, time in by_who.items():
            yield subject, readable(ours), peer, readable(time), f"{ours / time:.2f}"
        if not by_who:
            yield subject, readable(ours), "", "", ""


def main():
    folder, pattern = pathlib.Path(sys.argv[1]), (sys.argv[2:] or ["."])[0]
    print("| subject | zentova | peer | peer's time | ratio |")
    print("|---|---:|---|---:|---:|")
    for program in sorted(folder.glob("*_bench")):
        for row in rows(medians(program, pattern)):
            print("|", " | ".join(row), "|", flush=True)


main()
