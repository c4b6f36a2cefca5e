#!/usr/bin/env python3
"""tidy.py BUILD: clang-tidy on every source of a configured build folder.

Uses the commands of BUILD/compile_commands.json, compiles nothing, and prints
the findings of clang and clang-tidy; the exit status is 1 if there are any. A
source of several targets is read once, a test plug-in once for each set of
definitions; generated sources are not read.
"""

import concurrent.futures
import json
import os
import pathlib
import shlex
import subprocess
import sys


def arguments(entry):
    """The arguments of a compiler's command that clang-tidy needs."""
    words = shlex.split(entry["command"])[1:]
    at = words.index("-o")
    return [word for word in words[:at] + words[at + 2:]
            if word not in ("-c", entry["file"])]


def to_read(build, entries):
    """(source, arguments), the largest sources first."""
    chosen = {}
    for entry in entries:
        source = entry["file"]
        if build in pathlib.Path(source).parents:
            continue
        words = arguments(entry)
        variant = ()
        if "/plugins/" in source:
            variant = tuple(word for word in words if word.startswith("-D")
                            and not word.endswith("_EXPORTS"))
        chosen.setdefault((source, variant), words)
    pairs = [(source, words) for (source, _), words in chosen.items()]
    return sorted(pairs, key=lambda pair: -os.path.getsize(pair[0]))


def findings(build, source, words):
    """The output of clang-tidy if it has findings, else an empty text."""
    run = subprocess.run(["clang-tidy", "--quiet", source, "--", *words],
                         cwd=build, capture_output=True, text=True,
                         check=False)
    return run.stdout + run.stderr if run.returncode else ""


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    text = (build / "compile_commands.json").read_text(encoding="utf-8")
    work = to_read(build, json.loads(text))
    found = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for printed in pool.map(lambda pair: findings(build, *pair), work):
            found += bool(printed)
            print(printed, end="", flush=True)
    print(f"clang-tidy: {len(work)} sources, {found} with findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
