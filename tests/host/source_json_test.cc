// Places of nodes in JSON texts.

#include <gtest/gtest.h>

#include <string>

#include "host/source/source_tree.h"
#include "tests/host/source_fixtures.h"

namespace ipav::source {

namespace {

using host_test::Written;

Written Interface(const std::string& members) {
  return Written(host_test::JsonInterface(members));
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

TEST(SourceJsonTest, AnEmptyModuleIsThatOfTheNodeAround) {
  const Written text =
      Interface("\":ipv4\": {\"address\": {\n\":ip\": \"10.1.1.1/24\"}}");
  EXPECT_EQ(text.Place("/config/interface/l3{a}/ipv4/address/ip"),
            "4:8:\"10.1.1.1/24\"");
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

}  // namespace

}  // namespace ipav::source
