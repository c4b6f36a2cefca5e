"""The server as a service: its folder, signals, and service manager."""

import os
import signal
import socket
import stat
import subprocess
import time
import unittest

from served import (IPAVD, PATIENCE, RawClient, ServerTest, config, l3,
                    wait_until)

GET = "<get-config><source><running/></source></get-config>"


class ServiceTest(ServerTest):
    def run_again(self, *options):
        """A second server in the same folder, to its end."""
        return subprocess.run(
            [IPAVD, "--state", str(self.folder / "state"), *options],
            capture_output=True, text=True, timeout=PATIENCE)

    def processes(self):
        return subprocess.run(
            ["pgrep", "-f", f"ipavd --state {self.folder}/state"],
            capture_output=True, text=True).stdout

    def wait_for_no_process(self):
        wait_until(lambda: not self.processes(), self.processes)

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

    def test_gives_the_folder_free_however_it_ends(self):
        for number in [signal.SIGTERM, signal.SIGINT, signal.SIGKILL]:
            with self.subTest(number):
                server = self.serve()
                # One with a client, whose process may live a little longer.
                client = self.raw(server)
                server.stop(number)
                self.assertTrue(client.is_dropped())

    def test_ends_cleanly_and_leaves_no_process(self):
        server = self.serve()
        self.raw(server)
        self.assertEqual(server.stop(), 0)
        self.assertTrue(
            server.log().endswith("ipavd: session 1 ended\nipavd: ended\n"),
            server.log())
        self.wait_for_no_process()

    def test_leaves_no_process_when_it_is_killed(self):
        server = self.serve()
        self.raw(server, greet=False)
        server.process.kill()
        server.process.wait()
        self.wait_for_no_process()

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
        state = self.folder / "state"
        process = subprocess.Popen(
            [IPAVD, "--state", str(state)], stderr=subprocess.PIPE)
        self.addCleanup(process.wait, PATIENCE)
        self.addCleanup(process.terminate)
        process.stderr.readline()
        process.stderr.close()
        for _ in range(3):
            client = RawClient(str(state / "netconf.sock"))
            client.send(b"no framing")  # to be told of
            self.assertTrue(client.is_dropped())
            client.close()
        client = RawClient(str(state / "netconf.sock"))
        self.addCleanup(client.close)
        self.assertEqual(len(client.rpc(GET)), 1)

    def test_keeps_its_files_apart_from_closed_standard_ones(self):
        server = subprocess.Popen(
            ["/bin/sh", "-c", 'exec "$@" <&- >&- 2>&-', "sh", IPAVD,
             "--state", str(self.folder / "state")])
        self.addCleanup(server.wait)
        self.addCleanup(server.kill)
        end = time.monotonic() + PATIENCE
        client = None
        while client is None and time.monotonic() < end:
            try:
                client = RawClient(str(self.folder / "state/netconf.sock"))
            except OSError:
                time.sleep(0.01)
        self.addCleanup(client.close)
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

    def test_takes_back_a_confirmed_commit_when_it_is_started_again(self):
        client = self.raw(self.serve())
        for interface, commit in [
                (l3("a", "10.0.0.1/24"), "<commit/>"),
                (l3("b", "10.0.1.1/24"), "<commit><confirmed/></commit>")]:
            self.assert_ok(client.rpc(
                "<edit-config><target><candidate/></target>"
                f"<config>{config(interface)}</config></edit-config>"))
            self.assert_ok(client.rpc(commit))
        self.servers[0].process.kill()
        self.servers[0].process.wait()
        self.assertEqual(self.names(self.raw(self.serve()).rpc(GET)), ["a"])

    def test_does_not_start_with_a_damaged_configuration(self):
        server = self.serve()
        client = self.raw(server)
        self.assert_ok(client.rpc(
            "<edit-config><target><running/></target>"
            f"<config>{config(l3('a', '10.0.0.1/24'))}</config>"
            "</edit-config>"))
        server.stop()
        running = self.folder / "state" / "running.xml"
        damaged = running.read_bytes()[:-10]
        running.write_bytes(damaged)
        result = self.run_again()
        self.assertEqual(result.returncode, 2)
        self.assertIn("running.xml", result.stderr)
        self.assertEqual(running.read_bytes(), damaged)

    def test_refuses_a_command_line_that_makes_no_sense(self):
        for options in [["--listen", "127.0.0.1"],
                        ["--authorized-keys", "x"], ["--ssh", "99999"],
                        ["--max-sessions", "0"], ["--idle-timeout", "-1"]]:
            with self.subTest(options):
                result = self.run_again(*options)
                self.assertEqual(result.returncode, 2)
                self.assertFalse((self.folder / "state").exists())

    def test_names_what_it_cannot_use(self):
        for options, text in [
                (["--yang", "/none"], "/none"),
                (["--ssh", "0", "--authorized-keys", "/none"], "/none: No"),
                (["--ssh", "0", "--authorized-keys", "/dev/null", "--listen",
                  "localhost"], "not an IP address")]:
            with self.subTest(options):
                result = self.run_again(*options)
                self.assertEqual(result.returncode, 2)
                self.assertIn(text, result.stderr)


if __name__ == "__main__":
    unittest.main()
