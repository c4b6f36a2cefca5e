#include "include/validate_intf_vrf.h"

#include <gtest/gtest.h>

#include <boost/system/system_error.hpp>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/addresses.h"
#include "tests/support/builders.h"
#include "tests/support/callback_test.h"
#include "tests/support/death_text.h"
#include "tests/support/plugin_test.h"

namespace ipav::testing {
namespace {

constexpr char kVrfPoint[] = "intf_vrf_validation";
constexpr char kL3List[] = "/config/interface/l3";
constexpr char kLoopbackList[] = "/config/interface/loopback";
constexpr char kOspfTable[] = "/internal/ospf-interface-l3";

constexpr char kTagExpression[] = "(&kp->v[0][0])->type == C_XMLTAG";
constexpr char kNameExpression[] = "(&kp->v[1][0])->type == C_BUF";

constexpr confd_iter_op kOtherOperations[] = {
    MOP_CREATED, MOP_DELETED, MOP_MODIFIED, MOP_MOVED_AFTER, MOP_ATTR_SET};

std::string Expression(const std::string& kind, const std::string& name) {
  return "ospfv3-interface-l3[ospfv3-pm-if-name='" + kind + "-" + name +
         "']/ospfv3-pm-if-name";
}

std::string RefusalOf(const std::string& kind, const std::string& name) {
  return kind + " " + name +
         " is configured in OSPFv3 and cannot be associated with a VRF";
}

std::string Question(const std::string& expression) {
  return "maapi_xpath_eval_expr(" + expression + ", /internal)";
}

std::string Walk(const std::string& path) {
  return "maapi_keypath_diff_iterate(" + path + ")";
}

KeyPath VrfOf(const std::string& kind, const std::string& name) {
  return InterfaceListPath(kind).Key(Text(name)).Node("vrf");
}

// The data of the table do not matter: the answer of the XPath call does.
void PutInOspfv3(FakePlatform& platform, const std::string& kind,
                 const std::string& name) {
  platform.SetXpathAnswer("/internal", Expression(kind, name),
                          kind + "-" + name);
}

std::string IterValidateReport(const std::string& walk,
                               const std::string& expression) {
  return ReportOf({"src/lib/validate_intf_vrf.cc",
                   {},
                   "virtual confd_iter_ret " + walk +
                       "::IterValidate(confd_hkeypath_t*, confd_iter_op, "
                       "confd_value_t*, confd_value_t*)",
                   expression});
}

// ---- The classes -----------------------------------------------------------

static_assert(std::is_abstract_v<ValidateIntfVrf>);
static_assert(std::has_virtual_destructor_v<ValidateIntfVrf>);

template <typename Walk>
class AnyWalkTest : public PluginTest {
 protected:
  confd_iter_ret Iterate(KeyPath path, confd_iter_op op,
                         const std::optional<Value>& new_value) {
    confd_value_t value = new_value.value_or(Nothing()).Borrow();
    return walk_.IterValidate(path.get(), op, nullptr,
                              new_value ? &value : nullptr);
  }

  Walk walk_{FakePlatform::kSocket, fake.tctx(), kL3List};
};

struct WalkNames {
  template <typename Walk>
  static std::string GetName(int) {
    if (std::is_same_v<Walk, ValidateIntfL3Vrf>) return "L3";
    if (std::is_same_v<Walk, ValidateIntfLoVrf>) return "Loopback";
    return std::is_same_v<Walk, ValidateIntfVrfOspf> ? "Ospf" : "Ospfv3";
  }
};

using Walks = ::testing::Types<ValidateIntfL3Vrf, ValidateIntfLoVrf,
                               ValidateIntfVrfOspf, ValidateIntfVrfOspfv3>;
TYPED_TEST_SUITE(AnyWalkTest, Walks, WalkNames);

TYPED_TEST(AnyWalkTest, IsAWalkWithNoDataOfItsOwn) {
  static_assert(std::is_base_of_v<ValidateIntfVrf, TypeParam>);
  static_assert(!std::is_abstract_v<TypeParam>);
  static_assert(sizeof(TypeParam) == sizeof(ValidateIntfVrf));
  static_assert(std::is_constructible_v<TypeParam, std::int32_t,
                                        confd_trans_ctx*, std::string>);
  EXPECT_TRUE(this->fake.calls().empty());
}

TYPED_TEST(AnyWalkTest, StartsWithoutAnErrorText) {
  EXPECT_EQ(this->walk_.RunValidation(), 0);
  this->ExpectNoError();
}

TYPED_TEST(AnyWalkTest, GoesOnForEveryOperationButASetValue) {
  const KeyPath vrf = VrfOf("l3", "core1");
  PutInOspfv3(this->fake, "l3", "core1");
  PutInOspfv3(this->fake, "loopback", "core1");
  for (const confd_iter_op op : kOtherOperations) {
    EXPECT_EQ(this->Iterate(vrf, op, Text("red")), ITER_RECURSE) << op;
    EXPECT_EQ(this->Iterate(vrf, op, std::nullopt), ITER_RECURSE) << op;
  }
  EXPECT_TRUE(this->fake.calls().empty());
  EXPECT_EQ(this->walk_.RunValidation(), 0);
}

// A list entry, say, ends in its keys.
TYPED_TEST(AnyWalkTest, LooksAtTheNodeOfASetValueOnly) {
  KeyPath entry = InterfaceListPath("l3").Key(Text("core1"));
  for (const confd_iter_op op : kOtherOperations) {
    EXPECT_EQ(this->Iterate(entry, op, std::nullopt), ITER_RECURSE) << op;
  }
}

TYPED_TEST(AnyWalkTest, AsksNothingAboutAnotherLeaf) {
  const KeyPath mtu = InterfaceListPath("l3").Key(Text("core1")).Node("mtu");
  EXPECT_EQ(this->Iterate(mtu, MOP_VALUE_SET, Text("red")), ITER_RECURSE);
  EXPECT_EQ(this->Iterate(mtu, MOP_VALUE_SET, std::nullopt), ITER_RECURSE);
  EXPECT_TRUE(this->fake.calls().empty());
}

// ---- l3, loopback: the VRF of an interface under OSPFv3 --------------------

template <typename Walk>
class InterfaceWalkTest : public AnyWalkTest<Walk> {
 protected:
  static constexpr bool kIsL3 = std::is_same_v<Walk, ValidateIntfL3Vrf>;

  static std::string Kind() { return kIsL3 ? "l3" : "loopback"; }
  static std::string ClassName() {
    return kIsL3 ? "ValidateIntfL3Vrf" : "ValidateIntfLoVrf";
  }

  confd_iter_ret SetVrf(const std::string& name) {
    return this->Iterate(VrfOf(Kind(), name), MOP_VALUE_SET, Text("red"));
  }

  // What a change left behind shows at the end of a walk.
  void ExpectText(const std::string& text) {
    EXPECT_EQ(this->walk_.RunValidation(), -1);
    this->ExpectOneError("%s", text);
  }
  void ExpectNoText() {
    EXPECT_EQ(this->walk_.RunValidation(), 0);
    this->ExpectNoError();
  }
};

using InterfaceWalks = ::testing::Types<ValidateIntfL3Vrf, ValidateIntfLoVrf>;
TYPED_TEST_SUITE(InterfaceWalkTest, InterfaceWalks, WalkNames);

TYPED_TEST(InterfaceWalkTest, StopsAtAnInterfaceWithAnyAnswerOfAText) {
  for (const std::string name : {"core1", "50%s%n%d"}) {
    for (const std::string& answer :
         {this->Kind() + "-" + name, std::string(" ")}) {
      this->fake.Reset();
      this->fake.SetXpathAnswer("/internal", Expression(this->Kind(), name),
                                answer);
      EXPECT_EQ(this->SetVrf(name), ITER_STOP);
      this->ExpectNoError();
      this->ExpectText(RefusalOf(this->Kind(), name));
    }
  }
}

TYPED_TEST(InterfaceWalkTest, AsksOnceForTheNameInOspfv3) {
  EXPECT_EQ(this->SetVrf("core1"), ITER_RECURSE);
  ASSERT_EQ(this->fake.CallTexts(),
            Texts{Question(Expression(this->Kind(), "core1"))});
  EXPECT_EQ(this->fake.calls()[0].format, "/internal");
  EXPECT_EQ(this->fake.calls()[0].sock, FakePlatform::kSocket);
  EXPECT_EQ(this->fake.calls()[0].thandle, FakePlatform::kTransaction);
}

TYPED_TEST(InterfaceWalkTest, GoesOnWithAnEmptyAnswerOrNone) {
  const std::string expression = Expression(this->Kind(), "core1");
  this->fake.SetXpathAnswer("/internal", expression, "");
  EXPECT_EQ(this->SetVrf("core1"), ITER_RECURSE);
  this->fake.SetXpathAnswer("/internal", expression, "l3-core1");
  this->fake.FailCall(1);
  EXPECT_EQ(this->SetVrf("core1"), ITER_RECURSE);
  this->ExpectNoText();
}

TYPED_TEST(InterfaceWalkTest, DoesNotTakeOneKindForTheOther) {
  PutInOspfv3(this->fake, this->kIsL3 ? "loopback" : "l3", "core1");
  EXPECT_EQ(this->SetVrf("core1"), ITER_RECURSE);
  this->ExpectNoText();
}

// The VRF is removed: there is no new value.
TYPED_TEST(InterfaceWalkTest, GoesOnWithoutANewValue) {
  PutInOspfv3(this->fake, this->Kind(), "core1");
  EXPECT_EQ(
      this->Iterate(VrfOf(this->Kind(), "core1"), MOP_VALUE_SET, std::nullopt),
      ITER_RECURSE);
  EXPECT_TRUE(this->fake.calls().empty());
  this->ExpectNoText();
}

TYPED_TEST(InterfaceWalkTest, LooksForNoNameWithoutAQuestion) {
  KeyPath vrf = VrfOf(this->Kind(), "core1").Replace(1, Uint32(1));
  EXPECT_EQ(this->Iterate(vrf, MOP_VALUE_SET, std::nullopt), ITER_RECURSE);
  KeyPath mtu = vrf;
  mtu.Replace(0, Tag(TagOf("mtu")));
  EXPECT_EQ(this->Iterate(mtu, MOP_VALUE_SET, Text("red")), ITER_RECURSE);
}

TYPED_TEST(InterfaceWalkTest, CutsTheQuestionButNotTheText) {
  constexpr std::size_t kLongest = 1023;
  const std::size_t frame = Expression(this->Kind(), "").size();
  for (const std::size_t excess : {0U, 1U, 5U, 2000U}) {
    const std::string name(kLongest - frame + excess, 'n');
    const std::string question =
        Expression(this->Kind(), name).substr(0, kLongest);
    this->fake.ForgetCalls();
    EXPECT_EQ(this->SetVrf(name), ITER_RECURSE) << excess;
    EXPECT_EQ(this->fake.CallTexts(), Texts{Question(question)}) << excess;
    this->fake.SetXpathAnswer("/internal", question, "x");
    EXPECT_EQ(this->SetVrf(name), ITER_STOP) << excess;
    EXPECT_EQ(this->walk_.RunValidation(), -1);
    EXPECT_EQ(this->fake.error_text(), RefusalOf(this->Kind(), name));
  }
}

template <typename Walk>
using InterfaceWalkDeathTest = InterfaceWalkTest<Walk>;
TYPED_TEST_SUITE(InterfaceWalkDeathTest, InterfaceWalks, WalkNames);

TYPED_TEST(InterfaceWalkDeathTest, ASetValueOfAKeyStopsTheProcess) {
  KeyPath entry = InterfaceListPath(this->Kind()).Key(Text("core1"));
  const std::string report =
      IterValidateReport(this->ClassName(), kTagExpression);
  EXPECT_EXIT(this->Iterate(entry, MOP_VALUE_SET, Text("red")),
              ::testing::KilledBySignal(SIGABRT), report);
  EXPECT_EXIT(this->Iterate(entry, MOP_VALUE_SET, std::nullopt),
              ::testing::KilledBySignal(SIGABRT), report);
}

TYPED_TEST(InterfaceWalkDeathTest, AVrfOfNoNameStopsTheProcess) {
  const std::string report =
      IterValidateReport(this->ClassName(), kNameExpression);
  for (const Value& name : {Uint32(1), Binary("core1"), Tag(1)}) {
    KeyPath vrf = VrfOf(this->Kind(), "core1").Replace(1, name);
    EXPECT_EXIT(this->Iterate(vrf, MOP_VALUE_SET, Text("red")),
                ::testing::KilledBySignal(SIGABRT), report);
  }
}

// ---- OSPFv2, OSPFv3: no check of their own ---------------------------------

template <typename Walk>
class OspfWalkTest : public AnyWalkTest<Walk> {};

using OspfWalks = ::testing::Types<ValidateIntfVrfOspf, ValidateIntfVrfOspfv3>;
TYPED_TEST_SUITE(OspfWalkTest, OspfWalks, WalkNames);

TYPED_TEST(OspfWalkTest, AsksNothingAboutTheVrfOfAnInterface) {
  PutInOspfv3(this->fake, "l3", "core1");
  KeyPath vrf = VrfOf("l3", "core1");
  EXPECT_EQ(this->Iterate(vrf, MOP_VALUE_SET, Text("red")), ITER_RECURSE);
  vrf.Replace(1, Uint32(1));
  EXPECT_EQ(this->Iterate(vrf, MOP_VALUE_SET, Text("red")), ITER_RECURSE);
  EXPECT_TRUE(this->fake.calls().empty());
  EXPECT_EQ(this->walk_.RunValidation(), 0);
  this->ExpectNoError();
}

using OspfWalkDeathTest = PluginTest;

TEST_F(OspfWalkDeathTest, ASetValueOfAKeyStopsTheProcessForOspfv3Only) {
  KeyPath entry = InterfaceListPath("l3").Key(Text("core1"));
  ValidateIntfVrfOspfv3 ospfv3(FakePlatform::kSocket, fake.tctx(), kL3List);
  EXPECT_EXIT(ospfv3.IterValidate(entry.get(), MOP_VALUE_SET, nullptr, nullptr),
              ::testing::KilledBySignal(SIGABRT),
              IterValidateReport("ValidateIntfVrfOspfv3", kTagExpression));
  ValidateIntfVrfOspf ospf(FakePlatform::kSocket, fake.tctx(), kOspfTable);
  EXPECT_EQ(ospf.IterValidate(entry.get(), MOP_VALUE_SET, nullptr, nullptr),
            ITER_RECURSE);
}

// ---- The walk --------------------------------------------------------------

class WalkTest : public PluginTest {
 protected:
  // Changes the VRF of an interface in the transaction.
  void ChangeVrf(const std::string& kind, const std::string& name) {
    fake.AddChange(VrfOf(kind, name), MOP_VALUE_SET, Text("red"));
  }

  ValidateIntfL3Vrf walk_{FakePlatform::kSocket, fake.tctx(), kL3List};
};

TEST_F(WalkTest, IteratesOverThePathAsAFormat) {
  EXPECT_EQ(walk_.RunValidation(), 0);
  ASSERT_EQ(fake.CallTexts(), Texts{Walk(kL3List)});
  EXPECT_EQ(fake.calls()[0].format, kL3List);
  EXPECT_EQ(fake.calls()[0].sock, FakePlatform::kSocket);
  EXPECT_EQ(fake.calls()[0].thandle, FakePlatform::kTransaction);
  ExpectNoError();
}

TEST_F(WalkTest, NamesTheFirstInterfaceVisited) {
  for (const char* name : {"edge1", "core1", "core2"}) ChangeVrf("l3", name);
  PutInOspfv3(fake, "l3", "core2");
  PutInOspfv3(fake, "l3", "core1");
  EXPECT_EQ(walk_.RunValidation(), -1);
  const std::string text = RefusalOf("l3", "core1");
  ExpectOneError("%s", text);
  EXPECT_EQ(fake.CallTexts(),
            (Texts{Walk(kL3List), Question(Expression("l3", "edge1")),
                   Question(Expression("l3", "core1")),
                   "confd_trans_seterr(" + text + ")"}));
}

TEST_F(WalkTest, AcceptsAChangeBesideAnInterfaceThatOspfv3Uses) {
  PutInOspfv3(fake, "l3", "core1");
  ChangeVrf("l3", "edge1");
  fake.AddChange(VrfOf("l3", "core1"), MOP_DELETED);
  EXPECT_EQ(walk_.RunValidation(), 0);
  ExpectNoError();
}

TEST_F(WalkTest, GoesOnBelowAChangedEntry) {
  PutInOspfv3(fake, "l3", "core1");
  fake.AddChange(InterfaceListPath("l3").Key(Text("core1")), MOP_MODIFIED);
  ChangeVrf("l3", "core1");
  EXPECT_EQ(walk_.RunValidation(), -1);
  ExpectOneError("%s", RefusalOf("l3", "core1"));
}

TEST_F(WalkTest, VisitsTheChangesBelowItsPathOnly) {
  PutInOspfv3(fake, "l3", "1");
  PutInOspfv3(fake, "loopback", "1");
  ChangeVrf("loopback", "1");
  EXPECT_EQ(walk_.RunValidation(), 0);
  ValidateIntfLoVrf loopbacks(FakePlatform::kSocket, fake.tctx(),
                              kLoopbackList);
  EXPECT_EQ(loopbacks.RunValidation(), -1);
  ExpectOneError("%s", RefusalOf("loopback", "1"));
}

TEST_F(WalkTest, AcceptsWhenTheIterationFails) {
  PutInOspfv3(fake, "l3", "core1");
  ChangeVrf("l3", "core1");
  fake.FailCall(1);
  EXPECT_EQ(walk_.RunValidation(), 0);
  ExpectNoError();
}

TEST_F(WalkTest, RefusesForItsTextAlsoWhenTheIterationFails) {
  PutInOspfv3(fake, "l3", "core1");
  confd_value_t red = Text("red").Borrow();
  KeyPath vrf = VrfOf("l3", "core1");
  ASSERT_EQ(walk_.IterValidate(vrf.get(), MOP_VALUE_SET, nullptr, &red),
            ITER_STOP);
  fake.FailCall(1);
  EXPECT_EQ(walk_.RunValidation(), -1);
  ExpectOneError("%s", RefusalOf("l3", "core1"));
}

// A walk that notes its visits as texts and answers each with the same.
class NotingWalk : public ValidateIntfVrf {
 public:
  NotingWalk(confd_trans_ctx* tctx, confd_iter_ret answer)
      : ValidateIntfVrf(FakePlatform::kSocket, tctx, kL3List),
        answer_(answer) {}

  confd_iter_ret IterValidate(confd_hkeypath_t* kp, confd_iter_op op,
                              confd_value_t* oldv,
                              confd_value_t* newv) override {
    EXPECT_EQ(oldv, nullptr);
    visits_.push_back(PrettyText(kp->v[0][0]) + " " + std::to_string(op) +
                      (newv == nullptr ? "" : " " + PrettyText(*newv)));
    return answer_;
  }

  const Texts& visits() const { return visits_; }

 private:
  confd_iter_ret answer_;
  Texts visits_;
};

TEST_F(WalkTest, HandsEveryChangeToTheWalk) {
  fake.AddChange(InterfaceListPath("l3").Key(Text("core1")), MOP_CREATED);
  ChangeVrf("l3", "core1");
  fake.AddChange(VrfOf("l3", "core2"), MOP_DELETED);
  NotingWalk walk(fake.tctx(), ITER_RECURSE);
  EXPECT_EQ(walk.RunValidation(), 0);
  EXPECT_EQ(walk.visits(),
            (Texts{"core1 " + std::to_string(MOP_CREATED),
                   "vrf " + std::to_string(MOP_VALUE_SET) + " red",
                   "vrf " + std::to_string(MOP_DELETED)}));
}

TEST_F(WalkTest, ReturnsTheAnswerOfTheWalkToTheIteration) {
  ChangeVrf("l3", "core1");
  ChangeVrf("l3", "core2");
  NotingWalk stopping(fake.tctx(), ITER_STOP);
  EXPECT_EQ(stopping.RunValidation(), 0);
  EXPECT_EQ(stopping.visits().size(), 1U);
  NotingWalk recursing(fake.tctx(), ITER_RECURSE);
  EXPECT_EQ(recursing.RunValidation(), 0);
  EXPECT_EQ(recursing.visits().size(), 2U);
}

// ---- The walk's reads of the transaction -----------------------------------

using WalkReadsTest = WalkTest;

constexpr char kAddress[] = "/config/interface/l3{core1}/ipv4/address/ip";

TEST_F(WalkReadsTest, AnAddressIsReadWhereItExists) {
  const std::string exists = std::string("maapi_exists(") + kAddress + ")";
  EXPECT_EQ(walk_.get_ipv4_addr_mask(kAddress), nettypes::IPv4AddrMask());
  EXPECT_EQ(fake.CallTexts(), Texts{exists});

  fake.ForgetCalls();
  InterfaceData{}.StoreIn(fake);
  EXPECT_EQ(walk_.get_ipv4_addr_mask(kAddress), Mask4("10.1.1.1/24"));
  EXPECT_EQ(fake.CallTexts(),
            (Texts{exists, std::string("maapi_get_ipv4_and_plen_elem(") +
                               kAddress + ")"}));
  for (const Call& call : fake.calls()) {
    EXPECT_EQ(call.format, "%s");
    EXPECT_EQ(call.sock, FakePlatform::kSocket);
    EXPECT_EQ(call.thandle, FakePlatform::kTransaction);
  }

  // One that cannot be read is unspecified.
  for (const unsigned call : {1U, 2U}) {
    fake.FailCall(call);
    EXPECT_EQ(walk_.get_ipv4_addr_mask(kAddress), nettypes::IPv4AddrMask());
  }
  fake.SetValue(kAddress, Ipv4("10.1.1.1"));
  EXPECT_EQ(walk_.get_ipv4_addr_mask(kAddress), nettypes::IPv4AddrMask());
}

TEST_F(WalkReadsTest, KeysAreTheFirstOfEachEntryInOrder) {
  const std::string list = "/internal/ospfv3-interface-l3";
  for (const std::uint32_t router : {3U, 1U, 2U}) {
    Ospfv3Row row;
    row.router = router;
    row.StoreIn(fake);
  }
  EXPECT_EQ(walk_.get_key_list(list), (std::list<std::string>{"3", "1", "2"}));
  const std::string next = "maapi_get_next(" + list + ")";
  EXPECT_EQ(
      fake.CallTexts(),
      (Texts{"maapi_exists(" + list + ")", "maapi_init_cursor(" + list + ")",
             next, "confd_pp_value(3)", next, "confd_pp_value(1)", next,
             "confd_pp_value(2)", next, "maapi_destroy_cursor(" + list + ")"}));
  EXPECT_EQ(fake.calls()[0].format, "%s");
  EXPECT_EQ(fake.calls()[1].format, "%s");
}

TEST_F(WalkReadsTest, AMissingListHasNoKeys) {
  EXPECT_EQ(walk_.get_key_list(kL3List), std::list<std::string>{});
  EXPECT_EQ(fake.CallTexts(),
            Texts{std::string("maapi_exists(") + kL3List + ")"});
  InterfaceData{}.StoreIn(fake);
  fake.FailCall(1);
  EXPECT_EQ(walk_.get_key_list(kL3List), std::list<std::string>{});
}

TEST_F(WalkReadsTest, AKeyIsCutAt8191Bytes) {
  constexpr std::size_t kLongest = 8191;
  const std::string longest(kLongest, 'k');
  for (const std::size_t size : {std::size_t{255}, std::size_t{256}, kLongest,
                                 kLongest + 1, 2 * kLongest}) {
    fake.AddEntry("/list", {Text(std::string(size, 'k'))});
  }
  EXPECT_EQ(
      walk_.get_key_list("/list"),
      (std::list<std::string>{longest.substr(0, 255), longest.substr(0, 256),
                              longest, longest, longest}));
}

// ---- The callback: what it reads, in which order ---------------------------

// The nodes of a key path, from the root, that ends in a node of its own.
KeyPath PathOfLength(int length, const std::string& last) {
  KeyPath path;
  for (int i = 1; i < length; ++i) path.Node("level" + std::to_string(i));
  if (length > 0) path.Node(last);
  return path;
}

// Of a node three levels below an entry of a table: v[4] is its tag.
KeyPath BelowTable(const std::string& table, const std::string& last) {
  KeyPath path;
  path.Node("internal").Node(table).Keys(OspfRow{}.keys());
  path.Node("level2").Node("level1").Node(last);
  return path;
}

KeyPath OspfPath() { return BelowTable("ospf-interface-l3", "vrf_name"); }

class IntfVrfTest : public CallbackTest {
 protected:
  int32_t Validate(const KeyPath& path) {
    return CallbackTest::Validate(kVrfPoint, path);
  }
  int32_t ValidateList(const std::string& kind) {
    return Validate(InterfaceListPath(kind));
  }

  Texts Walks() { return ReadsWith("maapi_keypath_diff_iterate"); }

  void ExpectRefused(const KeyPath& path, const std::string& text) {
    EXPECT_EQ(Validate(path), -1);
    ExpectOneError("%s", text);
    EXPECT_EQ(LastCall(), "confd_trans_seterr(" + text + ")");
  }

  void ExpectAccepted(const KeyPath& path) {
    EXPECT_EQ(Validate(path), 0);
    ExpectNoError();
  }

  // One interface in violation of each of the three checks.
  void StoreBadAddress() { StoreLines(fake, {"l3 bad1 10.9.9.0/24"}); }
  void StoreDivergentVrf() {
    StoreLines(fake, {"l3 core1 vrf red 10.1.1.1/24", "process 7 10 global",
                      "ospf 7 l3-core1 10.1.1.1/24"});
  }
  void SetVrfUnderOspfv3(const std::string& kind) {
    PutInOspfv3(fake, kind, "edge1");
    fake.AddChange(VrfOf(kind, "edge1"), MOP_VALUE_SET, Text("red"));
  }
};

constexpr char kBadAddressText[] =
    "l3 bad1 ipv4 address 10.9.9.0/24 cannot be configured as network "
    "address.";
constexpr char kDivergentVrfText[] =
    "l3 core1 vrf red and router ospf 10 vrf global cannot be associated with "
    "divergent VRF";

struct WalkCase {
  std::string name;
  KeyPath path;
  Texts walks;
};

Texts SnapshotReads() {
  return Joined({L3Ipv4Reads(), LoopbackReads("ipv4"), MgmtIpv4Reads(),
                 RouteReads(), OspfReads()});
}

TEST_F(IntfVrfTest, ReadsTheSameOnceForEveryKeyPathAndWalksThen) {
  StoreSmallConfiguration(fake);
  const WalkCase cases[] = {{"", InterfaceListPath("l3"), {Walk(kL3List)}},
                            {"", OspfPath(), {Walk(kOspfTable)}},
                            {"", InterfaceListPath("mgmt"), {}},
                            {"", InterfaceListPath("ospf"), {}},
                            {"", KeyPath(), {}},
                            {"", PathOfLength(1, "l3"), {}},
                            {"", PathOfLength(7, "other"), {}}};
  for (const auto& [name, path, walks] : cases) {
    StartSnapshot();
    ExpectAccepted(path);
    EXPECT_EQ(Reads(), Joined({SnapshotReads(), walks}));
    ExpectAccepted(path);
    EXPECT_EQ(Reads(), walks);
  }
}

TEST_F(IntfVrfTest, ReadsWhatAnAddressValidationHasLeft) {
  StoreSmallConfiguration(fake);
  EXPECT_EQ(
      CallbackTest::Validate("ipv4_addr_validation", InterfaceListPath("l3")),
      0);
  EXPECT_EQ(ValidateList("l3"), 0);
  EXPECT_EQ(Reads(), Joined({OspfReads(), {Walk(kL3List)}}));
}

TEST_F(IntfVrfTest, WalksTheChangesOfEveryCallAnew) {
  StoreSmallConfiguration(fake);
  ExpectAccepted(InterfaceListPath("l3"));
  SetVrfUnderOspfv3("l3");
  ExpectRefused(InterfaceListPath("l3"), RefusalOf("l3", "edge1"));
}

// ---- The callback: which walk ----------------------------------------------

class WalkChoiceTest : public IntfVrfTest,
                       public ::testing::WithParamInterface<WalkCase> {};

TEST_P(WalkChoiceTest, FollowsFromTheKeyPath) {
  ExpectAccepted(GetParam().path);
  EXPECT_EQ(Walks(), GetParam().walks);
}

// Whatever is changed: what is no interface list has no walk that refuses.
TEST_P(WalkChoiceTest, TellsWhatIsRefused) {
  SetVrfUnderOspfv3("l3");
  SetVrfUnderOspfv3("loopback");
  SetVrfUnderOspfv3("mgmt");
  fake.AddChange(BelowTable("ospf-interface-l3", "vrf"), MOP_VALUE_SET,
                 Text("red"));
  fake.AddChange(BelowTable("ospf-interface-l3", "vrf"), MOP_CREATED);
  if (GetParam().walks == Texts{Walk(kL3List)}) {
    ExpectRefused(GetParam().path, RefusalOf("l3", "edge1"));
  } else if (GetParam().walks == Texts{Walk(kLoopbackList)}) {
    ExpectRefused(GetParam().path, RefusalOf("loopback", "edge1"));
  } else {
    ExpectAccepted(GetParam().path);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Lists, WalkChoiceTest,
    ::testing::Values(
        WalkCase{"L3", InterfaceListPath("l3"), {Walk(kL3List)}},
        WalkCase{
            "Loopback", InterfaceListPath("loopback"), {Walk(kLoopbackList)}},
        WalkCase{"Mgmt", InterfaceListPath("mgmt"), {}},
        WalkCase{"OtherList", InterfaceListPath("bridge"), {}},
        WalkCase{
            "OspfTableAtLength3", PathOfLength(3, "ospf-interface-l3"), {}},
        WalkCase{"OspfTable", OspfPath(), {Walk(kOspfTable)}},
        // The last node of a path of that length is not looked at.
        WalkCase{"OspfTableWithL3",
                 BelowTable("ospf-interface-l3", "l3"),
                 {Walk(kOspfTable)}},
        WalkCase{"OtherTable", BelowTable("ospfv3-interface-l3", "l3"), {}},
        WalkCase{"L3AtLength6", BelowTable("l3", "vrf"), {}}),
    [](const auto& walk_case) { return walk_case.param.name; });

class WalkLengthTest : public IntfVrfTest,
                       public ::testing::WithParamInterface<int> {};

TEST_P(WalkLengthTest, HasNoWalk) {
  for (const char* last : {"l3", "loopback", "ospf-interface-l3"}) {
    ExpectAccepted(PathOfLength(GetParam(), last));
    EXPECT_EQ(Walks(), Texts{}) << last;
  }
  // The OSPFv2 table stands at v[4] in this path too.
  KeyPath path;
  for (int i = GetParam() - 1; i >= 0; --i) {
    path.Node(i == 4 ? "ospf-interface-l3" : "level" + std::to_string(i));
  }
  ExpectAccepted(path);
  EXPECT_EQ(Walks(), Texts{});
}

TEST_P(WalkLengthTest, IsJudgedByTheRulesAlone) {
  StoreDivergentVrf();
  SetVrfUnderOspfv3("l3");
  ExpectRefused(PathOfLength(GetParam(), "other"), kDivergentVrfText);
}

INSTANTIATE_TEST_SUITE_P(Lengths, WalkLengthTest,
                         ::testing::Values(0, 1, 2, 4, 5, 7, 8),
                         [](const auto& length) {
                           return std::to_string(length.param);
                         });

using IntfVrfDeathTest = IntfVrfTest;

TEST_F(IntfVrfDeathTest, AKeyInPlaceOfTheTableStopsTheProcess) {
  const std::string report =
      ReportOf({"src/lib/validate_intf_vrf.cc",
                {},
                "int32_t validate_intf_vrf(int32_t, confd_trans_ctx*, "
                "confd_hkeypath_t*, confd_value_t*, "
                "ip_application::config_valid::Config&)",
                "(&keypath->v[4][0])->type == C_XMLTAG"});
  KeyPath path = OspfPath();
  path.Replace(4, Text("core1"));
  EXPECT_EXIT(Validate(path), ::testing::KilledBySignal(SIGABRT), report);
}

// The kind is looked for first, so that this assertion is the snapshot's.
TEST_F(IntfVrfDeathTest, AKeyPathThatEndsInAKeyStopsTheProcess) {
  const std::string report = ReportOf(
      {"src/lib/config.cc", "659",
       "static ip_application::config_valid::InterfaceType "
       "ip_application::config_valid::Config::intf_type_from_confd_path("
       "confd_hkeypath_t*)",
       "(&keypath->v[0][0])->type == C_XMLTAG"});
  for (const int length : {1, 2, 3, 4, 6}) {
    KeyPath path = PathOfLength(length, "l3");
    path.Replace(0, Text("core1"));
    EXPECT_EXIT(Validate(path), ::testing::KilledBySignal(SIGABRT), report);
  }
}

// Only paths of that length have a table to look for.
TEST_F(IntfVrfTest, KeysMayStandAnywhereElse) {
  KeyPath path = PathOfLength(7, "other");
  for (std::size_t i = 1; i < 7; ++i) path.Replace(i, Text("core1"));
  ExpectAccepted(path);
  KeyPath list = InterfaceListPath("l3");
  list.Replace(1, Text("core1")).Replace(2, Text("core1"));
  ExpectAccepted(list);
  EXPECT_EQ(Walks(), Texts{Walk(kL3List)});
}

TEST_F(IntfVrfDeathTest, AChangeOfAMalformedKeyPathStopsTheProcess) {
  fake.AddChange(VrfOf("l3", "core1").Replace(1, Uint32(1)), MOP_VALUE_SET,
                 Text("red"));
  EXPECT_EXIT(ValidateList("l3"), ::testing::KilledBySignal(SIGABRT),
              IterValidateReport("ValidateIntfL3Vrf", kNameExpression));
}

// ---- The callback: which check comes first ---------------------------------

TEST_F(IntfVrfTest, TheAddressRuleComesBeforeTheOspfRuleBeforeTheWalk) {
  SetVrfUnderOspfv3("l3");
  const std::string text = RefusalOf("l3", "edge1");
  ExpectRefused(InterfaceListPath("l3"), text);
  const Texts reads = Reads();
  ASSERT_GE(reads.size(), 3U);
  EXPECT_EQ(Texts(reads.end() - 3, reads.end()),
            (Texts{Walk(kL3List), Question(Expression("l3", "edge1")),
                   "confd_trans_seterr(" + text + ")"}));

  StoreDivergentVrf();
  StartSnapshot();
  EXPECT_EQ(ValidateList("l3"), -1);
  EXPECT_EQ(fake.error_text(), kDivergentVrfText);
  EXPECT_EQ(Walks(), Texts{});

  StoreBadAddress();
  StartSnapshot();
  EXPECT_EQ(ValidateList("l3"), -1);
  EXPECT_EQ(fake.error_text(), kBadAddressText);
  EXPECT_EQ(Walks(), Texts{});
}

TEST_F(IntfVrfTest, AKeyPathOfNoKindSkipsTheAddressRuleOnly) {
  const KeyPath paths[] = {InterfaceListPath("bridge"), OspfPath(), KeyPath(),
                           PathOfLength(4, "bridge")};
  StoreBadAddress();
  for (const KeyPath& path : paths) ExpectAccepted(path);
  StoreDivergentVrf();
  for (const KeyPath& path : paths) {
    StartSnapshot();
    EXPECT_EQ(Validate(path), -1);
    EXPECT_EQ(fake.error_text(), kDivergentVrfText);
  }
}

TEST_F(IntfVrfTest, TheAddressRuleJudgesTheKindOfTheKeyPath) {
  StoreBadAddress();
  ExpectAccepted(InterfaceListPath("loopback"));
  ExpectAccepted(InterfaceListPath("mgmt"));
  ExpectRefused(InterfaceListPath("l3"), kBadAddressText);
}

TEST_F(IntfVrfTest, TheAddressRuleJudgesAKeyPathOfAnyLength) {
  StoreBadAddress();
  for (const KeyPath& path : {PathOfLength(1, "l3"), PathOfLength(5, "l3"),
                              BelowTable("ospf-interface-l3", "l3")}) {
    EXPECT_EQ(Validate(path), -1);
    EXPECT_EQ(fake.error_text(), kBadAddressText);
    EXPECT_EQ(Walks(), Texts{});
  }
}

// The addresses are judged with the routes and with every other interface.
TEST_F(IntfVrfTest, RefusesWhatTheRulesRefuse) {
  const struct {
    const char* kind;
    Texts lines;
    const char* text;
  } cases[] = {
      {"mgmt",
       {"mgmt 9 192.168.1.1/24", "route 0 10.1.0.0/24 via 192.168.1.1"},
       "mgmt 9 ipv4 address 192.168.1.1/24 and static route 10.1.0.0/24 "
       "next-hop 192.168.1.1 cannot have address conflict."},
      {"loopback",
       {"l3 edge1 vrf red 10.3.3.3/24", "loopback 1 vrf red 10.3.3.4/32"},
       "loopback 1 vrf red ipv4 address 10.3.3.4/32 overlaps with l3 edge1 vrf "
       "red ipv4 address 10.3.3.3/24."},
      {"l3",
       {"loopback 1 vrf red 10.3.3.4/32", "process 7 10 global",
        "ospf 7 loopback-1 10.1.1.1/24"},
       "loopback 1 vrf red and router ospf 10 vrf global cannot be associated "
       "with divergent VRF"}};
  for (const auto& [kind, lines, text] : cases) {
    fake.Reset();
    StartSnapshot();
    StoreLines(fake, lines);
    ExpectRefused(InterfaceListPath(kind), text);
  }
}

// ---- The callback: called directly -----------------------------------------

// The rules read through the snapshot, the walk through the call's socket.
TEST_F(IntfVrfTest, TheWalkTakesTheSocketOfTheCall) {
  constexpr int kOtherSocket = 99;
  BindSnapshot();
  fake.ForgetCalls();
  KeyPath path = InterfaceListPath("l3");
  EXPECT_EQ(validate_intf_vrf(kOtherSocket, fake.tctx(), path.get(), nullptr,
                              config()),
            0);
  ASSERT_EQ(LastCall(), Walk(kL3List));
  EXPECT_EQ(fake.calls().back().sock, kOtherSocket);
  EXPECT_EQ(fake.calls().back().thandle, FakePlatform::kTransaction);
  EXPECT_EQ(fake.calls().front().sock, FakePlatform::kSocket);
}

// ---- Exceptions ------------------------------------------------------------

TEST_F(IntfVrfTest, AMalformedAreaLeavesTheCall) {
  StoreBadAddress();
  OspfProcess{}.StoreIn(fake);
  OspfRow row;
  row.area = "backbone";
  row.StoreIn(fake);
  EXPECT_THROW(ValidateList("l3"), boost::system::system_error);
  ExpectNoError();
  EXPECT_EQ(Walks(), Texts{});
  EXPECT_EQ(fake.open_cursors(), 0U);

  // The interfaces and routes stay read; OSPFv2 is tried again.
  EXPECT_THROW(ValidateList("l3"), boost::system::system_error);
  EXPECT_EQ(ReadsWith("/config/interface"), Texts{});
  EXPECT_EQ(ReadsWith("rtmStaticRt"), Texts{});
  EXPECT_FALSE(ReadsWith(kOspfTable).empty());
}

}  // namespace
}  // namespace ipav::testing
