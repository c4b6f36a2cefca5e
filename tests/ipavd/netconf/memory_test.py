"""All operations of a server under valgrind, which finds nothing wrong.

Nothing is suppressed: the libraries are used as they bear it.
"""

import os
import unittest

from served import (CONFIG, IPAPP, NETCONF, ServerTest, config, copy, defaults,
                    edit, get_config, kill, l3, local_name, lock)

MONITORING = "urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"

GOOD = config(l3("a", "10.0.0.1/24"), l3("b", "10.0.1.1/24"))
BAD = config(l3("c", "10.0.2.0/24"))  # the address of a network


def change(content, options=""):
    return edit("candidate", content, options)


def read(more):
    return get_config(more=more)


def validate(source):
    return f"<validate><source>{source}</source></validate>"


def delete_config(name):
    return f"<delete-config><target><{name}/></target></delete-config>"


def xpath(expression):
    return (f'<filter type="xpath" xmlns:c="{CONFIG}" xmlns:i="{IPAPP}" '
            f'select="{expression}"/>')


def get_schema(name, more=""):
    return (f'<get-schema xmlns="{MONITORING}"><identifier>{name}</identifier>'
            f"{more}</get-schema>")


# Each with what its reply has: an element, or the tag of an error.
OPERATIONS = [
    (change(GOOD), "ok"),
    (validate("<candidate/>"), "ok"),
    ("<commit/>", "ok"),
    # Every operation and option of an edit, and every error.
    (change(config(l3("a", operation="create"))), "data-exists"),
    (change(config(l3("d", operation="delete"))), "data-missing"),
    (change(config(l3("d", operation="remove"))), "ok"),
    (change(config(l3("d", operation="create"), l3("d", operation="delete"))),
     "ok"),
    (change(config(l3("a", "10.0.0.2/24", operation="replace"))), "ok"),
    (change(GOOD, "<default-operation>none</default-operation>"), "ok"),
    (change(GOOD, "<default-operation>replace</default-operation>"), "ok"),
    (change(config(l3("d", operation="delete"), l3("e")),
          "<error-option>continue-on-error</error-option>"), "data-missing"),
    (change(config(l3("d", operation="delete"), l3("f")),
          "<error-option>rollback-on-error</error-option>"), "data-missing"),
    (change(BAD, "<test-option>test-then-set</test-option>"),
     "operation-failed"),
    (change(BAD, "<test-option>test-only</test-option>"), "operation-failed"),
    (change("<x/>"), "unknown-namespace"),
    (change(config("<x/>")), "unknown-element"),
    (change(config(f'<l3 xmlns="{IPAPP}"/>')), "missing-element"),
    (change(config(l3("a", "10.0.0.1/99"))), "invalid-value"),
    (change("text"), "bad-element"),
    (edit("startup", GOOD), "unknown-element"),
    (edit("running", GOOD), "ok"),
    (edit("running", BAD), "operation-failed"),
    ("<discard-changes/>", "ok"),
    # What is read, and how.
    ("<get/>", "data"),
    ('<get><filter type="subtree"><netconf-state '
     f'xmlns="{MONITORING}"><sessions/></netconf-state></filter></get>',
     "data"),
    (get_config(), "data"),
    (get_config("startup"), "data"),
    (read(f"<filter>{config(l3('a'))}</filter>"), "data"),
    (read("<filter/>"), "data"),
    (read(xpath("/c:config/c:interface/i:l3[i:name='b']/i:ipv4")),
     "data"),
    (read(xpath("1 + 1")), "data"),
    (read(xpath("[[")), "bad-attribute"),
    (read(xpath("//i:l3[deref(i:name)]")), "bad-attribute"),
    (read('<filter type="xpath"/>'), "missing-attribute"),
    *[(read(defaults(mode)), answer) for mode, answer in
      [("report-all", "data"), ("trim", "data"), ("explicit", "data"),
       ("report-all-tagged", "invalid-value")]],
    *[(get_schema("ietf-netconf"), "data")] * 3,
    (get_schema("vorplex-config", "<format>yin</format>"), "data"),
    (get_schema("none"), "invalid-value"),
    # Whole datastores.
    (copy("running", "startup"), "ok"),
    (copy("startup", "candidate"), "ok"),
    (copy(f"<config>{BAD}</config>", "running"), "operation-failed"),
    (copy("running", "running"), "invalid-value"),
    (copy("running", "startup", defaults("report-all")), "ok"),
    (delete_config("startup"), "ok"),
    (delete_config("running"), "unknown-element"),
    (validate(f"<config>{BAD}</config>"), "operation-failed"),
    (validate("<startup/>"), "data-missing"),
    # Locks, and commits for now.
    (lock("running"), "ok"),
    (lock("running"), "lock-denied"),
    (lock("running", "unlock"), "ok"),
    (lock("running", "unlock"), "operation-failed"),
    (change(config(l3("g"))), "ok"),
    ("<commit><confirmed/><persist>p</persist></commit>", "ok"),
    ("<commit/>", "invalid-value"),
    ("<cancel-commit><persist-id>p</persist-id></cancel-commit>", "ok"),
    ("<commit><confirmed/></commit>", "ok"),
    ("<cancel-commit/>", "ok"),
    ("<cancel-commit/>", "operation-failed"),
    (change(BAD), "ok"),
    ("<commit/>", "operation-failed"),
    # What is no operation.
    (kill(99), "invalid-value"),
    ("<reboot/>", "operation-not-supported"),
    ("", "operation-failed"),
    ("<get-config/>", "missing-element"),
    ("<get-config><source><running/><candidate/></source></get-config>",
     "bad-element"),
]

MESSAGES = ["<rpc", "text", " ", "\0", "<!DOCTYPE x []><x/>",
            f'<rpc xmlns="{NETCONF}"><get-config/></rpc>',
            "<rpc>" + "<a>" * 1000]


class MemoryTest(ServerTest):
    """The server, its plug-in's processes, and those that meet clients."""

    def setUp(self):
        super().setUp()
        # The processes of clients run as another user if this is root.
        self.logs = self.folder / "logs"
        self.logs.mkdir()
        self.logs.chmod(0o1777)
        self.folder.chmod(0o711)
        valgrind = [
            os.environ.get("IPAV_VALGRIND", "valgrind"), "--quiet",
            "--leak-check=full", "--show-leak-kinds=definite,indirect",
            "--num-callers=40",
            f"--log-file={self.logs}/valgrind.%p"]
        self.server = self.serve_ssh(under=valgrind)

    def call_all(self, client):
        # With valgrind, code takes longest when it first runs, and a request may
        # be read for 250 ms of CPU time: its parts come one after the other.
        for operation in ["", "<get-config/>", get_config(), change("<x/>"),
                          change(config())]:
            client.rpc(operation)
        for operation, answer in OPERATIONS:
            with self.subTest(operation):
                reply = client.rpc(operation)
                elements = [*map(local_name, reply)]
                tags = [part.text for part in reply.iter()
                        if part.tag.endswith("error-tag")]
                self.assertIn(answer, elements + tags)

    def assert_nothing_found(self):
        """By any process that there was, in all of its life."""
        logs = list(self.logs.iterdir())
        self.assertGreater(len(logs), 20)
        for log in logs:
            # Lines with "--" say that valgrind does not know a system call.
            self.assertEqual([line for line in log.read_text().splitlines()
                              if not line.startswith("--")], [], log.name)

    def test_is_used_rightly_and_given_back(self):
        # 1. All operations, twice, in both framings.
        for version in ["1.1", "1.0"]:
            client = self.raw(self.server, version=version)
            self.call_all(client)
            for message in MESSAGES:
                client.send_message(message)
                self.assertIn("rpc-error", client.receive())
            self.assert_ok(client.rpc("<discard-changes/>"))

        # 2. Sessions that end in each way.
        victim = self.raw(self.server)
        self.assert_ok(victim.rpc(lock("candidate")))
        self.assert_ok(client.rpc(kill(victim.session_id())))
        self.assertTrue(victim.is_dropped())
        self.raw(self.server).send(b"\n#x\n")
        self.raw(self.server).close()
        self.raw(self.server, greet=False).send(b"]]>]]>")
        self.assert_ok(self.raw(self.server).rpc("<close-session/>"))
        with self.connect(self.server) as session:
            session.get_config("running")

        # 3. The end, with a session and a confirmed commit that are not over.
        self.assert_ok(client.rpc(change(config(l3("h")))))
        self.assert_ok(client.rpc("<commit><confirmed/></commit>"))
        self.assertEqual(self.server.stop(), 0, self.server.log())
        self.assert_nothing_found()


if __name__ == "__main__":
    unittest.main()
