"""A process of ipav that answers one request after another."""

import functools
import json
import os
import re
from collections.abc import Iterable, Mapping, Sequence
from dataclasses import dataclass
from pathlib import Path
from typing import Any, TypeAlias, TypeVar

from . import unified
from .errors import Error, InputError, PluginError, Problem, SessionError
from .process import Output, Process
from .results import Correction, Difference, Plan, Point, Report, Rule
from .results import Verdict, build

# A text in XML or JSON, or the name of a file.
Source: TypeAlias = str | bytes | os.PathLike[str]

T = TypeVar("T")

_USAGE = re.compile(r" \(see ipav \w+ --help\)$")
_NUMBERS = ("jobs", "limit", "timeout", "verdicts")  # all other options are bool


def _in_python(error: str) -> str:
    """An error that ipav prints, about arguments in place of options."""
    text, is_about_options = _USAGE.subn("", error.removeprefix("ipav: "))
    return text.replace("--", "") if is_about_options else text


def _require(argument: str, value: object, *types: type) -> None:
    """Raises TypeError if the argument has none of these types."""
    # To Python, True is an int.
    if not isinstance(value, types) or (value is True and bool not in types):
        names = " or ".join(each.__name__ for each in types)
        raise TypeError(f"{argument}: expected {names}, not {type(value).__name__}")


def _list(argument: str, values: Iterable[T], *types: type) -> list[T]:
    """The values. Raises TypeError, also for one text in place of a list."""
    if isinstance(values, (str, bytes)) or not isinstance(values, Iterable):
        raise TypeError(
            f"{argument}: expected a list, which may have one item, not "
            f"{type(values).__name__}"
        )
    found = list(values)
    for value in found:
        _require(argument, value, *types)
    return found


class _Files:
    """The names of a request's files, and the texts that stand for files."""

    def __init__(self) -> None:
        self.names: list[str] = []
        self.texts: dict[str, str] = {}

    def add(self, source: Source, argument: str, name: str = "") -> str:
        """The file of an argument; for a text <NAME>, by default <ARGUMENT>.

        Raises TypeError and InputError.
        """
        _require(argument, source, str, bytes, os.PathLike)
        file = f"<{name or argument}>"
        if isinstance(source, bytes):
            self.texts[file] = _decode(source, file)
        elif isinstance(source, str) and not source.strip():
            raise InputError([Problem(f"{argument} is an empty text")])
        elif isinstance(source, str) and source.lstrip("\ufeff \t\r\n").startswith(
            ("<", "{", "[")
        ):
            self.texts[file] = source
        else:
            file = os.fspath(source)
            if file == "-":  # for ipav this is standard input
                file = "./-"
        self.names.append(file)
        return file

    def require_answer(self, output: Output, error: type[Error]) -> None:
        """Raises InputError, or `error` if a command was killed."""
        if output.status < 2 or output.output not in ("", "[]\n"):  # explain: []
            return
        if output.status == 3:
            raise error(output.errors.strip() or "the plug-in failed")
        raise InputError(
            Problem.parse(_in_python(line), self.names)
            for line in output.errors.splitlines() or ["unknown error"]
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
    the running configuration of every request that names none, and what
    check_edits() changes.
    """

    def __init__(
        self,
        program: str | os.PathLike[str] | None = None,
        *,
        plugin: str | os.PathLike[str] | None = None,
        yang: str | os.PathLike[str] | None = None,
        running: Source | None = None,
    ) -> None:
        if program is not None:
            _require("program", program, str, os.PathLike)
            program = os.fspath(program)
            if os.sep in program:  # the current folder may change
                program = os.path.abspath(program)
        folders = {"plugin": plugin, "yang": yang}
        for name, file in folders.items():
            if file is not None:
                _require(name, file, str, os.PathLike)
                folders[name] = os.path.abspath(file)
        options = [f"--{name}={file}" for name, file in folders.items() if file]
        self._process = Process(program, options)
        if running is not None:
            files = _Files()
            file = files.add(running, "running")
            if not files.texts:
                running = os.path.abspath(file)
        self._running = running
        self._again = functools.partial(
            type(self), program, **folders, running=running
        )

    def __reduce__(self) -> str | tuple[Any, ...]:
        """A pickled session is one of the same arguments."""
        return self._again, ()

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
        reports = self.check_all(
            [candidate], running=running, all=all, every=every, limit=limit,
            restore=restore, suggest=suggest, timeout=timeout,
        )  # fmt: skip
        if len(reports) != 1:
            problem = "holds several devices: use check_all()"
            raise InputError([Problem(problem, str(candidate))])
        return _judged(reports[0])

    def check_edits(self, edits: Mapping[str, str | None]) -> Report:
        """The verdict on edits of the session's running configuration.

        The keys are paths as in a Difference, the values those of leaves; None
        deletes the node. Each call begins with the running configuration as it
        was read for the first one. All points run, as with check(..., all=True).
        Much faster than check(); the report has no places and no fixes. Raises
        InputError, PluginError and SessionError.
        """
        _require("edits", edits, Mapping)
        for path, value in edits.items():
            _require("a path in edits", path, str)
            if value is not None:
                _require(f"edits[{path!r}]", value, str)
        if self._running is None:
            raise InputError([Problem("edits need a Session(running=...)")])
        files = _Files()
        file = files.add(self._running, "running")
        output = self._process.request(
            {
                "edits": [
                    {"path": path} | ({} if value is None else {"value": value})
                    for path, value in edits.items()
                ]
            },
            {"running": file, "texts": files.texts},
        )
        files.require_answer(output, PluginError)
        return _judged(_parse(Report, output))

    def check_all(
        self,
        candidates: Iterable[Source],
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
        files = _Files()
        names = [
            files.add(each, "candidate", f"candidate {number + 1}" if number else "")
            for number, each in enumerate(_list("candidates", candidates, object))
        ]
        if not names:
            return ()
        output = self._run(
            files, "check", names, running, all=all, every=every, limit=limit,
            restore=restore, suggest=suggest, timeout=timeout, jobs=jobs,
        )  # fmt: skip
        return _parse(_Run, output).devices

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
        files = _Files()
        file = files.add(goal, "goal", "candidate")
        if file not in files.texts and os.path.isdir(file):
            raise InputError([Problem("is a directory, not a file", file)])
        output = self._run(
            files, "plan", [file], running,
            each=each, verdicts=verdicts, timeout=timeout,
        )  # fmt: skip
        plan = _parse(Plan, output)
        if plan.failure is not None and not plan:
            raise PluginError(plan.failure)
        return plan

    def fix(
        self,
        candidate: Source,
        *,
        running: Source | None = None,
        suggested: bool = False,
        only: Iterable[str] = (),
        timeout: int | None = None,
    ) -> Correction:
        """A candidate, corrected as `ipav fix` does. No file is changed.

        `only` has the ids of fixes from check(..., all=True, suggest=True).
        Raises InputError, PluginError and SessionError.
        """
        files = _Files()
        file = files.add(candidate, "candidate")
        if file not in files.texts:
            files.texts[file] = _read(file)  # it may change later
        output = self._run(
            files, "fix", [file], running, _list("only", only, str),
            suggested=suggested, timeout=timeout,
        )  # fmt: skip
        text = unified.apply(files.texts[file], output.output)
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
        if running is None:
            running = "{}" if self._running is None else self._running
        names = [files.add(running, "running"), files.add(candidate, "candidate")]
        output = self._run(files, "diff", names, None, full=full, timeout=timeout)
        return _parse(Difference, output)

    def explain(self, topic: str) -> Point | Rule:
        """What a validation point, a rule or the text of a refusal means.

        Raises InputError if it is unknown, and SessionError.
        """
        _require("topic", topic, str)
        if not topic.strip() or "\n" in topic or topic == "-":
            raise InputError([Problem("a topic is one line of text")])
        output = self.run(["explain", "--format=json", "--", topic])
        _Files().require_answer(output, SessionError)
        is_point = "point" in json.loads(output.output)[0]
        if is_point:
            return _parse(tuple[Point], output)[0]
        return _parse(tuple[Rule], output)[0]

    # --- Requests

    def run(
        self, arguments: Iterable[str], texts: Mapping[str, str] | None = None
    ) -> Output:
        """Runs a command of ipav, but not session, lsp and completion.

        Raises InputError if an option of the session is wrong, and SessionError.
        The command reads the texts instead of the files of their names.
        """
        texts = {} if texts is None else texts
        _require("texts", texts, Mapping)
        for text in (*texts, *texts.values()):
            _require("texts", text, str)
        return self._process.request(
            {
                "arguments": _list("arguments", arguments, str),
                "texts": dict(texts),
            }
        )

    def _run(
        self,
        files: _Files,
        command: str,
        names: Sequence[str],
        running: Source | None,
        only: Iterable[str] = (),
        **options: bool | int | None,
    ) -> Output:
        """Runs a command. Raises an error if it printed nothing."""
        arguments = [command, *(f"--only={each}" for each in only)]
        if command != "fix":
            arguments.append("--format=json")
        for option, value in options.items():
            if value is not None:
                _require(option, value, int if option in _NUMBERS else bool)
            if value is True:
                arguments.append(f"--{option}")
            elif value is not None and value is not False:
                arguments.append(f"--{option}={value}")
        running = self._running if running is None else running
        if command != "diff" and running is not None:
            arguments.append("--running=" + files.add(running, "running"))
        output = self.run([*arguments, "--", *names], files.texts)
        error = SessionError if command == "diff" else PluginError
        files.require_answer(output, error)
        return output


def _judged(report: Report) -> Report:
    """The report, if there is a verdict. Raises InputError and PluginError."""
    if report.verdict is Verdict.BAD_INPUT:
        names = [report.candidate, report.running or report.candidate]
        raise InputError(
            Problem.parse(error, names) for error in report.input_errors
        )
    if report.verdict is Verdict.PLUGIN_FAILED:
        raise PluginError("; ".join(report.failures()))
    return report


def _read(name: str) -> str:
    try:
        return _decode(Path(name).read_bytes(), name)
    except OSError as error:
        raise InputError([Problem(error.strerror or str(error), name)]) from error


def _decode(text: bytes, name: str) -> str:
    try:
        return text.decode()
    except UnicodeDecodeError as error:
        raise InputError([Problem("is not UTF-8", name)]) from error


def _parse(result: type[T], output: Output) -> T:
    try:
        return build(result, json.loads(output.output))
    except (ValueError, KeyError, TypeError) as error:
        raise SessionError(f"an answer of another ipav: {error!r}") from error
