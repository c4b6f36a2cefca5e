// The rules between interfaces and their OSPFv2 assignments. Each holds for l3
// interfaces and for loopbacks alike, so that most bodies run for both.

#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "include/config.h"
#include "include/validate_config.h"
#include "tests/support/addresses.h"
#include "tests/support/plugin_test.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::Config;
using ip_application::config_valid::Interface;
using ip_application::config_valid::InterfaceType;
using ip_application::config_valid::L3Config;
using ip_application::config_valid::LoConfig;
using ip_application::config_valid::OspfIf;
using ip_application::config_valid::Ospfv2Config;
using ip_application::config_valid::ValidateConfig;
using nettypes::IPv4AddrMask;

using Texts = std::vector<std::string>;

constexpr auto kL3 = InterfaceType::kL3;
constexpr auto kLoopback = InterfaceType::kLoopback;
constexpr auto kMgmt = InterfaceType::kMgmt;

std::list<IPv4AddrMask> Masks(const Texts& addresses) {
  std::list<IPv4AddrMask> masks;
  for (const std::string& address : addresses) masks.push_back(Mask4(address));
  return masks;
}

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

std::string Divergent(const std::string& interface, const std::string& vrf,
                      const std::string& process,
                      const std::string& process_vrf = "global") {
  return interface + " vrf " + vrf + " and router ospf " + process + " vrf " +
         process_vrf + " cannot be associated with divergent VRF";
}

// ---- The rules of one kind --------------------------------------------------

// The text of a rule that was run. Its verdict must say the same.
std::string Result(bool holds, const ValidateConfig& rules) {
  EXPECT_EQ(holds, rules.error_text().empty());
  return rules.error_text();
}

constexpr char kHolds[] = "";

// The address and the VRF rule, for one kind or for all.
struct Judges {
  std::string (*addresses)(const Config&);
  std::string (*vrf)(const Config&);
};

template <typename Reader, const Reader& (Config::*reader)() const,
          bool (ValidateConfig::*rule)(const Reader&, const Ospfv2Config&)>
std::string OfKind(const Config& config) {
  ValidateConfig rules;
  return Result((rules.*rule)((config.*reader)(), config.ospfv2_config()),
                rules);
}

template <int (ValidateConfig::*rule)(const Config&)>
std::string OfAllKinds(const Config& config) {
  ValidateConfig rules;
  const int verdict = (rules.*rule)(config);
  EXPECT_TRUE(verdict == 0 || verdict == -1) << verdict;
  return Result(verdict == 0, rules);
}

constexpr Judges kL3Judges = {
    OfKind<L3Config, &Config::l3_config,
           &ValidateConfig::ValidateOspfv2CrossIfL3>,
    OfKind<L3Config, &Config::l3_config,
           &ValidateConfig::ValidateOspfv2CrossIfL3Vrf>};
constexpr Judges kLoopbackJudges = {
    OfKind<LoConfig, &Config::lo_config,
           &ValidateConfig::ValidateOspfv2CrossIfLo>,
    OfKind<LoConfig, &Config::lo_config,
           &ValidateConfig::ValidateOspfv2CrossIfLoVrf>};
constexpr Judges kAllJudges = {OfAllKinds<&ValidateConfig::ValidateOspfv2>,
                               OfAllKinds<&ValidateConfig::ValidateOspfv2Vrf>};

// ---- A snapshot made of records ---------------------------------------------

class Ospfv2RulesTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    StartSnapshot();
  }

  void StartSnapshot() { config_.emplace(); }

  void Add(InterfaceType type, const std::string& name, const Texts& addresses,
           const std::string& vrf = "global") {
    Interface record;
    record.name = name;
    record.vrf_name = vrf;
    record.ipv4 = Masks(addresses);
    config_->intf_by_type(type)->MergeConfigAndInsert(record);
  }

  // In process 10 of VRF global and area 0.0.0.1, unless the test says
  // otherwise.
  void Assign(const std::string& interface, const Texts& addresses,
              std::uint32_t process_id = 10, const std::string& vrf = "global",
              const std::string& area = "0.0.0.1") {
    OspfIf record(process_id, vrf, Addr4(area), interface, Masks(addresses));
    config_->ospfv2_config().MergeConfigAndInsert(record);
  }

  void ExpectOfAllKinds(const std::string& addresses, const std::string& vrf) {
    EXPECT_EQ(kAllJudges.addresses(*config_), addresses);
    EXPECT_EQ(kAllJudges.vrf(*config_), vrf);
  }

  // Everything that the rules read.
  Texts Records() const {
    Texts records;
    for (const auto* reader : config_->interface_configs()) {
      for (const Interface& interface : reader->interfaces()) {
        records.push_back(interface.name + " " + interface.vrf_name +
                          TextOf(interface.ipv4));
      }
    }
    for (const auto& ospf_if : config_->ospfv2_config().interfaces()) {
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

  std::optional<Config> config_;
};

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
  void ExpectAddresses(const std::string& text) {
    EXPECT_EQ(GetParam().own.addresses(*config_), text);
    EXPECT_EQ(kAllJudges.addresses(*config_), text);
    EXPECT_EQ(GetParam().other.addresses(*config_), kHolds);
  }
  void ExpectVrf(const std::string& text) {
    EXPECT_EQ(GetParam().own.vrf(*config_), text);
    EXPECT_EQ(kAllJudges.vrf(*config_), text);
    EXPECT_EQ(GetParam().other.vrf(*config_), kHolds);
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
    StartSnapshot();
    AddOfKind("core", addresses);
    Assign(Name("core"), known);
    ExpectAddresses(text);
  }
}

// ---- The text ---------------------------------------------------------------

// The VRF is that of the process: the interface's own is of no concern to the
// address rule.
TEST_P(Ospfv2RulesOfKindTest, TheAddressTextsNameProcessVrfAndArea) {
  const struct {
    Texts addresses;
    Texts known;
    std::uint32_t process;
    const char* vrf;
    const char* area;
    const char* text;
  } cases[] = {
      {{},
       {"10.0.0.1/32"},
       4294967295U,
       "red",
       "10.20.30.40",
       "10.0.0.1/32 cannot be modified nor deleted, it is assigned to router "
       "ospf 4294967295 vrf red area 169090600 (10.20.30.40)"},
      {{"0.0.0.0/0"},
       {},
       0,
       "",
       "255.255.255.255",
       "0.0.0.0/0 cannot be added after interface is assigned to router ospf "
       "0 vrf  area 4294967295 (255.255.255.255)"},
      {{},
       {"10.0.0.1/24"},
       1,
       "blue",
       "0.0.0.0",
       "10.0.0.1/24 cannot be modified nor deleted, it is assigned to router "
       "ospf 1 vrf blue area 0 (0.0.0.0)"}};
  for (const auto& [addresses, known, process, vrf, area, text] : cases) {
    StartSnapshot();
    AddOfKind("a", addresses, "green");
    Assign(Name("a"), known, process, vrf, area);
    ExpectAddresses(text);
  }
}

// ---- The order of assignments and interfaces --------------------------------

TEST_P(Ospfv2RulesOfKindTest, TheFirstAssignmentInViolationIsTold) {
  AddOfKind("a", {"10.1.0.2/24"}, "red");
  AddOfKind("b", {"10.2.0.2/24"}, "red");
  Assign(Name("b"), {"10.2.0.1/24"}, 2);
  Assign(Name("a"), {"10.1.0.1/24"}, 1);
  ExpectAddresses(Removed("10.2.0.1/24", ProcessText("2")));
  ExpectVrf(Divergent(Name("b"), "red", "2"));
}

TEST_P(Ospfv2RulesOfKindTest, AnAssignmentThatHoldsHidesNoLaterOne) {
  AddOfKind("a", {"10.1.0.1/24"});
  AddOfKind("b", {"10.2.0.2/24"}, "red");
  Assign(Name("gone"), {"10.9.0.1/24"}, 9);
  Assign(Name("a"), {"10.1.0.1/24"}, 1);
  Assign(Name("b"), {"10.2.0.1/24"}, 2);
  ExpectAddresses(Removed("10.2.0.1/24", ProcessText("2")));
  ExpectVrf(Divergent(Name("b"), "red", "2"));
}

// Of two assignments of one interface.
TEST_P(Ospfv2RulesOfKindTest, EachProcessOfAnInterfaceIsJudged) {
  AddOfKind("a", {"10.1.0.1/24"});
  Assign(Name("a"), {"10.1.0.1/24"}, 1);
  Assign(Name("a"), {"10.1.0.2/24"}, 2, "red");
  ExpectAddresses(Removed("10.1.0.2/24", ProcessText("2", "red")));
  ExpectVrf(Divergent(Name("a"), "global", "2", "red"));
}

TEST_P(Ospfv2RulesOfKindTest, AnEarlierAdditionIsToldBeforeALaterRemoval) {
  AddOfKind("a", {"10.1.0.1/24"});
  AddOfKind("b", {"10.2.0.1/24", "10.2.0.2/24"});
  Assign(Name("b"), {"10.2.0.1/24"}, 2);
  Assign(Name("a"), {"10.1.0.9/24"}, 1);
  ExpectAddresses(Added("10.2.0.2/24", ProcessText("2")));
}

// ---- The VRF ----------------------------------------------------------------

TEST_P(Ospfv2RulesOfKindTest, TheSameVrfHoldsWhateverTheAddresses) {
  AddOfKind("core", {"10.0.0.2/24"}, "red");
  Assign(Name("core"), {"10.0.0.1/24"}, 10, "red");
  ExpectVrf(kHolds);
  ExpectAddresses(Removed("10.0.0.1/24", ProcessText("10", "red")));
}

TEST_P(Ospfv2RulesOfKindTest, ADivergentVrfIsTold) {
  AddOfKind("core", {"10.0.0.1/24"}, "red");
  Assign(Name("core"), {"10.0.0.1/24"});
  ExpectVrf(Name("core") +
            " vrf red and router ospf 10 vrf global cannot be associated with "
            "divergent VRF");
  ExpectAddresses(kHolds);
}

TEST_P(Ospfv2RulesOfKindTest, VrfNamesAreComparedExactly) {
  const std::pair<const char*, const char*> pairs[] = {
      {"global", "Global"}, {"Global", "global"}, {"red", "red1"},
      {"red1", "red"},      {"red", "rad"},       {"red", "red "},
      {"red", ""},          {"", "red"},          {"", ""}};
  for (const auto& [interface, process] : pairs) {
    StartSnapshot();
    AddOfKind("a", {}, interface);
    Assign(Name("a"), {}, 4294967295U, process);
    ExpectVrf(std::string(interface) == process
                  ? kHolds
                  : Divergent(Name("a"), interface, "4294967295", process));
  }
}

// ---- l3 before loopback, mgmt never -----------------------------------------

TEST_F(Ospfv2RulesTest, AnL3InterfaceIsToldBeforeALoopback) {
  Add(kLoopback, "loopback 1", {"10.1.0.2/32"}, "red");
  Add(kL3, "l3 1", {"10.2.0.2/24"}, "red");
  Assign("loopback 1", {"10.1.0.1/32"}, 1);
  Assign("l3 1", {"10.2.0.1/24"}, 2);
  ExpectOfAllKinds(Removed("10.2.0.1/24", ProcessText("2")),
                   Divergent("l3 1", "red", "2"));
}

TEST_F(Ospfv2RulesTest, ALoopbackIsJudgedWhenAllL3InterfacesHold) {
  Add(kL3, "l3 1", {"10.2.0.1/24"});
  Add(kLoopback, "loopback 1", {"10.1.0.1/32", "10.1.0.2/32"}, "red");
  Assign("l3 1", {"10.2.0.1/24"}, 2);
  Assign("loopback 1", {"10.1.0.1/32"}, 1);
  ExpectOfAllKinds(Added("10.1.0.2/32", ProcessText("1")),
                   Divergent("loopback 1", "red", "1"));
}

TEST_F(Ospfv2RulesTest, MgmtInterfacesAreNotJudged) {
  Add(kMgmt, "mgmt 1", {"10.1.0.2/24", "10.1.0.3/24"}, "red");
  Assign("mgmt 1", {"10.1.0.1/24"});
  for (const Judges& judges : {kL3Judges, kLoopbackJudges, kAllJudges}) {
    EXPECT_EQ(judges.addresses(*config_), kHolds);
    EXPECT_EQ(judges.vrf(*config_), kHolds);
  }
}

// Should a reader ever hold such a name, its interfaces are judged by it all
// the same: only the name ties the two records.
TEST_F(Ospfv2RulesTest, OnlyTheNameTiesAssignmentAndInterface) {
  Add(kLoopback, "l3 1", {}, "red");
  Assign("l3 1", {"10.1.0.1/24"});
  EXPECT_EQ(kL3Judges.addresses(*config_), kHolds);
  EXPECT_EQ(kLoopbackJudges.addresses(*config_), Removed("10.1.0.1/24"));
  ExpectOfAllKinds(Removed("10.1.0.1/24"), Divergent("l3 1", "red", "10"));
}

// ---- The error text and the snapshot ----------------------------------------

TEST_F(Ospfv2RulesTest, ARuleThatHoldsLeavesTheTextAlone) {
  ValidateConfig rules;
  Add(kL3, "l3 1", {}, "red");
  Assign("l3 1", {"10.1.0.1/24"});
  EXPECT_EQ(rules.ValidateOspfv2(*config_), -1);

  const Config empty;
  EXPECT_EQ(rules.ValidateOspfv2(empty), 0);
  EXPECT_EQ(rules.ValidateOspfv2Vrf(empty), 0);
  EXPECT_TRUE(rules.ValidateOspfv2CrossIfLo(config_->lo_config(),
                                            config_->ospfv2_config()));
  EXPECT_TRUE(rules.ValidateOspfv2CrossIfLoVrf(config_->lo_config(),
                                               config_->ospfv2_config()));
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
  EXPECT_EQ(rules.ValidateOspfv2(*config_), -1);
  EXPECT_EQ(rules.ValidateOspfv2Vrf(*config_), -1);
  EXPECT_EQ(rules.error_text(), Divergent("l3 1", "red", "10"));
  EXPECT_EQ(rules.ValidateOspfv2(*config_), -1);
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
      config_->ospfv2_config().interfaces();
  for (const Judges& judges : {kL3Judges, kLoopbackJudges, kAllJudges}) {
    EXPECT_NE(judges.addresses(*config_), kHolds);
    EXPECT_NE(judges.vrf(*config_), kHolds);
  }
  EXPECT_EQ(Records(), records);
  EXPECT_EQ(config_->ospfv2_config().interfaces(), assignments);
  EXPECT_FALSE(config_->ospfv2_config().ipv4_read());
  EXPECT_TRUE(fake.calls().empty());
}

}  // namespace
}  // namespace ipav::testing
