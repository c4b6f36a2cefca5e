#!/usr/bin/env python3
"""The rule for IPv4 addresses beside a YANG `must`: must.py RESULT.json IPAV

yanglint validates the networks that RESULT.json was measured on, without a
must, with the one that compares addresses as texts, and with the one that finds
overlaps as the rule does (bench/must/). A must's share is what it adds to the
time without one; the rule's time is that in RESULT.json. IPAV checks the same
files as a whole. All times are processor time. A yanglint that takes longer
than the limit is ended, and its ratio is a lower bound.
"""

import json
import resource
import subprocess
import sys
from pathlib import Path

SIZES = (256, 1000, 4000)
LIMIT_SECONDS = 3600
RULE = "rule IPv4 addresses/1 VRF, clean/indexed"
ADDRESSES_EACH = 4  # as in network.h

ROOT = Path(__file__).resolve().parent.parent
MUSTS = ("duplicate-must", "overlap-must")


def address(number):
    """As network.cc numbers the networks."""
    value = 0x0A000001 + (((number * 2654435761) & 0x3FFFF) << 8)
    octets = (value >> shift & 255 for shift in (24, 16, 8, 0))
    return ".".join(map(str, octets)) + "/24"


def interface_lists(size):
    """The l3 interfaces and the loopbacks, each with its addresses."""
    loopbacks = max(1, size // 8)
    everyone = [
        [address(i * ADDRESSES_EACH + k) for k in range(ADDRESSES_EACH)]
        for i in range(size)
    ]
    return everyone[: size - loopbacks], everyone[size - loopbacks :]


def write_network(path, size):
    l3s, loopbacks = interface_lists(size)
    with open(path, "w", encoding="utf-8") as file:
        file.write('<config xmlns="urn:vorplex:config"><interface>\n')
        for i, (primary, *others) in enumerate(l3s):
            rest = "".join(f"<secondary><ip>{ip}</ip></secondary>" for ip in others)
            file.write(
                f'<l3 xmlns="urn:vorplex:ipapp"><name>port-{i}</name>'
                f"<lower-layer-if><vlan>{i + 1}</vlan></lower-layer-if>"
                f"<ipv4><address><ip>{primary}</ip>{rest}</address></ipv4></l3>\n"
            )
        for i, addresses in enumerate(loopbacks):
            rest = "".join(f"<address><ip>{ip}</ip></address>" for ip in addresses)
            file.write(
                f'<loopback xmlns="urn:vorplex:ipapp"><name>{i}</name>'
                f"<ipv4>{rest}</ipv4></loopback>\n"
            )
        file.write("</interface></config>\n")


def processor_time(command, allowed):
    """Seconds, or None where the limit was reached."""

    def limit():
        resource.setrlimit(resource.RLIMIT_CPU, (LIMIT_SECONDS, LIMIT_SECONDS))

    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    done = subprocess.run(
        command,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.DEVNULL,
        stderr=subprocess.PIPE,
        text=True,
        check=False,
        preexec_fn=limit,
    )
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    if done.returncode < 0:
        return None
    if done.returncode not in allowed:
        sys.exit(f"{command}: {done.returncode}\n{done.stderr}")
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def yanglint(network, must=None):
    modules = [ROOT / "yang/ipapp.yang"]
    if must:
        modules.append(ROOT / f"bench/must/{must}.yang")
    search = ["-D", "-p", ROOT / "yang", "-p", ROOT / "yang/stubs"]
    return ["yanglint", *search, "-t", "config", *modules, network]


def shortest(command, allowed=(0,)):
    """Of three runs, or of one that takes long."""
    times = [processor_time(command, allowed)]
    while times[0] is not None and times[0] < 2 and len(times) < 3:
        times.append(processor_time(command, allowed))
    return None if None in times else min(times)


def rule_seconds(result, size):
    factor = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1}
    times = []
    for bench in result["benchmarks"]:
        if bench["run_name"] == f"{RULE}/{size}" and "aggregate_name" not in bench:
            times.append(bench["cpu_time"] * factor[bench["time_unit"]])
    return min(times) if times else sys.exit(f"no time of {RULE}/{size}")


def ratio(seconds, ours):
    if seconds is None:
        return f"> {LIMIT_SECONDS / ours:,.0f}"
    return f"{seconds / ours:,.0f}"


def text(seconds):
    return f"> {LIMIT_SECONDS}" if seconds is None else f"{seconds:.3f}"


def measure(size, result, ipav, folder):
    network = folder / f"network-{size}.xml"
    write_network(network, size)
    without = shortest(yanglint(network))
    rule = rule_seconds(result, size)
    # More than 256 l3 interfaces are refused: every point answers, 1 is right.
    whole = shortest([ipav, "check", "--all", network], allowed=(0, 1))
    for must in MUSTS:
        with_it = shortest(yanglint(network, must))
        share = None if with_it is None else with_it - without
        cells = [str(size), must, text(without), text(with_it), text(share)]
        cells += [f"{rule * 1e6:.0f}", ratio(share, rule)]
        cells += [text(whole), ratio(with_it, whole)]
        print("| " + " | ".join(cells) + " |", flush=True)


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    with open(sys.argv[1], encoding="utf-8") as file:
        result = json.load(file)
    folder = Path(sys.argv[1]).parent
    sizes = [int(size) for size in sys.argv[3:]] or SIZES
    print("\n### YANG must\n")
    head = ["size", "must", "s, yanglint without", "s, yanglint with"]
    head += ["s, share of the must", "µs, rule", "times the rule"]
    head += ["s, ipav check", "yanglint with, times ipav check"]
    print("| " + " | ".join(head) + " |")
    print("| ---: | --- |" + " ---: |" * (len(head) - 2))
    for size in sizes:
        measure(size, result, sys.argv[2], folder)


if __name__ == "__main__":
    main()
