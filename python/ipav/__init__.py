"""Verdicts on IP configurations, by the validation plug-in of the router.

The functions of this module use one process of the program ipav, which starts
with the first call and ends with the interpreter. A Session is a process of its
own, with its own plug-in or data model.

A configuration is a file or a text: a str that begins, after blanks, with "<",
"{" or "[" is a text in XML or JSON; any other str, and each os.PathLike, is the
name of a file.
"""

from .errors import Error, InputError, PluginError, Problem, SessionError
from .process import Output
from .results import (
    Answer,
    Call,
    Calls,
    Change,
    ChangeKind,
    Commit,
    Correction,
    Culprit,
    Detour,
    Difference,
    Edit,
    Failure,
    Finding,
    Fix,
    Novelty,
    Place,
    Plan,
    Point,
    Refusal,
    Report,
    Restart,
    Rule,
    Use,
    Verdict,
)
from .session import Session, Source

_shared = Session()

check = _shared.check
check_all = _shared.check_all
plan = _shared.plan
fix = _shared.fix
diff = _shared.diff
explain = _shared.explain

__all__ = [
    "Answer",
    "Call",
    "Calls",
    "Change",
    "ChangeKind",
    "Commit",
    "Correction",
    "Culprit",
    "Detour",
    "Difference",
    "Edit",
    "Error",
    "Failure",
    "Finding",
    "Fix",
    "InputError",
    "Novelty",
    "Output",
    "Place",
    "Plan",
    "PluginError",
    "Point",
    "Problem",
    "Refusal",
    "Report",
    "Restart",
    "Rule",
    "Session",
    "SessionError",
    "Source",
    "Use",
    "Verdict",
    "check",
    "check_all",
    "diff",
    "explain",
    "fix",
    "plan",
]
