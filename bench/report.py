#!/usr/bin/env python3
"""Tables of what ipav_bench measured: report.py RESULT.json

Each measurement is compared with the variant beside it (a plain walk, or the
platform calls alone), and its growth is fitted: the least-squares slope of
log(time) over log(size), from a size of 1000 on.
"""

import json
import math
import sys
from collections import defaultdict

SMALLEST_FITTED = 1000


def read(path):
    """{(what, shape): {variant: {size: benchmark}}}"""
    with open(path, encoding="utf-8") as file:
        result = json.load(file)
    groups = defaultdict(lambda: defaultdict(dict))
    for bench in result["benchmarks"]:
        if bench.get("run_type") == "aggregate":
            if bench["aggregate_name"] != "median":
                continue
        elif bench.get("repetitions", 1) > 1:
            continue
        what, shape, variant, size = bench["run_name"].split("/")[:4]
        groups[what, shape][variant][int(size)] = bench
    return groups


def microseconds(bench):
    factor = {"ns": 1e-3, "us": 1, "ms": 1e3, "s": 1e6}[bench["time_unit"]]
    return bench["cpu_time"] * factor


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
    ours = {size: microseconds(b) for size, b in variants["indexed"].items()}
    other = next((v for v in ("plain", "replay") if v in variants), None)
    others = {s: microseconds(b) for s, b in variants.get(other, {}).items()}
    counters = [
        (bench, name)
        for variant, name in (
            ("indexed", "allocations each"),
            ("replay", "calls each"),
        )
        if (bench := variants.get(variant))
    ]
    counters = [c for c in counters if c[1] in next(iter(c[0].values()))]

    print(f"\n### {what}: {shape}\n")
    ratio = "times faster" if other == "plain" else "times the replay"
    head = ["size", "µs", f"µs, {other}", ratio] + [n for _, n in counters]
    print("| " + " | ".join(head) + " |")
    print("|" + " ---: |" * len(head))
    for size in sorted(ours):
        row = [str(size), f"{ours[size]:.1f}"]
        if size in others:
            quotient = others[size] / ours[size]
            if other == "replay":
                quotient = 1 / quotient
            row += [f"{others[size]:.1f}", f"{quotient:.2f}"]
        else:
            row += ["", ""]
        row += [f"{b[size][name]:.1f}" for b, name in counters]
        print("| " + " | ".join(row) + " |")
    exponent = growth(ours)
    if exponent is not None:
        print(f"\nGrowth from {SMALLEST_FITTED} on: n^{exponent:.2f}")


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    for (what, shape), variants in read(sys.argv[1]).items():
        if "indexed" in variants:
            print_group(what, shape, variants)


if __name__ == "__main__":
    main()
