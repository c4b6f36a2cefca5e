// Places of nodes in XML texts.

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "source/source_tree.h"
#include "source_fixtures.h"

namespace ipav::source {

namespace {

using host_test::Written;

constexpr char kOpen[] =
    "<config xmlns=\"urn:vorplex:config\"><interface>\n"
    "<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name>\n";
constexpr char kClose[] = "</l3></interface></config>\n";

// One interface "a", whose name ends line 2, with that inside.
Written Interface(const std::string& inner) {
  return Written(kOpen + inner + kClose);
}

constexpr char kIp[] = "/config/interface/l3{a}/ipv4/address/ip";

TEST(SourceXmlTest, ALeafIsMarkedAtItsValue) {
  const Written text =
      Interface("  <ipv4><address>\n    <ip>10.1.1.1/24</ip></address></ipv4>");
  EXPECT_EQ(text.Place(kIp), "4:9:10.1.1.1/24");
  EXPECT_EQ(text.MarkOf(kIp)->source_line,
            "    <ip>10.1.1.1/24</ip></address></ipv4></l3></interface>"
            "</config>");
}

TEST(SourceXmlTest, AnEntryIsMarkedAtItsFirstKeyAndAContainerAtItsTag) {
  const Written text = Interface(
      "<ipv4><address><ip>10.1.1.1/24</ip>"
      "</address></ipv4>");
  EXPECT_EQ(text.Place("/config/interface/l3{a}"), "2:37:a");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/ipv4"), "3:1:<ipv4>");
  EXPECT_EQ(text.Place("/config/interface"), "1:36:<interface>");
  EXPECT_EQ(text.Place("/config"), "1:1:<config xmlns=\"urn:vorplex:config\">");
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

TEST(SourceXmlTest, AKeyIsFoundBehindItsEscapes) {
  const Written text(
      "<config xmlns=\"urn:vorplex:config\"><interface>"
      "<mgmt xmlns=\"urn:vorplex:ipapp\"><name>a&amp;b&#x20;c</name></mgmt>\n"
      "<mgmt xmlns=\"urn:vorplex:ipapp\"><name><![CDATA[<c>]]></name></mgmt>"
      "</interface></config>");
  EXPECT_EQ(text.Place("/config/interface/mgmt{\"a&b c\"}"),
            "1:85:a&amp;b&#x20;c");
  EXPECT_EQ(text.Place("/config/interface/mgmt{<c>}"), "2:48:<c>");
}

TEST(SourceXmlTest, AKeyIsFoundInAnyOfItsForms) {
  const Written text = Interface(
      "<ipv6><address><ip>2001:DB8:0::1/64</ip></address>"
      "<address><ip>2001:db8::2/64</ip></address></ipv6>");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/ipv6/address{2001:db8::1/64}"),
            "3:20:2001:DB8:0::1/64");
  EXPECT_EQ(
      text.Place("/config/interface/l3{a}/ipv6/address{2001:db8::2/64}/ip"),
      "3:64:2001:db8::2/64");
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
  const Written text(std::string("\xef\xbb\xbf") + kOpen + kClose);
  EXPECT_EQ(text.Place("/config"), "1:1:<config xmlns=\"urn:vorplex:config\">");
  const Written behind_blanks(std::string("\xef\xbb\xbf \n\n") + kOpen +
                              kClose);
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

TEST(SourceXmlTest, WhatTheTextDoesNotHaveHasNoPlace) {
  const Written text = Interface("");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/enabled"), "");  // a default
  EXPECT_EQ(text.Place("/internal/vrf-config"), "");
  EXPECT_EQ(text.source().MarkOf(nullptr), std::nullopt);
}

TEST(SourceXmlTest, EveryNodeOfOneNameIsToldFromTheOthers) {
  const Written text(
      "<config xmlns=\"urn:vorplex:config\"><interface>\n"
      "<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name><vrf>x</vrf></l3>\n"
      "<loopback xmlns=\"urn:vorplex:ipapp\"><name>a</name><vrf>y</vrf>"
      "</loopback>\n"
      "<l3 xmlns=\"urn:vorplex:ipapp\"><name>b</name><vrf>z</vrf></l3>\n"
      "</interface></config>");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/vrf"), "2:50:x");
  EXPECT_EQ(text.Place("/config/interface/loopback{a}/vrf"), "3:56:y");
  EXPECT_EQ(text.Place("/config/interface/l3{b}/vrf"), "4:50:z");
}

TEST(SourceXmlTest, ATextThatIsNoXmlHasThePlacesInFrontOfTheFault) {
  for (const char* text :
       {"<", "<a", "<a><b", "</a>", "<a></b>",
        "<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>", "<a>&b;</a>",
        "<a x='1' x='2'/>", "<p:a/>", "<a>]]></a>", "<?xml",
        "<?xml?><?xml?><a/>", "<a/></data><b/>", "\xff\xfe<\0a"}) {
    SourceTree tree;
    ReadXml(text, 0, &tree);  // and reads nothing outside of it
  }
  SourceTree tree;
  ReadXml("<a>1</a><b", 0, &tree);
  const SourceTree::Node first = tree.FirstChild(SourceTree::kRoot);
  ASSERT_NE(first, SourceTree::kNone);
  EXPECT_EQ(tree.ValueOf(first), "1");
  EXPECT_EQ(tree.Next(first), SourceTree::kNone);
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
