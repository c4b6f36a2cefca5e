#!/usr/bin/env python3
"""`ipav check` of one changed address beside `yanglint` over the same data.

check.py IPAV [--sizes 256,1000,...] [--runs N] [--format xml|json]

Each row is one size, the last line a fleet of 100 devices of 256 interfaces
(bench/fleet/generate.py); docs/performance.md describes the columns. The figures
are the least time of the wall clock and of the processor, as other work can only
make a run longer, and the peak of memory. Sizes from 10,000 on have fewer runs.

Two measures of memory, as ipav runs the plug-in in a process of its own:
"one" is the resident set of the largest process, which counts pages that it
shares with its parent; "all" is the proportional set of all processes together,
sampled in a run of its own that is not timed.
"""

import argparse
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import generate

FLEET = pathlib.Path(__file__).resolve().parent.parent / "fleet"
sys.path.insert(0, str(FLEET))

import memory  # pylint: disable=wrong-import-position

SIZES = "10,256,1000,10000,100000"
DEVICES = 100


def yanglint(yang, files):
    modules = sorted(yang.glob("*.yang"))
    return ["yanglint", "-t", "config", "-p", yang, "-p", yang / "stubs",
            *modules, *files]


def run(command):
    """Seconds on the clock, seconds of processor."""
    begin = time.monotonic()
    process = subprocess.Popen(command, stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT)
    output = process.stdout.read()
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.monotonic() - begin
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode not in (0, 1):  # a refused device of the fleet
        sys.exit(f"{command}\n{output.decode()}")
    return seconds, usage.ru_utime + usage.ru_stime


def peak(command):
    """MiB of the largest process. By time(1): a child of this interpreter
    would start with the interpreter's size for its peak."""
    with tempfile.NamedTemporaryFile("r") as report:
        subprocess.run(
            ["/usr/bin/time", "-f", "%M", "-o", report.name, *command],
            stdout=subprocess.DEVNULL, check=True)
        return int(report.read()) / 1024


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
            "all": memory.peaks(command, 0.002)[2],
        }
        for name, command in commands.items()
    }


def measure_fleet(ipav, yang, runs):
    with tempfile.TemporaryDirectory() as folder:
        devices = os.path.join(folder, "devices")
        subprocess.run([FLEET / "generate.py", str(DEVICES), "256", devices],
                       check=True)
        loop = 'for device in "$0"/*; do "$@" "$device/candidate.xml"; done'
        commands = {
            "ipav": [ipav, "check", "--quiet", devices],
            "yanglint": ["sh", "-c", loop, devices, *yanglint(yang, [])],
        }
        taken = in_turns(commands, runs)
    cpu = {name: min(t[1] for t in taken[name]) / DEVICES for name in commands}
    print(f"\nfleet, CPU ms of a device: ipav {cpu['ipav'] * 1000:.1f}, "
          f"yanglint {cpu['yanglint'] * 1000:.1f}, "
          f"ratio {cpu['ipav'] / cpu['yanglint']:.2f}")


HEAD = [
    "interfaces", "ipav, s", "yanglint, s", "ratio",
    "ipav, CPU s", "yanglint, CPU s", "ratio", "both files",
    "ipav, MiB", "yanglint, MiB", "ratio", "all, ratio",
]


def row(size, figures):
    ours, other = figures["ipav"], figures["yanglint"]
    both = figures["yanglint, both files"]
    ratios = {what: ours[what] / other[what] for what in ours}
    return [str(size),
            *[f"{each['seconds']:.4f}" for each in (ours, other)],
            f"{ratios['seconds']:.2f}",
            *[f"{each['cpu']:.4f}" for each in (ours, other)],
            f"{ratios['cpu']:.2f}", f"{ours['cpu'] / both['cpu']:.2f}",
            *[f"{each['one']:.1f}" for each in (ours, other)],
            f"{ratios['one']:.2f}", f"{ratios['all']:.2f}"]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("ipav")
    parser.add_argument("--sizes", default=SIZES)
    parser.add_argument("--runs", type=int, default=40)
    parser.add_argument("--format", choices=["xml", "json"], default="xml")
    options = parser.parse_args()
    yang = FLEET.parent.parent / "yang"

    print("| " + " | ".join(HEAD) + " |")
    print("|" + " ---: |" * len(HEAD))
    for size in map(int, options.sizes.split(",")):
        with tempfile.TemporaryDirectory() as folder:
            files = generate.generate(size, folder, options.format)
            commands = {
                "ipav": [options.ipav, "check", "--running", *files],
                "yanglint": yanglint(yang, files[1:]),
                "yanglint, both files": yanglint(yang, files),
            }
            runs = max(3, min(options.runs, 150_000 // size))
            figures = measure(commands, runs)
        print("| " + " | ".join(row(size, figures)) + " |", flush=True)
    measure_fleet(options.ipav, yang, max(3, options.runs // 10))


if __name__ == "__main__":
    main()
