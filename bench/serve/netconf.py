"""NETCONF for tests and measurements: sessions framed by hand, servers, and
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
HELLO = (f'<hello xmlns="{NETCONF}"><capabilities><capability>'
         "urn:ietf:params:netconf:base:%s</capability></capabilities></hello>")
GET = "<get-config><source><running/></source></get-config>"
MARK = b"]]>]]>"
HEADER = re.compile(rb"\n#(#|[1-9][0-9]*)\n")

# Seconds that a busy machine may take for a start, or for an answer.
PATIENCE = 120


def wait_until(condition, what, has_ended=lambda: False):
    """Until the condition holds; `what` tells what is there otherwise."""
    end = time.monotonic() + PATIENCE
    while True:
        is_over = has_ended() or time.monotonic() > end
        if condition():
            return
        if is_over:
            raise RuntimeError(what())
        time.sleep(0.01)


def chunked(text):
    """A message as a client of NETCONF 1.1 sends it."""
    data = text.encode()
    return b"\n#%d\n%s\n##\n" % (len(data), data)


class Session:
    """A NETCONF session over a connected socket, its own from now on."""

    def __init__(self, connection, process=None, version="1.1", greet=True):
        self.socket = connection
        self.process = process  # what stands at its other end, if any
        self.version = version
        self.bytes = b""
        self.number = 0
        self.hello = None
        self.socket.settimeout(PATIENCE)
        if greet:
            self.send((HELLO % version).encode() + MARK)
            self.hello = self.receive_marked()

    def send(self, data):
        self.socket.sendall(data)

    def more(self):
        got = self.socket.recv(1 << 20)
        if not got:
            raise EOFError(self.bytes)
        self.bytes += got

    def receive_marked(self):
        while MARK not in self.bytes:
            self.more()
        message, self.bytes = self.bytes.split(MARK, 1)
        return message.decode()

    def receive_chunked(self):
        message = []
        while True:
            while not (header := HEADER.match(self.bytes)):
                self.more()
            self.bytes = self.bytes[header.end():]
            if header.group(1) == b"#":
                return b"".join(message).decode()
            size = int(header.group(1))
            while len(self.bytes) < size:
                self.more()
            message.append(self.bytes[:size])
            self.bytes = self.bytes[size:]

    def receive(self):
        return self.receive_marked() if self.version == "1.0" \
            else self.receive_chunked()

    def send_message(self, text):
        self.send(text.encode() + MARK if self.version == "1.0" else
                  chunked(text))

    def rpc(self, operation):
        """The reply to an operation."""
        self.number += 1
        self.send_message(f'<rpc message-id="{self.number}" '
                          f'xmlns="{NETCONF}">{operation}</rpc>')
        return self.receive()

    def close(self):
        self.socket.close()
        if self.process:
            self.process.terminate()
            self.process.wait()


def connect_unix(path, kind=Session, **more):
    connection = socket.socket(socket.AF_UNIX)
    try:
        connection.connect(str(path))
        return kind(connection, **more)
    except BaseException:
        connection.close()
        raise


def connect_command(command, environment=None):
    """A session with the server that COMMAND carries bytes to and from."""
    ours, its = socket.socketpair()
    with its, tempfile.TemporaryFile() as messages:
        process = subprocess.Popen(
            command, stdin=its, stdout=its, stderr=messages,
            env={**os.environ, **(environment or {})})
        its.close()
        try:
            return Session(ours, process)
        except (OSError, EOFError) as error:
            process.kill()
            process.wait()
            messages.seek(0)
            text = messages.read().decode(errors="replace")
            raise RuntimeError(f"{command}: {error} {text}") from error


def is_ok(reply):
    return "<ok/>" in reply and "rpc-error" not in reply


def error_of(reply):
    """The parts of the first error by name, entities left as they are."""
    part = r"<(?:\w+:)?(error-[a-z-]+)(?: [^>]*)?>([^<]*)</"
    parts = {}
    for name, text in re.findall(part, reply.partition("rpc-error")[2]):
        parts.setdefault(name, text.strip())
    return parts


class Process:
    """A server that was started, and what it takes."""

    def __init__(self, command, log, folder=None, environment=None):
        self.log_file = pathlib.Path(log)
        with open(log, "wb") as file:
            self.process = subprocess.Popen(
                command, stdin=subprocess.DEVNULL, stdout=file, stderr=file,
                cwd=folder, env={**os.environ, **(environment or {})})
        self.pid = self.process.pid

    def log(self):
        return self.log_file.read_text(errors="replace")

    def has_ended(self):
        return self.process.poll() is not None

    def wait_until(self, condition, what):
        """Until the condition holds; otherwise the server is killed."""
        try:
            wait_until(condition, lambda: f"{what} in: {self.log()}",
                       self.has_ended)
        except RuntimeError:
            self.stop(signal.SIGKILL)
            raise

    def wait_for_log(self, text, count=1):
        self.wait_until(lambda: self.log().count(text) >= count,
                        f"no {text!r}")

    def stop(self, number=signal.SIGTERM):
        if not self.has_ended():
            self.process.send_signal(number)
        try:
            return self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            return self.process.wait()


class Server(Process):
    """ipavd, which accepts clients; by a program `under` it."""

    def __init__(self, ipavd, state, *options, environment=None, under=()):
        self.state = pathlib.Path(state)
        self.socket = str(self.state / "netconf.sock")
        super().__init__([*under, ipavd, "--state", str(state), *options],
                         self.state.with_suffix(".log"),
                         environment=environment)
        has_ssh = "--ssh" in options
        self.wait_for_log(
            "listening for SSH on" if has_ssh else "listening on")
        self.port = int(re.search(r"listening for SSH on .*:(\d+)$", self.log(),
                                  re.M).group(1)) if has_ssh else None


def children(pid):
    """The children of a process, as numbers; none if it has ended."""
    try:
        tasks = pathlib.Path(f"/proc/{pid}/task/{pid}/children")
        return {int(child) for child in tasks.read_text().split()}
    except OSError:
        return set()


def family(pid):
    """All processes that descend from one, without itself."""
    found = children(pid)
    return found.union(*map(family, found))


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
