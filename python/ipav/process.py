"""The process of `ipav session`, and the requests to it."""

import itertools
import json
import os
import shutil
import subprocess
import tempfile
import threading
import weakref
from collections.abc import Mapping, Sequence
from dataclasses import dataclass
from typing import IO

from .errors import Error, InputError, Problem, SessionError

_GRACE = 2.0  # seconds for the process to end by itself
_PART = 65536  # bytes of an answer, read at once
_LAST_LINES = 20  # of the process's standard error, in a SessionError


@dataclass(frozen=True, slots=True)
class Output:
    """What a command did, as a shell sees it."""

    status: int
    output: str
    errors: str


def _end(process: subprocess.Popen[bytes], log: IO[bytes]) -> None:
    """Ends an idle process; a command that runs is killed with it.

    The pipes have no buffers and so no locks, which other threads might hold.
    """
    assert process.stdin is not None and process.stdout is not None
    process.stdin.close()
    process.stdout.close()
    log.close()
    try:
        process.wait(_GRACE)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


def _end_at_exit(
    process: subprocess.Popen[bytes], log: IO[bytes], lock: threading.Lock
) -> None:
    """Ends the process of nobody, or that of a thread that ends as well."""
    if lock.locked():  # it has a request, the answer to which nobody awaits
        process.kill()
    _end(process, log)


class Process:
    """A process that starts with the first request.

    It starts again after it died, or after the current folder changed. A child
    of os.fork() has a process of its own. Threads take turns.
    """

    def __init__(
        self, program: str | os.PathLike[str] | None, options: Sequence[str]
    ) -> None:
        self._program = program
        self._options = options
        self._ids = itertools.count(1)
        self._reset()
        _processes.add(self)

    def _reset(self) -> None:
        self._lock = threading.Lock()
        self._process: subprocess.Popen[bytes] | None = None
        self._finalizer: weakref.finalize | None = None
        self._folder = ""
        self._is_ready = False

    @property
    def number(self) -> int | None:
        """That of the system; None if no process runs."""
        return None if self._process is None else self._process.pid

    def close(self) -> None:
        with self._lock:
            self._stop()

    def request(
        self, members: Mapping[str, object], once: Mapping[str, object] | None = None
    ) -> Output:
        """The answer to a request.

        The members `once` are added until the process has answered a request with
        them. Raises InputError if a text is not UTF-8 or an option of the process
        is wrong, and SessionError.
        """
        with self._lock:
            number = next(self._ids)
            try:
                process = self._started()
                request: dict[str, object] = {**members, "id": number}
                if once and not self._is_ready:
                    request.update(once)
                line = json.dumps(request, ensure_ascii=False).encode() + b"\n"
                answer = json.loads(self._exchange(process, line))
                if answer["id"] != number:
                    raise ValueError("the answer is not to this request")
                output = Output(
                    answer["status"], answer["output"], answer["errors"]
                )
            except UnicodeEncodeError as error:
                problem = Problem("a name or a text is not UTF-8")
                raise InputError([problem]) from error
            except (OSError, ValueError, KeyError, TypeError) as error:
                raise self._death(error) from error
            except BaseException:  # the answer would come to the next request
                self._stop()
                raise
            self._is_ready |= once is not None and output.status != 2
            return output

    @staticmethod
    def _exchange(process: subprocess.Popen[bytes], line: bytes) -> bytearray:
        """Sends a request. Returns the answer. Raises OSError."""
        assert process.stdin is not None and process.stdout is not None
        rest = memoryview(line)
        while rest:
            rest = rest[os.write(process.stdin.fileno(), rest) :]
        answer = bytearray()
        while not answer.endswith(b"\n"):
            part = os.read(process.stdout.fileno(), _PART)
            if not part:
                raise BrokenPipeError("it ended without an answer")
            answer += part
        return answer

    def _started(self) -> subprocess.Popen[bytes]:
        try:
            folder = os.getcwd()
        except FileNotFoundError as error:
            raise SessionError("the current folder does not exist") from error
        if self._process is not None and self._folder != folder:
            self._stop()
        if self._process is None:
            command = [self._find_program(), "session", *self._options]
            self._log = tempfile.TemporaryFile(buffering=0)
            self._process = subprocess.Popen(
                command,
                stdin=subprocess.PIPE,
                stdout=subprocess.PIPE,
                stderr=self._log,
                bufsize=0,
                start_new_session=True,  # Ctrl-C is for this process
            )
            self._folder = folder
            self._finalizer = weakref.finalize(
                self, _end_at_exit, self._process, self._log, self._lock
            )
        return self._process

    def _find_program(self) -> str:
        program = os.fspath(
            self._program or os.environ.get("IPAV") or "ipav"
        )
        found = shutil.which(program)
        if found is None:
            raise FileNotFoundError(f"{program}: there is no such program")
        return found

    def _stop(self) -> None:
        if self._process is not None and self._finalizer is not None:
            if self._finalizer.detach():
                _end(self._process, self._log)
        self._finalizer = None
        self._process = None
        self._is_ready = False

    def _death(self, error: Exception) -> Error:
        """Ends what is left of the process. Returns the error to raise."""
        if self._process is None:
            return SessionError(str(error))
        try:
            status = self._process.wait(_GRACE)
        except subprocess.TimeoutExpired:
            self._process.kill()
            status = self._process.wait()
        self._log.seek(0)
        lines = self._log.read().decode(errors="replace").splitlines()
        self._stop()
        if status == 2 and lines:  # an option is wrong
            return InputError(Problem(line.removeprefix("ipav: ")) for line in lines)
        how = f"signal {-status}" if status < 0 else f"status {status}"
        return SessionError(
            "\n".join([f"ipav session: {error} ({how})", *lines[-_LAST_LINES:]])
        )

    def _forget(self) -> None:
        """In a child of os.fork(): the process is that of the parent."""
        if self._finalizer is not None:
            self._finalizer.detach()
        if self._process is not None:
            assert self._process.stdin and self._process.stdout
            self._process.stdin.close()
            self._process.stdout.close()
            self._process.returncode = 0  # not to be waited for here
        self._reset()


_processes: "weakref.WeakSet[Process]" = weakref.WeakSet()


def _forget_all() -> None:
    for process in list(_processes):
        process._forget()


os.register_at_fork(after_in_child=_forget_all)
