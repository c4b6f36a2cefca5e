// The text of a configuration that gets other data: only the bytes of changed
// nodes may change.

#include "host/source/rewriter.h"

#include <gtest/gtest.h>

#include <string>

#include "host/datastore/diff.h"
#include "tests/host/fixtures.h"

namespace ipav::source {

namespace {

using datastore::CheckText;
using datastore::DataTree;

struct RewriteCase {
  const char* name;
  std::string before;
  std::string after;  // the data that are wanted, in any form
  std::string expected;
};

std::ostream& operator<<(std::ostream& out, const RewriteCase& the_case) {
  return out << the_case.name;
}

class RewriterTest : public ::testing::TestWithParam<RewriteCase> {};

TEST_P(RewriterTest, ChangesOnlyTheBytesOfChangedNodes) {
  const datastore::Model& model = host_test::ProjectModel();
  const auto text = CheckText("text", GetParam().before);
  const DataTree before = DataTree::FromText(model, text);
  const DataTree after =
      DataTree::FromText(model, CheckText("wanted", GetParam().after));
  const std::string changed =
      Replace(GetParam().before, FindReplacements(text, before, after));
  EXPECT_EQ(changed, GetParam().expected);
  const DataTree read = DataTree::FromText(model, CheckText("new", changed));
  EXPECT_TRUE(datastore::Diff(after, read).top().empty());
}

// An l3 interface `a` with this inside.
std::string Xml(const std::string& inside) {
  return R"(<config xmlns="urn:vorplex:config"><interface>)"
         R"(<l3 xmlns="urn:vorplex:ipapp"><name>a</name>)" +
         inside + "</l3></interface></config>";
}
std::string Json(const std::string& inside) {
  return R"({"vorplex-config:config":{"interface":{"ipapp:l3":[{"name":"a")" +
         inside + "}]}}}";
}
std::string Second(const std::string& ip) {
  return "<secondary><ip>" + ip + "</ip></secondary>";
}
std::string Addresses(const std::string& inside) {
  return "<ipv4><address><ip>10.0.0.1/24</ip>" + inside + "</address></ipv4>";
}

const char kOne[] = "10.0.1.1/24";
const char kTwo[] = "10.0.2.1/24";
const char kSix[] = "2001:db8::1/64";

INSTANTIATE_TEST_SUITE_P(
    Xml, RewriterTest,
    ::testing::Values(
        RewriteCase{"ValueBesideComments",
                    Xml("\n <!-- a --><vrf>red</vrf><!-- c -->\n"),
                    Xml("<vrf>blue</vrf>"),
                    Xml("\n <!-- a --><vrf>blue</vrf><!-- c -->\n")},
        RewriteCase{"ValueBetweenBlanks",
                    Xml("<mtu>\n  1500 <!-- usual -->\n</mtu>"),
                    Xml("<mtu>9000</mtu>"),
                    Xml("<mtu>\n  9000 <!-- usual -->\n</mtu>")},
        RewriteCase{"Cdata", Xml("<vrf><![CDATA[red]]></vrf>"),
                    Xml("<vrf>blue</vrf>"), Xml("<vrf><![CDATA[blue]]></vrf>")},
        RewriteCase{"CdataThatNeedsEscapes", Xml("<vrf><![CDATA[a<b]]></vrf>"),
                    Xml("<vrf>a&lt;c&amp;]]&gt;</vrf>"),
                    Xml("<vrf>a&lt;c&amp;]]&gt;</vrf>")},
        RewriteCase{"Entities", Xml("<vrf>r&#101;d&amp;</vrf>"),
                    Xml("<vrf>&lt;blue&gt;</vrf>"),
                    Xml("<vrf>&lt;blue&gt;</vrf>")},
        RewriteCase{"EmptyElement", Xml("<vrf />"), Xml("<vrf>red</vrf>"),
                    Xml("<vrf >red</vrf>")},
        RewriteCase{"ValueThatBecomesEmpty", Xml("<vrf>red</vrf>"),
                    Xml("<vrf/>"), Xml("<vrf></vrf>")},
        RewriteCase{"OneLine", Xml("<vrf>red</vrf><mtu>1500</mtu>"),
                    Xml("<mtu>1500</mtu>"), Xml("<mtu>1500</mtu>")},
        RewriteCase{"LineWithItsEnd",
                    Xml("\r\n\t<vrf>red</vrf>\r\n\t<mtu>1500</mtu>\r\n"),
                    Xml("<mtu>1500</mtu>"), Xml("\r\n\t<mtu>1500</mtu>\r\n")},
        RewriteCase{"LineWithComment",
                    Xml("\n <vrf>red</vrf> <!-- why -->\n <mtu>1500</mtu>\n"),
                    Xml("<mtu>1500</mtu>"),
                    Xml("\n  <!-- why -->\n <mtu>1500</mtu>\n")},
        RewriteCase{"OnlyEntry", Xml(Addresses("\n" + Second(kOne) + "\n")),
                    Xml(Addresses("")), Xml(Addresses("\n"))},
        RewriteCase{"RenamedEntry",
                    Xml(Addresses(Second(kOne) + "<!-- last -->")),
                    Xml(Addresses(Second(kTwo))),
                    Xml(Addresses(Second(kTwo) + "<!-- last -->"))},
        RewriteCase{"KeyInAnotherForm",
                    Xml("<ipv6><address><ip>2001:DB8:0::1/64</ip></address>"
                        "</ipv6>"),
                    Xml(""), Xml("<ipv6></ipv6>")},
        RewriteCase{
            "EntryAfterTheLast",
            Xml("\r\n\t<ipv4>\r\n\t\t<address>\r\n\t\t\t" + Second(kOne) +
                " <!-- one -->\r\n\t\t</address>\r\n\t</ipv4>\r\n"),
            Xml("<ipv4><address>" + Second(kOne) + Second(kTwo) +
                "</address></ipv4>"),
            Xml("\r\n\t<ipv4>\r\n\t\t<address>\r\n\t\t\t" + Second(kOne) +
                " <!-- one -->\r\n\t\t\t<secondary>\r\n\t\t\t\t<ip>" + kTwo +
                "</ip>\r\n\t\t\t</secondary>\r\n\t\t</address>"
                "\r\n\t</ipv4>\r\n")},
        RewriteCase{"ContainerThatIsMissing", Xml("\n  <mtu>1500</mtu>\n"),
                    Xml("<mtu>1500</mtu><ipv4><address>" + Second(kOne) +
                        "</address></ipv4>"),
                    Xml("\n  <mtu>1500</mtu>\n  <ipv4>\n    <address>\n"
                        "      <secondary>\n        <ip>10.0.1.1/24</ip>\n"
                        "      </secondary>\n    </address>\n  </ipv4>\n")},
        RewriteCase{"FirstChild", Xml("\n  <ipv4/>\n"),
                    Xml("<ipv4><address>" + Second(kOne) + "</address></ipv4>"),
                    Xml("\n  <ipv4>\n    <address>\n      <secondary>\n"
                        "        <ip>10.0.1.1/24</ip>\n      </secondary>\n"
                        "    </address>\n  </ipv4>\n")},
        RewriteCase{"PrefixesOfNamespaces",
                    "<c:config xmlns:c=\"urn:vorplex:config\"><c:interface>"
                    "<i:l3 xmlns:i=\"urn:vorplex:ipapp\"><i:name>a</i:name>"
                    "</i:l3></c:interface></c:config>",
                    Xml("<vrf>red</vrf>"),
                    "<c:config xmlns:c=\"urn:vorplex:config\"><c:interface>"
                    "<i:l3 xmlns:i=\"urn:vorplex:ipapp\"><i:name>a</i:name>"
                    "<vrf xmlns=\"urn:vorplex:ipapp\">red</vrf>"
                    "</i:l3></c:interface></c:config>"},
        RewriteCase{"Wrapper",
                    "<data xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\">" +
                        Xml("<vrf>red</vrf>") + "</data>",
                    Xml("<vrf>blue</vrf>"),
                    "<data xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\">" +
                        Xml("<vrf>blue</vrf>") + "</data>"}),
    [](const auto& the_case) { return the_case.param.name; });

std::string JsonV6(const std::string& inside) {
  return Json(R"(,"ipv6":{"address":)" + inside + "}");
}
std::string Ip(const std::string& ip) { return R"({"ip":")" + ip + "\"}"; }

INSTANTIATE_TEST_SUITE_P(
    Json, RewriterTest,
    ::testing::Values(
        RewriteCase{"Value", Json(R"(, "mtu" : 1500, "vrf":"r\u0065d" )"),
                    Xml("<mtu>9000</mtu><vrf>a\"b</vrf>"),
                    Json(R"(, "mtu" : 9000, "vrf":"a\"b" )")},
        RewriteCase{"FirstOfAnArray",
                    JsonV6("[" + Ip(kSix) + "," + Ip("2001:db8:1::1/64") + "]"),
                    JsonV6("[" + Ip("2001:db8:1::1/64") + "]"),
                    JsonV6("[" + Ip("2001:db8:1::1/64") + "]")},
        RewriteCase{
            "LastOfAnArray",
            JsonV6("[\n " + Ip(kSix) + ",\n " + Ip("2001:db8:1::1/64") + "\n]"),
            JsonV6("[" + Ip(kSix) + "]"), JsonV6("[\n " + Ip(kSix) + "\n]")},
        RewriteCase{"OnlyOneOfAnArray", JsonV6("[" + Ip(kSix) + "]"), Xml(""),
                    Json(R"(,"ipv6":{})")},
        RewriteCase{"SeveralAtTheEnd",
                    Json(R"(,"enabled":true,"mtu":1500,"vrf":"red")"),
                    Xml("<enabled>true</enabled>"), Json(R"(,"enabled":true)")},
        RewriteCase{"LineWithItsEnd",
                    Json(",\r\n\t\"mtu\": 1500,\r\n\t\"vrf\": \"red\"\r\n"),
                    Xml("<vrf>red</vrf>"), Json(",\r\n\t\"vrf\": \"red\"\r\n")},
        RewriteCase{"RenamedEntry", JsonV6("[ " + Ip(kSix) + " ]"),
                    JsonV6("[" + Ip("2001:db8:1::1/64") + "]"),
                    JsonV6("[ " + Ip("2001:db8:1::1/64") + " ]")},
        RewriteCase{"EntryAfterTheLast", JsonV6("[\n    " + Ip(kSix) + "\n  ]"),
                    JsonV6("[" + Ip(kSix) + "," + Ip("2001:db8:1::1/64") + "]"),
                    JsonV6("[\n    " + Ip(kSix) +
                           ",\n    {\n      \"ip\": "
                           "\"2001:db8:1::1/64\"\n    }\n  ]")},
        RewriteCase{"MemberInPlaceOfTheLast", Json(R"(,"mtu":1500)"),
                    Xml("<vrf>red</vrf>"), Json(R"(,"vrf":"red")")},
        RewriteCase{"FirstMember", Json(R"(,"ipv6":{ })"),
                    JsonV6("[" + Ip(kSix) + "]"),
                    Json(R"(,"ipv6":{"address":[{"ip":"2001:db8::1/64"}] })")},
        RewriteCase{"TopMember", Json(""),
                    Xml("") +
                        "<internal xmlns=\"urn:vorplex:internal\">"
                        "<ospf-index-to-proc-id><compound-id>1</compound-id>"
                        "</ospf-index-to-proc-id></internal>",
                    Json("").substr(0, Json("").size() - 1) +
                        ",\"vorplex-internal:internal\":{"
                        "\"ospf-index-to-proc-id\":[{\"compound-id\":1}]}}"},
        RewriteCase{"Wrapper",
                    "{ \"data\" : " + Json(R"(,"mtu":1500)") + " }\n", Json(""),
                    "{ \"data\" : " + Json("") + " }\n"}),
    [](const auto& the_case) { return the_case.param.name; });

TEST(ReplacementsTest, TwoStepsAreOne) {
  const std::string text = "0123456789";
  const std::vector<Replacement> steps[] = {
      {},
      {{{2, 4}, "ab"}},
      {{{0, 0}, "x"}, {{3, 5}, ""}, {{9, 10}, "yz"}},
      {{{1, 9}, "middle"}},
      {{{0, 1}, ""}, {{1, 1}, "q"}, {{4, 4}, "rs"}}};
  for (const auto& first : steps) {
    const std::string between = Replace(text, first);
    for (const auto& second : steps) {
      if (!second.empty() && second.back().span.end > between.size()) continue;
      const auto composed = Compose(first, between, second);
      EXPECT_EQ(Replace(text, composed), Replace(between, second));
      for (std::size_t i = 1; i < composed.size(); ++i) {
        EXPECT_LT(composed[i - 1].span.end, composed[i].span.begin);
      }
    }
  }
}

}  // namespace

}  // namespace ipav::source
