"""Every operation, and what it refuses, over the UNIX socket."""

import io
import pathlib
import shutil
import tempfile
import time
import unittest
from xml.etree import ElementTree

from served import (CONFIG, HELLO, IPAPP, NETCONF, TEST_PLUGINS, RawClient,
                    Server, ServerTest, config, l3, model_of)

MONITORING = "urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"
DEFAULTS = "urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults"

A = l3("a", "10.0.0.1/24")
B = l3("b", "10.0.1.1/24")
NETWORK = l3("c", "10.0.2.0/24")
NETWORK_TEXT = ("l3 c ipv4 address 10.0.2.0/24 cannot be configured as network"
                " address.")


def edit(target, content, options=""):
    return (f"<edit-config><target><{target}/></target>{options}"
            f"<config>{content}</config></edit-config>")


def copy(source, target):
    inner = source if source.startswith("<") else f"<{source}/>"
    return (f"<copy-config><target><{target}/></target>"
            f"<source>{inner}</source></copy-config>")


def get_config(source="running", more=""):
    return (f"<get-config><source><{source}/></source>{more}</get-config>")


def lock(target, what="lock"):
    return f"<{what}><target><{target}/></target></{what}>"


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

    def refused_attribute(self, operation, tag, attribute, element):
        reply = self.client.rpc(operation)
        self.assert_refused(reply, tag)
        info = [[part.text for part in reply.iter(f"{{{NETCONF}}}{name}")]
                for name in ["bad-attribute", "bad-element"]]
        self.assertEqual(info, [[attribute], [element]])

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
            type(self).shared = Server(folder / "state")
            self.addClassCleanup(self.shared.stop)
        else:
            self.empty(RawClient(self.shared.socket))
        return self.shared

    def empty(self, client):
        empty = copy("<config/>", "candidate")
        client.rpc("<delete-config><target><startup/></target>"
                   "</delete-config>")
        for operation in [empty, "<commit/>", "<close-session/>"]:
            self.assert_ok(client.rpc(operation))
        client.close()


class GetConfigTest(SharedOperationsTest):
    def test_gives_nothing_where_nothing_is_configured(self):
        reply = self.client.rpc(get_config())
        self.assertEqual(len(reply), 1)
        self.assertEqual(reply[0].tag, f"{{{NETCONF}}}data")
        self.assertEqual(len(reply[0]), 0)

    def test_gives_each_datastore_its_own(self):
        self.running(A)
        self.ok(edit("candidate", config(B)))
        self.ok(copy("running", "startup"))
        self.assertEqual(self.names_in("running"), ["a"])
        self.assertEqual(self.names_in("candidate"), ["a", "b"])
        self.assertEqual(self.names_in("startup"), ["a"])

    def subtree(self, content):
        return self.client.rpc(
            get_config(more=f'<filter type="subtree">{content}</filter>'))

    def test_selects_subtrees(self):
        self.running(A, B)
        within = (f'<config xmlns="{CONFIG}"><interface>%s</interface>'
                  "</config>")
        l3_of = f'<l3 xmlns="{IPAPP}">%s</l3>'
        for content, names, addresses in [
                (within % "", ["a", "b"], 2),
                (within % (l3_of % ""), ["a", "b"], 2),
                (within % (l3_of % "<name/>"), ["a", "b"], 0),
                (within % (l3_of % "<name>b</name>"), ["b"], 1),
                (within % (l3_of % "<name> b </name>"), ["b"], 1),
                (within % (l3_of % "<name>b</name><vrf/>"), ["b"], 0),
                (within % (l3_of % "<name>b</name><ipv4/>"), ["b"], 1),
                (within % (l3_of % "<name>a</name>" +
                           l3_of % "<name>b</name><ipv4/>"), ["a", "b"], 2),
                (within % (l3_of % "<name>x</name>"), [], 0),
                (f'<config xmlns="{CONFIG}">x</config>', [], 0),
                ('<config xmlns=""/>', ["a", "b"], 2),
                ('<config xmlns="urn:other"/>', [], 0),
                # No node has an attribute, so none selects one.
                (within % (f'<l3 xmlns="{IPAPP}" a="b"/>' +
                           l3_of % "<name>b</name>"), ["b"], 1),
                (within % (l3_of % '<name xmlns:x="urn:x" x:y="">a</name>'),
                 [], 0),
                (within % (l3_of % '<name>a</name><ipv4 operation="merge"/>'),
                 ["a"], 0),
                ("", [], 0)]:
            with self.subTest(content):
                reply = self.subtree(content)
                self.assertEqual(self.names(reply), names)
                self.assertEqual(
                    len(list(reply.iter(f"{{{IPAPP}}}ip"))), addresses)

    @staticmethod
    def xpath_filter(expression):
        return (f'<filter type="xpath" xmlns:c="{CONFIG}" xmlns:i="{IPAPP}"'
                f' select="{expression}"/>')

    def xpath(self, expression):
        return self.client.rpc(get_config(more=self.xpath_filter(expression)))

    def test_selects_by_xpath(self):
        self.running(A, B)
        for expression, names, addresses in [
                ("/c:config/c:interface/i:l3[i:name='b']", ["b"], 1),
                ("/c:config/c:interface/i:l3/i:name", ["a", "b"], 0),
                ("c:config/c:interface/i:l3[i:name='a']", ["a"], 1),
                ("//i:ip[. = '10.0.1.1/24']", ["b"], 1),
                ("/c:config/c:interface/i:l3[i:name='x']", [], 0)]:
            with self.subTest(expression):
                reply = self.xpath(expression)
                self.assertEqual(self.names(reply), names)
                self.assertEqual(
                    len(list(reply.iter(f"{{{IPAPP}}}ip"))), addresses)

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
                error = self.assert_refused(self.xpath(expression), tag)
                self.assertEqual(error["error-message"], text)

    def test_refuses_an_xpath_filter_without_one(self):
        error = self.client.rpc(get_config(more='<filter type="xpath"/>'))
        self.assert_refused(error, "missing-attribute", "protocol")

    def with_defaults(self, mode):
        reply = self.client.rpc(get_config(more=(
            f'<with-defaults xmlns="{DEFAULTS}">{mode}</with-defaults>')))
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

    def test_refuses_a_mode_of_defaults_that_is_not_announced(self):
        reply = self.client.rpc(get_config(more=(
            f'<with-defaults xmlns="{DEFAULTS}">report-all-tagged'
            "</with-defaults>")))
        self.assert_refused(reply, "invalid-value", "protocol")


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

    def test_tells_of_capabilities_as_its_hello_does(self):
        capabilities = self.values(self.state("<capabilities/>"), "capability")
        for capability in capabilities:
            self.assertIn(capability.replace("&", "&amp;"), self.client.hello)
        self.assertEqual(len(capabilities),
                         self.client.hello.count("<capability>"))

    def test_tells_of_schemas_that_get_schema_gives(self):
        schemas = self.state("<schemas/>")
        names = set(self.values(schemas, "identifier"))
        self.assertIn("ipapp", names)
        for schema in schemas:
            part = {child.tag.split("}")[1]: child.text for child in schema}
            reply = self.client.rpc(
                f'<get-schema xmlns="{MONITORING}">'
                f"<identifier>{part['identifier']}</identifier>"
                f"<version>{part['version'] or ''}</version>"
                f"<format>{part['format'].split(':')[-1]}</format>"
                "</get-schema>")
            self.assertIn(part["identifier"], reply[0].text or "")

    def test_selects_state_by_xpath(self):
        reply = self.client.rpc(
            f'<get><filter type="xpath" xmlns:m="{MONITORING}"'
            ' select="/m:netconf-state/m:datastores"/></get>')
        self.assertEqual(self.values(reply, "name"),
                         ["running", "candidate", "startup"])
        self.assertEqual(self.values(reply, "capability"), [])


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


class GetSchemaTest(SharedOperationsTest):
    def get_schema(self, *parts):
        return self.client.rpc(f'<get-schema xmlns="{MONITORING}">' +
                               "".join(parts) + "</get-schema>")

    def test_gives_a_module_again_and_again(self):
        for _ in range(5):
            reply = self.get_schema("<identifier>ipapp</identifier>")
            text = reply[0].text
            self.assertTrue(text.startswith("module ipapp {"))
            self.assertTrue(text.rstrip().endswith("}"))
            self.assertIn("list l3", text)

    def test_gives_yin(self):
        reply = self.get_schema("<identifier>ipapp</identifier>",
                                "<format>yin</format>")
        self.assertIn("<module name=\"ipapp\"", reply[0].text)

    def test_refuses_what_is_not_there(self):
        for parts in [("<identifier>none</identifier>",),
                      ("<identifier>ipapp</identifier>",
                       "<version>1970-01-01</version>"),
                      ("<identifier>ipapp</identifier>",
                       "<format>xsd</format>")]:
            with self.subTest(parts):
                self.assert_refused(self.get_schema(*parts), "invalid-value",
                                    "application")


class EditConfigTest(SharedOperationsTest):
    def test_merges_into_the_candidate_alone(self):
        self.running(A)
        self.ok(edit("candidate", config(B)))
        self.assertEqual(self.names_in("candidate"), ["a", "b"])
        self.assertEqual(self.names_in("running"), ["a"])

    def test_does_each_operation(self):
        self.running(A)
        for operation, interface, names in [
                ("create", "b", ["a", "b"]), ("merge", "c", ["a", "b", "c"]),
                ("delete", "b", ["a", "c"]), ("remove", "x", ["a", "c"]),
                ("remove", "c", ["a"]), ("replace", "d", ["a", "d"])]:
            with self.subTest(operation):
                self.ok(edit("candidate",
                             config(l3(interface, operation=operation))))
                self.assertEqual(self.names_in("candidate"), names)

    def test_replaces_all_by_default_operation(self):
        self.running(A)
        self.ok(edit("candidate", config(B),
                     "<default-operation>replace</default-operation>"))
        self.assertEqual(self.names_in("candidate"), ["b"])

    def test_does_nothing_by_itself_where_the_default_is_none(self):
        self.running(A)
        self.ok(edit("candidate", config(l3("a", operation="delete")),
                     "<default-operation>none</default-operation>"))
        self.assertEqual(self.names_in("candidate"), [])

    def test_refuses_to_create_what_is_there(self):
        self.running(A)
        error = self.refused(
            edit("candidate", config(l3("a", operation="create"))),
            "data-exists", "application")
        self.assertIn("l3[name='a']", error["error-path"])

    def test_refuses_to_delete_what_is_not_there(self):
        error = self.refused(
            edit("candidate", config(B, l3("x", operation="delete"))),
            "data-missing", "application")
        self.assertIn("l3[name='x']", error["error-path"])
        self.assertEqual(self.names_in("candidate"), [])

    def test_refuses_what_the_model_does_not_know(self):
        self.refused(edit("candidate", f'<config xmlns="{CONFIG}"><x/>'
                          "</config>"), "unknown-element")
        self.refused(edit("candidate", '<x xmlns="urn:x"/>'),
                     "unknown-namespace")
        self.refused(edit("candidate",
                          config(l3("a", "10.0.0.1/33"))), "invalid-value")
        self.error(self.client.rpc(
            edit("candidate", config(l3("a", operation="increase")))))
        self.assertEqual(self.names_in("candidate"), [])

    def test_refuses_an_attribute_without_a_namespace(self):
        self.running(l3("kept", "10.0.0.1/24"))
        for attribute in ["operation", "insert"]:
            with self.subTest(attribute):
                content = config(f'<l3 xmlns="{IPAPP}" {attribute}="delete">'
                                 "<name>kept</name></l3>")
                self.refused_attribute(edit("candidate", content),
                                       "unknown-attribute", attribute, "l3")
        self.ok("<commit/>")
        self.assertEqual(self.names_in("running"), ["kept"])

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

    def test_keeps_nothing_of_an_edit_with_an_error(self):
        self.refused(
            edit("candidate", config(B, l3("x", operation="delete")),
                 "<error-option>rollback-on-error</error-option>"),
            "data-missing")
        self.assertEqual(self.names_in("candidate"), [])

    def test_goes_on_behind_an_error_where_asked_to(self):
        reply = self.client.rpc(
            edit("candidate",
                 config(l3("x", operation="delete"), B,
                        l3("y", operation="delete")),
                 "<error-option>continue-on-error</error-option>"))
        self.assertEqual(len(reply), 2)
        self.assertEqual(self.names_in("candidate"), ["b"])

    def test_tests_first_where_asked_to(self):
        test = "<test-option>test-then-set</test-option>"
        error = self.refused(edit("candidate", config(NETWORK), test),
                             "operation-failed", "application")
        self.assertEqual(error["error-message"], NETWORK_TEXT)
        self.assertEqual(self.names_in("candidate"), [])
        self.ok(edit("candidate", config(A), test))
        self.assertEqual(self.names_in("candidate"), ["a"])

    def test_only_tests_where_asked_to(self):
        self.ok(edit("candidate", config(A),
                     "<test-option>test-only</test-option>"))
        self.assertEqual(self.names_in("candidate"), [])

    def test_tests_an_edit_of_running_always(self):
        error = self.refused(edit("running", config(NETWORK)),
                             "operation-failed", "application")
        self.assertEqual(error["error-message"], NETWORK_TEXT)
        self.assertEqual(self.names_in("running"), [])
        self.ok(edit("running", config(A)))
        self.assertEqual(self.names_in("running"), ["a"])


MODEL = """
  container top {
    list first { key "k"; ordered-by user; leaf k { type string; }
                 leaf v { type string; } }
    list second { key "a b"; leaf a { type string; } leaf b { type int8; } }
    leaf-list values { type string; ordered-by user; }
    leaf-list numbers { type int8; }
    choice way { leaf by-air { type string; } leaf by-sea { type string; }
                 container by-land { leaf wheels { type uint8; } } }
    container there { presence "it is there"; }
    leaf state { config false; type string; }
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

    def texts(self, *names):
        """Of the elements of these names, in their order."""
        reply = self.client.rpc(get_config("candidate"))
        return [part.text for part in reply.iter()
                if part.tag in [f"{{urn:m}}{name}" for name in names]]

    def test_puts_entries_where_they_are_wanted(self):
        self.ok("<first><k>a</k></first><first><k>b</k></first>")
        self.ok('<first yang:insert="first"><k>c</k></first>')
        self.ok('<first yang:insert="last"><k>a</k></first>')
        self.assertEqual(self.texts("k"), ["c", "b", "a"])
        self.ok("<first yang:insert=\"before\" yang:key=\"[m:k='a']\">"
                "<k>d</k></first>")
        self.ok("<first yang:insert=\"after\" yang:key=\"[m:k='c']\">"
                "<k>a</k></first>")
        self.assertEqual(self.texts("k"), ["c", "a", "b", "d"])
        self.ok("<values>a</values><values>b</values>"
                '<values yang:insert="before" yang:value="b">c</values>')
        self.assertEqual(self.texts("values"), ["a", "c", "b"])

    def test_refuses_a_place_that_is_none(self):
        self.ok("<first><k>a</k></first><numbers>1</numbers>")
        for content, tag in [
                ("<first yang:insert=\"after\" yang:key=\"[m:k='x']\">"
                 "<k>b</k></first>", "bad-attribute"),
                ('<first yang:insert="after"><k>b</k></first>',
                 "missing-attribute"),
                ("<first yang:insert=\"first\" yang:key=\"[m:k='a']\">"
                 "<k>b</k></first>", "unknown-attribute"),
                ('<values yang:insert="after" yang:value="x">b</values>',
                 "bad-attribute"),
                ('<numbers yang:insert="first">2</numbers>',
                 "unknown-attribute")]:
            with self.subTest(content):
                error = self.assert_refused(self.edit(content), tag)
                self.assertEqual(error.get("error-app-tag"),
                                 "missing-instance"
                                 if tag == "bad-attribute" else None)
        self.assertEqual(self.texts("k", "numbers", "values"), ["a", "1"])

    def test_knows_entries_by_all_their_keys(self):
        self.ok("<second><b>1</b><a>x</a></second><second><a>x</a><b>2</b>"
                "</second>")
        self.assert_refused(self.edit("<second><a>x</a></second>"),
                            "missing-element")
        self.assert_refused(
            self.edit('<second><a nc:operation="delete">x</a><b>1</b>'
                      "</second>"), "unknown-attribute")
        self.ok('<second nc:operation="delete"><a>x</a><b>+1</b></second>')
        self.assertEqual(self.texts("b"), ["2"])

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

    def test_keeps_one_case_of_a_choice(self):
        self.ok("<by-air>a</by-air>")
        self.ok("<by-land><wheels>4</wheels></by-land>")
        self.assertEqual(self.texts("by-air", "by-sea", "wheels"), ["4"])
        self.assert_refused(
            self.edit("<by-air>a</by-air><by-sea>b</by-sea>"), "bad-element")
        self.ok('<by-land nc:operation="remove"/><by-sea>b</by-sea>')
        self.assertEqual(self.texts("by-air", "by-sea", "wheels"), ["b"])

    def test_counts_values_once(self):
        self.ok("<numbers>1</numbers><numbers>+1</numbers>")
        for operation, number, tag in [("create", 1, "data-exists"),
                                       ("delete", 2, "data-missing")]:
            error = self.assert_refused(self.edit(
                f'<numbers nc:operation="{operation}">{number}</numbers>'),
                tag)
            self.assertEqual(error["error-path"],
                             f"/m:top/numbers[.='{number}']")
        self.assert_refused(self.edit("<numbers>x</numbers>"),
                            "invalid-value")
        self.assertEqual(self.texts("numbers"), ["1"])

    def test_tells_presence_from_state(self):
        self.ok("<there/>")
        self.assertEqual(self.texts("there"), [None])
        self.assert_refused(self.edit('<there nc:operation="create"/>'),
                            "data-exists")
        self.ok('<there nc:operation="delete"/>')
        self.assert_refused(self.edit('<there nc:operation="delete"/>'),
                            "data-missing")
        self.assert_refused(self.edit("<state>x</state>"), "unknown-element")

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

    def test_copies_a_datastore(self):
        self.running(A)
        self.ok(copy("running", "startup"))
        self.ok(edit("candidate", config(B)))
        self.ok(copy("startup", "candidate"))
        self.assertEqual(self.names_in("candidate"), ["a"])

    def test_copies_what_the_client_sends(self):
        self.running(A)
        self.ok(copy(f"<config>{config(B)}</config>", "candidate"))
        self.assertEqual(self.names_in("candidate"), ["b"])

    def test_lets_nothing_bad_into_running(self):
        self.running(A)
        error = self.refused(
            copy(f"<config>{config(NETWORK)}</config>", "running"),
            "operation-failed", "application")
        self.assertEqual(error["error-message"], NETWORK_TEXT)
        self.ok(edit("candidate", config(NETWORK)))
        self.refused(copy("candidate", "running"), "operation-failed")
        self.assertEqual(self.names_in("running"), ["a"])
        self.ok(copy(f"<config>{config(B)}</config>", "running"))
        self.assertEqual(self.names_in("running"), ["b"])

    def test_makes_defaults_explicit_where_asked_to(self):
        self.running(A)
        self.ok("<copy-config><target><startup/></target><source><running/>"
                f'</source><with-defaults xmlns="{DEFAULTS}">report-all'
                "</with-defaults></copy-config>")
        reply = self.client.rpc(get_config("startup"))
        self.assertEqual(len(list(reply.iter(f"{{{IPAPP}}}enabled"))), 1)

    def test_of_nothing_empties_nothing_whatever_the_defaults(self):
        self.running(A)
        for mode in ["explicit", "report-all", "trim"]:
            defaults = (f'<with-defaults xmlns="{DEFAULTS}">{mode}'
                        "</with-defaults></copy-config>")
            with self.subTest(mode):
                self.refused(copy("startup", "running").replace(
                    "</copy-config>", defaults), "data-missing")
                self.refused(copy("running", "running").replace(
                    "</copy-config>", defaults), "invalid-value")
        self.assertEqual(self.names_in("running"), ["a"])


class DeleteConfigTest(SharedOperationsTest):
    def test_empties_startup(self):
        self.running(A)
        self.ok(copy("running", "startup"))
        self.ok("<delete-config><target><startup/></target></delete-config>")
        self.assertEqual(self.names_in("startup"), [])

    def test_of_running_is_refused(self):
        self.running(A)
        for target in ["running", "candidate"]:
            with self.subTest(target):
                self.error(self.client.rpc(
                    f"<delete-config><target><{target}/></target>"
                    "</delete-config>"))
                self.assertEqual(self.names_in(target), ["a"])


class CommitTest(OperationsTest):
    def test_refuses_with_text_path_and_point_and_takes_the_correction(self):
        self.ok(edit("candidate", config(A, NETWORK)))
        error = self.refused("<commit/>", "operation-failed", "application")
        self.assertEqual(list(error), ["error-type", "error-tag",
                                       "error-severity", "error-app-tag",
                                       "error-path", "error-message"])
        self.assertEqual(error["error-severity"], "error")
        self.assertEqual(error["error-app-tag"], "ipv4_addr_validation")
        self.assertEqual(error["error-message"], NETWORK_TEXT)
        self.assertEqual(error["error-path"],
                         "/vorplex-config:config/interface/ipapp:l3")
        self.assertEqual(self.names_in("running"), [])
        self.ok(edit("candidate", config(l3("c", "10.0.2.1/24"))))
        self.ok("<commit/>")
        self.assertEqual(self.names_in("running"), ["a", "c"])

    def test_declares_the_prefixes_of_the_path_of_a_refusal(self):
        self.ok(edit("candidate", config(A, NETWORK)))
        self.client.send_message(
            f'<rpc message-id="p" xmlns="{NETCONF}"><commit/></rpc>')
        reply = self.client.receive()
        self.assertIn(">/vorplex-config:config/interface/ipapp:l3<", reply)
        declared = dict(space for _, space in ElementTree.iterparse(
            io.StringIO(reply), ["start-ns"]))
        self.assertEqual(declared, {"": NETCONF, "vorplex-config": CONFIG,
                                    "ipapp": IPAPP})

    def test_is_what_a_restart_finds(self):
        self.running(A)
        self.assertEqual(self.server.stop(), 0)
        self.client = self.raw(self.serve())
        self.assertEqual(self.names_in("running"), ["a"])

    def test_is_what_is_found_behind_a_kill(self):
        self.running(A)
        self.server.process.kill()
        self.server.process.wait()
        self.client = self.raw(self.serve())
        self.assertEqual(self.names_in("running"), ["a"])

    def confirmed(self, more=""):
        return f"<commit><confirmed/>{more}</commit>"

    def test_is_taken_back_when_nobody_confirms_it(self):
        self.running(A)
        self.ok(edit("candidate", config(B)))
        self.ok(self.confirmed("<confirm-timeout>1</confirm-timeout>"))
        self.server.wait_for_log("is taken back: it was not confirmed in time")
        self.assertEqual(self.names_in("running"), ["a"])

    def test_stays_when_it_is_confirmed(self):
        self.ok(edit("candidate", config(A)))
        self.ok(self.confirmed("<confirm-timeout>1</confirm-timeout>"))
        self.ok("<commit/>")
        time.sleep(1.5)
        self.assertEqual(self.names_in("running"), ["a"])

    def test_has_the_time_of_a_second_one(self):
        self.running(A)
        self.ok(edit("candidate", config(B)))
        self.ok(self.confirmed("<confirm-timeout>600</confirm-timeout>"))
        self.assertEqual(self.names_in("running"), ["a", "b"])
        self.ok(edit("candidate", config(l3("c"))))
        self.ok(self.confirmed("<confirm-timeout>1</confirm-timeout>"))
        self.server.wait_for_log("is taken back: it was not confirmed in time")
        self.assertEqual(self.names_in("running"), ["a"])

    def test_is_cancelled_with_a_second_one(self):
        for interface in (A, B):
            self.ok(edit("candidate", config(interface)))
            self.ok(self.confirmed())
        self.assertEqual(self.names_in("running"), ["a", "b"])
        self.ok("<cancel-commit/>")
        self.assertEqual(self.names_in("running"), [])
        self.refused("<cancel-commit/>", "operation-failed")

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

    def test_that_is_persistent_is_cancelled_by_another_session(self):
        self.ok(edit("candidate", config(A)))
        self.ok(self.confirmed("<persist>me</persist>"))
        other = self.raw(self.server)
        self.assert_refused(other.rpc("<cancel-commit/>"), "invalid-value")
        self.assert_ok(other.rpc(
            "<cancel-commit><persist-id>me</persist-id></cancel-commit>"))
        self.assertEqual(self.names_in("running"), [])


class ValidateTest(SharedOperationsTest):
    def validate(self, source):
        return f"<validate><source>{source}</source></validate>"

    def test_accepts_and_refuses_as_a_commit_does(self):
        self.ok(edit("candidate", config(A)))
        self.ok(self.validate("<candidate/>"))
        self.ok(edit("candidate", config(NETWORK)))
        error = self.refused(self.validate("<candidate/>"),
                             "operation-failed", "application")
        self.assertEqual(error["error-message"], NETWORK_TEXT)
        self.assertEqual(error["error-app-tag"], "ipv4_addr_validation")

    def test_judges_what_the_client_sends(self):
        self.ok(self.validate(f"<config>{config(A)}</config>"))
        self.refused(self.validate(f"<config>{config(NETWORK)}</config>"),
                     "operation-failed")
        self.assertEqual(self.names_in("candidate"), [])


class DiscardChangesTest(SharedOperationsTest):
    def test_makes_the_candidate_running_again(self):
        self.running(A)
        self.ok(edit("candidate", config(B)))
        self.ok("<discard-changes/>")
        self.assertEqual(self.names_in("candidate"), ["a"])


class LockTest(OperationsTest):
    def setUp(self):
        super().setUp()
        self.other = self.raw(self.server)

    def test_keeps_other_sessions_out(self):
        self.ok(lock("candidate"))
        for operation in [lock("candidate"), edit("candidate", config(A)),
                          "<discard-changes/>"]:
            with self.subTest(operation):
                reply = self.other.rpc(operation)
                tag = "lock-denied" if "lock" in operation else "in-use"
                self.assert_refused(reply, tag)
        self.ok(edit("candidate", config(A)))
        self.ok("<commit/>")

    def test_names_the_session_that_has_it(self):
        self.ok(lock("running"))
        reply = self.other.rpc(lock("running"))
        self.assert_refused(reply, "lock-denied", "protocol")
        self.assertEqual(
            [node.text for node in reply.iter(f"{{{NETCONF}}}session-id")],
            ["1"])

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
            reply = client.rpc(lock("candidate"))
            self.assert_refused(reply, "lock-denied", "protocol")
            self.assertEqual([part.text for part in reply.iter()
                              if part.tag.endswith("session-id")], ["0"])
        self.ok("<discard-changes/>")
        self.ok(lock("candidate"))

    def test_of_others_is_not_given_back(self):
        self.ok(lock("running"))
        error = self.error(self.other.rpc(lock("running", "unlock")))
        self.assertIn(error["error-tag"], ["operation-failed", "lock-denied"])


class SessionTest(OperationsTest):
    def test_ends_when_it_is_closed(self):
        self.ok("<close-session/>")
        self.assertTrue(self.client.is_dropped())

    def test_is_killed_by_another_and_loses_its_locks(self):
        other = self.raw(self.server)
        self.assert_ok(other.rpc(lock("running")))
        self.ok("<kill-session><session-id>2</session-id></kill-session>")
        self.assertTrue(other.is_dropped())
        self.ok(lock("running"))

    def test_is_not_killed_by_itself(self):
        self.refused("<kill-session><session-id>1</session-id></kill-session>",
                     "invalid-value", "protocol")

    def test_that_is_not_there_is_not_killed(self):
        self.refused("<kill-session><session-id>9</session-id></kill-session>",
                     "invalid-value", "protocol")

    def test_takes_several_requests_at_once(self):
        for number in range(1, 21):
            self.client.send_message(
                f'<rpc message-id="{number}" xmlns="{NETCONF}">'
                "<get-config><source><running/></source></get-config></rpc>")
        for number in range(1, 21):
            self.assertIn(f'message-id="{number}"', self.client.receive())

    def test_of_netconf_1_0_has_all_of_it_too(self):
        old = self.raw(self.server, version="1.0")
        self.assert_ok(old.rpc(edit("candidate", config(A))))
        self.assert_ok(old.rpc("<commit/>"))
        self.assertEqual(self.names(old.rpc(get_config())), ["a"])
        self.assert_ok(old.rpc("<close-session/>"))
        self.assertTrue(old.is_dropped())


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
                ("<kill-session><session-id>x</session-id></kill-session>",
                 "invalid-value", 'Invalid type uint32 value "x".'),
                (edit("candidate", "", "<test-option>x</test-option>"),
                 "invalid-value", 'Invalid enumeration value "x".'),
                ("", "operation-failed", "Missing the operation node."),
                ("<get/><get/>", "operation-failed",
                 'Unexpected child element "get".')]:
            with self.subTest(operation):
                error = self.refused(operation, tag)
                self.assertEqual(error["error-message"], text)

    def test_with_an_attribute_that_is_wrong_is_refused(self):
        for operation, attribute, element in [
                (edit("candidate", config(l3("a", operation="increase"))),
                 "operation", "l3"),
                (get_config(more='<filter type="all"/>'), "type", "filter")]:
            with self.subTest(attribute):
                self.refused_attribute(operation, "bad-attribute", attribute,
                                       element)
        self.assertEqual(self.names_in("candidate"), [])

    def test_without_a_message_id_is_refused(self):
        self.client.send_message(
            f'<rpc xmlns="{NETCONF}" a="b">{edit("running", config(A))}</rpc>')
        reply = ElementTree.fromstring(self.client.receive())
        self.assert_refused(reply, "missing-attribute", "rpc")
        self.assertEqual(reply.attrib, {"a": "b"})
        self.assertEqual(self.names_in("running"), [])

    def test_may_begin_with_blanks(self):
        for version in ["1.0", "1.1"]:
            client = RawClient(self.server.socket, version, greet=False)
            self.addCleanup(client.close)
            hello = HELLO % version
            client.send(f"\n <?xml version='1.0'?>{hello}]]>]]>".encode())
            self.assertIn("<hello", client.receive_marked())
            client.send_message("\r\n\t<?xml version='1.0'?><rpc message-id="
                                f"'1' xmlns='{NETCONF}'>{get_config()}</rpc>")
            self.assertIn("<data", client.receive())

    def test_without_a_target_is_refused(self):
        for operation in ["<get-config/>", "<lock/>",
                          "<get-config><source/></get-config>",
                          "<edit-config><config/></edit-config>",
                          "<edit-config><target><candidate/></target>"
                          "</edit-config>", "<kill-session/>", "<validate/>",
                          "<copy-config><target><running/></target>"
                          "</copy-config>",
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

    def test_that_is_no_xml_is_refused(self):
        self.client.send_message("<rpc")
        self.assertIn("malformed-message", self.client.receive())

    def test_of_an_url_which_is_not_announced_is_refused(self):
        self.error(self.client.rpc(
            "<copy-config><target><url>file:///tmp/x</url></target>"
            "<source><running/></source></copy-config>"))


class CapabilitiesTest(SharedOperationsTest):
    """What is announced is what the tests above have seen to work."""

    BASE = "urn:ietf:params:netconf:capability:"

    def test_are_exactly_those_that_work(self):
        capabilities = sorted(
            text.split("</capability>")[0].replace("&amp;", "&")
            for text in self.client.hello.split("<capability>")[1:])
        announced = [text for text in capabilities
                     if text.startswith("urn:ietf:params:netconf:")]
        library = 'xmlns="urn:ietf:params:xml:ns:yang:ietf-yang-library"'
        content, modules = [part[0].text for part in self.client.rpc(
            '<get><filter type="subtree">'
            f"<yang-library {library}><content-id/></yang-library>"
            f"<modules-state {library}><module-set-id/></modules-state>"
            "</filter></get>")[0]]
        self.assertRegex(content, "^[0-9]+$")
        self.assertEqual(announced, [
            "urn:ietf:params:netconf:base:1.0",
            "urn:ietf:params:netconf:base:1.1",
            self.BASE + "candidate:1.0",
            self.BASE + "confirmed-commit:1.1",
            self.BASE + "rollback-on-error:1.0",
            self.BASE + "startup:1.0",
            self.BASE + "validate:1.1",
            self.BASE + "with-defaults:1.0?basic-mode=explicit&also-supported="
            "report-all,trim",
            self.BASE + "writable-running:1.0",
            self.BASE + "xpath:1.0",
            self.BASE + "yang-library:1.0?revision=2019-01-04&module-set-id=" +
            modules,
            self.BASE + "yang-library:1.1?revision=2019-01-04&content-id=" +
            content])


if __name__ == "__main__":
    unittest.main()
