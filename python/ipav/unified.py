"""Applies a unified diff."""

import re

_HUNK = re.compile(r"@@ -(\d+)(?:,(\d+))? \+\d+(?:,\d+)? @@")


def apply(text: str, diff: str) -> str:
    """The text after the diff, which is of one file and fits exactly."""
    before = text.split("\n")
    after: list[str] = []
    at = 0  # number of lines of `before` that are in `after`, or removed
    for line in diff.split("\n")[2:]:
        hunk = _HUNK.match(line)
        if hunk:
            # A hunk that removes nothing names the line before it.
            begin = int(hunk[1]) - (hunk[2] != "0")
            after += before[at:begin]
            at = begin
        elif line[:1] == "+":
            after.append(line[1:])
        elif line[:1] in ("-", " "):
            if before[at] != line[1:]:
                raise ValueError(f"the diff does not fit at line {at + 1}")
            at += 1
            if line[0] == " ":
                after.append(line[1:])
    return "\n".join(after + before[at:])
