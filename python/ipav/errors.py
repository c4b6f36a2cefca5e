"""What the functions of this package raise."""

import re
from collections.abc import Iterable
from dataclasses import dataclass


class Error(Exception):
    """The base of all exceptions of this package."""


@dataclass(frozen=True, slots=True)
class Problem:
    """One thing that is wrong with the input."""

    reason: str
    file: str | None = None  # None: it is not about a file
    line: int | None = None  # from 1
    column: int | None = None  # from 1, in characters

    def __str__(self) -> str:
        if self.file is None:
            return self.reason
        if self.line is None:
            return f"{self.file}: {self.reason}"
        if self.column is None:
            return f"{self.file}:{self.line}: {self.reason}"
        return f"{self.file}:{self.line}:{self.column}: {self.reason}"

    @staticmethod
    def parse(text: str, files: Iterable[str]) -> "Problem":
        """The problem of a line that ipav prints; FILES are those it read."""
        for file in files:
            found = re.fullmatch(
                re.escape(file) + r":(?:(\d+):(?:(\d+):)?)? (.*)", text, re.DOTALL
            )
            if found is None:
                continue
            line, column = (int(at) if at else None for at in found.groups()[:2])
            return Problem(found[3], file, line, column)
        return Problem(text)


class InputError(Error):
    """A configuration or another argument is wrong.

    `problems` lists all that is wrong; `file`, `line`, `column` and `reason`
    are those of the first one.
    """

    def __init__(self, problems: Iterable[Problem]) -> None:
        self.problems = tuple(problems)
        first = self.problems[0]
        self.file, self.line = first.file, first.line
        self.column, self.reason = first.column, first.reason
        super().__init__("\n".join(map(str, self.problems)))

    def __reduce__(self) -> tuple[type, tuple[tuple[Problem, ...]]]:
        return type(self), (self.problems,)


class PluginError(Error):
    """The plug-in died, threw an exception or did not answer in time."""


class SessionError(Error):
    """The process of ipav cannot be started, died, or was killed."""
