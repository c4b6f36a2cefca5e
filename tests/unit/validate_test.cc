#include "include/validate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "include/config.h"
#include "include/static_route_config.h"
#include "include/validate_intf_vrf.h"
#include "include/validate_nd_ra.h"
#include "tests/support/builders.h"
#include "tests/support/callback_test.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::Config;
using ip_application::config_valid::ConfigAddrFamily;
using ip_application::config_valid::GenericConfig;
using ip_application::config_valid::InterfaceType;

std::vector<const GenericConfig*> ReadersOf(Config& config) {
  return {&config.ospfv2_config(), &config.static_route_config(),
          config.intf_by_type(InterfaceType::kL3),
          config.intf_by_type(InterfaceType::kLoopback),
          config.intf_by_type(InterfaceType::kMgmt)};
}

const Texts kLookUps = {"hostd_maapi_socket_get()",
                        "get_lib_context(ip_app_validation)"};

class ValidateTest : public CallbackTest {
 protected:
  // Calls the entry point for the timers of an interface.
  int32_t Validate(const std::string& opaque) {
    return CallbackTest::Validate(opaque, keypath_);
  }

  KeyPath keypath_ = RaConfig{}.keypath();
  confd_value_t newval_ = Nothing().Borrow();
};

// ---- lib_init, lib_finish --------------------------------------------------

TEST(LibInitTest, StoresASnapshotInTheSlotAndReturnsZero) {
  void* context = nullptr;
  EXPECT_EQ(lib_init(&context), 0);
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(lib_finish(&context), 0);
}

TEST(LibInitTest, GivesEachContextASnapshotOfItsOwn) {
  void* first = nullptr;
  void* second = nullptr;
  EXPECT_EQ(lib_init(&first), 0);
  EXPECT_EQ(lib_init(&second), 0);
  EXPECT_NE(first, second);
  EXPECT_EQ(lib_finish(&first), 0);
  EXPECT_EQ(lib_finish(&second), 0);
}

TEST(LibInitTest, TheSnapshotIsUnboundAndUnread) {
  void* context = nullptr;
  ASSERT_EQ(lib_init(&context), 0);
  for (const GenericConfig* reader :
       ReadersOf(*static_cast<Config*>(context))) {
    EXPECT_EQ(reader->sock(), -1);
    EXPECT_EQ(reader->confd_trans(), nullptr);
    EXPECT_FALSE(reader->ipv4_read());
    EXPECT_FALSE(reader->ipv6_read());
  }
  EXPECT_EQ(lib_finish(&context), 0);
}

TEST(LibFinishTest, LeavesTheSlotAsItIs) {
  void* context = nullptr;
  ASSERT_EQ(lib_init(&context), 0);
  void* const stored = context;
  EXPECT_EQ(lib_finish(&context), 0);
  EXPECT_EQ(context, stored);
}

TEST(LibFinishTest, ReturnsZeroForAnEmptySlot) {
  void* context = nullptr;
  EXPECT_EQ(lib_finish(&context), 0);
  EXPECT_EQ(context, nullptr);
}

// ---- get_validation_point --------------------------------------------------

struct BufferCase {
  std::size_t size;
  std::string text;
};

class GetValidationPointTest : public ::testing::TestWithParam<BufferCase> {};

TEST_P(GetValidationPointTest, CutsAndTerminatesTheNameAtTheBuffersSize) {
  std::array<char, 64> buffer;
  buffer.fill('#');
  EXPECT_EQ(get_validation_point(buffer.data(), GetParam().size), 0);
  EXPECT_EQ(std::string(buffer.data()), GetParam().text);
  EXPECT_TRUE(std::all_of(buffer.begin() + GetParam().text.size() + 1,
                          buffer.end(), [](char c) { return c == '#'; }));
}

INSTANTIATE_TEST_SUITE_P(Sizes, GetValidationPointTest,
                         ::testing::Values(BufferCase{64, "ip_app_validation"},
                                           BufferCase{18, "ip_app_validation"},
                                           BufferCase{17, "ip_app_validatio"},
                                           BufferCase{7, "ip_app"},
                                           BufferCase{1, ""}),
                         [](const auto& buffer_case) {
                           return std::to_string(buffer_case.param.size);
                         });

TEST(GetValidationPointTest, WritesNothingIntoABufferWithoutRoom) {
  char buffer = '#';
  EXPECT_EQ(get_validation_point(&buffer, 0), 0);
  EXPECT_EQ(buffer, '#');
}

// ---- validate: what ends a call before the search --------------------------

TEST_F(ValidateTest, RefusesANullArgumentBeforeAnythingElse) {
  fake.ForgetCalls();
  EXPECT_EQ(validate(nullptr, keypath_.get(), &newval_), -1);
  EXPECT_EQ(validate(fake.tctx(), nullptr, &newval_), -1);
  EXPECT_EQ(validate(fake.tctx(), keypath_.get(), nullptr), -1);
  ExpectNoError();
  EXPECT_TRUE(fake.calls().empty());
}

TEST_F(ValidateTest, RefusesWithoutATextWhenTheHostHasNoSocket) {
  for (const int socket : {-1, -2}) {
    fake.set_maapi_socket(socket);
    EXPECT_EQ(Validate("validate_ipv6_nd_ra_interval"), -1);
    ExpectNoError();
    EXPECT_EQ(fake.CallTexts(), Texts{"hostd_maapi_socket_get()"});
    for (const GenericConfig* reader : ReadersOf(config())) {
      EXPECT_EQ(reader->sock(), -1);
      EXPECT_EQ(reader->confd_trans(), nullptr);
    }
  }
}

TEST_F(ValidateTest, TakesSocketZero) {
  fake.set_maapi_socket(0);
  EXPECT_EQ(Validate("no such name"), -1);
  for (const GenericConfig* reader : ReadersOf(config())) {
    EXPECT_EQ(reader->sock(), 0);
  }
}

TEST_F(ValidateTest, AsksForTheSocketByTheRegistrationsData) {
  fake.tctx()->vcb_opaque = nullptr;  // the fake answers its own data only
  EXPECT_EQ(Validate("validate_ipv6_nd_ra_interval"), -1);
  ExpectNoError();
  EXPECT_EQ(fake.CallTexts(), Texts{"hostd_maapi_socket_get()"});
}

TEST_F(ValidateTest, RefusesWithATextWhenTheHostHasNoContext) {
  fake.set_lib_context(nullptr);
  EXPECT_EQ(Validate("validate_ipv6_nd_ra_interval"), -1);
  ExpectOneError("Lib context is null!", "Lib context is null!");
  EXPECT_EQ(fake.CallTexts(), (Texts{
                                  "hostd_maapi_socket_get()",
                                  "get_lib_context(ip_app_validation)",
                                  "confd_trans_seterr(Lib context is null!)",
                              }));
}

TEST_F(ValidateTest, AsksForTheContextByTheUserDataOfTheValidation) {
  fake.tctx()->v_opaque = nullptr;  // the fake answers its own data only
  EXPECT_EQ(Validate("validate_ipv6_nd_ra_interval"), -1);
  ExpectOneError("Lib context is null!", "Lib context is null!");
}

// ---- validate: binding -----------------------------------------------------

TEST_F(ValidateTest, BindsTheSnapshotToTheCallEvenWhenNoNameMatches) {
  EXPECT_EQ(Validate("no such name"), -1);
  for (const GenericConfig* reader : ReadersOf(config())) {
    EXPECT_EQ(reader->sock(), FakePlatform::kSocket);
    EXPECT_EQ(reader->confd_trans(), fake.tctx());
  }
}

TEST_F(ValidateTest, BindsTheSnapshotAnewForEveryCall) {
  EXPECT_EQ(Validate("no such name"), -1);
  confd_trans_ctx second = *fake.tctx();
  fake.set_maapi_socket(99);
  EXPECT_EQ(validate(&second, keypath_.get(), &newval_), -1);
  for (const GenericConfig* reader : ReadersOf(config())) {
    EXPECT_EQ(reader->sock(), 99);
    EXPECT_EQ(reader->confd_trans(), &second);
  }
}

TEST_F(ValidateTest, KeepsWhatTheSnapshotHasReadFromCallToCall) {
  BindSnapshot();
  config().ReadStaticRouteConfig(ConfigAddrFamily::kIpv4);
  EXPECT_EQ(Validate("no such name"), -1);
  EXPECT_TRUE(config().static_route_config().ipv4_read());
  EXPECT_FALSE(config().static_route_config().ipv6_read());
}

// ---- validate: dispatch ----------------------------------------------------

using Callback = int32_t(int32_t, confd_trans_ctx*, confd_hkeypath_t*,
                         confd_value_t*, Config&);

// A name of the table, its callback, and a configuration that only this
// callback refuses, so that the text tells which one ran.
struct NameCase {
  std::string name;
  Callback* callback;
  KeyPath keypath;
  std::function<void(FakePlatform&)> store;
  std::string text;
};

// Stores each of some builders.
template <typename... Data>
std::function<void(FakePlatform&)> Stored(const Data&... data) {
  return [=](FakePlatform& platform) { (data.StoreIn(platform), ...); };
}

std::vector<NameCase> InterfaceCases() {
  InterfaceData dotted;
  dotted.name = "core.1";
  InterfaceData network;
  network.ipv4 = "10.1.1.0/24";
  InterfaceData duplicate;
  duplicate.ipv6 = {"2001:db8::1/64", "2001:db8::1/48"};
  return {
      {"intf_l3_name_validation", validate_intf_l3_name,
       InterfaceListPath("l3"), Stored(dotted),
       "L3 interface name core.1 contains invalid characters (allowed "
       "characters: 0-9, a-z, A-Z, _, -)"},
      {"ipv4_addr_validation", validate_ipv4_addr, InterfaceListPath("l3"),
       Stored(network),
       "l3 core1 ipv4 address 10.1.1.0/24 cannot be configured as network "
       "address."},
      {"ipv6_addr_validation", validate_ipv6_addr, InterfaceListPath("l3"),
       Stored(duplicate), "l3 core1 has duplicated IPv6 address 2001:db8::1"}};
}

// A black hole to a prefix that has a next hop as well.
std::function<void(FakePlatform&)> StoredBlackHole(
    const std::string& destination, const std::string& unspecified,
    const std::string& next_hop) {
  StaticRouteRow black_hole;
  black_hole.destination = destination;
  black_hole.next_hop = unspecified;
  StaticRouteRow route = black_hole;
  route.next_hop = next_hop;
  return Stored(black_hole, route);
}

std::vector<NameCase> RouteCases() {
  StaticRouteRow through_core1;
  through_core1.interface_name = "l3-core1";
  return {{"ipv4_addr_route_validation", validate_ipv4_addr_route,
           InterfaceListPath("l3"),
           StoredBlackHole("10.1.0.0", "0.0.0.0", "10.9.9.9"),
           "Prefix 10.1.0.0/24 cannot be black-hole and have next-hop at the "
           "same time"},
          {"ipv6_addr_route_validation", validate_ipv6_addr_route,
           InterfaceListPath("l3"),
           StoredBlackHole("2001:d00::", "::", "2001:db8::9"),
           "Prefix 2001:d00::/24 cannot be black-hole and have next-hop at the "
           "same time"},
          {"static_route_l3_intf_validation", validate_route_l3_intf,
           InterfaceListPath("l3"), Stored(InterfaceData{}, through_core1),
           "l3 core1 is being used by a static route. Lower-layer-if cannot be "
           "removed from this interface"}};
}

std::vector<NameCase> OspfCases() {
  InterfaceData red;
  red.vrf = std::string("red");
  OspfRow other_address;
  other_address.address = "10.1.1.2";
  KeyPath lower_layer = InterfaceListPath("l3");
  lower_layer.Key(Text("core1")).Node("lower-layer-if");
  // The VRF's key path is of a kind whose addresses nothing is wrong with.
  return {{"intf_vrf_validation", validate_intf_vrf,
           InterfaceListPath("loopback"), Stored(red, OspfProcess{}, OspfRow{}),
           "l3 core1 vrf red and router ospf 10 vrf global cannot be "
           "associated with divergent VRF"},
          {"ipv4_addr_prot_cross_validation", validate_ipv4_addr_cross_prot,
           InterfaceListPath("l3"),
           Stored(InterfaceData{}, OspfProcess{}, other_address),
           "10.1.1.2/24 cannot be modified nor deleted, it is assigned to "
           "router ospf 10 vrf global area 1 (0.0.0.1)"},
          {"lower_layer_prot_cross_validation", validate_lower_layer_cross_prot,
           lower_layer,
           [](FakePlatform& platform) {
             Ospfv3Row{}.StoreIn(platform);
             platform.SetRunning(
                 "/config/interface/l3{core1}/lower-layer-if/vlan", Int32(10));
           },
           "vlan 10 cannot be changed, it is assigned to router ospfv3 1 area "
           "1 (0.0.0.1)"}};
}

std::vector<NameCase> TimerCases() {
  RaConfig long_minimum;
  long_minimum.min_interval = 451;
  RaConfig short_lifetime;
  short_lifetime.lifetime = 600;
  return {{"validate_ipv6_nd_ra_interval", validate_ipv6_nd_ra_interval,
           RaConfig{}.keypath(), Stored(long_minimum),
           "Minimum interval must be no greater than maximum interval * 0.75"},
          {"validate_ipv6_nd_ra_lifetime", validate_ipv6_nd_ra_lifetime,
           RaConfig{}.keypath(), Stored(short_lifetime),
           "Lifetime must be greater than maximum router advertisement "
           "interval"}};
}

// All eleven.
std::vector<NameCase> NameCases() {
  std::vector<NameCase> cases;
  for (const auto& part :
       {InterfaceCases(), RouteCases(), OspfCases(), TimerCases()}) {
    cases.insert(cases.end(), part.begin(), part.end());
  }
  return cases;
}

TEST(NameCasesTest, AreThoseOfAllElevenRows) {
  EXPECT_EQ(NameCases().size(), 11U);
}

class DispatchTest : public ValidateTest,
                     public ::testing::WithParamInterface<NameCase> {
 protected:
  void SetUp() override {
    ValidateTest::SetUp();
    keypath_ = GetParam().keypath;
  }
};

TEST_P(DispatchTest, ReturnsTheRefusalOfTheCallbackOfThatName) {
  GetParam().store(fake);
  EXPECT_EQ(Validate(GetParam().name), -1);
  ASSERT_EQ(fake.errors().size(), 1U);
  EXPECT_EQ(fake.error_text(), GetParam().text);
}

TEST_P(DispatchTest, ReturnsTheAcceptanceOfTheCallbackOfThatName) {
  RaConfig{}.StoreIn(fake);
  EXPECT_EQ(Validate(GetParam().name), 0);
  ExpectNoError();
}

// What the callback refuses is nothing that another one would refuse.
TEST_P(DispatchTest, RunsNoOtherCallback) {
  GetParam().store(fake);
  for (const NameCase& other : NameCases()) {
    if (other.name == GetParam().name) continue;
    StartSnapshot();
    keypath_ = other.keypath;
    EXPECT_EQ(Validate(other.name), 0) << other.name;
  }
  ExpectNoError();
}

TEST_P(DispatchTest, TakesAnOpaqueTextThatOnlyBeginsWithTheName) {
  GetParam().store(fake);
  EXPECT_EQ(Validate(GetParam().name + "_of_the_core"), -1);
  ASSERT_EQ(fake.errors().size(), 1U);
  EXPECT_EQ(fake.error_text(), GetParam().text);
}

TEST_P(DispatchTest, DoesNothingBesidesItsLookUpsAndTheCallback) {
  GetParam().store(fake);
  EXPECT_EQ(Validate(GetParam().name), -1);
  const Texts calls = fake.CallTexts();

  StartSnapshot();
  BindSnapshot();
  fake.ForgetCalls();
  EXPECT_EQ(GetParam().callback(FakePlatform::kSocket, fake.tctx(),
                                keypath_.get(), &newval_, config()),
            -1);
  EXPECT_EQ(calls, Joined({kLookUps, fake.CallTexts()}));
}

// No name begins with another name.
TEST_P(DispatchTest, RefusesEveryBeginningOfTheNameWithoutAText) {
  GetParam().store(fake);
  const std::string& name = GetParam().name;
  for (std::size_t size = 0; size < name.size(); ++size) {
    fake.ForgetCalls();
    EXPECT_EQ(Validate(name.substr(0, size)), -1) << size;
    EXPECT_EQ(fake.CallTexts(), kLookUps);
  }
  ExpectNoError();
}

TEST_P(DispatchTest, RefusesANameThatDoesNotStandAtTheStart) {
  GetParam().store(fake);
  EXPECT_EQ(Validate(" " + GetParam().name), -1);
  ExpectNoError();
}

INSTANTIATE_TEST_SUITE_P(Names, DispatchTest, ::testing::ValuesIn(NameCases()),
                         [](const auto& name_case) {
                           return name_case.param.name;
                         });

TEST_F(ValidateTest, RefusesAnUnknownNameWithoutATextAndWithoutReading) {
  for (const char* name : {"no such name", "v", ""}) {
    EXPECT_EQ(Validate(name), -1);
    ExpectNoError();
    EXPECT_EQ(fake.CallTexts(), kLookUps);
  }
}

TEST_F(ValidateTest, RefusesAUseSiteWithoutOpaqueText) {
  fake.tctx()->validate_opaque = nullptr;
  EXPECT_EQ(validate(fake.tctx(), keypath_.get(), &newval_), -1);
  ExpectNoError();
}

TEST_F(ValidateTest, HandsSocketTransactionAndKeyPathToTheCallback) {
  RaConfig{}.StoreIn(fake);
  EXPECT_EQ(Validate("validate_ipv6_nd_ra_interval"), 0);
  ASSERT_EQ(fake.calls().size(), 5U);
  for (std::size_t i = 2; i < fake.calls().size(); ++i) {
    EXPECT_EQ(fake.calls()[i].sock, FakePlatform::kSocket);
    EXPECT_EQ(fake.calls()[i].thandle, FakePlatform::kTransaction);
  }
  EXPECT_EQ(
      fake.calls()[2].text(),
      "maapi_exists(/config/interface/l3{core1}/ipv6/nd/ra/max-interval)");
}

}  // namespace
}  // namespace ipav::testing
