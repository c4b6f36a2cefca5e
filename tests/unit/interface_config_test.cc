// The readers of the interfaces, and how two reads become one record.

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <list>
#include <string>
#include <type_traits>
#include <vector>

#include "include/config.h"
#include "tests/support/addresses.h"
#include "tests/support/builders.h"
#include "tests/support/death_text.h"
#include "tests/support/plugin_test.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::ConfigAddrFamily;
using ip_application::config_valid::Interface;
using ip_application::config_valid::InterfaceConfig;
using ip_application::config_valid::InterfaceType;
using ip_application::config_valid::L3Config;
using ip_application::config_valid::LoConfig;
using ip_application::config_valid::MgmtConfig;
using nettypes::IPv4AddrMask;
using nettypes::IPv6AddrMask;

using Masks4 = std::list<IPv4AddrMask>;
using Masks6 = std::list<IPv6AddrMask>;
using Texts = std::vector<std::string>;

// No caller can ask a reader for any other family: the gate in front of the
// read lets none through.
constexpr auto kIpv4 = ConfigAddrFamily::kIpv4;
constexpr auto kIpv6 = ConfigAddrFamily::kIpv6;

static_assert(std::is_abstract_v<InterfaceConfig>);
static_assert(std::is_copy_constructible_v<Interface>);
static_assert(std::is_copy_assignable_v<Interface>);

InterfaceData Loopback(const std::string& name) {
  InterfaceData data;
  data.kind = "loopback";
  data.name = name;
  return data;
}

InterfaceData Mgmt(const std::string& name) {
  InterfaceData data;
  data.kind = "mgmt";
  data.name = name;
  return data;
}

InterfaceData L3(const std::string& name) {
  InterfaceData data;
  data.name = name;
  return data;
}

std::string TextOf(const Interface& interface) {
  std::string text = interface.name + ": vrf " + interface.vrf_name + ", id " +
                     std::to_string(interface.lim_id);
  for (const IPv4AddrMask& mask : interface.ipv4) {
    text += ", " + mask.to_string();
  }
  for (const IPv6AddrMask& mask : interface.ipv6) {
    text += ", " + mask.to_string();
  }
  return text;
}

Texts TextsOf(const InterfaceConfig& reader) {
  Texts texts;
  for (const Interface& interface : reader.interfaces()) {
    texts.push_back(TextOf(interface));
  }
  return texts;
}

class InterfaceConfigTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    GTEST_FLAG_SET(death_test_style, "fast");
    Bind(l3);
    Bind(loopback);
    Bind(mgmt);
  }

  void Bind(InterfaceConfig& reader) {
    reader.set_sock(FakePlatform::kSocket);
    reader.set_confd_trans(fake.tctx());
  }

  const Interface& Read(InterfaceConfig& reader, ConfigAddrFamily family) {
    static const Interface none;
    reader.ReadConfigIfNeeded(family);
    EXPECT_EQ(reader.interfaces().size(), 1U);
    return reader.interfaces().empty() ? none : reader.interfaces().front();
  }

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

  void ExpectNoFault() { EXPECT_TRUE(fake.faults().empty()); }

  L3Config l3;
  LoConfig loopback;
  MgmtConfig mgmt;
};

// ---- A new reader -----------------------------------------------------------

TEST_F(InterfaceConfigTest, ANewReaderHasItsTypeAndNoInterfaces) {
  EXPECT_EQ(l3.type(), InterfaceType::kL3);
  EXPECT_EQ(loopback.type(), InterfaceType::kLoopback);
  EXPECT_EQ(mgmt.type(), InterfaceType::kMgmt);
  for (const InterfaceConfig* reader :
       std::vector<const InterfaceConfig*>{&l3, &loopback, &mgmt}) {
    EXPECT_TRUE(reader->interfaces().empty());
  }
}

TEST_F(InterfaceConfigTest, ReadsNoInterfacesWhereThereAreNone) {
  l3.ReadConfigIfNeeded(kIpv4);
  loopback.ReadConfigIfNeeded(kIpv6);
  mgmt.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(fake.CallTexts(),
            (Texts{"maapi_exists(/config/interface/ipapp:l3)",
                   "maapi_exists(/config/interface/ipapp:loopback)",
                   "maapi_exists(/config/interface/ipapp:mgmt)"}));
  EXPECT_TRUE(l3.interfaces().empty());
  EXPECT_TRUE(loopback.interfaces().empty());
  EXPECT_TRUE(mgmt.interfaces().empty());
  EXPECT_TRUE(l3.ipv4_read());
}

TEST_F(InterfaceConfigTest, AListThatCannotBeReadHasNoInterfaces) {
  L3("core1").StoreIn(fake);
  fake.FailExists("/config/interface/l3");
  l3.ReadConfigIfNeeded(kIpv4);
  EXPECT_TRUE(l3.interfaces().empty());
  EXPECT_TRUE(l3.ipv4_read());
}

// ---- l3 ---------------------------------------------------------------------

TEST_F(InterfaceConfigTest, L3HasItsPrimaryAddressFirst) {
  InterfaceData data = L3("core1");
  data.ipv4 = "10.3.0.1/16";
  data.ipv4_list = {"10.2.0.1/16", "10.1.0.1/16"};
  data.StoreIn(fake);
  EXPECT_EQ(Read(l3, kIpv4).ipv4,
            (Masks4{Mask4("10.3.0.1/16"), Mask4("10.2.0.1/16"),
                    Mask4("10.1.0.1/16")}));
  EXPECT_TRUE(l3.interfaces()[0].ipv6.empty());
  ExpectNoFault();
}

TEST_F(InterfaceConfigTest, L3WithoutPrimaryHasItsSecondariesAndNoFault) {
  InterfaceData data = L3("core1");
  data.ipv4.reset();
  data.ipv4_list = {"10.2.0.1/16", "10.1.0.1/16"};
  data.StoreIn(fake);
  EXPECT_EQ(Read(l3, kIpv4).ipv4,
            (Masks4{Mask4("10.2.0.1/16"), Mask4("10.1.0.1/16")}));
  ExpectNoFault();
}

TEST_F(InterfaceConfigTest, L3LeavesAnUnspecifiedPrimaryOutSilently) {
  InterfaceData data = L3("core1");
  data.ipv4 = "0.0.0.0/24";
  data.StoreIn(fake);
  EXPECT_TRUE(Read(l3, kIpv4).ipv4.empty());
  ExpectNoFault();
}

TEST_F(InterfaceConfigTest, L3LeavesAnUnreadablePrimaryOutSilently) {
  InterfaceData data = L3("core1");
  data.StoreIn(fake);
  fake.FailReads(data.entry() + "/ipv4/address/ip");
  EXPECT_TRUE(Read(l3, kIpv4).ipv4.empty());
  ExpectNoFault();
}

TEST_F(InterfaceConfigTest, L3ReportsASecondaryWithoutAddress) {
  InterfaceData data = L3("core1");
  data.StoreIn(fake);
  fake.AddEntry(data.ipv4_path(), {Text("second")});
  EXPECT_EQ(Read(l3, kIpv4).ipv4, Masks4{Mask4("10.1.1.1/24")});
  ExpectOneFault("get_intf_ipv4_addr_mask_list", 133,
                 "Unspecified IPv4 address for key 'second'");
}

TEST_F(InterfaceConfigTest, L3ReportsAnIpv6EntryWithoutAddress) {
  InterfaceData data = L3("core1");
  data.ipv6 = {"2001:db8::1/64"};
  data.StoreIn(fake);
  fake.AddEntry(data.ipv6_path(), {Text("sixth")});
  EXPECT_EQ(Read(l3, kIpv6).ipv6, Masks6{Mask6("2001:db8::1/64")});
  ExpectOneFault("get_intf_ipv6_addr_mask_list", 208,
                 "Unspecified IPv6 address for key 'sixth'");
}

TEST_F(InterfaceConfigTest, L3HasItsVrfAndAnIdentifierByItsVlan) {
  InterfaceData data = L3("core1");
  data.vrf = "red";
  data.vlan = 100;
  data.StoreIn(fake);
  const Interface& interface = Read(l3, kIpv4);
  EXPECT_EQ(interface.name, "l3 core1");
  EXPECT_EQ(interface.vrf_name, "red");
  EXPECT_EQ(interface.lim_id, 0x01000064U);
}

TEST_F(InterfaceConfigTest, L3WithoutVrfAndVlanIsGlobalAndHasNoIdentifier) {
  L3("core1").StoreIn(fake);
  const Interface& interface = Read(l3, kIpv6);
  EXPECT_EQ(interface.vrf_name, "global");
  EXPECT_EQ(interface.lim_id, 0U);
}

TEST_F(InterfaceConfigTest, AVrfThatCannotBeReadIsTheEmptyName) {
  const InterfaceData data = L3("core1");
  data.StoreIn(fake);
  fake.FailReads(data.entry() + "/vrf");
  EXPECT_EQ(Read(l3, kIpv4).vrf_name, "");
}

// ---- loopback ---------------------------------------------------------------

TEST_F(InterfaceConfigTest, LoopbackHasAListOfIpv4Addresses) {
  InterfaceData data = Loopback("lo1");
  data.ipv4_list = {"10.9.0.2/32", "10.9.0.1/32"};
  data.vrf = "red";
  data.StoreIn(fake);
  const Interface& interface = Read(loopback, kIpv4);
  EXPECT_EQ(interface.name, "loopback lo1");
  EXPECT_EQ(interface.ipv4,
            (Masks4{Mask4("10.9.0.2/32"), Mask4("10.9.0.1/32")}));
  EXPECT_TRUE(interface.ipv6.empty());
  EXPECT_EQ(interface.vrf_name, "red");
}

TEST_F(InterfaceConfigTest, LoopbackHasAListOfIpv6Addresses) {
  InterfaceData data = Loopback("lo1");
  data.ipv6 = {"2001:db8::2/128", "2001:db8::1/128"};
  data.StoreIn(fake);
  const Interface& interface = Read(loopback, kIpv6);
  EXPECT_EQ(interface.ipv6,
            (Masks6{Mask6("2001:db8::2/128"), Mask6("2001:db8::1/128")}));
  EXPECT_TRUE(interface.ipv4.empty());
  EXPECT_EQ(interface.vrf_name, "global");
}

TEST_F(InterfaceConfigTest, LoopbackWithoutAddressesIsNoFault) {
  Loopback("lo1").StoreIn(fake);
  EXPECT_TRUE(Read(loopback, kIpv4).ipv4.empty());
  EXPECT_TRUE(Read(loopback, kIpv6).ipv6.empty());
  ExpectNoFault();
}

TEST_F(InterfaceConfigTest, LoopbackReportsAnEntryWithoutAddress) {
  const InterfaceData data = Loopback("lo1");
  data.StoreIn(fake);
  fake.AddEntry(data.ipv4_path(), {Text("first")});
  EXPECT_TRUE(Read(loopback, kIpv4).ipv4.empty());
  ExpectOneFault("get_intf_ipv4_addr_mask_list", 133,
                 "Unspecified IPv4 address for key 'first'");
}

// ---- mgmt -------------------------------------------------------------------

TEST_F(InterfaceConfigTest, MgmtHasOneIpv4Address) {
  InterfaceData data = Mgmt("eth0");
  data.vrf = "mgmt";
  data.StoreIn(fake);
  const Interface& interface = Read(mgmt, kIpv4);
  EXPECT_EQ(interface.name, "mgmt eth0");
  EXPECT_EQ(interface.ipv4, Masks4{Mask4("10.1.1.1/24")});
  EXPECT_TRUE(interface.ipv6.empty());
  EXPECT_EQ(interface.vrf_name, "mgmt");
  ExpectNoFault();
}

TEST_F(InterfaceConfigTest, MgmtHasAListOfIpv6Addresses) {
  InterfaceData data = Mgmt("eth0");
  data.ipv6 = {"2001:db8::2/64", "2001:db8::1/64"};
  data.StoreIn(fake);
  const Interface& interface = Read(mgmt, kIpv6);
  EXPECT_EQ(interface.ipv6,
            (Masks6{Mask6("2001:db8::2/64"), Mask6("2001:db8::1/64")}));
  EXPECT_TRUE(interface.ipv4.empty());
  EXPECT_EQ(interface.vrf_name, "global");
}

TEST_F(InterfaceConfigTest, MgmtReportsThatItHasNoIpv4Address) {
  InterfaceData data = Mgmt("eth0");
  data.ipv4.reset();
  data.StoreIn(fake);
  EXPECT_TRUE(Read(mgmt, kIpv4).ipv4.empty());
  ExpectOneFault("ReadConfig", 475, "Unspecified IPv4 address for key 'eth0'");
}

TEST_F(InterfaceConfigTest, MgmtReportsAnUnspecifiedIpv4Address) {
  InterfaceData data = Mgmt("eth0");
  data.ipv4 = "0.0.0.0/8";
  data.StoreIn(fake);
  EXPECT_TRUE(Read(mgmt, kIpv4).ipv4.empty());
  ExpectOneFault("ReadConfig", 475, "Unspecified IPv4 address for key 'eth0'");
}

TEST_F(InterfaceConfigTest, MgmtReportsAnIpv4AddressThatCannotBeRead) {
  const InterfaceData data = Mgmt("eth0");
  data.StoreIn(fake);
  fake.FailReads(data.entry() + "/ipv4/address/ip");
  EXPECT_TRUE(Read(mgmt, kIpv4).ipv4.empty());
  ExpectOneFault("ReadConfig", 475, "Unspecified IPv4 address for key 'eth0'");
}

TEST_F(InterfaceConfigTest, MgmtWithoutIpv4AddressIsNoFaultOfTheIpv6Read) {
  InterfaceData data = Mgmt("eth0");
  data.ipv4.reset();
  data.StoreIn(fake);
  Read(mgmt, kIpv6);
  ExpectNoFault();
}

// Its longest key is far below the room for the report's 349 characters.
TEST_F(InterfaceConfigTest, MgmtReportsTheLongestKeyInFull) {
  InterfaceData data = Mgmt(std::string(300, 'm'));
  data.ipv4.reset();
  data.StoreIn(fake);
  EXPECT_EQ(Read(mgmt, kIpv4).name, "mgmt " + std::string(255, 'm'));
  ExpectOneFault(
      "ReadConfig", 475,
      "Unspecified IPv4 address for key '" + std::string(255, 'm') + "'");
}

// ---- Identifiers ------------------------------------------------------------

TEST_F(InterfaceConfigTest, OnlyL3HasAnIdentifier) {
  for (InterfaceData data : {Loopback("1"), Mgmt("1")}) {
    data.vlan = 100;  // the model has none there
    data.StoreIn(fake);
  }
  EXPECT_EQ(Read(loopback, kIpv4).lim_id, 0U);
  EXPECT_EQ(Read(mgmt, kIpv4).lim_id, 0U);
  for (const Call& call : fake.calls()) {
    EXPECT_EQ(call.args.find("vlan"), std::string::npos) << call.text();
    EXPECT_NE(call.name, "limid_l3_vlan_from_components");
  }
}

// ---- Names ------------------------------------------------------------------

TEST_F(InterfaceConfigTest, KindsWithTheSameKeyDoNotCollide) {
  L3("1").StoreIn(fake);
  Loopback("1").StoreIn(fake);
  Mgmt("1").StoreIn(fake);
  EXPECT_EQ(Read(l3, kIpv4).name, "l3 1");
  EXPECT_EQ(Read(loopback, kIpv4).name, "loopback 1");
  EXPECT_EQ(Read(mgmt, kIpv4).name, "mgmt 1");
}

TEST_F(InterfaceConfigTest, KeepsTheOrderOfTheDatabase) {
  for (const char* name : {"z", "a", "m"}) L3(name).StoreIn(fake);
  l3.ReadConfigIfNeeded(kIpv4);
  ASSERT_EQ(l3.interfaces().size(), 3U);
  EXPECT_EQ(l3.interfaces()[0].name, "l3 z");
  EXPECT_EQ(l3.interfaces()[1].name, "l3 a");
  EXPECT_EQ(l3.interfaces()[2].name, "l3 m");
}

TEST_F(InterfaceConfigTest, ReadsAnInterfaceWhoseNameLooksLikeAFormat) {
  InterfaceData data = L3("100%s%n");
  data.vrf = "red";
  data.vlan = 5;
  data.StoreIn(fake);
  const Interface& interface = Read(l3, kIpv4);
  EXPECT_EQ(interface.name, "l3 100%s%n");
  EXPECT_EQ(interface.ipv4, Masks4{Mask4("10.1.1.1/24")});
  EXPECT_EQ(interface.vrf_name, "red");
  EXPECT_EQ(interface.lim_id, 0x01000005U);
}

// ---- Two reads, one record --------------------------------------------------

TEST_F(InterfaceConfigTest, BothFamiliesGiveOneRecordInEitherOrder) {
  InterfaceData core = L3("core1");
  core.ipv4_list = {"10.1.2.1/24"};
  core.ipv6 = {"2001:db8::1/64"};
  core.vrf = "red";
  core.vlan = 7;
  core.StoreIn(fake);
  InterfaceData edge = L3("edge1");
  edge.ipv4.reset();
  edge.ipv6 = {"2001:db8:1::1/64", "2001:db8:2::1/64"};
  edge.StoreIn(fake);

  const Texts both = {
      "l3 core1: vrf red, id 16777223, 10.1.1.1/24, 10.1.2.1/24, "
      "2001:db8::1/64",
      "l3 edge1: vrf global, id 0, 2001:db8:1::1/64, 2001:db8:2::1/64"};
  l3.ReadConfigIfNeeded(kIpv4);
  l3.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(TextsOf(l3), both);

  L3Config other;
  Bind(other);
  other.ReadConfigIfNeeded(kIpv6);
  other.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(TextsOf(other), both);
}

TEST_F(InterfaceConfigTest, VrfAndIdentifierAreThoseOfTheFirstRead) {
  InterfaceData data = L3("core1");
  data.vrf = "red";
  data.vlan = 7;
  data.ipv6 = {"2001:db8::1/64"};
  data.StoreIn(fake);
  l3.ReadConfigIfNeeded(kIpv4);
  fake.SetValue(data.entry() + "/vrf", Text("blue"));
  fake.SetValue(data.entry() + "/lower-layer-if/vlan", Int32(8));
  l3.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(TextsOf(l3), Texts{"l3 core1: vrf red, id 16777223, 10.1.1.1/24, "
                               "2001:db8::1/64"});
}

TEST_F(InterfaceConfigTest, AnInterfaceOfALaterTransactionHasOneFamilyOnly) {
  InterfaceData data = L3("core1");
  data.ipv6 = {"2001:db8::1/64"};
  data.StoreIn(fake);
  l3.ReadConfigIfNeeded(kIpv4);
  data.name = "core2";
  data.StoreIn(fake);
  l3.ReadConfigIfNeeded(kIpv6);
  l3.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(TextsOf(l3),
            (Texts{"l3 core1: vrf global, id 0, 10.1.1.1/24, 2001:db8::1/64",
                   "l3 core2: vrf global, id 0, 2001:db8::1/64"}));
}

TEST_F(InterfaceConfigTest, AReadFamilyIsNotReadAgain) {
  L3("core1").StoreIn(fake);
  l3.ReadConfigIfNeeded(kIpv4);
  fake.ForgetCalls();
  l3.ReadConfigIfNeeded(kIpv4);
  EXPECT_TRUE(fake.calls().empty());
  EXPECT_EQ(l3.interfaces().size(), 1U);
}

// ---- The merge --------------------------------------------------------------

// Which families a record has: "4", "6", "46" or nothing. The held record and
// the given one have addresses of their own, so that the result tells whose
// each list is.
Interface RecordWith(const std::string& families, bool held) {
  Interface record;
  record.name = "l3 core1";
  record.vrf_name = held ? "held" : "given";
  record.lim_id = held ? 1 : 2;
  if (families.find('4') != std::string::npos) {
    record.ipv4 = {Mask4(held ? "10.0.0.1/8" : "20.0.0.1/8"),
                   Mask4(held ? "10.0.0.2/8" : "20.0.0.2/8")};
  }
  if (families.find('6') != std::string::npos) {
    record.ipv6 = {Mask6(held ? "2001::1/64" : "2002::1/64"),
                   Mask6(held ? "2001::2/64" : "2002::2/64")};
  }
  return record;
}

struct MergeCase {
  std::string held;
  std::string given;
  std::string addresses;  // of the outcome
};

class MergeTest : public ::testing::TestWithParam<MergeCase> {};

TEST_P(MergeTest, GivesARecordOneFamilyThatItLacks) {
  L3Config reader;
  reader.MergeConfigAndInsert(RecordWith(GetParam().held, true));
  reader.MergeConfigAndInsert(RecordWith(GetParam().given, false));
  EXPECT_EQ(TextsOf(reader),
            Texts{"l3 core1: vrf held, id 1" + GetParam().addresses});
}

constexpr char kHeld4[] = ", 10.0.0.1/8, 10.0.0.2/8";
constexpr char kHeld6[] = ", 2001::1/64, 2001::2/64";
constexpr char kHeld46[] = ", 10.0.0.1/8, 10.0.0.2/8, 2001::1/64, 2001::2/64";
constexpr char kGiven4[] = ", 20.0.0.1/8, 20.0.0.2/8";
constexpr char kGiven6[] = ", 2002::1/64, 2002::2/64";

// An IPv4 list that is taken ends the merge: the IPv6 list waits for another.
INSTANTIATE_TEST_SUITE_P(
    Families, MergeTest,
    ::testing::Values(MergeCase{"", "", ""}, MergeCase{"", "4", kGiven4},
                      MergeCase{"", "6", kGiven6}, MergeCase{"", "46", kGiven4},
                      MergeCase{"4", "", kHeld4}, MergeCase{"4", "4", kHeld4},
                      MergeCase{"4", "6", std::string(kHeld4) + kGiven6},
                      MergeCase{"4", "46", std::string(kHeld4) + kGiven6},
                      MergeCase{"6", "", kHeld6},
                      MergeCase{"6", "4", std::string(kGiven4) + kHeld6},
                      MergeCase{"6", "6", kHeld6},
                      MergeCase{"6", "46", std::string(kGiven4) + kHeld6},
                      MergeCase{"46", "", kHeld46},
                      MergeCase{"46", "4", kHeld46},
                      MergeCase{"46", "6", kHeld46},
                      MergeCase{"46", "46", kHeld46}));

TEST(MergeNameTest, TakesTheSameNameOnlyByteForByte) {
  L3Config reader;
  Interface record = RecordWith("4", true);
  for (const std::string& name :
       {std::string("l3 a"), std::string("l3 A"), std::string("l3 a "),
        std::string("l3 ab"), std::string("l3 "), std::string(),
        std::string("loopback a"), std::string("l3 a\0b", 6)}) {
    record.name = name;
    reader.MergeConfigAndInsert(record);
    reader.MergeConfigAndInsert(record);
    EXPECT_EQ(reader.interfaces().back().name, name);
  }
  EXPECT_EQ(reader.interfaces().size(), 8U);
}

TEST(MergeNameTest, KeepsARecordInItsPlace) {
  L3Config reader;
  Interface record = RecordWith("4", true);
  for (const char* name : {"l3 b", "l3 a"}) {
    record.name = name;
    reader.MergeConfigAndInsert(record);
  }
  record = RecordWith("6", false);
  for (const char* name : {"l3 c", "l3 a", "l3 b"}) {
    record.name = name;
    reader.MergeConfigAndInsert(record);
  }
  EXPECT_EQ(TextsOf(reader),
            (Texts{std::string("l3 b: vrf held, id 1") + kHeld4 + kGiven6,
                   std::string("l3 a: vrf held, id 1") + kHeld4 + kGiven6,
                   std::string("l3 c: vrf given, id 2") + kGiven6}));
}

TEST(MergeNameTest, CopiesTheRecordItIsGiven) {
  L3Config reader;
  Interface record = RecordWith("4", true);
  reader.MergeConfigAndInsert(record);
  record.vrf_name = "changed";
  record.ipv4.clear();
  EXPECT_EQ(TextsOf(reader),
            Texts{std::string("l3 core1: vrf held, id 1") + kHeld4});
}

// ---- Wrong types stop the process -------------------------------------------

TEST_F(InterfaceConfigTest, StopsForAVlanThatIsNoInt32) {
  const InterfaceData data = L3("core1");
  data.StoreIn(fake);
  fake.SetValue(data.entry() + "/lower-layer-if/vlan", Uint16(7));
  EXPECT_EXIT(l3.ReadConfigIfNeeded(kIpv4), ::testing::KilledBySignal(SIGABRT),
              ReportOf({"src/lib/config.cc", "264",
                        "limid_t ip_application::config_valid::GenericConfig::"
                        "get_intf_lim_id(const string&) const",
                        "(&confd_if_index)->type == C_INT32"}));
}

TEST_F(InterfaceConfigTest, StopsForAVrfThatIsNoText) {
  const std::string report = ReportOf(
      {"src/lib/config.cc", "282",
       "std::__cxx11::string ip_application::config_valid::GenericConfig::"
       "get_vrf_name(const string&) const",
       "(&l3_vrf_name)->type == C_BUF"});
  for (const InterfaceData& data : {L3("1"), Loopback("1"), Mgmt("1")}) {
    data.StoreIn(fake);
    fake.SetValue(data.entry() + "/vrf", Int32(7));
  }
  for (InterfaceConfig* reader :
       std::vector<InterfaceConfig*>{&l3, &loopback, &mgmt}) {
    EXPECT_EXIT(reader->ReadConfigIfNeeded(kIpv6),
                ::testing::KilledBySignal(SIGABRT), report);
  }
}

// ---- The calls of a read, in order ------------------------------------------

class InterfaceCallsTest : public InterfaceConfigTest {
 protected:
  // A value that holds no memory may be given back at any time, or not at all.
  Texts Calls() {
    Texts texts;
    for (const Call& call : fake.calls()) {
      if (call.text() != "confd_free_value(100)") texts.push_back(call.text());
    }
    return texts;
  }

  void ExpectPathsAreArguments() {
    for (const Call& call : fake.calls()) {
      if (call.format.empty()) continue;
      EXPECT_EQ(call.format, "%s") << call.text();
      EXPECT_EQ(call.sock, FakePlatform::kSocket) << call.text();
      EXPECT_EQ(call.thandle, FakePlatform::kTransaction) << call.text();
    }
  }
};

TEST_F(InterfaceCallsTest, OfAnL3sIpv4Addresses) {
  InterfaceData data = L3("core1");
  data.ipv4_list = {"10.1.2.1/24", "10.1.3.1/24"};
  data.ipv6 = {"2001:db8::1/64"};
  data.vlan = 100;
  data.vrf = "red";
  data.StoreIn(fake);
  l3.ReadConfigIfNeeded(kIpv4);
  const std::string list = "/config/interface/ipapp:l3";
  const std::string entry = "/config/interface/ipapp:l3{core1}";
  const std::string second = entry + "/ipv4/address/secondary";
  const std::string walk = "/config/interface/l3{core1}/ipv4/address/secondary";
  EXPECT_EQ(
      Calls(),
      (Texts{"maapi_exists(" + list + ")",
             "maapi_init_cursor(" + list + ")",
             "maapi_get_next(/config/interface/l3)",
             "confd_pp_value(core1)",
             "maapi_get_next(/config/interface/l3)",
             "maapi_destroy_cursor(/config/interface/l3)",
             "maapi_exists(" + entry + "/ipv4/address/ip)",
             "maapi_get_ipv4_and_plen_elem(" + entry + "/ipv4/address/ip)",
             "maapi_exists(" + second + ")",
             "maapi_init_cursor(" + second + ")",
             "maapi_get_next(" + walk + ")",
             "confd_pp_value(10.1.2.1/24)",
             "maapi_get_next(" + walk + ")",
             "confd_pp_value(10.1.3.1/24)",
             "maapi_get_next(" + walk + ")",
             "maapi_destroy_cursor(" + walk + ")",
             "maapi_exists(" + second + "{10.1.2.1/24}/ip)",
             "maapi_get_ipv4_and_plen_elem(" + second + "{10.1.2.1/24}/ip)",
             "maapi_exists(" + second + "{10.1.3.1/24}/ip)",
             "maapi_get_ipv4_and_plen_elem(" + second + "{10.1.3.1/24}/ip)",
             "maapi_exists(" + entry + "/lower-layer-if/vlan)",
             "maapi_get_elem(" + entry + "/lower-layer-if/vlan)",
             "limid_l3_vlan_from_components(100)",
             "maapi_exists(" + entry + "/vrf)",
             "maapi_get_elem(" + entry + "/vrf)",
             "confd_free_value(red)"}));
  ExpectPathsAreArguments();
}

TEST_F(InterfaceCallsTest, OfAnL3sIpv6Addresses) {
  InterfaceData data = L3("core1");
  data.ipv4_list = {"10.1.2.1/24"};
  data.ipv6 = {"2001:db8::1/64"};
  data.vlan = 100;
  data.vrf = "red";
  data.StoreIn(fake);
  l3.ReadConfigIfNeeded(kIpv6);
  const std::string list = "/config/interface/ipapp:l3";
  const std::string entry = "/config/interface/ipapp:l3{core1}";
  const std::string sixth = entry + "/ipv6/address";
  const std::string walk = "/config/interface/l3{core1}/ipv6/address";
  EXPECT_EQ(Calls(), (Texts{"maapi_exists(" + list + ")",
                            "maapi_init_cursor(" + list + ")",
                            "maapi_get_next(/config/interface/l3)",
                            "confd_pp_value(core1)",
                            "maapi_get_next(/config/interface/l3)",
                            "maapi_destroy_cursor(/config/interface/l3)",
                            "maapi_exists(" + sixth + ")",
                            "maapi_init_cursor(" + sixth + ")",
                            "maapi_get_next(" + walk + ")",
                            "confd_pp_value(2001:db8::1/64)",
                            "maapi_get_next(" + walk + ")",
                            "maapi_destroy_cursor(" + walk + ")",
                            "maapi_exists(" + sixth + "{2001:db8::1/64}/ip)",
                            "maapi_get_ipv6_and_plen_elem(" + sixth +
                                "{2001:db8::1/64}/ip)",
                            "maapi_exists(" + entry + "/lower-layer-if/vlan)",
                            "maapi_get_elem(" + entry + "/lower-layer-if/vlan)",
                            "limid_l3_vlan_from_components(100)",
                            "maapi_exists(" + entry + "/vrf)",
                            "maapi_get_elem(" + entry + "/vrf)",
                            "confd_free_value(red)"}));
  ExpectPathsAreArguments();
}

TEST_F(InterfaceCallsTest, OfAnL3WithNothingButItsName) {
  InterfaceData data = L3("core1");
  data.ipv4.reset();
  data.StoreIn(fake);
  l3.ReadConfigIfNeeded(kIpv4);
  const std::string entry = "/config/interface/ipapp:l3{core1}";
  EXPECT_EQ(
      Calls(),
      (Texts{"maapi_exists(/config/interface/ipapp:l3)",
             "maapi_init_cursor(/config/interface/ipapp:l3)",
             "maapi_get_next(/config/interface/l3)", "confd_pp_value(core1)",
             "maapi_get_next(/config/interface/l3)",
             "maapi_destroy_cursor(/config/interface/l3)",
             "maapi_exists(" + entry + "/ipv4/address/ip)",
             "maapi_exists(" + entry + "/ipv4/address/secondary)",
             "maapi_exists(" + entry + "/lower-layer-if/vlan)",
             "maapi_exists(" + entry + "/vrf)"}));
}

// All names are read before the first interface is looked into.
TEST_F(InterfaceCallsTest, OfTwoL3sAreOneWalkAndThenOneInterfaceAfterAnother) {
  L3("b").StoreIn(fake);
  L3("a").StoreIn(fake);
  l3.ReadConfigIfNeeded(kIpv6);
  const std::string list = "/config/interface/ipapp:l3";
  EXPECT_EQ(
      Calls(),
      (Texts{"maapi_exists(" + list + ")", "maapi_init_cursor(" + list + ")",
             "maapi_get_next(/config/interface/l3)", "confd_pp_value(b)",
             "maapi_get_next(/config/interface/l3)", "confd_pp_value(a)",
             "maapi_get_next(/config/interface/l3)",
             "maapi_destroy_cursor(/config/interface/l3)",
             "maapi_exists(" + list + "{b}/ipv6/address)",
             "maapi_exists(" + list + "{b}/lower-layer-if/vlan)",
             "maapi_exists(" + list + "{b}/vrf)",
             "maapi_exists(" + list + "{a}/ipv6/address)",
             "maapi_exists(" + list + "{a}/lower-layer-if/vlan)",
             "maapi_exists(" + list + "{a}/vrf)"}));
}

TEST_F(InterfaceCallsTest, OfALoopback) {
  InterfaceData data = Loopback("lo1");
  data.ipv4_list = {"10.9.0.1/32"};
  data.ipv6 = {"2001:db8::1/128"};
  data.vrf = "red";
  data.StoreIn(fake);
  const std::string list = "/config/interface/ipapp:loopback";
  const std::string entry = "/config/interface/ipapp:loopback{lo1}";
  const Texts names = {"maapi_exists(" + list + ")",
                       "maapi_init_cursor(" + list + ")",
                       "maapi_get_next(/config/interface/loopback)",
                       "confd_pp_value(lo1)",
                       "maapi_get_next(/config/interface/loopback)",
                       "maapi_destroy_cursor(/config/interface/loopback)"};
  const Texts vrf = {"maapi_exists(" + entry + "/vrf)",
                     "maapi_get_elem(" + entry + "/vrf)",
                     "confd_free_value(red)"};
  const struct {
    ConfigAddrFamily family;
    std::string below;
    std::string key;
    std::string read;
  } families[] = {
      {kIpv4, "/ipv4/address", "10.9.0.1/32", "maapi_get_ipv4_and_plen_elem("},
      {kIpv6, "/ipv6/address", "2001:db8::1/128",
       "maapi_get_ipv6_and_plen_elem("}};
  for (const auto& family : families) {
    const std::string walk = "/config/interface/loopback{lo1}" + family.below;
    const std::string ip = entry + family.below + "{" + family.key + "}/ip)";
    Texts expected = names;
    for (const std::string& call :
         {"maapi_exists(" + entry + family.below + ")",
          "maapi_init_cursor(" + entry + family.below + ")",
          "maapi_get_next(" + walk + ")", "confd_pp_value(" + family.key + ")",
          "maapi_get_next(" + walk + ")", "maapi_destroy_cursor(" + walk + ")",
          "maapi_exists(" + ip, family.read + ip}) {
      expected.push_back(call);
    }
    expected.insert(expected.end(), vrf.begin(), vrf.end());
    fake.ForgetCalls();
    loopback.ReadConfigIfNeeded(family.family);
    EXPECT_EQ(Calls(), expected);
    ExpectPathsAreArguments();
  }
}

TEST_F(InterfaceCallsTest, OfAManagementInterfacesIpv4Address) {
  InterfaceData data = Mgmt("eth0");
  data.vrf = "red";
  data.StoreIn(fake);
  mgmt.ReadConfigIfNeeded(kIpv4);
  const std::string entry = "/config/interface/ipapp:mgmt{eth0}";
  EXPECT_EQ(
      Calls(),
      (Texts{"maapi_exists(/config/interface/ipapp:mgmt)",
             "maapi_init_cursor(/config/interface/ipapp:mgmt)",
             "maapi_get_next(/config/interface/mgmt)", "confd_pp_value(eth0)",
             "maapi_get_next(/config/interface/mgmt)",
             "maapi_destroy_cursor(/config/interface/mgmt)",
             "maapi_exists(" + entry + "/ipv4/address/ip)",
             "maapi_get_ipv4_and_plen_elem(" + entry + "/ipv4/address/ip)",
             "maapi_exists(" + entry + "/vrf)",
             "maapi_get_elem(" + entry + "/vrf)", "confd_free_value(red)"}));
  ExpectPathsAreArguments();
}

TEST_F(InterfaceCallsTest, OfAManagementInterfacesIpv6Addresses) {
  InterfaceData data = Mgmt("eth0");
  data.ipv6 = {"2001:db8::1/64"};
  data.StoreIn(fake);
  mgmt.ReadConfigIfNeeded(kIpv6);
  const std::string entry = "/config/interface/ipapp:mgmt{eth0}";
  const std::string sixth = entry + "/ipv6/address";
  const std::string walk = "/config/interface/mgmt{eth0}/ipv6/address";
  EXPECT_EQ(
      Calls(),
      (Texts{"maapi_exists(/config/interface/ipapp:mgmt)",
             "maapi_init_cursor(/config/interface/ipapp:mgmt)",
             "maapi_get_next(/config/interface/mgmt)", "confd_pp_value(eth0)",
             "maapi_get_next(/config/interface/mgmt)",
             "maapi_destroy_cursor(/config/interface/mgmt)",
             "maapi_exists(" + sixth + ")", "maapi_init_cursor(" + sixth + ")",
             "maapi_get_next(" + walk + ")", "confd_pp_value(2001:db8::1/64)",
             "maapi_get_next(" + walk + ")",
             "maapi_destroy_cursor(" + walk + ")",
             "maapi_exists(" + sixth + "{2001:db8::1/64}/ip)",
             "maapi_get_ipv6_and_plen_elem(" + sixth + "{2001:db8::1/64}/ip)",
             "maapi_exists(" + entry + "/vrf)"}));
  ExpectPathsAreArguments();
}

TEST_F(InterfaceCallsTest, OfAReportComeBeforeTheVrf) {
  InterfaceData data = Mgmt("eth0");
  data.ipv4.reset();
  data.StoreIn(fake);
  mgmt.ReadConfigIfNeeded(kIpv4);
  const Texts calls = Calls();
  const std::string entry = "/config/interface/ipapp:mgmt{eth0}";
  ASSERT_EQ(calls.size(), 9U);
  EXPECT_EQ(calls[6], "maapi_exists(" + entry + "/ipv4/address/ip)");
  EXPECT_EQ(calls[7],
            "hostmw_gen_fault(Unspecified IPv4 address for key 'eth0')");
  EXPECT_EQ(calls[8], "maapi_exists(" + entry + "/vrf)");
}

// Every value that was read is given back, once.
TEST_F(InterfaceCallsTest, GiveBackAsManyValuesAsWereRead) {
  InterfaceData data = L3("core1");
  data.vlan = 100;
  data.vrf = "red";
  data.StoreIn(fake);
  l3.ReadConfigIfNeeded(kIpv4);
  int read = 0;
  int given_back = 0;
  for (const Call& call : fake.calls()) {
    if (call.name == "maapi_get_elem") ++read;
    if (call.name == "confd_free_value") ++given_back;
  }
  EXPECT_EQ(read, 2);
  EXPECT_EQ(given_back, 2);
}

// ---- An exception in the middle ---------------------------------------------

bool GivesSomethingBack(const Call& call) {
  return call.name == "confd_free_value" || call.name == "maapi_destroy_cursor";
}

// The numbers of the calls of a read at which it may throw.
std::vector<unsigned> ThrowingCalls(const FakePlatform& platform) {
  std::vector<unsigned> numbers;
  for (unsigned i = 0; i < platform.calls().size(); ++i) {
    if (!GivesSomethingBack(platform.calls()[i])) numbers.push_back(i + 1);
  }
  return numbers;
}

template <typename Reader>
class InterfaceExceptionTest : public InterfaceConfigTest {
 protected:
  void StoreTwo(InterfaceData data) {
    data.ipv6 = {"2001:db8::1/64"};
    data.vrf = "red";
    data.StoreIn(fake);
    fake.AddEntry(data.ipv6_path(), {Text("no address")});
    data.name += "2";
    data.ipv4.reset();
    data.StoreIn(fake);
  }

  void ReadWithEachCallThrowing(ConfigAddrFamily family) {
    Reader undisturbed;
    Bind(undisturbed);
    fake.ForgetCalls();
    undisturbed.ReadConfigIfNeeded(family);
    const auto numbers = ThrowingCalls(fake);
    EXPECT_GT(numbers.size(), 10U);

    for (const unsigned number : numbers) {
      SCOPED_TRACE(number);
      Reader reader;
      Bind(reader);
      fake.ThrowAtCall(number);
      EXPECT_THROW(reader.ReadConfigIfNeeded(family), FakeCallError);
      EXPECT_EQ(fake.open_cursors(), 0U);
      EXPECT_EQ(fake.unfreed_values(), 0U);
      EXPECT_FALSE(reader.ipv4_read());
      EXPECT_FALSE(reader.ipv6_read());

      reader.ReadConfigIfNeeded(family);
      EXPECT_EQ(TextsOf(reader), TextsOf(undisturbed));
    }
  }
};

template <typename Reader>
InterfaceData DataFor();
template <>
InterfaceData DataFor<L3Config>() {
  InterfaceData data = L3("core1");
  data.vlan = 100;
  data.ipv4_list = {"10.1.2.1/24"};
  return data;
}
template <>
InterfaceData DataFor<LoConfig>() {
  InterfaceData data = Loopback("lo1");
  data.ipv4_list = {"10.9.0.1/32"};
  return data;
}
template <>
InterfaceData DataFor<MgmtConfig>() {
  return Mgmt("eth0");
}

using Readers = ::testing::Types<L3Config, LoConfig, MgmtConfig>;

struct ReaderName {
  template <typename Reader>
  static std::string GetName(int /*index*/) {
    return std::is_same_v<Reader, L3Config>   ? "L3"
           : std::is_same_v<Reader, LoConfig> ? "Loopback"
                                              : "Mgmt";
  }
};

TYPED_TEST_SUITE(InterfaceExceptionTest, Readers, ReaderName);

TYPED_TEST(InterfaceExceptionTest, LeavesNothingOpenAndTheFamilyUnread) {
  this->StoreTwo(DataFor<TypeParam>());
  this->ReadWithEachCallThrowing(kIpv4);
  this->ReadWithEachCallThrowing(kIpv6);
}

}  // namespace
}  // namespace ipav::testing
