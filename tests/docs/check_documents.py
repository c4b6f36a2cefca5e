#!/usr/bin/env python3
"""Holds the documents of a clone against what is there.

  check_documents.py --ipav PROGRAM [--run DOCUMENT]... ROOT

DOCUMENT is one whose console blocks a test runs. Prints a line for each fault:
a block that is neither run nor says why not, a link that leads nowhere, a path
or a folder that the table of README.md has wrong, and a command or an option
that there is not.
"""

import argparse
import os
import re
import subprocess
import sys

import document

# Their examples, below "<!-- run: NAME -->", have a test of their own, which
# also sees to it that there are no others.
WITH_EXAMPLES = {"docs/ci.md", "docs/fleet.md"}

# Whose blocks of a kind another test reads, each line of them.
READ_BY_A_TEST = {("docs/messages.md", "text")}

TABLE = "## Where things are"
DEV = re.compile(r"\./dev ([a-z]+)")
IPAV = re.compile(r"\bipav ([a-z]+)((?:\\\n(?:> )?|[^|`\n])*)")
OPTION = re.compile(r"(?<![\w-])--[a-z][a-z-]*")


def files_of(root):
    """Every file, relative to the root: those that git keeps, or all."""
    git = subprocess.run(
        ["git", f"--git-dir={root}/.git", f"--work-tree={root}", "ls-files"],
        capture_output=True, text=True, check=False)
    if git.returncode == 0:
        return git.stdout.splitlines()
    found = []
    for folder, folders, files in os.walk(root):
        folders[:] = [f for f in folders if f[0] != "." and f != "build"]
        paths = [os.path.join(folder, name) for name in files]
        found += [os.path.relpath(path, root) for path in paths]
    return found


def documents_of(root):
    """Every Markdown file, relative to the root."""
    return sorted(
        name for name in files_of(root)
        if name.endswith(".md") and os.path.exists(os.path.join(root, name)))


def faults_of_blocks(name, lines, is_run):
    """The blocks that no test looks at and that do not say why."""
    for block in document.blocks_of(lines):
        if block.why_not_run():
            continue
        if block.kind == "console" and is_run:
            continue
        if block.example() and name in WITH_EXAMPLES:
            continue
        if (name, block.kind) not in READ_BY_A_TEST:
            yield f"{name}:{block.begin}: this block is not run"


def faults_of_links(root, name, lines):
    for number, target in document.links_of(lines):
        if re.match("[a-z]+:", target):
            continue
        file, _, anchor = target.partition("#")
        path = os.path.join(root, os.path.dirname(name), file)
        if not file:
            path = os.path.join(root, name)
        if not os.path.exists(path):
            yield f"{name}:{number + 1}: no file {target}"
        elif anchor and anchor not in document.anchors_of(
                document.read_lines(path)):
            yield f"{name}:{number + 1}: no heading {target}"


def table_of(lines):
    """The paths in the first column of the table of folders."""
    rows = []
    if TABLE in lines:
        for line in lines[lines.index(TABLE) + 1 :]:
            if line.startswith("#"):
                break
            if line.startswith("|"):
                rows += re.findall("`([^`]+)`", line.split("|")[1])
                rows += re.findall(r"\]\(([^)]+)\)", line.split("|")[1])
    return rows


def faults_of_table(root):
    """The table has every folder, every page of docs/, and nothing else."""
    paths = table_of(document.read_lines(os.path.join(root, "README.md")))
    for path in paths:
        if not os.path.exists(os.path.join(root, path)):
            yield f"README.md: the table has {path}, which is not there"
    tops = {path.split("/")[0] for path in paths}
    there = {name.split("/")[0] for name in files_of(root) if "/" in name}
    for name in sorted(there - tops):
        if name[0] != ".":
            yield f"README.md: the table lacks {name}/"
    for name in documents_of(root):
        if name.startswith("docs/") and name not in paths:
            yield f"README.md: the table lacks {name}"


def dev_commands(root):
    with open(os.path.join(root, "dev"), encoding="utf-8") as file:
        return set(re.findall(r"^  ([a-z]+)(?: \|.*)?\)", file.read(), re.M))


class Help:
    """The commands of ipav and their options, as it tells them."""

    def __init__(self, ipav):
        self.ipav = ipav
        self.options = {}
        text = self.text([])
        commands = text[text.index("\nSubcommands:") :].split("\n\n")[0]
        self.commands = set(re.findall(r"^  ([a-z]+) ", commands, re.M))

    def text(self, command):
        return subprocess.run([self.ipav, *command, "--help"], text=True,
                              stdout=subprocess.PIPE, check=True).stdout

    def options_of(self, command):
        if command not in self.options:
            self.options[command] = set(OPTION.findall(self.text([command])))
        return self.options[command]


def code_of(lines):
    """Inline code and the blocks."""
    blocks, prose = document.take_apart(lines)
    text = "\n".join(line for _, line in prose)
    code = re.findall("`([^`]+)`", text)
    return code + ["\n".join(block.lines) for block in blocks]


def faults_of_commands(name, lines, dev, ipav_help):
    for code in code_of(lines):
        for command in DEV.findall(code):
            if command not in dev:
                yield f"{name}: there is no ./dev {command}"
        for command, rest in IPAV.findall(code):
            if command not in ipav_help.commands:
                yield f"{name}: there is no ipav {command}"
                continue
            for option in OPTION.findall(rest):
                if option not in ipav_help.options_of(command):
                    yield f"{name}: ipav {command} has no {option}"


def faults_of(root, run, ipav_help):
    """All faults; `run` are the documents whose console blocks are run."""
    dev = dev_commands(root)
    faults = []
    for name in documents_of(root):
        lines = document.read_lines(os.path.join(root, name))
        faults += faults_of_blocks(name, lines, name in run)
        faults += faults_of_links(root, name, lines)
        faults += faults_of_commands(name, lines, dev, ipav_help)
    return faults + list(faults_of_table(root))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--ipav", required=True, help="the program")
    parser.add_argument("--run", action="append", default=[])
    parser.add_argument("root")
    arguments = parser.parse_args()
    run = {os.path.relpath(path, arguments.root) for path in arguments.run}
    faults = faults_of(arguments.root, run, Help(arguments.ipav))
    print("\n".join(faults + [f"{len(faults)} faults"]))
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
