"""A server of a test's own: its state folder, its port, and its clients."""

import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

import paramiko
from ncclient import manager

ROOT = pathlib.Path(__file__).resolve().parents[3]
IPAV = os.environ.get("IPAV_PROGRAM", str(ROOT / "build/dev/bin/ipav"))
IPAVD = os.environ.get("IPAVD_PROGRAM", str(ROOT / "build/dev/bin/ipavd"))
TEST_PLUGINS = os.environ.get(
    "IPAV_TEST_PLUGINS", str(ROOT / "build/dev/tests/host/plugins"))

sys.path.insert(0, str(ROOT / "bench/serve"))

# pylint: disable=wrong-import-position,unused-import
from ledger import CONFIG, IPAPP, config
from netconf import (GET, HELLO, NETCONF, PATIENCE, Server, Session, children,
                     chunked, connect_unix, memory, wait_until)

# A request whose answer takes five seconds.
SLOW = ('<get><filter type="xpath" select="//*[count(//*[count(//*[count(//*)'
        ' &gt; 1]) &gt; 1]) &gt; 1]"/></get>')

# The process of a client may read for 250 ms of CPU time, and for as long again
# for each MiB. With sanitizers, many small elements take two thirds of that; with
# such a comment, a quarter.
PADDING = f"<!--{'x' * (4 << 20)}-->"


def local_name(element):
    return element.tag.rsplit("}", 1)[-1]


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


def l3(name, address=None, more="", operation=None):
    """An interface of kind l3, as an element of the configuration."""
    mark = f' xmlns:nc="{NETCONF}" nc:operation="{operation}"' \
        if operation else ""
    ip = f"<ipv4><address><ip>{address}</ip></address></ipv4>" \
        if address else ""
    return (f'<l3 xmlns="{IPAPP}"{mark}><name>{name}</name>{more}{ip}</l3>')


def get_config(source="running", more=""):
    return f"<get-config><source><{source}/></source>{more}</get-config>"


def edit(target, content, options=""):
    return (f"<edit-config><target><{target}/></target>{options}"
            f"<config>{content}</config></edit-config>")


def copy(source, target, more=""):
    inner = source if source.startswith("<") else f"<{source}/>"
    return (f"<copy-config><target><{target}/></target>"
            f"<source>{inner}</source>{more}</copy-config>")


def lock(target, what="lock"):
    return f"<{what}><target><{target}/></target></{what}>"


def kill(session):
    return (f"<kill-session><session-id>{session}</session-id>"
            "</kill-session>")


def defaults(mode):
    return ('<with-defaults xmlns="urn:ietf:params:xml:ns:yang:'
            f'ietf-netconf-with-defaults">{mode}</with-defaults>')


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


class RawClient(Session):
    """Bytes on the UNIX socket; replies as elements."""

    def rpc(self, operation):
        return ElementTree.fromstring(super().rpc(operation))

    def session_id(self):
        return self.hello.split("<session-id>")[1].split("<")[0]

    def is_dropped(self):
        """Whether the server ends the connection, which is waited for."""
        try:
            while True:
                self.more()
        except (EOFError, ConnectionError):
            return True


class ServerTest(unittest.TestCase):
    """A test with a folder of its own, for the servers that it starts."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ipav-serve-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.servers = []
        self.addCleanup(self.stop_servers)

    def stop_servers(self):
        for server in self.servers:
            server.stop(signal.SIGKILL)

    def serve(self, *options, **more):
        server = Server(IPAVD, self.folder / "state", *options, **more)
        self.servers.append(server)
        return server

    def run_again(self, *options):
        """A second server in the same folder, to its end."""
        return subprocess.run(
            [IPAVD, "--state", str(self.folder / "state"), *options],
            capture_output=True, text=True, timeout=PATIENCE)

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
        client = connect_unix(server.socket, RawClient, **more)
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
