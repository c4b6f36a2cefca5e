#include "include/validate_ip_addr_cross_ospf.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/builders.h"
#include "tests/support/death_text.h"
#include "tests/support/plugin_test.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::HostdCdbSession;

using Texts = std::vector<std::string>;

constexpr char kTable[] = "/internal/ospfv3-interface-l3";
constexpr char kVlanFormat[] = "/config/interface/l3{%s}/lower-layer-if/vlan";
constexpr char kIndexFormat[] = "%s{ %u %s %s }/ospfv3-pm-if-index";
constexpr char kTextFormat[] =
    "vlan %d cannot be changed, it is assigned to router ospfv3 %d area %u "
    "(%s)";
constexpr char kDefaultText[] =
    "vlan 10 cannot be changed, it is assigned to router ospfv3 1 area 1 "
    "(0.0.0.1)";

// Indexes of the fake platform's VLAN interfaces.
constexpr std::uint32_t kIndexOfVlan0 = 1000;
constexpr std::uint32_t kIndexOfVlan20 = 1020;

std::string VlanPath(const std::string& name) {
  return "/config/interface/l3{" + name + "}/lower-layer-if/vlan";
}

// The validation point sits on the container of the lower-layer interface.
KeyPath LowerLayerOf(const std::string& name) {
  KeyPath path;
  path.Node("config").Node("interface").Node("l3").Key(Text(name));
  path.Node("lower-layer-if");
  return path;
}

Ospfv3Row RowOf(std::uint32_t router, const std::string& area,
                const std::string& interface, std::uint32_t if_index) {
  Ospfv3Row row;
  row.router = router;
  row.area = area;
  row.interface = interface;
  row.if_index = if_index;
  row.if_name = interface;
  return row;
}

Ospfv3Row RowWithIndex(std::uint32_t if_index) {
  return RowOf(1, "0.0.0.1", "l3-core1", if_index);
}

// The interface core1, on VLAN 10 in the running configuration and on VLAN 20
// in the transaction.
class LowerLayerOspfv3Test : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    StoreVlans();
  }

  void StoreVlans() {
    InterfaceData l3;
    l3.vlan = 20;
    l3.StoreIn(fake);
    fake.SetRunning(VlanPath("core1"), Int32(10));
  }

  int32_t Validate() {
    fake.ForgetCalls();
    return validate_lower_layer_cross_ospfv3(FakePlatform::kSocket, fake.tctx(),
                                             keypath_.get(), nullptr);
  }

  void ExpectAccepted() {
    EXPECT_EQ(Validate(), 0);
    ExpectNoError();
  }

  void ExpectRefused(const std::string& text) {
    EXPECT_EQ(Validate(), -1);
    ExpectOneError(kTextFormat, text);
  }

  std::vector<Call> CallsOf(const std::string& name) {
    std::vector<Call> found;
    for (const Call& call : fake.calls()) {
      if (call.name == name) found.push_back(call);
    }
    return found;
  }

  KeyPath keypath_ = LowerLayerOf("core1");
};

// The calls up to the target's index, and those of the rows behind it.
const Texts kCallsBeforeTheRows = {
    "maapi_exists(/internal/ospfv3-interface-l3)",
    "maapi_num_instances(/internal/ospfv3-interface-l3)",
    "hostd_instance_get()",
    "HostdCdbSessionBase(1, true)",
    "cdb_get_int32(/config/interface/l3{core1}/lower-layer-if/vlan)",
    "~HostdCdbSessionBase()",
    "maapi_get_int32_elem(/config/interface/l3{core1}/lower-layer-if/vlan)",
    "maapi_init_cursor(/internal/ospfv3-interface-l3)",
    "maapi_get_next(/internal/ospfv3-interface-l3)",
    "limid_l3_vlan_from_components(10)",
    "limid_to_ifindex(16777226)",
};
constexpr char kNextRow[] = "maapi_get_next(/internal/ospfv3-interface-l3)";
constexpr char kEndOfRows[] =
    "maapi_destroy_cursor(/internal/ospfv3-interface-l3)";

std::string IndexRead(const std::string& keys) {
  return "maapi_get_u_int32_elem(/internal/ospfv3-interface-l3{ " + keys +
         " }/ospfv3-pm-if-index)";
}

std::string Seterr(const std::string& text) {
  return "confd_trans_seterr(" + text + ")";
}

Texts Joined(Texts front, const Texts& back) {
  front.insert(front.end(), back.begin(), back.end());
  return front;
}

Texts Beginning(const Texts& texts, std::ptrdiff_t count) {
  return {texts.begin(), texts.begin() + count};
}

// Numbers of these calls, the first being 1.
constexpr unsigned kExistsCall = 1;
constexpr unsigned kCountCall = 2;
constexpr unsigned kRunningVlanCall = 5;
constexpr unsigned kNewVlanCall = 7;
constexpr unsigned kInitCursorCall = 8;
constexpr unsigned kFirstRowCall = 9;
constexpr unsigned kLimidCall = 10;
constexpr unsigned kIfIndexCall = 11;
constexpr unsigned kFirstIndexReadCall = 12;

// ---- The session -----------------------------------------------------------

static_assert(std::is_base_of_v<HostdCdbSessionBase, HostdCdbSession>);
static_assert(std::has_virtual_destructor_v<HostdCdbSession>);
static_assert(sizeof(HostdCdbSession) == sizeof(HostdCdbSessionBase));
static_assert(std::is_constructible_v<HostdCdbSession, HostdInterface*,
                                      cdb_db_type, bool>);

TEST_F(LowerLayerOspfv3Test, ASessionIsOpenWhileTheObjectLives) {
  std::unique_ptr<HostdCdbSessionBase> session =
      std::make_unique<HostdCdbSession>(fake.host_instance(), CDB_RUNNING,
                                        true);
  EXPECT_EQ(fake.open_cdb_sessions(), 1U);
  EXPECT_GE(session->Socket(), 0);
  session.reset();
  EXPECT_EQ(fake.open_cdb_sessions(), 0U);
  EXPECT_EQ(fake.CallTexts(),
            (Texts{"HostdCdbSessionBase(1, true)", "~HostdCdbSessionBase()"}));
}

// ---- A change is refused, and the calls that it takes to see it ------------

TEST_F(LowerLayerOspfv3Test, MakesTheseCallsToRefuseTheSecondRow) {
  RowOf(1, "0.0.0.1", "l3-edge1", kIndexOfVlan20).StoreIn(fake);
  RowOf(7, "10.0.0.2", "l3-core1", 1010).StoreIn(fake);
  const std::string text =
      "vlan 10 cannot be changed, it is assigned to router ospfv3 7 area "
      "167772162 (10.0.0.2)";
  ExpectRefused(text);
  EXPECT_EQ(fake.CallTexts(), Joined(kCallsBeforeTheRows,
                                     {IndexRead("1 0.0.0.1 l3-edge1"), kNextRow,
                                      IndexRead("7 10.0.0.2 l3-core1"),
                                      Seterr(text), kEndOfRows}));
}

TEST_F(LowerLayerOspfv3Test, WalksAllRowsToAccept) {
  RowOf(1, "0.0.0.1", "l3-edge1", kIndexOfVlan20).StoreIn(fake);
  RowOf(7, "10.0.0.2", "l3-edge2", 1011).StoreIn(fake);
  ExpectAccepted();
  EXPECT_EQ(fake.CallTexts(),
            Joined(kCallsBeforeTheRows,
                   {IndexRead("1 0.0.0.1 l3-edge1"), kNextRow,
                    IndexRead("7 10.0.0.2 l3-edge2"), kNextRow, kEndOfRows}));
}

TEST_F(LowerLayerOspfv3Test, ReadsByFormatsThroughSocketAndTransaction) {
  Ospfv3Row{}.StoreIn(fake);
  ExpectRefused(kDefaultText);
  Texts formats;
  for (const Call& call : fake.calls()) {
    if (call.format.empty()) continue;
    formats.push_back(call.name + " " + call.format);
    if (call.name == "cdb_get_int32") continue;
    EXPECT_EQ(call.sock, FakePlatform::kSocket) << call.text();
    EXPECT_EQ(call.thandle, FakePlatform::kTransaction) << call.text();
  }
  const std::string table = kTable;
  EXPECT_EQ(formats,
            (Texts{"maapi_exists " + table, "maapi_num_instances " + table,
                   std::string("cdb_get_int32 ") + kVlanFormat,
                   std::string("maapi_get_int32_elem ") + kVlanFormat,
                   "maapi_init_cursor " + table,
                   std::string("maapi_get_u_int32_elem ") + kIndexFormat}));
}

TEST_F(LowerLayerOspfv3Test, OpensTheSessionOnTheHostOfTheRegistration) {
  Ospfv3Row{}.StoreIn(fake);
  fake.tctx()->vcb_opaque = nullptr;  // the fake answers its own data only
  ExpectAccepted();
  EXPECT_EQ(fake.CallTexts(), Beginning(kCallsBeforeTheRows, 6));
}

TEST_F(LowerLayerOspfv3Test, KeepsNothingForTheNextCall) {
  Ospfv3Row{}.StoreIn(fake);
  ExpectRefused(kDefaultText);
  const Texts first = fake.CallTexts();
  EXPECT_EQ(Validate(), -1);
  EXPECT_EQ(fake.CallTexts(), first);
  fake.SetValue(VlanPath("core1"), Int32(10));
  EXPECT_EQ(Validate(), 0);
  EXPECT_EQ(fake.errors().size(), 2U);
}

// A "%" in a name is no conversion, in none of the paths.
TEST_F(LowerLayerOspfv3Test, TakesANameWithAPercentSign) {
  InterfaceData l3;
  l3.name = "50%d%n";
  l3.vlan = 20;
  l3.StoreIn(fake);
  fake.SetRunning(VlanPath(l3.name), Int32(30));
  RowOf(1, "0.0.0.1", "l3-50%d%n", 1030).StoreIn(fake);
  keypath_ = LowerLayerOf(l3.name);
  ExpectRefused(
      "vlan 30 cannot be changed, it is assigned to router ospfv3 1 area 1 "
      "(0.0.0.1)");
  EXPECT_EQ(CallsOf("cdb_get_int32")[0].args, VlanPath("50%d%n"));
  EXPECT_EQ(CallsOf("maapi_get_int32_elem")[0].args, VlanPath("50%d%n"));
  EXPECT_EQ(CallsOf("maapi_get_u_int32_elem")[0].text(),
            IndexRead("1 0.0.0.1 l3-50%d%n"));
}

// ---- No row to compare with ------------------------------------------------

TEST_F(LowerLayerOspfv3Test, AcceptsEverythingWithoutRows) {
  ExpectAccepted();
  EXPECT_EQ(fake.CallTexts(), Beginning(kCallsBeforeTheRows, 1));
  fake.SetContainer(kTable);
  ExpectAccepted();
  EXPECT_EQ(fake.CallTexts(), Beginning(kCallsBeforeTheRows, 2));
  fake.FailCall(kCountCall, -1);
  ExpectAccepted();
  EXPECT_EQ(fake.CallTexts(), Joined(kCallsBeforeTheRows, {kEndOfRows}));
}

// A failing count is not looked at.
TEST_F(LowerLayerOspfv3Test, AcceptsWhenACallUpToTheRowsFails) {
  Ospfv3Row{}.StoreIn(fake);
  const struct {
    unsigned number;
    int result;
    Texts calls;
  } cases[] = {{kExistsCall, -1, Beginning(kCallsBeforeTheRows, 1)},
               {kExistsCall, -2, Beginning(kCallsBeforeTheRows, 1)},
               {kExistsCall, 2, Beginning(kCallsBeforeTheRows, 1)},
               {kRunningVlanCall, -1, Beginning(kCallsBeforeTheRows, 6)},
               {kFirstRowCall, -1, Joined(kCallsBeforeTheRows, {kEndOfRows})},
               {kIfIndexCall, -1,
                Joined(kCallsBeforeTheRows, {IndexRead("1 0.0.0.1 l3-core1"),
                                             kNextRow, kEndOfRows})}};
  for (const auto& [number, result, calls] : cases) {
    fake.FailCall(number, result);
    ExpectAccepted();
    EXPECT_EQ(fake.CallTexts(), calls) << number;
  }
  fake.FailCall(kInitCursorCall);
  ExpectAccepted();
  fake.FailCall(kCountCall, -1);
  ExpectRefused(kDefaultText);
}

TEST_F(LowerLayerOspfv3Test, AcceptsWhenTheNextRowCannotBeFetched) {
  RowOf(1, "0.0.0.1", "l3-edge1", kIndexOfVlan20).StoreIn(fake);
  Ospfv3Row{}.StoreIn(fake);
  fake.FailCall(kFirstIndexReadCall + 1);
  ExpectAccepted();
}

// A key path of no interface matters only where there is something to compare.
TEST_F(LowerLayerOspfv3Test, DoesNotLookAtTheKeyPathWithoutATable) {
  keypath_.Replace(1, Uint32(1));
  ExpectAccepted();
}

// ---- The VLAN of the running configuration ---------------------------------

TEST_F(LowerLayerOspfv3Test, AcceptsAnInterfaceThatHadNoVlan) {
  Ospfv3Row{}.StoreIn(fake);
  InterfaceData fresh;
  fresh.name = "edge1";
  fresh.vlan = 10;
  fresh.StoreIn(fake);
  keypath_ = LowerLayerOf("edge1");
  ExpectAccepted();
  EXPECT_EQ(fake.calls().size(), 6U);
  EXPECT_EQ(fake.calls().back().name, "~HostdCdbSessionBase");
}

TEST_F(LowerLayerOspfv3Test, AcceptsWhenTheRunningVlanHasAnotherType) {
  Ospfv3Row{}.StoreIn(fake);
  fake.SetRunning(VlanPath("core1"), Uint32(10));
  ExpectAccepted();
  EXPECT_EQ(fake.CallTexts(), Beginning(kCallsBeforeTheRows, 6));
}

// ---- The VLAN of the transaction -------------------------------------------

TEST_F(LowerLayerOspfv3Test, AcceptsTheSameVlanAgain) {
  Ospfv3Row{}.StoreIn(fake);
  fake.SetValue(VlanPath("core1"), Int32(10));
  ExpectAccepted();
  EXPECT_EQ(fake.CallTexts(), Beginning(kCallsBeforeTheRows, 7));
}

TEST_F(LowerLayerOspfv3Test, RefusesToRemoveTheInterfaceOrItsVlan) {
  fake.SetRunning(VlanPath("edge1"), Int32(10));
  Ospfv3Row{}.StoreIn(fake);
  keypath_ = LowerLayerOf("edge1");
  ExpectRefused(kDefaultText);
  StoreLines(fake, {"l3 edge1"});
  EXPECT_EQ(Validate(), -1);
  EXPECT_EQ(fake.error_text(), kDefaultText);
}

// A VLAN that cannot be read is not the old one, not even VLAN 0.
TEST_F(LowerLayerOspfv3Test, TakesAnUnreadableNewVlanForAChange) {
  RowWithIndex(kIndexOfVlan0).StoreIn(fake);
  fake.SetRunning(VlanPath("core1"), Int32(0));
  fake.SetValue(VlanPath("core1"), Int32(0));
  ExpectAccepted();
  for (const int code : {-1, -2}) {
    fake.FailCall(kNewVlanCall, code);
    EXPECT_EQ(Validate(), -1) << code;
    EXPECT_EQ(fake.error_text(),
              "vlan 0 cannot be changed, it is assigned to router ospfv3 1 "
              "area 1 (0.0.0.1)");
  }
}

TEST_F(LowerLayerOspfv3Test, TakesANewVlanOfAnotherTypeForAChange) {
  Ospfv3Row{}.StoreIn(fake);
  fake.SetValue(VlanPath("core1"), Uint32(10));
  ExpectRefused(kDefaultText);
}

// ---- The rows --------------------------------------------------------------

TEST_F(LowerLayerOspfv3Test, ReportsTheFirstOfTwoAssignments) {
  RowOf(9, "0.0.0.2", "l3-core1", 1010).StoreIn(fake);
  RowOf(1, "0.0.0.1", "l3-core1", 1010).StoreIn(fake);
  ExpectRefused(
      "vlan 10 cannot be changed, it is assigned to router ospfv3 9 area 2 "
      "(0.0.0.2)");
}

// OSPFv3 knows the interface by its index: the names are not compared.
TEST_F(LowerLayerOspfv3Test, RefusesByTheIndexWhateverTheName) {
  RowOf(1, "0.0.0.1", "l3-edge1", 1010).StoreIn(fake);
  ExpectRefused(kDefaultText);
}

TEST_F(LowerLayerOspfv3Test, AcceptsARowOfThatNameWithAnotherIndex) {
  RowWithIndex(1011).StoreIn(fake);
  RowWithIndex(kIndexOfVlan20).StoreIn(fake);  // the new VLAN may be assigned
  ExpectAccepted();
}

TEST_F(LowerLayerOspfv3Test, PassesOverARowWhoseIndexCannotBeRead) {
  RowOf(1, "0.0.0.1", "l3-edge1", 1010).StoreIn(fake);
  RowOf(2, "0.0.0.2", "l3-core1", 1010).StoreIn(fake);
  for (const int code : {-1, -2}) {
    fake.FailCall(kFirstIndexReadCall, code);
    EXPECT_EQ(Validate(), -1);
    EXPECT_EQ(fake.error_text(),
              "vlan 10 cannot be changed, it is assigned to router ospfv3 2 "
              "area 2 (0.0.0.2)");
  }
}

TEST_F(LowerLayerOspfv3Test, PassesOverARowWithoutAnIndex) {
  Ospfv3Row row;
  row.if_index.reset();
  row.StoreIn(fake);
  ExpectAccepted();
  EXPECT_EQ(fake.CallTexts(),
            Joined(kCallsBeforeTheRows,
                   {IndexRead("1 0.0.0.1 l3-core1"), kNextRow, kEndOfRows}));
}

TEST_F(LowerLayerOspfv3Test, PassesOverARowWithAnIndexOfAnotherType) {
  Ospfv3Row row;
  row.StoreIn(fake);
  fake.SetValue(row.if_index_path(), Int32(1010));
  ExpectAccepted();
}

// ---- The identifier services -----------------------------------------------

// The identifier of no VLAN is 0.
TEST_F(LowerLayerOspfv3Test, GoesOnWithTheZeroIdentifierWhenThereIsNone) {
  RowWithIndex(kIndexOfVlan0).StoreIn(fake);
  fake.FailCall(kLimidCall);
  ExpectRefused(kDefaultText);
  EXPECT_EQ(fake.calls().at(kIfIndexCall - 1).text(), "limid_to_ifindex(0)");
}

// ---- Numbers in the text ---------------------------------------------------

// "%d" has no sign of its own to tell a router above 2^31 by.
TEST_F(LowerLayerOspfv3Test, PrintsRouterSignedAndAreaAsANumberAndDotted) {
  const struct {
    std::uint32_t router;
    const char* printed;
    std::string area;
    const char* number;
  } cases[] = {{0, "0", "0.0.0.0", "0"},
               {1, "1", "0.0.1.0", "256"},
               {2147483647, "2147483647", "1.2.3.4", "16909060"},
               {2147483648, "-2147483648", "127.255.255.255", "2147483647"},
               {3000000000, "-1294967296", "128.0.0.0", "2147483648"},
               {4294967295, "-1", "255.255.255.255", "4294967295"}};
  for (const auto& [router, printed, area, number] : cases) {
    fake.Reset();
    StoreVlans();
    RowOf(router, area, "l3-core1", 1010).StoreIn(fake);
    ExpectRefused(
        std::string(
            "vlan 10 cannot be changed, it is assigned to router ospfv3 ") +
        printed + " area " + number + " (" + area + ")");
    EXPECT_EQ(CallsOf("maapi_get_u_int32_elem")[0].text(),
              IndexRead(std::to_string(router) + " " + area + " l3-core1"));
  }
}

TEST_F(LowerLayerOspfv3Test, PrintsANegativeVlan) {
  // The fake's index of a VLAN is that of the number's low 24 bits.
  RowWithIndex(0x00FFFFFB + kIndexOfVlan0).StoreIn(fake);
  fake.SetRunning(VlanPath("core1"), Int32(-5));
  ExpectRefused(
      "vlan -5 cannot be changed, it is assigned to router ospfv3 1 area 1 "
      "(0.0.0.1)");
  EXPECT_EQ(fake.calls().at(kLimidCall - 1).text(),
            "limid_l3_vlan_from_components(-5)");
}

TEST_F(LowerLayerOspfv3Test, PrintsTheSmallestVlan) {
  RowWithIndex(kIndexOfVlan0).StoreIn(fake);
  fake.SetRunning(VlanPath("core1"),
                  Int32(std::numeric_limits<std::int32_t>::min()));
  ExpectRefused(
      "vlan -2147483648 cannot be changed, it is assigned to router ospfv3 1 "
      "area 1 (0.0.0.1)");
}

// ---- Malformed key paths and keys ------------------------------------------

using LowerLayerOspfv3DeathTest = LowerLayerOspfv3Test;

std::string ReportOfExpression(const std::string& expression) {
  return ReportOf({"src/lib/validate_ip_addr_cross_ospf.cc",
                   {},
                   "int32_t validate_lower_layer_cross_ospfv3(int32_t, "
                   "confd_trans_ctx*, confd_hkeypath_t*, confd_value_t*)",
                   expression});
}

TEST_F(LowerLayerOspfv3DeathTest, AKeyPathWithoutANameStopsTheProcess) {
  Ospfv3Row{}.StoreIn(fake);
  for (const Value& name : {Uint32(1), Tag(1), Binary("core1")}) {
    keypath_.Replace(1, name);
    EXPECT_EXIT(Validate(), ::testing::KilledBySignal(SIGABRT),
                ReportOfExpression("(&keypath->v[1][0])->type == C_BUF"));
  }
}

struct KeyCase {
  std::string name;
  std::vector<Value> keys;
  std::string expression;
};

class RowKeyDeathTest : public LowerLayerOspfv3Test,
                        public ::testing::WithParamInterface<KeyCase> {};

TEST_P(RowKeyDeathTest, OfAnotherTypeStopsTheProcessAtALaterRowToo) {
  RowWithIndex(kIndexOfVlan20).StoreIn(fake);
  fake.AddEntry(kTable, GetParam().keys);
  EXPECT_EXIT(Validate(), ::testing::KilledBySignal(SIGABRT),
              ReportOfExpression(GetParam().expression));
}

TEST_P(RowKeyDeathTest, OfAnotherTypeIsNotSeenBehindTheConflict) {
  Ospfv3Row{}.StoreIn(fake);
  fake.AddEntry(kTable, GetParam().keys);
  ExpectRefused(kDefaultText);
}

// Where several keys are wrong the area is named first, then the router.
INSTANTIATE_TEST_SUITE_P(
    Keys, RowKeyDeathTest,
    ::testing::Values(KeyCase{"Router",
                              {Int32(1), Ipv4("0.0.0.1"), Text("l3-core1")},
                              "(&mc_intf.keys[0])->type == C_UINT32"},
                      KeyCase{"RouterAndName",
                              {Int32(1), Ipv4("0.0.0.1"), Uint32(1)},
                              "(&mc_intf.keys[0])->type == C_UINT32"},
                      KeyCase{"Area",
                              {Uint32(1), Text("0.0.0.1"), Text("l3-core1")},
                              "(&mc_intf.keys[1])->type == C_IPV4"},
                      KeyCase{"All",
                              {Int32(1), Uint32(1), Uint32(1)},
                              "(&mc_intf.keys[1])->type == C_IPV4"},
                      KeyCase{"Name",
                              {Uint32(1), Ipv4("0.0.0.1"), Binary("l3-core1")},
                              "(&mc_intf.keys[2])->type == C_BUF"}),
    [](const auto& key_case) { return key_case.param.name; });

}  // namespace
}  // namespace ipav::testing
