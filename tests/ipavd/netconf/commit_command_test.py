"""ipav commit: statuses and texts as of ipav check."""

import json
import shutil
import socket
import subprocess
import threading
import unittest
import xml.etree.ElementTree as ElementTree

from served import (GET, HELLO, IPAV, PATIENCE, ROOT, TEST_PLUGINS, ServerTest,
                    config, get_config, l3, lock, wild_model)


class CommitCommandTest(ServerTest):
    def setUp(self):
        super().setUp()
        self.file = self.folder / "candidate.xml"

    def write(self, content):
        self.file.write_text(content)
        return str(self.file)

    def commit(self, server, *arguments):
        """Its status, its output, and what it says on standard error."""
        path = server if isinstance(server, str) else server.socket
        result = subprocess.run(
            [IPAV, "commit", "--to", path, *arguments],
            capture_output=True, text=True, timeout=PATIENCE)
        return result.returncode, result.stdout, result.stderr

    def running(self, server):
        return self.names(self.raw(server).rpc(GET))

    def test_makes_the_file_the_whole_configuration(self):
        server = self.serve()
        for name in ["a", "b"]:
            path = self.write(config(l3(name, "10.0.0.1/24")))
            self.assertEqual(self.commit(server, path),
                             (0, f"{path}: accepted\n", ""))
            self.assertEqual(self.running(server), [name])

    def test_takes_json_and_an_empty_configuration(self):
        server = self.serve()
        self.file = self.folder / "candidate.json"
        for content, names in [
                ({"interface": {"ipapp:l3": [{"name": "a"}]}}, ["a"]),
                ({}, [])]:
            path = self.write(json.dumps({"vorplex-config:config": content}))
            self.assertEqual(self.commit(server, path)[0], 0)
            self.assertEqual(self.running(server), names)

    def test_tells_of_a_refusal_and_leaves_nothing_behind(self):
        server = self.serve()
        path = self.write(config(l3("a", "10.0.0.0/24")))
        for options in [[], ["--validate"]]:
            self.assertEqual(
                self.commit(server, *options, path),
                (1, f"{path}: refused\n"
                 "l3 a ipv4 address 10.0.0.0/24 cannot be configured as "
                 "network address.\n"
                 "  validation point: ipv4_addr_validation\n"
                 "  data path: /vorplex-config:config/interface/ipapp:l3\n"
                 "  what to do: Take an address of the subnet that a host may "
                 "have, such as the next one.\n"
                 "  see docs/messages.md#network-address\n",
                 ""))
        client = self.raw(server)
        for datastore in ["running", "candidate"]:
            self.assertEqual(self.names(client.rpc(get_config(datastore))), [])

    def test_changes_nothing_where_it_only_validates(self):
        server = self.serve()
        path = self.write(config(l3("a", "10.0.0.1/24")))
        self.assertEqual(self.commit(server, "--validate", path),
                         (0, f"{path}: accepted\n", ""))
        self.assertEqual(self.running(server), [])

    def test_tells_of_a_plugin_that_fails(self):
        model = wild_model(self.folder)
        server = self.serve("--plugin", f"{TEST_PLUGINS}/obeys_opaque.so",
                            "--yang", model)
        path = self.write('<top xmlns="urn:m"><_exit>x</_exit></top>')
        status, out, _ = self.commit(server, "--yang", model, path)
        self.assertEqual(status, 3, out)
        self.assertTrue(out.startswith(f"{path}: plug-in failed\n"), out)

    def test_tells_of_a_file_that_is_wrong(self):
        server = self.serve()
        path = self.write(config(l3("a", "10.0.0.1/33")))
        status, out, error = self.commit(server, path)
        self.assertEqual((status, out), (2, ""))
        self.assertRegex(error, rf"^ipav: {path}:1:\d+: expected an IPv4 ")
        self.assertEqual(self.commit(server, "/none")[0], 2)

    def test_tells_of_a_server_that_is_not_there(self):
        path = self.write(config())
        self.assertEqual(
            self.commit(str(self.folder / "none"), path),
            (2, "", f"ipav: {self.folder}/none: No such file or directory\n"))

    def test_does_not_wait_for_ever_for_an_answer_nor_to_be_heard(self):
        path = str(self.folder / "deaf.sock")
        long = f"<description>{'x' * (1 << 20)}</description>"
        connections = []

        def greet(listener):
            connections.append(listener.accept()[0])
            connections[0].sendall((HELLO % "1.1").encode() + b"]]>]]>")

        with socket.socket(socket.AF_UNIX) as deaf:
            deaf.bind(path)
            deaf.listen()
            self.assertEqual(
                self.commit(path, "--timeout", "1", self.write(config())),
                (2, "", f"ipav: {path}: no answer within 1 second\n"))
            deaf.accept()[0].close()
            greeter = threading.Thread(target=greet, args=[deaf])
            greeter.start()
            self.assertEqual(
                self.commit(path, "--timeout", "2", "--validate",
                            self.write(config(l3("a", more=long)))),
                (2, "", f"ipav: {path}: takes nothing within 2 seconds\n"))
            greeter.join()
        connections[0].close()

    def prepare_plan(self):
        """A server with the branch router, a goal, its plan of two commits."""
        branch = ROOT / "examples/branch-router"
        goal = branch / "floor-4-vlan-changed.xml"
        server = self.serve()
        self.commit(server, str(branch / "running.xml"))
        steps = self.folder / "steps"
        subprocess.run(
            [IPAV, "plan", "--running", branch / "running.xml", goal,
             "--output", steps], check=True, stdout=subprocess.DEVNULL)
        return server, goal, steps

    def running_differs(self, server, goal):
        """What ipav diff says of the running configuration and the goal."""
        reply = self.raw(server).rpc(GET)
        running = self.write("".join(
            ElementTree.tostring(node, "unicode") for node in reply[0]))
        return subprocess.run([IPAV, "diff", running, str(goal)], check=True,
                              stdout=subprocess.PIPE, encoding="utf-8").stdout

    def test_commits_a_plan_step_by_step(self):
        server, goal, steps = self.prepare_plan()
        # A goal in JSON has steps in JSON.
        subprocess.run([IPAV, "convert", steps / "step-2.xml", "--output",
                        steps / "step-2.json"], check=True)
        (steps / "step-2.xml").unlink()
        status, output, error = self.commit(server, "--plan", str(steps))
        self.assertEqual((status, error), (0, ""))
        self.assertEqual(output, f"{steps}/step-1.xml: accepted\n"
                                 f"{steps}/step-2.json: accepted\n"
                                 "2 commits made\n")
        self.assertIn("no changes", self.running_differs(server, goal))

    def test_stops_a_plan_at_the_first_refusal(self):
        server, _, steps = self.prepare_plan()
        shutil.copy(ROOT / "examples/branch-router/address-is-network.xml",
                    steps / "step-2.xml")
        status, output, _ = self.commit(server, "--plan", str(steps))
        self.assertEqual(status, 1)
        self.assertTrue(output.startswith(f"{steps}/step-1.xml: accepted\n"))
        self.assertTrue(output.endswith("1 of 2 commits made\n"))
        report = steps / "plan.json"
        report.write_text(report.read_text().replace(
            '"reached": true', '"reached": false'))
        self.assertEqual(
            self.commit(server, "--plan", str(steps)),
            (2, "", f"ipav: {report}: the plan does not reach its goal\n"))
        report.unlink()
        self.assertEqual(
            self.commit(server, "--plan", str(steps)),
            (2, "", f"ipav: {steps}/plan.json: is not a plan of ipav plan\n"))

    def test_steps_are_edits_of_netconf_as_well(self):
        server, goal, steps = self.prepare_plan()
        client = self.raw(server)
        for number in (1, 2):
            edit = (steps / f"step-{number}.edit.xml").read_text()
            self.assert_ok(client.rpc(edit))
            self.assert_ok(client.rpc("<commit/>"))
        self.assertIn("no changes", self.running_differs(server, goal))

    def test_tells_who_has_the_lock(self):
        server = self.serve()
        other = self.raw(server)
        self.assert_ok(other.rpc(lock("candidate")))
        status, _, error = self.commit(server, self.write(config()))
        self.assertEqual(status, 2)
        self.assertIn("lock-denied", error)


if __name__ == "__main__":
    unittest.main()
