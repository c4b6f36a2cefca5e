#!/usr/bin/env python3
"""What ipav_bench measured, as tables: report.py RESULT.json

Of several runs of one measurement the shortest counts: what else the machine
does can only make one longer. Each measurement is compared with a plain walk, and
its growth is fitted: the least-squares slope of log(time) over log(size), from a
size of 1000 on.
"""

import json
import math
import sys
from collections import defaultdict

SMALLEST_FITTED = 1000


def microseconds(bench):
    factor = {"ns": 1e-3, "us": 1, "ms": 1e3, "s": 1e6}[bench["time_unit"]]
    return bench["cpu_time"] * factor


def read(path):
    """{(what, shape): {variant: {size: benchmark}}}"""
    with open(path, encoding="utf-8") as file:
        result = json.load(file)
    groups = defaultdict(lambda: defaultdict(dict))
    for bench in result["benchmarks"]:
        if bench.get("run_type") == "aggregate":
            continue
        what, shape, variant, size = bench["run_name"].split("/")[:4]
        sizes = groups[what, shape][variant]
        known = sizes.get(int(size), bench)
        sizes[int(size)] = min(known, bench, key=microseconds)
    return groups


def times_of(variants, variant):
    benches = variants.get(variant, {})
    return {size: microseconds(benches[size]) for size in sorted(benches)}


def growth(times):
    """The exponent, or None where too few sizes were measured."""
    points = [
        (math.log(size), math.log(time))
        for size, time in times.items()
        if size >= SMALLEST_FITTED
    ]
    if len(points) < 3:
        return None
    mean_x = sum(x for x, _ in points) / len(points)
    mean_y = sum(y for _, y in points) / len(points)
    over = sum((x - mean_x) * (y - mean_y) for x, y in points)
    return over / sum((x - mean_x) ** 2 for x, _ in points)


def print_group(what, shape, variants):
    ours = times_of(variants, "indexed")
    others = times_of(variants, "plain")
    print(f"\n### {what}: {shape}\n")
    print("| size | µs | µs, plain | times faster |")
    print("|" + " ---: |" * 4)
    for size, time in ours.items():
        row = [str(size), f"{time:.2f}", "", ""]
        if size in others:
            row[2:] = [f"{others[size]:.2f}", f"{others[size] / time:.2f}"]
        print("| " + " | ".join(row) + " |")
    exponent = growth(ours)
    if exponent is not None:
        print(f"\nGrowth from {SMALLEST_FITTED} on: n^{exponent:.2f}")


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    groups = read(sys.argv[1])
    for (what, shape), variants in groups.items():
        if "indexed" in variants:
            print_group(what, shape, variants)


if __name__ == "__main__":
    main()
