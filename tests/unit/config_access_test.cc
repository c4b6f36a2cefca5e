// The reads that every reader is made of: what an element that is missing,
// unreadable or of another type turns into, and which calls it takes.

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "include/config.h"
#include "tests/support/addresses.h"
#include "tests/support/builders.h"
#include "tests/support/death_text.h"
#include "tests/support/plugin_test.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::ConfigAddrFamily;
using ip_application::config_valid::GenericConfig;
using nettypes::IPv4Addr;
using nettypes::IPv4AddrMask;
using nettypes::IPv6Addr;
using nettypes::IPv6AddrMask;

using Keys = std::list<std::string>;
using KeyRows = std::list<std::vector<std::string>>;
using Texts = std::vector<std::string>;

constexpr char kLeaf[] = "/config/interface/ipapp:mgmt/leaf";
constexpr char kList[] = "/config/interface/ipapp:l3";

// What a read answers that failed, the last one when the daemon is gone.
constexpr int kFailedReads[] = {CONFD_ERR, CONFD_EOF};

// Opens the reads to the tests.
class Access : public GenericConfig {
 public:
  using GenericConfig::get_hex_from_bin;
  using GenericConfig::get_intf_ipv4_addr_mask_list;
  using GenericConfig::get_intf_ipv6_addr_mask_list;
  using GenericConfig::get_intf_lim_id;
  using GenericConfig::get_ipv4_addr;
  using GenericConfig::get_ipv4_addr_mask;
  using GenericConfig::get_ipv6_addr;
  using GenericConfig::get_ipv6_addr_mask;
  using GenericConfig::get_key_list;
  using GenericConfig::get_vrf_name;
  using GenericConfig::get_vrf_name_from_id;

 private:
  void ReadConfig(ConfigAddrFamily /*family*/) override {}
};

class ConfigAccessTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    GTEST_FLAG_SET(death_test_style, "fast");
    access.set_sock(FakePlatform::kSocket);
    access.set_confd_trans(fake.tctx());
  }

  void ExpectCalls(const Texts& calls) { EXPECT_EQ(fake.CallTexts(), calls); }

  void ExpectOneFault(const std::string& function, int line,
                      const std::string& message) {
    ASSERT_EQ(fake.faults().size(), 1U);
    const Fault& fault = fake.faults()[0];
    EXPECT_EQ(fault.code, 0);
    EXPECT_EQ(fault.function, function);
    EXPECT_EQ(fault.file, "src/lib/config.cc");
    EXPECT_EQ(fault.line, line);
    EXPECT_EQ(fault.message, message);
  }

  // Of the conversions of values.
  static IPv4Addr Ipv4Of(const Access& reads, const Value& value) {
    return reads.get_ipv4_addr(value.Borrow());
  }
  static IPv6Addr Ipv6Of(const Access& reads, const Value& value) {
    return reads.get_ipv6_addr(value.Borrow());
  }
  std::string HexOf(const Value& value) {
    return access.get_hex_from_bin(value.Borrow());
  }
  std::string VrfOf(const Value& value) {
    return access.get_vrf_name_from_id(value.Borrow());
  }
  IPv4AddrMask Mask4Of(const Value& addr, const Value& prefix) {
    return access.get_ipv4_addr_mask(addr.Borrow(), prefix.Borrow());
  }
  IPv6AddrMask Mask6Of(const Value& addr, const Value& prefix) {
    return access.get_ipv6_addr_mask(addr.Borrow(), prefix.Borrow());
  }

  Access access;
};

// ---- An IPv4 or IPv6 address with its prefix length -------------------------

TEST_F(ConfigAccessTest, ReadsAnIpv4AddressWithItsPrefixLength) {
  fake.SetValue(kLeaf, Ipv4Plen("10.1.2.3/24"));
  const IPv4AddrMask mask = access.get_ipv4_addr_mask(kLeaf);
  EXPECT_EQ(mask, IPv4AddrMask(0x0a010203, 24));
  ExpectCalls({"maapi_exists(" + std::string(kLeaf) + ")",
               "maapi_get_ipv4_and_plen_elem(" + std::string(kLeaf) + ")"});
}

TEST_F(ConfigAccessTest, ReadsAnIpv6AddressWithItsPrefixLength) {
  fake.SetValue(kLeaf, Ipv6Plen("2001:db8::1/64"));
  EXPECT_EQ(access.get_ipv6_addr_mask(kLeaf).to_string(), "2001:db8::1/64");
  ExpectCalls({"maapi_exists(" + std::string(kLeaf) + ")",
               "maapi_get_ipv6_and_plen_elem(" + std::string(kLeaf) + ")"});
}

TEST_F(ConfigAccessTest, ReadsTheLongestPrefixes) {
  fake.SetValue("/a", Ipv4Plen("255.255.255.255/32"));
  fake.SetValue("/b", Ipv6Plen("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128"));
  EXPECT_EQ(access.get_ipv4_addr_mask("/a").to_string(), "255.255.255.255/32");
  EXPECT_EQ(access.get_ipv6_addr_mask("/b").to_string(),
            "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128");
}

TEST_F(ConfigAccessTest, AnAbsentAddressIsTheDefaultAfterOneCall) {
  EXPECT_EQ(access.get_ipv4_addr_mask(kLeaf), IPv4AddrMask());
  EXPECT_EQ(access.get_ipv6_addr_mask(kLeaf), IPv6AddrMask());
  ExpectCalls({"maapi_exists(" + std::string(kLeaf) + ")",
               "maapi_exists(" + std::string(kLeaf) + ")"});
}

TEST_F(ConfigAccessTest, AnAddressWhoseExistenceCannotBeToldIsTheDefault) {
  fake.SetValue("/a", Ipv4Plen("10.1.2.3/24"));
  fake.SetValue("/b", Ipv6Plen("2001:db8::1/64"));
  fake.FailExists("/a");
  fake.FailExists("/b");
  EXPECT_EQ(access.get_ipv4_addr_mask("/a"), IPv4AddrMask());
  EXPECT_EQ(access.get_ipv6_addr_mask("/b"), IPv6AddrMask());
  ExpectCalls({"maapi_exists(/a)", "maapi_exists(/b)"});
}

TEST_F(ConfigAccessTest, AnUnreadableAddressIsTheDefault) {
  fake.FailReads(kLeaf);
  EXPECT_EQ(access.get_ipv4_addr_mask(kLeaf), IPv4AddrMask());
  EXPECT_EQ(access.get_ipv6_addr_mask(kLeaf), IPv6AddrMask());
  EXPECT_EQ(fake.calls().size(), 4U);
}

TEST_F(ConfigAccessTest, AnAddressOfTheOtherFamilyIsTheDefault) {
  fake.SetValue("/a", Ipv4Plen("10.1.2.3/24"));
  fake.SetValue("/b", Ipv6Plen("2001:db8::1/64"));
  EXPECT_EQ(access.get_ipv4_addr_mask("/b"), IPv4AddrMask());
  EXPECT_EQ(access.get_ipv6_addr_mask("/a"), IPv6AddrMask());
}

// ---- The identifier of an interface -----------------------------------------

TEST_F(ConfigAccessTest, MakesAnIdentifierFromTheVlan) {
  fake.SetValue(kLeaf, Int32(100));
  EXPECT_EQ(access.get_intf_lim_id(kLeaf), 0x01000064U);
  const Texts calls = fake.CallTexts();
  ASSERT_GE(calls.size(), 3U);
  EXPECT_EQ(calls[0], "maapi_exists(" + std::string(kLeaf) + ")");
  EXPECT_EQ(calls[1], "maapi_get_elem(" + std::string(kLeaf) + ")");
  EXPECT_EQ(calls[2], "limid_l3_vlan_from_components(100)");
}

TEST_F(ConfigAccessTest, PassesOnANegativeVlanAsItIs) {
  fake.SetValue(kLeaf, Int32(-1));
  static_cast<void>(access.get_intf_lim_id(kLeaf));  // the service's answer
  ASSERT_GE(fake.calls().size(), 3U);
  EXPECT_EQ(fake.calls()[2].text(), "limid_l3_vlan_from_components(-1)");
}

TEST_F(ConfigAccessTest, AnAbsentVlanGivesZeroAfterOneCall) {
  EXPECT_EQ(access.get_intf_lim_id(kLeaf), 0U);
  ExpectCalls({"maapi_exists(" + std::string(kLeaf) + ")"});
}

TEST_F(ConfigAccessTest, AVlanWhoseExistenceCannotBeToldGivesZero) {
  fake.SetValue(kLeaf, Int32(100));
  fake.FailExists(kLeaf);
  EXPECT_EQ(access.get_intf_lim_id(kLeaf), 0U);
  ExpectCalls({"maapi_exists(" + std::string(kLeaf) + ")"});
}

// The value is given back also when the read of it failed.
TEST_F(ConfigAccessTest, AnUnreadableVlanGivesZeroWithoutTheService) {
  fake.FailReads(kLeaf);
  EXPECT_EQ(access.get_intf_lim_id(kLeaf), 0U);
  ExpectCalls({"maapi_exists(" + std::string(kLeaf) + ")",
               "maapi_get_elem(" + std::string(kLeaf) + ")",
               "confd_free_value()"});
}

TEST_F(ConfigAccessTest, AVlanIsReadWhenTheAnswerIsZeroOnly) {
  fake.SetValue(kLeaf, Int32(100));
  for (const int answer : kFailedReads) {
    fake.FailCall(2, answer);
    EXPECT_EQ(access.get_intf_lim_id(kLeaf), 0U) << answer;
  }
}

TEST_F(ConfigAccessTest, AFailingIdentifierServiceGivesZero) {
  fake.SetValue(kLeaf, Int32(100));
  fake.FailCall(3);
  EXPECT_EQ(access.get_intf_lim_id(kLeaf), 0U);
}

TEST_F(ConfigAccessTest, StopsForAVlanThatIsNoInt32) {
  const std::string report = ReportOf(
      {"src/lib/config.cc", "264",
       "limid_t ip_application::config_valid::GenericConfig::get_intf_lim_id("
       "const string&) const",
       "(&confd_if_index)->type == C_INT32"});
  const Value wrong[] = {Uint32(100), Uint16(100), Text("100")};
  for (const Value& value : wrong) {
    fake.SetValue(kLeaf, value);
    EXPECT_EXIT(static_cast<void>(access.get_intf_lim_id(kLeaf)),
                ::testing::KilledBySignal(SIGABRT), report);
  }
}

// ---- The name of a VRF ------------------------------------------------------

TEST_F(ConfigAccessTest, ReadsAVrfName) {
  fake.SetValue(kLeaf, Text("red"));
  EXPECT_EQ(access.get_vrf_name(kLeaf), "red");
  ExpectCalls({"maapi_exists(" + std::string(kLeaf) + ")",
               "maapi_get_elem(" + std::string(kLeaf) + ")",
               "confd_free_value(red)"});
}

TEST_F(ConfigAccessTest, AVrfNameEndsAtItsFirstNul) {
  fake.SetValue(kLeaf, Text(std::string("red\0blue", 8)));
  EXPECT_EQ(access.get_vrf_name(kLeaf), "red");
}

TEST_F(ConfigAccessTest, AVrfNameCanBeEmptyOrLong) {
  fake.SetValue("/empty", Text(""));
  fake.SetValue("/long", Text(std::string(1000, 'v')));
  EXPECT_EQ(access.get_vrf_name("/empty"), "");
  EXPECT_EQ(access.get_vrf_name("/long"), std::string(1000, 'v'));
}

TEST_F(ConfigAccessTest, WithoutAVrfLeafTheNameIsGlobal) {
  EXPECT_EQ(access.get_vrf_name(kLeaf), "global");
  ExpectCalls({"maapi_exists(" + std::string(kLeaf) + ")"});
}

TEST_F(ConfigAccessTest, AVrfLeafWhoseExistenceCannotBeToldIsGlobal) {
  fake.SetValue(kLeaf, Text("red"));
  fake.FailExists(kLeaf);
  EXPECT_EQ(access.get_vrf_name(kLeaf), "global");
  ExpectCalls({"maapi_exists(" + std::string(kLeaf) + ")"});
}

// The value is given back also when the read of it failed.
TEST_F(ConfigAccessTest, AVrfLeafThatCannotBeReadIsTheEmptyNameNotGlobal) {
  fake.FailReads(kLeaf);
  EXPECT_EQ(access.get_vrf_name(kLeaf), "");
  ExpectCalls({"maapi_exists(" + std::string(kLeaf) + ")",
               "maapi_get_elem(" + std::string(kLeaf) + ")",
               "confd_free_value()"});
}

TEST_F(ConfigAccessTest, AVrfNameIsReadWhenTheAnswerIsZeroOnly) {
  fake.SetValue(kLeaf, Text("red"));
  for (const int answer : kFailedReads) {
    fake.FailCall(2, answer);
    EXPECT_EQ(access.get_vrf_name(kLeaf), "") << answer;
  }
}

TEST_F(ConfigAccessTest, StopsForAVrfNameThatIsNoText) {
  const std::string report = ReportOf(
      {"src/lib/config.cc", "282",
       "std::__cxx11::string ip_application::config_valid::GenericConfig::"
       "get_vrf_name(const string&) const",
       "(&l3_vrf_name)->type == C_BUF"});
  const Value wrong[] = {Int32(1), Binary("red")};
  for (const Value& value : wrong) {
    fake.SetValue(kLeaf, value);
    EXPECT_EXIT(static_cast<void>(access.get_vrf_name(kLeaf)),
                ::testing::KilledBySignal(SIGABRT), report);
  }
}

// ---- The keys of a list -----------------------------------------------------

TEST_F(ConfigAccessTest, ListsFirstKeysInTheOrderOfTheDatabase) {
  fake.AddEntry("/list", {Text("b"), Int32(1)});
  fake.AddEntry("/list", {Text("a"), Int32(2)});
  fake.AddEntry("/list", {Text("b"), Int32(3)});
  EXPECT_EQ(access.get_key_list("/list"), (Keys{"b", "a", "b"}));
  ExpectCalls({"maapi_exists(/list)", "maapi_init_cursor(/list)",
               "maapi_get_next(/list)", "confd_pp_value(b)",
               "maapi_get_next(/list)", "confd_pp_value(a)",
               "maapi_get_next(/list)", "confd_pp_value(b)",
               "maapi_get_next(/list)", "maapi_destroy_cursor(/list)"});
}

TEST_F(ConfigAccessTest, ListsAsManyKeysOfAnEntryAsItIsAskedFor) {
  fake.AddEntry("/list", {Text("b"), Int32(-1), Ipv4("10.0.0.1")});
  fake.AddEntry("/list", {Text("a"), Int32(2), Ipv4("10.0.0.2")});
  EXPECT_EQ(access.get_key_list("/list", 2),
            (KeyRows{{"b", "-1"}, {"a", "2"}}));
  ExpectCalls({"maapi_exists(/list)", "maapi_init_cursor(/list)",
               "maapi_get_next(/list)", "confd_pp_value(b)",
               "confd_pp_value(-1)", "maapi_get_next(/list)",
               "confd_pp_value(a)", "confd_pp_value(2)",
               "maapi_get_next(/list)", "maapi_destroy_cursor(/list)"});
  EXPECT_EQ(access.get_key_list("/list", 3),
            (KeyRows{{"b", "-1", "10.0.0.1"}, {"a", "2", "10.0.0.2"}}));
  EXPECT_EQ(access.get_key_list("/list", 1), (KeyRows{{"b"}, {"a"}}));
  EXPECT_EQ(access.get_key_list("/list", 0), (KeyRows{{}, {}}));
}

TEST_F(ConfigAccessTest, PrintsAKeyOfAnyType) {
  fake.AddEntry("/list", {Uint32(4294967295U), Ipv6("2001:db8::1"),
                          Ipv4Plen("10.1.1.1/24"), Ipv6Plen("fe80::1/10")});
  EXPECT_EQ(access.get_key_list("/list"), Keys{"4294967295"});
  EXPECT_EQ(
      access.get_key_list("/list", 4),
      (KeyRows{{"4294967295", "2001:db8::1", "10.1.1.1/24", "fe80::1/10"}}));
}

TEST_F(ConfigAccessTest, AnAbsentListHasNoKeysAndOpensNoCursor) {
  EXPECT_TRUE(access.get_key_list(kList).empty());
  EXPECT_TRUE(access.get_key_list(kList, 2).empty());
  ExpectCalls({"maapi_exists(" + std::string(kList) + ")",
               "maapi_exists(" + std::string(kList) + ")"});
}

TEST_F(ConfigAccessTest, AListWhoseExistenceCannotBeToldHasNoKeys) {
  fake.AddEntry("/list", {Text("a"), Text("b")});
  fake.FailExists("/list");
  EXPECT_TRUE(access.get_key_list("/list").empty());
  EXPECT_TRUE(access.get_key_list("/list", 2).empty());
  ExpectCalls({"maapi_exists(/list)", "maapi_exists(/list)"});
}

TEST_F(ConfigAccessTest, AListWithoutEntriesGivesItsCursorBack) {
  fake.SetContainer("/list");
  const Texts walk = {"maapi_exists(/list)", "maapi_init_cursor(/list)",
                      "maapi_get_next(/list)", "maapi_destroy_cursor(/list)"};
  EXPECT_TRUE(access.get_key_list("/list").empty());
  ExpectCalls(walk);
  fake.ForgetCalls();
  EXPECT_TRUE(access.get_key_list("/list", 2).empty());
  ExpectCalls(walk);
}

TEST_F(ConfigAccessTest, ACursorThatCannotBeOpenedHasNoKeys) {
  fake.AddEntry("/list", {Text("a")});
  fake.FailCall(2);
  EXPECT_TRUE(access.get_key_list("/list").empty());
  fake.FailCall(2);
  EXPECT_TRUE(access.get_key_list("/list", 1).empty());
}

// Nobody looks at the result of the advance: the walk ends as no key is there.
TEST_F(ConfigAccessTest, ACursorThatCannotAdvanceEndsTheWalk) {
  fake.AddEntry("/list", {Text("a")});
  fake.AddEntry("/list", {Text("b")});
  fake.FailCall(5);
  EXPECT_EQ(access.get_key_list("/list"), Keys{"a"});
  EXPECT_EQ(fake.CallTexts().back(), "maapi_destroy_cursor(/list)");
}

TEST_F(ConfigAccessTest, CutsAKeyThatIsLongerThan255Characters) {
  const std::string long_key = std::string(255, 'k') + "x";
  const std::string longer_key = std::string(255, 'm') + std::string(45, 'x');
  fake.AddEntry("/list", {Text(std::string(255, 'f')), Text("1")});
  fake.AddEntry("/list", {Text(long_key), Text(longer_key)});
  fake.AddEntry("/list", {Text("a"), Text("b")});
  EXPECT_EQ(access.get_key_list("/list"),
            (Keys{std::string(255, 'f'), std::string(255, 'k'), "a"}));
  EXPECT_EQ(access.get_key_list("/list", 2),
            (KeyRows{{std::string(255, 'f'), "1"},
                     {std::string(255, 'k'), std::string(255, 'm')},
                     {"a", "b"}}));
}

// ---- Address lists ----------------------------------------------------------

TEST_F(ConfigAccessTest, ReadsTheIpv4AddressOfEachEntry) {
  fake.AddEntry("/list", {Ipv4Plen("10.2.0.1/16")});
  fake.SetValue("/list{10.2.0.1/16}/ip", Ipv4Plen("10.2.0.1/16"));
  fake.AddEntry("/list", {Ipv4Plen("10.1.0.1/16")});
  fake.SetValue("/list{10.1.0.1/16}/ip", Ipv4Plen("10.1.0.1/16"));
  EXPECT_EQ(
      access.get_intf_ipv4_addr_mask_list("/list"),
      (std::list<IPv4AddrMask>{Mask4("10.2.0.1/16"), Mask4("10.1.0.1/16")}));
  ExpectCalls({"maapi_exists(/list)", "maapi_init_cursor(/list)",
               "maapi_get_next(/list)", "confd_pp_value(10.2.0.1/16)",
               "maapi_get_next(/list)", "confd_pp_value(10.1.0.1/16)",
               "maapi_get_next(/list)", "maapi_destroy_cursor(/list)",
               "maapi_exists(/list{10.2.0.1/16}/ip)",
               "maapi_get_ipv4_and_plen_elem(/list{10.2.0.1/16}/ip)",
               "maapi_exists(/list{10.1.0.1/16}/ip)",
               "maapi_get_ipv4_and_plen_elem(/list{10.1.0.1/16}/ip)"});
  EXPECT_TRUE(fake.faults().empty());
}

TEST_F(ConfigAccessTest, ReadsTheIpv6AddressOfEachEntry) {
  fake.AddEntry("/list", {Ipv6Plen("2001:db8::2/64")});
  fake.SetValue("/list{2001:db8::2/64}/ip", Ipv6Plen("2001:db8::2/64"));
  fake.AddEntry("/list", {Ipv6Plen("2001:db8::1/64")});
  fake.SetValue("/list{2001:db8::1/64}/ip", Ipv6Plen("2001:db8::1/64"));
  EXPECT_EQ(access.get_intf_ipv6_addr_mask_list("/list"),
            (std::list<IPv6AddrMask>{Mask6("2001:db8::2/64"),
                                     Mask6("2001:db8::1/64")}));
  ExpectCalls({"maapi_exists(/list)", "maapi_init_cursor(/list)",
               "maapi_get_next(/list)", "confd_pp_value(2001:db8::2/64)",
               "maapi_get_next(/list)", "confd_pp_value(2001:db8::1/64)",
               "maapi_get_next(/list)", "maapi_destroy_cursor(/list)",
               "maapi_exists(/list{2001:db8::2/64}/ip)",
               "maapi_get_ipv6_and_plen_elem(/list{2001:db8::2/64}/ip)",
               "maapi_exists(/list{2001:db8::1/64}/ip)",
               "maapi_get_ipv6_and_plen_elem(/list{2001:db8::1/64}/ip)"});
  EXPECT_TRUE(fake.faults().empty());
}

TEST_F(ConfigAccessTest, AnAbsentListHasNoAddresses) {
  EXPECT_TRUE(access.get_intf_ipv4_addr_mask_list("/list").empty());
  EXPECT_TRUE(access.get_intf_ipv6_addr_mask_list("/list").empty());
  ExpectCalls({"maapi_exists(/list)", "maapi_exists(/list)"});
}

TEST_F(ConfigAccessTest, ReportsAnEntryWithoutIpv4AddressAndGoesOn) {
  fake.AddEntry("/list", {Text("none")});
  fake.AddEntry("/list", {Text("some")});
  fake.SetValue("/list{some}/ip", Ipv4Plen("10.1.0.1/16"));
  EXPECT_EQ(access.get_intf_ipv4_addr_mask_list("/list"),
            std::list<IPv4AddrMask>{Mask4("10.1.0.1/16")});
  ExpectOneFault("get_intf_ipv4_addr_mask_list", 133,
                 "Unspecified IPv4 address for key 'none'");
}

TEST_F(ConfigAccessTest, ReportsAnEntryWithoutIpv6AddressAndGoesOn) {
  fake.AddEntry("/list", {Text("none")});
  fake.AddEntry("/list", {Text("some")});
  fake.SetValue("/list{some}/ip", Ipv6Plen("2001:db8::1/64"));
  EXPECT_EQ(access.get_intf_ipv6_addr_mask_list("/list"),
            std::list<IPv6AddrMask>{Mask6("2001:db8::1/64")});
  ExpectOneFault("get_intf_ipv6_addr_mask_list", 208,
                 "Unspecified IPv6 address for key 'none'");
}

TEST_F(ConfigAccessTest, ReportsAnAddressThatIsThereAndUnspecified) {
  fake.AddEntry("/four", {Ipv4Plen("0.0.0.0/8")});
  fake.SetValue("/four{0.0.0.0/8}/ip", Ipv4Plen("0.0.0.0/8"));
  EXPECT_TRUE(access.get_intf_ipv4_addr_mask_list("/four").empty());
  ExpectOneFault("get_intf_ipv4_addr_mask_list", 133,
                 "Unspecified IPv4 address for key '0.0.0.0/8'");
}

TEST_F(ConfigAccessTest, ReportsAnIpv6AddressThatIsThereAndUnspecified) {
  fake.AddEntry("/six", {Ipv6Plen("::/64")});
  fake.SetValue("/six{::/64}/ip", Ipv6Plen("::/64"));
  EXPECT_TRUE(access.get_intf_ipv6_addr_mask_list("/six").empty());
  ExpectOneFault("get_intf_ipv6_addr_mask_list", 208,
                 "Unspecified IPv6 address for key '::/64'");
}

TEST_F(ConfigAccessTest, ReportsAnAddressThatCannotBeRead) {
  fake.AddEntry("/list", {Text("a")});
  fake.FailReads("/list{a}/ip");
  EXPECT_TRUE(access.get_intf_ipv4_addr_mask_list("/list").empty());
  ExpectOneFault("get_intf_ipv4_addr_mask_list", 133,
                 "Unspecified IPv4 address for key 'a'");
}

TEST_F(ConfigAccessTest, ReportsEachMissingAddressOfAList) {
  fake.AddEntry("/list", {Text("b")});
  fake.AddEntry("/list", {Text("a")});
  EXPECT_TRUE(access.get_intf_ipv6_addr_mask_list("/list").empty());
  ASSERT_EQ(fake.faults().size(), 2U);
  EXPECT_EQ(fake.faults()[0].message, "Unspecified IPv6 address for key 'b'");
  EXPECT_EQ(fake.faults()[1].message, "Unspecified IPv6 address for key 'a'");
}

// The report's buffer has room for 349 characters. No key reaches it: a key of
// a list has 255 at the most, and the text around it 35.
TEST_F(ConfigAccessTest, ReportsTheLongestKeyInFull) {
  fake.AddEntry("/list", {Text(std::string(255, 'k'))});
  EXPECT_TRUE(access.get_intf_ipv4_addr_mask_list("/list").empty());
  ExpectOneFault(
      "get_intf_ipv4_addr_mask_list", 133,
      "Unspecified IPv4 address for key '" + std::string(255, 'k') + "'");
}

// The entry is looked for under the key as it was cut.
TEST_F(ConfigAccessTest, DoesNotFindTheAddressOfAKeyThatWasCut) {
  const std::string key(300, 'k');
  fake.AddEntry("/list", {Text(key)});
  fake.SetValue("/list{" + key + "}/ip", Ipv6Plen("2001:db8::1/64"));
  EXPECT_TRUE(access.get_intf_ipv6_addr_mask_list("/list").empty());
  ExpectOneFault(
      "get_intf_ipv6_addr_mask_list", 208,
      "Unspecified IPv6 address for key '" + std::string(255, 'k') + "'");
}

TEST_F(ConfigAccessTest, ReportsAKeyThatLooksLikeAFormat) {
  fake.AddEntry("/list", {Text("%s%n%d")});
  EXPECT_TRUE(access.get_intf_ipv4_addr_mask_list("/list").empty());
  ExpectOneFault("get_intf_ipv4_addr_mask_list", 133,
                 "Unspecified IPv4 address for key '%s%n%d'");
}

// ---- How paths are passed ---------------------------------------------------

TEST_F(ConfigAccessTest, PassesEveryPathAsTheArgumentOfAFormat) {
  fake.AddEntry("/50", {Text("%d")});
  const std::string entry = "/50{%d}/";
  fake.SetValue(entry + "ipv4", Ipv4Plen("10.1.2.3/24"));
  fake.SetValue(entry + "ipv6", Ipv6Plen("2001:db8::1/64"));
  fake.SetValue(entry + "vlan", Int32(100));
  fake.SetValue(entry + "vrf", Text("red"));
  fake.AddEntry(entry + "list", {Text("%u")});
  fake.SetValue(entry + "list{%u}/ip", Ipv4Plen("10.1.2.4/24"));
  EXPECT_EQ(access.get_ipv4_addr_mask(entry + "ipv4"), Mask4("10.1.2.3/24"));
  EXPECT_EQ(access.get_ipv6_addr_mask(entry + "ipv6"), Mask6("2001:db8::1/64"));
  EXPECT_EQ(access.get_intf_lim_id(entry + "vlan"), 0x01000064U);
  EXPECT_EQ(access.get_vrf_name(entry + "vrf"), "red");
  EXPECT_EQ(access.get_key_list(entry + "list"), Keys{"%u"});
  EXPECT_EQ(access.get_key_list(entry + "list", 1), KeyRows{{"%u"}});
  EXPECT_EQ(access.get_intf_ipv4_addr_mask_list(entry + "list"),
            std::list<IPv4AddrMask>{Mask4("10.1.2.4/24")});
  for (const Call& call : fake.calls()) {
    if (call.format.empty()) continue;
    EXPECT_EQ(call.format, "%s") << call.text();
  }
}

// ---- Addresses from octets --------------------------------------------------

TEST_F(ConfigAccessTest, TakesFourOctetsAsAnIpv4Address) {
  EXPECT_EQ(Ipv4Of(access, Octets("0a:01:02:03")).to_uint32(), 0x0a010203U);
  EXPECT_EQ(Ipv4Of(access, Octets("ff:ff:ff:fe")).to_string(),
            "255.255.255.254");
  EXPECT_TRUE(Ipv4Of(access, Octets("00:00:00:00")).is_unspecified());
  EXPECT_TRUE(fake.calls().empty());
}

TEST_F(ConfigAccessTest, TakesTheFirstFourOctetsOfMore) {
  EXPECT_EQ(Ipv4Of(access, Octets("0a:01:02:03:ff")), Addr4("10.1.2.3"));
  EXPECT_EQ(Ipv4Of(access, Binary(std::string(300, '\x01'))), Addr4("1.1.1.1"));
}

TEST_F(ConfigAccessTest, OctetsMissingInAnIpv4AddressAreZero) {
  EXPECT_EQ(Ipv4Of(access, Octets("0a:01:02")), Addr4("10.1.2.0"));
  EXPECT_EQ(Ipv4Of(access, Octets("0a")), Addr4("10.0.0.0"));
  EXPECT_EQ(Ipv4Of(access, Binary("")), IPv4Addr());
}

TEST_F(ConfigAccessTest, AnyOtherTypeIsTheUnspecifiedIpv4Address) {
  const Value others[] = {Text("abcd"), Ipv4("10.1.2.3"),
                          Ipv4Plen("10.1.2.3/24"), Uint32(1), Nothing()};
  for (const Value& other : others) {
    EXPECT_EQ(Ipv4Of(access, other), IPv4Addr()) << other.type();
  }
}

TEST_F(ConfigAccessTest, TakesSixteenOctetsAsAnIpv6Address) {
  EXPECT_EQ(
      Ipv6Of(access, Octets("20:01:0d:b8:00:01:00:02:00:03:00:04:00:05:00:06")),
      Addr6("2001:db8:1:2:3:4:5:6"));
  EXPECT_TRUE(Ipv6Of(access, OctetsOf("::")).is_unspecified());
  EXPECT_TRUE(fake.calls().empty());
}

TEST_F(ConfigAccessTest, TakesTheFirstSixteenOctetsOfMore) {
  EXPECT_EQ(
      Ipv6Of(access,
             Octets("20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:00:01:ff")),
      Addr6("2001:db8::1"));
  EXPECT_EQ(Ipv6Of(access, Binary(std::string(300, '\x01'))),
            Addr6("101:101:101:101:101:101:101:101"));
}

TEST_F(ConfigAccessTest, OctetsMissingInAnIpv6AddressAreZero) {
  EXPECT_EQ(Ipv6Of(access, Octets("20:01:0d:b8")), Addr6("2001:db8::"));
  EXPECT_EQ(
      Ipv6Of(access, Octets("20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:0a")),
      Addr6("2001:db8::a00"));
  EXPECT_EQ(Ipv6Of(access, Binary("")), IPv6Addr());
}

TEST_F(ConfigAccessTest, AnyOtherTypeIsTheUnspecifiedIpv6Address) {
  const Value others[] = {Text("abcdefghabcdefgh"), Ipv6("2001:db8::1"),
                          Ipv6Plen("2001:db8::1/64"), Uint32(1), Nothing()};
  for (const Value& other : others) {
    EXPECT_EQ(Ipv6Of(access, other), IPv6Addr()) << other.type();
  }
}

// ---- Prefixes from octets and a length --------------------------------------
//
// That a prefix length is a C_INT32 is asserted behind the test for the same:
// there is no value for which that assertion fails.

TEST_F(ConfigAccessTest, MakesAPrefixOfAnAddressAndALength) {
  EXPECT_EQ(Mask4Of(Octets("0a:01:02:03"), Int32(24)),
            IPv4AddrMask(0x0a010203, 24));
  EXPECT_EQ(Mask6Of(OctetsOf("2001:db8::1"), Int32(64)),
            Mask6("2001:db8::1/64"));
  EXPECT_TRUE(fake.calls().empty());
}

TEST_F(ConfigAccessTest, KeepsAPrefixLengthThatNoPrefixHas) {
  for (const std::int32_t length :
       {-2147483647 - 1, -1, 0, 33, 129, 256, 2147483647}) {
    EXPECT_EQ(Mask4Of(Octets("0a:01:02:03"), Int32(length)).prefix_len(),
              length);
    EXPECT_EQ(Mask6Of(OctetsOf("2001:db8::1"), Int32(length)).prefix_len(),
              length);
  }
}

TEST_F(ConfigAccessTest, WithoutOctetsThePrefixIsTheDefault) {
  const Value others[] = {Text("abcd"), Ipv4("10.1.2.3"), Ipv6("2001:db8::1"),
                          Nothing()};
  for (const Value& other : others) {
    EXPECT_EQ(Mask4Of(other, Int32(24)), IPv4AddrMask()) << other.type();
    EXPECT_EQ(Mask6Of(other, Int32(24)), IPv6AddrMask()) << other.type();
  }
}

TEST_F(ConfigAccessTest, WithoutAnInt32LengthThePrefixIsTheDefault) {
  const Value others[] = {Uint32(24), Uint8(24), Text("24"), Nothing()};
  for (const Value& other : others) {
    EXPECT_EQ(Mask4Of(Octets("0a:01:02:03"), other), IPv4AddrMask())
        << other.type();
    EXPECT_EQ(Mask6Of(OctetsOf("2001:db8::1"), other), IPv6AddrMask())
        << other.type();
  }
}

// ---- The name of a VRF by its identifier ------------------------------------

TEST_F(ConfigAccessTest, FindsTheNameOfAVrfByItsIndex) {
  fake.SetVrfIndex(7, 4000000000U);
  StoreVrfName(fake, 4000000000U, "red");
  StoreVrfName(fake, 7, "blue");
  EXPECT_EQ(VrfOf(Uint32(7)), "red");
  const std::string path =
      "/vorplex-internal:internal/vorplex-internal:vrf-config/"
      "indexTOstring{4000000000}/vname";
  ExpectCalls({"IdVrfFromComponent(7)", "maapi_exists(" + path + ")",
               "maapi_get_elem(" + path + ")", "confd_free_value(red)"});
  EXPECT_EQ(fake.calls()[1].format, path);
}

TEST_F(ConfigAccessTest, TheNameOfAVrfEndsAtItsFirstNul) {
  StoreVrfName(fake, 1, std::string("red\0blue", 8));
  StoreVrfName(fake, 2, "");
  EXPECT_EQ(VrfOf(Uint32(1)), "red");
  EXPECT_EQ(VrfOf(Uint32(2)), "");
}

TEST_F(ConfigAccessTest, AVrfIdentifierOfAnotherTypeIsGlobalWithoutAnyCall) {
  StoreVrfName(fake, 7, "red");
  const Value others[] = {Int32(7), Uint16(7), Text("7"), Octets("07"),
                          Nothing()};
  for (const Value& other : others) {
    EXPECT_EQ(VrfOf(other), "global") << other.type();
  }
  ExpectCalls({});
}

TEST_F(ConfigAccessTest, AVrfWithoutANameIsGlobal) {
  EXPECT_EQ(VrfOf(Uint32(7)), "global");
  ExpectCalls({"IdVrfFromComponent(7)",
               "maapi_exists(/vorplex-internal:internal/vorplex-internal:"
               "vrf-config/indexTOstring{7}/vname)"});
}

TEST_F(ConfigAccessTest, AVrfNameWhoseExistenceCannotBeToldStaysGlobal) {
  StoreVrfName(fake, 7, "red");
  fake.FailExists("/internal/vrf-config/indexTOstring{7}/vname");
  EXPECT_EQ(VrfOf(Uint32(7)), "global");
  EXPECT_EQ(fake.calls().size(), 2U);
}

// Unlike the name in a leaf "vrf", which is then empty. The value is given back
// also when the read of it failed.
TEST_F(ConfigAccessTest, ANameOfAVrfThatCannotBeReadStaysGlobal) {
  StoreVrfName(fake, 7, "red");
  fake.FailReads("/internal/vrf-config/indexTOstring{7}/vname");
  EXPECT_EQ(VrfOf(Uint32(7)), "global");
  const std::string path =
      "/vorplex-internal:internal/vorplex-internal:vrf-config/"
      "indexTOstring{7}/vname";
  ExpectCalls({"IdVrfFromComponent(7)", "maapi_exists(" + path + ")",
               "maapi_get_elem(" + path + ")", "confd_free_value()"});
}

TEST_F(ConfigAccessTest, TheNameOfAVrfIsReadWhenTheAnswerIsZeroOnly) {
  StoreVrfName(fake, 7, "red");
  for (const int answer : kFailedReads) {
    fake.FailCall(3, answer);
    EXPECT_EQ(VrfOf(Uint32(7)), "global") << answer;
  }
}

TEST_F(ConfigAccessTest, StopsForANameOfAVrfThatIsNoText) {
  const std::string report = ReportOf(
      {"src/lib/config.cc", "303",
       "std::__cxx11::string ip_application::config_valid::GenericConfig::"
       "get_vrf_name_from_id(const confd_value_t&) const",
       "(&vrf)->type == C_BUF"});
  StoreVrfName(fake, 7, "red");
  fake.SetValue("/internal/vrf-config/indexTOstring{7}/vname", Int32(1));
  EXPECT_EXIT(VrfOf(Uint32(7)), ::testing::KilledBySignal(SIGABRT), report);
}

// ---- What says that an element exists ---------------------------------------

// A read that makes something of an element which is there, and what it makes
// of none.
struct ExistsCase {
  std::string name;
  unsigned number_of_exists;  // among the calls of the read
  std::function<void(FakePlatform&)> store;
  std::function<std::string(const Access&)> read;  // as a text
  std::string some;
  std::string none;
};

// Of a list.
std::string CountText(std::size_t count) { return std::to_string(count); }

std::vector<ExistsCase> LeafCases() {
  const auto stored = [](const Value& value) {
    return [value](FakePlatform& platform) { platform.SetValue(kLeaf, value); };
  };
  return {{"Ipv4Address", 1, stored(Ipv4Plen("10.1.2.3/24")),
           [](const Access& reads) {
             return reads.get_ipv4_addr_mask(kLeaf).to_string();
           },
           "10.1.2.3/24", "0.0.0.0/0"},
          {"Ipv6Address", 1, stored(Ipv6Plen("2001:db8::1/64")),
           [](const Access& reads) {
             return reads.get_ipv6_addr_mask(kLeaf).to_string();
           },
           "2001:db8::1/64", "::/0"},
          {"Identifier", 1, stored(Int32(100)),
           [](const Access& reads) {
             return std::to_string(reads.get_intf_lim_id(kLeaf));
           },
           "16777316", "0"},
          {"VrfName", 1, stored(Text("red")),
           [](const Access& reads) { return reads.get_vrf_name(kLeaf); }, "red",
           "global"},
          {"VrfNameOfAnIdentifier", 2,
           [](FakePlatform& platform) { StoreVrfName(platform, 7, "red"); },
           [](const Access& reads) {
             return reads.get_vrf_name_from_id(Uint32(7).Borrow());
           },
           "red", "global"}};
}

std::vector<ExistsCase> ListCases() {
  const auto store = [](FakePlatform& platform) {
    platform.AddEntry(kList, {Text("a"), Text("b")});
  };
  return {{"FirstKeys", 1, store,
           [](const Access& reads) {
             return CountText(reads.get_key_list(kList).size());
           },
           "1", "0"},
          {"SeveralKeys", 1, store,
           [](const Access& reads) {
             return CountText(reads.get_key_list(kList, 2).size());
           },
           "1", "0"}};
}

class ExistsTest : public ConfigAccessTest,
                   public ::testing::WithParamInterface<ExistsCase> {};

// No answer but 1 does, nor one above it.
TEST_P(ExistsTest, OneIsTheOnlyAnswerThatSaysSo) {
  GetParam().store(fake);
  EXPECT_EQ(GetParam().read(access), GetParam().some);
  for (const int answer : {2, CONFD_ERR, CONFD_EOF}) {
    fake.ForgetCalls();
    fake.FailCall(GetParam().number_of_exists, answer);
    EXPECT_EQ(GetParam().read(access), GetParam().none) << answer;
    ASSERT_EQ(fake.calls().size(), GetParam().number_of_exists);
    EXPECT_EQ(fake.calls().back().name, "maapi_exists");
  }
}

INSTANTIATE_TEST_SUITE_P(Leaves, ExistsTest, ::testing::ValuesIn(LeafCases()),
                         [](const auto& exists) { return exists.param.name; });
INSTANTIATE_TEST_SUITE_P(Lists, ExistsTest, ::testing::ValuesIn(ListCases()),
                         [](const auto& exists) { return exists.param.name; });

// ---- Octets as text ---------------------------------------------------------

TEST_F(ConfigAccessTest, PrintsOctetsAsPairsOfLowerCaseDigits) {
  EXPECT_EQ(HexOf(Octets("0a:ff")), "0a:ff");
  EXPECT_EQ(HexOf(Octets("0a:01:00:00")), "0a:01:00:00");
  EXPECT_EQ(HexOf(OctetsOf("2001:db8::ABCD")),
            "20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:ab:cd");
  EXPECT_TRUE(fake.calls().empty());
}

TEST_F(ConfigAccessTest, PrintsOneOctetWithoutASeparator) {
  EXPECT_EQ(HexOf(Octets("00")), "00");
  EXPECT_EQ(HexOf(Octets("07")), "07");
  EXPECT_EQ(HexOf(Octets("ff")), "ff");
}

TEST_F(ConfigAccessTest, PrintsEveryOctetAsTwoDigits) {
  std::string all;
  for (int octet = 0; octet < 256; ++octet) {
    all += static_cast<char>(static_cast<unsigned char>(octet));
  }
  const std::string text = HexOf(Binary(all));
  ASSERT_EQ(text.size(), 256U * 3 - 1);
  for (std::size_t octet = 0; octet < 256; ++octet) {
    const std::string pair = text.substr(octet * 3, 2);
    EXPECT_EQ(std::stoul(pair, nullptr, 16), octet);
    EXPECT_EQ(pair.find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_EQ(text.substr(octet * 3 + 2, 1), octet == 255 ? "" : ":");
  }
}

// The first octet is printed without a look at the length; behind no octets at
// all stands the NUL that ends them.
TEST_F(ConfigAccessTest, PrintsNoOctetsAsTheNulBehindThem) {
  EXPECT_EQ(HexOf(Binary("")), "00");
}

TEST_F(ConfigAccessTest, PrintsAnyOtherTypeAsTheEmptyText) {
  const Value others[] = {Text("abc"), Ipv4("10.1.2.3"), Uint32(10), Int32(10),
                          Nothing()};
  for (const Value& other : others) {
    EXPECT_EQ(HexOf(other), "") << other.type();
  }
}

// ---- An exception in the middle ---------------------------------------------

TEST_F(ConfigAccessTest, AnExceptionLeavesNothingOpen) {
  fake.AddEntry("/list", {Text("a")});
  for (const unsigned number : {2U, 3U, 4U, 5U}) {
    fake.ThrowAtCall(number);
    EXPECT_THROW(access.get_key_list("/list"), FakeCallError) << number;
    EXPECT_EQ(fake.open_cursors(), 0U) << number;
    fake.ThrowAtCall(number);
    EXPECT_THROW(access.get_key_list("/list", 1), FakeCallError) << number;
    EXPECT_EQ(fake.open_cursors(), 0U) << number;
  }
}

TEST_F(ConfigAccessTest, AnExceptionOfTheFaultServicePassesOn) {
  fake.AddEntry("/list", {Text("a")});
  fake.ThrowAtCall(8);
  EXPECT_THROW(access.get_intf_ipv4_addr_mask_list("/list"), FakeCallError);
  EXPECT_EQ(fake.CallTexts().back(),
            "hostmw_gen_fault(Unspecified IPv4 address for key 'a')");
}

}  // namespace
}  // namespace ipav::testing
