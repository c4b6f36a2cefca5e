// Places of nodes in JSON texts.

#include <gtest/gtest.h>

#include <string>

#include "source/source_tree.h"
#include "source_fixtures.h"

namespace ipav::source {

namespace {

using host_test::Written;

// One interface "a" with those members behind its name, which ends line 2.
Written Interface(const std::string& members) {
  return Written(
      "{\"vorplex-config:config\": {\"interface\": {\n"
      "\"ipapp:l3\": [{\"name\": \"a\",\n" +
      members + "}]}}}\n");
}

TEST(SourceJsonTest, ALeafIsMarkedAtItsValue) {
  const Written text =
      Interface("  \"ipv4\": {\"address\": {\n    \"ip\": \"10.1.1.1/24\"}}");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/ipv4/address/ip"),
            "4:11:\"10.1.1.1/24\"");
}

TEST(SourceJsonTest, AnEntryIsMarkedAtItsFirstKeyAndAContainerAtItsBrace) {
  const Written text = Interface("\"vrf\": \"red\"");
  EXPECT_EQ(text.Place("/config/interface/l3{a}"), "2:23:\"a\"");
  EXPECT_EQ(text.Place("/config/interface"), "1:41:{");
  EXPECT_EQ(text.Place("/config"), "1:27:{");
}

TEST(SourceJsonTest, NumbersEndWhereTheyEnd) {
  // At a line's end, at a comma, at a bracket, at a blank.
  const Written text = Interface(
      "\"mtu\": 1500\n,\"lower-layer-if\": {\"vlan\":-7},\n"
      "\"ipv6\": {\"nd\": {\"ra\": {\"max-interval\": 600 ,\n"
      "\"min-interval\":200,\"lifetime\":\n1800}}}");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/mtu"), "3:8:1500");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/lower-layer-if/vlan"),
            "4:28:-7");
  const std::string ra = "/config/interface/l3{a}/ipv6/nd/ra/";
  EXPECT_EQ(text.Place(ra + "max-interval"), "5:40:600");
  EXPECT_EQ(text.Place(ra + "min-interval"), "6:16:200");
  EXPECT_EQ(text.Place(ra + "lifetime"), "7:1:1800");
}

TEST(SourceJsonTest, WordsAreValues) {
  EXPECT_EQ(
      Interface("\"enabled\": false").Place("/config/interface/l3{a}/enabled"),
      "3:12:false");
}

TEST(SourceJsonTest, KeysAndNamesAreFoundBehindTheirEscapes) {
  const Written text(
      "{\"vorplex-config\\u003aconfig\": {\"interface\": {\"ipapp:mgmt\": [\n"
      "{\"name\": \"a\\\"b\\\\\", \"vrf\": \"\\\"}\"},\n"
      "{\"name\": \"\\u00fc\", \"vr\\u0066\": \"x\"}]}}}");
  EXPECT_EQ(text.Place("/config/interface/mgmt{\"a\\\"b\\\\\"}/vrf"),
            "2:27:\"\\\"}\"");
  EXPECT_EQ(text.Place("/config/interface/mgmt{\xc3\xbc}/vrf"), "3:32:\"x\"");
}

TEST(SourceJsonTest, MembersOfOneNameBelongToTheirOwnEntry) {
  const Written text(
      "{\"vorplex-config:config\": {\"interface\": {\"ipapp:l3\": [\n"
      "{\"name\": \"a\", \"vrf\": \"x\"}, {\"vrf\": \"y\", \"name\": \"b\"}],\n"
      "\"ipapp:loopback\": [{\"name\": \"a\", \"vrf\": \"z\"}]}}}");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/vrf"), "2:22:\"x\"");
  EXPECT_EQ(text.Place("/config/interface/l3{b}/vrf"), "2:36:\"y\"");
  EXPECT_EQ(text.Place("/config/interface/l3{b}"), "2:49:\"b\"");
  EXPECT_EQ(text.Place("/config/interface/loopback{a}/vrf"), "3:41:\"z\"");
}

TEST(SourceJsonTest, ArraysMayStandInObjectsOfArrays) {
  const Written text = Interface(
      "\"ipv4\": {\"address\": {\"secondary\": [ {\"ip\": \"10.0.0.1/24\"},\n"
      "  {\"ip\": \"10.0.0.2/24\"}\n]}},\n"
      "\"ipv6\": {\"address\": [{\"ip\": \"2001:DB8::1/64\"}]},\n"
      "\"vrf\": \"red\"");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/ipv4/address/"
                       "secondary{10.0.0.2/24}/ip"),
            "4:10:\"10.0.0.2/24\"");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/ipv6/address{2001:db8::1/64}"),
            "6:29:\"2001:DB8::1/64\"");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/vrf"), "7:8:\"red\"");
}

TEST(SourceJsonTest, KeysThatAreNumbersAreFound) {
  const Written text(
      "{\"DC-RTM-MIB:rtmStaticRtEntry-global\": [\n"
      "{\"rtmStaticRtFteIndex\": 7, \"rtmStaticRtDest\": \"0A:00\",\n"
      "\"rtmStaticRtDestPfxLen\": 8, \"rtmStaticRtNextHop\": \"01\",\n"
      "\"interface-name\": \"l3-a\"}]}");
  EXPECT_EQ(text.Place("/rtmStaticRtEntry-global{7 0a:00 8 01}"), "2:25:7");
  EXPECT_EQ(text.Place("/rtmStaticRtEntry-global{7 0a:00 8 01}/interface-name"),
            "4:19:\"l3-a\"");
}

TEST(SourceJsonTest, KeysThatAreNumbersAreFoundInAnyForm) {
  const Written text(
      "{\"vorplex-internal:internal\": {\"vrf-config\": {\"indexTOstring\": [\n"
      "{\"index\": 7e1, \"vname\": \"a\"},\n"
      "{\"index\": 80, \"vname\": \"b\"}]}}}");
  EXPECT_EQ(text.Place("/internal/vrf-config/indexTOstring{70}"), "2:11:7e1");
  EXPECT_EQ(text.Place("/internal/vrf-config/indexTOstring{80}"), "3:11:80");
}

TEST(SourceJsonTest, MetadataIsPassedOver) {
  const Written text = Interface(
      "\"@\": {\"yang:insert\": \"last\"},\n"
      "\"vrf\": \"red\"");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/vrf"), "4:8:\"red\"");
}

TEST(SourceJsonTest, LinesColumnsAndByteOrderMarksAreThoseOfCharacters) {
  const Written text(
      "\xef\xbb\xbf\r\n{\"vorplex-config:config\": {\"interface\": {\r\n"
      "\t\"ipapp:l3\": [{\"name\": \"a\", \"description\": "
      "\"\xc3\xbc\xf0\x9f\x98\x80\", \"vrf\": \"red\"}]}}}\r\n");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/vrf"), "3:57:\"red\"");
  EXPECT_EQ(text.MarkOf("/config/interface/l3{a}/description")->length, 4U);
}

TEST(SourceJsonTest, ATextOnOneLineIsShownAroundThePlace) {
  std::string entries;
  for (int i = 0; i < 1000; ++i) {
    entries += (i == 0 ? "" : ",") + std::string("{\"name\":\"if") +
               std::to_string(i) + "\",\"vrf\":\"v" + std::to_string(i) + "\"}";
  }
  const Written text(
      "{\"vorplex-config:config\":{\"interface\":{\"ipapp:l3\":[" + entries +
      "]}}}");
  const Mark mark = *text.MarkOf("/config/interface/l3{if777}/vrf");
  EXPECT_EQ(mark.line, 1U);
  EXPECT_EQ(Written::MarkedIn(mark), "\"v777\"");
  EXPECT_LT(mark.source_line.size(), 2000U);
}

TEST(SourceJsonTest, WhatTheTextDoesNotHaveHasNoPlace) {
  const Written text = Interface("\"vrf\": \"red\"");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/enabled"), "");  // a default
  EXPECT_EQ(text.Place("/internal/vrf-config"), "");
}

TEST(SourceJsonTest, ATextThatIsNoJsonHasThePlacesInFrontOfTheFault) {
  for (const char* text :
       {"{", "[", "[1]", "{\"", "{\"a", "{\"a\\", "{\"a\":", "{\"a\":[[[1]]]",
        "1", "{}}", "\"\\", "{\"a\":1e9"}) {
    SourceTree tree;
    ReadJson(text, 0, &tree);  // and reads nothing outside of it
  }
  SourceTree tree;
  ReadJson("{\"a:b\": 1, \"c", 0, &tree);
  const SourceTree::Node first = tree.FirstChild(SourceTree::kRoot);
  ASSERT_NE(first, SourceTree::kNone);
  EXPECT_EQ(tree.ValueOf(first), "1");
  EXPECT_EQ(tree.Next(first), SourceTree::kNone);
}

}  // namespace

}  // namespace ipav::source
