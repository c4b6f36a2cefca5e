"""What an editor asks the language server of a text."""

import pathlib
import tempfile
import unittest

from client import Client, ROOT

EXAMPLES = ROOT / "examples"
# A name with characters of one, two and four bytes before the others.
HALF_TYPED = """<config xmlns="urn:vorplex:config">
  <interface>
    <l3 xmlns="urn:vorplex:ipapp">
      <name>a</name>
      <description>äß😀</description><vrf>guest</vrf>
      <
    </l3>
  </interface>
</config>
<internal xmlns="urn:vorplex:internal"><vrf-config>
  <indexTOstring><index>2</index><vname>guest</vname></indexTOstring>
</vrf-config></internal>
"""
VRF = {"line": 4, "character": 44}
VRF_RANGE = {"start": {"line": 4, "character": 42},
             "end": {"line": 4, "character": 47}}
NAME_RANGE = {"start": {"line": 10, "character": 40},
              "end": {"line": 10, "character": 45}}
SNIPPETS = {"textDocument": {"completion": {"completionItem": {
    "snippetSupport": True, "insertTextModeSupport": {"valueSet": [1, 2]}}}}}


class FeaturesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.client = Client()
        self.addCleanup(self.client.__exit__)
        self.client.call("initialize", capabilities=SNIPPETS)
        self.client.notify("initialized")

    def open(self, text=HALF_TYPED, name="new.xml"):
        return self.client.open(self.folder / name, text)

    def ask(self, what, uri, **params):
        return self.client.call("textDocument/" + what,
                                textDocument={"uri": uri}, **params)

    def test_hover_explains_the_node_and_the_message(self):
        uri = self.client.open(
            EXAMPLES / "branch-router/office-overlaps-management.xml")
        self.client.published(uri, 1)
        position = {"line": 508, "character": 20}
        found = self.ask("hover", uri, position=position)
        text = found["contents"]["value"]
        self.assertTrue(text.startswith("**Overlap"), text)
        self.assertIn("**What to do:** Change one of the two", text)
        self.assertIn("\n\n**ip** (key, string)\n\n`/config/", text)
        self.assertEqual(found["range"], {
            "start": {"line": 508, "character": 16},
            "end": {"line": 508, "character": 32}})
        beside = self.ask("hover", uri, position={"line": 508, "character": 0})
        self.assertTrue(text.startswith(beside["contents"]["value"]), beside)
        nowhere = {"line": 0, "character": 5000}
        self.assertIsNone(self.ask("hover", uri, position=nowhere))

    def test_completion_is_a_snippet_that_the_client_can_take(self):
        uri = self.open()
        found = self.ask("completion", uri,
                         position={"line": 5, "character": 7})
        first = found["items"][0]
        self.assertEqual(first.pop("documentation")["kind"], "markdown")
        at = {"line": 5, "character": 7}
        self.assertEqual(first, {
            "label": "enabled", "kind": 5, "detail": "leaf, boolean",
            "filterText": "enabled", "insertTextFormat": 2,
            "insertTextMode": 2, "sortText": "000000001",
            "textEdit": {"range": {"start": at, "end": at},
                         "newText": "enabled>${1|true,false|}</enabled>"}})

    def test_completion_adds_the_comma_before_it(self):
        uri = self.open('{"vorplex-config:config": {}\n"', "new.json")
        found = self.ask("completion", uri,
                         position={"line": 1, "character": 1})
        comma = {"line": 0, "character": 28}
        self.assertEqual(found["items"][0]["additionalTextEdits"], [
            {"range": {"start": comma, "end": comma}, "newText": ","}])

    def test_an_empty_text_is_of_the_format_of_its_name(self):
        uri = self.open(" ", "new.xml")
        found = self.ask("completion", uri,
                         position={"line": 0, "character": 1})
        self.assertEqual([each["label"] for each in found["items"]],
                         ["DC-RTM-MIB", "rtmStaticRtEntry-global", "config",
                          "internal"])
        uri = self.open(" ", "new.json")
        found = self.ask("completion", uri,
                         position={"line": 0, "character": 1})
        self.assertEqual(found["items"], [])

    def test_names_lead_to_each_other(self):
        uri = self.open()
        self.assertEqual(self.ask("definition", uri, position=VRF),
                         [{"range": NAME_RANGE, "uri": uri}])
        for declared, ranges in ((False, [VRF_RANGE]),
                                 (True, [VRF_RANGE, NAME_RANGE])):
            found = self.ask("references", uri, position=VRF,
                             context={"includeDeclaration": declared})
            self.assertEqual([each["range"] for each in found], ranges)
        self.assertEqual(self.ask("documentHighlight", uri, position=VRF),
                         [{"range": VRF_RANGE}, {"range": NAME_RANGE}])

    def test_rename_changes_all_places(self):
        uri = self.open()
        self.assertEqual(self.ask("prepareRename", uri, position=VRF),
                         VRF_RANGE)
        self.assertIsNone(self.ask("prepareRename", uri,
                                   position={"line": 1, "character": 4}))
        found = self.ask("rename", uri, position=VRF, newName="a&b")
        self.assertEqual(found, {"changes": {uri: [
            {"range": VRF_RANGE, "newText": "a&amp;b"},
            {"range": NAME_RANGE, "newText": "a&amp;b"}]}})
        number = self.client.request(
            "textDocument/rename", textDocument={"uri": uri}, position=VRF,
            newName="")
        error = self.client.answer(number)["error"]
        self.assertEqual((error["code"], error["message"]),
                         (-32803, '"" cannot be the new name: not a value of '
                          '/config/interface/l3/vrf'))
        text = HALF_TYPED.replace("guest", "mgmt")
        uri = self.open(text, "other.xml")
        number = self.client.request(
            "textDocument/prepareRename", textDocument={"uri": uri},
            position=VRF)
        self.assertEqual(self.client.answer(number)["error"]["message"],
                         '"mgmt" cannot be renamed: the rules fix this name '
                         'of a VRF')

    def test_symbols_are_the_entries_in_groups(self):
        uri = self.open()
        found = self.ask("documentSymbol", uri)
        self.assertEqual(
            [(each["name"], [child["name"] for child in each["children"]])
             for each in found],
            [("interfaces", ["l3 a"]), ("VRFs", ["guest"])])
        self.assertEqual(found[0]["children"][0]["range"], {
            "start": {"line": 2, "character": 4},
            "end": {"line": 6, "character": 9}})


if __name__ == "__main__":
    unittest.main()
