// Places of nodes in XML and JSON texts.

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/source/source_text.h"
#include "host/source/source_tree.h"
#include "tests/host/fixtures.h"

namespace ipav::source {

namespace {

using host_test::JsonL3With;
using host_test::L3With;
using host_test::MarkedIn;
using host_test::NodeAt;

// A configuration of the project's model together with its text.
class Written {
 public:
  explicit Written(const std::string& text)
      : text_(datastore::CheckText("text", text)),
        tree_(datastore::DataTree::FromText(host_test::ProjectModel(), text_)),
        source_(text_) {}

  // Paths start at the interfaces, or at the root with a slash.
  std::optional<Mark> MarkOf(const std::string& path) const {
    const std::string below = path[0] == '/' ? "" : "/config/interface/";
    const lyd_node* node = NodeAt(tree_, below + path);
    EXPECT_NE(node, nullptr) << path;
    return source_.MarkOf(node);
  }

  // "LINE:COLUMN:what is marked" of a node; "" if it has no place.
  std::string Place(const std::string& path) const {
    const std::optional<Mark> mark = MarkOf(path);
    if (!mark) return "";
    return std::to_string(mark->line) + ":" + std::to_string(mark->column) +
           ":" + MarkedIn(*mark);
  }

 private:
  datastore::InputText text_;
  datastore::DataTree tree_;
  SourceText source_;
};

// --- Places

struct PlacesCase {
  const char* name;
  std::string text;
  std::vector<std::pair<std::string, std::string>> places;  // of paths
};

void ExpectPlaces(const std::vector<PlacesCase>& cases) {
  for (const auto& [name, text, places] : cases) {
    SCOPED_TRACE(name);
    const Written written(text);
    for (const auto& [path, place] : places) {
      EXPECT_EQ(written.Place(path), place) << path;
    }
  }
}

TEST(Places, InXmlAreThoseOfTheText) {
  ExpectPlaces(
      {{"ALeafIsMarkedAtItsValue",
        L3With("  <ipv4><address>\n    <ip>10.1.1.1/24</ip>"
               "</address></ipv4>"),
        {{"l3{a}/ipv4/address/ip", "4:9:10.1.1.1/24"}}},
       {"AnEntryIsMarkedAtItsFirstKey",
        L3With("<vrf>red</vrf>"),
        {{"l3{a}", "2:37:a"}}},
       {"AContainerIsMarkedWhereItBegins",
        L3With("<ipv4><address><ip>10.1.1.1/24</ip></address>"
               "</ipv4>"),
        {{"l3{a}/ipv4", "3:1:<ipv4>"},
         {"/config/interface", "1:36:<interface>"},
         {"/config", "1:1:<config xmlns=\"urn:vorplex:config\">"}}},
       {"NodesOfOneNameAreToldApart",
        L3With("<vrf>x</vrf></l3>"
               "<loopback xmlns=\"urn:vorplex:ipapp\">"
               "<name>a</name><vrf>y</vrf></loopback>\n"
               "<l3 xmlns=\"urn:vorplex:ipapp\">"
               "<name>b</name><vrf>z</vrf>"),
        {{"l3{a}/vrf", "3:6:x"},
         {"loopback{a}/vrf", "3:73:y"},
         {"l3{b}/vrf", "4:50:z"}}},
       {"AKeyIsFoundBehindItsEscapes",
        L3With("</l3><mgmt xmlns=\"urn:vorplex:ipapp\">"
               "<name>a&amp;b&#x20;c</name></mgmt>\n"
               "<mgmt xmlns=\"urn:vorplex:ipapp\">"
               "<name><![CDATA[<c>]]></name></mgmt>"
               "<l3 xmlns=\"urn:vorplex:ipapp\">"
               "<name>b</name>"),
        {{"mgmt{\"a&b c\"}", "3:44:a&amp;b&#x20;c"},
         {"mgmt{<c>}", "4:48:<c>"}}},
       {"AKeyIsFoundInAnyOfItsForms",
        L3With("<ipv6><address><ip>2001:DB8:0::1/64</ip>"
               "</address>\n<address><ip>2001:db8::2/64</ip>"
               "</address></ipv6>"),
        {{"l3{a}/ipv6/address{2001:db8::1/64}", "3:20:2001:DB8:0::1/64"},
         {"l3{a}/ipv6/address{2001:db8::2/64}/ip", "4:14:2001:db8::2/64"}}},
       {"WhatTheTextDoesNotHaveHasNoPlace",
        L3With(""),
        {{"l3{a}/enabled", ""},  // a default
         {"/internal/vrf-config", ""}}},
       {"AnEntryWhoseKeyComesLastIsMarkedThere",
        "<config xmlns=\"urn:vorplex:config\"><interface>\n"
        "<l3 xmlns=\"urn:vorplex:ipapp\"><vrf>red</vrf>\n"
        "<name>a</name></l3></interface></config>",
        {{"l3{a}", "3:7:a"}}},
       {"AnEmptyValueIsMarkedAtItsTag",
        L3With("<vrf></vrf>"),
        {{"l3{a}/vrf", "3:1:<vrf>"}}},
       {"AnEmptyElementIsMarkedWhole",
        L3With("<vrf/>"),
        {{"l3{a}/vrf", "3:1:<vrf/>"}}},
       {"ABlankIsAValue", L3With("<vrf > </vrf >"), {{"l3{a}/vrf", "3:7: "}}},
       {"AttributesMayHaveAnglesAndStandOnMoreLines",
        "<config xmlns=\"urn:vorplex:config\"\n  xmlns:x='urn:a>b'>"
        "<interface><l3 xmlns =\n \"urn:vorplex:ipapp\" ><name\n>a</name>"
        "<vrf  xmlns:y=\">&lt;>\" >red</vrf></l3></interface></config>",
        {{"l3{a}/name", "4:2:a"}, {"l3{a}/vrf", "4:34:red"}}},
       {"PrefixesAreNamesOfNamespaces",
        "<v:config xmlns:v=\"urn:vorplex:config\" "
        "xmlns:l3=\"urn:vorplex:ipapp\">\n<v:interface>\n"
        "<l3:l3><l3:name>a</l3:name>\n<l3:vrf>red</l3:vrf></l3:l3>\n"
        "</v:interface></v:config>",
        {{"l3{a}", "3:17:a"}, {"l3{a}/vrf", "4:9:red"}}},
       {"SeveralElementsMayStandAtTheTop",
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- one -->\n"
        "<config xmlns=\"urn:vorplex:config\"/>\n"
        "<rtmStaticRtEntry-global xmlns=\"urn:vorplex:dc-rtm-mib\">"
        "<rtmStaticRtFteIndex>0</rtmStaticRtFteIndex>"
        "<rtmStaticRtDest>0A:00</rtmStaticRtDest>\n"
        "<rtmStaticRtDestPfxLen>8</rtmStaticRtDestPfxLen>"
        "<rtmStaticRtNextHop>01</rtmStaticRtNextHop>\n"
        "<interface-name>l3-a</interface-name></rtmStaticRtEntry-global>",
        {{"/rtmStaticRtEntry-global{0 0a:00 8 01}/interface-name", "6:17:l3-a"},
         {"/rtmStaticRtEntry-global{0 0a:00 8 01}/rtmStaticRtDest",
          "4:118:0A:00"}}},
       {"CdataMarksAreNoPartOfAValue",
        L3With("<vrf><![CDATA[r<e>d]]></vrf>"),
        {{"l3{a}/vrf", "3:15:r<e>d"}}},
       {"CommentsAreNoPartOfAValue",
        L3With("<!-- <vrf>x</vrf> --><vrf>red</vrf><!-- > -->"),
        {{"l3{a}/vrf", "3:27:red"}}},
       {"BlanksAroundANumberAreNoPartOfIt",
        L3With("<lower-layer-if><vlan> \n 7 </vlan></lower-layer-if>"),
        {{"l3{a}/lower-layer-if/vlan", "4:2:7"}}},
       {"LinesMayEndInCarriageReturns",
        "<config xmlns=\"urn:vorplex:config\"><interface>\r\n"
        "<l3 xmlns=\"urn:vorplex:ipapp\">\r\n<name>a</name>\r\n"
        "<vrf>red</vrf>\r\n</l3></interface></config>\r\n",
        {{"l3{a}/vrf", "4:6:red"}}},
       {"ATabIsOneColumnAndSoIsEachLetter",
        L3With("\t\t<vrf>red</vrf>\n<description>\xc3\xbc\xe2\x82\xac"
               "\xf0\x9f\x98\x80</description><enabled>true</enabled>"),
        {{"l3{a}/vrf", "3:8:red"},
         {"l3{a}/description", "4:14:\xc3\xbc\xe2\x82\xac\xf0\x9f\x98\x80"},
         {"l3{a}/enabled", "4:40:true"}}},
       {"AByteOrderMarkIsNoCharacter",
        "\xef\xbb\xbf" + L3With(""),
        {{"/config", "1:1:<config xmlns=\"urn:vorplex:config\">"}}},
       {"BlanksAfterAByteOrderMarkCount",
        "\xef\xbb\xbf \n\n" + L3With(""),
        {{"l3{a}", "4:37:a"}}},
       {"AValueOfMoreLinesIsMarkedToTheEndOfItsFirst",
        L3With("<description>one\ntwo</description>"),
        {{"l3{a}/description", "3:14:one"}}}});
}

TEST(Places, InJsonAreThoseOfTheText) {
  ExpectPlaces(
      {{"ALeafIsMarkedAtItsValue",
        JsonL3With("  \"ipv4\": {\"address\": {\n"
                   "    \"ip\": \"10.1.1.1/24\"}}"),
        {{"l3{a}/ipv4/address/ip", "4:11:\"10.1.1.1/24\""}}},
       {"AnEntryIsMarkedAtItsFirstKey",
        JsonL3With("\"vrf\": \"red\""),
        {{"l3{a}", "2:23:\"a\""}}},
       {"AContainerIsMarkedWhereItBegins",
        JsonL3With("\"ipv4\": {\"address\": {}}"),
        {{"l3{a}/ipv4", "3:9:{"},
         {"/config/interface", "1:41:{"},
         {"/config", "1:27:{"}}},
       {"NodesOfOneNameAreToldApart",
        JsonL3With("\"vrf\": \"x\"},\n{\"vrf\": \"y\", "
                   "\"name\": \"b\"}],\n\"ipapp:loopback\": "
                   "[{\"name\": \"a\", \"vrf\": \"z\""),
        {{"l3{a}/vrf", "3:8:\"x\""},
         {"l3{b}/vrf", "4:9:\"y\""},
         {"l3{b}", "4:22:\"b\""},
         {"loopback{a}/vrf", "5:41:\"z\""}}},
       {"AKeyIsFoundBehindItsEscapes",
        JsonL3With("\"vrf\": \"x\"}], \"ipapp:mgmt\": [\n"
                   "{\"name\": \"a\\\"b\\\\\", "
                   "\"vrf\": \"\\\"}\"},\n"
                   "{\"name\": \"\\u00fc\", \"vr\\u0066\": \"x\""),
        {{"mgmt{\"a\\\"b\\\\\"}/vrf", "4:27:\"\\\"}\""},
         {"mgmt{\xc3\xbc}/vrf", "5:32:\"x\""}}},
       {"AKeyIsFoundInAnyOfItsForms",
        JsonL3With("\"ipv6\": {\"address\": [\n"
                   "{\"ip\": \"2001:DB8:0::1/64\"},\n"
                   "{\"ip\": \"2001:db8::2/64\"}]}"),
        {{"l3{a}/ipv6/address{2001:db8::1/64}", "4:8:\"2001:DB8:0::1/64\""},
         {"l3{a}/ipv6/address{2001:db8::2/64}/ip", "5:8:\"2001:db8::2/64\""}}},
       {"WhatTheTextDoesNotHaveHasNoPlace",
        JsonL3With("\"vrf\": \"red\""),
        {{"l3{a}/enabled", ""},  // a default
         {"/internal/vrf-config", ""}}},
       // At the end of a line, at a comma, at a bracket, at a blank.
       {"NumbersEndWhereTheyEnd",
        JsonL3With("\"mtu\": 1500\n,\"lower-layer-if\": {\"vlan\":70},\n"
                   "\"ipv6\": {\"nd\": {\"ra\": {\"max-interval\": 600 ,\n"
                   "\"min-interval\":200,\"lifetime\":\n1800}}}"),
        {{"l3{a}/mtu", "3:8:1500"},
         {"l3{a}/lower-layer-if/vlan", "4:28:70"},
         {"l3{a}/ipv6/nd/ra/max-interval", "5:40:600"},
         {"l3{a}/ipv6/nd/ra/min-interval", "6:16:200"},
         {"l3{a}/ipv6/nd/ra/lifetime", "7:1:1800"}}},
       {"WordsAreValues",
        JsonL3With("\"enabled\": false"),
        {{"l3{a}/enabled", "3:12:false"}}},
       {"AnEmptyModuleIsThatOfTheNodeAround",
        JsonL3With("\":ipv4\": {\"address\": {\n\":ip\": \"10.1.1.1/24\"}}"),
        {{"l3{a}/ipv4/address/ip", "4:8:\"10.1.1.1/24\""}}},
       {"ArraysMayStandInObjectsOfArrays",
        JsonL3With("\"ipv4\": {\"address\": {\"secondary\": [ {\"ip\": "
                   "\"10.0.0.1/24\"},\n  {\"ip\": \"10.0.0.2/24\"}\n]}},\n"
                   "\"ipv6\": {\"address\": [{\"ip\": \"2001:DB8::1/64\"}]},\n"
                   "\"vrf\": \"red\""),
        {{"l3{a}/ipv4/address/secondary{10.0.0.2/24}/ip",
          "4:10:\"10.0.0.2/24\""},
         {"l3{a}/ipv6/address{2001:db8::1/64}", "6:29:\"2001:DB8::1/64\""},
         {"l3{a}/vrf", "7:8:\"red\""}}},
       {"KeysThatAreNumbersAreFound",
        "{\"DC-RTM-MIB:rtmStaticRtEntry-global\": [\n"
        "{\"rtmStaticRtFteIndex\": 7, \"rtmStaticRtDest\": \"0A:00\",\n"
        "\"rtmStaticRtDestPfxLen\": 8, \"rtmStaticRtNextHop\": \"01\",\n"
        "\"interface-name\": \"l3-a\"}]}",
        {{"/rtmStaticRtEntry-global{7 0a:00 8 01}", "2:25:7"},
         {"/rtmStaticRtEntry-global{7 0a:00 8 01}/interface-name",
          "4:19:\"l3-a\""}}},
       {"KeysThatAreNumbersAreFoundInAnyForm",
        "{\"vorplex-internal:internal\": {\"vrf-config\": "
        "{\"indexTOstring\": [\n{\"index\": 7e1, \"vname\": \"a\"},\n"
        "{\"index\": 80, \"vname\": \"b\"}]}}}",
        {{"/internal/vrf-config/indexTOstring{70}", "2:11:7e1"},
         {"/internal/vrf-config/indexTOstring{80}", "3:11:80"}}},
       {"MetadataIsPassedOver",
        JsonL3With("\"@\": {\"yang:insert\": \"last\"},\n\"vrf\": \"red\""),
        {{"l3{a}/vrf", "4:8:\"red\""}}},
       {"LinesColumnsAndByteOrderMarksAreThoseOfCharacters",
        "\xef\xbb\xbf\r\n{\"vorplex-config:config\": {\"interface\": {\r\n"
        "\t\"ipapp:l3\": [{\"name\": \"a\", \"description\": "
        "\"\xc3\xbc\xf0\x9f\x98\x80\", \"vrf\": \"red\"}]}}}\r\n",
        {{"l3{a}/description", "3:44:\"\xc3\xbc\xf0\x9f\x98\x80\""},
         {"l3{a}/vrf", "3:57:\"red\""}}}});
}

TEST(SourceText, HasNoPlaceOfNoNode) {
  EXPECT_EQ(SourceText(datastore::CheckText("text", "{}")).MarkOf(nullptr),
            std::nullopt);
}

TEST(SourceText, ShowsTheLineOfAPlaceWhole) {
  EXPECT_EQ(Written(L3With("  <ipv4><address>\n    <ip>10.1.1.1/24</ip>"
                           "</address></ipv4>"))
                .MarkOf("l3{a}/ipv4/address/ip")
                ->source_line,
            "    <ip>10.1.1.1/24</ip></address></ipv4>");
  EXPECT_EQ(Written(L3With("\r\n<vrf>red</vrf>\r\n"))
                .MarkOf("l3{a}/vrf")
                ->source_line,
            "<vrf>red</vrf>");
}

// --- Long lines

struct Format {
  const char* name;
  void (*read)(std::string_view, std::size_t, SourceTree*);
  // Interfaces on one line: what is around the name and the VRF of each.
  std::string begin;
  std::string before_name;
  std::string before_vrf;
  std::string behind_vrf;
  std::string separator;
  std::string end;
  std::string quote;  // that is part of the mark
  std::vector<std::string> broken;
  std::string cut_off;  // behind a first node, of the value 1
};

void PrintTo(const Format& format, std::ostream* out) { *out << format.name; }

class FormatTest : public ::testing::TestWithParam<Format> {};

INSTANTIATE_TEST_SUITE_P(
    All, FormatTest,
    ::testing::Values(
        Format{"Xml",
               ReadXml,
               R"(<config xmlns="urn:vorplex:config"><interface>)",
               R"(<l3 xmlns="urn:vorplex:ipapp"><name>)",
               "</name><vrf>",
               "</vrf></l3>",
               "",
               "</interface></config>",
               "",
               {"<", "<a", "<a><b", "</a>", "<a></b>",
                "<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>", "<a>&b;</a>",
                "<a x='1' x='2'/>", "<p:a/>", "<a>]]></a>", "<?xml",
                "<?xml?><?xml?><a/>", "<a/></data><b/>", "\xff\xfe<"},
               "<a>1</a><b"},
        Format{"Json",
               ReadJson,
               R"({"vorplex-config:config":{"interface":{"ipapp:l3":[)",
               R"({"name":")",
               R"(","vrf":")",
               R"("})",
               ",",
               "]}}}",
               "\"",
               {"{", "[", "[1]", "{\"", "{\"a", "{\"a\\",
                "{\"a\":", "{\"a\":[[[1]]]", "1", "{}}", "\"\\", "{\"a\":1e9"},
               "{\"a:b\": 1, \"c"}),
    [](const auto& format) { return std::string(format.param.name); });

TEST_P(FormatTest, ATextOnOneLineIsShownAroundThePlace) {
  const Format& format = GetParam();
  std::string text = format.begin;
  for (int i = 0; i < 1000; ++i) {
    const std::string number = std::to_string(i);
    text += (i == 0 ? "" : format.separator) + format.before_name + "if" +
            number + format.before_vrf + "v" + number + format.behind_vrf;
  }
  const Written written(text + format.end);
  const Mark mark = *written.MarkOf("l3{if777}/vrf");
  EXPECT_EQ(mark.line, 1U);
  EXPECT_EQ(MarkedIn(mark), format.quote + "v777" + format.quote);
  EXPECT_LT(mark.source_line.size(), 2000U);
}

TEST_P(FormatTest, ABrokenTextHasThePlacesInFrontOfTheFault) {
  for (const std::string& text : GetParam().broken) {
    SourceTree tree;
    GetParam().read(text, 0, &tree);  // and reads nothing outside of it
  }
  SourceTree tree;
  GetParam().read(GetParam().cut_off, 0, &tree);
  const SourceTree::Node first = tree[SourceTree::kRoot].first_child;
  ASSERT_NE(first, SourceTree::kNone);
  EXPECT_EQ(tree.ValueOf(first), "1");
  EXPECT_EQ(tree[first].next, SourceTree::kNone);
}

TEST(SourceText, ALongLineIsShownAroundThePlace) {
  const std::string padding(5000, 'x');
  const Written text(L3With("<description>" + padding +
                            "\xc3\xbc</description>"
                            "<vrf>red</vrf><!--" +
                            padding + "-->"));
  const Mark mark = *text.MarkOf("l3{a}/vrf");
  EXPECT_EQ(mark.line, 3U);
  EXPECT_EQ(mark.column, 5034U);
  EXPECT_LT(mark.source_line.size(), 2000U);
  EXPECT_EQ(MarkedIn(mark), "red");
}

TEST(SourceText, EntitiesOfADocumentTypeAreNotExpanded) {
  SourceTree tree;
  ReadXml("<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>", 0, &tree);
  EXPECT_EQ(tree[SourceTree::kRoot].first_child, SourceTree::kNone);
}

std::string ManyInterfaces(int count) {
  std::string text = "<config xmlns=\"urn:vorplex:config\"><interface>\n";
  for (int i = 0; i < count; ++i) {
    const std::string name = "if" + std::to_string(i);
    text += "  <l3 xmlns=\"urn:vorplex:ipapp\">\n    <name>" + name +
            "</name>\n    <vrf>v-" + name + "</vrf>\n  </l3>\n";
  }
  return text + "</interface></config>";
}

TEST(SourceText, TenThousandInterfacesAreFoundAtOnce) {
  constexpr int kCount = 10000;
  const Written text(ManyInterfaces(kCount));
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < kCount; ++i) {
    const std::string name = "if" + std::to_string(i);
    ASSERT_EQ(text.Place("l3{" + name + "}/vrf"),
              std::to_string(4 * i + 4) + ":10:v-" + name);
  }
  // A walk to each takes the square: minutes. This takes a tenth of a second.
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

TEST(SourceText, OneLineOfTenThousandInterfacesIsCountedOnce) {
  constexpr int kCount = 10000;
  std::string one_line = ManyInterfaces(kCount);
  for (char& c : one_line) c = c == '\n' ? ' ' : c;
  const Written text(one_line);
  for (int i = 0; i < kCount; ++i) {
    const std::string name = "if" + std::to_string(i);
    const auto mark = text.MarkOf("l3{" + name + "}/vrf");
    ASSERT_TRUE(mark.has_value());
    ASSERT_EQ(MarkedIn(*mark), "v-" + name);
    ASSERT_EQ(one_line.compare(mark->column - 1, mark->length, "v-" + name), 0);
  }
}

}  // namespace

}  // namespace ipav::source
