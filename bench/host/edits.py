#!/usr/bin/env python3
"""Times of `ipav lsp` from an edit of an address to the new diagnostics.

edits.py IPAV FOLDER [RUNS]

FOLDER has running.xml and candidate.xml (generate.py). The edits make an address a
network address, which is refused, and undo that. Milliseconds; beside other work, look
at the least.
"""

import ipaddress
import os
import pathlib
import re
import statistics
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]


def main(ipav, folder, runs="21"):
    os.environ["IPAV_PROGRAM"] = ipav
    sys.path.insert(0, str(ROOT / "tests/cli/lsp"))
    from client import Client, replacement

    candidate = pathlib.Path(folder).resolve() / "candidate.xml"
    lines = candidate.read_text().splitlines()
    number, found = next((i, match) for i, match in enumerate(
        re.search(r"<ip>([0-9.]+/[0-9]+)<", line) for line in lines) if match)
    good = found[1]
    bad = str(ipaddress.ip_interface(good).network)
    times = {good: [], bad: []}
    with Client() as client:
        client.initialize()
        uri = client.open(candidate)
        client.published(uri, 1)
        for version in range(2, 2 + 2 * int(runs)):
            old, new = (good, bad) if version % 2 == 0 else (bad, good)
            begin = time.perf_counter()
            client.change(uri, version, replacement(
                number, found.start(1), found.start(1) + len(old), new))
            refusals = client.published(uri, version)
            times[new].append((time.perf_counter() - begin) * 1000)
            if bool(refusals) != (new == bad):
                sys.exit(f"not the expected verdict: {refusals}")
    for what, values in ("accepted", times[good]), ("refused", times[bad]):
        print(f"{what}: median {statistics.median(values):.0f}, "
              f"least {min(values):.0f}")


if __name__ == "__main__":
    main(*sys.argv[1:])
