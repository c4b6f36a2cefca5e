// The rules between interfaces and their OSPFv2 assignments. Each holds for l3
// interfaces and for loopbacks alike, so that most bodies run for both.

#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "include/config.h"
#include "include/validate_config.h"
#include "tests/support/addresses.h"
#include "tests/support/builders.h"
#include "tests/support/plugin_test.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::Config;
using ip_application::config_valid::ConfigAddrFamily;
using ip_application::config_valid::Interface;
using ip_application::config_valid::InterfaceType;
using ip_application::config_valid::OspfIf;
using ip_application::config_valid::ValidateConfig;
using nettypes::IPv4AddrMask;

using Texts = std::vector<std::string>;

constexpr auto kIpv4 = ConfigAddrFamily::kIpv4;
constexpr auto kL3 = InterfaceType::kL3;
constexpr auto kLoopback = InterfaceType::kLoopback;
constexpr auto kMgmt = InterfaceType::kMgmt;

std::list<IPv4AddrMask> Masks(const Texts& addresses) {
  std::list<IPv4AddrMask> masks;
  for (const std::string& address : addresses) masks.push_back(Mask4(address));
  return masks;
}

// ---- The rules of one kind --------------------------------------------------

struct RuleResult {
  bool holds;
  std::string text;
};

bool operator==(const RuleResult& a, const RuleResult& b) {
  return a.holds == b.holds && a.text == b.text;
}

std::ostream& operator<<(std::ostream& out, const RuleResult& result) {
  return out << (result.holds ? "holds" : "violated") << ": " << result.text;
}

const RuleResult kHolds = {true, ""};

// The address and the VRF rule, for one kind or for all.
struct Judges {
  RuleResult (*addresses)(const Config&);
  RuleResult (*vrf)(const Config&);
};

RuleResult L3Addresses(const Config& config) {
  ValidateConfig rules;
  const bool holds =
      rules.ValidateOspfv2CrossIfL3(config.l3_config(), config.ospfv2_config());
  return {holds, rules.error_text()};
}

RuleResult LoopbackAddresses(const Config& config) {
  ValidateConfig rules;
  const bool holds =
      rules.ValidateOspfv2CrossIfLo(config.lo_config(), config.ospfv2_config());
  return {holds, rules.error_text()};
}

RuleResult L3Vrf(const Config& config) {
  ValidateConfig rules;
  const bool holds = rules.ValidateOspfv2CrossIfL3Vrf(config.l3_config(),
                                                      config.ospfv2_config());
  return {holds, rules.error_text()};
}

RuleResult LoopbackVrf(const Config& config) {
  ValidateConfig rules;
  const bool holds = rules.ValidateOspfv2CrossIfLoVrf(config.lo_config(),
                                                      config.ospfv2_config());
  return {holds, rules.error_text()};
}

RuleResult AllAddresses(const Config& config) {
  ValidateConfig rules;
  const int verdict = rules.ValidateOspfv2(config);
  EXPECT_TRUE(verdict == 0 || verdict == -1) << verdict;
  return {verdict == 0, rules.error_text()};
}

RuleResult AllVrf(const Config& config) {
  ValidateConfig rules;
  const int verdict = rules.ValidateOspfv2Vrf(config);
  EXPECT_TRUE(verdict == 0 || verdict == -1) << verdict;
  return {verdict == 0, rules.error_text()};
}

constexpr Judges kL3Judges = {L3Addresses, L3Vrf};
constexpr Judges kLoopbackJudges = {LoopbackAddresses, LoopbackVrf};
constexpr Judges kAllJudges = {AllAddresses, AllVrf};

// ---- A snapshot made of records ---------------------------------------------

class Ospfv2RulesTest : public PluginTest {
 protected:
  void Add(InterfaceType type, const std::string& name, const Texts& addresses,
           const std::string& vrf = "global") {
    Interface record;
    record.name = name;
    record.vrf_name = vrf;
    record.ipv4 = Masks(addresses);
    config_.intf_by_type(type)->MergeConfigAndInsert(record);
  }

  // In process 10 of VRF global and area 0.0.0.1, unless the test says
  // otherwise.
  void Assign(const std::string& interface, const Texts& addresses,
              std::uint32_t process_id = 10, const std::string& vrf = "global",
              const std::string& area = "0.0.0.1") {
    OspfIf record(process_id, vrf, Addr4(area), interface, Masks(addresses));
    config_.ospfv2_config().MergeConfigAndInsert(record);
  }

  // Everything that the rules read.
  Texts Records() const {
    Texts records;
    for (const auto* reader : config_.interface_configs()) {
      for (const Interface& interface : reader->interfaces()) {
        records.push_back(interface.name + " " + interface.vrf_name +
                          TextOf(interface.ipv4));
      }
    }
    for (const auto& ospf_if : config_.ospfv2_config().interfaces()) {
      records.push_back(ospf_if->intf_name() + " " + ospf_if->vrf_name() + " " +
                        std::to_string(ospf_if->process_id()) + " " +
                        ospf_if->area().to_string() +
                        TextOf(ospf_if->addresses()));
    }
    return records;
  }

  static std::string TextOf(const std::list<IPv4AddrMask>& masks) {
    std::string text;
    for (const IPv4AddrMask& mask : masks) text += " " + mask.to_string();
    return text;
  }

  Config config_;
};

// The end of both address texts.
std::string ProcessText(const std::string& process = "10",
                        const std::string& vrf = "global",
                        const std::string& area = "1 (0.0.0.1)") {
  return process + " vrf " + vrf + " area " + area;
}

std::string Removed(const std::string& address,
                    const std::string& process = ProcessText()) {
  return address +
         " cannot be modified nor deleted, it is assigned to router ospf " +
         process;
}

std::string Added(const std::string& address,
                  const std::string& process = ProcessText()) {
  return address +
         " cannot be added after interface is assigned to router ospf " +
         process;
}

// ---- For each kind ----------------------------------------------------------

struct Kind {
  std::string test_name;
  InterfaceType type;
  std::string word;
  Judges own;    // of this kind
  Judges other;  // of the kind that is not concerned
};

class Ospfv2RulesOfKindTest : public Ospfv2RulesTest,
                              public ::testing::WithParamInterface<Kind> {
 protected:
  static std::string Name(const std::string& key) {
    return GetParam().word + " " + key;
  }
  void AddOfKind(const std::string& key, const Texts& addresses,
                 const std::string& vrf = "global") {
    Add(GetParam().type, Name(key), addresses, vrf);
  }

  // The predicate of the kind and the whole rule agree; the other kind's
  // predicate, which sees none of its own interfaces, holds.
  void ExpectAddresses(const RuleResult& result) {
    EXPECT_EQ(GetParam().own.addresses(config_), result);
    EXPECT_EQ(AllAddresses(config_), result);
    EXPECT_EQ(GetParam().other.addresses(config_), kHolds);
  }
  void ExpectVrf(const RuleResult& result) {
    EXPECT_EQ(GetParam().own.vrf(config_), result);
    EXPECT_EQ(AllVrf(config_), result);
    EXPECT_EQ(GetParam().other.vrf(config_), kHolds);
  }
};

INSTANTIATE_TEST_SUITE_P(
    Kinds, Ospfv2RulesOfKindTest,
    ::testing::Values(Kind{"L3", kL3, "l3", kL3Judges, kLoopbackJudges},
                      Kind{"Loopback", kLoopback, "loopback", kLoopbackJudges,
                           kL3Judges}),
    [](const auto& kind) { return kind.param.test_name; });

// ---- Nothing to judge -------------------------------------------------------

TEST_P(Ospfv2RulesOfKindTest, HoldWithoutInterfacesAndAssignments) {
  ExpectAddresses(kHolds);
  ExpectVrf(kHolds);
}

TEST_P(Ospfv2RulesOfKindTest, HoldForAnAssignmentWhoseInterfaceIsGone) {
  AddOfKind("other", {"10.0.0.9/24"}, "blue");
  Assign(Name("core"), {"10.0.0.1/24"}, 10, "red");
  ExpectAddresses(kHolds);
  ExpectVrf(kHolds);
}

TEST_P(Ospfv2RulesOfKindTest, HoldForAnInterfaceWithoutAnAssignment) {
  AddOfKind("core", {"10.0.0.1/24", "10.0.0.2/24"}, "red");
  ExpectAddresses(kHolds);
  ExpectVrf(kHolds);
}

TEST_P(Ospfv2RulesOfKindTest, HoldForAnAssignmentOfAnyOtherName) {
  AddOfKind("core", {"10.0.0.1/24"}, "red");
  for (const std::string& name :
       {Name("cor"), Name("core1"), Name("Core"), Name("core "),
        GetParam().word + "-core", GetParam().word + "core",
        std::string("core"), std::string("mgmt core"), std::string()}) {
    Assign(name, {"10.0.0.2/24"});
  }
  ExpectAddresses(kHolds);
  ExpectVrf(kHolds);
}

// ---- The addresses that OSPF knows ------------------------------------------

// An interface's addresses, and those that OSPF knows, against each other.
// Additions are looked for only where the interface has more addresses than
// OSPF knows; which counts differ shows where an address stands twice.
TEST_P(Ospfv2RulesOfKindTest, MayNeitherBeRemovedNorAdded) {
  const std::string a = "10.0.0.1/24";
  const std::string b = "10.0.0.2/24";
  const std::string c = "10.0.0.3/24";
  const std::string d = "10.0.0.4/24";
  const std::string longer = "10.0.0.1/25";
  const struct {
    const char* what;
    Texts addresses;
    Texts known;
    std::string text;
  } cases[] = {
      {"the same", {a, b}, {a, b}, ""},
      {"another order", {a, b}, {b, a}, ""},
      {"none", {}, {}, ""},
      {"one removed", {b}, {a, b}, Removed(a)},
      {"the only one removed", {}, {a}, Removed(a)},
      {"another address", {b}, {a}, Removed(a)},
      {"another length", {longer}, {a}, Removed(a)},
      {"one added", {a, b}, {a}, Added(b)},
      {"one added to none", {a}, {}, Added(a)},
      {"one added with another length", {a, longer}, {a}, Added(longer)},
      {"the first removed of the assignment", {b}, {b, c, a}, Removed(c)},
      {"the first added of the interface", {b, c, a}, {b}, Added(c)},
      {"a removal before an addition", {b, c, d}, {b, a}, Removed(a)},
      {"OSPF knows as many", {a, b}, {a, a}, ""},
      {"OSPF knows more", {a, b}, {a, a, a}, ""},
      {"OSPF knows one less", {a, b, c}, {a, a}, Added(b)},
      {"a known address twice", {a, a}, {a}, ""},
  };
  for (const auto& [what, addresses, known, text] : cases) {
    SCOPED_TRACE(what);
    Config config;
    Interface record;
    record.name = Name("core");
    record.vrf_name = "global";
    record.ipv4 = Masks(addresses);
    config.intf_by_type(GetParam().type)->MergeConfigAndInsert(record);
    config.ospfv2_config().MergeConfigAndInsert(
        {10, "global", Addr4("0.0.0.1"), Name("core"), Masks(known)});
    const RuleResult result = {text.empty(), text};
    EXPECT_EQ(GetParam().own.addresses(config), result);
    EXPECT_EQ(AllAddresses(config), result);
    EXPECT_EQ(GetParam().other.addresses(config), kHolds);
  }
}

// ---- The text ---------------------------------------------------------------

TEST_P(Ospfv2RulesOfKindTest, TheTextsNameProcessVrfAndArea) {
  AddOfKind("a", {});
  Assign(Name("a"), {"10.0.0.1/32"}, 4294967295U, "red", "10.20.30.40");
  ExpectAddresses(
      {false,
       "10.0.0.1/32 cannot be modified nor deleted, it is assigned to router "
       "ospf 4294967295 vrf red area 169090600 (10.20.30.40)"});
}

TEST_P(Ospfv2RulesOfKindTest, TheAdditionTextNamesProcessVrfAndArea) {
  AddOfKind("a", {"0.0.0.0/0"});
  Assign(Name("a"), {}, 0, "", "255.255.255.255");
  ExpectAddresses(
      {false,
       "0.0.0.0/0 cannot be added after interface is assigned to router ospf "
       "0 vrf  area 4294967295 (255.255.255.255)"});
}

TEST_P(Ospfv2RulesOfKindTest, TheBackboneAreaIsTheNumber0) {
  AddOfKind("a", {});
  Assign(Name("a"), {"10.0.0.1/24"}, 1, "global", "0.0.0.0");
  ExpectAddresses({false, Removed("10.0.0.1/24",
                                  ProcessText("1", "global", "0 (0.0.0.0)"))});
}

// The interface's own VRF is of no concern to the address rule.
TEST_P(Ospfv2RulesOfKindTest, TheVrfOfTheTextIsThatOfTheProcess) {
  AddOfKind("a", {}, "red");
  Assign(Name("a"), {"10.0.0.1/24"}, 1, "blue");
  ExpectAddresses({false, Removed("10.0.0.1/24", ProcessText("1", "blue"))});
}

// ---- The order of assignments and interfaces --------------------------------

TEST_P(Ospfv2RulesOfKindTest, TheFirstAssignmentInViolationIsTold) {
  AddOfKind("a", {"10.1.0.2/24"}, "red");
  AddOfKind("b", {"10.2.0.2/24"}, "red");
  Assign(Name("b"), {"10.2.0.1/24"}, 2);
  Assign(Name("a"), {"10.1.0.1/24"}, 1);
  ExpectAddresses({false, Removed("10.2.0.1/24", ProcessText("2"))});
  ExpectVrf({false, Name("b") +
                        " vrf red and router ospf 2 vrf global cannot be "
                        "associated with divergent VRF"});
}

TEST_P(Ospfv2RulesOfKindTest, AnAssignmentThatHoldsHidesNoLaterOne) {
  AddOfKind("a", {"10.1.0.1/24"});
  AddOfKind("b", {"10.2.0.2/24"}, "red");
  Assign(Name("gone"), {"10.9.0.1/24"}, 9);
  Assign(Name("a"), {"10.1.0.1/24"}, 1);
  Assign(Name("b"), {"10.2.0.1/24"}, 2);
  ExpectAddresses({false, Removed("10.2.0.1/24", ProcessText("2"))});
  ExpectVrf({false, Name("b") +
                        " vrf red and router ospf 2 vrf global cannot be "
                        "associated with divergent VRF"});
}

// Of two assignments of one interface.
TEST_P(Ospfv2RulesOfKindTest, EachProcessOfAnInterfaceIsJudged) {
  AddOfKind("a", {"10.1.0.1/24"});
  Assign(Name("a"), {"10.1.0.1/24"}, 1);
  Assign(Name("a"), {"10.1.0.2/24"}, 2, "red");
  ExpectAddresses({false, Removed("10.1.0.2/24", ProcessText("2", "red"))});
  ExpectVrf({false, Name("a") +
                        " vrf global and router ospf 2 vrf red cannot be "
                        "associated with divergent VRF"});
}

TEST_P(Ospfv2RulesOfKindTest, AnEarlierAdditionIsToldBeforeALaterRemoval) {
  AddOfKind("a", {"10.1.0.1/24"});
  AddOfKind("b", {"10.2.0.1/24", "10.2.0.2/24"});
  Assign(Name("b"), {"10.2.0.1/24"}, 2);
  Assign(Name("a"), {"10.1.0.9/24"}, 1);
  ExpectAddresses({false, Added("10.2.0.2/24", ProcessText("2"))});
}

// ---- The VRF ----------------------------------------------------------------

TEST_P(Ospfv2RulesOfKindTest, TheSameVrfHoldsWhateverTheAddresses) {
  AddOfKind("core", {"10.0.0.2/24"}, "red");
  Assign(Name("core"), {"10.0.0.1/24"}, 10, "red");
  ExpectVrf(kHolds);
  ExpectAddresses({false, Removed("10.0.0.1/24", ProcessText("10", "red"))});
}

TEST_P(Ospfv2RulesOfKindTest, ADivergentVrfIsTold) {
  AddOfKind("core", {"10.0.0.1/24"}, "red");
  Assign(Name("core"), {"10.0.0.1/24"});
  ExpectVrf({false, Name("core") +
                        " vrf red and router ospf 10 vrf global cannot be "
                        "associated with divergent VRF"});
  ExpectAddresses(kHolds);
}

TEST_P(Ospfv2RulesOfKindTest, VrfNamesAreComparedExactly) {
  const struct {
    std::string interface;
    std::string process;
  } pairs[] = {{"global", "Global"}, {"Global", "global"}, {"red", "red1"},
               {"red1", "red"},      {"red", "rad"},       {"red", "red "},
               {"red", ""},          {"", "red"}};
  for (const auto& [interface, process] : pairs) {
    Config config;
    Interface record;
    record.name = Name("a");
    record.vrf_name = interface;
    config.intf_by_type(GetParam().type)->MergeConfigAndInsert(record);
    OspfIf ospf_if(4294967295U, process, Addr4("0.0.0.1"), Name("a"), {});
    config.ospfv2_config().MergeConfigAndInsert(ospf_if);
    const RuleResult divergent = {
        false, Name("a") + " vrf " + interface +
                   " and router ospf 4294967295 vrf " + process +
                   " cannot be associated with divergent VRF"};
    EXPECT_EQ(GetParam().own.vrf(config), divergent);
    EXPECT_EQ(AllVrf(config), divergent);
    EXPECT_EQ(GetParam().other.vrf(config), kHolds);
  }
}

TEST_P(Ospfv2RulesOfKindTest, EmptyVrfNamesOnBothSidesHold) {
  AddOfKind("a", {}, "");
  Assign(Name("a"), {}, 0, "");
  ExpectVrf(kHolds);
}

// ---- l3 before loopback, mgmt never -----------------------------------------

TEST_F(Ospfv2RulesTest, AnL3InterfaceIsToldBeforeALoopback) {
  Add(kLoopback, "loopback 1", {"10.1.0.2/32"}, "red");
  Add(kL3, "l3 1", {"10.2.0.2/24"}, "red");
  Assign("loopback 1", {"10.1.0.1/32"}, 1);
  Assign("l3 1", {"10.2.0.1/24"}, 2);
  EXPECT_EQ(AllAddresses(config_),
            (RuleResult{false, Removed("10.2.0.1/24", ProcessText("2"))}));
  EXPECT_EQ(AllVrf(config_),
            (RuleResult{false,
                        "l3 1 vrf red and router ospf 2 vrf global cannot be "
                        "associated with divergent VRF"}));
}

TEST_F(Ospfv2RulesTest, ALoopbackIsJudgedWhenAllL3InterfacesHold) {
  Add(kL3, "l3 1", {"10.2.0.1/24"});
  Add(kLoopback, "loopback 1", {"10.1.0.1/32", "10.1.0.2/32"}, "red");
  Assign("l3 1", {"10.2.0.1/24"}, 2);
  Assign("loopback 1", {"10.1.0.1/32"}, 1);
  EXPECT_EQ(AllAddresses(config_),
            (RuleResult{false, Added("10.1.0.2/32", ProcessText("1"))}));
  EXPECT_EQ(AllVrf(config_),
            (RuleResult{false,
                        "loopback 1 vrf red and router ospf 1 vrf global "
                        "cannot be associated with divergent VRF"}));
}

TEST_F(Ospfv2RulesTest, MgmtInterfacesAreNotJudged) {
  Add(kMgmt, "mgmt 1", {"10.1.0.2/24", "10.1.0.3/24"}, "red");
  Assign("mgmt 1", {"10.1.0.1/24"});
  for (const Judges& judges : {kL3Judges, kLoopbackJudges, kAllJudges}) {
    EXPECT_EQ(judges.addresses(config_), kHolds);
    EXPECT_EQ(judges.vrf(config_), kHolds);
  }
}

// Should a reader ever hold such a name, its interfaces are judged by it all
// the same: only the name ties the two records.
TEST_F(Ospfv2RulesTest, OnlyTheNameTiesAssignmentAndInterface) {
  Add(kLoopback, "l3 1", {}, "red");
  Assign("l3 1", {"10.1.0.1/24"});
  EXPECT_EQ(L3Addresses(config_), kHolds);
  EXPECT_EQ(LoopbackAddresses(config_),
            (RuleResult{false, Removed("10.1.0.1/24")}));
  EXPECT_EQ(AllAddresses(config_), (RuleResult{false, Removed("10.1.0.1/24")}));
  EXPECT_EQ(AllVrf(config_),
            (RuleResult{false,
                        "l3 1 vrf red and router ospf 10 vrf global cannot be "
                        "associated with divergent VRF"}));
}

// ---- The error text and the snapshot ----------------------------------------

TEST_F(Ospfv2RulesTest, ARuleThatHoldsLeavesTheTextAlone) {
  ValidateConfig rules;
  Add(kL3, "l3 1", {}, "red");
  Assign("l3 1", {"10.1.0.1/24"});
  EXPECT_EQ(rules.ValidateOspfv2(config_), -1);

  const Config empty;
  EXPECT_EQ(rules.ValidateOspfv2(empty), 0);
  EXPECT_EQ(rules.ValidateOspfv2Vrf(empty), 0);
  EXPECT_TRUE(rules.ValidateOspfv2CrossIfLo(config_.lo_config(),
                                            config_.ospfv2_config()));
  EXPECT_TRUE(rules.ValidateOspfv2CrossIfLoVrf(config_.lo_config(),
                                               config_.ospfv2_config()));
  EXPECT_TRUE(
      rules.ValidateOspfv2CrossIfL3(empty.l3_config(), empty.ospfv2_config()));
  EXPECT_TRUE(rules.ValidateOspfv2CrossIfL3Vrf(empty.l3_config(),
                                               empty.ospfv2_config()));
  EXPECT_EQ(rules.error_text(), Removed("10.1.0.1/24"));
}

TEST_F(Ospfv2RulesTest, ALaterViolationReplacesTheTextWhole) {
  ValidateConfig rules;
  Add(kL3, "l3 1", {}, "red");
  Assign("l3 1", {"10.1.0.1/24"});
  EXPECT_EQ(rules.ValidateOspfv2(config_), -1);
  EXPECT_EQ(rules.ValidateOspfv2Vrf(config_), -1);
  EXPECT_EQ(rules.error_text(),
            "l3 1 vrf red and router ospf 10 vrf global cannot be associated "
            "with divergent VRF");
  EXPECT_EQ(rules.ValidateOspfv2(config_), -1);
  EXPECT_EQ(rules.error_text(), Removed("10.1.0.1/24"));
}

TEST_F(Ospfv2RulesTest, TheSnapshotStaysAsItIsAndNothingIsRead) {
  Add(kMgmt, "mgmt 1", {"10.0.0.1/24"}, "red");
  Add(kL3, "l3 2", {"10.2.0.2/24", "10.2.0.1/24"}, "red");
  Add(kL3, "l3 1", {"10.1.0.1/24", "10.1.0.1/24"});
  Add(kLoopback, "loopback 1", {"10.3.0.1/24"}, "blue");
  Assign("l3 1", {"10.1.0.1/24"});
  Assign("loopback 1", {"10.3.0.2/24", "10.3.0.1/24"}, 3);
  Assign("l3 2", {"10.2.0.1/24"}, 2);
  Assign("l3 gone", {"10.4.0.1/24"}, 2);
  const Texts records = Records();
  ASSERT_EQ(records.size(), 8U);
  const std::list<std::shared_ptr<OspfIf>> assignments =
      config_.ospfv2_config().interfaces();
  for (const Judges& judges : {kL3Judges, kLoopbackJudges, kAllJudges}) {
    EXPECT_FALSE(judges.addresses(config_).holds);
    EXPECT_FALSE(judges.vrf(config_).holds);
  }
  EXPECT_EQ(Records(), records);
  EXPECT_EQ(config_.ospfv2_config().interfaces(), assignments);
  EXPECT_FALSE(config_.ospfv2_config().ipv4_read());
  EXPECT_TRUE(fake.calls().empty());
}

// ---- Snapshots that were read -----------------------------------------------

class Ospfv2RulesOnReadDataTest : public Ospfv2RulesTest {
 protected:
  void Read() {
    config_.set_sock(FakePlatform::kSocket);
    config_.set_confd_trans(fake.tctx());
    config_.intf_by_type(kL3)->ReadConfigIfNeeded(kIpv4);
    config_.intf_by_type(kLoopback)->ReadConfigIfNeeded(kIpv4);
    config_.ospfv2_config().ReadConfigIfNeeded(kIpv4);
  }
};

TEST_F(Ospfv2RulesOnReadDataTest, TheDefaultInterfaceAndAssignmentAgree) {
  InterfaceData().StoreIn(fake);
  OspfRow().StoreIn(fake);
  OspfProcess().StoreIn(fake);
  Read();
  ASSERT_EQ(config_.ospfv2_config().interfaces().size(), 1U);
  EXPECT_EQ(AllAddresses(config_), kHolds);
  EXPECT_EQ(AllVrf(config_), kHolds);
}

TEST_F(Ospfv2RulesOnReadDataTest, ALoopbackOfTheTableIsFoundByItsName) {
  InterfaceData loopback;
  loopback.kind = "loopback";
  loopback.name = "a-b";
  loopback.ipv4_list = {"10.1.1.1/32", "10.1.1.2/32"};
  loopback.vrf = "red";
  loopback.StoreIn(fake);
  OspfRow row;
  row.interface = "loopback-a-b";
  row.prefix_len = 32;
  row.StoreIn(fake);
  OspfProcess().StoreIn(fake);
  Read();
  EXPECT_EQ(AllAddresses(config_), (RuleResult{false, Added("10.1.1.2/32")}));
  EXPECT_EQ(AllVrf(config_),
            (RuleResult{false,
                        "loopback a-b vrf red and router ospf 10 vrf global "
                        "cannot be associated with divergent VRF"}));
}

TEST_F(Ospfv2RulesOnReadDataTest, AnUnknownProcessIs0WithoutAVrf) {
  InterfaceData data;
  data.ipv4_list = {"10.1.1.2/24"};
  data.StoreIn(fake);
  OspfRow().StoreIn(fake);
  Read();
  EXPECT_EQ(AllAddresses(config_),
            (RuleResult{false,
                        "10.1.1.2/24 cannot be added after interface is "
                        "assigned to router ospf 0 vrf  area 1 (0.0.0.1)"}));
  EXPECT_EQ(AllVrf(config_),
            (RuleResult{false,
                        "l3 core1 vrf global and router ospf 0 vrf  cannot be "
                        "associated with divergent VRF"}));
}

TEST_F(Ospfv2RulesOnReadDataTest, AnUnknownPrefixLengthIsAChangeTo0) {
  InterfaceData().StoreIn(fake);
  OspfRow row;
  row.prefix_len.reset();
  row.StoreIn(fake);
  OspfProcess().StoreIn(fake);
  Read();
  EXPECT_EQ(AllAddresses(config_), (RuleResult{false, Removed("10.1.1.1/0")}));
}

TEST_F(Ospfv2RulesOnReadDataTest, TheAreaOfTheTextIsThatOfTheFirstRow) {
  InterfaceData data;
  data.ipv4.reset();
  data.StoreIn(fake);
  OspfRow row;
  row.area = "0.0.0.2";
  row.address = "10.1.1.9";
  row.StoreIn(fake);
  OspfRow().StoreIn(fake);
  OspfProcess().StoreIn(fake);
  Read();
  EXPECT_EQ(
      AllAddresses(config_),
      (RuleResult{false, Removed("10.1.1.9/24",
                                 ProcessText("10", "global", "2 (0.0.0.2)"))}));
}

}  // namespace
}  // namespace ipav::testing
