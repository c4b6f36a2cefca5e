#include "host/confd/value.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/datastore/input_error.h"
#include "tests/host/fixtures.h"

namespace {

using host_test::CodeOf;
using host_test::NodeAt;
using host_test::ProjectModel;
using host_test::ProjectTree;
using host_test::SchemaAt;
using host_test::TestModel;
using ipav::confd::Keypath;
using ipav::confd::KeypathOf;
using ipav::confd::OwnedValue;
using ipav::confd::ValueOf;
using ipav::datastore::DataTree;
using ipav::datastore::InputError;

// The value of a leaf of that type and text.
OwnedValue ValueOfType(const std::string& type, const std::string& text) {
  const TestModel model("leaf v { type " + type +
                        " } leaf t { type uint8; } "
                        "leaf h { type tailf:hex-list; }");
  const DataTree tree =
      model.Tree("<t NS>7</t><h NS>0a:ff</h><v NS>" + text + "</v>");
  return ValueOf(*NodeAt(tree, "/v"));
}

std::string Bytes(const confd_buf_t& buffer) {
  EXPECT_NE(buffer.ptr, nullptr);
  return {reinterpret_cast<const char*>(buffer.ptr), buffer.size};
}

std::string Text(int family, const void* address) {
  char text[INET6_ADDRSTRLEN];
  return inet_ntop(family, address, text, sizeof(text));
}

// The value of its type; octets are not made readable.
std::string Shown(const confd_value_t& value) {
  const auto& val = value.val;
  switch (value.type) {
    case C_INT8:
      return std::to_string(val.i8);
    case C_INT16:
      return std::to_string(val.i16);
    case C_INT32:
      return std::to_string(val.i32);
    case C_INT64:
      return std::to_string(val.i64);
    case C_UINT8:
      return std::to_string(val.u8);
    case C_UINT16:
      return std::to_string(val.u16);
    case C_UINT32:
      return std::to_string(val.u32);
    case C_UINT64:
      return std::to_string(val.u64);
    case C_BOOL:
      return std::to_string(val.boolean);
    case C_ENUM_VALUE:
      return std::to_string(val.enumvalue);
    case C_IPV4:
      return Text(AF_INET, &val.ip);
    case C_IPV6:
      return Text(AF_INET6, &val.ip6);
    case C_IPV4_AND_PLEN:
      return Text(AF_INET, &val.ipv4prefix.ip) + "/" +
             std::to_string(val.ipv4prefix.len);
    case C_IPV6_AND_PLEN:
      return Text(AF_INET6, &val.ipv6prefix.ip6) + "/" +
             std::to_string(val.ipv6prefix.len);
    case C_BUF:
    case C_BINARY:
      return Bytes(val.buf);
    default:
      return "";
  }
}

TEST(ValueOf, HasTheTypeAndTheValueOfTheLeaf) {
  const std::string numbers =
      "enumeration { enum a { value -5; } enum b; enum c { value 70000; } }";
  const std::string members =
      "union { type uint8; type inet:ipv4-address; type tailf:hex-list; "
      "type enumeration { enum e { value 3; } } type string; }";
  const std::string nested =
      "union { type union { type uint8; type boolean; } type string; }";
  const std::string ipv4 = "tailf:ipv4-address-and-prefix-length;";
  const std::string ipv6 = "tailf:ipv6-address-and-prefix-length;";
  const struct {
    std::string type;
    std::string text;
    confd_vtype expected_type;
    std::string expected;
  } cases[] = {
      {"int8;", "-128", C_INT8, "-128"},
      {"int16;", "-32768", C_INT16, "-32768"},
      {"int32;", "-2147483648", C_INT32, "-2147483648"},
      {"int64;", "-9223372036854775808", C_INT64, "-9223372036854775808"},
      {"uint8;", "255", C_UINT8, "255"},
      {"uint16;", "65535", C_UINT16, "65535"},
      {"uint32;", "4294967295", C_UINT32, "4294967295"},
      {"uint64;", "18446744073709551615", C_UINT64, "18446744073709551615"},
      {"string;", "a b", C_BUF, "a b"},
      {"string;", "", C_BUF, ""},
      {"boolean;", "true", C_BOOL, "1"},
      {"boolean;", "false", C_BOOL, "0"},
      {numbers, "a", C_ENUM_VALUE, "-5"},
      {numbers, "b", C_ENUM_VALUE, "-4"},
      {numbers, "c", C_ENUM_VALUE, "70000"},
      // A union is its innermost member.
      {members, "7", C_UINT8, "7"},
      {members, "10.0.0.1", C_IPV4, "10.0.0.1"},
      {members, "0a:0b", C_BINARY, "\x0a\x0b"},
      {members, "e", C_ENUM_VALUE, "3"},
      {members, "zzz", C_BUF, "zzz"},
      {nested, "true", C_BOOL, "1"},
      {nested, "300", C_BUF, "300"},
      // A leafref is a value of its target.
      {"leafref { path \"/m:t\"; }", "7", C_UINT8, "7"},
      {"leafref { path \"/m:h\"; }", "0a:ff", C_BINARY, "\x0a\xff"},
      {"inet:ipv4-address;", "1.2.3.4", C_IPV4, "1.2.3.4"},
      {"inet:ipv6-address;", "2001:DB8::1", C_IPV6, "2001:db8::1"},
      {"inet:ipv4-address-no-zone;", "0.0.0.1", C_IPV4, "0.0.0.1"},
      {"inet:ipv6-address-no-zone;", "fe80::1", C_IPV6, "fe80::1"},
      {"inet:ip-address-no-zone;", "fe80::1", C_IPV6, "fe80::1"},
      // With their host bits.
      {ipv4, "10.1.1.1/24", C_IPV4_AND_PLEN, "10.1.1.1/24"},
      {ipv4, "0.0.0.0/0", C_IPV4_AND_PLEN, "0.0.0.0/0"},
      {ipv6, "2001:db8::ABCD/64", C_IPV6_AND_PLEN, "2001:db8::abcd/64"},
      {ipv6, "::ffff:10.0.0.1/128", C_IPV6_AND_PLEN, "::ffff:10.0.0.1/128"},
      {"tailf:hex-list;", "0A:00:ff:7f", C_BINARY,
       std::string("\x0a\x00\xff\x7f", 4)},
      {"tailf:hex-list;", "80", C_BINARY, "\x80"},
      {"tailf:hex-list;", "", C_BINARY, ""}};
  for (const auto& [type, text, expected_type, expected] : cases) {
    const OwnedValue value = ValueOfType(type, text);
    EXPECT_EQ(value->type, expected_type) << type << text;
    EXPECT_EQ(Shown(*value), expected) << type << text;
    if (expected_type != C_BUF) continue;
    EXPECT_EQ(value->val.buf.ptr[text.size()], '\0') << text;
  }
}

TEST(ValueOf, AddressWithAZoneIsAnErrorAndNoOtherAddress) {
  EXPECT_NE(CodeOf([] { ValueOfType("inet:ipv6-address;", "fe80::1%eth0"); }),
            0);
}

// A leaf of a prefix type takes a text if inet_pton() takes the address, and if
// the length is in the family's range and has no superfluous character.
void ExpectPrefixTexts(int family, const std::string& type,
                       const std::vector<std::string>& texts) {
  const TestModel model("leaf v { type tailf:" + type + "; }");
  const int longest = family == AF_INET ? 32 : 128;
  std::set<std::string> lengths;
  for (int i = 0; i <= longest; ++i) lengths.insert(std::to_string(i));
  for (const std::string& text : texts) {
    const std::size_t slash = std::min(text.find('/'), text.size());
    unsigned char octets[sizeof(in6_addr)];
    const bool is_prefix =
        inet_pton(family, text.substr(0, slash).c_str(), octets) == 1 &&
        slash < text.size() && lengths.count(text.substr(slash + 1)) == 1;
    bool is_taken = true;
    try {
      model.Tree("<v NS>" + text + "</v>");
    } catch (const InputError&) {
      is_taken = false;
    }
    EXPECT_EQ(is_taken, is_prefix) << text;
  }
}

TEST(PrefixTypes, TakeTheIpv4TextsOfTheCLibrary) {
  std::vector<std::string> texts = {
      "",      "/8",          "10.0.0.1",     "10.0.0/8",
      "::1/8", "1.2.3.4.5/8", "0x0a.1.1.1/8", "1.2.3./8"};
  for (const char* octet :
       {"0", "9", "10", "99", "100", "199", "200", "249", "250", "255", "256",
        "260", "300", "00", "010", ""}) {
    texts.push_back(octet + std::string(".0.0.1/8"));
    texts.push_back("10.0.0." + std::string(octet) + "/8");
  }
  for (int i = -1; i <= 40; ++i) {
    texts.push_back("10.0.0.1/" + std::to_string(i));
  }
  for (const char* length : {"", "/8", "+8", "08", "00", "8 ", "x", "320"}) {
    texts.push_back(std::string("10.0.0.1/") + length);
  }
  ExpectPrefixTexts(AF_INET, "ipv4-address-and-prefix-length", texts);
}

// Every number of groups before and after every form of their middle.
TEST(PrefixTypes, TakeTheIpv6TextsOfTheCLibrary) {
  std::vector<std::string> texts = {
      "",           "/64",          "::1",
      "1:::2/64",   "12345::/64",   "::g/64",
      "::1.2.3/64", "::01.2.3.4/8", "fe80::1%eth0/64",
      ":/64",       "::1::/64",     "2001:DB8::/8"};
  for (int before = 0; before <= 9; ++before) {
    for (const char* middle : {"", ":", "::"}) {
      for (int after = 0; after <= 8; ++after) {
        std::string text;
        for (int i = 0; i < before; ++i) text += i == 0 ? "a1" : ":0";
        text += middle;
        for (int i = 0; i < after; ++i) text += i == 0 ? "ffff" : ":1";
        texts.push_back(text + "/64");
        if (after > 0) text += ':';
        texts.push_back(text + "10.0.0.255/64");
      }
    }
  }
  for (int i = -1; i <= 140; ++i) texts.push_back("::1/" + std::to_string(i));
  for (const char* length : {"", "00", "08", "+8", "0128", "999"}) {
    texts.push_back(std::string("::1/") + length);
  }
  ExpectPrefixTexts(AF_INET6, "ipv6-address-and-prefix-length", texts);
}

TEST(ValueOf, TypeThatTheHostDoesNotCarryIsAnError) {
  EXPECT_EQ(
      CodeOf([] { ValueOfType("decimal64 { fraction-digits 2; }", "1.25"); }),
      CONFD_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(CodeOf([] { ValueOfType("bits { bit a; bit b; }", "a b"); }),
            CONFD_ERR_NOT_IMPLEMENTED);
}

TEST(OwnedValue, GivesItsValueAway) {
  OwnedValue owned = ValueOfType("string;", "text");
  confd_value_t value = owned.Release();
  EXPECT_EQ(owned->type, C_NOEXISTS);
  EXPECT_EQ(Shown(value), "text");
  confd_free_value(&value);
}

TEST(OwnedValue, OfAMoveHoldsTheValueAlone) {
  OwnedValue first = ValueOfType("string;", "text");
  const OwnedValue second = std::move(first);
  EXPECT_EQ(Shown(*second), "text");
}

// --- Key paths

DataTree Data() {
  return ProjectTree(
      "<config xmlns=\"urn:vorplex:config\"><interface>"
      "<l3 xmlns=\"urn:vorplex:ipapp\"><name>core</name>"
      "<ipv4><address><secondary><ip>10.0.0.1/8</ip></secondary>"
      "</address></ipv4></l3></interface></config>"
      "<rtmStaticRtEntry-global xmlns=\"urn:vorplex:dc-rtm-mib\">"
      "<rtmStaticRtFteIndex>4</rtmStaticRtFteIndex>"
      "<rtmStaticRtDest>0a:00</rtmStaticRtDest>"
      "<rtmStaticRtDestPfxLen>8</rtmStaticRtDestPfxLen>"
      "<rtmStaticRtNextHop></rtmStaticRtNextHop>"
      "</rtmStaticRtEntry-global>");
}

std::string Key(confd_vtype type, const std::string& text) {
  return "[" + std::to_string(type) + " " + text + "]";
}

// Each row from the first one on: the name of a tag, or the keys.
std::string Rows(const Keypath& keypath) {
  std::string rows;
  for (int i = 0; i < keypath->len; ++i) {
    rows += i == 0 ? "" : " ";
    for (const confd_value_t* v = keypath->v[i]; v->type != C_NOEXISTS; ++v) {
      if (v->type == C_XMLTAG) {
        rows += *ProjectModel().NameOfTag(v->val.xmltag.tag);
      } else {
        rows += Key(v->type, Shown(*v));
      }
    }
  }
  return rows;
}

TEST(KeypathOf, IsLeafFirstWithKeysInFrontOfTheirList) {
  const DataTree tree = Data();
  const Keypath keypath = KeypathOf(
      ProjectModel(), NodeAt(tree,
                             "/config/interface/l3{core}/ipv4/address/"
                             "secondary{10.0.0.1/8}/ip"));
  EXPECT_EQ(Rows(keypath), "ip " + Key(C_IPV4_AND_PLEN, "10.0.0.1/8") +
                               " secondary address ipv4 " + Key(C_BUF, "core") +
                               " l3 interface config");
  EXPECT_EQ(keypath->v[6][0].val.xmltag.tag, 0x213f1a7aU);
}

TEST(KeypathOf, AnEntryStartsWithItsKeys) {
  const DataTree tree = Data();
  EXPECT_EQ(
      Rows(KeypathOf(ProjectModel(), NodeAt(tree, "/rtmStaticRtEntry-global"))),
      Key(C_UINT32, "4") + Key(C_BINARY, std::string("\x0a\x00", 2)) +
          Key(C_INT32, "8") + Key(C_BINARY, "") + " rtmStaticRtEntry-global");
}

TEST(KeypathOf, AWholeListStartsWithItsTag) {
  const DataTree tree = Data();
  EXPECT_EQ(
      Rows(KeypathOf(ProjectModel(), NodeAt(tree, "/config/interface"),
                     SchemaAt(ProjectModel(), "/config/interface/loopback"))),
      "loopback interface config");
  EXPECT_EQ(
      Rows(KeypathOf(ProjectModel(), nullptr,
                     SchemaAt(ProjectModel(), "/rtmStaticRtEntry-global"))),
      "rtmStaticRtEntry-global");
}

// A path of that many nested containers.
int CodeOfDepth(int depth) {
  std::string yang;
  std::string path;
  for (int i = 0; i < depth; ++i) {
    yang += "container c" + std::to_string(i) + " { ";
    path += "/c" + std::to_string(i);
  }
  const TestModel model(yang + std::string(static_cast<size_t>(depth), '}'));
  const DataTree tree = model.Tree("");
  return CodeOf(
      [&] { EXPECT_EQ(KeypathOf(*model, NodeAt(tree, path))->len, depth); });
}

// MAXDEPTH is the longest key path plus one.
TEST(KeypathOf, TooDeepAPathIsAnError) {
  EXPECT_EQ(CodeOfDepth(MAXDEPTH - 1), 0);
  for (const int depth : {MAXDEPTH, MAXDEPTH + 1, 3 * MAXDEPTH}) {
    EXPECT_EQ(CodeOfDepth(depth), CONFD_ERR_BADPATH) << depth;
  }
}

int CodeOfKeyCount(int count) {
  std::string names;
  std::string leaves;
  std::string data;
  for (int i = 0; i < count; ++i) {
    const std::string name = "k" + std::to_string(i);
    names += (i == 0 ? "" : " ") + name;
    leaves += "leaf " + name + " { type string; } ";
    data += "<" + name + ">x</" + name + ">";
  }
  const TestModel model("list l { key \"" + names + "\"; " + leaves + "}");
  const DataTree tree = model.Tree("<l NS>" + data + "</l>");
  return CodeOf([&] {
    const Keypath keypath = KeypathOf(*model, NodeAt(tree, "/l"));
    EXPECT_EQ(keypath->v[0][count].type, C_NOEXISTS);
  });
}

TEST(KeypathOf, TooManyKeysAreAnError) {
  EXPECT_EQ(CodeOfKeyCount(MAXKEYLEN - 1), 0);
  EXPECT_EQ(CodeOfKeyCount(MAXKEYLEN), CONFD_ERR_BADPATH);
  EXPECT_EQ(CodeOfKeyCount(MAXKEYLEN + 1), CONFD_ERR_BADPATH);
}

TEST(KeypathOf, AKeyThatTheHostDoesNotCarryIsAnError) {
  const TestModel model(
      "list l { key \"a b\"; leaf a { type string; } "
      "leaf b { type decimal64 { fraction-digits 1; } } }");
  const DataTree tree = model.Tree("<l NS><a>x</a><b>1.5</b></l>");
  EXPECT_EQ(CodeOf([&] { KeypathOf(*model, NodeAt(tree, "/l")); }),
            CONFD_ERR_NOT_IMPLEMENTED);
}

}  // namespace
