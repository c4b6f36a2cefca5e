"""Verdicts on IP configurations, by the validation plug-in of the router.

The functions of this module use one process of the program ipav, which starts
with the first call and ends with the interpreter. A Session is a process of its
own, with its own plug-in or data model.

A configuration is a file or a text: bytes, and a str that begins, after blanks,
with "<", "{" or "[", are a text in XML or JSON; any other str, and each
os.PathLike, is the name of a file.
"""

from .errors import (
    Error as Error,
    InputError as InputError,
    PluginError as PluginError,
    Problem as Problem,
    SessionError as SessionError,
)
from .process import Output as Output
from .results import (
    Answer as Answer,
    Call as Call,
    Calls as Calls,
    Change as Change,
    ChangeKind as ChangeKind,
    Commit as Commit,
    Correction as Correction,
    Culprit as Culprit,
    Detour as Detour,
    Difference as Difference,
    Edit as Edit,
    Failure as Failure,
    Finding as Finding,
    Fix as Fix,
    Novelty as Novelty,
    Place as Place,
    Plan as Plan,
    Point as Point,
    Refusal as Refusal,
    Report as Report,
    Restart as Restart,
    Rule as Rule,
    Use as Use,
    Verdict as Verdict,
)
from .session import Session as Session, Source as Source


class _Shared(Session):
    def __reduce__(self) -> str:
        return "_shared"  # for pickled functions, of a pool of processes


_shared = _Shared()

check = _shared.check
check_all = _shared.check_all
plan = _shared.plan
fix = _shared.fix
diff = _shared.diff
explain = _shared.explain
