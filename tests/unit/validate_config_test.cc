// The rules, on a snapshot that was read from the fake platform, or on records
// of their own where a rule takes some.
#include "include/validate_config.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
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

// The VRFs are 1 "red" and 0 "global".
class ValidateConfigTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    StartWith({});
  }

  // A configuration of these lines, of which nothing is read yet.
  void StartWith(const Texts& lines) {
    fake.Reset();
    StoreVrfName(fake, 1, "red");
    StoreLines(fake, lines);
    rules_.emplace();
    config_.emplace();
    config_->set_sock(FakePlatform::kSocket);
    config_->set_confd_trans(fake.tctx());
  }
  // Many routes of one family; the rows need not differ.
  void StoreMany(const std::string& route, unsigned count) {
    StoreLines(fake, Texts(count, route));
  }

  void ReadInterfaces(ConfigAddrFamily family) {
    for (const auto type : {kL3, kLoopback, kMgmt}) {
      config_->intf_by_type(type)->ReadConfigIfNeeded(family);
    }
  }
  void Read(ConfigAddrFamily family) {
    ReadInterfaces(family);
    config_->ReadStaticRouteConfig(family);
  }
  void Add(InterfaceType type, const Interface& record) {
    config_->intf_by_type(type)->MergeConfigAndInsert(record);
  }

  int JudgeIpv4(InterfaceType type) {
    Read(kIpv4);
    return rules_->ValidateInterfaceIPv4(*config_, type);
  }
  int JudgeIpv6(InterfaceType type) {
    Read(kIpv6);
    return rules_->ValidateInterfaceIPv6(*config_, type);
  }

  // "" for a rule that holds.
  void ExpectResult(int verdict, const std::string& text) {
    EXPECT_EQ(verdict, text.empty() ? 0 : -1);
    EXPECT_EQ(rules_->error_text(), text);
  }

  std::optional<Config> config_;
  std::optional<ValidateConfig> rules_;
};

// ---- Either family ---------------------------------------------------------

// One of the two interfaces of an overlap.
struct Side {
  std::string interface;
  std::string mask;
  std::string vrf = "global";
};

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
  static std::string RouteTo(int number, const std::string& next_hop) {
    return "route 0 " + Network(number) + " via " + next_hop;
  }
  static std::string BlackHoleTo(int number) {
    return RouteTo(number, IsIpv4() ? "0.0.0.0" : "::");
  }

  static Interface RecordWith(const std::string& name, const std::string& vrf,
                              const Texts& masks) {
    return IsIpv4() ? Record(name, vrf, masks) : Record(name, vrf, {}, masks);
  }

  int JudgeAddresses(InterfaceType type) {
    return IsIpv4() ? JudgeIpv4(type) : JudgeIpv6(type);
  }

  // The texts. That of an overlap names the VRFs in IPv4 only, by design.
  static std::string DuplicateText(const std::string& name,
                                   const std::string& address) {
    return name + " has duplicated " + (IsIpv4() ? "IPv4" : "IPv6") +
           " address " + address;
  }
  static std::string SideText(const Side& side) {
    return IsIpv4() ? side.interface + " vrf " + side.vrf + " ipv4 address " +
                          side.mask
                    : side.interface + " ipv6 address " + side.mask;
  }
  static std::string OverlapText(const Side& first, const Side& second) {
    return SideText(first) + " overlaps with " + SideText(second) + ".";
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

TEST(ErrorTextTest, IsThatOfTheLastViolation) {
  ValidateConfig rules;
  EXPECT_EQ(rules.error_text(), "");
  EXPECT_FALSE(
      rules.InterfaceIPv4IsValid(Record("l3 a", "global", {"10.1.1.0/24"})));
  const std::string text = rules.error_text();
  EXPECT_NE(text, "");
  EXPECT_TRUE(
      rules.InterfaceIPv4IsValid(Record("l3 a", "global", {"10.1.1.1/24"})));
  EXPECT_EQ(rules.error_text(), text);
  EXPECT_TRUE(rules.InterfaceHasDuplicateIpv4(
      Record("l3 b", "global", {"10.0.0.1/24", "10.0.0.1/24"})));
  EXPECT_EQ(rules.error_text(), "l3 b has duplicated IPv4 address 10.0.0.1");
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

class DuplicateTest : public FamilyTest {
 protected:
  bool HasDuplicate(const Interface& record) {
    return IsIpv4() ? rules_->InterfaceHasDuplicateIpv4(record)
                    : rules_->InterfaceHasDuplicateIpv6(record);
  }
  bool HasDuplicate(const Texts& masks) {
    return HasDuplicate(RecordWith("l3 a", "global", masks));
  }
};

TEST_P(DuplicateTest, EachFamilyIsComparedForItself) {
  const Texts once4 = {"10.0.0.1/24"};
  const Texts once6 = {"2001:db8::1/64"};
  const Texts twice4 = {"10.0.0.1/24", "10.0.0.1/24"};
  const Texts twice6 = {"2001:db8::1/64", "2001:db8::1/64"};
  EXPECT_EQ(HasDuplicate(Record("l3 a", "global", once4, twice6)), !IsIpv4());
  EXPECT_EQ(HasDuplicate(Record("l3 a", "global", twice4, once6)), IsIpv4());
}

TEST_P(DuplicateTest, PrefixLengthsDoNotTellAddressesApart) {
  EXPECT_FALSE(HasDuplicate({Mask(1, 1), Mask(1, 2)}));
  EXPECT_EQ(rules_->error_text(), "");
  EXPECT_TRUE(HasDuplicate({Mask(1, 1), Address(1, 1) + "/16"}));
  EXPECT_EQ(rules_->error_text(), DuplicateText("l3 a", Address(1, 1)));
}

TEST_P(DuplicateTest, TheEarliestAddressThatComesAgainIsTold) {
  // Neither the one that is met again first, nor the last one.
  EXPECT_TRUE(HasDuplicate({Mask(1, 9), Mask(1, 1), Mask(1, 2), Mask(1, 3),
                            Mask(1, 2), Mask(1, 1), Mask(1, 3)}));
  EXPECT_EQ(rules_->error_text(), DuplicateText("l3 a", Address(1, 1)));
}

INSTANTIATE_TEST_SUITE_P(Families, DuplicateTest, kFamilies, FamilyName);

// ---- Overlap of two interfaces ---------------------------------------------

class OverlapTest : public FamilyTest {
 protected:
  bool Overlap(const Interface& a, const Interface& b) {
    return IsIpv4() ? rules_->InterfaceIPv4Overlap(a, b)
                    : rules_->InterfaceIPv6Overlap(a, b);
  }
};

TEST_P(OverlapTest, IsOneOfInterfacesInOneAddressSpace) {
  const struct {
    const char* first;
    const char* second;
    bool share;
  } vrfs[] = {{"red", "red", true},
              {"red", "blue", false},
              {"global", "global", true},
              {"mgmt", "mgmt", true},
              {"global", "mgmt", true},
              {"mgmt", "global", true},
              {"global", "red", false},
              {"red", "global", false},
              {"mgmt", "red", false},
              {"red", "mgmt", false},
              {"global", "globally", false},
              {"global", "Mgmt", false},
              {"", "", true},
              {"", "global", false}};
  const std::string host = Address(1, 2) + (IsIpv4() ? "/32" : "/128");
  for (const auto& [first, second, share] : vrfs) {
    SCOPED_TRACE(std::string(first) + " and " + second);
    rules_.emplace();
    EXPECT_EQ(Overlap(RecordWith("l3 a", first, {Mask(1, 1)}),
                      RecordWith("loopback b", second, {host})),
              share);
    EXPECT_EQ(rules_->error_text(),
              share ? OverlapText({"l3 a", Mask(1, 1), first},
                                  {"loopback b", host, second})
                    : "");
  }
}

// The full texts, as the operator reads them.
TEST(OverlapTextTest, NamesTheVrfsInIpv4Only) {
  const Interface a =
      Record("l3 a", "red", {"10.0.0.1/24"}, {"2001:db8::1/64"});
  const Interface b =
      Record("loopback b", "red", {"10.0.0.2/32"}, {"2001:db8::2/128"});
  ValidateConfig rules;
  EXPECT_TRUE(rules.InterfaceIPv4Overlap(a, b));
  EXPECT_EQ(rules.error_text(),
            "l3 a vrf red ipv4 address 10.0.0.1/24 overlaps with loopback b "
            "vrf red ipv4 address 10.0.0.2/32.");
  EXPECT_TRUE(rules.InterfaceIPv6Overlap(a, b));
  EXPECT_EQ(rules.error_text(),
            "l3 a ipv6 address 2001:db8::1/64 overlaps with loopback b ipv6 "
            "address 2001:db8::2/128.");
}

TEST_P(OverlapTest, IsNoneOfNeighbouringPrefixesAndOfNoAddresses) {
  const Interface none = RecordWith("l3 b", "red", {});
  const Interface all = RecordWith("l3 a", "red", {Address(1, 1) + "/0"});
  EXPECT_FALSE(Overlap(all, none));
  EXPECT_FALSE(Overlap(none, all));
  EXPECT_FALSE(
      IsIpv4() ? Overlap(Record("l3 a", "red", {"10.0.0.126/25"}),
                         Record("l3 b", "red", {"10.0.0.129/25"}))
               : Overlap(Record("l3 a", "red", {}, {"2001:db8:0:1::1/64"}),
                         Record("l3 b", "red", {}, {"2001:db8:0:2::1/64"})));
  EXPECT_EQ(rules_->error_text(), "");
}

TEST_P(OverlapTest, TheFirstPairInTheOrderOfTheListsIsTold) {
  EXPECT_TRUE(
      Overlap(RecordWith("l3 a", "red", {Mask(9, 1), Mask(1, 1), Mask(2, 1)}),
              RecordWith("l3 b", "red", {Mask(2, 2), Mask(1, 2), Mask(1, 3)})));
  EXPECT_EQ(rules_->error_text(), OverlapText({"l3 a", Mask(1, 1), "red"},
                                              {"l3 b", Mask(1, 2), "red"}));
}

INSTANTIATE_TEST_SUITE_P(Families, OverlapTest, kFamilies, FamilyName);

// ---- Overlap of a kind with the others -------------------------------------

class KindOrderTest : public FamilyTest {
 protected:
  bool Overlaps(InterfaceType type) {
    const auto& changed = *config_->intf_by_type(type);
    const auto& all = config_->interface_configs();
    return IsIpv4() ? rules_->InterfaceIPv4Overlap(changed, all)
                    : rules_->InterfaceIPv6Overlap(changed, all);
  }
  void Add(InterfaceType type, const Side& side) {
    FamilyTest::Add(type, RecordWith(side.interface, side.vrf, {side.mask}));
  }

  const Side l3_ = {"l3 a", Mask(1, 1)};
  const Side loopback_ = {"loopback b", Mask(1, 2)};
  const Side mgmt_ = {"mgmt c", Mask(1, 3), "mgmt"};
};

TEST_P(KindOrderTest, TheChangedKindIsNamedFirstWhateverTheOrder) {
  Add(kL3, l3_);
  Add(kLoopback, loopback_);
  EXPECT_TRUE(Overlaps(kL3));
  EXPECT_EQ(rules_->error_text(), OverlapText(l3_, loopback_));
  EXPECT_TRUE(Overlaps(kLoopback));
  EXPECT_EQ(rules_->error_text(), OverlapText(loopback_, l3_));
}

TEST_P(KindOrderTest, InterfacesOfOneKindAndOfTwoOtherKindsAreNotCompared) {
  Add(kLoopback, loopback_);
  Add(kMgmt, mgmt_);
  EXPECT_FALSE(Overlaps(kL3));
  Add(kL3, {"l3 a", Mask(1, 1), "red"});
  Add(kL3, {"l3 b", Mask(1, 2), "red"});
  EXPECT_FALSE(Overlaps(kL3));
  EXPECT_EQ(rules_->error_text(), "");
}

TEST_P(KindOrderTest, TheOtherKindsFirstInterfaceDecidesThePair) {
  const Side b = {"l3 b", Mask(1, 1), "red"};
  const Side x = {"loopback x", Mask(1, 2), "red"};
  Add(kL3, {"l3 a", Mask(2, 1), "red"});
  Add(kL3, b);
  Add(kLoopback, x);
  Add(kLoopback, {"loopback y", Mask(2, 2), "red"});
  EXPECT_TRUE(Overlaps(kL3));
  EXPECT_EQ(rules_->error_text(), OverlapText(b, x));
}

TEST_P(KindOrderTest, ManagementComesBeforeL3BeforeLoopback) {
  Add(kLoopback, loopback_);
  Add(kL3, l3_);
  Add(kMgmt, mgmt_);
  EXPECT_TRUE(Overlaps(kL3));
  EXPECT_EQ(rules_->error_text(), OverlapText(l3_, mgmt_));
  EXPECT_TRUE(Overlaps(kMgmt));
  EXPECT_EQ(rules_->error_text(), OverlapText(mgmt_, l3_));
  EXPECT_TRUE(Overlaps(kLoopback));
  EXPECT_EQ(rules_->error_text(), OverlapText(loopback_, mgmt_));
}

INSTANTIATE_TEST_SUITE_P(Families, KindOrderTest, kFamilies, FamilyName);

// ---- All rules of the addresses of a kind ----------------------------------

class AddressRulesTest : public ValidateConfigTest {};

TEST_F(AddressRulesTest, RefuseAnUnknownKindBeforeAnythingElse) {
  StartWith({"l3 a 10.0.0.0/24"});
  const std::string text =
      "invalid interface being handled by IP-App validation";
  for (const auto type : {InterfaceType::kNone, static_cast<InterfaceType>(7),
                          static_cast<InterfaceType>(-1)}) {
    ExpectResult(JudgeIpv4(type), text);
    ExpectResult(JudgeIpv6(type), text);
  }
}

TEST_F(AddressRulesTest, HoldWithoutInterfacesAndWithoutAddresses) {
  for (const Texts& lines : {Texts{}, Texts{"l3 a", "l3 b", "loopback a"}}) {
    StartWith(lines);
    for (const auto type : {kMgmt, kL3, kLoopback}) {
      ExpectResult(JudgeIpv4(type), "");
      ExpectResult(JudgeIpv6(type), "");
    }
  }
}

TEST_F(AddressRulesTest, JudgeTheValidityOfTheChangedKindOnly) {
  const struct {
    InterfaceType type;
    const char* l3;
    const char* text;
  } cases[] = {{kL3, "l3 core1", ""},
               {kL3, "l3 core1 10.3.1.1/24", ""},
               {kLoopback, "l3 core1 10.3.1.0/24",
                "loopback 7 ipv4 address 10.1.1.0/24 cannot be configured as "
                "network address."},
               {kMgmt, "l3 core1 10.3.1.0/24",
                "mgmt 9 ipv4 address 10.2.1.255/24 cannot be configured as "
                "broadcast address."}};
  for (const auto& [type, l3, text] : cases) {
    StartWith({l3, "loopback 7 10.1.1.0/24", "mgmt 9 10.2.1.255/24"});
    ExpectResult(JudgeIpv4(type), text);
  }
  StartWith({"loopback 7 10.1.1.0/24", "mgmt 9 10.1.1.0/24"});
  ExpectResult(JudgeIpv4(kL3), "");
}

// No IPv6 address is refused as a network or broadcast address.
TEST_F(AddressRulesTest, TakeEveryIpv6AddressForOneOfAHost) {
  StartWith({"l3 a 2001:db8::/64 2001:db8:1::/127",
             "l3 b 2001:db8:2:0:ffff:ffff:ffff:ffff/64"});
  ExpectResult(JudgeIpv6(kL3), "");
}

// For each interface: validity, duplicates, overlaps with the later interfaces
// of its kind, next hops. Then the next one, and the other kinds at the end.
TEST_F(AddressRulesTest, TestTheValidityFirstButOneInterfaceAfterAnother) {
  StartWith({"l3 a 10.0.0.1/24 10.0.0.1/16 10.9.0.0/24"});
  ExpectResult(JudgeIpv4(kL3),
               "l3 a ipv4 address 10.9.0.0/24 cannot be configured as network "
               "address.");
  StartWith({"l3 a 10.0.0.1/24", "l3 b 10.1.0.0/24",
             "route 0 20.0.0.0/16 via 10.0.0.1"});
  ExpectResult(JudgeIpv4(kL3),
               "l3 a ipv4 address 10.0.0.1/24 and static route 20.0.0.0/16 "
               "next-hop 10.0.0.1 cannot have address conflict.");
  StartWith({"l3 a 10.0.0.1/24", "l3 b 10.0.0.0/24"});
  ExpectResult(JudgeIpv4(kL3),
               "l3 a vrf global ipv4 address 10.0.0.1/24 overlaps with l3 b "
               "vrf global ipv4 address 10.0.0.0/24.");
}

class AddressFamilyTest : public FamilyTest {};

TEST_P(AddressFamilyTest, IsJudgedInTheOrderOfTheRules) {
  const Side a = {"l3 a", Mask(1, 1)};
  const Side b = {"l3 b", Mask(1, 2)};
  const Side mgmt = {"mgmt b", Mask(1, 2), "mgmt"};
  const struct {
    const char* what;
    Texts lines;
    InterfaceType type;
    std::string text;
  } cases[] = {
      {"prefixes of one interface may overlap",
       {"l3 a " + Mask(1, 1) + " " + Mask(1, 2)},
       kL3,
       ""},
      {"the earlier of two interfaces of a kind is named first",
       {"l3 z " + Mask(1, 9), "l3 a " + Mask(1, 1)},
       kL3,
       OverlapText({"l3 z", Mask(1, 9)}, a)},
      {"other VRFs may use the same subnet",
       {"l3 a vrf red " + Mask(1, 1), "loopback b vrf blue " + Mask(1, 2)},
       kL3,
       ""},
      {"the global and the management VRF are one space",
       {"l3 a " + Mask(1, 1), "mgmt b vrf mgmt " + Mask(1, 2)},
       kL3,
       OverlapText(a, mgmt)},
      {"... whichever is changed",
       {"l3 a " + Mask(1, 1), "mgmt b vrf mgmt " + Mask(1, 2)},
       kMgmt,
       OverlapText(mgmt, a)},
      {"an address is a next hop",
       {"loopback 100 " + Mask(1, 1), RouteTo(1, Address(1, 1))},
       kLoopback,
       NextHopText("loopback 100", 1, 1, 1)},
      {"duplicates before overlaps",
       {"l3 a " + Mask(1, 1) + " " + Mask(1, 1), "l3 b " + Mask(1, 2)},
       kL3,
       DuplicateText("l3 a", Address(1, 1))},
      {"overlaps of a kind before next hops",
       {"l3 a " + Mask(1, 1), "l3 b " + Mask(1, 2), RouteTo(1, Address(1, 1))},
       kL3,
       OverlapText(a, b)},
      {"the whole kind before the other kinds",
       {"l3 a " + Mask(1, 1), "l3 b " + Mask(2, 1), "loopback c " + Mask(1, 2),
        RouteTo(1, Address(2, 1))},
       kL3,
       NextHopText("l3 b", 2, 1, 1)},
      {"an interface before the next one",
       {"l3 a " + Mask(1, 1), "l3 b " + Mask(2, 1) + " " + Mask(2, 1),
        RouteTo(1, Address(1, 1))},
       kL3,
       NextHopText("l3 a", 1, 1, 1)},
      {"an overlap with a later interface before its own duplicates",
       {"l3 a " + Mask(1, 1), "l3 b " + Mask(1, 2) + " " + Mask(1, 2)},
       kL3,
       OverlapText(a, b)},
      {"the first interface with all later ones",
       {"l3 a " + Mask(1, 1), "l3 b " + Mask(2, 1),
        "l3 c " + Mask(2, 2) + " " + Mask(1, 2)},
       kL3,
       OverlapText(a, {"l3 c", Mask(1, 2)})},
  };
  for (const auto& [what, lines, type, text] : cases) {
    SCOPED_TRACE(what);
    StartWith(lines);
    ExpectResult(JudgeAddresses(type), text);
  }
}

INSTANTIATE_TEST_SUITE_P(Families, AddressFamilyTest, kFamilies, FamilyName);

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
    return rules_->ValidateInterfaceL3(*config_);
  }
};

constexpr char kInvalidCharacters[] =
    " contains invalid characters (allowed characters: 0-9, a-z, A-Z, _, -)";

TEST_F(L3RuleTest, HoldsWithoutInterfaces) {
  ExpectResult(rules_->ValidateInterfaceL3(*config_), "");
}

// Before it looks at names.
TEST_F(L3RuleTest, AllowsUpTo256InterfacesAndTellsHowManyThereAre) {
  AddL3s(255);
  Add(kL3, Record("l3 last", "global", {}));
  ExpectResult(rules_->ValidateInterfaceL3(*config_), "");
  Add(kL3, Record("l3 a.b", "global", {}));
  ExpectResult(rules_->ValidateInterfaceL3(*config_),
               "too many 'interface l3', 257 configured, at most 256 must be "
               "configured");
  AddL3s(298);
  ExpectResult(rules_->ValidateInterfaceL3(*config_),
               "too many 'interface l3', 300 configured, at most 256 must be "
               "configured");
}

TEST_F(L3RuleTest, DoesNotCountOtherKinds) {
  AddL3s(256);
  Add(kLoopback, Record("loopback a.b", "global", {}));
  Add(kMgmt, Record("mgmt a.b", "global", {}));
  ExpectResult(rules_->ValidateInterfaceL3(*config_), "");
}

TEST_F(L3RuleTest, JudgesTheNamesThatWereRead) {
  StartWith({"l3 core-1_X", "l3 core.1"});
  ReadInterfaces(kIpv4);
  ExpectResult(rules_->ValidateInterfaceL3(*config_),
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
  StartWith({"l3 "});
  ReadInterfaces(kIpv4);
  ExpectResult(rules_->ValidateInterfaceL3(*config_),
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
  ExpectResult(JudgeName("l3 "),
               std::string("L3 interface name a.b") + kInvalidCharacters);
}

// ---- Next hops -------------------------------------------------------------

struct RouteRuleCase {
  const char* what;
  Texts lines;
  std::vector<ConfigAddrFamily> read;
  std::string text;
};

class RouteRulesTest : public ValidateConfigTest {
 protected:
  template <std::size_t kCount>
  void ExpectResults(int (ValidateConfig::*rule)(const Config&),
                     const RouteRuleCase (&cases)[kCount]) {
    for (const auto& [what, lines, families, text] : cases) {
      SCOPED_TRACE(what);
      StartWith(lines);
      for (const auto family : families) Read(family);
      ExpectResult(((*rules_).*rule)(*config_), text);
    }
  }
};

constexpr char kIpv4Conflict[] =
    "l3 a ipv4 address 10.0.0.1/24 and static route 20.0.0.0/16 next-hop "
    "10.0.0.1 cannot have address conflict.";
constexpr char kIpv6Conflict[] =
    "l3 a ipv6 address 2001:db8::1/64 and static route 2001:db8:5::/48 "
    "next-hop 2001:db8::1 cannot have address conflict.";

// Once the IPv4 routes are read, only they are examined. Unlike the overlap of
// addresses, routes know no common space of the global and the management VRF.
TEST_F(RouteRulesTest, ANextHopIsNoAddressOfItsVrf) {
  const std::string both = "l3 a 10.0.0.1/24 2001:db8::1/64";
  const std::string to4 = "route 0 20.0.0.0/16 via 10.0.0.1";
  const std::string to6 = "route 0 2001:db8:5::/48 via 2001:db8::1";
  const RouteRuleCase cases[] = {
      {"no routes", {both}, {kIpv4}, ""},
      {"IPv4 read", {both, to4, to6}, {kIpv4}, kIpv4Conflict},
      {"only IPv6 read", {both, to4, to6}, {kIpv6}, kIpv6Conflict},
      {"both read",
       {"l3 a 10.0.0.2/24 2001:db8::1/64", to4, to6},
       {kIpv6, kIpv4},
       ""},
      {"nothing read", {both, to4, to6}, {}, ""},
      {"a route of another VRF",
       {both, "route 1 20.0.0.0/16 via 10.0.0.1"},
       {kIpv4},
       ""},
      {"an IPv6 route of another VRF",
       {both, "route 1 2001:db8:5::/48 via 2001:db8::1"},
       {kIpv6},
       ""},
      {"a route of its own VRF",
       {"l3 a vrf red 10.0.0.1/24", "route 1 20.0.0.0/16 via 10.0.0.1"},
       {kIpv4},
       kIpv4Conflict},
      {"the management VRF", {"mgmt a vrf mgmt 10.0.0.1/24", to4}, {kIpv4}, ""},
      {"a neighbour in the subnet",
       {both, "route 0 20.0.0.0/16 via 10.0.0.2"},
       {kIpv4},
       ""},
      {"an IPv6 neighbour in the subnet",
       {both, "route 0 2001:db8:5::/48 via 2001:db8::2"},
       {kIpv6},
       ""}};
  ExpectResults(&ValidateConfig::ValidateStaticRouteNextHop, cases);
}

TEST_F(RouteRulesTest, ANextHopHoldsWhenOnlyTheInterfacesWereRead) {
  StartWith({"l3 a 10.0.0.1/24 2001:db8::1/64",
             "route 0 20.0.0.0/16 via 10.0.0.1",
             "route 0 2001:db8:5::/48 via 2001:db8::1"});
  ReadInterfaces(kIpv4);
  ReadInterfaces(kIpv6);
  ExpectResult(rules_->ValidateStaticRouteNextHop(*config_), "");
}

class NextHopOrderTest : public FamilyTest {};

TEST_P(NextHopOrderTest, GoesByKindInterfaceAddressAndRoute) {
  const struct {
    const char* what;
    Texts lines;
    std::string text;
  } cases[] = {{"management before l3 before loopback",
                {"loopback c " + Mask(1, 3), "l3 b " + Mask(1, 2),
                 "mgmt a " + Mask(1, 1), RouteTo(1, Address(1, 3)),
                 RouteTo(1, Address(1, 2)), RouteTo(1, Address(1, 1))},
                NextHopText("mgmt a", 1, 1, 1)},
               {"l3 before loopback",
                {"loopback c " + Mask(1, 3), "l3 b " + Mask(1, 2),
                 RouteTo(1, Address(1, 3)), RouteTo(2, Address(1, 2))},
                NextHopText("l3 b", 1, 2, 2)},
               {"the first interface of a kind",
                {"l3 b " + Mask(1, 2), "l3 a " + Mask(1, 1),
                 RouteTo(1, Address(1, 1)), RouteTo(2, Address(1, 2))},
                NextHopText("l3 b", 1, 2, 2)},
               {"the first address of the list and the first route read",
                {"l3 a " + Mask(9, 1) + " " + Mask(1, 1) + " " + Mask(1, 2),
                 RouteTo(3, Address(1, 2)), RouteTo(2, Address(1, 1)),
                 RouteTo(1, Address(1, 1))},
                NextHopText("l3 a", 1, 1, 2)}};
  for (const auto& [what, lines, text] : cases) {
    SCOPED_TRACE(what);
    StartWith(lines);
    Read(GetParam());  // and no other family
    ExpectResult(rules_->ValidateStaticRouteNextHop(*config_), text);
  }
}

INSTANTIATE_TEST_SUITE_P(Families, NextHopOrderTest, kFamilies, FamilyName);

// ---- The next hops that one interface has for addresses --------------------

class NextHopMatchTest : public FamilyTest {
 protected:
  void SetUp() override {
    FamilyTest::SetUp();
    StartWith({"route 0 20.0.0.0/16 via 10.0.0.1",
               "route 0 2001:db8:5::/48 via 2001:db8::1"});
    config_->ReadStaticRouteConfig(kIpv4);
    config_->ReadStaticRouteConfig(kIpv6);
  }

  bool Matches(const Interface& record) {
    const auto& routes = config_->static_route_config();
    return IsIpv4()
               ? rules_->InterfaceIPv4MatchStaticRouteNextHop(record, routes)
               : rules_->InterfaceIPv6MatchStaticRouteNextHop(record, routes);
  }
};

TEST_P(NextHopMatchTest, TellsTheAddressThatIsANextHop) {
  EXPECT_TRUE(
      Matches(Record("l3 a", "global", {"10.0.0.1/24"}, {"2001:db8::1/64"})));
  EXPECT_EQ(rules_->error_text(), IsIpv4() ? kIpv4Conflict : kIpv6Conflict);
}

// It looks at its own family only.
TEST_P(NextHopMatchTest, LeavesTheTextAloneWithoutSuchAnAddress) {
  EXPECT_FALSE(Matches(Record("l3 a", "global", {})));
  EXPECT_FALSE(
      Matches(Record("l3 a", "global", {"10.0.0.2/24"}, {"2001:db8::2/64"})));
  EXPECT_FALSE(
      Matches(Record("l3 a", "red", {"10.0.0.1/24"}, {"2001:db8::1/64"})));
  EXPECT_FALSE(Matches(
      IsIpv4()
          ? Record("l3 a", "global", {"10.0.0.2/24"}, {"2001:db8::1/64"})
          : Record("l3 a", "global", {"10.0.0.1/24"}, {"2001:db8::2/64"})));
  EXPECT_EQ(rules_->error_text(), "");
}

INSTANTIATE_TEST_SUITE_P(Families, NextHopMatchTest, kFamilies, FamilyName);

// ---- The limit -------------------------------------------------------------

struct LimitCase {
  unsigned ipv4;
  unsigned ipv6;
  bool holds;
};

class LimitRuleTest : public ValidateConfigTest,
                      public ::testing::WithParamInterface<LimitCase> {};

// The counts are those of the whole table whichever family is read.
TEST_P(LimitRuleTest, CountsAnIpv6RouteTwiceUpTo1000) {
  const auto& [ipv4, ipv6, holds] = GetParam();
  for (const auto family : {kIpv4, kIpv6}) {
    StartWith({});
    StoreMany("route 0 20.0.0.0/16 via 10.0.0.1", ipv4);
    StoreMany("route 0 2001:db8:5::/48 via 2001:db8::1", ipv6);
    config_->ReadStaticRouteConfig(family);
    ExpectResult(rules_->ValidateStaticRouteLimit(*config_),
                 holds ? "" : kLimitText);
    ASSERT_EQ(fake.log_lines().size(), holds ? 0U : 1U);
    if (holds) continue;
    EXPECT_EQ(fake.log_lines()[0].format,
              "The maximum number of available static routes was exceeded! "
              "IPv4 static routes = %u; IPv6 static routes = %u;");
    EXPECT_EQ(fake.log_lines()[0].text,
              "The maximum number of available static routes was exceeded! "
              "IPv4 static routes = " +
                  std::to_string(ipv4) +
                  "; IPv6 static routes = " + std::to_string(ipv6) + ";");
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

// Once the IPv4 routes are read, only they are examined. The first prefix is
// told by VRF name, so that "global" comes before "red".
TEST_F(RouteRulesTest, ABlackHoleHasNoNextHop) {
  constexpr char kIpv4BlackHole[] =
      "Prefix 20.0.0.0/16 cannot be black-hole and have next-hop at the same "
      "time";
  constexpr char kIpv6BlackHole[] =
      "Prefix 2001:db8:5::/48 cannot be black-hole and have next-hop at the "
      "same time";
  const std::string hole4 = "route 0 20.0.0.0/16 via 0.0.0.0";
  const std::string to4 = "route 0 20.0.0.0/16 via 10.0.0.1";
  const std::string hole6 = "route 0 2001:db8:5::/48 via ::";
  const std::string to6 = "route 0 2001:db8:5::/48 via 2001:db8::1";
  const RouteRuleCase cases[] = {
      {"IPv4", {hole4, to4}, {kIpv4}, kIpv4BlackHole},
      {"only IPv6 read", {hole4, to4, hole6, to6}, {kIpv6}, kIpv6BlackHole},
      {"both read", {hole6, to6}, {kIpv6, kIpv4}, ""},
      {"no route read", {hole4, to4, hole6, to6}, {}, ""},
      {"a black hole alone", {hole4, hole4}, {kIpv4}, ""},
      {"another length or host bits",
       {hole4, "route 0 20.0.0.0/24 via 10.0.0.1",
        "route 0 20.0.0.1/16 via 10.0.0.1"},
       {kIpv4},
       ""},
      {"one prefix in two VRFs",
       {"route 1 20.0.0.0/16 via 0.0.0.0", to4},
       {kIpv4},
       ""},
      {"the first by VRF and prefix",
       {"route 1 9.0.0.0/8 via 0.0.0.0", "route 0 30.0.0.0/16 via 0.0.0.0",
        hole4, "route 1 9.0.0.0/8 via 10.0.0.1",
        "route 0 30.0.0.0/16 via 10.0.0.1", to4},
       {kIpv4},
       kIpv4BlackHole}};
  ExpectResults(&ValidateConfig::ValidateRouteBlackHole, cases);
}

// ---- The three rules of static routes together -----------------------------

class StaticRouteRulesTest : public FamilyTest {
 protected:
  // Reads no other family.
  int Judge() {
    Read(GetParam());
    return rules_->ValidateStaticRoute(*config_);
  }
};

TEST_P(StaticRouteRulesTest, HoldWithoutRoutesAndLogNothing) {
  ExpectResult(Judge(), "");
  EXPECT_TRUE(fake.log_lines().empty());
}

// All three run: a limit that is exceeded is logged whatever else is wrong.
TEST_P(StaticRouteRulesTest, TellABlackHoleBeforeTheLimitBeforeANextHop) {
  for (unsigned wrong = 1; wrong < 8; ++wrong) {
    SCOPED_TRACE(wrong);
    const bool has_next_hop = (wrong & 1U) != 0;
    const bool has_too_many = (wrong & 2U) != 0;
    const bool has_black_hole = (wrong & 4U) != 0;
    StartWith({});
    if (has_next_hop) {
      StoreLines(fake, {"l3 a " + Mask(1, 1), RouteTo(1, Address(1, 1))});
    }
    if (has_too_many) {
      StoreMany(RouteTo(3, Address(9, 9)), IsIpv4() ? 1001 : 501);
    }
    if (has_black_hole) {
      StoreLines(fake, {BlackHoleTo(2), RouteTo(2, Address(9, 8))});
    }
    ExpectResult(Judge(), has_black_hole ? BlackHoleText(2)
                          : has_too_many ? kLimitText
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
  // The last row's output interface has a name that is too short.
  void ReadUpToAnException(const Texts& routes) {
    StartWith({"l3 a " + Mask(1, 1)});
    StoreLines(fake, routes);
    StoreLines(fake, {RouteTo(9, Address(9, 9)) + " by x"});
    ReadInterfaces(GetParam());
    EXPECT_THROW(config_->ReadStaticRouteConfig(GetParam()), std::out_of_range);
  }
};

TEST_P(PartlyReadTest, ANextHopHolds) {
  ReadUpToAnException({RouteTo(1, Address(1, 1))});
  ExpectResult(rules_->ValidateStaticRouteNextHop(*config_), "");

  // It is there all the same.
  const Interface& record = config_->intf_by_type(kL3)->interfaces().at(0);
  const auto& routes = config_->static_route_config();
  EXPECT_TRUE(
      IsIpv4() ? rules_->InterfaceIPv4MatchStaticRouteNextHop(record, routes)
               : rules_->InterfaceIPv6MatchStaticRouteNextHop(record, routes));
}

TEST_P(PartlyReadTest, ABlackHoleHolds) {
  ReadUpToAnException({BlackHoleTo(1), RouteTo(1, Address(1, 2))});
  ExpectResult(rules_->ValidateRouteBlackHole(*config_), "");

  // It is there all the same.
  const auto& routes = config_->static_route_config();
  std::shared_ptr<StaticRoute> route;
  EXPECT_TRUE(IsIpv4() ? routes.CheckBlackHoleIpv4(route)
                       : routes.CheckBlackHoleIpv6(route));
}

INSTANTIATE_TEST_SUITE_P(Families, PartlyReadTest, kFamilies, FamilyName);

// ---- Output interfaces -----------------------------------------------------

std::string UsedText(const std::string& name) {
  return name +
         " is being used by a static route. Lower-layer-if cannot be removed "
         "from this interface";
}

TEST_F(RouteRulesTest, AnOutputInterfaceHasAVlan) {
  const std::string out = "route 0 20.0.0.0/16 via 10.0.0.1 by l3-100";
  const std::string out6 = "route 0 2001:db8:5::/48 via 2001:db8::1 by l3-100";
  const RouteRuleCase cases[] = {
      {"no VLAN", {"l3 100", out}, {kIpv4}, UsedText("l3 100")},
      {"an IPv6 route", {"l3 100", out6}, {kIpv6}, UsedText("l3 100")},
      {"VLAN 0", {"l3 100 vlan 0", out}, {kIpv4}, UsedText("l3 100")},
      {"a VLAN", {"l3 100 vlan 7", out}, {kIpv4}, ""},
      {"no route names it",
       {"l3 100", "l3 1", "route 0 20.0.0.0/16 via 10.0.0.1 by l3-10",
        "route 0 30.0.0.0/16 via 10.0.0.1"},
       {kIpv4},
       ""},
      {"a black hole",
       {"l3 100", "route 0 20.0.0.0/16 via 0.0.0.0 by l3-100"},
       {kIpv4},
       ""},
      {"a route of a family that was not read", {"l3 100", out6}, {kIpv4}, ""},
      {"the first interface of a kind",
       {"l3 2", "l3 1", "route 0 20.0.0.0/16 via 10.0.0.1 by l3-1",
        "route 0 30.0.0.0/16 via 10.0.0.1 by l3-2"},
       {kIpv4},
       UsedText("l3 2")}};
  ExpectResults(&ValidateConfig::ValidateStaticRouteOutputIntf, cases);
}

TEST_F(RouteRulesTest, OutputInterfacesGoByManagementThenL3ThenLoopback) {
  StartWith({"route 0 20.0.0.0/16 via 10.0.0.1 by lo-1",
             "route 0 30.0.0.0/16 via 10.0.0.1 by l3-1",
             "route 0 40.0.0.0/16 via 10.0.0.1 by mg-1"});
  Read(kIpv4);
  for (const auto& [type, name] :
       {std::pair(kLoopback, "lo 1"), std::pair(kL3, "l3 1"),
        std::pair(kMgmt, "mg 1")}) {
    Add(type, Record(name, "global", {}));
    ExpectResult(rules_->ValidateStaticRouteOutputIntf(*config_),
                 UsedText(name));
  }
}

// No lower-layer interface: all four octets of the identifier are zero.
TEST_F(RouteRulesTest, AnIdentifierIsNoneWhenItIsZeroOnly) {
  for (const limid_t id : {0U, 1U, 0x100U, 0x10000U, 0x01000000U}) {
    StartWith({"route 0 20.0.0.0/16 via 10.0.0.1 by l3-100"});
    Interface record = Record("l3 100", "global", {});
    record.lim_id = id;
    Add(kL3, record);
    Read(kIpv4);
    ExpectResult(rules_->ValidateStaticRouteOutputIntf(*config_),
                 id == 0 ? UsedText("l3 100") : "");
  }
}

}  // namespace
}  // namespace ipav::testing
