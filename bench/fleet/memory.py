#!/usr/bin/env python3
"""Time and memory of a run: memory.py COMMAND...

Prints the time of COMMAND, the largest memory of its own process, and the
largest of all its processes together, shared pages counted once (PSS), as seen
twenty times a second.
"""
import pathlib
import subprocess
import sys
import time


def descendants(process):
    found = [process]
    for pid in found:
        path = pathlib.Path(f"/proc/{pid}/task/{pid}/children")
        try:
            found += [int(child) for child in path.read_text().split()]
        except OSError:
            pass
    return found


def kibibytes(process, name, file):
    try:
        text = pathlib.Path(f"/proc/{process}/{file}").read_text()
    except OSError:
        return 0
    for line in text.splitlines():
        if line.startswith(name + ":"):
            return int(line.split()[1])
    return 0


def peaks(command, seconds):
    """The process of a command, to its end, and its peaks in MiB: of its own
    process, and of all together as seen every so many seconds."""
    own = together = 0
    program = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    while program.poll() is None:
        own = max(own, kibibytes(program.pid, "VmHWM", "status"))
        together = max(together, sum(
            kibibytes(each, "Pss", "smaps_rollup")
            for each in descendants(program.pid)))
        time.sleep(seconds)
    return program, own / 1024, together / 1024


def main():
    start = time.monotonic()
    program, own, together = peaks(sys.argv[1:], 0.05)
    print(f"{time.monotonic() - start:.1f} s, status {program.returncode}, "
          f"own process {own:.1f} MiB, together {together:.1f} MiB")


if __name__ == "__main__":
    main()
