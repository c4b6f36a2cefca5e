#!/usr/bin/env python3
"""Runs the console blocks of a document and compares what they print.

  console_blocks.py --bin DIR --root DIR [--update] DOCUMENT

A block of the kind "console" holds commands behind "$ ", continued behind
"> ", and what each prints, standard output and standard error as they come. A
line "..." stands for any lines. All blocks of a document run in one shell, one
behind the other, in a folder of their own that looks like a clone in which
"./dev build" was run; its name is printed as that of CLONE. A block below the
line "<!-- not run: REASON -->" is left out. --update writes the real output
into the document, to be looked at before it is committed.
"""

import argparse
import difflib
import os
import re
import shutil
import subprocess
import sys
import tempfile

import document

ANY_LINES = "..."
CLONE = "/home/you/ip-app-validation"

# Where a build was made and all packages are there, these do nothing: so dev
# can be run in the folder.
TOOLS = {"cmake": "", "dpkg-query": "echo installed"}


class Command:
    def __init__(self, line):
        self.line = line  # number of its first line, from 0
        self.text = []
        self.expected = []
        self.end = line  # behind its expected output


def commands_of(lines):
    """The commands of a document, in their order."""
    commands = []
    for block in document.blocks_of(lines):
        if block.kind == "console" and not block.why_not_run():
            commands += commands_of_block(block)
    return commands


def commands_of_block(block):
    commands = []
    for number, line in enumerate(block.lines, block.begin):
        if line.startswith("$ "):
            commands.append(Command(number))
            commands[-1].text.append(line[2:])
        elif not commands:
            sys.exit(f"line {number + 1}: no command stands above this output")
        elif re.match("> |>$", line) and not commands[-1].expected:
            commands[-1].text.append(line[2:])
        else:
            commands[-1].expected.append(line)
        commands[-1].end = number + 1
    return commands


def make_clone(work, arguments):
    root, binaries = map(os.path.abspath, (arguments.root, arguments.bin))
    shutil.copytree(os.path.join(root, "examples"), f"{work}/examples")
    shutil.copy(os.path.join(root, "dev"), work)
    for name in ["bench", "docs", "python"]:
        os.symlink(os.path.join(root, name), f"{work}/{name}")
    os.makedirs(f"{work}/build/dev")
    os.symlink(binaries, f"{work}/build/dev/bin")


def make_tools(folder):
    os.mkdir(folder)
    for name, command in TOOLS.items():
        path = os.path.join(folder, name)
        with open(path, "w", encoding="utf-8") as file:
            file.write(f"#!/bin/sh\n{command}\n")
        os.chmod(path, 0o755)


def run(commands, arguments):
    """What each command prints, as lines."""
    with tempfile.TemporaryDirectory() as folder:
        folder = os.path.realpath(folder)
        work = os.path.join(folder, "work")
        make_clone(work, arguments)
        make_tools(f"{folder}/tools")
        # What a document leaves running, ends with it.
        script = ["trap 'kill $(jobs -p) 2>/dev/null' EXIT"]
        for number, command in enumerate(commands):
            # With the status that the command before left.
            script += [f"exec >{folder}/{number} 2>&1", "(exit ${status:-0})",
                       *command.text, "status=$?"]
        path = f"{folder}/tools:{work}/build/dev/bin:" + os.environ["PATH"]
        subprocess.run(
            ["bash", "-c", "\n".join(script)], cwd=work, timeout=1000,
            env=dict(os.environ, LC_ALL="C.UTF-8", HOME=work, PATH=path),
            stdin=subprocess.DEVNULL, check=False)
        return [read_output(f"{folder}/{number}", work)
                for number in range(len(commands))]


def read_output(path, work):
    if not os.path.exists(path):
        return ["(not run: the shell ended before)"]
    with open(path, encoding="utf-8") as file:
        return file.read().replace(work, CLONE).splitlines()


def matches(expected, printed):
    pattern = "".join(
        "(?:.*\n)*?" if line == ANY_LINES else re.escape(line) + "\n"
        for line in expected)
    return re.fullmatch(pattern, "".join(line + "\n" for line in printed))


def update(path, lines, commands, outputs):
    for command, printed in reversed(list(zip(commands, outputs))):
        if ANY_LINES not in command.expected:
            begin = command.line + len(command.text)
            lines[begin : command.end] = printed
    with open(path, "w", encoding="utf-8") as file:
        file.write("\n".join(lines) + "\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--bin", required=True, help="folder of ipav")
    parser.add_argument("--root", required=True, help="the clone")
    parser.add_argument("--update", action="store_true")
    parser.add_argument("document")
    arguments = parser.parse_args()

    lines = document.read_lines(arguments.document)
    commands = commands_of(lines)
    if not commands:
        sys.exit(f"{arguments.document}: no command to run")
    outputs = run(commands, arguments)
    if arguments.update:
        update(arguments.document, lines, commands, outputs)
        return

    failed = 0
    for command, printed in zip(commands, outputs):
        if matches(command.expected, printed):
            continue
        failed += 1
        print(f"{arguments.document}:{command.line + 1}: {command.text[0]}",
              *difflib.unified_diff(command.expected, printed, "document",
                                    "printed", lineterm=""), sep="\n")
    print(f"{len(commands)} commands, {failed} that print something else")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
