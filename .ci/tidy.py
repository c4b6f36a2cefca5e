#!/usr/bin/env python3
"""tidy.py BUILD: clang-tidy on every source of a configured build folder.

Uses the commands of BUILD/compile_commands.json, compiles nothing, and prints
the findings of clang and clang-tidy; the exit status is 1 if there are any. A
source of several targets is read once. Generated sources are not read, except
those that include several of the project's so that headers are read once.
"""

import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys


def arguments(entry):
    """The arguments of a compiler's command that clang-tidy needs."""
    words = shlex.split(entry["command"])[1:]
    at = words.index("-o")
    return [word for word in words[:at] + words[at + 2:]
            if word not in ("-c", entry["file"])]


def is_read(source, build):
    """Whether a source is the project's, or includes several of those."""
    if build not in source.parents:
        return True
    if "Unity" not in source.parts:
        return False
    included = re.findall('#include "(.*)"', source.read_text("utf-8"))
    return any(build not in pathlib.Path(each).parents for each in included)


def to_read(build):
    """(build, source, arguments) of the sources of a build folder."""
    chosen = {}
    text = (build / "compile_commands.json").read_text(encoding="utf-8")
    for entry in json.loads(text):
        source = entry["file"]
        if is_read(pathlib.Path(source), build):
            chosen.setdefault(source, (build, source, arguments(entry)))
    return list(chosen.values())


def findings(build, source, words):
    """The output of clang-tidy if it has findings, else an empty text."""
    run = subprocess.run(["clang-tidy", "--quiet", source, "--", *words],
                         cwd=build, capture_output=True, text=True,
                         check=False)
    return run.stdout + run.stderr if run.returncode else ""


def main():
    work = to_read(pathlib.Path(sys.argv[1]).resolve())
    found = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for printed in pool.map(lambda unit: findings(*unit), work):
            found += bool(printed)
            print(printed, end="", flush=True)
    print(f"clang-tidy: {len(work)} sources, {found} with findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
