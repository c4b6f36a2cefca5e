// Places of nodes in texts: what is alike in XML and in JSON, each in its own
// words.

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/source/source_tree.h"
#include "tests/host/source_fixtures.h"

namespace ipav::source {

namespace {

using host_test::JsonInterface;
using host_test::Written;
using host_test::XmlInterface;

// --- Places

struct PlacesCase {
  const char* name;
  std::string text;
  // Path of a node, from the interfaces or whole, and "LINE:COLUMN:what is
  // marked".
  std::vector<std::pair<std::string, std::string>> places;
};

void PrintTo(const PlacesCase& places, std::ostream* out) {
  *out << places.name;
}

class PlacesTest : public ::testing::TestWithParam<PlacesCase> {};

std::string NameOf(const ::testing::TestParamInfo<PlacesCase>& places) {
  return places.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Xml, PlacesTest,
    ::testing::Values(
        PlacesCase{"ALeafIsMarkedAtItsValue",
                   XmlInterface("  <ipv4><address>\n    <ip>10.1.1.1/24</ip>"
                                "</address></ipv4>"),
                   {{"l3{a}/ipv4/address/ip", "4:9:10.1.1.1/24"}}},
        PlacesCase{"AnEntryIsMarkedAtItsFirstKey",
                   XmlInterface("<vrf>red</vrf>"),
                   {{"l3{a}", "2:37:a"}}},
        PlacesCase{"AContainerIsMarkedWhereItBegins",
                   XmlInterface("<ipv4><address><ip>10.1.1.1/24</ip></address>"
                                "</ipv4>"),
                   {{"l3{a}/ipv4", "3:1:<ipv4>"},
                    {"/config/interface", "1:36:<interface>"},
                    {"/config", "1:1:<config xmlns=\"urn:vorplex:config\">"}}},
        PlacesCase{"NodesOfOneNameAreToldApart",
                   XmlInterface("<vrf>x</vrf></l3>"
                                "<loopback xmlns=\"urn:vorplex:ipapp\">"
                                "<name>a</name><vrf>y</vrf></loopback>\n"
                                "<l3 xmlns=\"urn:vorplex:ipapp\">"
                                "<name>b</name><vrf>z</vrf>"),
                   {{"l3{a}/vrf", "3:6:x"},
                    {"loopback{a}/vrf", "3:73:y"},
                    {"l3{b}/vrf", "4:50:z"}}},
        PlacesCase{"AKeyIsFoundBehindItsEscapes",
                   XmlInterface("</l3><mgmt xmlns=\"urn:vorplex:ipapp\">"
                                "<name>a&amp;b&#x20;c</name></mgmt>\n"
                                "<mgmt xmlns=\"urn:vorplex:ipapp\">"
                                "<name><![CDATA[<c>]]></name></mgmt>"
                                "<l3 xmlns=\"urn:vorplex:ipapp\">"
                                "<name>b</name>"),
                   {{"mgmt{\"a&b c\"}", "3:44:a&amp;b&#x20;c"},
                    {"mgmt{<c>}", "4:48:<c>"}}},
        PlacesCase{
            "AKeyIsFoundInAnyOfItsForms",
            XmlInterface("<ipv6><address><ip>2001:DB8:0::1/64</ip>"
                         "</address>\n<address><ip>2001:db8::2/64</ip>"
                         "</address></ipv6>"),
            {{"l3{a}/ipv6/address{2001:db8::1/64}", "3:20:2001:DB8:0::1/64"},
             {"l3{a}/ipv6/address{2001:db8::2/64}/ip", "4:14:2001:db8::2/64"}}},
        PlacesCase{"WhatTheTextDoesNotHaveHasNoPlace",
                   XmlInterface(""),
                   {{"l3{a}/enabled", ""},  // a default
                    {"/internal/vrf-config", ""}}}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    Json, PlacesTest,
    ::testing::Values(
        PlacesCase{"ALeafIsMarkedAtItsValue",
                   JsonInterface("  \"ipv4\": {\"address\": {\n"
                                 "    \"ip\": \"10.1.1.1/24\"}}"),
                   {{"l3{a}/ipv4/address/ip", "4:11:\"10.1.1.1/24\""}}},
        PlacesCase{"AnEntryIsMarkedAtItsFirstKey",
                   JsonInterface("\"vrf\": \"red\""),
                   {{"l3{a}", "2:23:\"a\""}}},
        PlacesCase{"AContainerIsMarkedWhereItBegins",
                   JsonInterface("\"ipv4\": {\"address\": {}}"),
                   {{"l3{a}/ipv4", "3:9:{"},
                    {"/config/interface", "1:41:{"},
                    {"/config", "1:27:{"}}},
        PlacesCase{"NodesOfOneNameAreToldApart",
                   JsonInterface("\"vrf\": \"x\"},\n{\"vrf\": \"y\", "
                                 "\"name\": \"b\"}],\n\"ipapp:loopback\": "
                                 "[{\"name\": \"a\", \"vrf\": \"z\""),
                   {{"l3{a}/vrf", "3:8:\"x\""},
                    {"l3{b}/vrf", "4:9:\"y\""},
                    {"l3{b}", "4:22:\"b\""},
                    {"loopback{a}/vrf", "5:41:\"z\""}}},
        PlacesCase{
            "AKeyIsFoundBehindItsEscapes",
            JsonInterface("\"vrf\": \"x\"}], \"ipapp:mgmt\": [\n"
                          "{\"name\": \"a\\\"b\\\\\", "
                          "\"vrf\": \"\\\"}\"},\n"
                          "{\"name\": \"\\u00fc\", \"vr\\u0066\": \"x\""),
            {{"mgmt{\"a\\\"b\\\\\"}/vrf", "4:27:\"\\\"}\""},
             {"mgmt{\xc3\xbc}/vrf", "5:32:\"x\""}}},
        PlacesCase{
            "AKeyIsFoundInAnyOfItsForms",
            JsonInterface("\"ipv6\": {\"address\": [\n"
                          "{\"ip\": \"2001:DB8:0::1/64\"},\n"
                          "{\"ip\": \"2001:db8::2/64\"}]}"),
            {{"l3{a}/ipv6/address{2001:db8::1/64}", "4:8:\"2001:DB8:0::1/64\""},
             {"l3{a}/ipv6/address{2001:db8::2/64}/ip",
              "5:8:\"2001:db8::2/64\""}}},
        PlacesCase{"WhatTheTextDoesNotHaveHasNoPlace",
                   JsonInterface("\"vrf\": \"red\""),
                   {{"l3{a}/enabled", ""},  // a default
                    {"/internal/vrf-config", ""}}}),
    NameOf);

TEST_P(PlacesTest, AreThoseOfTheText) {
  const Written text(GetParam().text);
  for (const auto& [path, place] : GetParam().places) {
    const bool is_whole = path[0] == '/';
    EXPECT_EQ(text.Place(is_whole ? path : "/config/interface/" + path), place)
        << path;
  }
}

TEST(SourceText, HasNoPlaceOfNoNode) {
  const Written text("{}");
  EXPECT_EQ(text.source().MarkOf(nullptr), std::nullopt);
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
  const Mark mark = *written.MarkOf("/config/interface/l3{if777}/vrf");
  EXPECT_EQ(mark.line, 1U);
  EXPECT_EQ(Written::MarkedIn(mark), format.quote + "v777" + format.quote);
  EXPECT_LT(mark.source_line.size(), 2000U);
}

TEST_P(FormatTest, ABrokenTextHasThePlacesInFrontOfTheFault) {
  for (const std::string& text : GetParam().broken) {
    SourceTree tree;
    GetParam().read(text, 0, &tree);  // and reads nothing outside of it
  }
  SourceTree tree;
  GetParam().read(GetParam().cut_off, 0, &tree);
  const SourceTree::Node first = tree.FirstChild(SourceTree::kRoot);
  ASSERT_NE(first, SourceTree::kNone);
  EXPECT_EQ(tree.ValueOf(first), "1");
  EXPECT_EQ(tree.Next(first), SourceTree::kNone);
}

}  // namespace

}  // namespace ipav::source
