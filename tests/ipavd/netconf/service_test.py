"""The server as a service: its folder, signals, and service manager."""

import contextlib
import os
import signal
import socket
import stat
import subprocess
import unittest

from served import (GET, IPAVD, PATIENCE, RawClient, ServerTest, connect_unix,
                    wait_until)


class ServiceTest(ServerTest):
    def connect_to_folder(self):
        """To a server that this class did not start; waits for it."""
        clients = []

        def connects():
            with contextlib.suppress(OSError):
                clients.append(connect_unix(
                    self.folder / "state/netconf.sock", RawClient))
            return clients

        wait_until(connects, lambda: "no socket")
        self.addCleanup(clients[0].close)
        return clients[0]

    def processes(self):
        return subprocess.run(
            ["pgrep", "-f", f"ipavd --state {self.folder}/state"],
            capture_output=True, text=True).stdout

    def test_lets_only_its_owner_use_the_socket(self):
        server = self.serve()
        mode = os.stat(server.socket).st_mode
        self.assertTrue(stat.S_ISSOCK(mode))
        self.assertEqual(stat.S_IMODE(mode), 0o600)

    def test_keeps_a_second_server_out_of_its_folder(self):
        server = self.serve()
        result = self.run_again()
        self.assertEqual(result.returncode, 2)
        self.assertIn(str(self.folder / "state"), result.stderr)
        self.assertEqual(len(self.raw(server).rpc(GET)), 1)

    def test_leaves_no_process_and_a_free_folder_however_it_ends(self):
        for number, status in [(signal.SIGTERM, 0), (signal.SIGINT, 0),
                               (signal.SIGKILL, -signal.SIGKILL)]:
            with self.subTest(number):
                server = self.serve()
                clients = [self.raw(server), self.raw(server, greet=False)]
                self.assertEqual(server.stop(number), status)
                for client in clients:
                    self.assertTrue(client.is_dropped())
                if status == 0:
                    for text in ["session 1 ended", "ended"]:
                        self.assertIn(f"ipavd: {text}\n", server.log())
                wait_until(lambda: not self.processes(), self.processes)

    def test_tells_its_service_manager_when_it_is_ready(self):
        for name in [str(self.folder / "notify"), f"\0{self.folder}/notify"]:
            with self.subTest(name):
                manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
                self.addCleanup(manager.close)
                manager.settimeout(PATIENCE)
                manager.bind(name)
                server = self.serve(environment={
                    "NOTIFY_SOCKET": name.replace("\0", "@")})
                self.assertEqual(manager.recv(1000), b"READY=1")
                server.stop()
                self.assertEqual(manager.recv(1000), b"STOPPING=1")

    def test_outlives_the_reader_of_its_log(self):
        process = subprocess.Popen(
            [IPAVD, "--state", str(self.folder / "state")],
            stderr=subprocess.PIPE)
        self.addCleanup(process.wait, PATIENCE)
        self.addCleanup(process.terminate)
        process.stderr.readline()
        process.stderr.close()
        for _ in range(3):
            client = self.connect_to_folder()
            client.send(b"no framing")  # to be told of
            self.assertTrue(client.is_dropped())
        self.assertEqual(len(self.connect_to_folder().rpc(GET)), 1)

    def test_keeps_its_files_apart_from_closed_standard_ones(self):
        server = subprocess.Popen(
            ["/bin/sh", "-c", 'exec "$@" <&- >&- 2>&-', "sh", IPAVD,
             "--state", str(self.folder / "state")])
        self.addCleanup(server.wait)
        self.addCleanup(server.kill)
        client = self.connect_to_folder()
        files = f"/proc/{server.pid}/fd"
        self.assertEqual([os.readlink(f"{files}/{number}")
                          for number in range(3)], ["/dev/null"] * 3)
        self.assert_ok(client.rpc("<commit/>"))
        self.assertEqual((self.folder / "state" / "lock").read_text(),
                         f"{server.pid}\n")

    def test_logs_severities_for_journald(self):
        server = self.serve(environment={"JOURNAL_STREAM": "8:1"})
        self.assertTrue(server.log().startswith("<5>ipavd: "),
                        server.log())
        server.stop()
        self.assertNotIn("<5>", self.serve().log())

    def test_ends_with_its_first_session_where_asked_to(self):
        server = self.serve("--once")
        client = self.raw(server)
        self.assertEqual(len(client.rpc(GET)), 1)
        self.assert_ok(client.rpc("<close-session/>"))
        self.assertEqual(server.process.wait(PATIENCE), 0)

    def test_names_what_it_cannot_use(self):
        for options, text in [
                (["--yang", "/none"], "/none"),
                (["--ssh", "0"], "authorized_keys: No such file"),
                (["--ssh", "0", "--authorized-keys", "/none"], "/none: No"),
                (["--ssh", "0", "--authorized-keys", "/dev/null", "--listen",
                  "localhost"], "not an IP address")]:
            with self.subTest(options):
                result = self.run_again(*options)
                self.assertEqual(result.returncode, 2)
                self.assertIn(text, result.stderr)

    def test_does_not_start_with_a_damaged_configuration(self):
        self.serve().stop()
        running = self.folder / "state" / "running.xml"
        damaged = running.read_bytes()[:-10]
        running.write_bytes(damaged)
        result = self.run_again()
        self.assertEqual(result.returncode, 2)
        self.assertIn("running.xml", result.stderr)
        self.assertEqual(running.read_bytes(), damaged)


if __name__ == "__main__":
    unittest.main()
