#!/usr/bin/env python3
"""tidy.py BUILD: clang-tidy on every source of a configured build folder.

Uses the commands of BUILD/compile_commands.json, writes no object file, and
prints the findings of clang and clang-tidy; the exit status is 1 if there are any. A
source of several targets is read once. Generated sources are not read, except
those that include several of the project's so that headers are read once. The
sources of the product among the latter are also compiled alone: a missing
#include is an error.
"""

import concurrent.futures
import itertools
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


def included(source, build):
    """The sources of the project that a generated one includes."""
    if "Unity" not in source.parts:
        return []
    paths = re.findall('#include "(.*)"', source.read_text("utf-8"))
    return [each for each in paths if build not in pathlib.Path(each).parents]


def is_read(source, build):
    """Whether a source is the project's, or includes some of those."""
    return build not in source.parents or bool(included(source, build))


def to_read(build):
    """(build, source, arguments) of the sources of a build folder."""
    chosen = {}
    text = (build / "compile_commands.json").read_text(encoding="utf-8")
    for entry in json.loads(text):
        source = entry["file"]
        if is_read(pathlib.Path(source), build):
            chosen.setdefault(source, (build, source, arguments(entry)))
    return list(chosen.values())


def alone(build, source, words):
    """(build, source, arguments) of the sources that one includes."""
    if set(pathlib.Path(source).parts) & {"tests", "fuzz", "bench"}:
        return []
    return [(build, each, words)
            for each in included(pathlib.Path(source), build)]


def errors(build, command):
    """The output of a command if it fails, else an empty text."""
    run = subprocess.run(command, cwd=build, capture_output=True, text=True,
                         check=False)
    return run.stdout + run.stderr if run.returncode else ""


def findings(build, source, words):
    """The findings of clang-tidy; an empty text if there are none."""
    return errors(build, ["clang-tidy", "--quiet", source, "--", *words])


def compile_errors(build, source, words):
    """What clang says if it does not compile the source."""
    return errors(build, ["clang", "-fsyntax-only", source, *words])


def main():
    work = to_read(pathlib.Path(sys.argv[1]).resolve())
    found = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        read = pool.map(lambda unit: findings(*unit), work)
        compiled = pool.map(lambda unit: compile_errors(*unit),
                            [each for unit in work for each in alone(*unit)])
        for printed in itertools.chain(read, compiled):
            found += bool(printed)
            print(printed, end="", flush=True)
    print(f"clang-tidy: {len(work)} sources, {found} with findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
