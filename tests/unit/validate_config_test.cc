// The rules, on a snapshot that was read from the fake platform, or on records
// of their own where a rule takes some.
#include "include/validate_config.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "include/config.h"
#include "include/static_route_config.h"
#include "tests/support/addresses.h"
#include "tests/support/builders.h"
#include "tests/support/plugin_test.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::Config;
using ip_application::config_valid::ConfigAddrFamily;
using ip_application::config_valid::Interface;
using ip_application::config_valid::InterfaceType;
using ip_application::config_valid::StaticRoute;
using ip_application::config_valid::ValidateConfig;

using Texts = std::vector<std::string>;

constexpr auto kIpv4 = ConfigAddrFamily::kIpv4;
constexpr auto kIpv6 = ConfigAddrFamily::kIpv6;
constexpr auto kMgmt = InterfaceType::kMgmt;
constexpr auto kL3 = InterfaceType::kL3;
constexpr auto kLoopback = InterfaceType::kLoopback;

constexpr char kLimitText[] =
    "The maximum number of available static routes was exceeded.";

// ---- Inputs ----------------------------------------------------------------

Interface Record(const std::string& name, const std::string& vrf,
                 const Texts& ipv4, const Texts& ipv6 = {}) {
  Interface record;
  record.name = name;
  record.vrf_name = vrf;
  for (const std::string& address : ipv4) record.ipv4.push_back(Mask4(address));
  for (const std::string& address : ipv6) record.ipv6.push_back(Mask6(address));
  return record;
}

// An interface with these addresses; one that has a primary gets it of them.
InterfaceData Data(const std::string& kind, const std::string& name, Texts ipv4,
                   const Texts& ipv6 = {}) {
  InterfaceData data;
  data.kind = kind;
  data.name = name;
  data.ipv4.reset();
  if (kind != "loopback" && !ipv4.empty()) {
    data.ipv4 = ipv4.front();
    ipv4.erase(ipv4.begin());
  }
  data.ipv4_list = ipv4;
  data.ipv6 = ipv6;
  return data;
}

InterfaceData InVrf(InterfaceData data, const std::string& vrf) {
  data.vrf = vrf;
  return data;
}

StaticRouteRow Route(const std::string& destination, std::int32_t length,
                     const std::string& next_hop, std::uint32_t vrf_id = 0) {
  StaticRouteRow row;
  row.vrf_id = vrf_id;
  row.destination = destination;
  row.prefix_len = length;
  row.next_hop = next_hop;
  return row;
}

StaticRouteRow Through(StaticRouteRow row, const std::string& interface_name) {
  row.interface_name = interface_name;
  return row;
}

class ValidateConfigTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    config_.set_sock(FakePlatform::kSocket);
    config_.set_confd_trans(fake.tctx());
  }

  void Store(const InterfaceData& data) { data.StoreIn(fake); }
  void Store(const StaticRouteRow& row) { row.StoreIn(fake); }
  // Many routes of one family; the rows need not differ.
  void StoreMany(const StaticRouteRow& row, unsigned count) {
    for (unsigned i = 0; i < count; ++i) Store(row);
  }

  void ReadInterfaces(ConfigAddrFamily family) {
    for (const auto type : {kL3, kLoopback, kMgmt}) {
      config_.intf_by_type(type)->ReadConfigIfNeeded(family);
    }
  }
  void Read(ConfigAddrFamily family) {
    ReadInterfaces(family);
    config_.ReadStaticRouteConfig(family);
  }
  void Add(InterfaceType type, const Interface& record) {
    config_.intf_by_type(type)->MergeConfigAndInsert(record);
  }

  int JudgeIpv4(InterfaceType type) {
    Read(kIpv4);
    return rules_.ValidateInterfaceIPv4(config_, type);
  }
  int JudgeIpv6(InterfaceType type) {
    Read(kIpv6);
    return rules_.ValidateInterfaceIPv6(config_, type);
  }

  void ExpectHolds(int verdict) {
    EXPECT_EQ(verdict, 0);
    EXPECT_EQ(rules_.error_text(), "");
  }
  void ExpectViolated(int verdict, const std::string& text) {
    EXPECT_EQ(verdict, -1);
    EXPECT_EQ(rules_.error_text(), text);
  }

  Config config_;
  ValidateConfig rules_;
};

// ---- Either family ---------------------------------------------------------

// Runs a test once for each family, with addresses in the same places: those of
// an interface in the subnets 10.<n>.0.0/24 and 2001:db8:<n>::/64, and routes
// to the networks 20.<n>.0.0/16 and 2001:db9:<n>::/48. The numbers start at 1.
class FamilyTest : public ValidateConfigTest,
                   public ::testing::WithParamInterface<ConfigAddrFamily> {
 protected:
  static bool IsIpv4() { return GetParam() == kIpv4; }

  static std::string Address(int subnet, int host) {
    const std::string n = std::to_string(subnet);
    const std::string h = std::to_string(host);
    return IsIpv4() ? "10." + n + ".0." + h : "2001:db8:" + n + "::" + h;
  }
  static std::string Mask(int subnet, int host) {
    return Address(subnet, host) + (IsIpv4() ? "/24" : "/64");
  }
  static std::string Network(int number) {
    const std::string n = std::to_string(number);
    return IsIpv4() ? "20." + n + ".0.0/16" : "2001:db9:" + n + "::/48";
  }
  static StaticRouteRow RouteTo(int number, const std::string& next_hop) {
    const std::string network = Network(number);
    return Route(network.substr(0, network.find('/')), IsIpv4() ? 16 : 48,
                 next_hop);
  }
  static StaticRouteRow BlackHoleTo(int number) {
    return RouteTo(number, IsIpv4() ? "0.0.0.0" : "::");
  }

  static Interface RecordWith(const std::string& name, const std::string& vrf,
                              const Texts& masks) {
    return IsIpv4() ? Record(name, vrf, masks) : Record(name, vrf, {}, masks);
  }
  static InterfaceData DataWith(const std::string& kind,
                                const std::string& name, const Texts& masks) {
    return IsIpv4() ? Data(kind, name, masks) : Data(kind, name, {}, masks);
  }

  int JudgeAddresses(InterfaceType type) {
    return IsIpv4() ? JudgeIpv4(type) : JudgeIpv6(type);
  }

  // The texts. That of an overlap names the VRFs in IPv4 only.
  static std::string DuplicateText(const std::string& name,
                                   const std::string& address) {
    return name + " has duplicated " + (IsIpv4() ? "IPv4" : "IPv6") +
           " address " + address;
  }
  static std::string OverlapSide(const Interface& record,
                                 const std::string& mask) {
    return IsIpv4() ? record.name + " vrf " + record.vrf_name +
                          " ipv4 address " + mask
                    : record.name + " ipv6 address " + mask;
  }
  static std::string OverlapText(const Interface& first,
                                 const std::string& first_mask,
                                 const Interface& second,
                                 const std::string& second_mask) {
    return OverlapSide(first, first_mask) + " overlaps with " +
           OverlapSide(second, second_mask) + ".";
  }
  static std::string NextHopText(const std::string& name, int subnet, int host,
                                 int network) {
    return name + (IsIpv4() ? " ipv4 address " : " ipv6 address ") +
           Mask(subnet, host) + " and static route " + Network(network) +
           " next-hop " + Address(subnet, host) +
           " cannot have address conflict.";
  }
  static std::string BlackHoleText(int network) {
    return "Prefix " + Network(network) +
           " cannot be black-hole and have next-hop at the same time";
  }
};

const auto kFamilies = ::testing::Values(kIpv4, kIpv6);

std::string FamilyName(
    const ::testing::TestParamInfo<ConfigAddrFamily>& family) {
  return family.param == kIpv4 ? "Ipv4" : "Ipv6";
}

// ---- The error text --------------------------------------------------------

TEST(ErrorTextTest, IsEmptyBeforeAnyRule) {
  EXPECT_EQ(ValidateConfig().error_text(), "");
}

TEST(ErrorTextTest, IsReplacedWholeByALaterViolation) {
  ValidateConfig rules;
  EXPECT_FALSE(
      rules.InterfaceIPv4IsValid(Record("l3 a", "global", {"10.1.1.0/24"})));
  EXPECT_TRUE(rules.InterfaceHasDuplicateIpv4(
      Record("l3 b", "global", {"10.0.0.1/24", "10.0.0.1/24"})));
  EXPECT_EQ(rules.error_text(), "l3 b has duplicated IPv4 address 10.0.0.1");
}

TEST(ErrorTextTest, IsLeftAloneByARuleThatHolds) {
  ValidateConfig rules;
  EXPECT_FALSE(
      rules.InterfaceIPv4IsValid(Record("l3 a", "global", {"10.1.1.0/24"})));
  const std::string text = rules.error_text();
  EXPECT_TRUE(
      rules.InterfaceIPv4IsValid(Record("l3 a", "global", {"10.1.1.1/24"})));
  EXPECT_EQ(rules.error_text(), text);
}

// ---- An address that a host can have ---------------------------------------

struct HostCase {
  std::string address;
  std::string fault;  // "" for a usable address
};

class HostAddressTest : public ::testing::TestWithParam<HostCase> {};

TEST_P(HostAddressTest, IsNeitherTheNetworkNorTheBroadcastAddress) {
  const auto& [address, fault] = GetParam();
  ValidateConfig rules;
  EXPECT_EQ(rules.InterfaceIPv4IsValid(Record("l3 core1", "red", {address})),
            fault.empty());
  EXPECT_EQ(rules.error_text(), fault.empty()
                                    ? ""
                                    : "l3 core1 ipv4 address " + address +
                                          " cannot be configured as " + fault +
                                          " address.");
}

INSTANTIATE_TEST_SUITE_P(
    Prefixes, HostAddressTest,
    ::testing::Values(
        HostCase{"10.1.1.0/24", "network"}, HostCase{"10.1.1.1/24", ""},
        HostCase{"10.1.1.254/24", ""}, HostCase{"10.1.1.255/24", "broadcast"},
        HostCase{"10.1.0.255/16", ""}, HostCase{"10.1.1.0/16", ""},
        HostCase{"192.0.2.0/30", "network"}, HostCase{"192.0.2.1/30", ""},
        HostCase{"192.0.2.2/30", ""}, HostCase{"192.0.2.3/30", "broadcast"},
        HostCase{"192.0.2.0/31", ""}, HostCase{"192.0.2.1/31", ""},
        HostCase{"192.0.2.1/32", ""}, HostCase{"192.0.2.0/32", ""},
        HostCase{"192.0.2.255/32", ""}, HostCase{"128.0.0.0/1", "network"},
        HostCase{"128.0.0.1/1", ""}, HostCase{"127.255.255.255/1", "broadcast"},
        HostCase{"0.0.0.1/0", ""}, HostCase{"255.255.255.255/0", "broadcast"},
        HostCase{"0.0.0.0/0", "network"}));

TEST(HostAddressTest, TheFirstUnusableOneOfTheListIsTold) {
  ValidateConfig rules;
  EXPECT_FALSE(rules.InterfaceIPv4IsValid(
      Record("mgmt 1", "global",
             {"10.0.0.0/31", "10.0.0.1/24", "10.1.1.255/24", "10.2.2.0/24"})));
  EXPECT_EQ(rules.error_text(),
            "mgmt 1 ipv4 address 10.1.1.255/24 cannot be configured as "
            "broadcast address.");
}

TEST(HostAddressTest, AnInterfaceWithoutAddressesIsValid) {
  ValidateConfig rules;
  EXPECT_TRUE(rules.InterfaceIPv4IsValid(Record("l3 a", "global", {})));
  EXPECT_EQ(rules.error_text(), "");
}

// ---- Duplicates ------------------------------------------------------------

TEST(DuplicateTest, EachFamilyIsComparedForItself) {
  const Interface both = Record("l3 a", "global", {"10.0.0.1/24"},
                                {"2001:db8::1/64", "2001:db8::1/64"});
  ValidateConfig rules;
  EXPECT_FALSE(rules.InterfaceHasDuplicateIpv4(both));
  EXPECT_TRUE(rules.InterfaceHasDuplicateIpv6(both));
}

class DuplicateOrderTest : public FamilyTest {
 protected:
  bool HasDuplicate(const Texts& masks) {
    const Interface record = RecordWith("l3 a", "global", masks);
    return IsIpv4() ? rules_.InterfaceHasDuplicateIpv4(record)
                    : rules_.InterfaceHasDuplicateIpv6(record);
  }
};

TEST_P(DuplicateOrderTest, PrefixLengthsDoNotTellAddressesApart) {
  EXPECT_FALSE(HasDuplicate({Mask(1, 1), Mask(1, 2)}));
  EXPECT_EQ(rules_.error_text(), "");
  EXPECT_TRUE(HasDuplicate({Mask(1, 1), Address(1, 1) + "/16"}));
  EXPECT_EQ(rules_.error_text(), DuplicateText("l3 a", Address(1, 1)));
}

TEST_P(DuplicateOrderTest, TheEarliestAddressThatComesAgainIsTold) {
  // Neither the one that is met again first, nor the last one.
  EXPECT_TRUE(HasDuplicate({Mask(1, 9), Mask(1, 1), Mask(1, 2), Mask(1, 3),
                            Mask(1, 2), Mask(1, 1), Mask(1, 3)}));
  EXPECT_EQ(rules_.error_text(), DuplicateText("l3 a", Address(1, 1)));
}

INSTANTIATE_TEST_SUITE_P(Families, DuplicateOrderTest, kFamilies, FamilyName);

// ---- Overlap of two interfaces ---------------------------------------------

struct VrfCase {
  std::string name;
  std::string first;
  std::string second;
  bool share;
};

class AddressSpaceTest : public ::testing::TestWithParam<VrfCase> {};

TEST_P(AddressSpaceTest, DecidesWhetherIpv4PrefixesOverlap) {
  const auto& [name, first, second, share] = GetParam();
  ValidateConfig rules;
  EXPECT_EQ(
      rules.InterfaceIPv4Overlap(Record("l3 a", first, {"10.0.0.1/24"}),
                                 Record("loopback b", second, {"10.0.0.2/32"})),
      share);
  EXPECT_EQ(rules.error_text(),
            !share ? ""
                   : "l3 a vrf " + first +
                         " ipv4 address 10.0.0.1/24 overlaps with loopback b "
                         "vrf " +
                         second + " ipv4 address 10.0.0.2/32.");
}

// By design the VRFs stand in the IPv4 text only.
TEST_P(AddressSpaceTest, DecidesWhetherIpv6PrefixesOverlap) {
  const auto& [name, first, second, share] = GetParam();
  ValidateConfig rules;
  EXPECT_EQ(rules.InterfaceIPv6Overlap(
                Record("l3 a", first, {}, {"2001:db8::1/64"}),
                Record("loopback b", second, {}, {"2001:db8::2/128"})),
            share);
  EXPECT_EQ(rules.error_text(),
            !share ? ""
                   : "l3 a ipv6 address 2001:db8::1/64 overlaps with loopback "
                     "b ipv6 address 2001:db8::2/128.");
}

INSTANTIATE_TEST_SUITE_P(
    Vrfs, AddressSpaceTest,
    ::testing::Values(VrfCase{"BothRed", "red", "red", true},
                      VrfCase{"RedAndBlue", "red", "blue", false},
                      VrfCase{"BothGlobal", "global", "global", true},
                      VrfCase{"BothMgmt", "mgmt", "mgmt", true},
                      VrfCase{"GlobalAndMgmt", "global", "mgmt", true},
                      VrfCase{"MgmtAndGlobal", "mgmt", "global", true},
                      VrfCase{"GlobalAndRed", "global", "red", false},
                      VrfCase{"RedAndGlobal", "red", "global", false},
                      VrfCase{"MgmtAndRed", "mgmt", "red", false},
                      VrfCase{"RedAndMgmt", "red", "mgmt", false},
                      VrfCase{"LongerName", "global", "globally", false},
                      VrfCase{"OtherCase", "global", "Mgmt", false},
                      VrfCase{"BothUnreadable", "", "", true},
                      VrfCase{"UnreadableAndGlobal", "", "global", false}),
    [](const auto& vrf_case) { return vrf_case.param.name; });

TEST(OverlapTest, NeighbouringPrefixesDoNotOverlap) {
  ValidateConfig rules;
  EXPECT_FALSE(
      rules.InterfaceIPv4Overlap(Record("l3 a", "red", {"10.0.0.126/25"}),
                                 Record("l3 b", "red", {"10.0.0.129/25"})));
  EXPECT_FALSE(rules.InterfaceIPv6Overlap(
      Record("l3 a", "red", {}, {"2001:db8:0:1::1/64"}),
      Record("l3 b", "red", {}, {"2001:db8:0:2::1/64"})));
  EXPECT_EQ(rules.error_text(), "");
}

TEST(OverlapTest, AnInterfaceWithoutAddressesOverlapsWithNothing) {
  const Interface some =
      Record("l3 a", "red", {"10.0.0.1/0"}, {"2001:db8::1/0"});
  const Interface none = Record("l3 b", "red", {});
  ValidateConfig rules;
  EXPECT_FALSE(rules.InterfaceIPv4Overlap(some, none));
  EXPECT_FALSE(rules.InterfaceIPv4Overlap(none, some));
  EXPECT_FALSE(rules.InterfaceIPv6Overlap(some, none));
  EXPECT_FALSE(rules.InterfaceIPv6Overlap(none, some));
  EXPECT_EQ(rules.error_text(), "");
}

class OverlapOrderTest : public FamilyTest {};

TEST_P(OverlapOrderTest, TheFirstPairInTheOrderOfTheListsIsTold) {
  const Interface a =
      RecordWith("l3 a", "red", {Mask(9, 1), Mask(1, 1), Mask(2, 1)});
  const Interface b =
      RecordWith("l3 b", "red", {Mask(2, 2), Mask(1, 2), Mask(1, 3)});
  EXPECT_TRUE(IsIpv4() ? rules_.InterfaceIPv4Overlap(a, b)
                       : rules_.InterfaceIPv6Overlap(a, b));
  EXPECT_EQ(rules_.error_text(), OverlapText(a, Mask(1, 1), b, Mask(1, 2)));
}

INSTANTIATE_TEST_SUITE_P(Families, OverlapOrderTest, kFamilies, FamilyName);

// ---- Overlap of a kind with the others -------------------------------------

class KindOrderTest : public FamilyTest {
 protected:
  bool Overlaps(InterfaceType type) {
    const auto& changed = *config_.intf_by_type(type);
    const auto& all = config_.interface_configs();
    return IsIpv4() ? rules_.InterfaceIPv4Overlap(changed, all)
                    : rules_.InterfaceIPv6Overlap(changed, all);
  }

  const Interface l3_ = RecordWith("l3 a", "global", {Mask(1, 1)});
  const Interface loopback_ = RecordWith("loopback b", "global", {Mask(1, 2)});
  const Interface mgmt_ = RecordWith("mgmt c", "mgmt", {Mask(1, 3)});
};

TEST_P(KindOrderTest, TheChangedKindIsNamedFirstWhateverTheOrder) {
  Add(kL3, l3_);
  Add(kLoopback, loopback_);
  EXPECT_TRUE(Overlaps(kL3));
  EXPECT_EQ(rules_.error_text(),
            OverlapText(l3_, Mask(1, 1), loopback_, Mask(1, 2)));
  EXPECT_TRUE(Overlaps(kLoopback));
  EXPECT_EQ(rules_.error_text(),
            OverlapText(loopback_, Mask(1, 2), l3_, Mask(1, 1)));
}

TEST_P(KindOrderTest, InterfacesOfOneKindAndOfTwoOtherKindsAreNotCompared) {
  Add(kLoopback, loopback_);
  Add(kMgmt, mgmt_);
  EXPECT_FALSE(Overlaps(kL3));
  Add(kL3, RecordWith("l3 a", "red", {Mask(1, 1)}));
  Add(kL3, RecordWith("l3 b", "red", {Mask(1, 2)}));
  EXPECT_FALSE(Overlaps(kL3));
  EXPECT_EQ(rules_.error_text(), "");
}

TEST_P(KindOrderTest, TheOtherKindsFirstInterfaceDecidesThePair) {
  const Interface b = RecordWith("l3 b", "red", {Mask(1, 1)});
  const Interface x = RecordWith("loopback x", "red", {Mask(1, 2)});
  Add(kL3, RecordWith("l3 a", "red", {Mask(2, 1)}));
  Add(kL3, b);
  Add(kLoopback, x);
  Add(kLoopback, RecordWith("loopback y", "red", {Mask(2, 2)}));
  EXPECT_TRUE(Overlaps(kL3));
  EXPECT_EQ(rules_.error_text(), OverlapText(b, Mask(1, 1), x, Mask(1, 2)));
}

TEST_P(KindOrderTest, ManagementComesBeforeLoopback) {
  Add(kL3, l3_);
  Add(kLoopback, loopback_);
  Add(kMgmt, mgmt_);
  EXPECT_TRUE(Overlaps(kL3));
  EXPECT_EQ(rules_.error_text(),
            OverlapText(l3_, Mask(1, 1), mgmt_, Mask(1, 3)));
}

TEST_P(KindOrderTest, L3ComesBeforeLoopback) {
  Add(kMgmt, mgmt_);
  Add(kLoopback, loopback_);
  Add(kL3, l3_);
  EXPECT_TRUE(Overlaps(kMgmt));
  EXPECT_EQ(rules_.error_text(),
            OverlapText(mgmt_, Mask(1, 3), l3_, Mask(1, 1)));
}

TEST_P(KindOrderTest, ManagementComesBeforeL3) {
  Add(kLoopback, loopback_);
  Add(kL3, l3_);
  Add(kMgmt, mgmt_);
  EXPECT_TRUE(Overlaps(kLoopback));
  EXPECT_EQ(rules_.error_text(),
            OverlapText(loopback_, Mask(1, 2), mgmt_, Mask(1, 3)));
}

INSTANTIATE_TEST_SUITE_P(Families, KindOrderTest, kFamilies, FamilyName);

// ---- All rules of the addresses of a kind ----------------------------------

class AddressRulesTest : public ValidateConfigTest {};

TEST_F(AddressRulesTest, RefuseAnUnknownKindBeforeAnythingElse) {
  Store(Data("l3", "a", {"10.0.0.0/24"}));
  const std::string text =
      "invalid interface being handled by IP-App validation";
  ExpectViolated(JudgeIpv4(InterfaceType::kNone), text);
  ExpectViolated(JudgeIpv6(InterfaceType::kNone), text);
  ExpectViolated(JudgeIpv4(static_cast<InterfaceType>(7)), text);
  ExpectViolated(JudgeIpv6(static_cast<InterfaceType>(-1)), text);
}

TEST_F(AddressRulesTest, HoldWithoutInterfaces) {
  for (const auto type : {kMgmt, kL3, kLoopback}) {
    ExpectHolds(JudgeIpv4(type));
    ExpectHolds(JudgeIpv6(type));
  }
}

TEST_F(AddressRulesTest, HoldForInterfacesWithoutAddresses) {
  Store(Data("l3", "a", {}));
  Store(Data("l3", "b", {}));
  Store(Data("loopback", "a", {}));
  ExpectHolds(JudgeIpv4(kL3));
  ExpectHolds(JudgeIpv6(kL3));
}

TEST_F(AddressRulesTest, HoldForAKindWithoutInterfacesWhateverTheOthersHave) {
  Store(Data("loopback", "a", {"10.0.0.0/24"}));
  Store(Data("mgmt", "b", {"10.0.0.0/24"}));
  ExpectHolds(JudgeIpv4(kL3));
}

TEST_F(AddressRulesTest, JudgeTheValidityOfTheChangedKindOnly) {
  Store(Data("l3", "core1", {"10.1.1.0/24"}));
  Store(Data("loopback", "1", {"10.2.1.1/32"}));
  ExpectHolds(JudgeIpv4(kLoopback));
  ExpectViolated(JudgeIpv4(kL3),
                 "l3 core1 ipv4 address 10.1.1.0/24 cannot be configured as "
                 "network address.");
}

TEST_F(AddressRulesTest, JudgeEveryKind) {
  Store(Data("loopback", "7", {"10.1.1.0/24"}));
  Store(Data("mgmt", "9", {"10.2.1.255/24"}));
  ExpectViolated(JudgeIpv4(kLoopback),
                 "loopback 7 ipv4 address 10.1.1.0/24 cannot be configured as "
                 "network address.");
  ExpectViolated(JudgeIpv4(kMgmt),
                 "mgmt 9 ipv4 address 10.2.1.255/24 cannot be configured as "
                 "broadcast address.");
}

// No IPv6 address is refused as a network or broadcast address.
TEST_F(AddressRulesTest, TakeEveryIpv6AddressForOneOfAHost) {
  Store(Data("l3", "a", {}, {"2001:db8::/64", "2001:db8:1::/127"}));
  Store(Data("l3", "b", {}, {"2001:db8:2:0:ffff:ffff:ffff:ffff/64"}));
  ExpectHolds(JudgeIpv6(kL3));
}

class AddressFamilyTest : public FamilyTest {
 protected:
  static Interface Named(const std::string& name,
                         const std::string& vrf = "global") {
    return Record(name, vrf, {});
  }
};

TEST_P(AddressFamilyTest, LetsPrefixesOfOneInterfaceOverlap) {
  Store(DataWith("l3", "a", {Mask(1, 1), Mask(1, 2)}));
  ExpectHolds(JudgeAddresses(kL3));
}

TEST_P(AddressFamilyTest, NamesTheEarlierOfTwoInterfacesOfAKindFirst) {
  Store(DataWith("l3", "z", {Mask(1, 9)}));
  Store(DataWith("l3", "a", {Mask(1, 1)}));
  ExpectViolated(JudgeAddresses(kL3), OverlapText(Named("l3 z"), Mask(1, 9),
                                                  Named("l3 a"), Mask(1, 1)));
}

TEST_P(AddressFamilyTest, LetsOtherVrfsUseTheSameSubnet) {
  Store(InVrf(DataWith("l3", "a", {Mask(1, 1)}), "red"));
  Store(InVrf(DataWith("loopback", "b", {Mask(1, 2)}), "blue"));
  ExpectHolds(JudgeAddresses(kL3));
}

TEST_P(AddressFamilyTest, TakesTheGlobalAndTheManagementVrfForOneSpace) {
  Store(DataWith("l3", "a", {Mask(1, 1)}));
  Store(InVrf(DataWith("mgmt", "b", {Mask(1, 2)}), "mgmt"));
  const Interface a = Named("l3 a");
  const Interface b = Named("mgmt b", "mgmt");
  ExpectViolated(JudgeAddresses(kL3),
                 OverlapText(a, Mask(1, 1), b, Mask(1, 2)));
  ExpectViolated(JudgeAddresses(kMgmt),
                 OverlapText(b, Mask(1, 2), a, Mask(1, 1)));
}

TEST_P(AddressFamilyTest, RefusesAnAddressThatIsANextHop) {
  Store(DataWith("loopback", "100", {Mask(1, 1)}));
  Store(RouteTo(1, Address(1, 1)));
  ExpectViolated(JudgeAddresses(kLoopback),
                 NextHopText("loopback 100", 1, 1, 1));
}

// The order of the tests: duplicates, overlaps of the kind, next hops, the
// other kinds.
TEST_P(AddressFamilyTest, TestsDuplicatesBeforeOverlaps) {
  Store(DataWith("l3", "a", {Mask(1, 1), Mask(1, 1)}));
  Store(DataWith("l3", "b", {Mask(1, 2)}));
  ExpectViolated(JudgeAddresses(kL3), DuplicateText("l3 a", Address(1, 1)));
}

TEST_P(AddressFamilyTest, TestsOverlapsOfAKindBeforeNextHops) {
  Store(DataWith("l3", "a", {Mask(1, 1)}));
  Store(DataWith("l3", "b", {Mask(1, 2)}));
  Store(RouteTo(1, Address(1, 1)));
  ExpectViolated(JudgeAddresses(kL3), OverlapText(Named("l3 a"), Mask(1, 1),
                                                  Named("l3 b"), Mask(1, 2)));
}

TEST_P(AddressFamilyTest, FinishesTheKindBeforeTheOtherKinds) {
  Store(DataWith("l3", "a", {Mask(1, 1)}));
  Store(DataWith("l3", "b", {Mask(2, 1)}));
  Store(DataWith("loopback", "c", {Mask(1, 2)}));
  Store(RouteTo(1, Address(2, 1)));
  ExpectViolated(JudgeAddresses(kL3), NextHopText("l3 b", 2, 1, 1));
}

INSTANTIATE_TEST_SUITE_P(Families, AddressFamilyTest, kFamilies, FamilyName);

// ---- The order of the tests ------------------------------------------------

TEST_F(AddressRulesTest, TestTheValidityBeforeDuplicates) {
  Store(Data("l3", "a", {"10.0.0.1/24", "10.0.0.1/16", "10.9.0.0/24"}));
  ExpectViolated(JudgeIpv4(kL3),
                 "l3 a ipv4 address 10.9.0.0/24 cannot be configured as "
                 "network address.");
}

TEST_F(AddressRulesTest, FinishAnInterfaceBeforeTheNextOne) {
  Store(Data("l3", "a", {"10.0.0.1/24"}));
  Store(Data("l3", "b", {"10.1.0.0/24"}));
  Store(Route("20.0.0.0", 16, "10.0.0.1"));
  ExpectViolated(JudgeIpv4(kL3),
                 "l3 a ipv4 address 10.0.0.1/24 and static route 20.0.0.0/16 "
                 "next-hop 10.0.0.1 cannot have address conflict.");
}

TEST_F(AddressRulesTest, CompareWithALaterInterfaceBeforeJudgingThatOne) {
  Store(Data("l3", "a", {"10.0.0.1/24"}));
  Store(Data("l3", "b", {"10.0.0.0/24"}));
  ExpectViolated(JudgeIpv4(kL3),
                 "l3 a vrf global ipv4 address 10.0.0.1/24 overlaps with l3 b "
                 "vrf global ipv4 address 10.0.0.0/24.");
}

class AddressOrderTest : public FamilyTest {};

TEST_P(AddressOrderTest, FinishesAnInterfaceBeforeTheNextOne) {
  Store(DataWith("l3", "a", {Mask(1, 1)}));
  Store(DataWith("l3", "b", {Mask(2, 1), Mask(2, 1)}));
  Store(RouteTo(1, Address(1, 1)));
  ExpectViolated(JudgeAddresses(kL3), NextHopText("l3 a", 1, 1, 1));
}

TEST_P(AddressOrderTest, ComparesWithALaterInterfaceBeforeJudgingThatOne) {
  const Interface a = RecordWith("l3 a", "global", {});
  const Interface b = RecordWith("l3 b", "global", {});
  Store(DataWith("l3", "a", {Mask(1, 1)}));
  Store(DataWith("l3", "b", {Mask(1, 2), Mask(1, 2)}));
  ExpectViolated(JudgeAddresses(kL3),
                 OverlapText(a, Mask(1, 1), b, Mask(1, 2)));
}

TEST_P(AddressOrderTest, ComparesTheFirstInterfaceWithAllLaterOnes) {
  const Interface a = RecordWith("l3 a", "global", {});
  const Interface c = RecordWith("l3 c", "global", {});
  Store(DataWith("l3", "a", {Mask(1, 1)}));
  Store(DataWith("l3", "b", {Mask(2, 1)}));
  Store(DataWith("l3", "c", {Mask(2, 2), Mask(1, 2)}));
  ExpectViolated(JudgeAddresses(kL3),
                 OverlapText(a, Mask(1, 1), c, Mask(1, 2)));
}

INSTANTIATE_TEST_SUITE_P(Families, AddressOrderTest, kFamilies, FamilyName);

// ---- Number and names of the l3 interfaces ---------------------------------

class L3RuleTest : public ValidateConfigTest {
 protected:
  void AddL3s(unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
      Add(kL3, Record("l3 " + std::to_string(i), "global", {}));
    }
  }
  int JudgeName(const std::string& record_name) {
    Add(kL3, Record(record_name, "global", {}));
    return rules_.ValidateInterfaceL3(config_);
  }
};

constexpr char kInvalidCharacters[] =
    " contains invalid characters (allowed characters: 0-9, a-z, A-Z, _, -)";

TEST_F(L3RuleTest, HoldsWithoutInterfaces) {
  ExpectHolds(rules_.ValidateInterfaceL3(config_));
}

// Before it looks at names.
TEST_F(L3RuleTest, AllowsUpTo256InterfacesAndTellsHowManyThereAre) {
  AddL3s(255);
  Add(kL3, Record("l3 last", "global", {}));
  ExpectHolds(rules_.ValidateInterfaceL3(config_));
  Add(kL3, Record("l3 a.b", "global", {}));
  ExpectViolated(rules_.ValidateInterfaceL3(config_),
                 "too many 'interface l3', 257 configured, at most 256 must be "
                 "configured");
  AddL3s(298);
  ExpectViolated(rules_.ValidateInterfaceL3(config_),
                 "too many 'interface l3', 300 configured, at most 256 must be "
                 "configured");
}

TEST_F(L3RuleTest, DoesNotCountOtherKinds) {
  AddL3s(256);
  Add(kLoopback, Record("loopback a.b", "global", {}));
  Add(kMgmt, Record("mgmt a.b", "global", {}));
  ExpectHolds(rules_.ValidateInterfaceL3(config_));
}

TEST_F(L3RuleTest, JudgesTheNamesThatWereRead) {
  Store(Data("l3", "core-1_X", {}));
  Store(Data("l3", "core.1", {}));
  ReadInterfaces(kIpv4);
  ExpectViolated(rules_.ValidateInterfaceL3(config_),
                 std::string("L3 interface name core.1") + kInvalidCharacters);
}

// The name is what follows the first blank, or all.
TEST_F(L3RuleTest, LimitsTheLengthBeforeTheCharactersOfAName) {
  constexpr char kTooLong[] = " is too long (maximum length: 60 characters)";
  constexpr char kTooShort[] = " is too short (minimum length: 1 character)";
  const std::string longest(60, 'n');
  const std::string dots(61, '.');
  const struct {
    std::string record;
    std::string name;
    std::string fault;
  } cases[] = {{"l3 " + longest, longest, ""},
               {"l3 " + longest + "n", longest + "n", kTooLong},
               {"l3 " + dots, dots, kTooLong},
               {"l3 -", "-", ""},
               {"l3 ", "", kTooShort},
               {"a b c", "b c", kInvalidCharacters},
               {"core1", "core1", ""},
               {"core.2", "core.2", kInvalidCharacters}};
  for (const auto& [record, name, fault] : cases) {
    Config config;
    config.intf_by_type(kL3)->MergeConfigAndInsert(
        Record(record, "global", {}));
    ValidateConfig rules;
    EXPECT_EQ(rules.ValidateInterfaceL3(config), fault.empty() ? 0 : -1)
        << record;
    EXPECT_EQ(rules.error_text(),
              fault.empty() ? "" : "L3 interface name " + name + fault);
  }
}

TEST_F(L3RuleTest, RefusesAnEmptyKeyThatWasRead) {
  Store(Data("l3", "", {}));
  ReadInterfaces(kIpv4);
  ExpectViolated(
      rules_.ValidateInterfaceL3(config_),
      "L3 interface name  is too short (minimum length: 1 character)");
}

TEST_F(L3RuleTest, AllowsLettersDigitsHyphenAndUnderscoreAndNoOtherByte) {
  const std::string allowed =
      "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ-_";
  for (int byte = 1; byte < 256; ++byte) {
    const std::string name = "x" + std::string(1, static_cast<char>(byte));
    Config config;
    config.intf_by_type(kL3)->MergeConfigAndInsert(
        Record("l3 " + name, "global", {}));
    ValidateConfig rules;
    const bool is_allowed = allowed.find(name[1]) != std::string::npos;
    EXPECT_EQ(rules.ValidateInterfaceL3(config), is_allowed ? 0 : -1) << byte;
    EXPECT_EQ(
        rules.error_text(),
        is_allowed ? "" : "L3 interface name " + name + kInvalidCharacters);
  }
}

TEST_F(L3RuleTest, TellsTheFirstNameThatFails) {
  Add(kL3, Record("l3 right", "global", {}));
  Add(kL3, Record("l3 a.b", "global", {}));
  ExpectViolated(JudgeName("l3 "),
                 std::string("L3 interface name a.b") + kInvalidCharacters);
}

// ---- Next hops -------------------------------------------------------------

class NextHopRuleTest : public ValidateConfigTest {
 protected:
  int Judge() { return rules_.ValidateStaticRouteNextHop(config_); }
  // Both conflict with an address of the interface.
  void StoreConflictOfBothFamilies() {
    Store(Data("l3", "a", {"10.0.0.1/24"}, {"2001:db8::1/64"}));
    Store(Route("20.0.0.0", 16, "10.0.0.1"));
    Store(Route("2001:db8:5::", 48, "2001:db8::1"));
  }
};

constexpr char kIpv4Conflict[] =
    "l3 a ipv4 address 10.0.0.1/24 and static route 20.0.0.0/16 next-hop "
    "10.0.0.1 cannot have address conflict.";
constexpr char kIpv6Conflict[] =
    "l3 a ipv6 address 2001:db8::1/64 and static route 2001:db8:5::/48 "
    "next-hop 2001:db8::1 cannot have address conflict.";

TEST_F(NextHopRuleTest, HoldsWithoutRoutes) {
  Store(Data("l3", "a", {"10.0.0.1/24"}));
  Read(kIpv4);
  ExpectHolds(Judge());
}

TEST_F(NextHopRuleTest, RefusesAnIpv4NextHopWhenIpv4WasRead) {
  StoreConflictOfBothFamilies();
  Read(kIpv4);
  ExpectViolated(Judge(), kIpv4Conflict);
}

TEST_F(NextHopRuleTest, RefusesAnIpv6NextHopWhenOnlyIpv6WasRead) {
  StoreConflictOfBothFamilies();
  Read(kIpv6);
  ExpectViolated(Judge(), kIpv6Conflict);
}

// Once the IPv4 routes are read, only they are examined.
TEST_F(NextHopRuleTest, PassesOverIpv6NextHopsWhenBothWereRead) {
  Store(Data("l3", "a", {"10.0.0.2/24"}, {"2001:db8::1/64"}));
  Store(Route("20.0.0.0", 16, "10.0.0.1"));
  Store(Route("2001:db8:5::", 48, "2001:db8::1"));
  Read(kIpv6);
  Read(kIpv4);
  ExpectHolds(Judge());
}

TEST_F(NextHopRuleTest, HoldsWhenNoRouteWasRead) {
  StoreConflictOfBothFamilies();
  ReadInterfaces(kIpv4);
  ReadInterfaces(kIpv6);
  ExpectHolds(Judge());
}

TEST_F(NextHopRuleTest, LetsARouteOfAnotherVrfUseTheAddress) {
  StoreVrfName(fake, 1, "red");
  Store(Data("l3", "a", {"10.0.0.1/24"}, {"2001:db8::1/64"}));
  Store(Route("20.0.0.0", 16, "10.0.0.1", 1));
  Store(Route("2001:db8:5::", 48, "2001:db8::1", 1));
  Read(kIpv4);
  ExpectHolds(Judge());
  ExpectHolds(JudgeIpv6(kL3));
}

TEST_F(NextHopRuleTest, RefusesARouteOfTheInterfacesOwnVrf) {
  StoreVrfName(fake, 1, "red");
  Store(InVrf(Data("l3", "a", {"10.0.0.1/24"}), "red"));
  Store(Route("20.0.0.0", 16, "10.0.0.1", 1));
  Read(kIpv4);
  ExpectViolated(Judge(), kIpv4Conflict);
}

// Unlike the overlap of addresses, routes know no common space.
TEST_F(NextHopRuleTest, TellsTheGlobalFromTheManagementVrf) {
  Store(InVrf(Data("mgmt", "a", {"10.0.0.1/24"}), "mgmt"));
  Store(Route("20.0.0.0", 16, "10.0.0.1"));
  Read(kIpv4);
  ExpectHolds(Judge());
}

TEST_F(NextHopRuleTest, LetsARouteUseANeighbourInTheSubnet) {
  Store(Data("l3", "a", {"10.0.0.1/24"}, {"2001:db8::1/64"}));
  Store(Route("20.0.0.0", 16, "10.0.0.2"));
  Store(Route("2001:db8:5::", 48, "2001:db8::2"));
  Read(kIpv4);
  ExpectHolds(Judge());
  ExpectHolds(JudgeIpv6(kL3));
}

class NextHopOrderTest : public FamilyTest {
 protected:
  // Reads no other family.
  int Judge() {
    Read(GetParam());
    return rules_.ValidateStaticRouteNextHop(config_);
  }
};

TEST_P(NextHopOrderTest, GoesByManagementThenL3ThenLoopback) {
  Store(DataWith("loopback", "c", {Mask(1, 3)}));
  Store(DataWith("l3", "b", {Mask(1, 2)}));
  Store(DataWith("mgmt", "a", {Mask(1, 1)}));
  for (const int host : {3, 2, 1}) Store(RouteTo(1, Address(1, host)));
  ExpectViolated(Judge(), NextHopText("mgmt a", 1, 1, 1));
}

TEST_P(NextHopOrderTest, GoesByL3BeforeLoopback) {
  Store(DataWith("loopback", "c", {Mask(1, 3)}));
  Store(DataWith("l3", "b", {Mask(1, 2)}));
  Store(RouteTo(1, Address(1, 3)));
  Store(RouteTo(2, Address(1, 2)));
  ExpectViolated(Judge(), NextHopText("l3 b", 1, 2, 2));
}

TEST_P(NextHopOrderTest, TellsTheFirstInterfaceOfAKind) {
  Store(DataWith("l3", "b", {Mask(1, 2)}));
  Store(DataWith("l3", "a", {Mask(1, 1)}));
  Store(RouteTo(1, Address(1, 1)));
  Store(RouteTo(2, Address(1, 2)));
  ExpectViolated(Judge(), NextHopText("l3 b", 1, 2, 2));
}

TEST_P(NextHopOrderTest, TellsTheFirstAddressOfTheListAndTheFirstRouteRead) {
  Store(DataWith("l3", "a", {Mask(9, 1), Mask(1, 1), Mask(1, 2)}));
  Store(RouteTo(3, Address(1, 2)));
  Store(RouteTo(2, Address(1, 1)));
  Store(RouteTo(1, Address(1, 1)));
  ExpectViolated(Judge(), NextHopText("l3 a", 1, 1, 2));
}

INSTANTIATE_TEST_SUITE_P(Families, NextHopOrderTest, kFamilies, FamilyName);

// ---- The next hops that one interface has for addresses --------------------

class NextHopMatchTest : public FamilyTest {
 protected:
  void SetUp() override {
    FamilyTest::SetUp();
    Store(Route("20.0.0.0", 16, "10.0.0.1"));
    Store(Route("2001:db8:5::", 48, "2001:db8::1"));
    config_.ReadStaticRouteConfig(kIpv4);
    config_.ReadStaticRouteConfig(kIpv6);
  }

  bool Matches(const Interface& record) {
    const auto& routes = config_.static_route_config();
    return IsIpv4()
               ? rules_.InterfaceIPv4MatchStaticRouteNextHop(record, routes)
               : rules_.InterfaceIPv6MatchStaticRouteNextHop(record, routes);
  }
};

TEST_P(NextHopMatchTest, TellsTheAddressThatIsANextHop) {
  EXPECT_TRUE(
      Matches(Record("l3 a", "global", {"10.0.0.1/24"}, {"2001:db8::1/64"})));
  EXPECT_EQ(rules_.error_text(), IsIpv4() ? kIpv4Conflict : kIpv6Conflict);
}

TEST_P(NextHopMatchTest, LeavesTheTextAloneWithoutSuchAnAddress) {
  EXPECT_FALSE(Matches(Record("l3 a", "global", {})));
  EXPECT_FALSE(
      Matches(Record("l3 a", "global", {"10.0.0.2/24"}, {"2001:db8::2/64"})));
  EXPECT_FALSE(
      Matches(Record("l3 a", "red", {"10.0.0.1/24"}, {"2001:db8::1/64"})));
  EXPECT_EQ(rules_.error_text(), "");
}

TEST_P(NextHopMatchTest, LooksAtItsOwnFamilyOnly) {
  const Interface ipv4_conflict =
      Record("l3 a", "global", {"10.0.0.1/24"}, {"2001:db8::2/64"});
  const Interface ipv6_conflict =
      Record("l3 a", "global", {"10.0.0.2/24"}, {"2001:db8::1/64"});
  EXPECT_FALSE(Matches(IsIpv4() ? ipv6_conflict : ipv4_conflict));
  EXPECT_EQ(rules_.error_text(), "");
}

INSTANTIATE_TEST_SUITE_P(Families, NextHopMatchTest, kFamilies, FamilyName);

// ---- The limit -------------------------------------------------------------

struct LimitCase {
  unsigned ipv4;
  unsigned ipv6;
  bool holds;
};

class LimitRuleTest : public ValidateConfigTest,
                      public ::testing::WithParamInterface<LimitCase> {
 protected:
  void StoreRoutes(unsigned ipv4, unsigned ipv6) {
    StoreMany(Route("20.0.0.0", 16, "10.0.0.1"), ipv4);
    StoreMany(Route("2001:db8:5::", 48, "2001:db8::1"), ipv6);
  }
};

// The counts are those of the whole table whichever family is read.
TEST_P(LimitRuleTest, CountsAnIpv6RouteTwiceUpTo1000) {
  const auto& [ipv4, ipv6, holds] = GetParam();
  StoreRoutes(ipv4, ipv6);
  const std::string counts = "IPv4 static routes = " + std::to_string(ipv4) +
                             "; IPv6 static routes = " + std::to_string(ipv6) +
                             ";";
  for (const auto family : {kIpv4, kIpv6}) {
    const std::size_t lines_before = fake.log_lines().size();
    Config config;
    config.set_sock(FakePlatform::kSocket);
    config.set_confd_trans(fake.tctx());
    config.ReadStaticRouteConfig(family);
    ValidateConfig rules;
    EXPECT_EQ(rules.ValidateStaticRouteLimit(config), holds ? 0 : -1);
    EXPECT_EQ(rules.error_text(), holds ? "" : kLimitText);

    ASSERT_EQ(fake.log_lines().size(), lines_before + (holds ? 0 : 1));
    if (holds) continue;
    EXPECT_EQ(fake.log_lines().back().format,
              "The maximum number of available static routes was exceeded! "
              "IPv4 static routes = %u; IPv6 static routes = %u;");
    EXPECT_EQ(fake.log_lines().back().text,
              "The maximum number of available static routes was exceeded! " +
                  counts);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Counts, LimitRuleTest,
    ::testing::Values(LimitCase{0, 0, true}, LimitCase{1000, 0, true},
                      LimitCase{1001, 0, false}, LimitCase{0, 500, true},
                      LimitCase{0, 501, false}, LimitCase{998, 1, true},
                      LimitCase{999, 1, false}, LimitCase{1, 500, false}),
    [](const auto& limit_case) {
      return std::to_string(limit_case.param.ipv4) + "And" +
             std::to_string(limit_case.param.ipv6);
    });

// ---- Black holes -----------------------------------------------------------

class BlackHoleRuleTest : public ValidateConfigTest {
 protected:
  int Judge() { return rules_.ValidateRouteBlackHole(config_); }
  void StoreIpv4Conflict() {
    Store(Route("20.0.0.0", 16, "0.0.0.0"));
    Store(Route("20.0.0.0", 16, "10.0.0.1"));
  }
  void StoreIpv6Conflict() {
    Store(Route("2001:db8:5::", 48, "::"));
    Store(Route("2001:db8:5::", 48, "2001:db8::1"));
  }
};

constexpr char kIpv4BlackHole[] =
    "Prefix 20.0.0.0/16 cannot be black-hole and have next-hop at the same "
    "time";
constexpr char kIpv6BlackHole[] =
    "Prefix 2001:db8:5::/48 cannot be black-hole and have next-hop at the same "
    "time";

TEST_F(BlackHoleRuleTest, RefusesAnIpv4PrefixThatIsBoth) {
  StoreIpv4Conflict();
  Read(kIpv4);
  ExpectViolated(Judge(), kIpv4BlackHole);
}

TEST_F(BlackHoleRuleTest, RefusesAnIpv6PrefixWhenOnlyIpv6WasRead) {
  StoreIpv4Conflict();
  StoreIpv6Conflict();
  Read(kIpv6);
  ExpectViolated(Judge(), kIpv6BlackHole);
}

// Once the IPv4 routes are read, only they are examined.
TEST_F(BlackHoleRuleTest, PassesOverIpv6PrefixesWhenBothWereRead) {
  StoreIpv6Conflict();
  Read(kIpv6);
  Read(kIpv4);
  ExpectHolds(Judge());
}

TEST_F(BlackHoleRuleTest, HoldsWhenNoRouteWasRead) {
  StoreIpv4Conflict();
  StoreIpv6Conflict();
  ReadInterfaces(kIpv4);
  ExpectHolds(Judge());
}

TEST_F(BlackHoleRuleTest, HoldsForABlackHoleAlone) {
  Store(Route("20.0.0.0", 16, "0.0.0.0"));
  Store(Route("20.0.0.0", 16, "0.0.0.0"));
  Read(kIpv4);
  ExpectHolds(Judge());
}

TEST_F(BlackHoleRuleTest, HoldsForPrefixesThatDifferInLengthOrHostBits) {
  Store(Route("20.0.0.0", 16, "0.0.0.0"));
  Store(Route("20.0.0.0", 24, "10.0.0.1"));
  Store(Route("20.0.0.1", 16, "10.0.0.1"));
  Read(kIpv4);
  ExpectHolds(Judge());
}

TEST_F(BlackHoleRuleTest, HoldsForOnePrefixInTwoVrfs) {
  StoreVrfName(fake, 1, "red");
  Store(Route("20.0.0.0", 16, "0.0.0.0", 1));
  Store(Route("20.0.0.0", 16, "10.0.0.1"));
  Read(kIpv4);
  ExpectHolds(Judge());
}

// By VRF name first: "global" before "red" though the address is higher.
TEST_F(BlackHoleRuleTest, TellsTheFirstByVrfAndPrefix) {
  StoreVrfName(fake, 1, "red");
  for (const char* next_hop : {"0.0.0.0", "10.0.0.1"}) {
    Store(Route("9.0.0.0", 8, next_hop, 1));
    Store(Route("30.0.0.0", 16, next_hop));
    Store(Route("20.0.0.0", 16, next_hop));
  }
  Read(kIpv4);
  ExpectViolated(Judge(), kIpv4BlackHole);
}

// ---- The three rules of static routes together -----------------------------

class StaticRouteRulesTest : public FamilyTest {
 protected:
  // Reads no other family.
  int Judge() {
    Read(GetParam());
    return rules_.ValidateStaticRoute(config_);
  }
  void StoreNextHopConflict() {
    Store(DataWith("l3", "a", {Mask(1, 1)}));
    Store(RouteTo(1, Address(1, 1)));
  }
  void StoreTooMany() {
    StoreMany(RouteTo(3, Address(9, 9)), IsIpv4() ? 1001 : 501);
  }
  void StoreBlackHole() {
    Store(BlackHoleTo(2));
    Store(RouteTo(2, Address(9, 8)));
  }
};

TEST_P(StaticRouteRulesTest, HoldWithoutRoutesAndLogNothing) {
  ExpectHolds(Judge());
  EXPECT_TRUE(fake.log_lines().empty());
}

// All three run: a limit that is exceeded is logged whatever else is wrong.
TEST_P(StaticRouteRulesTest, TellABlackHoleBeforeTheLimitBeforeANextHop) {
  for (unsigned wrong = 1; wrong < 8; ++wrong) {
    SCOPED_TRACE(wrong);
    const bool has_next_hop = (wrong & 1U) != 0;
    const bool has_too_many = (wrong & 2U) != 0;
    const bool has_black_hole = (wrong & 4U) != 0;
    fake.Reset();
    if (has_next_hop) StoreNextHopConflict();
    if (has_too_many) StoreTooMany();
    if (has_black_hole) StoreBlackHole();
    Config config;
    config.set_sock(FakePlatform::kSocket);
    config.set_confd_trans(fake.tctx());
    for (const auto type : {kL3, kLoopback, kMgmt}) {
      config.intf_by_type(type)->ReadConfigIfNeeded(GetParam());
    }
    config.ReadStaticRouteConfig(GetParam());
    ValidateConfig rules;
    EXPECT_EQ(rules.ValidateStaticRoute(config), -1);
    EXPECT_EQ(rules.error_text(), has_black_hole ? BlackHoleText(2)
                                  : has_too_many
                                      ? kLimitText
                                      : NextHopText("l3 a", 1, 1, 1));
    EXPECT_EQ(fake.log_lines().size(), has_too_many ? 1U : 0U);
  }
}

INSTANTIATE_TEST_SUITE_P(Families, StaticRouteRulesTest, kFamilies, FamilyName);

// ---- Routes of a read that did not end -------------------------------------

// What was filed before the exception stays, but the family is not read: its
// routes do not count yet.
class PartlyReadTest : public FamilyTest {
 protected:
  void SetUp() override {
    FamilyTest::SetUp();
    Store(DataWith("l3", "a", {Mask(1, 1)}));
    ReadInterfaces(GetParam());
  }

  // The last row's output interface has a name that is too short.
  void ReadUpToAnException() {
    Store(Through(RouteTo(9, Address(9, 9)), "x"));
    EXPECT_THROW(config_.ReadStaticRouteConfig(GetParam()), std::out_of_range);
  }
};

TEST_P(PartlyReadTest, ANextHopHolds) {
  Store(RouteTo(1, Address(1, 1)));
  ReadUpToAnException();
  ExpectHolds(rules_.ValidateStaticRouteNextHop(config_));

  // It is there all the same.
  const Interface& record = config_.intf_by_type(kL3)->interfaces().at(0);
  const auto& routes = config_.static_route_config();
  EXPECT_TRUE(
      IsIpv4() ? rules_.InterfaceIPv4MatchStaticRouteNextHop(record, routes)
               : rules_.InterfaceIPv6MatchStaticRouteNextHop(record, routes));
}

TEST_P(PartlyReadTest, ABlackHoleHolds) {
  Store(BlackHoleTo(1));
  Store(RouteTo(1, Address(1, 2)));
  ReadUpToAnException();
  ExpectHolds(rules_.ValidateRouteBlackHole(config_));

  // It is there all the same.
  const auto& routes = config_.static_route_config();
  std::shared_ptr<StaticRoute> route;
  EXPECT_TRUE(IsIpv4() ? routes.CheckBlackHoleIpv4(route)
                       : routes.CheckBlackHoleIpv6(route));
}

INSTANTIATE_TEST_SUITE_P(Families, PartlyReadTest, kFamilies, FamilyName);

// ---- Output interfaces -----------------------------------------------------

class OutputInterfaceRuleTest : public ValidateConfigTest {
 protected:
  int Judge(ConfigAddrFamily family = kIpv4) {
    Read(family);
    return rules_.ValidateStaticRouteOutputIntf(config_);
  }
  static InterfaceData OnVlan(InterfaceData data, std::int32_t vlan) {
    data.vlan = vlan;
    return data;
  }
};

constexpr char kUsed[] =
    " is being used by a static route. Lower-layer-if cannot be removed from "
    "this interface";

TEST_F(OutputInterfaceRuleTest, RefusesAnL3WithoutVlanThatARouteNames) {
  Store(Data("l3", "100", {}));
  Store(Through(Route("20.0.0.0", 16, "10.0.0.1"), "l3-100"));
  ExpectViolated(Judge(), std::string("l3 100") + kUsed);
}

TEST_F(OutputInterfaceRuleTest, RefusesItForAnIpv6Route) {
  Store(Data("l3", "100", {}));
  Store(Through(Route("2001:db8:5::", 48, "2001:db8::1"), "l3-100"));
  ExpectViolated(Judge(kIpv6), std::string("l3 100") + kUsed);
}

TEST_F(OutputInterfaceRuleTest, TakesVlanZeroForNone) {
  Store(OnVlan(Data("l3", "100", {}), 0));
  Store(Through(Route("20.0.0.0", 16, "10.0.0.1"), "l3-100"));
  ExpectViolated(Judge(), std::string("l3 100") + kUsed);
}

TEST_F(OutputInterfaceRuleTest, HoldsForAnL3OnAVlan) {
  Store(OnVlan(Data("l3", "100", {}), 7));
  Store(Through(Route("20.0.0.0", 16, "10.0.0.1"), "l3-100"));
  ExpectHolds(Judge());
}

TEST_F(OutputInterfaceRuleTest, HoldsForAnInterfaceThatNoRouteNames) {
  Store(Data("l3", "100", {}));
  Store(Data("l3", "1", {}));
  Store(Through(Route("20.0.0.0", 16, "10.0.0.1"), "l3-10"));
  Store(Route("30.0.0.0", 16, "10.0.0.1"));
  ExpectHolds(Judge());
}

TEST_F(OutputInterfaceRuleTest, PassesOverABlackHole) {
  Store(Data("l3", "100", {}));
  Store(Through(Route("20.0.0.0", 16, "0.0.0.0"), "l3-100"));
  ExpectHolds(Judge());
}

TEST_F(OutputInterfaceRuleTest, PassesOverARouteOfAFamilyThatWasNotRead) {
  Store(Data("l3", "100", {}));
  Store(Through(Route("2001:db8:5::", 48, "2001:db8::1"), "l3-100"));
  ExpectHolds(Judge(kIpv4));
}

TEST_F(OutputInterfaceRuleTest, GoesByManagementThenL3ThenLoopback) {
  Store(Through(Route("20.0.0.0", 16, "10.0.0.1"), "lo-1"));
  Store(Through(Route("30.0.0.0", 16, "10.0.0.1"), "l3-1"));
  Store(Through(Route("40.0.0.0", 16, "10.0.0.1"), "mg-1"));
  Add(kLoopback, Record("lo 1", "global", {}));
  ExpectViolated(Judge(), std::string("lo 1") + kUsed);
  Add(kL3, Record("l3 1", "global", {}));
  ExpectViolated(Judge(), std::string("l3 1") + kUsed);
  Add(kMgmt, Record("mg 1", "global", {}));
  ExpectViolated(Judge(), std::string("mg 1") + kUsed);
}

TEST_F(OutputInterfaceRuleTest, TellsTheFirstInterfaceOfAKind) {
  Store(Data("l3", "2", {}));
  Store(Data("l3", "1", {}));
  Store(Through(Route("20.0.0.0", 16, "10.0.0.1"), "l3-1"));
  Store(Through(Route("30.0.0.0", 16, "10.0.0.1"), "l3-2"));
  ExpectViolated(Judge(), std::string("l3 2") + kUsed);
}

// No lower-layer interface: all four octets of the identifier are zero.
class IdentifierTest : public OutputInterfaceRuleTest,
                       public ::testing::WithParamInterface<limid_t> {};

TEST_P(IdentifierTest, IsNoneWhenItIsZeroOnly) {
  Interface record = Record("l3 100", "global", {});
  record.lim_id = GetParam();
  Add(kL3, record);
  Store(Through(Route("20.0.0.0", 16, "10.0.0.1"), "l3-100"));
  if (GetParam() == 0) {
    ExpectViolated(Judge(),
                   "l3 100 is being used by a static route. Lower-layer-if "
                   "cannot be removed from this interface");
  } else {
    ExpectHolds(Judge());
  }
}

INSTANTIATE_TEST_SUITE_P(Octets, IdentifierTest,
                         ::testing::Values(0U, 1U, 0x100U, 0x10000U,
                                           0x01000000U),
                         [](const auto& id) {
                           return std::to_string(id.param);
                         });

}  // namespace
}  // namespace ipav::testing
