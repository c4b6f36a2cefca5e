"""What ipav answers, as dataclasses."""

import enum
import functools
import types
import typing
from collections.abc import Iterable, Mapping
from dataclasses import dataclass, fields, is_dataclass
from typing import Any, TypeVar


class Verdict(enum.Enum):
    ACCEPTED = "accepted"
    REFUSED = "refused"
    BAD_INPUT = "badInput"
    PLUGIN_FAILED = "pluginFailed"


class Novelty(enum.Enum):
    """What the candidate did to a node."""

    UNCHANGED = "unchanged"
    ADDED = "added"
    CHANGED = "changed"
    REMOVED = "removed"


class ChangeKind(enum.Enum):
    ADDED = "added"
    CHANGED = "changed"
    DELETED = "deleted"


@dataclass(frozen=True, slots=True)
class Place:
    """Where a node is written; lines and columns are from 1, in characters."""

    file: str
    line: int
    column: int
    length: int
    source_line: str
    skipped: int  # characters of the line before source_line, if it is long

    def __str__(self) -> str:
        return f"{self.file}:{self.line}:{self.column}"


@dataclass(frozen=True, slots=True)
class Culprit:
    """A node that a refusal is about."""

    role: str
    path: str
    novelty: Novelty
    value: str | None = None
    place: Place | None = None  # None: it is in no file, as a default

    def __str__(self) -> str:
        where = self.path if self.place is None else str(self.place)
        return f"{where}: {self.role}, {self.novelty.value}"


@dataclass(frozen=True, slots=True)
class Edit:
    """A part of the candidate, and the text to write instead.

    Lines and columns are from 1, in characters; the end is after the part.
    """

    line: int
    column: int
    end_line: int
    end_column: int
    text: str


@dataclass(frozen=True, slots=True)
class Fix:
    """A way out of a refusal that the plug-in accepts."""

    id: str
    safe: bool  # the configuration means the same afterwards
    text: str
    edits: tuple[Edit, ...]

    def __str__(self) -> str:
        return f"{'safe' if self.safe else 'suggested'}: {self.text}"


@dataclass(frozen=True, slots=True)
class Finding:
    """A refusal, and the nodes that it is about."""

    text: str  # the operator's
    point: str
    path: str
    culprits: tuple[Culprit, ...]
    rule: str | None = None
    title: str | None = None
    advice: str | None = None
    anchor: str | None = None  # heading in docs/messages.md
    note: str | None = None  # why culprits are missing
    fixes: tuple[Fix, ...] | None = None  # None: they were not asked for
    standing: bool = False  # the change did not cause it
    behind: bool = False  # reported only after another one is corrected

    def __str__(self) -> str:
        lines = [self.text, *(f"  {culprit}" for culprit in self.culprits)]
        if self.behind:
            lines.append("  behind another finding of this point")
        if self.note:
            lines.append(f"  note: {self.note}")
        if self.advice:
            lines.append(f"  what to do: {self.advice}")
        return "\n".join([*lines, *(f"  {fix}" for fix in self.fixes or ())])


@dataclass(frozen=True, slots=True)
class Calls:
    """Numbers of validation calls."""

    planned: int
    made: int


@dataclass(frozen=True, slots=True)
class Answer:
    """What a validation point answered to one call."""

    point: str
    path: str
    accepted: bool
    result: int  # 0 accepted, -1 refused, -3 accepted with a warning
    text: str | None = None
    exception: str | None = None


@dataclass(frozen=True, slots=True)
class Failure:
    """How the plug-in failed."""

    reason: str
    point: str | None = None
    path: str | None = None


@dataclass(frozen=True, slots=True)
class Restart:
    """The verdict after a restart, which `restore` asks for."""

    same_as_change: bool = False
    validation_calls: Calls | None = None
    findings: tuple[Finding, ...] = ()
    healed: tuple[Finding, ...] = ()


@dataclass(frozen=True, slots=True, repr=False)
class Report:
    """The verdict on one candidate. It is true if the candidate is accepted."""

    candidate: str
    verdict: Verdict
    running: str | None = None
    findings: tuple[Finding, ...] = ()
    more_findings: str | None = None  # that `every` did not list all, and why
    restart: Restart | None = None
    advice: tuple[str, ...] = ()
    validation_calls: Calls | None = None
    answers: tuple[Answer, ...] = ()
    failure: Failure | None = None
    input_errors: tuple[str, ...] = ()
    plugin_output: str | None = None
    faults: tuple[str, ...] = ()  # that the plug-in raised
    left_open: tuple[str, ...] = ()  # what the plug-in did not close
    platform_calls: Mapping[str, int] | None = None

    @property
    def accepted(self) -> bool:
        return self.verdict is Verdict.ACCEPTED

    def __bool__(self) -> bool:
        return self.accepted

    def __str__(self) -> str:
        lines = [f"{self.candidate}: {self.verdict.value}"]
        lines += map(str, self.refusals())
        if self.more_findings:
            lines.append(self.more_findings)
        return "\n".join([*lines, *self.input_errors, *self.failures()])

    def __repr__(self) -> str:
        """In one line, for `assert ipav.check(...)` in a test."""
        texts = [finding.text for finding in self.refusals()]
        verdict = f"{self.candidate}: {self.verdict.value}"
        return f"<Report {'; '.join([verdict, *texts, *self.input_errors])}>"

    def refusals(self) -> tuple[Finding, ...]:
        """The findings of the change, and the new ones after a restart.

        What is found in both is listed once.
        """
        after = self.restart.findings if self.restart else ()
        new = [finding for finding in after if not finding.standing]
        refusals: dict[object, Finding] = {}
        for finding in (*self.findings, *new):
            paths = tuple(culprit.path for culprit in finding.culprits)
            key = finding.text, finding.point, finding.path, paths
            refusals.setdefault(key, finding)
        return tuple(refusals.values())

    def failures(self) -> list[str]:
        """How the plug-in failed; empty if it did not."""
        answers = [
            f"{answer.point}, {answer.path}: {answer.exception}"
            for answer in self.answers
            if answer.exception is not None
        ]
        return answers + ([self.failure.reason] if self.failure else [])


def _counted(number: int, one: str, several: str) -> str:
    return f"{number} {one if number == 1 else several}"


def _listed(changes: Iterable["Change"], indent: str = "") -> str:
    return "\n".join(f"{indent}{change}" for change in changes)


@dataclass(frozen=True, slots=True)
class Change:
    """A node that differs between two configurations."""

    change: ChangeKind
    path: str
    leaves: int | None = None  # of a list entry
    old: str | None = None
    new: str | None = None

    def __str__(self) -> str:
        sign = {"added": "+", "changed": "~", "deleted": "-"}[self.change.value]
        text = f"{sign} {self.path}"
        if self.leaves:
            return f"{text} ({_counted(self.leaves, 'leaf', 'leaves')})"
        values = [value for value in (self.old, self.new) if value is not None]
        return f"{text}: {' -> '.join(values)}" if values else text


@dataclass(frozen=True, slots=True)
class Call:
    """A call of a validation point, and the changes that cause it."""

    point: str
    path: str
    changed: tuple[str, ...]


@dataclass(frozen=True, slots=True)
class Difference:
    """What a candidate changes. It is true if it changes anything."""

    changes: tuple[Change, ...]
    calls: tuple[Call, ...]

    def __bool__(self) -> bool:
        return bool(self.changes)

    def __str__(self) -> str:
        return _listed(self.changes)


@dataclass(frozen=True, slots=True)
class Commit:
    """One commit of a plan."""

    calls: int  # validation calls; 0 if nothing was judged
    changes: tuple[Change, ...]

    def __str__(self) -> str:
        return _listed(self.changes)


@dataclass(frozen=True, slots=True)
class Detour:
    """A node of both configurations that a plan takes away for a while."""

    path: str
    away: int  # number of the commit that takes it away, from 1
    back: int  # number of the commit that puts it back
    effect: str  # what is missing in between


@dataclass(frozen=True, slots=True)
class Refusal:
    """A set of changes that is refused in any order."""

    smallest: bool  # without any one of the changes, the set has a plan
    changes: tuple[Change, ...]
    refusal: Report


@dataclass(frozen=True, slots=True)
class Plan:
    """The commits that lead to a goal. It is true if they reach it."""

    goal: str
    result: str  # what `ipav plan` says of it in its first line
    reached: bool
    proven: bool  # no plan without detours has fewer commits
    complete: bool  # False: the search ended at a limit
    verdicts: int
    seconds: float
    commits: tuple[Commit, ...]
    detours: tuple[Detour, ...]
    refused: tuple[Refusal, ...]
    left_out: tuple[Change, ...]
    unreplaced: tuple[Change, ...]
    unexamined: int = 0  # changes of left_out that `refused` says nothing about
    running: str | None = None
    failure: str | None = None
    one_commit: str | None = None  # refusal of all changes in one commit

    def __bool__(self) -> bool:
        return self.reached

    def __str__(self) -> str:
        lines = [f"{self.goal}: {self.result}"]
        for refused in self.refused:
            lines += ["", "refused in any order:", _listed(refused.changes, "  ")]
            lines += map(str, refused.refusal.refusals())
        if self.unexamined:
            more = _counted(self.unexamined, "change", "changes")
            lines += ["", f"and {more} more, not examined"]
        if self.commits and not self.reached:
            lines += ["", "left out:", _listed(self.left_out, "  ")]
        if self.unreplaced:
            lines.append("deleted, although what may replace it is left out:")
            lines.append(_listed(self.unreplaced, "  "))
        for number, commit in enumerate(self.commits, 1):
            lines += ["", f"commit {number}:", _listed(commit.changes, "  ")]
            for detour in self.detours:
                if detour.away == number:
                    lines.append(f"  detour: {detour.path}")
                    lines.append(
                        f"    comes back with commit {detour.back}; until then "
                        + detour.effect
                    )
        return "\n".join(lines)


@dataclass(frozen=True, slots=True)
class Correction:
    """A corrected configuration. It is true if no refusal is left."""

    text: str
    diff: str  # unified; empty if nothing is corrected
    complete: bool  # no refusal is left
    left: tuple[Finding, ...]  # the refusals of `text`, with fixes

    def __bool__(self) -> bool:
        return self.complete

    def __str__(self) -> str:
        lines = [self.diff] if self.diff else []
        for finding in self.left:
            lines.append(f"not corrected: {finding.text}\n")
            lines.append(f"  data path: {finding.path}\n")
            lines += [f"  {fix}\n" for fix in finding.fixes or ()]
        return "".join(lines)


@dataclass(frozen=True, slots=True)
class Rule:
    """What a rule, or a text of it, means."""

    topic: str
    rule: str
    title: str
    anchor: str
    texts: tuple[str, ...]
    about: tuple[str, ...]
    advice: str
    why: tuple[str, ...]
    points: tuple[str, ...]
    # If the topic is a text: the values of its fields, in each reading.
    readings: tuple[Mapping[str, str], ...] = ()

    def __str__(self) -> str:
        return "\n".join([self.title, *self.about, f"What to do: {self.advice}"])


@dataclass(frozen=True, slots=True)
class Use:
    """A node of the data model that has a validation point."""

    path: str
    call_once: bool  # once for a list
    dependencies: tuple[str, ...]  # empty: it runs at every commit


@dataclass(frozen=True, slots=True)
class Point:
    """What a validation point tests."""

    topic: str
    point: str
    about: tuple[str, ...]
    steps: tuple[str, ...]
    rules: tuple[str, ...]
    uses: tuple[Use, ...]

    def __str__(self) -> str:
        return "\n".join([self.point, *self.about, *self.steps])


T = TypeVar("T")


def _in_json(name: str) -> str:
    """The member of JSON for an attribute: "left_out" is "leftOut"."""
    first, *others = name.split("_")
    return first + "".join(map(str.capitalize, others))


@functools.cache
def _attributes(cls: type) -> list[tuple[str, str, Any]]:
    hints = typing.get_type_hints(cls)
    return [(f.name, _in_json(f.name), hints[f.name]) for f in fields(cls)]


def build(hint: type[T], json: object) -> T:
    """A dataclass from JSON. Unknown members are ignored.

    Raises TypeError, ValueError or KeyError if the JSON does not fit.
    """
    value: T = _build(hint, json)
    return value


def _build(hint: Any, json: Any) -> Any:
    origin = typing.get_origin(hint)
    if origin is tuple:
        item = typing.get_args(hint)[0]
        return tuple(_build(item, each) for each in json)
    if origin is types.UnionType:  # with None
        return _build(typing.get_args(hint)[0], json)
    if origin is Mapping:
        return dict(json)
    if is_dataclass(hint):
        return hint(
            **{
                name: _build(type_, json[member])
                for name, member, type_ in _attributes(typing.cast(type, hint))
                if member in json
            }
        )
    if hint is str and isinstance(json, dict):  # a line of a list
        return _build(str, json["text"])
    if issubclass(hint, enum.Enum):
        return hint(json)
    if hint is float and isinstance(json, int):
        return float(json)
    if not isinstance(json, hint):
        raise TypeError(f"{json!r} is not {hint.__name__}")
    return json
