"""NETCONF for measurements: sessions without a library's waiting, servers, and
what both take."""

import os
import pathlib
import re
import signal
import socket
import subprocess
import tempfile
import time

NETCONF = "urn:ietf:params:xml:ns:netconf:base:1.0"
HELLO = (
    f'<hello xmlns="{NETCONF}"><capabilities><capability>'
    "urn:ietf:params:netconf:base:1.1</capability></capabilities></hello>"
)
MARK = b"]]>]]>"
HEADER = re.compile(rb"\n#(#|[1-9][0-9]*)\n")

# Seconds for a start, or for an answer, of a machine that is busy.
PATIENCE = 120


class Session:
    """A NETCONF 1.1 session over a connected socket, its own from now on."""

    def __init__(self, connection, process=None):
        self.socket = connection
        self.process = process  # what stands at its other end, if any
        self.bytes = b""
        self.number = 0
        self.socket.settimeout(PATIENCE)
        self.socket.sendall(HELLO.encode() + MARK)
        self.hello = self.receive_hello()

    def more(self):
        got = self.socket.recv(1 << 20)
        if not got:
            raise EOFError("the server ended the session")
        self.bytes += got

    def receive_hello(self):
        while MARK not in self.bytes:
            self.more()
        hello, self.bytes = self.bytes.split(MARK, 1)
        return hello.decode()

    def receive(self):
        message = []
        while True:
            header = HEADER.match(self.bytes)
            while not header:
                self.more()
                header = HEADER.match(self.bytes)
            self.bytes = self.bytes[header.end() :]
            if header.group(1) == b"#":
                return b"".join(message).decode()
            size = int(header.group(1))
            while len(self.bytes) < size:
                self.more()
            message.append(self.bytes[:size])
            self.bytes = self.bytes[size:]

    def rpc(self, operation):
        """The reply to an operation."""
        self.number += 1
        text = (
            f'<rpc message-id="{self.number}" xmlns="{NETCONF}">'
            f"{operation}</rpc>"
        ).encode()
        self.socket.sendall(b"\n#%d\n%s\n##\n" % (len(text), text))
        return self.receive()

    def close(self):
        self.socket.close()
        if self.process:
            self.process.terminate()
            self.process.wait()


def connect_unix(path):
    connection = socket.socket(socket.AF_UNIX)
    connection.connect(str(path))
    return Session(connection)


def connect_command(command, environment=None):
    """A session with the server that COMMAND carries bytes to and from."""
    ours, its = socket.socketpair()
    with its, tempfile.TemporaryFile() as messages:
        process = subprocess.Popen(
            command,
            stdin=its,
            stdout=its,
            stderr=messages,
            env={**os.environ, **(environment or {})},
        )
        its.close()
        try:
            return Session(ours, process)
        except (OSError, EOFError) as error:
            process.kill()
            process.wait()
            messages.seek(0)
            text = messages.read().decode(errors="replace")
            text = f"{' '.join(command)}: {error} {text}"
            raise RuntimeError(text) from error


def is_ok(reply):
    return "<ok/>" in reply and "rpc-error" not in reply


def error_of(reply):
    """The parts of the first error by name, entities left as they are."""
    error = re.search(r"<(?:\w+:)?rpc-error[ >].*", reply, re.S)
    if not error:
        return {}
    part = r"<(?:\w+:)?(error-[a-z-]+)(?: [^>]*)?>([^<]*)</"
    parts = {}
    for name, text in re.findall(part, error.group()):
        parts.setdefault(name, text.strip())
    return parts


class Process:
    """A server that was started, and what it takes."""

    def __init__(self, command, log, folder=None):
        self.log = pathlib.Path(log)
        with open(log, "wb") as file:
            self.process = subprocess.Popen(
                command,
                stdin=subprocess.DEVNULL,
                stdout=file,
                stderr=file,
                cwd=folder,
            )
        self.pid = self.process.pid

    def wait_until(self, condition, what):
        end = time.monotonic() + PATIENCE
        while not condition():
            if self.process.poll() is not None or time.monotonic() > end:
                text = self.log.read_text(errors="replace")
                self.stop(signal.SIGKILL)
                raise RuntimeError(f"{what}: {text}")
            time.sleep(0.01)

    def wait_for_log(self, text):
        self.wait_until(
            lambda: text in self.log.read_text(errors="replace"),
            f"the server does not say {text!r}",
        )

    def stop(self, number=signal.SIGTERM):
        if self.process.poll() is None:
            self.process.send_signal(number)
        try:
            return self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            return self.process.wait()


def serve(ipavd, state, log, *options):
    """ipavd, which accepts clients."""
    server = Process([ipavd, "--state", str(state), *options], log)
    server.wait_for_log(
        "listening for SSH on" if "--ssh" in options else "listening on"
    )
    return server


def family(pid):
    """All processes that descend from one, without itself."""
    try:
        with open(f"/proc/{pid}/task/{pid}/children", encoding="ascii") as file:
            children = [int(child) for child in file.read().split()]
    except OSError:
        return []  # it ended meanwhile
    return children + [each for child in children for each in family(child)]


def memory(pid, name="VmRSS", file="status"):
    """KiB of a process; 0 where it has ended."""
    try:
        with open(f"/proc/{pid}/{file}", encoding="ascii") as lines:
            for line in lines:
                if line.startswith(name + ":"):
                    return int(line.split()[1])
    except OSError:
        pass
    return 0


def data_of(pids):
    """KiB of processes that are of no file; a page of n is an n-th of each."""
    return sum(memory(pid, "Pss_Anon", "smaps_rollup") for pid in pids)


def quantile(values, share):
    ordered = sorted(values)
    return ordered[min(int(len(ordered) * share), len(ordered) - 1)]


def load_average():
    return " ".join(f"{each:.1f}" for each in os.getloadavg())
