#include "host/confd/value.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/confd/confd_error.h"
#include "host/datastore/input_error.h"
#include "tests/host/fixtures.h"

namespace {

using host_test::NodeAt;
using host_test::ProjectModel;
using host_test::SchemaAt;
using host_test::TempDir;
using host_test::TestModel;
using ipav::confd::ConfdError;
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

template <typename Body>
int CodeOf(const Body& body) {
  try {
    body();
  } catch (const ConfdError& error) {
    return error.code();
  }
  return 0;
}

std::string Bytes(const confd_value_t& value) {
  return {reinterpret_cast<const char*>(value.val.buf.ptr), value.val.buf.size};
}

std::string Text(int family, const void* address) {
  char text[INET6_ADDRSTRLEN];
  return inet_ntop(family, address, text, sizeof(text));
}

TEST(ValueOf, SignedIntegersKeepWidthAndSign) {
  const OwnedValue i8 = ValueOfType("int8;", "-128");
  EXPECT_EQ(i8->type, C_INT8);
  EXPECT_EQ(i8->val.i8, INT8_MIN);
  const OwnedValue i16 = ValueOfType("int16;", "-32768");
  EXPECT_EQ(i16->type, C_INT16);
  EXPECT_EQ(i16->val.i16, INT16_MIN);
  const OwnedValue i32 = ValueOfType("int32;", "-2147483648");
  EXPECT_EQ(i32->type, C_INT32);
  EXPECT_EQ(i32->val.i32, INT32_MIN);
  const OwnedValue i64 = ValueOfType("int64;", "-9223372036854775808");
  EXPECT_EQ(i64->type, C_INT64);
  EXPECT_EQ(i64->val.i64, INT64_MIN);
}

TEST(ValueOf, UnsignedIntegersKeepWidth) {
  const OwnedValue u8 = ValueOfType("uint8;", "255");
  EXPECT_EQ(u8->type, C_UINT8);
  EXPECT_EQ(u8->val.u8, UINT8_MAX);
  const OwnedValue u16 = ValueOfType("uint16;", "65535");
  EXPECT_EQ(u16->type, C_UINT16);
  EXPECT_EQ(u16->val.u16, UINT16_MAX);
  const OwnedValue u32 = ValueOfType("uint32;", "4294967295");
  EXPECT_EQ(u32->type, C_UINT32);
  EXPECT_EQ(u32->val.u32, UINT32_MAX);
  const OwnedValue u64 = ValueOfType("uint64;", "18446744073709551615");
  EXPECT_EQ(u64->type, C_UINT64);
  EXPECT_EQ(u64->val.u64, UINT64_MAX);
}

TEST(ValueOf, TextIsABufferThatEndsInNul) {
  const OwnedValue text = ValueOfType("string;", "a b");
  ASSERT_EQ(text->type, C_BUF);
  EXPECT_EQ(Bytes(*text), "a b");
  EXPECT_EQ(text->val.buf.ptr[3], '\0');
  const OwnedValue empty = ValueOfType("string;", "");
  ASSERT_EQ(empty->type, C_BUF);
  EXPECT_EQ(empty->val.buf.size, 0U);
  ASSERT_NE(empty->val.buf.ptr, nullptr);
  EXPECT_EQ(empty->val.buf.ptr[0], '\0');
}

TEST(ValueOf, BooleanIsZeroOrOne) {
  const OwnedValue yes = ValueOfType("boolean;", "true");
  EXPECT_EQ(yes->type, C_BOOL);
  EXPECT_EQ(yes->val.boolean, 1);
  EXPECT_EQ(ValueOfType("boolean;", "false")->val.boolean, 0);
}

TEST(ValueOf, EnumerationIsItsYangNumber) {
  const std::string type =
      "enumeration { enum a { value -5; } enum b; enum c { value 70000; } }";
  EXPECT_EQ(ValueOfType(type, "a")->type, C_ENUM_VALUE);
  EXPECT_EQ(ValueOfType(type, "a")->val.enumvalue, -5);
  EXPECT_EQ(ValueOfType(type, "b")->val.enumvalue, -4);
  EXPECT_EQ(ValueOfType(type, "c")->val.enumvalue, 70000);
}

TEST(ValueOf, UnionIsItsMember) {
  const std::string type =
      "union { type uint8; type inet:ipv4-address; type tailf:hex-list; "
      "type enumeration { enum e { value 3; } } type string; }";
  const OwnedValue number = ValueOfType(type, "7");
  EXPECT_EQ(number->type, C_UINT8);
  EXPECT_EQ(number->val.u8, 7);
  EXPECT_EQ(ValueOfType(type, "10.0.0.1")->type, C_IPV4);
  EXPECT_EQ(ValueOfType(type, "0a:0b")->type, C_BINARY);
  EXPECT_EQ(ValueOfType(type, "e")->val.enumvalue, 3);
  const OwnedValue text = ValueOfType(type, "zzz");
  ASSERT_EQ(text->type, C_BUF);
  EXPECT_EQ(Bytes(*text), "zzz");
}

TEST(ValueOf, UnionWithinAUnionIsItsInnermostMember) {
  const std::string type =
      "union { type union { type uint8; type boolean; } "
      "type string; }";
  EXPECT_EQ(ValueOfType(type, "true")->type, C_BOOL);
  EXPECT_EQ(ValueOfType(type, "300")->type, C_BUF);
}

TEST(ValueOf, LeafrefIsAValueOfItsTarget) {
  const OwnedValue number = ValueOfType("leafref { path \"/m:t\"; }", "7");
  EXPECT_EQ(number->type, C_UINT8);
  EXPECT_EQ(number->val.u8, 7);
  const OwnedValue octets = ValueOfType("leafref { path \"/m:h\"; }", "0a:ff");
  ASSERT_EQ(octets->type, C_BINARY);
  EXPECT_EQ(Bytes(*octets), "\x0a\xff");
}

TEST(ValueOf, AddressesAreInNetworkOrder) {
  const OwnedValue v4 = ValueOfType("inet:ipv4-address;", "1.2.3.4");
  ASSERT_EQ(v4->type, C_IPV4);
  EXPECT_EQ(v4->val.ip.s_addr, htonl(0x01020304));
  const OwnedValue v6 = ValueOfType("inet:ipv6-address;", "2001:DB8::1");
  ASSERT_EQ(v6->type, C_IPV6);
  EXPECT_EQ(Text(AF_INET6, &v6->val.ip6), "2001:db8::1");
}

TEST(ValueOf, AddressesWithoutZoneAreAddresses) {
  const OwnedValue v4 = ValueOfType("inet:ipv4-address-no-zone;", "0.0.0.1");
  ASSERT_EQ(v4->type, C_IPV4);
  EXPECT_EQ(v4->val.ip.s_addr, htonl(1));
  const OwnedValue v6 = ValueOfType("inet:ipv6-address-no-zone;", "fe80::1");
  ASSERT_EQ(v6->type, C_IPV6);
  EXPECT_EQ(Text(AF_INET6, &v6->val.ip6), "fe80::1");
  EXPECT_EQ(ValueOfType("inet:ip-address-no-zone;", "fe80::1")->type, C_IPV6);
}

TEST(ValueOf, AddressWithAZoneIsAnErrorAndNoOtherAddress) {
  EXPECT_NE(CodeOf([] { ValueOfType("inet:ipv6-address;", "fe80::1%eth0"); }),
            0);
}

TEST(ValueOf, AddressWithPrefixLengthKeepsItsHostBits) {
  const std::string v4_type = "tailf:ipv4-address-and-prefix-length;";
  const OwnedValue v4 = ValueOfType(v4_type, "10.1.1.1/24");
  ASSERT_EQ(v4->type, C_IPV4_AND_PLEN);
  EXPECT_EQ(Text(AF_INET, &v4->val.ipv4prefix.ip), "10.1.1.1");
  EXPECT_EQ(v4->val.ipv4prefix.len, 24);
  EXPECT_EQ(ValueOfType(v4_type, "0.0.0.0/0")->val.ipv4prefix.len, 0);
  const std::string v6_type = "tailf:ipv6-address-and-prefix-length;";
  const OwnedValue v6 = ValueOfType(v6_type, "2001:db8::ABCD/64");
  ASSERT_EQ(v6->type, C_IPV6_AND_PLEN);
  EXPECT_EQ(Text(AF_INET6, &v6->val.ipv6prefix.ip6), "2001:db8::abcd");
  EXPECT_EQ(v6->val.ipv6prefix.len, 64);
  EXPECT_EQ(ValueOfType(v6_type, "::ffff:10.0.0.1/128")->val.ipv6prefix.len,
            128);
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

TEST(ValueOf, HexListIsItsOctets) {
  const OwnedValue octets = ValueOfType("tailf:hex-list;", "0A:00:ff:7f");
  ASSERT_EQ(octets->type, C_BINARY);
  EXPECT_EQ(Bytes(*octets), std::string("\x0a\x00\xff\x7f", 4));
  const OwnedValue one = ValueOfType("tailf:hex-list;", "80");
  EXPECT_EQ(Bytes(*one), "\x80");
}

TEST(ValueOf, EmptyHexListIsNoOctet) {
  const OwnedValue octets = ValueOfType("tailf:hex-list;", "");
  ASSERT_EQ(octets->type, C_BINARY);
  EXPECT_EQ(octets->val.buf.size, 0U);
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
  EXPECT_EQ(Bytes(value), "text");
  confd_free_value(&value);
}

TEST(OwnedValue, OfAMoveHoldsTheValueAlone) {
  OwnedValue first = ValueOfType("string;", "text");
  const OwnedValue second = std::move(first);
  EXPECT_EQ(Bytes(*second), "text");
}

// --- Key paths

DataTree ProjectTree() {
  const TempDir dir;
  return DataTree::FromFile(
      ProjectModel(),
      dir.Write("data.xml",
                "<config xmlns=\"urn:vorplex:config\"><interface>"
                "<l3 xmlns=\"urn:vorplex:ipapp\"><name>core</name>"
                "<ipv4><address><secondary><ip>10.0.0.1/8</ip></secondary>"
                "</address></ipv4></l3></interface></config>"
                "<rtmStaticRtEntry-global xmlns=\"urn:vorplex:dc-rtm-mib\">"
                "<rtmStaticRtFteIndex>4</rtmStaticRtFteIndex>"
                "<rtmStaticRtDest>0a:00</rtmStaticRtDest>"
                "<rtmStaticRtDestPfxLen>-8</rtmStaticRtDestPfxLen>"
                "<rtmStaticRtNextHop></rtmStaticRtNextHop>"
                "</rtmStaticRtEntry-global>"));
}

void ExpectTag(const confd_hkeypath_t& keypath, int row, const char* name) {
  ASSERT_LT(row, keypath.len);
  const confd_value_t* v = keypath.v[row];
  ASSERT_EQ(v[0].type, C_XMLTAG) << name;
  const std::string* found = ProjectModel().NameOfTag(v[0].val.xmltag.tag);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(*found, name);
  EXPECT_EQ(v[1].type, C_NOEXISTS) << name;
}

TEST(KeypathOf, IsLeafFirstWithKeysInFrontOfTheirList) {
  const DataTree tree = ProjectTree();
  const Keypath keypath = KeypathOf(
      ProjectModel(), NodeAt(tree,
                             "/config/interface/l3{core}/ipv4/address/"
                             "secondary{10.0.0.1/8}/ip"));
  ASSERT_EQ(keypath->len, 9);
  ExpectTag(*keypath, 0, "ip");
  EXPECT_EQ(keypath->v[1][0].type, C_IPV4_AND_PLEN);
  EXPECT_EQ(keypath->v[1][0].val.ipv4prefix.len, 8);
  EXPECT_EQ(keypath->v[1][1].type, C_NOEXISTS);
  ExpectTag(*keypath, 2, "secondary");
  ExpectTag(*keypath, 3, "address");
  ExpectTag(*keypath, 4, "ipv4");
  ASSERT_EQ(keypath->v[5][0].type, C_BUF);
  EXPECT_EQ(Bytes(keypath->v[5][0]), "core");
  EXPECT_EQ(keypath->v[5][1].type, C_NOEXISTS);
  ExpectTag(*keypath, 6, "l3");
  ExpectTag(*keypath, 7, "interface");
  ExpectTag(*keypath, 8, "config");
  EXPECT_EQ(keypath->v[6][0].val.xmltag.tag, 0x213f1a7aU);
}

TEST(KeypathOf, AnEntryStartsWithItsKeys) {
  const DataTree tree = ProjectTree();
  const Keypath keypath =
      KeypathOf(ProjectModel(), NodeAt(tree, "/rtmStaticRtEntry-global"));
  ASSERT_EQ(keypath->len, 2);
  const confd_value_t* keys = keypath->v[0];
  ASSERT_EQ(keys[0].type, C_UINT32);
  EXPECT_EQ(keys[0].val.u32, 4U);
  ASSERT_EQ(keys[1].type, C_BINARY);
  EXPECT_EQ(Bytes(keys[1]), std::string("\x0a\x00", 2));
  ASSERT_EQ(keys[2].type, C_INT32);
  EXPECT_EQ(keys[2].val.i32, -8);
  ASSERT_EQ(keys[3].type, C_BINARY);
  EXPECT_EQ(keys[3].val.buf.size, 0U);
  EXPECT_EQ(keys[4].type, C_NOEXISTS);
  ExpectTag(*keypath, 1, "rtmStaticRtEntry-global");
}

TEST(KeypathOf, AWholeListStartsWithItsTag) {
  const DataTree tree = ProjectTree();
  const Keypath keypath =
      KeypathOf(ProjectModel(), NodeAt(tree, "/config/interface"),
                SchemaAt(ProjectModel(), "/config/interface/loopback"));
  ASSERT_EQ(keypath->len, 3);
  ExpectTag(*keypath, 0, "loopback");
  ExpectTag(*keypath, 1, "interface");
  ExpectTag(*keypath, 2, "config");
  const Keypath top =
      KeypathOf(ProjectModel(), nullptr,
                SchemaAt(ProjectModel(), "/rtmStaticRtEntry-global"));
  ASSERT_EQ(top->len, 1);
  ExpectTag(*top, 0, "rtmStaticRtEntry-global");
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

TEST(KeypathOf, TooDeepAPathIsAnError) {
  EXPECT_EQ(CodeOfDepth(MAXDEPTH - 1), 0);
  EXPECT_EQ(CodeOfDepth(MAXDEPTH + 1), CONFD_ERR_BADPATH);
  EXPECT_EQ(CodeOfDepth(3 * MAXDEPTH), CONFD_ERR_BADPATH);
}

// MAXDEPTH is the longest key path plus one.
TEST(KeypathOf, TheLongestPathIsOneShorterThanTheArray) {
  EXPECT_EQ(CodeOfDepth(MAXDEPTH), CONFD_ERR_BADPATH);
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
