"""Clients that do wrong are refused or dropped; others go on working."""

import os
import pathlib
import re
import signal
import socket
import time
import unittest
import xml.etree.ElementTree as ElementTree

from served import (GET, HELLO, IPAPP, NETCONF, PATIENCE, SLOW,
                    TEST_PLUGINS, ServerTest, children, chunked, config,
                    cpu_seconds, edit, get_config, kill, l3, local_name, memory,
                    wait_until, wild_model)

# Libxml2 looks for each prefix among all that are declared above it.
PREFIXES = "".join(
    "<a" + "".join(f" xmlns:p{i}.{j}='u'" for j in range(128)) + ">"
    for i in range(250))

# CPU seconds that the server may need for an answer. Other work on the machine
# does not change them.
AT_ONCE = float(os.environ.get("IPAV_AT_ONCE", "0.5"))


def has_passed_client(relay):
    """Whether a relay has passed its client to the server, and waits: it blocks
    SIGTERM before, and sleeps after it."""
    status = pathlib.Path(f"/proc/{relay}/status").read_text()
    blocked = int(re.search(r"^SigBlk:\s*(\w+)", status, re.M).group(1), 16)
    is_blocked = (blocked >> signal.SIGTERM - 1 & 1) == 1
    return is_blocked and "\nState:\tS" in status


class BusyServerTest(ServerTest):
    """Tests of a server that must have time for all of its clients."""

    def assert_at_once(self, act, *arguments):
        """What it returns; the server itself needs little time for it."""
        process = self.server.pid
        before = cpu_seconds(process)
        result = act(*arguments)
        self.assertLess(cpu_seconds(process) - before, AT_ONCE)
        return result


class RobustnessTest(BusyServerTest):
    """Each with a second client, which must not be kept waiting."""

    def start(self, *options, **more):
        self.server = self.serve(*options, **more)
        self.second = self.raw(self.server)
        self.addCleanup(self.assert_second_works)

    def assert_second_works(self):
        """At once, and the session that it had from the start."""
        reply = self.assert_at_once(self.second.rpc, GET)
        self.assertEqual(len(reply), 1)
        self.assertTrue(reply[0].tag.endswith("data"))
        self.assertFalse(self.server.has_ended())

    def ask(self, operation):
        """The reply to the only request of a session. It is sent with the hello:
        the session is idle at no time."""
        client = self.raw(self.server, greet=False)
        client.send((HELLO % "1.1" + "]]>]]>").encode() + chunked(
            f'<rpc message-id="1" xmlns="{NETCONF}">{operation}</rpc>'))
        client.receive_marked()
        reply = ElementTree.fromstring(client.receive())
        client.close()
        return reply

    def test_drops_malformed_framing(self):
        self.start()
        for sent in [b"<rpc/>]]>]]>", b"\n#0\n", b"\n#-1\n", b"\n#4x\n<rpc",
                     b"\n##\n", b"\n#99999999999\n", b"\x00\xff\xfe" * 100,
                     b"\n#4\n<rpc\n#04\n"]:
            with self.subTest(sent):
                client = self.raw(self.server)
                client.send(sent)
                self.assertTrue(client.is_dropped())
                self.assert_second_works()

    def test_answers_messages_that_are_no_xml(self):
        self.start()
        rpc = f'<rpc xmlns="{NETCONF}" message-id="%s">{GET}</rpc>'
        for sent in ["", " ", "\0", "\0<rpc/>", "<!-- -->", "<!--", "<?a b?>",
                     "<?xml version='1.0'?>", "\ufeff", "\ufeff <!---->", "<",
                     "\ufeff" + rpc % "1",
                     "</rpc>", "<!DOCTYPE rpc>", "<![CDATA[<rpc/>]]", "text",
                     rpc % '1" message-id="2', rpc % "<", rpc % "\1",
                     rpc % "\udcff", rpc % "&a;"]:
            with self.subTest(sent):
                client = self.raw(self.server, version="1.0")
                client.send(sent.encode(errors="surrogateescape") + b"]]>]]>")
                self.assert_refused(
                    ElementTree.fromstring(client.receive()),
                    "malformed-message", "rpc")
                self.assertEqual(len(client.rpc(GET)), 1)
                client.close()
                self.assert_second_works()

    def test_answers_chunks_that_are_no_xml(self):
        self.start()
        for sent in [" ", "\n\n", "<!-- nothing -->", "<?xml version='1.0'?>",
                     f'\0<rpc message-id="1" xmlns="{NETCONF}"/>', "<rpc",
                     "text", "<rpc/>", "<!DOCTYPE x []><x/>",
                     f'<rpc xmlns="{NETCONF}"/>',
                     f'<rpc message-id="1" xmlns="{NETCONF}"/>',
                     f'<hello xmlns="{NETCONF}"/>']:
            with self.subTest(sent):
                client = self.raw(self.server)
                client.send_message(sent)
                self.assertIn("rpc-error", client.receive())
                self.assertEqual(len(client.rpc(GET)), 1)
                client.close()

    def test_forgets_what_was_wrong_with_messages(self):
        # AddressSanitizer keeps what was freed for a while.
        sanitizer = os.environ.get("ASAN_OPTIONS", "")
        self.start(environment={
            "ASAN_OPTIONS": sanitizer + ":quarantine_size_mb=1"})
        client = self.raw(self.server)
        wrong = kill("x" * (1 << 18))
        client.rpc(wrong)
        before = memory(self.server.pid)
        for _ in range(50):
            self.assert_refused(client.rpc(wrong), "invalid-value")
        self.assertLess(memory(self.server.pid) - before, 8 << 10)

    def test_drops_a_request_that_takes_long_to_read(self):
        self.start()
        rpc = f'<rpc message-id="1" xmlns="{NETCONF}"%s>%s</rpc>'
        get = GET.replace("</get", "%s</get")
        for name, request in {
                "unknown elements":
                    rpc % ("", edit("candidate", "<a/>" * 60000)),
                "elements of a filter":
                    rpc % ("", get % f"<filter>{'<a/>' * 60000}</filter>"),
                "one leaf": rpc % ("", edit("candidate", config(
                    l3("a", more="<mtu>1500</mtu>" * 30000)))),
                "one entry":
                    rpc % ("", edit("candidate", config(*[l3("a")] * 30000))),
                "prefixes": PREFIXES + "<p0.0:a/>" * 200000,
                "XPath": rpc % ("", get % '<filter type="xpath" select="'
                                f'{"|".join(["/a"] * 200000)}"/>')}.items():
            with self.subTest(name):
                client = self.raw(self.server)
                before = self.server.log().count("takes too long to read")
                client.send_message(request)
                while (self.server.log().count("takes too long to read") ==
                       before):
                    self.assert_at_once(self.second.rpc, GET)
                self.assertTrue(client.is_dropped())

    def test_answers_what_the_yang_library_does_not_survive(self):
        self.start()
        client = self.raw(self.server)
        twice = '<x xmlns=""/><x xmlns=""/>'
        for _ in range(3):
            self.assertEqual(len(client.rpc(
                GET.replace("</get", f"<filter>{twice}</filter></get"))[0]), 0)
            self.assert_refused(client.rpc(edit("candidate", twice)),
                                "unknown-namespace", "protocol")
            self.assert_refused(client.rpc(
                '<action xmlns="urn:ietf:params:xml:ns:yang:1">a</action>'),
                "operation-not-supported", "protocol")

    def test_lists_at_most_a_hundred_errors_of_an_edit(self):
        self.start()
        client = self.raw(self.server)
        delete = f'<secondary xmlns:nc="{NETCONF}" nc:operation="delete"><ip>'
        rows = "".join(f"{delete}10.0.{i // 256}.{i % 256}/24</ip></secondary>"
                       for i in range(5000))
        name = "x" * 100000
        reply = client.rpc(edit(
            "candidate",
            config(l3(name, more=f"<ipv4><address>{rows}</address></ipv4>")),
            "<error-option>continue-on-error</error-option>"))
        self.assertEqual(len(reply), 100)
        for error in reply:
            self.assertNotIn("error-path", map(local_name, error))

    def test_drops_what_does_not_begin_with_a_hello(self):
        self.start()
        for sent in [b"GET / HTTP/1.1\r\n\r\n]]>]]>", b"]]>]]>",
                     f'<rpc message-id="1" xmlns="{NETCONF}"><get/></rpc>'
                     "]]>]]>".encode(),
                     (HELLO % "9.9").encode() + b"]]>]]>"]:
            with self.subTest(sent):
                client = self.raw(self.server, greet=False)
                client.send(sent)
                self.assertTrue(client.is_dropped())
                self.assert_second_works()

    def test_takes_a_message_of_the_largest_size_and_drops_a_larger_one(self):
        self.start("--max-message-size", "1")
        client = self.raw(self.server)
        operation = (f'<rpc message-id="1" xmlns="{NETCONF}">{GET}</rpc>')
        padding = "<!--" + "x" * ((1 << 20) - len(operation) - 7) + "-->"
        client.send_message(operation + padding)
        self.assertIn("<data", client.receive())
        client.send(b"\n#1048577\n")  # before it comes
        self.assertTrue(client.is_dropped())
        self.server.wait_for_log("a message of more than 1048576 bytes")

    def test_refuses_a_configuration_that_is_too_large(self):
        self.start("--max-configuration-size", "1")
        client = self.raw(self.server)
        half = "<description>" + "x" * 600000 + "</description>"
        self.assert_ok(client.rpc(edit("candidate",
                                       config(l3("a", more=half)))))
        self.assert_refused(
            client.rpc(edit("candidate", config(l3("b", more=half)))),
            "resource-denied", "application")
        self.assert_ok(client.rpc("<commit/>"))

    def test_drops_clients_that_say_nothing_for_too_long(self):
        self.server = self.serve("--hello-timeout", "1", "--idle-timeout", "1")
        begin = time.monotonic()
        for greet in [False, True]:
            self.assertTrue(self.raw(self.server, greet=greet).is_dropped())
        self.assertGreater(time.monotonic() - begin, 1.8)
        self.server.wait_for_log("no hello in time")
        self.assertTrue(self.ask(GET)[0].tag.endswith("data"))

    def test_outlives_a_crowd_that_connects_and_goes(self):
        self.start("--max-sessions", "4")
        # Many, as it takes one that goes within a greeting.
        for number in range(2000):
            client = socket.socket(socket.AF_UNIX)
            client.connect(self.server.socket)
            client.close()
            if number % 10 == 0:
                time.sleep(0.005)
        end = time.monotonic() + PATIENCE
        while time.monotonic() < end:
            try:
                again = self.raw(self.server)
                break
            except (EOFError, OSError):
                time.sleep(0.05)
        self.assertEqual(len(again.rpc(GET)), 1)

    def relays(self):
        """The processes of the clients, which are children of a child."""
        return {relay for child in children(self.server.pid)
                for relay in children(child)}

    def read_for_seconds(self, *before):
        """A client whose last request is being read, and its process."""
        others = self.relays()
        client = self.raw(self.server)
        relay, = self.relays() - others
        for operation in before:
            client.send_message(f'<rpc message-id="1" xmlns="{NETCONF}">'
                                f"{operation}</rpc>")
        client.send_message(PREFIXES + "<p0.0:a/>" * 1500000)
        begin = cpu_seconds(relay)
        while cpu_seconds(relay) < begin + 0.2:
            time.sleep(0.01)
        return client, relay

    def test_reads_no_request_of_a_session_that_has_ended(self):
        self.server = self.serve()
        other = self.raw(self.server)
        # An answer to an earlier request may be in preparation.
        for count, before in enumerate([[], [SLOW]], 1):
            client, _ = self.read_for_seconds(*before)
            self.assert_ok(other.rpc(kill(client.session_id())))
            self.assertTrue(client.is_dropped())
            self.server.wait_for_log(
                "its session ended while its request was", count)
        # The relay also ends when the server is killed. It may work for 3.6 s.
        _, relay = self.read_for_seconds()
        self.server.stop(signal.SIGKILL)
        used = 0
        while used is not None:
            self.assertLess(used, 3)
            time.sleep(0.01)
            used = cpu_seconds(relay)

    def test_outlives_clients_whose_processes_die_before_it_greets_them(self):
        self.start()
        before = self.relays()
        self.server.process.send_signal(signal.SIGSTOP)
        for _ in range(10):
            client = socket.socket(socket.AF_UNIX)
            client.connect(self.server.socket)
            client.close()
        wait_until(lambda: 10 == sum(
            map(has_passed_client, self.relays() - before)), self.server.log)
        for relay in self.relays() - before:
            os.kill(relay, signal.SIGKILL)
        self.server.process.send_signal(signal.SIGCONT)
        self.server.wait_for_log("a session cannot be made")


class LongFilterTest(BusyServerTest):
    """Filters that run for long, over as many entries."""

    ENTRIES = 20000

    def setUp(self):
        super().setUp()
        self.serve().stop()  # running is empty
        (self.folder / "state" / "startup.xml").write_text(
            config(*[l3(f"i{i}") for i in range(self.ENTRIES)]))
        self.server = self.serve()
        self.other = self.raw(self.server)

    @staticmethod
    def get(filter_):
        return (f'<rpc message-id="1" xmlns="{NETCONF}">'
                f'{get_config("startup", filter_)}</rpc>')

    @staticmethod
    def subtree(parts):
        return "<filter>" + config(*[
            f'<l3 xmlns="{IPAPP}">{part}</l3>' for part in parts]) + "</filter>"

    def start(self):
        """A client for each kind of filter, and the processes that answer them.
        These stand still: the server must not wait for them."""
        clients, processes = [], []
        for filter_ in [
                '<filter type="xpath" select="//*[count(//*) > count(//*[count('
                '//*) > 1])]"/>',
                self.subtree(f"<mtu>{i}</mtu>" for i in range(5000))]:
            client = self.raw(self.server)
            before = children(self.server.pid)
            client.send_message(self.get(filter_))
            wait_until(lambda: children(self.server.pid) - before,
                       self.server.log)
            process, = children(self.server.pid) - before
            os.kill(process, signal.SIGSTOP)
            clients.append(client)
            processes.append(process)
        return clients, processes

    def test_keep_no_other_client_and_no_timer_waiting(self):
        self.assert_ok(self.other.rpc(edit("candidate", config(l3("a")))))
        clients, processes = self.start()
        self.assert_ok(self.assert_at_once(
            self.other.rpc, "<commit><confirmed/><confirm-timeout>1"
            "</confirm-timeout></commit>"))
        self.server.wait_for_log("is taken back: it was not confirmed in time")
        self.assertEqual(
            self.names(self.assert_at_once(self.other.rpc, GET)), [])
        for process in processes:
            os.kill(process, signal.SIGCONT)
        for client in clients:
            client.send_message(f'<rpc message-id="2" xmlns="{NETCONF}">{GET}'
                                "</rpc>")
        for client in clients:
            error = self.assert_refused(
                ElementTree.fromstring(client.receive()), "operation-failed")
            self.assertEqual(error["error-message"],
                             "The filter takes more than 5 seconds.")
            self.assertIn('message-id="2"', client.receive())

    def test_keep_no_end_waiting(self):
        (killed, left), _ = self.start()
        self.assert_ok(self.assert_at_once(
            self.other.rpc, kill(killed.session_id())))
        self.assertTrue(self.assert_at_once(killed.is_dropped))
        left.close()
        self.assert_at_once(self.server.wait_for_log, "session 3 was cut off")
        self.start()
        self.assertEqual(self.server.stop(), 0)

    def test_are_none_with_keys(self):
        wanted = [f"i{i}" for i in range(0, self.ENTRIES, 10)]
        message = self.get(self.subtree(
            f"<name>{name}</name>" for name in wanted))
        before = cpu_seconds(self.server.pid, of_children=True)
        self.other.send_message(message)
        reply = self.other.receive()
        self.assertEqual(self.names(ElementTree.fromstring(reply)), wanted)
        # The next request is answered after the server waited for the process.
        self.assert_ok(self.other.rpc("<discard-changes/>"))
        needed = cpu_seconds(self.server.pid, of_children=True) - before
        self.assertLess(needed, AT_ONCE)


class FailingPluginTest(ServerTest):
    """A plug-in that dies or hangs refuses the commit; the server stays."""

    def setUp(self):
        super().setUp()
        self.server = self.serve("--plugin", f"{TEST_PLUGINS}/obeys_opaque.so",
                                 "--yang", wild_model(self.folder),
                                 "--timeout", "3")
        self.client = self.raw(self.server)

    def commit(self, leaf):
        self.assert_ok(self.client.rpc(edit(
            "candidate", f'<top xmlns="urn:m"><{leaf}>x</{leaf}></top>',
            "<default-operation>replace</default-operation>")))
        return self.client.rpc("<commit/>")

    def test_refuses_the_commit_and_takes_the_next_one(self):
        for deed in ["_exit", "hang", "overflow-stack", "kill-parent",
                     "spawn-and-crash"]:
            with self.subTest(deed):
                error = self.assert_refused(self.commit(deed),
                                            "operation-failed", "application")
                self.assertIn("the plug-in failed: ", error["error-message"])
                self.assertEqual(error["error-app-tag"], deed)
                self.assertEqual(error["error-path"], f"/m:top/{deed}")
                self.assertEqual(len(self.client.rpc(GET)[0]), 0)
        self.assert_ok(self.commit("nothing"))
        self.assertEqual(len(self.client.rpc(GET)[0]), 1)
        self.commit("close-files")
        self.assert_ok(self.commit("nothing"))

    def test_may_say_much_that_xml_cannot_carry(self):
        error = self.assert_refused(self.commit("refuse-in-odd-bytes"),
                                    "operation-failed")
        self.assertEqual(error["error-message"],
                         "one\ntwo\\x0d\n\n\ttab {} %s\\x1b[31mred\\x07"
                         "\ufffd\ufffd( \ufffd\ufffd\ufffd")
        error = self.assert_refused(self.commit("refuse-at-length"),
                                    "operation-failed")
        self.assertGreater(len(error["error-message"]), 1000)


if __name__ == "__main__":
    unittest.main()
