// The readers of the interfaces, and how two reads become one record.

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "include/config.h"
#include "tests/support/addresses.h"
#include "tests/support/builders.h"
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

// ---- What is read of an interface -------------------------------------------

struct ReadCase {
  std::string name;
  InterfaceData data;
  ConfigAddrFamily family;
  std::string record;  // as a text, behind the kind and the name
  // Below the entry: a list entry without an address, a leaf that cannot be
  // read.
  std::string empty_entry;
  std::string unreadable;
  std::string fault;  // the function that reports a missing address
};

InterfaceData With(InterfaceData data, const std::optional<std::string>& ipv4,
                   const Texts& ipv4_list, const Texts& ipv6 = {}) {
  data.ipv4 = ipv4;
  data.ipv4_list = ipv4_list;
  data.ipv6 = ipv6;
  return data;
}

InterfaceData InRedOnVlan100(InterfaceData data) {
  data.vrf = "red";
  data.vlan = 100;  // the model has none but of an l3
  return data;
}

std::vector<ReadCase> ReadCases() {
  const auto none = std::nullopt;
  const std::string global = ": vrf global, id 0";
  const std::string lists = "get_intf_ipv4_addr_mask_list";
  const std::string list6 = "get_intf_ipv6_addr_mask_list";
  const Texts two4 = {"10.2.0.1/16", "10.1.0.1/16"};
  const std::string both4 = ", 10.2.0.1/16, 10.1.0.1/16";
  const Texts two6 = {"2001:db8::2/64", "2001:db8::1/64"};
  const std::string both6 = ", 2001:db8::2/64, 2001:db8::1/64";
  const std::string ip = "/ipv4/address/ip";
  const std::string second = "/ipv4/address/secondary";
  std::vector<ReadCase> cases = {
      {"PrimaryFirst", With(L3("a"), "10.3.0.1/16", two4, two6), kIpv4,
       global + ", 10.3.0.1/16" + both4, "", "", ""},
      {"SecondariesOnly", With(L3("a"), none, two4), kIpv4, global + both4, "",
       "", ""},
      {"UnspecifiedPrimary", With(L3("a"), "0.0.0.0/24", {}), kIpv4, global, "",
       "", ""},
      {"UnreadablePrimary", L3("a"), kIpv4, global, "", ip, ""},
      {"SecondaryWithoutAddress", L3("a"), kIpv4, global + ", 10.1.1.1/24",
       second, "", lists},
      {"UnreadableVrf", L3("a"), kIpv4, ": vrf , id 0, 10.1.1.1/24", "", "/vrf",
       ""},
      {"VrfAndVlan", InRedOnVlan100(L3("a")), kIpv4,
       ": vrf red, id 16777316, 10.1.1.1/24", "", "", ""},
      {"OneList", InRedOnVlan100(With(Loopback("a"), none, two4, two6)), kIpv4,
       ": vrf red, id 0" + both4, "", "", ""},
      {"EntryWithoutAddress", Loopback("a"), kIpv4, global, "/ipv4/address", "",
       lists},
      {"OneAddress", InRedOnVlan100(With(Mgmt("a"), "10.1.1.1/24", {}, two6)),
       kIpv4, ": vrf red, id 0, 10.1.1.1/24", "", "", ""},
      {"NoAddress", With(Mgmt("a"), none, {}), kIpv4, global, "", "",
       "ReadConfig"},
      {"UnspecifiedAddress", With(Mgmt("a"), "0.0.0.0/8", {}), kIpv4, global,
       "", "", "ReadConfig"},
      {"UnreadableAddress", Mgmt("a"), kIpv4, global, "", ip, "ReadConfig"}};
  for (const InterfaceData& data : {L3("a"), Loopback("a"), Mgmt("a")}) {
    cases.push_back({"Ipv6List", With(data, "10.1.1.1/24", {}, two6), kIpv6,
                     global + both6, "", "", ""});
    cases.push_back(
        {"NoIpv6List", With(data, none, {}), kIpv6, global, "", "", ""});
    cases.push_back({"Ipv6EntryWithoutAddress", With(data, none, {}, two6),
                     kIpv6, global + both6, "/ipv6/address", "", list6});
  }
  cases.push_back({"NoIpv4List", Loopback("a"), kIpv4, global, "", "", ""});
  return cases;
}

class InterfaceReadTest : public InterfaceConfigTest,
                          public ::testing::WithParamInterface<ReadCase> {
 protected:
  InterfaceConfig& Reader() {
    if (GetParam().data.kind == "l3") return l3;
    return GetParam().data.kind == "mgmt" ? static_cast<InterfaceConfig&>(mgmt)
                                          : loopback;
  }
};

TEST_P(InterfaceReadTest, GivesARecordAndReportsAddressesThatAreMissing) {
  const auto& [name, data, family, record, empty_entry, unreadable, fault] =
      GetParam();
  data.StoreIn(fake);
  if (!empty_entry.empty()) {
    fake.AddEntry(data.entry() + empty_entry, {Text("empty")});
  }
  if (!unreadable.empty()) fake.FailReads(data.entry() + unreadable);
  EXPECT_EQ(TextOf(Read(Reader(), family)), data.kind + " a" + record);
  if (fault.empty()) return ExpectNoFault();
  const bool is_list = fault != "ReadConfig";
  const int line = is_list ? (family == kIpv4 ? 133 : 208) : 475;
  ExpectOneFault(fault, line,
                 std::string("Unspecified ") +
                     (family == kIpv4 ? "IPv4" : "IPv6") +
                     " address for key '" + (is_list ? "empty" : "a") + "'");
}

INSTANTIATE_TEST_SUITE_P(Interfaces, InterfaceReadTest,
                         ::testing::ValuesIn(ReadCases()),
                         [](const auto& read) {
                           return read.param.data.kind + read.param.name;
                         });

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

// ---- Names ------------------------------------------------------------------

TEST_F(InterfaceConfigTest, KindsWithTheSameKeyDoNotCollide) {
  StoreLines(fake, {"l3 1", "loopback 1", "mgmt 1"});
  EXPECT_EQ(Read(l3, kIpv4).name, "l3 1");
  EXPECT_EQ(Read(loopback, kIpv4).name, "loopback 1");
  EXPECT_EQ(Read(mgmt, kIpv4).name, "mgmt 1");
}

TEST_F(InterfaceConfigTest, KeepsTheOrderOfTheDatabaseAndNamesLikeAFormat) {
  StoreLines(fake, {"l3 z", "l3 a", "l3 100%s%n vrf red vlan 5 10.1.1.1/24"});
  l3.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(TextsOf(l3),
            (Texts{"l3 z: vrf global, id 0", "l3 a: vrf global, id 0",
                   "l3 100%s%n: vrf red, id 16777221, 10.1.1.1/24"}));
}

// ---- Two reads, one record --------------------------------------------------

TEST_F(InterfaceConfigTest, BothFamiliesGiveOneRecordInEitherOrder) {
  StoreLines(fake, {"l3 core1 vrf red vlan 7 10.1.1.1/24 10.1.2.1/24 "
                    "2001:db8::1/64",
                    "l3 edge1 2001:db8:1::1/64 2001:db8:2::1/64"});
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
  const InterfaceData data =
      InterfaceFrom("l3 core1 vrf red vlan 7 10.1.1.1/24 2001:db8::1/64");
  data.StoreIn(fake);
  l3.ReadConfigIfNeeded(kIpv4);
  fake.SetValue(data.entry() + "/vrf", Text("blue"));
  fake.SetValue(data.entry() + "/lower-layer-if/vlan", Int32(8));
  l3.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(TextsOf(l3), Texts{"l3 core1: vrf red, id 16777223, 10.1.1.1/24, "
                               "2001:db8::1/64"});
}

TEST_F(InterfaceConfigTest, AnInterfaceOfALaterTransactionHasOneFamilyOnly) {
  StoreLines(fake, {"l3 core1 10.1.1.1/24 2001:db8::1/64"});
  l3.ReadConfigIfNeeded(kIpv4);
  StoreLines(fake, {"l3 core2 10.1.1.1/24 2001:db8::1/64"});
  l3.ReadConfigIfNeeded(kIpv6);
  fake.ForgetCalls();
  l3.ReadConfigIfNeeded(kIpv4);
  EXPECT_TRUE(fake.calls().empty());
  EXPECT_EQ(TextsOf(l3),
            (Texts{"l3 core1: vrf global, id 0, 10.1.1.1/24, 2001:db8::1/64",
                   "l3 core2: vrf global, id 0, 2001:db8::1/64"}));
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

// The calls of a walk over a list: the path that opens it, the path that the
// daemon gives it, and its keys.
Texts WalkCalls(const std::string& path, const std::string& walked,
                const Texts& keys) {
  Texts calls = {"maapi_exists(" + path + ")",
                 "maapi_init_cursor(" + path + ")"};
  for (const std::string& key : keys) {
    calls.push_back("maapi_get_next(" + walked + ")");
    calls.push_back("confd_pp_value(" + key + ")");
  }
  calls.push_back("maapi_get_next(" + walked + ")");
  calls.push_back("maapi_destroy_cursor(" + walked + ")");
  return calls;
}

void Append(const Texts& more, Texts* calls) {
  calls->insert(calls->end(), more.begin(), more.end());
}

// Everything that the model has for a kind is there.
TEST_F(InterfaceCallsTest, AreInTheOrderOfTheReadForEachKindAndFamily) {
  const struct {
    InterfaceConfig* reader;
    InterfaceData data;
    bool has_primary;
    std::string ipv4_list;  // below the entry
  } kinds[] = {
      {&l3, With(L3("a"), "10.1.1.1/24", {"10.1.2.1/24", "10.1.3.1/24"}), true,
       "/ipv4/address/secondary"},
      {&loopback, With(Loopback("a"), std::nullopt, {"10.9.0.1/32"}), false,
       "/ipv4/address"},
      {&mgmt, With(Mgmt("a"), "10.1.1.1/24", {}), true, ""}};
  for (const auto& [reader, plain, has_primary, ipv4_list] : kinds) {
    InterfaceData data = plain;
    data.ipv6 = {"2001:db8::1/64"};
    data.vrf = "red";
    if (data.kind == "l3") data.vlan = 100;
    data.StoreIn(fake);
    const std::string list = "/config/interface/ipapp:" + data.kind;
    const std::string walked = "/config/interface/" + data.kind;
    const std::string entry = list + "{a}";
    for (const ConfigAddrFamily family : {kIpv4, kIpv6}) {
      const bool is_ipv4 = family == kIpv4;
      const std::string get = is_ipv4 ? "maapi_get_ipv4_and_plen_elem("
                                      : "maapi_get_ipv6_and_plen_elem(";
      Texts calls = WalkCalls(list, walked, {"a"});
      if (is_ipv4 && has_primary) {
        Append({"maapi_exists(" + entry + "/ipv4/address/ip)",
                get + entry + "/ipv4/address/ip)"},
               &calls);
      }
      const std::string below = is_ipv4 ? ipv4_list : "/ipv6/address";
      const Texts keys = is_ipv4 ? data.ipv4_list : data.ipv6;
      if (!below.empty()) {
        Append(WalkCalls(entry + below, walked + "{a}" + below, keys), &calls);
        for (const std::string& key : keys) {
          const std::string ip = entry + below + "{" + key + "}/ip)";
          Append({"maapi_exists(" + ip, get + ip}, &calls);
        }
      }
      if (data.kind == "l3") {
        Append({"maapi_exists(" + entry + "/lower-layer-if/vlan)",
                "maapi_get_elem(" + entry + "/lower-layer-if/vlan)",
                "limid_l3_vlan_from_components(100)"},
               &calls);
      }
      Append({"maapi_exists(" + entry + "/vrf)",
              "maapi_get_elem(" + entry + "/vrf)", "confd_free_value(red)"},
             &calls);

      fake.ForgetCalls();
      reader->ReadConfigIfNeeded(family);
      EXPECT_EQ(Calls(), calls);
      ExpectPathsAreArguments();
    }
  }
}

TEST_F(InterfaceCallsTest, OfAnL3WithNothingButItsName) {
  InterfaceData data = L3("core1");
  data.ipv4.reset();
  data.StoreIn(fake);
  l3.ReadConfigIfNeeded(kIpv4);
  const std::string entry = "/config/interface/ipapp:l3{core1}";
  Texts calls = WalkCalls("/config/interface/ipapp:l3", "/config/interface/l3",
                          {"core1"});
  for (const char* below : {"/ipv4/address/ip", "/ipv4/address/secondary",
                            "/lower-layer-if/vlan", "/vrf"}) {
    calls.push_back("maapi_exists(" + entry + below + ")");
  }
  EXPECT_EQ(Calls(), calls);
}

// All names are read before the first interface is looked into.
TEST_F(InterfaceCallsTest, OfTwoL3sAreOneWalkAndThenOneInterfaceAfterAnother) {
  L3("b").StoreIn(fake);
  L3("a").StoreIn(fake);
  l3.ReadConfigIfNeeded(kIpv6);
  const std::string list = "/config/interface/ipapp:l3";
  Texts calls = WalkCalls(list, "/config/interface/l3", {"b", "a"});
  for (const char* entry : {"{b}", "{a}"}) {
    for (const char* below :
         {"/ipv6/address", "/lower-layer-if/vlan", "/vrf"}) {
      calls.push_back("maapi_exists(" + list + entry + below + ")");
    }
  }
  EXPECT_EQ(Calls(), calls);
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

}  // namespace
}  // namespace ipav::testing
