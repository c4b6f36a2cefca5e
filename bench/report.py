#!/usr/bin/env python3
"""What ipav_bench measured, as tables: report.py RESULT.json [FOLDER]

Of several runs of one measurement the shortest counts: what else the machine
does can only make one longer. Each measurement is compared with the variant
beside it (a plain walk, or the platform calls alone), and its growth is fitted:
the least-squares slope of log(time) over log(size), from a size of 1000 on.
With a folder, the plots of growth are drawn into it: rules.svg, callbacks.svg.
"""

import json
import math
import sys
from collections import defaultdict
from pathlib import Path

import plot

SMALLEST_FITTED = 1000

# What a plot shows: its file, its title, the variant beside the plug-in, the
# text for it, and the measurements by (what, shape) with their labels.
PLOTS = (
    (
        "rules.svg",
        "Rules alone",
        "plain",
        "plain walk",
        {
            ("rule IPv4 addresses", "1 VRF, clean"): "IPv4 addresses",
            ("rule IPv6 addresses", "1 VRF, clean"): "IPv6 addresses",
            ("rule OSPFv2 addresses", "4 rows each"): "OSPFv2 addresses",
        },
    ),
    (
        "callbacks.svg",
        "Whole callbacks",
        "replay",
        "platform calls alone",
        {
            ("callback ipv4_addr", "1 VRF, clean"): "ipv4_addr",
            ("callback ipv4_addr_route", "10 interfaces"): "ipv4_addr_route",
            ("callback ipv4_addr_cross_prot", "4 rows each"): "ipv4_addr_cross_prot",
        },
    ),
)


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


def counters_of(variants):
    """What is counted beside the time: (variant, name)"""
    counters = (("indexed", "allocations each"), ("replay", "calls each"))
    return [
        (variant, name)
        for variant, name in counters
        if any(name in bench for bench in variants.get(variant, {}).values())
    ]


def print_group(what, shape, variants):
    ours = times_of(variants, "indexed")
    other = next((v for v in ("plain", "replay") if v in variants), "plain")
    others = times_of(variants, other)
    counters = counters_of(variants)

    print(f"\n### {what}: {shape}\n")
    ratio = "times faster" if other == "plain" else "times the replay"
    head = ["size", "µs", f"µs, {other}", ratio] + [n for _, n in counters]
    print("| " + " | ".join(head) + " |")
    print("|" + " ---: |" * len(head))
    for size, time in ours.items():
        row = [str(size), f"{time:.2f}", "", ""]
        if size in others:
            quotient = others[size] / time
            if other == "replay":
                quotient = 1 / quotient
            row[2:] = [f"{others[size]:.2f}", f"{quotient:.2f}"]
        row += [f"{variants[v][size][name]:.1f}" for v, name in counters]
        print("| " + " | ".join(row) + " |")
    exponent = growth(ours)
    if exponent is not None:
        print(f"\nGrowth from {SMALLEST_FITTED} on: n^{exponent:.2f}")


def draw(groups, folder):
    for name, title, other, other_text, labels in PLOTS:
        series = []
        for key, label in labels.items():
            variants = groups.get(key, {})
            series.append(
                plot.Series(
                    label, times_of(variants, "indexed"), times_of(variants, other)
                )
            )
        text = plot.svg(title, "plug-in", other_text, series)
        (folder / name).write_text(text, encoding="utf-8")


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    groups = read(sys.argv[1])
    for (what, shape), variants in groups.items():
        if "indexed" in variants:
            print_group(what, shape, variants)
    if len(sys.argv) == 3:
        draw(groups, Path(sys.argv[2]))


if __name__ == "__main__":
    main()
