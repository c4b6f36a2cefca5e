"""The language server, by a client that speaks its protocol."""

import os
import pathlib
import re
import tempfile
import time
import unittest
import urllib.parse

from client import Client, ROOT, SECONDS, insertion, replacement

BRANCH = ROOT / "examples/branch-router"
OFFICE = BRANCH / "office-overlaps-management.xml"
CALLING_PLUGIN = os.environ.get("IPAV_CALLING_PLUGIN", "")
# A cursor before the value that is refused.
LINE_REFUSED = {"start": {"line": 508, "character": 0},
                "end": {"line": 508, "character": 0}}


def interface(inner="", name="a"):
    """A configuration with the interface; `inner` is line 3, counted from 0."""
    return ('<config xmlns="urn:vorplex:config"><interface>\n'
            '<l3 xmlns="urn:vorplex:ipapp">\n'
            f"<name>{name}</name>\n"
            f"{inner}\n"
            "</l3>\n</interface></config>\n")


def address(ip):
    return f"<ipv4><address><ip>{ip}</ip></address></ipv4>"


GOOD = interface(address("10.0.0.1/24"))
NETWORK = interface(address("10.0.0.0/24"))


def lines_of(diagnostics):
    return [each["range"]["start"]["line"] for each in diagnostics]


def apply(text, edits):
    """The text after edits of its bytes; only for ASCII."""
    lines = text.splitlines(keepends=True)
    starts = [sum(map(len, lines[:i])) for i in range(len(lines) + 1)]

    def offset(position):
        return starts[position["line"]] + position["character"]

    for edit in sorted(edits, key=lambda e: -offset(e["range"]["start"])):
        begin, end = (offset(edit["range"][each]) for each in ("start", "end"))
        text = text[:begin] + edit["newText"] + text[end:]
    return text


class LspTest(unittest.TestCase):
    arguments = ()

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        # A name that a URI has to escape.
        self.folder = pathlib.Path(folder.name) / "a b+ä"
        self.folder.mkdir()
        self.client = self.start(*self.arguments)

    def start(self, *arguments, **params):
        client = Client(*arguments)
        self.addCleanup(client.__exit__)
        if params is not None:
            client.initialize(**params)
        return client

    def open(self, text, name="new.xml"):
        return self.client.open(self.folder / name, text)

    def verdict(self, text, name="new.xml"):
        return self.client.published(self.open(text, name), 1)


class DiagnosticsTest(LspTest):
    def test_have_both_nodes_the_rule_and_its_description(self):
        [found] = self.client.published(self.client.open(OFFICE), 1)
        link = found.pop("codeDescription")["href"]
        file, anchor = link.split("#")
        document = pathlib.Path(urllib.parse.urlparse(file).path).read_text()
        self.assertIn("\n### Overlap\n", document)
        self.assertEqual(anchor, "overlap")
        other = ("overlaps with: /config/interface/mgmt{eth0}/ipv4/address/ip "
                 "172.31.12.2/24 (unchanged)")
        self.assertEqual(found, {
            "range": {"start": {"line": 508, "character": 16},
                      "end": {"line": 508, "character": 32}},
            "severity": 1,
            "source": "ipav",
            "code": "interface-overlap",
            "message": "l3 meeting-rooms vrf global ipv4 address "
                       "172.31.12.129/25 overlaps with mgmt eth0 vrf mgmt ipv4 "
                       f"address 172.31.12.2/24.\n{other}, line 754",
            "relatedInformation": [{
                "location": {
                    "uri": OFFICE.as_uri(),
                    "range": {"start": {"line": 753, "character": 14},
                              "end": {"line": 753, "character": 28}}},
                "message": other}]})

    def test_are_of_every_point_in_json_too(self):
        campus = ROOT / "examples/campus-core"
        uri = self.client.open(campus / "ra-several-wrong-at-once.json")
        found = self.client.published(uri, 1)
        self.assertEqual(len({each["code"] for each in found}), 3)
        for each in found:
            self.assertGreater(each["range"]["start"]["line"], 0)

    def test_name_the_nodes_of_the_running_configuration(self):
        running = BRANCH / "running.xml"
        candidate = BRANCH / "floor-5-vlan-removed.xml"
        [found] = self.client.published(self.client.open(candidate), 1)
        [place] = [each["location"] for each in found["relatedInformation"]
                   if each["location"]["uri"] == running.as_uri()]
        line = place["range"]["start"]["line"]
        self.assertIn("<vlan>", running.read_text().splitlines()[line])
        self.assertIn(f"(removed), running.xml line {line + 1}",
                      found["message"])

    def test_are_at_the_node_that_the_change_alters(self):
        """Two points refuse it: it is shown, and counted, once."""
        uri = self.client.open(BRANCH / "pos-shop-in-guest.xml")
        [found] = self.client.published(uri, 1)
        self.assertEqual(found["range"]["start"]["line"], 599)
        self.assertEqual([each["location"]["range"]["start"]["line"]
                          for each in found["relatedInformation"]], [555, 605])
        lenses = self.client.call("textDocument/codeLens",
                                  textDocument={"uri": uri})
        self.assertEqual(lenses[0]["command"]["title"], "refused: 1 finding")

    def test_of_an_exception_are_at_the_value_that_is_no_address(self):
        for name in ("branch-router/running.xml", "campus-core/running.json"):
            text = (ROOT / "examples" / name).read_text()
            begin = text.index("ospf-interface-l3")
            for leaf, wrong in [("area", ""), ("address", "10.12.1.300")]:
                value = re.compile(f'(?<={leaf}>)[0-9.]+|(?<="{leaf}": ")[0-9.]+')
                at = list(value.finditer(text, begin))[3]
                wrong_text = text[:at.start()] + wrong + text[at.end():]
                [found] = self.verdict(wrong_text, "new" + name[-5:])
                self.assertEqual(found["range"]["start"]["line"],
                                 text.count("\n", 0, at.start()))
                lines = found["message"].splitlines()
                self.assertEqual(found["message"].count("data path:"), 1)
                self.assertEqual(lines[-1], f"note: the {leaf} of this row of "
                                 "ospf-interface-l3 is not an IPv4 address")

    def test_are_all_errors_of_the_data_model(self):
        found = self.verdict(interface(
            '<foo/><description>a</description><description/>\n<bar/>'))
        self.assertEqual(lines_of(found), [3, 3, 4])
        self.assertEqual(found[0]["message"],
                         'Node "foo" not found as a child of "l3" node.')
        self.assertEqual(found[0]["range"]["end"]["character"], 4)

    def test_of_a_half_typed_text_stay_as_far_as_it_parses(self):
        uri = self.open(interface(address("10.0.0.0/24")
                                  + '\n<vrf>Global</vrf>'))
        first = self.client.published(uri, 1)
        self.assertEqual(first[0]["range"]["start"],
                         {"line": 3, "character": 19})
        # Before the end of what parses; it has moved with the text.
        self.client.change(uri, 2, insertion(2, 0, "\n"),
                           insertion(6, 0, "<ipv6"))
        kept, end = [each for each in self.client.published(uri, 2)
                     if each["severity"] == 1]
        self.assertEqual(kept["message"], first[0]["message"])
        self.assertEqual(kept["range"]["start"], {"line": 4, "character": 19})
        self.assertEqual(end["range"]["start"]["line"], 6)
        self.assertIn("cannot be read beyond this place", end["message"])
        # Behind it.
        self.client.change(uri, 3, insertion(3, 0, "<"))
        [end] = [each for each in self.client.published(uri, 3)
                 if each["severity"] == 1]
        self.assertEqual(end["range"]["start"]["line"], 3)
        # Corrected while it is half typed elsewhere.
        self.client.change(uri, 4, replacement(3, 0, 1, ""),
                           replacement(4, 26, 27, "1"))
        [end] = [each for each in self.client.published(uri, 4)
                 if each["severity"] == 1]
        self.assertEqual(end["range"]["start"]["line"], 6)
        # Whole again, as one new text.
        self.client.change(uri, 5, {"text": NETWORK})
        self.assertEqual(lines_of(self.client.published(uri, 5)), [3])

    def test_are_never_of_an_older_text(self):
        uri = self.open(NETWORK)
        digit = replacement(3, 26, 27, "0")
        last = 200
        for version in range(2, last + 1):
            digit["text"] = str(version % 2)
            self.client.change(uri, version, digit)
        versions = [0]
        while versions[-1] < last:
            params = self.client.take(
                lambda m: m["method"] == "textDocument/publishDiagnostics"
            )["params"]
            self.assertGreater(params["version"], versions[-1])
            self.assertEqual(len(params["diagnostics"]),
                             1 - params["version"] % 2)
            versions.append(params["version"])

    def test_go_when_the_document_is_closed(self):
        uri = self.open(NETWORK)
        self.assertEqual(len(self.client.published(uri, 1)), 1)
        self.client.notify("textDocument/didClose", textDocument={"uri": uri})
        self.assertEqual(self.client.published(uri, None), [])

    def test_tell_of_a_text_that_is_too_large(self):
        self.client = self.start("--max-input-size", "1")
        uri = self.open(GOOD + " " * ((1 << 20) - len(GOOD)))
        self.assertEqual(self.client.published(uri, 1), [])
        self.client.change(uri, 1, insertion(0, 0, " "))
        [found] = self.client.published(uri, 1)
        self.assertEqual(found["message"], "not judged: larger than 1 MiB")
        self.client.change(uri, 2, insertion(0, 0, "<"))
        self.assertEqual(len(self.client.published(uri, 2)), 1)
        self.client.change(uri, 3, {"text": GOOD})
        self.assertEqual(self.client.published(uri, 3), [])

    def test_tell_of_a_plugin_that_dies_and_the_server_lives(self):
        os.environ["DEED"] = "abort"
        self.addCleanup(os.environ.pop, "DEED")
        self.client = self.start("--plugin", CALLING_PLUGIN)
        uri = self.open(GOOD)
        for version in (1, 2):
            [found] = self.client.published(uri, version)
            self.assertRegex(found["message"],
                             r"\Athe plug-in failed: .*Aborted")
            self.client.change(uri, 2, {"text": NETWORK})
        self.assertEqual(self.client.shut_down(), 0)

    def test_are_found_by_one_process_for_each_processor(self):
        os.environ["DEED"] = "hang"
        self.addCleanup(os.environ.pop, "DEED")
        self.client = self.start("--plugin", CALLING_PLUGIN)
        uris = [self.open(GOOD, f"{i}.xml") for i in range(os.cpu_count() + 2)]
        server = self.client.server.pid
        children = pathlib.Path(f"/proc/{server}/task/{server}/children")

        def wait_for(count):
            end = time.monotonic() + SECONDS
            while len(children.read_text().split()) != count:
                self.assertLess(time.monotonic(), end)
                time.sleep(0.01)

        wait_for(os.cpu_count())
        time.sleep(0.2)
        wait_for(os.cpu_count())
        # The others wait for an end.
        for uri in uris[:-1]:
            self.client.notify("textDocument/didClose",
                               textDocument={"uri": uri})
            self.client.published(uri, None)
        wait_for(1)

    def test_tell_of_a_plugin_that_is_not_there(self):
        self.client = self.start("--plugin", "/nowhere.so")
        [found] = self.verdict(GOOD)
        self.assertIn("/nowhere.so", found["message"])


class RunningTest(LspTest):
    """The interface is in OSPFv3, so that its VLAN must stay."""

    CANDIDATE = BRANCH / "floor-4-vlan-changed.xml"

    def count(self, client, uri, version=1):
        return len(client.published(uri, version))

    def test_is_the_one_beside_the_file_or_the_setting_or_none(self):
        text = self.CANDIDATE.read_text()
        running = BRANCH / "running.xml"
        self.assertEqual(self.verdict(text), [])  # judged whole
        for arguments, params in [
                (["--running", str(running)], {}),
                ([], {"initializationOptions": {"running": str(running)}}),
                ([], {"initializationOptions": {"running": "./running.xml"},
                      "rootUri": BRANCH.as_uri()})]:
            with self.subTest(arguments=arguments, **params):
                client = self.start(*arguments, **params)
                uri = client.open(self.folder / "new.xml", text)
                self.assertEqual(self.count(client, uri), 1)
        (self.folder / "running.xml").write_text(running.read_text())
        self.assertEqual(len(self.verdict(text, "other.xml")), 1)

    def test_is_judged_on_its_own(self):
        client = self.start(rootUri=self.folder.as_uri(), initializationOptions={
            "running": ".//running.xml"})
        text = (BRANCH / "running.xml").read_text()
        uri = client.open(self.folder / "running.xml", text)
        self.assertEqual(self.count(client, uri), 0)
        lenses = client.call("textDocument/codeLens", textDocument={"uri": uri})
        self.assertEqual(lenses[1]["command"]["title"],
                         "this is the running configuration")
        # The buffer is read, as no such file exists.
        uri = client.open(self.folder / "new.xml", self.CANDIDATE.read_text())
        self.assertEqual(self.count(client, uri), 1)

    def test_is_the_open_document_if_it_is_open(self):
        uri = self.open(self.CANDIDATE.read_text())
        self.assertEqual(self.count(self.client, uri), 0)
        other = self.open((BRANCH / "running.xml").read_text(), "running.xml")
        self.assertEqual(self.count(self.client, uri), 1)
        self.client.change(other, 2, {"text": self.CANDIDATE.read_text()})
        self.assertEqual(self.count(self.client, uri), 0)

    def test_is_followed_when_settings_and_files_change(self):
        uri = self.open(self.CANDIDATE.read_text())
        self.assertEqual(self.count(self.client, uri), 0)
        file = self.folder / "elsewhere.xml"
        self.client.notify("workspace/didChangeConfiguration",
                           settings={"ipav": {"running": str(file)}})
        [found] = self.client.published(uri, 1)
        self.assertEqual(found["message"],
                         f"{file}: No such file or directory")
        file.write_text((BRANCH / "running.xml").read_text())
        self.client.notify("workspace/didChangeWatchedFiles", changes=[])
        [found] = self.client.published(uri, 1)
        self.assertEqual(found["code"], "ospfv3-vlan-changed")
        for settings in ({}, None):
            self.client.notify("workspace/didChangeConfiguration",
                               settings=settings)
            [found] = self.client.published(uri, 1)
            self.assertEqual(found["code"], "ospfv3-vlan-changed")
        # The server keeps what it has read, for the next edit.
        self.client.change(uri, 2, insertion(0, 0, "\n"))
        self.assertEqual(self.count(self.client, uri, 2), 1)
        file.write_text(self.CANDIDATE.read_text())
        self.client.change(uri, 3, insertion(0, 0, "\n"))
        self.assertEqual(self.count(self.client, uri, 3), 0)
        file.unlink()
        self.client.notify("textDocument/didSave", textDocument={"uri": uri})
        [found] = self.client.published(uri, 3)
        self.assertIn("No such file", found["message"])


class PositionsTest(LspTest):
    """Columns are UTF-16 code units, and lines end as the protocol says."""

    def test_count_utf16_units(self):
        for before, units in [("ab", 2), ("äö", 2), ("😀", 2), ("e\u0301", 2),
                              ("ä😀b" * 1000, 4000)]:
            with self.subTest(before[:3]):
                line = f"<description>{before}</description><foo/>"
                uri = self.open(interface(line))
                [found] = self.client.published(uri, 1)
                self.assertEqual(found["range"]["start"]["character"],
                                 line.index("<foo") - len(before) + units)
                # Edits count the same way.
                self.client.change(uri, 2, replacement(
                    3, 27 + units, 27 + units + 6, ""))
                self.assertEqual(self.client.published(uri, 2), [])
                self.client.change(uri, 3, insertion(3, 13, "😀"),
                                   insertion(3, 27 + units + 2, "<foo/>"))
                [found] = self.client.published(uri, 3)
                self.assertEqual(found["range"]["start"]["character"],
                                 27 + units + 2)

    def test_know_every_line_end(self):
        for end in ("\n", "\r\n", "\r"):
            with self.subTest(end):
                uri = self.open(interface("<foo/>").replace("\n", end))
                [found] = self.client.published(uri, 1)
                self.assertEqual(found["range"]["start"],
                                 {"line": 3, "character": 0})
                # One edit makes and removes line ends, and splits "\r\n".
                self.client.change(uri, 2,
                                   insertion(1, 0, "\r"), insertion(2, 0, "\n"),
                                   replacement(4, 0, 6, "<bar/>"))
                [found] = self.client.published(uri, 2)
                self.assertIn("bar", found["message"])
                self.assertEqual(found["range"]["start"],
                                 {"line": 4, "character": 0})

    def test_beyond_the_text_are_its_end(self):
        uri = self.open("")
        self.client.change(uri, 2, insertion(7, 7, GOOD),
                           insertion(0, 4000000000, " "),
                           insertion(4000000000, 0, "\n"))
        self.assertEqual(self.client.published(uri, 2), [])


class ActionsTest(LspTest):
    def ask(self, uri, selection=LINE_REFUSED):
        return self.client.request(
            "textDocument/codeAction", textDocument={"uri": uri},
            range=selection, context={"diagnostics": []})

    def test_are_the_fixes_and_correct_the_text(self):
        text = OFFICE.read_text()
        uri = self.client.open(OFFICE)
        actions = self.client.answer(self.ask(uri))["result"]
        self.assertEqual([each["title"] for each in actions], [
            "leave out /config/interface/l3{meeting-rooms}/ipv4/address/"
            "secondary{172.31.12.129/25}, which the change adds (suggested)",
            "narrow mgmt eth0 to 172.31.12.2/25 (suggested)"])
        [diagnostic] = self.client.published(uri, 1)
        for number, action in enumerate(actions, 2):
            self.assertEqual(action["diagnostics"], [diagnostic])
            self.assertEqual((action["kind"], action["isPreferred"]),
                             ("quickfix", False))
            [change] = action["edit"]["documentChanges"]
            self.assertEqual(change["textDocument"],
                             {"uri": uri, "version": 1})
            self.client.change(uri, number,
                               {"text": apply(text, change["edits"])})
            self.assertEqual(self.client.published(uri, number), [])

    def test_are_at_each_node_of_the_refusal(self):
        uri = self.client.open(BRANCH / "pos-shop-in-guest.xml")
        titles = []
        for line in (599, 555, 605):
            at = {"line": line, "character": 0}
            found = self.client.answer(self.ask(uri, {"start": at, "end": at}))
            titles.append([each["title"] for each in found["result"]])
        self.assertIn("leave ", "".join(titles[0]))
        self.assertEqual(titles, [titles[0]] * 3)

    def test_are_none_where_no_refusal_is(self):
        uri = self.client.open(OFFICE)
        start = {"line": 0, "character": 0}
        answer = self.client.answer(
            self.ask(uri, {"start": start, "end": start}))
        self.assertEqual(answer["result"], [])
        answer = self.client.answer(self.ask("file:///not-open.xml"))
        self.assertIsNone(answer["result"])

    def test_can_be_cancelled_and_are_not_of_another_text(self):
        uri = self.client.open(OFFICE)
        number = self.ask(uri)
        self.client.notify("$/cancelRequest", id=number)
        self.assertEqual(self.client.answer(number)["error"]["code"], -32800)
        number = self.ask(uri)
        self.client.change(uri, 2, insertion(0, 0, "\n"))
        self.assertEqual(self.client.answer(number)["error"]["code"], -32801)

    def test_the_lenses_count_changes_and_validation_calls(self):
        uri = self.client.open(OFFICE)

        def titles():
            lenses = self.client.call("textDocument/codeLens",
                                      textDocument={"uri": uri})
            return [each["command"]["title"] for each in lenses]

        self.assertEqual(titles(), ["refused: 1 finding",
                                    "1 change against running.xml"])
        self.client.change(uri, 2, {"text": (BRANCH / "running.xml").read_text()})
        self.assertEqual(titles(), ["accepted (0 of 0 validation calls)",
                                    "no changes against running.xml"])
        self.client.change(uri, 3, {"text": "<"})
        self.assertEqual(titles(), ["not judged: 1 error"])
        uri = self.open(GOOD)
        self.assertEqual(titles(), ["accepted (8 of 8 validation calls)",
                                    "no running configuration"])
        # It cannot be compared with a file that has gone.
        running = self.folder / "running.xml"
        running.write_text((BRANCH / "running.xml").read_text())
        uri = self.open(GOOD, "other.xml")
        self.client.published(uri, 1)
        running.unlink()
        self.assertEqual(len(titles()), 1)

    def test_the_command_of_a_lens_judges_again(self):
        uri = self.open(GOOD)
        self.client.published(uri, 1)
        self.client.call("workspace/executeCommand", command="ipav.check",
                         arguments=[uri])
        self.assertEqual(self.client.published(uri, 1), [])


class ProtocolTest(LspTest):
    def error(self, number=None):
        return self.client.answer(number)["error"]["code"]

    def test_has_a_beginning_and_an_end(self):
        client = self.client = Client()
        self.addCleanup(client.__exit__)
        self.assertEqual(self.error(client.request("shutdown")), -32002)
        client.notify("textDocument/didOpen")  # ignored
        name = client.initialize()["serverInfo"]["name"]
        self.assertEqual(name, "ipav")
        self.assertEqual(self.error(client.request("initialize")), -32600)
        client.call("shutdown")
        self.assertEqual(self.error(client.request("shutdown")), -32600)
        client.notify("exit")
        self.assertEqual(client.server.wait(SECONDS), 0)
        self.assertEqual(client.server.stderr.read(), b"")

    def test_ends_with_1_without_a_shutdown(self):
        self.client.notify("exit")
        self.assertEqual(self.client.server.wait(SECONDS), 1)
        client = self.start()
        client.server.stdin.close()
        self.assertEqual(client.server.wait(SECONDS), 1)

    def test_answers_wrong_messages_and_goes_on(self):
        client = self.client
        for content, code in [(b"{", -32700), (b"\xff", -32700),
                              (b"[]", -32600), (b"1", -32600),
                              (b"[" * 200000 + b"]" * 200000, -32700),
                              (b"{}", -32600), (b'{"id": 1}', -32600),
                              (b'{"id": null, "method": "shutdown"}', -32600),
                              (b'{"id": [], "method": "shutdown"}', -32600)]:
            with self.subTest(content[:40]):
                client.send_bytes(b"content-length:%d\r\nX: y\r\n\r\n%s"
                                  % (len(content), content))
                self.assertEqual(self.error(), code)
        for method, params in [("textDocument/none", {}), ("$/none", {})]:
            self.assertEqual(self.error(client.request(method, **params)),
                             -32601)
        for params in [{}, {"textDocument": {"uri": 1}}]:
            self.assertEqual(
                self.error(client.request("textDocument/codeLens", **params)),
                -32602)
        # Wrong notifications, and answers that nobody asked for.
        client.notify("textDocument/didOpen", textDocument=3)
        client.notify("textDocument/didChange", textDocument={"uri": "x"},
                      contentChanges=[{"text": ""}])
        client.notify("textDocument/none")
        client.send(id=7, result=None)
        client.send(id=7, error={})
        self.assertEqual(self.verdict(GOOD), [])
        self.assertEqual(client.shut_down(), 0)

    def test_takes_messages_in_any_pieces(self):
        content = b'{"jsonrpc": "2.0", "id": "a", "method": "shutdown"}'
        for byte in b"Content-Length: %d\r\n\r\n%s" % (len(content), content):
            self.client.send_bytes(bytes([byte]))
        self.assertIsNone(self.client.answer("a")["result"])

    def test_drops_a_message_that_is_too_large(self):
        lost, other = self.open(GOOD, "lost.xml"), self.open(GOOD, "b.xml")
        for uri in lost, other:
            self.assertEqual(self.client.published(uri, 1), [])
        head = b'{"params": {"textDocument": {"uri": "%s"' % lost.replace(
            "/", "\\/").encode()
        size = (160 << 20) + 1
        self.client.send_bytes(b"Content-Length: %d\r\n\r\n%s"
                               % (size, head))
        blanks = memoryview(b" " * (1 << 20))
        for begin in range(len(head), size, len(blanks)):
            self.client.send_bytes(blanks[:size - begin])
        self.assertEqual(self.error(), -32600)
        self.client.take(lambda m: m.get("method") == "window/showMessage")
        # Its text is unknown, until all of it is sent.
        for change, found in [
                (insertion(3, 0, "<"), ["not judged: a change is too large; "
                                        "open the document again"]),
                ({"text": GOOD}, [])]:
            self.client.change(lost, 2, change)
            self.assertEqual([each["message"] for each in
                              self.client.published(lost, 2)], found)
        self.client.change(other, 2, insertion(3, 0, "<foo/>"))
        self.assertEqual(len(self.client.published(other, 2)), 1)

    def test_ends_at_a_stream_that_is_not_of_messages(self):
        for stream, error in [
                (b"Content-Length: x\r\n\r\n",
                 b"the Content-Length of a message is not a number"),
                (b"Content-Type: x\r\n\r\n", b"a message has no Content-Length"),
                (b"x" * 5000, b"the header of a message is too long")]:
            with self.subTest(stream[:20]):
                client = self.start()
                client.send_bytes(stream)
                self.assertEqual(client.server.wait(SECONDS), 2)
                self.assertEqual(client.server.stderr.read(),
                                 b"ipav: " + error + b"\n")

    @unittest.skipIf(os.environ.get("IPAV_SANITIZE"),
                     "sanitizers keep freed memory")
    def test_keeps_its_memory_over_10000_edits(self):
        def memory():
            with open(f"/proc/{self.client.server.pid}/statm",
                      encoding="ascii") as file:
                return int(file.read().split()[1]) * os.sysconf("SC_PAGESIZE")

        uri = self.open(GOOD)
        sizes = []
        for version in range(2, 10002):
            self.client.change(uri, version, replacement(
                3, 19, 20, str(version % 9 + 1)))
            if version % 1000 == 1:
                self.assertEqual(self.client.published(uri, version), [])
                sizes.append(memory())
                self.client.messages.clear()
        self.assertEqual(len(sizes), 10)
        self.assertLess(sizes[-1], sizes[0] + (1 << 20))


if __name__ == "__main__":
    unittest.main()
