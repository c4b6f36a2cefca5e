#include "cli/lsp/features/hover.h"

#include <gtest/gtest.h>

#include "tests/features/marked_text.h"

namespace features_test {

namespace {

using ipav::features::Hover;
using ipav::features::HoverAt;

TEST(Hover, ShowsWhatTheModelSaysAndWhichPointsLook) {
  const MarkedText text(InL3("<mtu>15|00</mtu>"));
  const auto hover = HoverAt(text.Read(), text.cursor);
  ASSERT_TRUE(hover);
  EXPECT_EQ(hover->markdown,
            "**mtu** (leaf, uint16)\n\n`/config/interface/l3/mtu`\n\n"
            "The largest IP packet that is sent without fragmentation.\n\n"
            "- range 68..9216\n- in octets");

  const MarkedText vlan(InJsonL3(R"("lower-layer-if": {"vl|an": 4})"));
  const auto of_vlan = HoverAt(vlan.Read(), vlan.cursor);
  ASSERT_TRUE(of_vlan);
  EXPECT_EQ(of_vlan->markdown,
            "**vlan** (leaf, int32)\n\n"
            "`/config/interface/l3/lower-layer-if/vlan`\n\n"
            "The VLAN that carries the interface, 1 to 4094. Without it\n"
            "the interface has no lower layer and passes no traffic.\n\n"
            "- range 1..4094\n\nValidation points that look at it:\n\n"
            "- `static_route_l3_intf_validation`: The output interfaces of the "
            "static routes of both families.\n"
            "- `lower_layer_prot_cross_validation`: The VLAN below one l3 "
            "interface.");
}

TEST(Hover, ShowsValuesDefaultsAndTheModelsOwnWords) {
  const auto shown = [](const std::string& marked) {
    const MarkedText text(marked);
    const auto hover = HoverAt(text.Read(), text.cursor);
    return hover ? hover->markdown : "";
  };
  using host_test::Contains;
  EXPECT_TRUE(
      Contains(shown(InL3("<ena|bled/>")), "- default `true`\n- `true`"));
  EXPECT_TRUE(Contains(shown(InL3("<ipv4><address><ip>1|")),
                       "- expected an IPv4 address with a prefix length"));
  EXPECT_TRUE(Contains(
      shown("<DC-RTM-MIB xmlns='urn:vorplex:dc-rtm-mib'><rtmStaticRtTable>"
            "<rtmStaticRtEntry><rtmStaticRtDestType>i|"),
      "- `ipv4`: Four octets of an IPv4 address."));
  EXPECT_TRUE(Contains(shown(InL3("<na|me>")), "**name** (key, string)"));
}

// A cursor, what is found there, and which part of the text it is about.
struct HoverCase {
  std::string name;
  std::string text;
  std::string path;  // empty: nothing is shown
  const char* part = "";
};

class HoverPlace : public testing::TestWithParam<HoverCase> {};

TEST_P(HoverPlace, IsFound) {
  const MarkedText text(GetParam().text);
  const std::optional<Hover> hover = HoverAt(text.Read(), text.cursor);
  ASSERT_EQ(hover.has_value(), !GetParam().path.empty());
  if (!hover) return;
  EXPECT_NE(hover->markdown.find("\n`" + GetParam().path + "`"),
            std::string::npos)
      << hover->markdown;
  EXPECT_EQ(text.At(hover->span), GetParam().part);
}

const std::string kL3Path = "/config/interface/l3";

INSTANTIATE_TEST_SUITE_P(
    Places, HoverPlace,
    testing::ValuesIn(std::vector<HoverCase>{
        {"start_tag", InL3("<v|rf>a</vrf>"), kL3Path + "/vrf", "<vrf>"},
        {"first_byte_of_a_tag", InL3("|<vrf>a</vrf>"), kL3Path + "/vrf",
         "<vrf>"},
        {"end_tag", InL3("<vrf>a</v|rf>"), kL3Path + "/vrf", "</vrf>"},
        {"value_without_blanks", InL3("<vrf> a|b\n</vrf>"), kL3Path + "/vrf",
         "ab"},
        {"blanks_between_elements", InL3(" | <vrf>a</vrf>"), ""},
        {"comment", InL3("<!-- <v|rf> --><vrf>a</vrf>"), ""},
        {"unknown_element", InL3("<nam|es>"), ""},
        {"child_of_an_unknown_element", InL3("<x><na|me/></x>"), ""},
        {"missing_namespace", "<config><interface><l3><vr|f>", kL3Path + "/vrf",
         "<vrf>"},
        {"wrong_namespace", InL3("<v|rf xmlns='urn:x'>a</vrf>"), ""},
        {"prefix",
         "<c:config xmlns:c='urn:vorplex:config'\n xmlns:i='urn:vorplex:ipapp'>"
         "<c:interface><i:l3><i:vr|f>",
         kL3Path + "/vrf", "<i:vrf>"},
        {"wrapper",
         "<rpc-reply xmlns='urn:ietf:params:xml:ns:netconf:base:1.0'><data>"
         "<config xmlns='urn:vorplex:config'><inter|face>",
         "/config/interface", "<interface>"},
        {"tag_without_end", InL3("<vrf>a</vrf><m|tu"), kL3Path + "/mtu",
         "<mtu"},
        {"behind_a_tag_without_end", InL3("<vr\n<m|tu>1</mtu>"),
         kL3Path + "/mtu", "<mtu>"},
        {"behind_an_attribute_without_end", InL3("<vrf a='\n<m|tu>1</mtu>"),
         kL3Path + "/mtu", "<mtu>"},
        {"behind_an_element_without_end",
         InL3("<ipv4></l3><l3 xmlns='urn:vorplex:ipapp'><na|me>"),
         kL3Path + "/name", "<name>"},
        {"cdata", InL3("<vrf><![CDATA[a|<b]]></vrf>"), kL3Path + "/vrf", "a<b"},
        {"behind_an_end_tag_of_nothing", InL3("</nothing><m|tu/>"),
         kL3Path + "/mtu", "<mtu/>"},
        {"json_name", InJsonL3(R"("v|rf": "a")"), kL3Path + "/vrf", "\"vrf\""},
        {"json_string", InJsonL3(R"("vrf": "a|b")"), kL3Path + "/vrf", "ab"},
        {"json_number", InJsonL3(R"("mtu": 1|5)"), kL3Path + "/mtu", "15"},
        {"json_name_without_value", InJsonL3(R"("v|rf")"), kL3Path + "/vrf",
         "\"vrf\""},
        {"json_behind_a_missing_value", InJsonL3(R"("mtu": , "v|rf": "a")"),
         kL3Path + "/vrf", "\"vrf\""},
        {"json_behind_a_missing_comma", InJsonL3(R"("mtu": 1 "v|rf": "a")"),
         kL3Path + "/vrf", "\"vrf\""},
        {"json_behind_a_missing_brace",
         InJsonL3(R"("ipv4": {"address": {} ], "ipapp:mg|mt": [)"),
         "/config/interface/mgmt", "\"ipapp:mgmt\""},
        {"json_behind_a_missing_quote", InJsonL3("\"vrf\": \"a,\n\"m|tu\": 1"),
         kL3Path + "/mtu", "\"mtu\""},
        {"json_wrapper", R"({"data": {"vorplex-config:con|fig": {)", "/config",
         "\"vorplex-config:config\""},
        {"json_of_another_module", InJsonL3(R"("other:v|rf": "a")"), ""},
        {"json_blanks", InJsonL3(" | "), ""},
    }),
    [](const auto& row) { return row.param.name; });

TEST(Explanation, IsThatOfTheCatalogue) {
  const auto* message = ipav::messages::FindMessage("overlap");
  ASSERT_NE(message, nullptr);
  const std::string markdown = ipav::features::Explanation(*message);
  EXPECT_EQ(markdown.rfind("**" + message->title + "**\n\n", 0), 0U);
  EXPECT_TRUE(
      host_test::Contains(markdown, "\n\n**What to do:** " + message->advice));
  EXPECT_TRUE(host_test::Contains(markdown, "Reported by: `ipv4_addr_val"));
}

}  // namespace

}  // namespace features_test
