#!/usr/bin/env python3
"""Prints our time as a ratio of each peer's, from Google Benchmark's JSON files.

A benchmark is called WORKLOAD/SUBJECT[/ARGUMENT…]. The subject `cul` is ours; what has the same
workload and arguments is its peer. Of repeated runs the medians are compared, and beside that
ratio stands the worst one: our slowest repetition against the peer's median.

With `--keep DIRECTORY` in front, the ratios are kept there too: all of them as ratios.json, and
those of each file as a FILE.data that scripts/chart.gp draws.
"""

import json
import pathlib
import re
import statistics
import sys

OURS = "cul"
# What Google Benchmark adds to a name to say how it measures.
SETTING = re.compile(r"(real|process|manual)_time$|(iterations|repeats|min_time|min_warmup_time):")


def times(paths):
    """(workload, arguments) -> subject -> times in nanoseconds, one for each repetition."""
    found = {}
    scale = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    for path in paths:
        with open(path, encoding="utf-8") as file:
            runs = json.load(file)["benchmarks"]
        for run in runs:
            if run.get("error_occurred"):
                sys.exit(f"{path}: {run['name']}: {run['error_message']}")
            if run["run_type"] != "iteration":
                continue
            workload, subject, *arguments = run["run_name"].split("/")
            clock = "real_time" if {"real_time", "manual_time"} & set(arguments) else "cpu_time"
            arguments = [a for a in arguments if not SETTING.match(a)]
            subjects = found.setdefault((workload, "/".join(arguments)), {})
            subjects.setdefault(subject, []).append(run[clock] * scale[run["time_unit"]])
    return found


def readable(nanoseconds):
    for unit in ("ns", "us", "ms"):
        if nanoseconds < 1000:
            return f"{nanoseconds:.3g} {unit}"
        nanoseconds /= 1000
    return f"{nanoseconds:.3g} s"


def by_number(case):
    """Sorts 4096 before 65536, and what belongs together side by side."""
    workload, arguments = case
    return workload, [(0, int(a), "") if a.isdigit() else (1, 0, a) for a in arguments.split("/")]


def comparisons(found):
    """Yields each of our cases beside each of its peers."""
    for workload, arguments in sorted(found, key=by_number):
        subjects = found[workload, arguments]
        ours = subjects.pop(OURS, None)
        if ours is None:
            continue
        for peer, theirs in sorted(subjects.items()):
            median = statistics.median(theirs)
            yield {"workload": workload, "arguments": arguments, "peer": peer,
                   "ours": statistics.median(ours), "theirs": median,
                   "ratio": statistics.median(ours) / median,
                   "worst": max(ours) / median}  # fmt: skip


def cells(row):
    return (row["workload"], row["arguments"], readable(row["ours"]), row["peer"],
            readable(row["theirs"]), f"{row['ratio']:.2f}", f"{row['worst']:.2f}")  # fmt: skip


def keep(directory, families):
    """Writes what a program, and what the chart, reads."""
    (directory / "ratios.json").write_text(json.dumps(families, indent=1) + "\n")
    for family, rows in families.items():
        lines = [f'"{r["workload"]} {r["arguments"]}/ {r["peer"]}"\t{r["ratio"]}\t{r["worst"]}\n'
                 for r in reversed(rows)]  # fmt: skip
        (directory / f"{family}.data").write_text("".join(lines))


def main():
    paths, directory = sys.argv[1:], None
    if paths[:1] == ["--keep"]:
        directory, paths = pathlib.Path(paths[1]), paths[2:]
    families = {pathlib.Path(path).stem: list(comparisons(times([path]))) for path in paths}
    table = [("workload", "arguments", "ours", "peer", "peer's", "ratio", "worst")]
    table += [cells(row) for rows in families.values() for row in rows]
    if len(table) == 1:
        sys.exit("no benchmark of ours stands beside a peer")
    widths = [max(map(len, column)) for column in zip(*table)]
    for row in table:
        print("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip())
    if directory is not None:
        keep(directory, families)
    return 0


if __name__ == "__main__":
    sys.exit(main())
