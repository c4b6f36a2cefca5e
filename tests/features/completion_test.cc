#include "cli/lsp/features/completion.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/features/marked_text.h"

namespace features_test {

namespace {

using ipav::features::Completion;

using ipav::features::Completions;
using ipav::features::CompletionsAt;

std::string LabelsOf(const Completions& completions) {
  std::string labels;
  for (const Completion& item : completions.items) {
    labels += (labels.empty() ? "" : " ") + item.label;
  }
  return labels;
}

// The text with a completion, as a client inserts it.
std::string Accept(std::string text, const Completions& completions,
                   const std::string& label) {
  for (const Completion& item : completions.items) {
    if (item.label != label) continue;
    const Span& span = completions.replaced;
    text.replace(span.begin, span.end - span.begin, item.text);
    if (completions.comma) text.insert(*completions.comma, ",");
    return text;
  }
  return "no " + label;
}

struct CompletionCase {
  std::string name;
  std::string text;
  std::string labels;                        // all that is offered
  std::optional<std::string> accepted = {};  // the text with the first one
};

class Completing : public testing::TestWithParam<CompletionCase> {};

TEST_P(Completing, OffersWhatMayStandThere) {
  const MarkedText text(GetParam().text);
  const Completions completions =
      CompletionsAt(text.Read(), text.cursor, {true, true});
  EXPECT_EQ(LabelsOf(completions), GetParam().labels);
  if (!GetParam().accepted || completions.items.empty()) return;
  EXPECT_EQ(Accept(text.text, completions, completions.items.front().label),
            *GetParam().accepted);
}

const std::string kTop = "DC-RTM-MIB rtmStaticRtEntry-global config internal";
const std::string kInL3 =
    "description enabled vrf mtu lower-layer-if ipv4 ipv6";

// Two tables of VRFs and interfaces, before or behind a place.
const std::string kNamesXml =
    "<internal xmlns=\"urn:vorplex:internal\"><vrf-config><indexTOstring>"
    "<index>7</index><vname>guest</vname></indexTOstring></vrf-config>"
    "<ospf-interface-l3><area>0.0.0.9</area></ospf-interface-l3></internal>"
    "<config xmlns=\"urn:vorplex:config\"><interface>"
    "<l3 xmlns=\"urn:vorplex:ipapp\"><name>a&amp;b</name>"
    "<description>Room 1</description><vrf>iot</vrf></l3>"
    "<mgmt xmlns=\"urn:vorplex:ipapp\"><name>eth0</name></mgmt>"
    "</interface></config>";

INSTANTIATE_TEST_SUITE_P(
    Xml, Completing,
    testing::ValuesIn(std::vector<CompletionCase>{
        {"empty_text", "|", kTop},
        {"top_with_a_bracket", "<|", kTop,
         "<DC-RTM-MIB xmlns=\"urn:vorplex:dc-rtm-mib\">\n  $1\n</DC-RTM-MIB>"},
        {"list_with_its_key",
         "<config xmlns=\"urn:vorplex:config\">\n\t<interface>\n\t\t<l|",
         "l3 loopback mgmt /interface",
         "<config xmlns=\"urn:vorplex:config\">\n\t<interface>\n\t\t"
         "<l3 xmlns=\"urn:vorplex:ipapp\">\n\t<name>$1</name>\n</l3>"},
        {"all_keys", "<internal xmlns='urn:vorplex:internal'>|",
         "vrf-config ospf-interface-l3 ospf-index-to-proc-id "
         "ospfv3-interface-l3"},
        {"without_those_that_are_there",
         InL3("<name>a</name><mtu>1</mtu><ipv4/>|"),
         "description enabled vrf lower-layer-if ipv6",
         InL3(
             "<name>a</name><mtu>1</mtu><ipv4/><description>$1</description>")},
        {"word_without_a_bracket", InL3("<name>a</name>\n  vr|"), kInL3,
         InL3("<name>a</name>\n  <description>$1</description>")},
        {"before_other_elements", InL3("<name>a</name><|\n<vrf>a</vrf>"),
         "description enabled mtu lower-layer-if ipv4 ipv6",
         InL3("<name>a</name><description>$1</description>\n<vrf>a</vrf>")},
        {"name_of_an_element_that_is_there", InL3("<name>a</name><vr|>x</vr>"),
         kInL3, InL3("<name>a</name><description>x</vr>")},
        {"prefix", "<c:config xmlns:c='urn:vorplex:config'><c:inter|",
         "interface",
         "<c:config xmlns:c='urn:vorplex:config'>"
         "<c:interface>$1</c:interface>"},
        {"end_tag", InL3("<name>a</na|\n"), "/name", InL3("<name>a</name>\n")},
        {"end_tag_of_an_element_with_an_end", InL3("</|\n"), ""},
        {"boolean", InL3("<enabled>|</enabled>"), "true false",
         InL3("<enabled>true</enabled>")},
        {"boolean_snippet", InL3("<name>a</name><description/><|"),
         "enabled vrf mtu lower-layer-if ipv4 ipv6",
         InL3("<name>a</name><description/>"
              "<enabled>${1|true,false|}</enabled>")},
        {"value_half_typed", InL3("<enabled>tr|ue</enabled>"), "true false",
         InL3("<enabled>true</enabled>")},
        {"value_of_an_open_element", InL3("<enabled>t|"), "true false"},
        {"value_between_lines", InL3("<enabled>\n|\n</enabled>"), "true false",
         InL3("<enabled>\ntrue\n</enabled>")},
        {"enumeration",
         "<DC-RTM-MIB xmlns='urn:vorplex:dc-rtm-mib'><rtmStaticRtTable>"
         "<rtmStaticRtEntry><rtmStaticRtDestType>|",
         "unknown ipv4 ipv6"},
        {"vrfs", kNamesXml + InL3("<vrf>|</vrf>"), "guest iot"},
        {"defined_vrfs_are_not_offered_as_new",
         "<internal xmlns='urn:vorplex:internal'><vrf-config><indexTOstring>"
         "<vname>|</vname></indexTOstring></vrf-config></internal>" +
             kNamesXml,
         "iot"},
        {"interfaces",
         kNamesXml + "<internal xmlns='urn:vorplex:internal'>"
                     "<ospfv3-interface-l3><interface>l3-|",
         "l3-a&b mgmt-eth0",
         kNamesXml + "<internal xmlns='urn:vorplex:internal'>"
                     "<ospfv3-interface-l3><interface>l3-a&amp;b"},
        {"areas",
         kNamesXml + "<internal xmlns='urn:vorplex:internal'>"
                     "<ospfv3-interface-l3><area>|",
         "0.0.0.9"},
        {"indexes_of_vrfs",
         kNamesXml + "<rtmStaticRtEntry-global xmlns='urn:vorplex:dc-rtm-mib'>"
                     "<rtmStaticRtFteIndex>|",
         "7"},
        {"number", InL3("<mtu>|</mtu>"), ""},
        {"attributes", InL3("<vrf |"), ""},
        {"comment", InL3("<!-- | -->"), ""},
        {"below_an_unknown_element", InL3("<x>|</x>"), ""},
    }),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Json, Completing,
    testing::ValuesIn(std::vector<CompletionCase>{
        {"json_top", "{|}", kTop, "{\"DC-RTM-MIB:DC-RTM-MIB\": {\n  $1\n}}"},
        {"json_without_a_brace", " |", kTop},
        {"json_list_with_its_key",
         "{\n \"vorplex-config:config\": {\n  \"interface\": {\n   |\n  }\n "
         "}\n}",
         "l3 loopback mgmt",
         "{\n \"vorplex-config:config\": {\n  \"interface\": {\n   "
         "\"ipapp:l3\": [\n {\n  \"name\": \"$1\"\n }\n]\n  }\n }\n}"},
        {"json_entry",
         "{\"vorplex-config:config\": {\"interface\": {\"ipapp:l3\": [{} |",
         "l3",
         "{\"vorplex-config:config\": {\"interface\": {\"ipapp:l3\": [{}, "
         "{\n  \"name\": \"$1\"\n}"},
        {"json_half_typed_name", InJsonL3("\"name\": \"a\",\n\"vr|"), kInL3,
         InJsonL3("\"name\": \"a\",\n\"description\": \"$1\"")},
        {"json_name_in_quotes", InJsonL3("\"name\": \"a\",\n\"|\""), kInL3,
         InJsonL3("\"name\": \"a\",\n\"description\": \"$1\"")},
        {"json_missing_commas",
         InJsonL3("\"name\": \"a\"\n\"|\"\n\"vrf\": \"x\""),
         "description enabled mtu lower-layer-if ipv4 ipv6",
         InJsonL3("\"name\": \"a\",\n\"description\": \"$1\",\n"
                  "\"vrf\": \"x\"")},
        {"json_name_of_a_member_that_is_there",
         InJsonL3("\"name\": \"a\", \"vr|\": \"x\""), kInL3,
         InJsonL3("\"name\": \"a\", \"description\": \"x\"")},
        {"json_lists_are_offered_once",
         "{\"vorplex-config:config\": {\"interface\": {\"ipapp:l3\": [], |",
         "loopback mgmt"},
        {"json_boolean", InJsonL3("\"enabled\": |"), "true false",
         InJsonL3("\"enabled\": true")},
        {"json_boolean_half_typed", InJsonL3("\"enabled\": t|"), "true false",
         InJsonL3("\"enabled\": true")},
        {"json_value_before_another_member",
         InJsonL3("\"enabled\": |\n\"vrf\": \"x\""), "true false",
         InJsonL3("\"enabled\": true,\n\"vrf\": \"x\"")},
        {"json_name_without_quotes",
         "{\"vorplex-internal:internal\": {\"ospfv3-interface-l3\": "
         "[{\"area\": \"0.0.0.1\"}, {\"area\": |}]}}",
         "0.0.0.1",
         "{\"vorplex-internal:internal\": {\"ospfv3-interface-l3\": "
         "[{\"area\": \"0.0.0.1\"}, {\"area\": \"0.0.0.1\"}]}}"},
        {"json_name_with_quotes",
         "{\"vorplex-internal:internal\": {\"ospfv3-interface-l3\": "
         "[{\"area\": \"0.0.0.1\"}, {\"area\": \"0|\"}]}}",
         "0.0.0.1"},
        {"json_string_without_an_end",
         "{\"vorplex-internal:internal\": {\"ospfv3-interface-l3\": "
         "[{\"area\": \"0.0.0.1\"}, {\"area\": \"0.|\n\"router\": 1}]}}",
         "0.0.0.1",
         "{\"vorplex-internal:internal\": {\"ospfv3-interface-l3\": "
         "[{\"area\": \"0.0.0.1\"}, {\"area\": \"0.0.0.1\",\n\"router\": "
         "1}]}}"},
        {"json_container", InJsonL3("\"lower-layer-if\": |"), "lower-layer-if",
         InJsonL3("\"lower-layer-if\": {\n  $1\n}")},
        {"json_behind_the_colon_of_an_unknown_member", InJsonL3("\"x\": |"),
         ""},
    }),
    [](const auto& row) { return row.param.name; });

TEST(Completion, WritesPlainIndentedTextForASimpleClient) {
  const MarkedText text(
      "<internal xmlns=\"urn:vorplex:internal\">\n  <vrf-config>\n    <|");
  const Completions completions =
      CompletionsAt(text.Read(), text.cursor, {false, false});
  EXPECT_EQ(Accept(text.text, completions, "indexTOstring"),
            "<internal xmlns=\"urn:vorplex:internal\">\n  <vrf-config>\n"
            "    <indexTOstring>\n      <index></index>\n"
            "    </indexTOstring>");
}

TEST(Completion, WritesWholeMembersForASimpleClient) {
  const auto accept = [](const std::string& member, const char* label) {
    const MarkedText text(InJsonL3(member));
    return Accept(text.text,
                  CompletionsAt(text.Read(), text.cursor, {false, false}),
                  label);
  };
  const std::string next = "\n\"vrf\": \"x\"";
  EXPECT_EQ(accept("\"|" + next, "enabled"),
            InJsonL3("\"enabled\": true," + next));
  EXPECT_EQ(accept("\"|" + next, "mtu"), InJsonL3("\"mtu\": null," + next));
  EXPECT_EQ(accept("\"|" + next, "description"),
            InJsonL3("\"description\": \"\"," + next));
}

TEST(Completion, SaysWhatItOffers) {
  const MarkedText text(kNamesXml + InL3("<name>a</name><ipv4/><|"));
  const Completions completions =
      CompletionsAt(text.Read(), text.cursor, {true, true});
  ASSERT_FALSE(completions.items.empty());
  EXPECT_EQ(completions.items.front().detail, "leaf, string");
  EXPECT_TRUE(host_test::StartsWith(completions.items.front().markdown,
                                    "A free text, such as the circuit"));

  const MarkedText name(
      "<rtmStaticRtEntry-global xmlns="
      "\"urn:vorplex:dc-rtm-mib\"><interface-name>|</"
      "interface-name></rtmStaticRtEntry-global>" +
      kNamesXml);
  const Completions names =
      CompletionsAt(name.Read(), name.cursor, {true, true});
  ASSERT_FALSE(names.items.empty());
  EXPECT_EQ(names.items.front().detail, "Room 1");
}

}  // namespace

}  // namespace features_test
