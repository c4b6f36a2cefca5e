#!/usr/bin/env python3
"""structure.py: checks the includes between folders and the length of files.

Prints each include that is not allowed and each file that is too long; the exit
status is 1 if there is one.
"""

import pathlib
import re
import sys

# The folders that the sources of a folder may include besides their own.
MAY_INCLUDE = {
    "nettypes": set(),
    "include": {"nettypes"},
    "src": {"include", "nettypes"},
    "host": {"nettypes"},
    "netconf": {"host", "nettypes"},
    "messages": {"host", "nettypes"},
    "planner": {"messages", "host", "nettypes"},
    "fixer": {"messages", "host", "nettypes"},
    "cli": {"fixer", "planner", "messages", "netconf", "host", "nettypes"},
    "ipavd": {"messages", "netconf", "host", "nettypes"},
}
MOST_LINES = 400
INCLUDE = re.compile(r'\s*#\s*include\s+"([^"]+)"')


def wrong_includes(folder, lines):
    """(line number, header) of each include that FOLDER may not have."""
    allowed = MAY_INCLUDE[folder] | {folder}
    for number, line in enumerate(lines, 1):
        found = INCLUDE.match(line)
        if found and found[1].split("/")[0] not in allowed:
            yield number, found[1]


def findings(root):
    for folder in MAY_INCLUDE:
        for path in sorted((root / folder).rglob("*.*")):
            if path.suffix not in (".cc", ".h", ".c", ".in"):
                continue
            name = str(path.relative_to(root))
            lines = path.read_text(encoding="utf-8").splitlines()
            for number, header in wrong_includes(folder, lines):
                yield f"{name}:{number}: {folder}/ may not include {header}"
            if len(lines) > MOST_LINES:
                yield f"{name}: {len(lines)} lines, more than {MOST_LINES}"


def main():
    found = list(findings(pathlib.Path(__file__).resolve().parent.parent))
    print(*found, sep="\n", end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
