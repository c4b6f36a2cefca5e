#!/usr/bin/env python3
"""`ipav check` of one changed address beside `yanglint` over the same data.

check.py IPAV [--sizes 256,1000,...] [--runs N] [--format xml|json]

Each row is one size, the last line a fleet. ipav reads a running configuration and a candidate, judges
the one against the other and answers; yanglint reads, validates and forgets the
candidate, against the same modules. They run in turns; the figures are the least
time of the wall clock and of the processor, as other work can only make a run
longer, and the peak of memory. Sizes from 10,000 on have fewer runs.

On a busy machine the processor's time is the one to look at. "both files" is
the ratio of that time to that of yanglint over both files one after another.

The fleet is of 100 devices of 256 interfaces (bench/fleet/generate.py): one run
of ipav, and a yanglint for each candidate.

Two measures of memory, as ipav runs the plug-in in a process of its own:
"one" is the resident set of the largest process, which counts pages that it
shares with its parent; "all" is the proportional set of all processes together,
sampled in a run of its own that is not timed.
"""

import argparse
import json
import os
import subprocess
import sys
import tempfile
import time

import generate

SIZES = "10,256,1000,10000,100000"
DEVICES = 100


def yanglint(yang, files):
    modules = sorted(
        os.path.join(yang, name)
        for name in os.listdir(yang)
        if name.endswith(".yang")
    )
    path = ["-p", yang, "-p", os.path.join(yang, "stubs")]
    return ["yanglint", "-t", "config", *path, *modules, *files]


def run(command):
    """Seconds on the clock, seconds of processor."""
    begin = time.monotonic()
    process = subprocess.Popen(
        command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT
    )
    output = process.stdout.read()
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.monotonic() - begin
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode not in (0, 1):  # a refused device of the fleet
        sys.exit(f"{' '.join(command)}\n{output.decode()}")
    return seconds, usage.ru_utime + usage.ru_stime


def peak(command):
    """MiB of the largest process. By time(1): a child of this interpreter
    would start with the interpreter's size for its peak."""
    with tempfile.NamedTemporaryFile("r") as report:
        subprocess.run(
            ["/usr/bin/time", "-f", "%M", "-o", report.name, *command],
            stdout=subprocess.DEVNULL,
            check=True,
        )
        return int(report.read()) / 1024


def family(pid):
    """A process and all that descend from it."""
    yield pid
    try:
        with open(f"/proc/{pid}/task/{pid}/children", encoding="ascii") as file:
            for child in file.read().split():
                yield from family(int(child))
    except OSError:
        pass  # it ended meanwhile


def proportional(pid):
    """MiB of a process, a page of n processes being an n-th of each."""
    try:
        with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as file:
            for line in file:
                if line.startswith("Pss:"):
                    return int(line.split()[1]) / 1024
    except OSError:
        pass
    return 0.0


def sampled_peak(command):
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    peak = 0.0
    while process.poll() is None:
        peak = max(peak, sum(proportional(p) for p in family(process.pid)))
        time.sleep(0.002)
    return peak


def in_turns(commands, runs):
    """{name: [(seconds, cpu)]}"""
    taken = {name: [] for name in commands}
    for _ in range(runs):
        for name, command in commands.items():
            taken[name].append(run(command))
    return taken


def measure(commands, runs):
    """{name: seconds, cpu, one, all} of commands that run in turns."""
    taken = in_turns(commands, runs)
    return {
        name: {
            "seconds": min(t[0] for t in taken[name]),
            "cpu": min(t[1] for t in taken[name]),
            "one": peak(command),
            "all": sampled_peak(command),
        }
        for name, command in commands.items()
    }


def measure_fleet(ipav, yang, here, runs):
    with tempfile.TemporaryDirectory() as folder:
        devices = os.path.join(folder, "devices")
        generator = os.path.join(here, "..", "fleet", "generate.py")
        subprocess.run(
            [generator, str(DEVICES), "256", devices], check=True
        )
        loop = 'for device in "$0"/*; do "$@" "$device/candidate.xml"; done'
        commands = {
            "ipav": [ipav, "check", "--quiet", devices],
            "yanglint": ["sh", "-c", loop, devices, *yanglint(yang, [])],
        }
        taken = in_turns(commands, runs)
    cpu = {name: min(t[1] for t in taken[name]) / DEVICES for name in commands}
    print(
        f"\nfleet, CPU ms of a device: ipav {cpu['ipav'] * 1000:.1f}, "
        f"yanglint {cpu['yanglint'] * 1000:.1f}, "
        f"ratio {cpu['ipav'] / cpu['yanglint']:.2f}"
    )


HEAD = [
    "interfaces", "ipav, s", "yanglint, s", "ratio",
    "ipav, CPU s", "yanglint, CPU s", "ratio", "both files",
    "ipav, MiB", "yanglint, MiB", "ratio", "all, ratio",
]  # fmt: skip


def row(size, figures):
    ours, other = figures["ipav"], figures["yanglint"]
    both = figures["yanglint, both files"]
    ratios = {what: ours[what] / other[what] for what in ours}
    return [
        str(size),
        f"{ours['seconds']:.4f}",
        f"{other['seconds']:.4f}",
        f"{ratios['seconds']:.2f}",
        f"{ours['cpu']:.4f}",
        f"{other['cpu']:.4f}",
        f"{ratios['cpu']:.2f}",
        f"{ours['cpu'] / both['cpu']:.2f}",
        f"{ours['one']:.1f}",
        f"{other['one']:.1f}",
        f"{ratios['one']:.2f}",
        f"{ratios['all']:.2f}",
    ]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("ipav")
    parser.add_argument("--sizes", default=SIZES)
    parser.add_argument("--runs", type=int, default=40)
    parser.add_argument("--format", choices=["xml", "json"], default="xml")
    parser.add_argument("--out", help="JSON file for the figures")
    options = parser.parse_args()
    here = os.path.dirname(os.path.abspath(__file__))
    yang = os.path.join(here, "..", "..", "yang")

    print("| " + " | ".join(HEAD) + " |")
    print("|" + " ---: |" * len(HEAD))
    result = {}
    for size in map(int, options.sizes.split(",")):
        with tempfile.TemporaryDirectory() as folder:
            files = generate.generate(size, folder, options.format)
            commands = {
                "ipav": [options.ipav, "check", "--running", *files],
                "yanglint": yanglint(yang, files[1:]),
                "yanglint, both files": yanglint(yang, files),
            }
            runs = max(3, min(options.runs, 150_000 // size))
            result[size] = measure(commands, runs)
        print("| " + " | ".join(row(size, result[size])) + " |", flush=True)
    measure_fleet(options.ipav, yang, here, max(3, options.runs // 10))
    if options.out:
        with open(options.out, "w", encoding="utf-8") as file:
            json.dump(result, file, indent=2)


if __name__ == "__main__":
    main()
