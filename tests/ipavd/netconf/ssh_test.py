"""The server over SSH, with ncclient."""

import contextlib
import os
import pathlib
import signal
import socket
import subprocess
import threading
import time
import unittest

import paramiko
from ncclient.operations import RPCError
from ncclient.transport.errors import (AuthenticationError,
                                       SessionCloseError, SSHError)

from served import (GET, HELLO, NETCONF, PADDING, PATIENCE, SLOW,
                    ServerTest, children, chunked, config, cpu_seconds, l3,
                    wait_until)

NETWORK = config(l3("a", "10.0.0.0/24"))
RIGHT = config(l3("a", "10.0.0.1/24"))


def whole(content):
    return f'<nc:config xmlns:nc="{NETCONF}">{content}</nc:config>'


def has_ipv6():
    table = pathlib.Path("/proc/net/if_inet6")
    return table.exists() and " lo\n" in table.read_text()


def request(number, operation):
    return chunked(f'<rpc message-id="{number}" xmlns="{NETCONF}">{operation}'
                   "</rpc>")


class StallingSocket:
    """A connection that stops to read when it is told to."""

    def __init__(self, address):
        self.socket = socket.socket()
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 65536)
        self.socket.connect(address)
        self.reads = threading.Event()
        self.reads.set()
        self.stall, self.go_on = self.reads.clear, self.reads.set

    def recv(self, size):
        if not self.reads.wait(0.1):
            raise socket.timeout
        return self.socket.recv(size)

    def __getattr__(self, name):
        return getattr(self.socket, name)


class SshTest(ServerTest):
    def test_serves_an_edit_a_refusal_a_correction_and_a_restart(self):
        server = self.serve_ssh()
        fingerprint = subprocess.run(
            ["ssh-keygen", "-l", "-f", str(self.authorized)], check=True,
            capture_output=True, text=True).stdout.split()[1]
        who = f"netconf-ssh operator@127.0.0.1 {fingerprint}"
        text = ("l3 a ipv4 address 10.0.0.0/24 cannot be configured as network"
                " address.")
        path = "/vorplex-config:config/interface/ipapp:l3"
        session = self.connect(server)
        server.wait_for_log(f"session 1 began: {who}\n")
        session.edit_config(target="candidate", config=whole(NETWORK))
        with self.assertRaises(RPCError) as refusal:
            session.commit()
        error = refusal.exception
        self.assertEqual(
            (error.tag, error.type, error.app_tag, error.path.strip(),
             error.message),
            ("operation-failed", "application", "ipv4_addr_validation", path,
             text))
        self.assertIn(f"session 1 ({who}) commit: error: {text} "
                      f"(ipv4_addr_validation, at {path})\n", server.log())
        session.edit_config(target="candidate", config=whole(RIGHT))
        session.commit()
        session.edit_config(target="running", config=whole(RIGHT))
        session.copy_config(source="running", target="startup")
        session.discard_changes()
        self.assertEqual(
            [line.split(") ", 1)[1] for line in server.log().splitlines()
             if f"session 1 ({who}) " in line and "error" not in line],
            ["commit: ok", "edit-config of running: ok",
             "copy-config of startup: ok"])
        session.close_session()
        self.assertEqual(server.stop(), 0)
        again = self.connect(self.serve("--ssh", "0", "--authorized-keys",
                                        str(self.authorized)))
        self.assertIn("10.0.0.1/24", again.get_config("running").data_xml)

    def test_does_what_ncclient_asks_for(self):
        server = self.serve_ssh()
        session = self.connect(server)
        with session.locked("candidate"):
            session.edit_config(target="candidate", config=whole(RIGHT))
            session.validate("candidate")
            session.commit(confirmed=True, timeout="60")
            session.commit()
        session.copy_config(source="running", target="startup")
        session.delete_config(target="startup")
        session.discard_changes()
        self.assertIn("list l3", session.get_schema("ipapp").data)
        self.assertIn("netconf-state", session.get().data_xml)
        session.lock("candidate")
        other = self.connect(server)
        other.kill_session(session.session_id)
        other.lock("candidate")

    def test_carries_ten_thousand_interfaces(self):
        session = self.connect(self.serve_ssh())
        many = config(*[l3(f"i{i}", None, f"<mtu>{1280 + i % 7000}</mtu>")
                        for i in range(10000)])
        session.edit_config(target="candidate", config=whole(many + PADDING))
        reply = session.get_config("candidate").data_xml
        self.assertEqual(reply.count("<mtu>"), 10000)

    def test_takes_no_password(self):
        server = self.serve_ssh()
        transport = paramiko.Transport(("127.0.0.1", server.port))
        self.addCleanup(transport.close)
        transport.start_client(timeout=PATIENCE)
        with self.assertRaises(paramiko.BadAuthenticationType) as refusal:
            transport.auth_password("root", "")
        self.assertEqual(refusal.exception.allowed_types, ["publickey"])

    def channel(self, server, user="operator", address="127.0.0.1",
                make=socket.create_connection, window=None):
        transport = paramiko.Transport(make((address, server.port)))
        self.addCleanup(transport.close)
        transport.connect(
            username=user,
            pkey=paramiko.ECDSAKey.from_private_key_file(self.key))
        channel = transport.open_session(window_size=window)
        channel.settimeout(PATIENCE)
        return channel

    def greet(self, channel):
        channel.invoke_subsystem("netconf")
        channel.sendall((HELLO % "1.1").encode() + b"]]>]]>")
        self.assertIn(b"<hello", channel.recv(65536))

    def requests_of(self, session, client):
        """How many requests of a session the server has read."""
        monitoring = "urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"
        return int(client.rpc(
            f'<get><filter><netconf-state xmlns="{monitoring}"><sessions>'
            f"<session><session-id>{session}</session-id></session></sessions>"
            "</netconf-state></filter></get>").find(
                f".//{{{monitoring}}}in-rpcs").text)

    def test_shows_any_name_of_a_user_to_others(self):
        server = self.serve_ssh()
        other = self.raw(server)
        for user, shown in [("a<&b", "a<&b"), ("a\x01\n\x7fb", "a\\x01\\x0a\\x7fb"),
                            ("\ufffe", "\ufffd"),
                            ("\x9b2J\u202e\u2028", "\\x9b2J\\u202e\\u2028"),
                            # It must not look like the rest of a line.
                            ("a@10.0.0.1 (x)", "a_10.0.0.1__x_"),
                            ("x" * 2000, "x" * 128),
                            ("x" + "\u00e9" * 100,
                             "x" + "\u00e9" * 63 + "\ufffd")]:
            with self.subTest(user):
                channel = self.channel(server, user)
                self.greet(channel)
                reply = other.rpc("<get/>")
                users = [part.text for part in reply.iter()
                         if part.tag.endswith("}username")]
                self.assertEqual(users[-1], shown)

    def test_confines_the_processes_of_its_clients(self):
        server = self.serve_ssh()
        self.connect(server)
        self.raw(server)
        acceptor, = children(server.pid)
        relays = children(acceptor)
        self.assertEqual(len(relays), 2)
        for process in [acceptor, *relays]:
            folder = pathlib.Path(f"/proc/{process}")
            files = [os.readlink(file) for file in (folder / "fd").iterdir()]
            self.assertEqual([file for file in files if file.startswith(
                f"{self.folder}/state/")], [])
            status = dict(line.split(":\t", 1) for line in
                          (folder / "status").read_text().splitlines())
            self.assertEqual(status["NoNewPrivs"], "1")
            self.assertEqual(status["Seccomp"],
                             "2" if process in relays else "0")
            if os.geteuid() == 0:
                self.assertEqual(status["Uid"].split(), ["65534"] * 4)
                self.assertEqual(status["Groups"].split(), [])

    def test_sleeps_while_more_requests_wait_than_it_passes_on(self):
        server = self.serve_ssh()
        acceptor, = children(server.pid)
        channel = self.channel(server)
        self.greet(channel)
        relay, = children(acceptor)
        for number, operation in enumerate([GET, SLOW, GET, GET, GET, GET]):
            channel.sendall(request(number, operation))
        self.assertIn(b'message-id="0"', channel.recv(65536))
        time.sleep(0.2)
        begin = cpu_seconds(relay)
        time.sleep(0.5)
        self.assertLess(cpu_seconds(relay) - begin, 0.1)

    def test_passes_no_request_while_a_client_with_a_large_window_stalls(self):
        server = self.serve_ssh()
        other = self.raw(server)
        long = f"<description>{'x' * 1000000}</description>"
        self.assert_ok(other.rpc(
            "<copy-config><target><startup/></target><source><config>"
            f"{config(l3('a', more=long))}</config></source></copy-config>"))
        channel = self.channel(server, make=StallingSocket, window=1 << 30)
        self.greet(channel)
        channel.get_transport().sock.stall()
        for number in range(40):
            channel.sendall(request(number, GET.replace("running", "startup")))
        before = None
        while (now := self.requests_of(2, other)) != before:
            before = now
            time.sleep(0.3)
        # The kernel holds some replies, too.
        self.assertLess(now, 20)
        channel.get_transport().sock.go_on()

    def test_gives_no_shell_no_other_subsystem_and_no_port(self):
        server = self.serve_ssh()
        for ask in [lambda channel: channel.invoke_shell(),
                    lambda channel: channel.exec_command("id"),
                    lambda channel: channel.invoke_subsystem("sftp"),
                    lambda channel: channel.get_transport().open_channel(
                        "direct-tcpip", ("127.0.0.1", server.port),
                        ("127.0.0.1", 0))]:
            with self.assertRaises(paramiko.SSHException):
                ask(self.channel(server))

    def test_drops_a_client_that_does_not_log_in(self):
        server = self.serve_ssh("--login-timeout", "3")
        session = self.connect(server)
        silent = socket.create_connection(("127.0.0.1", server.port))
        self.addCleanup(silent.close)
        silent.settimeout(PATIENCE)
        self.assertIn("<data", session.get_config("running").data_xml)
        while silent.recv(1000):
            pass
        server.wait_for_log("no login in time")
        self.assertIn("<data", session.get_config("running").data_xml)

    def idle(self, server, source):
        """A connection from that address that never logs in."""
        other = socket.create_connection(("127.0.0.1", server.port),
                                         source_address=(source, 0))
        self.addCleanup(other.close)
        return other

    def test_lets_a_client_in_beside_idle_ones_of_its_address(self):
        server = self.serve_ssh("--login-timeout", "1000")
        idle = [self.idle(server, "127.0.0.1") for _ in range(24)]
        self.assertIn("<data", self.connect(server).get_config(
            "running").data_xml)
        # The newest idle ones are left, in the room of one address.
        wait_until(lambda: server.log().count("newer logins") >= 17, server.log)
        self.assertEqual(
            server.log().count("its address has too many newer logins"), 17)
        idle[0].settimeout(PATIENCE)
        with contextlib.suppress(ConnectionError):
            while idle[0].recv(1000):
                pass

    def test_refuses_clients_of_many_addresses_at_random(self):
        server = self.serve_ssh("--login-timeout", "1000")
        for number in range(200):
            self.idle(server, f"127.0.1.{number}")
        # The first 10 log in, and at most 60.
        refusal = "refused: too many are logging in"
        wait_until(lambda: server.log().count(refusal) >= 140, server.log)
        self.assertLessEqual(server.log().count(refusal), 190)
        # Owners of the UNIX socket do not wait in that queue.
        self.assertTrue(self.raw(server).hello)

    def test_limits_the_sessions_of_a_key(self):
        server = self.serve_ssh("--max-sessions", "3",
                                "--max-sessions-per-user", "2")
        other, line = self.make_key("other")
        with open(self.authorized, "a", encoding="ascii") as file:
            file.write(line)
        server.process.send_signal(signal.SIGHUP)
        server.wait_for_log("authorized keys read again: 2")
        sessions = [self.connect(server) for _ in range(2)]
        # OSError: the connection ended before the client had sent its hello.
        dropped = (SSHError, SessionCloseError, OSError)
        with self.assertRaises(dropped):
            self.connect(server)
        server.wait_for_log("refused: its user has 2")
        self.connect(server, key=other)
        with self.assertRaises(dropped):
            self.connect(server, key=other)
        server.wait_for_log("refused: there are 3")
        # One place is left, on the UNIX socket alone.
        owner = self.raw(server)
        again = self.raw(server, greet=False)
        self.assertTrue(again.is_dropped())
        self.assert_ok(owner.rpc(
            "<kill-session><session-id>"
            f"{sessions[0].session_id}</session-id></kill-session>"))
        server.wait_for_log(f"session {sessions[0].session_id} was cut off")
        self.connect(server)
        owner.close()
        server.wait_for_log("session 4 was cut off")
        self.assertTrue(self.raw(server).hello)

    def test_drops_what_is_no_ssh(self):
        server = self.serve_ssh()
        other = socket.create_connection(("127.0.0.1", server.port))
        self.addCleanup(other.close)
        other.settimeout(PATIENCE)
        other.sendall(b"GET / HTTP/1.1\r\n\r\n" * 1000)
        with contextlib.suppress(ConnectionError):
            while other.recv(1000):
                pass
        self.assertIn("<data", self.connect(server).get_config(
            "running").data_xml)

    def test_shows_the_host_key_that_its_folder_has(self):
        server = self.serve_ssh()
        shown = paramiko.Transport(("127.0.0.1", server.port))
        self.addCleanup(shown.close)
        shown.start_client(timeout=PATIENCE)
        public = (self.folder / "state" / "ssh_host_ecdsa_key.pub").read_text()
        self.assertEqual(public.split()[1],
                         shown.get_remote_server_key().get_base64())

    def test_lets_those_in_whose_keys_its_file_had_last(self):
        server = self.serve_ssh()
        key, line = self.make_key("new")
        with self.assertRaises(AuthenticationError):
            self.connect(server, key=key)
        server.wait_for_log("none of its keys is authorized")
        for text, told in [(line, "authorized keys read again: 1"),
                           ("nonsense\n", "the authorized keys stay as they")]:
            self.authorized.write_text(text)
            server.process.send_signal(signal.SIGHUP)
            server.wait_for_log(told)
            self.connect(server, key=key)
        with self.assertRaises(AuthenticationError):
            self.connect(server)

    def test_listens_on_loopback_alone(self):
        server = self.serve_ssh()
        port = f":{server.port:04X}"
        addresses = []
        for table in ["tcp", "tcp6"]:
            lines = pathlib.Path(f"/proc/net/{table}").read_text()
            for line in lines.splitlines()[1:]:
                address, state = line.split()[1], line.split()[3]
                if address.endswith(port) and state == "0A":  # it listens
                    addresses.append(address)
        self.assertEqual(addresses, [f"0100007F{port}"])

    def test_tells_from_where_its_clients_come(self):
        for listen, address, host in [("127.0.0.1", "127.0.0.1", "127.0.0.1"),
                                      ("::1", "::1", "::1"),
                                      ("::", "127.0.0.1",
                                       "::ffff:127.0.0.1")]:
            with self.subTest(listen):
                if ":" in listen and not has_ipv6():
                    self.skipTest("no IPv6 on this machine")
                server = self.serve_ssh("--listen", listen)
                other = self.raw(server)
                channel = self.channel(server, address=address)
                self.greet(channel)
                hosts = [part.text for part in other.rpc("<get/>").iter()
                         if part.tag.endswith("}source-host")]
                self.assertEqual(hosts, [host])
                self.assertEqual(server.stop(), 0)


if __name__ == "__main__":
    unittest.main()
