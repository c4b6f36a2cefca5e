// Places of nodes in XML texts.

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "host/source/source_tree.h"
#include "tests/host/source_fixtures.h"

namespace ipav::source {

namespace {

using host_test::Written;

Written Interface(const std::string& inner) {
  return Written(host_test::XmlInterface(inner));
}

TEST(SourceXmlTest, TheLineOfAPlaceIsShownWhole) {
  const Written text =
      Interface("  <ipv4><address>\n    <ip>10.1.1.1/24</ip></address></ipv4>");
  EXPECT_EQ(text.MarkOf("/config/interface/l3{a}/ipv4/address/ip")->source_line,
            "    <ip>10.1.1.1/24</ip></address></ipv4></l3></interface>"
            "</config>");
}

TEST(SourceXmlTest, AnEntryWhoseKeyComesLastIsMarkedThere) {
  const Written text(
      "<config xmlns=\"urn:vorplex:config\"><interface>\n"
      "<l3 xmlns=\"urn:vorplex:ipapp\"><vrf>red</vrf>\n"
      "<name>a</name></l3></interface></config>");
  EXPECT_EQ(text.Place("/config/interface/l3{a}"), "3:7:a");
}

TEST(SourceXmlTest, AnEmptyValueIsMarkedAtItsTag) {
  EXPECT_EQ(Interface("<vrf></vrf>").Place("/config/interface/l3{a}/vrf"),
            "3:1:<vrf>");
  EXPECT_EQ(Interface("<vrf/>").Place("/config/interface/l3{a}/vrf"),
            "3:1:<vrf/>");
  EXPECT_EQ(Interface("<vrf > </vrf >").Place("/config/interface/l3{a}/vrf"),
            "3:7: ");
}

TEST(SourceXmlTest, AttributesMayHaveAnglesAndStandOnMoreLines) {
  const Written text(
      "<config xmlns=\"urn:vorplex:config\"\n  xmlns:x='urn:a>b'>"
      "<interface><l3 xmlns =\n \"urn:vorplex:ipapp\" ><name\n>a</name>"
      "<vrf  xmlns:y=\">&lt;>\" >red</vrf></l3></interface></config>");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/name"), "4:2:a");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/vrf"), "4:34:red");
}

TEST(SourceXmlTest, PrefixesAreNamesOfNamespaces) {
  const Written text(
      "<v:config xmlns:v=\"urn:vorplex:config\" "
      "xmlns:l3=\"urn:vorplex:ipapp\">\n<v:interface>\n"
      "<l3:l3><l3:name>a</l3:name>\n<l3:vrf>red</l3:vrf></l3:l3>\n"
      "</v:interface></v:config>");
  EXPECT_EQ(text.Place("/config/interface/l3{a}"), "3:17:a");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/vrf"), "4:9:red");
}

TEST(SourceXmlTest, SeveralElementsMayStandAtTheTop) {
  const Written text(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- one -->\n"
      "<config xmlns=\"urn:vorplex:config\"/>\n"
      "<rtmStaticRtEntry-global xmlns=\"urn:vorplex:dc-rtm-mib\">"
      "<rtmStaticRtFteIndex>0</rtmStaticRtFteIndex>"
      "<rtmStaticRtDest>0A:00</rtmStaticRtDest>\n"
      "<rtmStaticRtDestPfxLen>8</rtmStaticRtDestPfxLen>"
      "<rtmStaticRtNextHop>01</rtmStaticRtNextHop>\n"
      "<interface-name>l3-a</interface-name></rtmStaticRtEntry-global>");
  EXPECT_EQ(text.Place("/rtmStaticRtEntry-global{0 0a:00 8 01}/interface-name"),
            "6:17:l3-a");
  EXPECT_EQ(
      text.Place("/rtmStaticRtEntry-global{0 0a:00 8 01}/rtmStaticRtDest"),
      "4:118:0A:00");
}

TEST(SourceXmlTest, CdataAndCommentsAreNoPartOfAValue) {
  EXPECT_EQ(Interface("<vrf><![CDATA[r<e>d]]></vrf>")
                .Place("/config/interface/l3{a}/vrf"),
            "3:15:r<e>d");
  EXPECT_EQ(Interface("<!-- <vrf>x</vrf> --><vrf>red</vrf><!-- > -->")
                .Place("/config/interface/l3{a}/vrf"),
            "3:27:red");
  EXPECT_EQ(Interface("<lower-layer-if><vlan> \n 7 </vlan></lower-layer-if>")
                .Place("/config/interface/l3{a}/lower-layer-if/vlan"),
            "4:2:7");
}

TEST(SourceXmlTest, LinesMayEndInCarriageReturns) {
  const Written text(
      "<config xmlns=\"urn:vorplex:config\"><interface>\r\n"
      "<l3 xmlns=\"urn:vorplex:ipapp\">\r\n<name>a</name>\r\n"
      "<vrf>red</vrf>\r\n</l3></interface></config>\r\n");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/vrf"), "4:6:red");
  EXPECT_EQ(text.MarkOf("/config/interface/l3{a}/vrf")->source_line,
            "<vrf>red</vrf>");
}

TEST(SourceXmlTest, ColumnsCountCharacters) {
  // A tab is one character, and so is each letter however many bytes it has.
  const Written text = Interface(
      "\t\t<vrf>red</vrf>\n"
      "<description>\xc3\xbc\xe2\x82\xac\xf0\x9f\x98\x80</description>"
      "<enabled>true</enabled>");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/vrf"), "3:8:red");
  EXPECT_EQ(text.MarkOf("/config/interface/l3{a}/description")->length, 3U);
  EXPECT_EQ(text.Place("/config/interface/l3{a}/enabled"), "4:40:true");
}

TEST(SourceXmlTest, AByteOrderMarkIsNoCharacter) {
  const Written text("\xef\xbb\xbf" + host_test::XmlInterface(""));
  EXPECT_EQ(text.Place("/config"), "1:1:<config xmlns=\"urn:vorplex:config\">");
  const Written behind_blanks("\xef\xbb\xbf \n\n" +
                              host_test::XmlInterface(""));
  EXPECT_EQ(behind_blanks.Place("/config/interface/l3{a}"), "4:37:a");
}

TEST(SourceXmlTest, AValueOfMoreLinesIsMarkedToTheEndOfItsFirst) {
  const Written text = Interface("<description>one\ntwo</description>");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/description"), "3:14:one");
}

TEST(SourceXmlTest, ALongLineIsShownAroundThePlace) {
  const std::string padding(5000, 'x');
  const Written text = Interface("<description>" + padding +
                                 "\xc3\xbc</description>"
                                 "<vrf>red</vrf><!--" +
                                 padding + "-->");
  const Mark mark = *text.MarkOf("/config/interface/l3{a}/vrf");
  EXPECT_EQ(mark.line, 3U);
  EXPECT_EQ(mark.column, 5034U);
  EXPECT_LT(mark.source_line.size(), 2000U);
  EXPECT_EQ(Written::MarkedIn(mark), "red");
}

TEST(SourceXmlTest, EntitiesOfADocumentTypeAreNotExpanded) {
  SourceTree tree;
  ReadXml("<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>", 0, &tree);
  EXPECT_EQ(tree.FirstChild(SourceTree::kRoot), SourceTree::kNone);
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

TEST(SourceXmlTest, TenThousandInterfacesAreFoundAtOnce) {
  constexpr int kCount = 10000;
  const Written text(ManyInterfaces(kCount));
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < kCount; ++i) {
    const std::string name = "if" + std::to_string(i);
    ASSERT_EQ(text.Place("/config/interface/l3{" + name + "}/vrf"),
              std::to_string(4 * i + 4) + ":10:v-" + name);
  }
  // A walk to each takes the square: minutes. This takes a tenth of a second.
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

TEST(SourceXmlTest, OneLineOfTenThousandInterfacesIsCountedOnce) {
  constexpr int kCount = 10000;
  std::string one_line = ManyInterfaces(kCount);
  for (char& c : one_line) c = c == '\n' ? ' ' : c;
  const Written text(one_line);
  for (int i = 0; i < kCount; ++i) {
    const std::string name = "if" + std::to_string(i);
    const auto mark = text.MarkOf("/config/interface/l3{" + name + "}/vrf");
    ASSERT_TRUE(mark.has_value());
    ASSERT_EQ(Written::MarkedIn(*mark), "v-" + name);
    ASSERT_EQ(one_line.compare(mark->column - 1, mark->length, "v-" + name), 0);
  }
}

}  // namespace

}  // namespace ipav::source
