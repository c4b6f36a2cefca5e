"""Every operation, and what it refuses, over the UNIX socket."""

import io
import pathlib
import shutil
import signal
import tempfile
import time
import unittest
from xml.etree import ElementTree

from served import (CONFIG, GET, IPAPP, IPAVD, NETCONF, TEST_PLUGINS,
                    RawClient, Server, ServerTest, config, connect_unix, copy,
                    defaults, edit, get_config, kill, l3, lock, model_of)

MONITORING = "urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"

A = l3("a", "10.0.0.1/24")
B = l3("b", "10.0.1.1/24")
NETWORK = l3("c", "10.0.2.0/24")
NETWORK_TEXT = ("l3 c ipv4 address 10.0.2.0/24 cannot be configured as network"
                " address.")


class OperationsTest(ServerTest):
    def setUp(self):
        super().setUp()
        self.server = self.start()
        self.client = self.raw(self.server)

    def start(self):
        return self.serve()

    def ok(self, operation):
        self.assert_ok(self.client.rpc(operation))

    def refused(self, operation, tag, kind=None):
        return self.assert_refused(self.client.rpc(operation), tag, kind)

    def error_tags(self, operation):
        return [tag.text for tag in self.client.rpc(operation).iter(
            f"{{{NETCONF}}}error-tag")]

    def running(self, *interfaces):
        self.ok(edit("candidate", config(*interfaces)))
        self.ok("<commit/>")

    def names_in(self, datastore):
        return self.names(self.client.rpc(get_config(datastore)))


class SharedOperationsTest(OperationsTest):
    """The tests of a class share one server, which each finds empty."""

    shared = None

    def start(self):
        if self.shared is None:
            folder = pathlib.Path(tempfile.mkdtemp(prefix="ipav-shared-"))
            self.addClassCleanup(shutil.rmtree, folder)
            type(self).shared = Server(IPAVD, folder / "state")
            self.addClassCleanup(self.shared.stop)
        else:
            self.empty(connect_unix(self.shared.socket, RawClient))
        return self.shared

    def empty(self, client):
        empty = copy("<config/>", "candidate")
        client.rpc("<delete-config><target><startup/></target>"
                   "</delete-config>")
        for operation in [empty, "<commit/>", "<close-session/>"]:
            self.assert_ok(client.rpc(operation))
        client.close()


class GetConfigTest(SharedOperationsTest):
    @staticmethod
    def subtree(content):
        return f'<filter type="subtree">{content}</filter>'

    @staticmethod
    def xpath(expression):
        return (f'<filter type="xpath" xmlns:c="{CONFIG}" xmlns:i="{IPAPP}"'
                f' select="{expression}"/>')

    def assert_selects(self, filter_, names, addresses):
        with self.subTest(filter_):
            reply = self.client.rpc(get_config(more=filter_))
            self.assertEqual(self.names(reply), names)
            self.assertEqual(
                len(list(reply.iter(f"{{{IPAPP}}}ip"))), addresses)

    def test_selects_subtrees(self):
        self.running(A, B)
        l3_of = f'<l3 xmlns="{IPAPP}">%s</l3>'
        for content, names, addresses in [
                ("", ["a", "b"], 2),
                (l3_of % "", ["a", "b"], 2),
                (l3_of % "<name/>", ["a", "b"], 0),
                (l3_of % "<name>b</name>", ["b"], 1),
                (l3_of % "<name> b </name>", ["b"], 1),
                (l3_of % "<name>b</name><vrf/>", ["b"], 0),
                (l3_of % "<name>b</name><ipv4/>", ["b"], 1),
                (l3_of % "<name>a</name>" +
                 l3_of % "<name>b</name><ipv4/>", ["a", "b"], 2),
                (l3_of % "<name>x</name>", [], 0),
                # No node has an attribute, so none selects one.
                (f'<l3 xmlns="{IPAPP}" a="b"/>' + l3_of % "<name>b</name>",
                 ["b"], 1),
                (l3_of % '<name xmlns:x="urn:x" x:y="">a</name>', [], 0),
                (l3_of % '<name>a</name><ipv4 operation="merge"/>',
                 ["a"], 0)]:
            self.assert_selects(self.subtree(config(content)), names,
                                addresses)
        for content, names, addresses in [
                (f'<config xmlns="{CONFIG}">x</config>', [], 0),
                ('<config xmlns=""/>', ["a", "b"], 2),
                ('<config xmlns="urn:other"/>', [], 0),
                ("", [], 0)]:
            self.assert_selects(self.subtree(content), names, addresses)

    def test_selects_by_xpath(self):
        self.running(A, B)
        for expression, names, addresses in [
                ("/c:config/c:interface/i:l3[i:name='b']", ["b"], 1),
                ("/c:config/c:interface/i:l3/i:name", ["a", "b"], 0),
                ("c:config/c:interface/i:l3[i:name='a']", ["a"], 1),
                ("//i:ip[. = '10.0.1.1/24']", ["b"], 1),
                ("/c:config/c:interface/i:l3[i:name='x']", [], 0)]:
            self.assert_selects(self.xpath(expression), names, addresses)

    def test_refuses_what_is_no_xpath(self):
        self.running(A)
        no_xpath = "The attribute select is no XPath expression, see character "
        not_followed = "The attribute select cannot be followed, "
        for expression, tag, text in [
                ("/c:config[", "bad-attribute",
                 no_xpath + "11: /c:config["),
                ("/c:config[i:name='a]", "bad-attribute",
                 no_xpath + "21: /c:config[i:name='a]"),
                ("", "bad-attribute", no_xpath + "1: "),
                ("//*[foo()]", "operation-failed",
                 'Unknown XPath function "foo".'),
                ("x:y", "operation-failed", 'Failed to resolve prefix "x".'),
                ("deref(//i:name)", "bad-attribute",
                 not_followed + "deref() takes only a node that refers to "
                 "another one: deref(//ipapp:name)"),
                ("//i:l3[deref(i:name)]", "bad-attribute",
                 not_followed + "deref() takes only a node that refers to "
                 "another one: //ipapp:l3[deref(name)]")]:
            with self.subTest(expression):
                error = self.refused(
                    get_config(more=self.xpath(expression)), tag)
                self.assertEqual(error["error-message"], text)

    def with_defaults(self, mode):
        reply = self.client.rpc(get_config(more=defaults(mode)))
        return [(value.text, value.attrib)
                for value in reply.iter(f"{{{IPAPP}}}enabled")]

    def test_gives_default_values_as_asked(self):
        self.running(A, l3("b", "10.0.1.1/24", "<enabled>true</enabled>"))
        self.assertEqual(self.with_defaults("explicit"), [("true", {})])
        self.assertEqual(self.with_defaults("trim"), [])
        self.assertEqual(self.with_defaults("report-all"),
                         [("true", {}), ("true", {})])
        reply = self.client.rpc(get_config())
        self.assertEqual(len(list(reply.iter(f"{{{IPAPP}}}enabled"))), 1)


class GetTest(OperationsTest):
    def get(self, content):
        return self.client.rpc(
            f'<get><filter type="subtree">{content}</filter></get>')

    def test_gives_configuration_and_state(self):
        self.running(A)
        reply = self.client.rpc("<get/>")
        self.assertEqual(self.names(reply), ["a"])
        names = [child.tag for child in reply[0]]
        self.assertIn(f"{{{MONITORING}}}netconf-state", names)
        self.assertIn(
            "{urn:ietf:params:xml:ns:yang:ietf-yang-library}yang-library",
            names)

    def state(self, part):
        reply = self.get(f'<netconf-state xmlns="{MONITORING}">{part}'
                         "</netconf-state>")
        self.assertEqual(len(reply[0]), 1)
        return reply[0][0][0]

    def values(self, parent, name):
        return [node.text for node in parent.iter(f"{{{MONITORING}}}{name}")]

    def test_tells_of_sessions(self):
        other = self.raw(self.server)
        self.assert_ok(other.rpc(lock("running")))
        other.rpc("<commit><confirmed/>")  # malformed: a bad RPC
        sessions = self.state("<sessions/>")
        self.assertEqual(self.values(sessions, "session-id"), ["1", "2"])
        self.assertEqual(self.values(sessions, "in-rpcs"), ["0", "1"])
        self.assertEqual(self.values(sessions, "in-bad-rpcs"), ["0", "1"])
        datastores = self.state("<datastores/>")
        self.assertEqual(self.values(datastores, "name"),
                         ["running", "candidate", "startup"])
        self.assertEqual(self.values(datastores, "locked-by-session"), ["2"])

    def test_counts_sessions(self):
        names = ["in-bad-hellos", "in-sessions", "dropped-sessions"]

        def counted():
            statistics = self.state("<statistics/>")
            return [int(*self.values(statistics, name)) for name in names]

        self.assertEqual(counted(), [0, 1, 0])
        self.assert_ok(self.raw(self.server).rpc("<close-session/>"))
        self.raw(self.server).close()
        self.server.wait_for_log("session 3 was cut off")
        self.assertEqual(counted(), [0, 3, 1])
        # A hello that is wrong, and two that are missing.
        for sent in [b"<hello/>]]>]]>", b"<hello", b""]:
            client = self.raw(self.server, greet=False)
            client.send(sent)
            client.close()
        for session in (4, 5, 6):  # which may end in any order
            self.server.wait_for_log(f"session {session} ended")
        self.assertEqual(counted(), [3, 6, 1])
        self.assertEqual(self.values(self.state("<statistics/>"), "in-rpcs"),
                         ["4"])

    def test_tells_of_modules_and_datastores(self):
        library = "urn:ietf:params:xml:ns:yang:ietf-yang-library"
        [data] = self.client.rpc("<get/>")
        texts = [part.text or "" for part in data.iter()]
        self.assertFalse([text for text in texts if "file:" in text])
        stores = [part.text for part in data.iter(f"{{{library}}}name")
                  if ":" in part.text]
        self.assertEqual(stores, [f"ds:{name}" for name in [
            "running", "candidate", "startup"]])

    def test_announces_exactly_the_capabilities_that_work(self):
        announced = self.values(self.state("<capabilities/>"), "capability")
        self.assertEqual(sorted(announced), sorted(
            text.split("</capability>")[0].replace("&amp;", "&")
            for text in self.client.hello.split("<capability>")[1:]))
        library = 'xmlns="urn:ietf:params:xml:ns:yang:ietf-yang-library"'
        content, modules = [part[0].text for part in self.get(
            f"<yang-library {library}><content-id/></yang-library>"
            f"<modules-state {library}><module-set-id/></modules-state>")[0]]
        self.assertRegex(content, "^[0-9]+$")
        base = "urn:ietf:params:netconf:"
        self.assertEqual(
            sorted(text.removeprefix(base) for text in announced
                   if text.startswith(base)),
            ["base:1.0", "base:1.1", *[f"capability:{name}" for name in [
                "candidate:1.0", "confirmed-commit:1.1",
                "rollback-on-error:1.0", "startup:1.0", "validate:1.1",
                "with-defaults:1.0?basic-mode=explicit&also-supported="
                "report-all,trim",
                "writable-running:1.0", "xpath:1.0",
                "yang-library:1.0?revision=2019-01-04&module-set-id="
                f"{modules}",
                "yang-library:1.1?revision=2019-01-04&content-id="
                f"{content}"]]])

    def get_schema(self, name, version="", form="yang"):
        version = f"<version>{version}</version>" if version else ""
        return self.client.rpc(
            f'<get-schema xmlns="{MONITORING}"><identifier>{name}</identifier>'
            f"{version}<format>{form}</format></get-schema>")

    def test_tells_of_schemas_that_get_schema_gives(self):
        schemas = self.state("<schemas/>")
        self.assertIn("ipapp", self.values(schemas, "identifier"))
        for schema in schemas:
            part = {child.tag.split("}")[1]: child.text for child in schema}
            form = part["format"].split(":")[-1]
            text = self.get_schema(part["identifier"], part["version"],
                                   form)[0].text
            self.assertIn({"yang": f"module {part['identifier']} {{",
                           "yin": f'module name="{part["identifier"]}"'}[form],
                          text)
            self.assertTrue(text.rstrip().endswith(("}", "module>")))

    def test_refuses_schemas_that_are_not_there(self):
        for parts in [["none"], ["ipapp", "1970-01-01"], ["ipapp", "", "xsd"]]:
            with self.subTest(parts):
                self.assert_refused(self.get_schema(*parts), "invalid-value",
                                    "application")

    def test_relates_configuration_and_state_by_xpath(self):
        sessions = self.state("<sessions/>")
        [user] = self.values(sessions, "username")
        self.running(A, l3(user))
        reply = self.client.rpc(
            f'<get><filter type="xpath" xmlns:m="{MONITORING}"'
            f' xmlns:i="{IPAPP}" select="//i:l3[i:name = //m:username] |'
            ' //m:session[m:username = //i:name]/m:session-id"/></get>')
        self.assertEqual(self.names(reply), [user])
        self.assertEqual(self.values(reply, "session-id"), ["1"])
        self.assertEqual(self.values(reply, "capability"), [])


class EditConfigTest(SharedOperationsTest):
    def test_obeys_its_options_and_reports_its_errors(self):
        delete = l3("x", operation="delete")
        test = "<test-option>%s</test-option>"
        on_error = "<error-option>%s</error-option>"
        default = "<default-operation>%s</default-operation>"
        for options, interfaces, tags, names in [
                ("", [B], [], ["a", "b"]),
                (default % "replace", [B], [], ["b"]),
                (default % "none", [B], ["data-missing"], ["a"]),
                (on_error % "rollback-on-error", [B, delete],
                 ["data-missing"], ["a"]),
                (on_error % "continue-on-error", [delete, B, delete],
                 ["data-missing"] * 2, ["a", "b"]),
                (test % "test-then-set", [NETWORK], ["operation-failed"],
                 ["a"]),
                (test % "test-then-set", [B], [], ["a", "b"]),
                (test % "test-only", [B], [], ["a"])]:
            with self.subTest(options, tags=tags):
                self.ok(copy(f"<config>{config(A)}</config>", "candidate"))
                self.assertEqual(self.error_tags(
                    edit("candidate", config(*interfaces), options)), tags)
                self.assertEqual(self.names_in("candidate"), names)

    def test_has_no_operation_of_the_whole(self):
        self.running(l3("kept", "10.0.0.1/24"))
        mark = f'<config xmlns:nc="{NETCONF}" nc:operation="replace"/>'
        for operation in [
                f"<edit-config><target><running/></target>{mark}"
                "</edit-config>",
                copy(mark, "running"), f"<validate><source>{mark}</source>"
                "</validate>"]:
            with self.subTest(operation):
                self.refused(operation, "unknown-attribute", "protocol")
        self.assertEqual(self.names_in("running"), ["kept"])


MODEL = """
  container top {
    list second { key "a b"; leaf a { type string; } leaf b { type int8; } }
    leaf-list values { type string; ordered-by user; }
    leaf-list numbers { type int8; }
    anydata anything;
  }
"""


class EditOfAnyModelTest(ServerTest):
    """Edits that the configuration of interfaces has no room for."""

    def setUp(self):
        super().setUp()
        self.server = self.serve("--plugin", f"{TEST_PLUGINS}/obeys_opaque.so",
                                 "--yang", model_of(self.folder, MODEL))
        self.client = self.raw(self.server)

    def edit(self, content):
        return self.client.rpc(edit(
            "candidate", f'<top xmlns="urn:m" xmlns:m="urn:m" '
            f'xmlns:nc="{NETCONF}" xmlns:yang="urn:ietf:params:xml:ns:yang:1">'
            f"{content}</top>"))

    def ok(self, content):
        self.assert_ok(self.edit(content))

    def test_names_the_node_and_the_kind_of_an_error(self):
        for content, tag, path, app_tag in [
                ('<numbers nc:operation="delete">2</numbers>', "data-missing",
                 "/m:top/numbers[.='2']", None),
                ('<values yang:insert="after" yang:value="x">b</values>',
                 "bad-attribute", "/m:top/values", "missing-instance")]:
            with self.subTest(tag):
                error = self.assert_refused(self.edit(content), tag,
                                            "application")
                self.assertEqual(
                    (error["error-path"], error.get("error-app-tag")),
                    (path, app_tag))

    def test_selects_entries_by_their_keys(self):
        odd = "a'\"b"
        self.ok("<second><a>x</a><b>1</b></second><second><a>x</a><b>2</b>"
                "</second><second><a>\"</a><b>3</b></second><second>"
                f"<a>{odd}</a><b>4</b></second><numbers>5</numbers>"
                "<numbers>6</numbers>")
        for content, found in [
                ("<second><b> +1</b><a>x</a></second>", ["1"]),
                ("<second><a>x</a><b>1</b><b>2</b></second>", []),
                ("<second><a>x</a><b>one</b></second>", []),
                ("<second><a>x</a><b/></second>", ["1", "2"]),
                ('<second><a>"</a><b>3</b></second>', ["3"]),
                (f"<second><a>{odd}</a><b>4</b></second>", ["4"]),
                (f"<second xmlns=''><a>{odd}</a><b>4</b></second>", ["4"]),
                ("<numbers>+6</numbers>", ["1", "2", "3", "4", "5", "6"]),
                ("<numbers>+6</numbers><second><b>2</b></second>",
                 ["2", "6"])]:
            with self.subTest(content):
                reply = self.client.rpc(get_config(
                    "candidate", f'<filter><top xmlns="urn:m">{content}</top>'
                    "</filter>"))
                self.assertEqual([part.text for part in reply.iter()
                                  if part.tag in ["{urn:m}b",
                                                  "{urn:m}numbers"]], found)

    def test_keeps_anything_with_its_attributes(self):
        self.ok('<anything><x xmlns="urn:x" y="z">text</x></anything>')
        reply = self.client.rpc(get_config("candidate"))
        [kept] = reply.iter("{urn:x}x")
        self.assertEqual((kept.get("y"), kept.text), ("z", "text"))


class CopyConfigTest(SharedOperationsTest):
    def test_copies_every_datastore_to_every_other(self):
        names = ["running", "candidate", "startup"]
        for source in names:
            for to in names:
                if source == to:
                    self.refused(copy(source, to), "invalid-value")
                    continue
                with self.subTest(source=source, to=to):
                    for number, name in enumerate(names):
                        self.ok(copy("<config>" + config(l3(
                            name, f"10.0.{number}.1/24")) + "</config>", name))
                    self.ok(copy(source, to))
                    self.assertEqual(self.names_in(to), [source])
                    self.assertEqual(self.names_in(source), [source])

    def test_makes_defaults_explicit_where_asked_to(self):
        self.running(A)
        self.ok(copy("running", "startup", defaults("report-all")))
        reply = self.client.rpc(get_config("startup"))
        self.assertEqual(len(list(reply.iter(f"{{{IPAPP}}}enabled"))), 1)
        self.ok("<delete-config><target><startup/></target></delete-config>")
        self.assertEqual(self.names_in("startup"), [])

    def test_of_nothing_empties_nothing_whatever_the_defaults(self):
        self.running(A)
        for mode in ["explicit", "report-all", "trim"]:
            for source, tag in [("startup", "data-missing"),
                                ("running", "invalid-value")]:
                with self.subTest(mode, source=source):
                    self.refused(copy(source, "running", defaults(mode)), tag)
        self.assertEqual(self.names_in("running"), ["a"])


class CommitTest(OperationsTest):
    def test_refuses_with_text_path_and_point_and_takes_the_correction(self):
        self.ok(edit("candidate", config(A, NETWORK)))
        self.client.send_message(
            f'<rpc message-id="p" xmlns="{NETCONF}"><commit/></rpc>')
        reply = self.client.receive()
        self.assertEqual(
            list(self.error(ElementTree.fromstring(reply)).items()),
            [("error-type", "application"), ("error-tag", "operation-failed"),
             ("error-severity", "error"),
             ("error-app-tag", "ipv4_addr_validation"),
             ("error-path", "/vorplex-config:config/interface/ipapp:l3"),
             ("error-message", NETWORK_TEXT)])
        # The prefixes of the path are declared.
        declared = dict(space for _, space in ElementTree.iterparse(
            io.StringIO(reply), ["start-ns"]))
        self.assertEqual(declared, {"": NETCONF, "vorplex-config": CONFIG,
                                    "ipapp": IPAPP})
        self.assertEqual(self.names_in("running"), [])
        self.ok(edit("candidate", config(l3("c", "10.0.2.1/24"))))
        self.ok("<commit/>")
        self.assertEqual(self.names_in("running"), ["a", "c"])

    def test_is_there_as_a_whole_or_not_at_all_after_a_kill(self):
        self.running(A)
        for number in range(12):
            names = [f"{each}{number}" for each in "ab"]
            self.ok(copy(f"<config>{config(*map(l3, names))}</config>",
                         "candidate"))
            may_be = [self.names_in("running"), names]
            self.client.send_message(
                f'<rpc message-id="c" xmlns="{NETCONF}"><commit/></rpc>')
            if number % 4 == 3:  # with its ok, it is there
                self.assertIn("<ok/>", self.client.receive())
                may_be = [names]
            else:
                time.sleep(0.002 * number)
            self.server.stop(signal.SIGKILL)
            self.server = self.serve()
            self.client = self.raw(self.server)
            self.assertIn(self.names_in("running"), may_be)

    def confirmed(self, more=""):
        return f"<commit><confirmed/>{more}</commit>"

    def test_has_the_time_of_a_second_one(self):
        self.running(A)
        self.ok(edit("candidate", config(B)))
        self.ok(self.confirmed("<confirm-timeout>600</confirm-timeout>"))
        self.assertEqual(self.names_in("running"), ["a", "b"])
        self.ok(edit("candidate", config(l3("c"))))
        self.ok(self.confirmed("<confirm-timeout>1</confirm-timeout>"))
        self.server.wait_for_log("is taken back: it was not confirmed in time")
        self.assertEqual(self.names_in("running"), ["a"])

    def test_is_taken_back_when_its_session_ends(self):
        self.ok(edit("candidate", config(A)))
        self.ok(self.confirmed())
        self.ok("<close-session/>")
        self.client = self.raw(self.server)
        self.assertEqual(self.names_in("running"), [])

    def test_that_is_persistent_is_confirmed_by_another_session(self):
        self.ok(edit("candidate", config(A)))
        self.ok(self.confirmed("<persist>me</persist>"))
        self.ok("<close-session/>")
        self.client = self.raw(self.server)
        self.assertEqual(self.names_in("running"), ["a"])
        self.refused("<commit><persist-id>you</persist-id></commit>",
                     "invalid-value")
        self.ok("<commit><persist-id>me</persist-id></commit>")
        self.assertEqual(self.names_in("running"), ["a"])


class LockTest(OperationsTest):
    def setUp(self):
        super().setUp()
        self.other = self.raw(self.server)

    def assert_denied(self, client, what, holder):
        reply = client.rpc(lock(what))
        self.assert_refused(reply, "lock-denied", "protocol")
        self.assertEqual([node.text for node in reply.iter(
            f"{{{NETCONF}}}session-id")], [holder])

    def test_keeps_other_sessions_out(self):
        self.ok(lock("candidate"))
        self.assert_denied(self.other, "candidate", "1")
        for operation in [edit("candidate", config(A)), "<discard-changes/>"]:
            self.assert_refused(self.other.rpc(operation), "in-use")
        self.ok(edit("candidate", config(A)))
        self.ok("<commit/>")

    def test_ends_with_unlock_and_with_its_session(self):
        self.ok(lock("running"))
        self.ok(lock("running", "unlock"))
        self.assert_ok(self.other.rpc(lock("running")))
        self.assert_ok(self.other.rpc("<close-session/>"))
        self.ok(lock("running"))

    def test_ends_with_a_connection_that_breaks(self):
        self.assert_ok(self.other.rpc(lock("running")))
        self.other.close()
        self.server.wait_for_log("session 2 was cut off")
        self.ok(lock("running"))

    def test_of_a_candidate_with_changes_is_denied(self):
        self.ok(edit("candidate", config(A)))
        for client in [self.client, self.other]:
            self.assert_denied(client, "candidate", "0")
        self.ok("<discard-changes/>")
        self.ok(lock("candidate"))


class SessionTest(OperationsTest):
    def test_ends_when_it_is_closed(self):
        self.ok("<close-session/>")
        self.assertTrue(self.client.is_dropped())

    def test_is_killed_by_another_and_loses_its_locks(self):
        other = self.raw(self.server)
        self.assert_ok(other.rpc(lock("running")))
        self.ok(kill(2))
        self.assertTrue(other.is_dropped())
        self.ok(lock("running"))

    def test_is_not_killed_by_itself_nor_if_it_is_not_there(self):
        for session in [1, 9]:
            self.refused(kill(session), "invalid-value", "protocol")

    def test_takes_several_requests_at_once(self):
        for number in range(1, 21):
            self.client.send_message(
                f'<rpc message-id="{number}" xmlns="{NETCONF}">'
                f"{GET}</rpc>")
        for number in range(1, 21):
            self.assertIn(f'message-id="{number}"', self.client.receive())


class WrongRequestTest(SharedOperationsTest):
    def test_has_the_tag_of_its_error(self):
        for operation, tag, text in [
                ('<reboot xmlns="urn:x"/>', "operation-not-supported",
                 'No module with namespace "urn:x" in the context.'),
                ("<reboot/>", "operation-not-supported",
                 'Node "reboot" not found in the "ietf-netconf" module.'),
                ("<get-config><running/></get-config>", "unknown-element",
                 'Node "running" not found as a child of "get-config" node.'),
                (edit("startup", ""), "unknown-element",
                 'Node "startup" not found as a child of "target" node.'),
                (kill("x"), "invalid-value",
                 'Invalid type uint32 value "x".'),
                (edit("candidate", "", "<test-option>x</test-option>"),
                 "invalid-value", 'Invalid enumeration value "x".'),
                ("", "operation-failed", "Missing the operation node."),
                ("<get/><get/>", "operation-failed",
                 'Unexpected child element "get".')]:
            with self.subTest(operation):
                error = self.refused(operation, tag)
                self.assertEqual(error["error-message"], text)

    def test_with_an_attribute_that_is_wrong_is_refused(self):
        for operation, tag, attribute, element in [
                (edit("candidate", config(l3("a", operation="increase"))),
                 "bad-attribute", "operation", "l3"),
                (get_config(more='<filter type="all"/>'), "bad-attribute",
                 "type", "filter"),
                *[(edit("candidate", config(
                    l3("a").replace("<l3", f'<l3 {name}="delete"'))),
                   "unknown-attribute", name, "l3")
                  for name in ["operation", "insert"]]]:
            with self.subTest(tag, attribute=attribute):
                reply = self.client.rpc(operation)
                self.assert_refused(reply, tag)
                self.assertEqual(
                    [[part.text for part in reply.iter(f"{{{NETCONF}}}{name}")]
                     for name in ["bad-attribute", "bad-element"]],
                    [[attribute], [element]])
        self.assertEqual(self.names_in("candidate"), [])

    def test_without_a_message_id_is_refused(self):
        self.client.send_message(
            f'<rpc xmlns="{NETCONF}" a="b">{edit("running", config(A))}</rpc>')
        reply = ElementTree.fromstring(self.client.receive())
        self.assert_refused(reply, "missing-attribute", "rpc")
        self.assertEqual(reply.attrib, {"a": "b"})
        self.assertEqual(self.names_in("running"), [])

    def test_without_a_target_is_refused(self):
        for operation in ["<get-config/>", "<lock/>",
                          "<get-config><source/></get-config>",
                          "<edit-config><config/></edit-config>",
                          "<edit-config><target><candidate/></target>"
                          "</edit-config>", "<kill-session/>", "<validate/>",
                          "<copy-config><target><running/></target>"
                          "</copy-config>",
                          # A capability that is not announced.
                          copy("running", "url").replace(
                              "<url/>", "<url>file:///tmp/x</url>"),
                          f'<get-schema xmlns="{MONITORING}"/>']:
            with self.subTest(operation):
                self.error(self.client.rpc(operation))
        self.assertEqual(self.names_in("running"), [])

    def test_that_is_ambiguous_is_refused(self):
        self.running(l3("kept", "10.0.0.1/24"))
        both = "<running/><candidate/>"
        for operation in [
                f"<get-config><source>{both}</source></get-config>",
                get_config(more="<source><candidate/></source>"),
                get_config(more="<filter/><filter/>"),
                f"<edit-config><target>{both}</target><default-operation>"
                "replace</default-operation><config/></edit-config>",
                edit("candidate", "", "<test-option>set</test-option>"
                     "<test-option>test-only</test-option>"),
                "<copy-config><target><running/></target><source><startup/>"
                "<config/></source></copy-config>",
                "<validate><source><candidate/><candidate/></source>"
                "</validate>",
                "<commit><confirmed/><confirm-timeout>1</confirm-timeout>"
                "<confirm-timeout>2</confirm-timeout></commit>"]:
            with self.subTest(operation):
                self.refused(operation, "bad-element", "protocol")
        self.assertEqual(self.names_in("running"), ["kept"])

    def test_gets_its_attributes_back(self):
        self.client.send_message(
            f'<rpc xmlns="{NETCONF}" message-id="a &lt;&quot; b" '
            'xmlns:x="urn:x" x:user="me" plain="1">'
            "<get-config/></rpc>")
        reply = ElementTree.fromstring(self.client.receive())
        self.assertEqual(reply.attrib, {"message-id": 'a <" b', "plain": "1",
                                        "{urn:x}user": "me"})


if __name__ == "__main__":
    unittest.main()
