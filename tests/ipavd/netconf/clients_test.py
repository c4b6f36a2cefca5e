"""The server with client programs that others wrote."""

import pathlib
import shutil
import subprocess
import unittest

from served import (HELLO, NETCONF, PATIENCE, ServerTest, config, edit,
                    get_config, l3)

REFUSAL = ("l3 a ipv4 address 10.0.0.0/24 cannot be configured as network"
           " address.")


def create(address):
    """A command of yangcli, which needs the data model to understand it."""
    return ("create target=/vorplex-config:config/interface/l3[name='a']"
            f"/ipv4/address[ip='{address}']")


class YangcliTest(ServerTest):
    def setUp(self):
        if shutil.which("yangcli") is None:
            self.skipTest("yangcli is not installed")
        super().setUp()
        self.server = self.serve_ssh()
        pathlib.Path(self.key + ".pub").write_text(
            self.authorized.read_text())

    def run_script(self, *commands):
        """A session: what yangcli prints after it is connected. The first
        refusal ends it."""
        script = self.folder / "script"
        script.write_text("\n".join(commands) + "\n")
        output = subprocess.run(
            ["yangcli", "--server=127.0.0.1", f"--ncport={self.server.port}",
             "--user=operator", "--password=none", f"--private-key={self.key}",
             f"--public-key={self.key}.pub", f"--home={self.folder}",
             "--batch-mode", f"--run-script={script}"],
            stdin=subprocess.DEVNULL, capture_output=True, text=True,
            timeout=PATIENCE, check=True).stdout
        self.assertIn("Checking Server Modules...", output)
        return output.split("Checking Server Modules...")[1]

    def test_learns_the_model_edits_commits_and_closes(self):
        output = self.run_script("show modules", create("10.0.0.0/24"), "commit")
        for module in ["ipapp@", "vorplex-config@", "ipav-netconf@"]:
            self.assertIn(f"\n  {module}", output)
        self.assertIn("error-app-tag ipv4_addr_validation", output)
        self.assertIn(f"error-message '{REFUSAL}'", output)

        output = self.run_script(
            "discard-changes", create("10.0.0.1/24"), "commit",
            "sget-config source=running /vorplex-config:config",
            "close-session")
        self.assertEqual(output.count("RPC OK Reply"), 4, output)
        self.assertIn("session 1 shut by remote peer", output)
        self.assertIn("ip 10.0.0.1/24", output)
        running = (self.folder / "state" / "running.xml").read_text()
        self.assertIn("<ip>10.0.0.1/24</ip>", running)


class OpenSshTest(ServerTest):
    CLOSE = "<close-session/>"
    GET = get_config("candidate")

    def setUp(self):
        super().setUp()
        self.server = self.serve_ssh()

    def start(self):
        return subprocess.Popen(
            ["ssh", "-F", "none", "-p", str(self.server.port), "-i", self.key,
             "-q", "-o", "IdentitiesOnly=yes", "-o", "BatchMode=yes",
             "-o", "StrictHostKeyChecking=no",
             "-o", "UserKnownHostsFile=/dev/null",
             "-s", "operator@127.0.0.1", "netconf"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def messages(self, *operations):
        rpcs = [f'<rpc message-id="{i}" xmlns="{NETCONF}">{operation}</rpc>'
                for i, operation in enumerate(operations)]
        return "".join(message + "]]>]]>\n"
                       for message in [HELLO % "1.0", *rpcs])

    def test_gets_all_replies_and_an_exit_status(self):
        client = self.raw(self.server)
        long = f"<description>{'x' * (1 << 20)}</description>"
        self.assert_ok(client.rpc(edit("candidate",
                                       config(l3("a", more=long)))))
        for messages, replies, status in [
                (self.messages(), 0, 0),
                (self.messages(self.CLOSE), 1, 0),
                # More than fits into the window of an SSH channel.
                (self.messages(*[self.GET] * 4), 4, 0),
                (self.messages(self.GET, self.CLOSE), 2, 0),
                (self.messages(self.GET) + "<rpc", 1, 255),
                (self.messages() + " " * (17 << 20), 0, 255)]:
            with self.subTest(messages[:1000]):
                process = self.start()
                output, _ = process.communicate(messages, PATIENCE)
                self.assertEqual(output.count("</rpc-reply>"), replies)
                self.assertTrue(output.endswith("]]>]]>"))
                self.assertEqual(process.returncode, status)

    def test_ends_although_its_input_stays_open(self):
        process = self.start()
        self.addCleanup(process.communicate)
        process.stdin.write(self.messages(self.CLOSE))
        process.stdin.flush()
        self.assertEqual(process.wait(PATIENCE), 0)


if __name__ == "__main__":
    unittest.main()
