"""A process of ipav that answers one request after another."""

import json
import os
from collections.abc import Mapping, Sequence
from dataclasses import dataclass
from pathlib import Path
from typing import TypeAlias, TypeVar

from . import unified
from .errors import Error, InputError, PluginError, Problem, SessionError
from .process import Output, Process
from .results import Correction, Difference, Plan, Point, Report, Rule
from .results import Verdict, build

# A text in XML or JSON, or the name of a file.
Source: TypeAlias = str | os.PathLike[str]

T = TypeVar("T")

def is_text(source: Source) -> bool:
    """Whether it is a configuration, and not the name of a file."""
    return isinstance(source, str) and source.lstrip("\ufeff \t\r\n").startswith(
        ("<", "{", "[")
    )


class _Files:
    """The names of a request's files, and the texts that stand for files."""

    def __init__(self) -> None:
        self.names: list[str] = []
        self.texts: dict[str, str] = {}

    def add(self, source: Source, name: str) -> str:
        """The name of SOURCE, which is <NAME> for a text."""
        if isinstance(source, str) and is_text(source):
            file = f"<{name}>"
            self.texts[file] = source
        else:
            file = os.fspath(source)
            if file == "-":  # for ipav this is standard input
                file = "./-"
        self.names.append(file)
        return file

    def input_error(self, errors: str) -> InputError:
        lines = errors.splitlines() or ["ipav: unknown error"]
        return InputError(
            Problem.parse(line.removeprefix("ipav: "), self.names)
            for line in lines
        )


@dataclass(frozen=True, slots=True)
class _Run:
    devices: tuple[Report, ...]


class Session:
    """A process of ipav, for many requests.

    It starts with the first request, in the folder that is current then, and
    again after it died or the current folder changed. A child of os.fork() has
    a process of its own. Threads take turns.

    `program` is the file of ipav: by default $IPAV, else `ipav` in $PATH.
    `plugin` and `yang` replace the installed plug-in and data model. `running` is
    the file of the running configuration of every request that names none, and
    what check_edits() changes.
    """

    def __init__(
        self,
        program: str | os.PathLike[str] | None = None,
        *,
        plugin: str | os.PathLike[str] | None = None,
        yang: str | os.PathLike[str] | None = None,
        running: str | os.PathLike[str] | None = None,
    ) -> None:
        files = {"plugin": plugin, "yang": yang, "running": running}
        options = [
            f"--{name}={os.path.abspath(file)}"
            for name, file in files.items()
            if file is not None
        ]
        self._process = Process(program, options)
        self._running = None if running is None else os.path.abspath(running)

    def __enter__(self) -> "Session":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Ends the process. The next request starts another one."""
        self._process.close()

    # --- Commands

    def check(
        self,
        candidate: Source,
        *,
        running: Source | None = None,
        all: bool = False,
        every: bool = False,
        limit: int | None = None,
        restore: bool = False,
        suggest: bool = False,
        timeout: int | None = None,
    ) -> Report:
        """The verdict on a candidate: a configuration, or a device's folder.

        A refusal is a report, too. The options are those of `ipav check`.
        Raises InputError, PluginError and SessionError.
        """
        files = _Files()
        reports = self._check(
            files, [candidate], running, all=all, every=every, limit=limit,
            restore=restore, suggest=suggest, timeout=timeout,
        )  # fmt: skip
        if len(reports) != 1:
            raise InputError(
                [Problem("holds several devices: use check_all()", files.names[-1])]
            )
        return _judged(reports[0], files.names)

    def check_edits(self, edits: Mapping[str, str | None]) -> Report:
        """The verdict on edits of the session's running configuration.

        The keys are paths as in a Difference, the values those of leaves; None
        deletes the node. Each call begins with the running configuration as it
        was read. Much faster than check(); the report has no places and no
        advice. Raises InputError, PluginError and SessionError.
        """
        output = self._process.request(
            {
                "edits": [
                    {"path": path} | ({} if value is None else {"value": value})
                    for path, value in edits.items()
                ]
            }
        )
        _refuse_death(output, PluginError)
        if not output.output:
            raise _Files().input_error(output.errors)
        return _judged(_parse(Report, output), [])

    def check_all(
        self,
        candidates: Sequence[Source],
        *,
        running: Source | None = None,
        all: bool = False,
        every: bool = False,
        limit: int | None = None,
        restore: bool = False,
        suggest: bool = False,
        timeout: int | None = None,
        jobs: int | None = None,
    ) -> tuple[Report, ...]:
        """The verdicts on all devices of files and folders, several at a time.

        What is wrong with one device is in its report. Raises InputError for a
        wrong argument, and SessionError.
        """
        return self._check(
            _Files(), candidates, running, all=all, every=every, limit=limit,
            restore=restore, suggest=suggest, timeout=timeout, jobs=jobs,
        )  # fmt: skip

    def plan(
        self,
        goal: Source,
        *,
        running: Source | None = None,
        each: bool = False,
        verdicts: int | None = None,
        timeout: int | None = None,
    ) -> Plan:
        """The commits that lead to a configuration.

        A goal that cannot be reached is a plan, too. The options are those of
        `ipav plan`. Raises InputError, PluginError and SessionError.
        """
        if not is_text(goal) and os.path.isdir(goal):
            problem = Problem("is a directory, not a file", os.fspath(goal))
            raise InputError([problem])
        files = _Files()
        output = self._run(
            files, "plan", [goal], "candidate", self._before(running),
            {"each": each, "verdicts": verdicts, "timeout": timeout},
        )  # fmt: skip
        return _parse(Plan, output)

    def fix(
        self,
        candidate: Source,
        *,
        running: Source | None = None,
        suggested: bool = False,
        only: Sequence[str] = (),
        timeout: int | None = None,
    ) -> Correction:
        """A candidate, corrected as `ipav fix` does. No file is changed.

        `only` has the ids of fixes from check(..., all=True, suggest=True).
        Raises InputError, PluginError and SessionError.
        """
        files = _Files()
        name = files.add(candidate, "candidate")
        if name not in files.texts:
            files.texts[name] = _read(name)  # it may change later
        text = files.texts[name]
        options = {"suggested": suggested, "timeout": timeout}
        output = self._run(
            files, "fix", [candidate], "candidate", self._before(running), options,
            [f"--only={fix_id}" for fix_id in only],
        )  # fmt: skip
        text = unified.apply(text, output.output)
        if output.status == 0:
            return Correction(text, output.output, True, ())
        left = self.check(
            text, running=running, all=True, suggest=True, restore=True,
            timeout=timeout,
        )  # fmt: skip
        return Correction(text, output.output, False, left.refusals())

    def diff(
        self,
        candidate: Source,
        *,
        running: Source | None = None,
        full: bool = False,
        timeout: int | None = None,
    ) -> Difference:
        """What a candidate changes, and the validation points that run.

        Raises InputError and SessionError.
        """
        files = _Files()
        running = self._before(running)
        before = files.add("{}" if running is None else running, "running")
        output = self._run(
            files, "diff", [candidate], "candidate", None,
            {"full": full, "timeout": timeout}, first=[before],
        )  # fmt: skip
        return _parse(Difference, output)

    def explain(self, topic: str) -> Point | Rule:
        """What a validation point, a rule or the text of a refusal means.

        Raises InputError if it is unknown, and SessionError.
        """
        if not topic.strip() or "\n" in topic or topic == "-":
            raise InputError([Problem("a topic is one line of text")])
        output = self.run(["explain", "--format=json", "--", topic])
        _refuse_death(output, SessionError)
        if output.status != 0:
            raise _Files().input_error(output.errors)
        is_point = "point" in json.loads(output.output)[0]
        if is_point:
            return _parse(tuple[Point], output)[0]
        return _parse(tuple[Rule], output)[0]

    # --- Requests

    def run(
        self, arguments: Sequence[str], texts: Mapping[str, str] | None = None
    ) -> Output:
        """Runs any command of ipav. Raises SessionError.

        The command reads the texts instead of the files of their names.
        """
        return self._process.request(
            {"arguments": list(arguments), "texts": dict(texts or {})}
        )

    def _before(self, running: Source | None) -> Source | None:
        return self._running if running is None else running

    def _check(
        self,
        files: _Files,
        candidates: Sequence[Source],
        running: Source | None,
        **options: bool | int | None,
    ) -> tuple[Report, ...]:
        before = self._before(running)
        output = self._run(files, "check", candidates, "candidate", before, options)
        if not output.output:
            raise files.input_error(output.errors)
        return _parse(_Run, output).devices

    def _run(
        self,
        files: _Files,
        command: str,
        sources: Sequence[Source],
        name: str,
        running: Source | None,
        options: Mapping[str, bool | int | None],
        more: Sequence[str] = (),
        first: Sequence[str] = (),
    ) -> Output:
        """Runs a command. Raises an error if it printed nothing."""
        arguments = [command, *more]
        if command != "fix":
            arguments.append("--format=json")
        for option, value in options.items():
            if value is True:
                arguments.append(f"--{option}")
            elif value is not None and value is not False:
                arguments.append(f"--{option}={value}")
        if running is not None:
            arguments.append("--running=" + files.add(running, "running"))
        names = [
            files.add(source, name if number == 1 else f"{name} {number}")
            for number, source in enumerate(sources, 1)
        ]
        output = self.run([*arguments, "--", *first, *names], files.texts)
        has_plugin = command != "diff"
        _refuse_death(output, PluginError if has_plugin else SessionError)
        if output.status == 2 and not output.output:
            raise files.input_error(output.errors)
        if output.status == 3 and command != "check":
            raise PluginError(output.errors.strip() or _failure(output.output))
        return output


def _refuse_death(output: Output, error: type[Error]) -> None:
    """Raises the error if a command was killed, or could not print an answer."""
    if output.status == 3 and not output.output:
        raise error(output.errors.strip() or "the plug-in failed")


def _judged(report: Report, files: list[str]) -> Report:
    """The report, if there is a verdict. Raises InputError and PluginError."""
    if report.verdict is Verdict.BAD_INPUT:
        names = [*files, report.candidate, report.running or report.candidate]
        raise InputError(
            Problem.parse(error, names) for error in report.input_errors
        )
    if report.verdict is Verdict.PLUGIN_FAILED:
        raise PluginError("; ".join(report.failures()))
    return report


def _read(name: str) -> str:
    try:
        return Path(name).read_bytes().decode()
    except OSError as error:
        raise InputError([Problem(error.strerror or str(error), name)]) from error
    except UnicodeDecodeError as error:
        raise InputError([Problem("is not UTF-8", name)]) from error


def _failure(output: str) -> str:
    try:
        return str(json.loads(output)["failure"])
    except (ValueError, KeyError, TypeError):
        return "the plug-in failed"


def _parse(result: type[T], output: Output) -> T:
    try:
        return build(result, json.loads(output.output))
    except (ValueError, KeyError, TypeError) as error:
        raise SessionError(f"an answer of another ipav: {error!r}") from error
