"""A server of a test's own: its state folder, its port, and its clients."""

import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import time
import unittest
import xml.etree.ElementTree as ElementTree

import paramiko
from ncclient import manager

ROOT = pathlib.Path(__file__).resolve().parents[3]
IPAV = os.environ.get("IPAV_PROGRAM", str(ROOT / "build/dev/bin/ipav"))
IPAVD = os.environ.get("IPAVD_PROGRAM", str(ROOT / "build/dev/bin/ipavd"))
TEST_PLUGINS = os.environ.get(
    "IPAV_TEST_PLUGINS", str(ROOT / "build/dev/tests/host/plugins"))

NETCONF = "urn:ietf:params:xml:ns:netconf:base:1.0"
CONFIG = "urn:vorplex:config"
IPAPP = "urn:vorplex:ipapp"

HELLO = (f'<hello xmlns="{NETCONF}"><capabilities><capability>'
         "urn:ietf:params:netconf:base:%s</capability></capabilities></hello>")

GET = "<get-config><source><running/></source></get-config>"

# A request whose answer takes five seconds.
SLOW = ('<get><filter type="xpath" select="//*[count(//*[count(//*[count(//*)'
        ' &gt; 1]) &gt; 1]) &gt; 1]"/></get>')

# What a busy machine may take for a start, or for an answer.
PATIENCE = 120

# The process of a client may read for 250 ms of CPU time, and for as long again
# for each MiB. With sanitizers, many small elements take two thirds of that; with
# such a comment, a quarter.
PADDING = f"<!--{'x' * (4 << 20)}-->"


def local_name(element):
    return element.tag.rsplit("}", 1)[-1]


def wait_until(condition, what):
    """Until the condition holds; `what` tells what is there otherwise."""
    end = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(what())
        time.sleep(0.01)


def children(process):
    """The children of a process, as numbers; none if it has ended."""
    try:
        tasks = pathlib.Path(f"/proc/{process}/task/{process}/children")
        return {int(child) for child in tasks.read_text().split()}
    except OSError:
        return set()


def cpu_seconds(process, of_children=False):
    """The CPU time of a process, and of its children that it waited for; no
    value if it has ended."""
    try:
        stat = pathlib.Path(f"/proc/{process}/stat").read_text()
    except OSError:
        return None
    fields = stat.rpartition(")")[2].split()
    times = fields[11:15] if of_children else fields[11:13]
    return None if fields[0] == "Z" else \
        sum(map(int, times)) / os.sysconf("SC_CLK_TCK")


def chunked(text):
    """A message as a client of NETCONF 1.1 sends it."""
    data = text.encode()
    return b"\n#%d\n%s\n##\n" % (len(data), data)


def l3(name, address=None, more="", operation=None):
    """An interface of kind l3, as an element of the configuration."""
    mark = f' xmlns:nc="{NETCONF}" nc:operation="{operation}"' \
        if operation else ""
    ip = f"<ipv4><address><ip>{address}</ip></address></ipv4>" \
        if address else ""
    return (f'<l3 xmlns="{IPAPP}"{mark}><name>{name}</name>{more}{ip}</l3>')


def config(*interfaces):
    """The whole configuration of these interfaces."""
    return (f'<config xmlns="{CONFIG}"><interface>' + "".join(interfaces) +
            "</interface></config>")


def model_of(folder, body):
    """A folder of YANG with the module m of that body."""
    yang = pathlib.Path(folder) / "yang"
    shutil.copytree(ROOT / "yang/stubs", yang / "stubs")
    shutil.copy(ROOT / "yang/ipav-extensions.yang", yang)
    (yang / "m.yang").write_text(
        'module m { yang-version 1.1; namespace "urn:m"; prefix m;'
        f"import tailf-common {{ prefix tailf; }} {body} }}")
    return str(yang)


def wild_model(folder):
    """A model for the plug-in obeys_opaque, which does what a leaf is named."""
    deeds = ["_exit", "hang", "overflow-stack", "kill-parent", "close-files",
             "spawn-and-crash", "refuse-in-odd-bytes", "refuse-at-length"]
    leaves = "".join(
        f"leaf {deed} {{ type string; tailf:validate test_set {{ "
        f'tailf:opaque {deed}; tailf:dependency "."; }} }}' for deed in deeds)
    return model_of(folder, f"container top {{ {leaves} "
                    "leaf nothing { type string; } }")


class Server:
    """ipavd, started, by a program `under` it; ends with the test."""

    def __init__(self, folder, *options, environment=None, under=()):
        self.folder = pathlib.Path(folder)
        self.socket = str(self.folder / "netconf.sock")
        self.port = None
        self.log_file = self.folder.with_suffix(".log")
        self.log_start = self.log_file.stat().st_size \
            if self.log_file.exists() else 0
        with open(self.log_file, "ab") as log:
            self.process = subprocess.Popen(
                [*under, IPAVD, "--state", str(folder), *options],
                stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                env={**os.environ, **(environment or {})})
        wanted = "listening for SSH on" if "--ssh" in options \
            else "listening on"
        self.wait_for_log(wanted)
        match = re.search(r"listening for SSH on .*:(\d+)$", self.log(), re.M)
        if match:
            self.port = int(match.group(1))

    def log(self):
        return self.log_file.read_bytes()[self.log_start:].decode()

    def wait_for_log(self, text, count=1):
        def is_there():
            return self.log().count(text) >= count

        wait_until(lambda: self.has_ended() or is_there(),
                   lambda: f"no {text!r} in: {self.log()}")
        if not is_there():
            raise AssertionError(f"ended without {text!r} in: {self.log()}")

    def has_ended(self):
        return self.process.poll() is not None

    def stop(self, number=signal.SIGTERM):
        if not self.has_ended():
            self.process.send_signal(number)
        return self.process.wait(PATIENCE)


class RawClient:
    """Bytes on the UNIX socket, framed by hand."""

    def __init__(self, path, version="1.1", greet=True):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(PATIENCE)
        try:
            self.socket.connect(path)
        except OSError:
            self.socket.close()
            raise
        self.bytes = b""
        self.version = version
        self.number = 0
        self.hello = None
        if greet:
            self.send((HELLO % version).encode() + b"]]>]]>")
            self.hello = self.receive_marked()

    def send(self, data):
        self.socket.sendall(data)

    def more(self):
        got = self.socket.recv(65536)
        if not got:
            raise EOFError(self.bytes)
        self.bytes += got

    def receive_marked(self):
        while b"]]>]]>" not in self.bytes:
            self.more()
        message, self.bytes = self.bytes.split(b"]]>]]>", 1)
        return message.decode()

    def receive_chunked(self):
        message = b""
        while True:
            while not re.match(rb"\n#(#|[1-9][0-9]*)\n", self.bytes):
                self.more()
            header = re.match(rb"\n#(#|[1-9][0-9]*)\n", self.bytes)
            self.bytes = self.bytes[header.end():]
            if header.group(1) == b"#":
                return message.decode()
            size = int(header.group(1))
            while len(self.bytes) < size:
                self.more()
            message += self.bytes[:size]
            self.bytes = self.bytes[size:]

    def receive(self):
        return self.receive_marked() if self.version == "1.0" \
            else self.receive_chunked()

    def send_message(self, text):
        self.send(text.encode() + b"]]>]]>" if self.version == "1.0" else
                  chunked(text))

    def rpc(self, operation):
        """The reply to an operation, as an element."""
        self.number += 1
        self.send_message(f'<rpc message-id="{self.number}" '
                          f'xmlns="{NETCONF}">{operation}</rpc>')
        return ElementTree.fromstring(self.receive())

    def is_dropped(self):
        """Whether the server ends the connection, which is waited for."""
        try:
            while True:
                self.more()
        except (EOFError, ConnectionError):
            return True

    def close(self):
        self.socket.close()


class ServerTest(unittest.TestCase):
    """A test with a folder of its own, for the servers that it starts."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ipav-serve-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.servers = []
        self.addCleanup(self.stop_servers)

    def stop_servers(self):
        for server in self.servers:
            if not server.has_ended():
                server.process.kill()
                server.process.wait()

    def serve(self, *options, **more):
        server = Server(self.folder / "state", *options, **more)
        self.servers.append(server)
        return server

    def make_key(self, name="key"):
        """A key pair: its file, and the line of its public half."""
        key = paramiko.ECDSAKey.generate()
        path = self.folder / name
        key.write_private_key_file(str(path))
        return str(path), f"{key.get_name()} {key.get_base64()}\n"

    def serve_ssh(self, *options, **more):
        """A server for SSH, and the file of a key that it knows."""
        self.key, line = self.make_key()
        self.authorized = self.folder / "authorized_keys"
        self.authorized.write_text(line)
        return self.serve("--ssh", "0", "--authorized-keys",
                          str(self.authorized), *options, **more)

    def connect(self, server, key=None, **more):
        """An ncclient session over SSH."""
        session = manager.connect(
            host="127.0.0.1", port=server.port, username="operator",
            key_filename=key or self.key, hostkey_verify=False,
            allow_agent=False, look_for_keys=False, timeout=PATIENCE, **more)
        # Without a request, which fails if the server ends the session.
        self.addCleanup(session._session.close)
        return session

    def raw(self, server, **more):
        client = RawClient(server.socket, **more)
        self.addCleanup(client.close)
        return client

    def assert_ok(self, reply):
        self.assertEqual([local_name(child) for child in reply], ["ok"],
                         ElementTree.tostring(reply))

    def error(self, reply):
        """The only error of a reply: its elements by name, in their order."""
        self.assertEqual([local_name(child) for child in reply],
                         ["rpc-error"], ElementTree.tostring(reply))
        return {local_name(part): part.text for part in reply[0]}

    def assert_refused(self, reply, tag, kind=None):
        error = self.error(reply)
        self.assertEqual(error["error-tag"], tag)
        if kind:
            self.assertEqual(error["error-type"], kind)
        return error

    def names(self, reply):
        """The names of the interfaces in a reply."""
        return [name.text for name in reply.iter(f"{{{IPAPP}}}name")]
