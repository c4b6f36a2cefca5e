// The callbacks that judge interfaces against static routes and routing
// protocols.
#include <gtest/gtest.h>

#include <algorithm>
#include <boost/system/system_error.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "include/config.h"
#include "include/static_route_config.h"
#include "include/validate.h"
#include "include/validate_ip_addr_cross_ospf.h"
#include "tests/support/addresses.h"
#include "tests/support/builders.h"
#include "tests/support/callback_test.h"
#include "tests/support/plugin_test.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::GenericConfig;
using ip_application::config_valid::InterfaceType;
using ip_application::config_valid::StaticRoute;

constexpr char kIpv4Point[] = "ipv4_addr_route_validation";
constexpr char kIpv6Point[] = "ipv6_addr_route_validation";
constexpr char kL3Point[] = "static_route_l3_intf_validation";
constexpr char kProtPoint[] = "ipv4_addr_prot_cross_validation";
constexpr char kLowerLayerPoint[] = "lower_layer_prot_cross_validation";

constexpr char kLimitText[] =
    "The maximum number of available static routes was exceeded.";
constexpr char kBlackHoleText[] =
    "Prefix 10.1.0.0/24 cannot be black-hole and have next-hop at the same "
    "time";
constexpr char kNextHopText[] =
    "l3 core1 ipv4 address 192.168.1.1/24 and static route 10.1.0.0/24 "
    "next-hop 192.168.1.1 cannot have address conflict.";
constexpr char kNextHopText6[] =
    "l3 core1 ipv6 address 2001:db8::1/64 and static route 2001:db8:1::/48 "
    "next-hop 2001:db8::1 cannot have address conflict.";
constexpr char kBlackHoleText6[] =
    "Prefix 2001:db8:1::/48 cannot be black-hole and have next-hop at the same "
    "time";
constexpr char kOutputText[] =
    "l3 core1 is being used by a static route. Lower-layer-if cannot be "
    "removed from this interface";

StaticRouteRow Route(const std::string& destination,
                     const std::string& next_hop) {
  StaticRouteRow row;
  row.destination = destination;
  row.next_hop = next_hop;
  row.prefix_len = destination.find(':') == std::string::npos ? 24 : 48;
  return row;
}

StaticRouteRow RouteOut(StaticRouteRow row, const std::string& interface) {
  row.interface_name = interface;
  return row;
}

void StoreBlackHole(FakePlatform& platform) {
  Route("10.1.0.0", "192.168.1.9").StoreIn(platform);
  Route("10.1.0.0", "0.0.0.0").StoreIn(platform);
}

void StoreBlackHole6(FakePlatform& platform) {
  Route("2001:db8:1::", "2001:db8::9").StoreIn(platform);
  Route("2001:db8:1::", "::").StoreIn(platform);
}

void StoreNextHop(FakePlatform& platform) {
  L3Interface("core1", "192.168.1.1/24").StoreIn(platform);
  Route("10.1.0.0", "192.168.1.1").StoreIn(platform);
}

InterfaceData L3WithIpv6(const std::string& name) {
  InterfaceData l3 = L3Interface(name, "10.1.1.1/24");
  l3.ipv6 = {"2001:db8::1/64"};
  return l3;
}

void StoreNextHop6(FakePlatform& platform) {
  L3WithIpv6("core1").StoreIn(platform);
  Route("2001:db8:1::", "2001:db8::1").StoreIn(platform);
}

void StoreRoutes(FakePlatform& platform, int count) {
  for (int i = 0; i < count; ++i) {
    const std::string destination =
        "20." + std::to_string(i / 256) + "." + std::to_string(i % 256) + ".0";
    Route(destination, "192.168.1.7").StoreIn(platform);
  }
}

// These callbacks do not look at the key path: any will do.
class RouteCallbacksTest : public CallbackTest {
 protected:
  int32_t Validate(const std::string& opaque) {
    return CallbackTest::Validate(opaque, InterfaceListPath("l3"));
  }

  void ExpectAccepted(const std::string& opaque) {
    EXPECT_EQ(Validate(opaque), 0);
    ExpectNoError();
  }

  void ExpectRefused(const std::string& opaque, const std::string& text) {
    EXPECT_EQ(Validate(opaque), -1);
    ExpectOneError("%s", text);
  }

  const GenericConfig& reader(InterfaceType kind) {
    return *config().intf_by_type(kind);
  }
};

// ---- Routes against addresses: what is read --------------------------------

struct FamilyCase {
  std::string name;
  std::string point;
  Texts reads;  // of the small configuration
};

Texts RouteCheckReads(const FamilyCase& family) {
  return Joined({family.reads, RouteReads()});
}

class RouteCheckTest : public RouteCallbacksTest,
                       public ::testing::WithParamInterface<FamilyCase> {
 protected:
  const std::string& point() { return GetParam().point; }
};

TEST_P(RouteCheckTest, ReadsL3MgmtAndLoopbackAndThenTheRoutes) {
  StoreSmallConfiguration(fake);
  ExpectAccepted(point());
  EXPECT_EQ(Reads(), RouteCheckReads(GetParam()));
}

TEST_P(RouteCheckTest, ReadsNothingTwice) {
  StoreSmallConfiguration(fake);
  ExpectAccepted(point());
  ExpectAccepted(point());
  EXPECT_EQ(Reads(), Texts{});
}

TEST_P(RouteCheckTest, ReadsItsFamilyAlsoBehindTheOther) {
  StoreSmallConfiguration(fake);
  ExpectAccepted(point() == kIpv4Point ? kIpv6Point : kIpv4Point);
  ExpectAccepted(point());
  EXPECT_EQ(Reads(), RouteCheckReads(GetParam()));
}

TEST_P(RouteCheckTest, ReadsItsFamilyOnly) {
  StoreSmallConfiguration(fake);
  ExpectAccepted(point());
  const bool ipv4 = point() == kIpv4Point;
  for (const GenericConfig* one :
       {&reader(InterfaceType::kL3), &reader(InterfaceType::kMgmt),
        &reader(InterfaceType::kLoopback),
        static_cast<const GenericConfig*>(&config().static_route_config())}) {
    EXPECT_EQ(one->ipv4_read(), ipv4);
    EXPECT_EQ(one->ipv6_read(), !ipv4);
  }
  EXPECT_FALSE(config().ospfv2_config().ipv4_read());
  EXPECT_FALSE(config().ospfv2_config().ipv6_read());
}

TEST_P(RouteCheckTest, AcceptsAnEmptyConfiguration) {
  ExpectAccepted(point());
  const std::string table = "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry";
  EXPECT_EQ(Reads(), (Texts{"maapi_exists(/config/interface/ipapp:l3)",
                            "maapi_exists(/config/interface/ipapp:mgmt)",
                            "maapi_exists(/config/interface/ipapp:loopback)",
                            "maapi_init_cursor(" + table + ")",
                            "maapi_get_next(" + table + ")",
                            "maapi_destroy_cursor(" + table + ")"}));
}

// The whole table counts, whichever family is read.
TEST_P(RouteCheckTest, RefusesTooManyRoutesOfBothFamilies) {
  StoreRoutes(fake, 999);
  Route("2001:db8:1::", "2001:db8::9").StoreIn(fake);
  ExpectRefused(point(), kLimitText);
}

TEST_P(RouteCheckTest, AcceptsAsManyRoutesAsTheLimitAllows) {
  StoreRoutes(fake, 998);
  Route("2001:db8:1::", "2001:db8::9").StoreIn(fake);
  ExpectAccepted(point());
}

TEST_P(RouteCheckTest, DoesNotLookAtSocketKeyPathNorNewValue) {
  const auto callback = point() == kIpv4Point ? validate_ipv4_addr_route
                                              : validate_ipv6_addr_route;
  StoreRoutes(fake, 1001);
  BindSnapshot();
  EXPECT_EQ(callback(-1, fake.tctx(), nullptr, nullptr, config()), -1);
  ExpectOneError("%s", kLimitText);
}

TEST_P(RouteCheckTest, ATooShortOutputInterfaceNameLeavesTheCall) {
  L3Interface("core1", "10.1.1.1/24").StoreIn(fake);
  RouteOut(Route("10.1.0.0", "192.168.1.1"), "a").StoreIn(fake);
  EXPECT_THROW(Validate(point()), std::out_of_range);
  EXPECT_THROW(Validate(point()), std::out_of_range);
  ExpectNoError();

  // The interfaces stay read; the routes are tried again.
  EXPECT_EQ(ReadsWith("/config/interface"), Texts{});
  EXPECT_FALSE(ReadsWith("rtmStaticRtTable").empty());
}

INSTANTIATE_TEST_SUITE_P(
    Families, RouteCheckTest,
    ::testing::Values(FamilyCase{"Ipv4", kIpv4Point,
                                 Joined({L3Ipv4Reads(), MgmtIpv4Reads(),
                                         LoopbackReads("ipv4")})},
                      FamilyCase{"Ipv6", kIpv6Point,
                                 Joined({L3Ipv6Reads(), MgmtIpv6Reads(),
                                         LoopbackReads("ipv6")})}),
    [](const auto& family) { return family.param.name; });

TEST_F(RouteCallbacksTest, TheRouteCheckReadsWhatAnAddressCheckHasLeft) {
  StoreSmallConfiguration(fake);
  ExpectAccepted("ipv4_addr_validation");
  ExpectAccepted(kIpv4Point);
  EXPECT_EQ(Reads(), Texts{});
}

// ---- Routes against addresses: verdicts ------------------------------------

using Store = void (*)(FakePlatform&);

struct RefusalCase {
  const char* name;
  const char* point;
  Store store;
  std::string text;
};

class RouteRefusalTest : public RouteCallbacksTest,
                         public ::testing::WithParamInterface<RefusalCase> {};

TEST_P(RouteRefusalTest, IsTheTextOfTheRule) {
  GetParam().store(fake);
  ExpectRefused(GetParam().point, GetParam().text);
  EXPECT_EQ(LastCall(), "confd_trans_seterr(" + GetParam().text + ")");
}

// One family is read: what is wrong with the other one is not seen.
TEST_P(RouteRefusalTest, IsNoneForTheOtherFamily) {
  GetParam().store(fake);
  ExpectAccepted(GetParam().point == std::string(kIpv4Point) ? kIpv6Point
                                                             : kIpv4Point);
}

INSTANTIATE_TEST_SUITE_P(
    Rules, RouteRefusalTest,
    ::testing::Values(
        RefusalCase{"NextHop", kIpv4Point, StoreNextHop, kNextHopText},
        RefusalCase{"NextHop6", kIpv6Point, StoreNextHop6, kNextHopText6},
        RefusalCase{"NextHopOfManagement", kIpv4Point,
                    [](FakePlatform& platform) {
                      MgmtInterface("9", "192.168.1.1/24").StoreIn(platform);
                      Route("10.1.0.0", "192.168.1.1").StoreIn(platform);
                    },
                    "mgmt 9 ipv4 address 192.168.1.1/24 and static route "
                    "10.1.0.0/24 next-hop 192.168.1.1 cannot have address "
                    "conflict."},
        RefusalCase{"BlackHole", kIpv4Point, StoreBlackHole, kBlackHoleText},
        RefusalCase{"BlackHole6", kIpv6Point, StoreBlackHole6,
                    kBlackHoleText6}),
    [](const auto& refusal) { return refusal.param.name; });

TEST_F(RouteCallbacksTest, TheLastRuleViolatedGivesTheText) {
  StoreNextHop(fake);
  StoreRoutes(fake, 1000);
  ExpectRefused(kIpv4Point, kLimitText);
  StartSnapshot();
  Route("10.1.0.0", "0.0.0.0").StoreIn(fake);
  EXPECT_EQ(Validate(kIpv4Point), -1);
  EXPECT_EQ(fake.error_text(), kBlackHoleText);
}

// With the IPv4 routes read, only these are examined.
TEST_F(RouteCallbacksTest, Ipv6BehindIpv4ExaminesTheIpv4Routes) {
  StoreNextHop6(fake);
  StoreBlackHole6(fake);
  ExpectAccepted(kIpv4Point);
  ExpectAccepted(kIpv6Point);
  EXPECT_TRUE(config().static_route_config().ipv6_read());
  StartSnapshot();
  StoreNextHop(fake);
  ExpectAccepted(kL3Point);
  ExpectRefused(kIpv6Point, kNextHopText);
}

// ---- Output interfaces -----------------------------------------------------

using OutputIntfTest = RouteCallbacksTest;

TEST_F(OutputIntfTest, ReadsTheL3InterfacesForIpv4AndAllRoutes) {
  StoreSmallConfiguration(fake);
  ExpectAccepted(kL3Point);
  EXPECT_EQ(Reads(), Joined({L3Ipv4Reads(), RouteReads(), RouteReads()}));
  EXPECT_TRUE(config().static_route_config().ipv4_read());
  EXPECT_TRUE(config().static_route_config().ipv6_read());
  EXPECT_TRUE(reader(InterfaceType::kL3).ipv4_read());
  EXPECT_FALSE(reader(InterfaceType::kL3).ipv6_read());
  for (const InterfaceType kind :
       {InterfaceType::kMgmt, InterfaceType::kLoopback}) {
    EXPECT_FALSE(reader(kind).ipv4_read());
    EXPECT_FALSE(reader(kind).ipv6_read());
  }
}

// Both reads make the same calls. The order shows in the routes that are there
// when the second cursor does not open.
TEST_F(OutputIntfTest, ReadsTheIpv4RoutesFirst) {
  Route("10.1.0.0", "192.168.1.1").StoreIn(fake);
  Route("2001:db8:1::", "2001:db8::9").StoreIn(fake);
  ExpectAccepted(kL3Point);
  const Texts calls = fake.CallTexts();
  const auto second =
      std::find(calls.rbegin(), calls.rend(), RouteReads().front());
  StartSnapshot();
  fake.FailCall(static_cast<unsigned>(calls.rend() - second));
  ExpectAccepted(kL3Point);
  std::shared_ptr<StaticRoute> route;
  const auto& routes = config().static_route_config();
  EXPECT_TRUE(routes.FindNextHop({"global", Addr4("192.168.1.1")}, route));
  EXPECT_FALSE(routes.FindNextHop({"global", Addr6("2001:db8::9")}, route));
}

TEST_F(OutputIntfTest, ReadsNothingTwice) {
  StoreSmallConfiguration(fake);
  ExpectAccepted(kL3Point);
  ExpectAccepted(kL3Point);
  EXPECT_EQ(Reads(), Texts{});
}

TEST_F(OutputIntfTest, ReadsTheIpv6RoutesOnlyBehindAnIpv4RouteCheck) {
  StoreSmallConfiguration(fake);
  ExpectAccepted(kIpv4Point);
  ExpectAccepted(kL3Point);
  EXPECT_EQ(Reads(), RouteReads());
}

// The rule itself is tested with the others.
TEST_F(OutputIntfTest, RefusesAnInterfaceWithoutAVlanThatARouteNames) {
  const StaticRouteRow rows[] = {Route("10.1.0.0", "192.168.1.1"),
                                 Route("2001:db8:1::", "2001:db8::9")};
  for (const StaticRouteRow& row : rows) {
    fake.Reset();
    StartSnapshot();
    InterfaceData l3 = L3Interface("core1", "10.1.1.1/24");
    l3.StoreIn(fake);
    RouteOut(row, "l3-core1").StoreIn(fake);
    ExpectRefused(kL3Point, kOutputText);
    StartSnapshot();
    l3.vlan = 10;
    l3.StoreIn(fake);
    EXPECT_EQ(Validate(kL3Point), 0);
  }
}

// It judges nothing else about the routes.
TEST_F(OutputIntfTest, AcceptsWhatTheRouteCheckRefuses) {
  StoreNextHop(fake);
  StoreRoutes(fake, 1001);
  Route("10.1.0.0", "0.0.0.0").StoreIn(fake);
  ExpectAccepted(kL3Point);
}

TEST_F(OutputIntfTest, DoesNotLookAtSocketKeyPathNorNewValue) {
  L3Interface("core1", "10.1.1.1/24").StoreIn(fake);
  RouteOut(Route("10.1.0.0", "192.168.1.1"), "l3-core1").StoreIn(fake);
  BindSnapshot();
  EXPECT_EQ(validate_route_l3_intf(-1, fake.tctx(), nullptr, nullptr, config()),
            -1);
  ExpectOneError("%s", kOutputText);
}

TEST_F(OutputIntfTest, ATooShortOutputInterfaceNameLeavesTheCall) {
  L3Interface("core1", "10.1.1.1/24").StoreIn(fake);
  RouteOut(Route("2001:db8:1::", "2001:db8::9"), "a").StoreIn(fake);
  EXPECT_THROW(Validate(kL3Point), std::out_of_range);
  EXPECT_THROW(Validate(kL3Point), std::out_of_range);
  ExpectNoError();
  EXPECT_EQ(ReadsWith("/config/interface"), Texts{});
  EXPECT_FALSE(ReadsWith("rtmStaticRtTable").empty());
}

// ---- Addresses against OSPFv2 ----------------------------------------------

constexpr char kModifiedText[] =
    "10.1.1.2/24 cannot be modified nor deleted, it is assigned to router ospf "
    "10 vrf global area 1 (0.0.0.1)";

class CrossProtTest : public RouteCallbacksTest {
 protected:
  // OSPFv2 knows an address of an interface as its table names it.
  void StoreInOspf(const std::string& interface, const std::string& address) {
    OspfRow row;
    row.interface = interface;
    row.address = address;
    row.StoreIn(fake);
  }
};

TEST_F(CrossProtTest, ReadsL3AndLoopbackAndThenOspf) {
  StoreSmallConfiguration(fake);
  ExpectAccepted(kProtPoint);
  EXPECT_EQ(Reads(),
            Joined({L3Ipv4Reads(), LoopbackReads("ipv4"), OspfReads()}));
  EXPECT_FALSE(reader(InterfaceType::kMgmt).ipv4_read());
  EXPECT_FALSE(config().static_route_config().ipv4_read());
  for (const GenericConfig* one :
       {&reader(InterfaceType::kL3), &reader(InterfaceType::kLoopback),
        static_cast<const GenericConfig*>(&config().ospfv2_config())}) {
    EXPECT_TRUE(one->ipv4_read());
    EXPECT_FALSE(one->ipv6_read());
  }
}

TEST_F(CrossProtTest, ReadsNothingTwice) {
  StoreSmallConfiguration(fake);
  ExpectAccepted(kProtPoint);
  ExpectAccepted(kProtPoint);
  EXPECT_EQ(Reads(), Texts{});
}

TEST_F(CrossProtTest, ReadsOspfOnlyBehindAnAddressCheck) {
  StoreSmallConfiguration(fake);
  ExpectAccepted("ipv4_addr_validation");
  ExpectAccepted(kProtPoint);
  EXPECT_EQ(Reads(), OspfReads());
}

TEST_F(CrossProtTest, RefusesAnAddressThatOspfKnowsAndIsGone) {
  StoreSmallConfiguration(fake);
  StoreInOspf("l3-core1", "10.1.1.2");
  ExpectRefused(kProtPoint, kModifiedText);
  EXPECT_EQ(LastCall(),
            std::string("confd_trans_seterr(") + kModifiedText + ")");
}

TEST_F(CrossProtTest, RefusesAnAddressThatOspfDoesNotKnow) {
  InterfaceData l3 = L3Interface("core1", "10.1.1.1/24");
  l3.ipv4_list = {"10.1.2.1/24"};
  l3.StoreIn(fake);
  OspfProcess{}.StoreIn(fake);
  OspfRow{}.StoreIn(fake);
  ExpectRefused(kProtPoint,
                "10.1.2.1/24 cannot be added after interface is assigned to "
                "router ospf 10 vrf global area 1 (0.0.0.1)");
}

TEST_F(CrossProtTest, RefusesForALoopback) {
  LoopbackInterface("1", {"10.3.3.3/32"}).StoreIn(fake);
  OspfProcess{}.StoreIn(fake);
  StoreInOspf("loopback-1", "10.1.1.2");
  ExpectRefused(kProtPoint, kModifiedText);
}

TEST_F(CrossProtTest, NamesTheL3InterfaceBeforeTheLoopback) {
  LoopbackInterface("1", {"10.3.3.3/32"}).StoreIn(fake);
  L3Interface("core1", "10.1.1.1/24").StoreIn(fake);
  OspfProcess{}.StoreIn(fake);
  StoreInOspf("loopback-1", "10.3.3.4");
  StoreInOspf("l3-core1", "10.1.1.2");
  ExpectRefused(kProtPoint, kModifiedText);
}

TEST_F(CrossProtTest, DoesNotJudgeManagementInterfaces) {
  MgmtInterface("9", "10.2.2.2/24").StoreIn(fake);
  OspfProcess{}.StoreIn(fake);
  StoreInOspf("mgmt-9", "10.1.1.2");
  ExpectAccepted(kProtPoint);
  ExpectAccepted("ipv4_addr_validation");  // reads them
  ExpectAccepted(kProtPoint);
}

// The VRF is the concern of another validation point.
TEST_F(CrossProtTest, AcceptsADivergentVrf) {
  InterfaceData l3 = L3Interface("core1", "10.1.1.1/24");
  l3.vrf = "red";
  l3.StoreIn(fake);
  OspfProcess{}.StoreIn(fake);
  OspfRow{}.StoreIn(fake);
  ExpectAccepted(kProtPoint);
}

TEST_F(CrossProtTest, DoesNotLookAtSocketKeyPathNorNewValue) {
  StoreSmallConfiguration(fake);
  StoreInOspf("l3-core1", "10.1.1.2");
  BindSnapshot();
  EXPECT_EQ(validate_ipv4_addr_cross_prot(-1, fake.tctx(), nullptr, nullptr,
                                          config()),
            -1);
  ExpectOneError("%s", kModifiedText);
}

TEST_F(CrossProtTest, AMalformedAreaLeavesTheCall) {
  L3Interface("core1", "10.1.1.1/24").StoreIn(fake);
  OspfProcess{}.StoreIn(fake);
  OspfRow row;
  row.area = "backbone";
  row.StoreIn(fake);
  EXPECT_THROW(Validate(kProtPoint), boost::system::system_error);
  EXPECT_THROW(Validate(kProtPoint), boost::system::system_error);
  ExpectNoError();

  // The interfaces stay read; OSPFv2 is tried again.
  EXPECT_EQ(ReadsWith("/config/interface"), Texts{});
  EXPECT_FALSE(ReadsWith("/internal/ospf-interface-l3").empty());
}

// ---- The lower layer: what is handed on ------------------------------------

KeyPath LowerLayerPath() {
  KeyPath path = InterfaceListPath("l3");
  path.Key(Text("core1")).Node("lower-layer-if");
  return path;
}

// The VLAN of core1 changes from 10 to 20.
void StoreVlanChange(FakePlatform& platform) {
  InterfaceData l3 = L3Interface("core1", "10.1.1.1/24");
  l3.vlan = 20;
  l3.StoreIn(platform);
  platform.SetRunning("/config/interface/l3{core1}/lower-layer-if/vlan",
                      Int32(10));
}

constexpr char kVlanFormat[] =
    "vlan %d cannot be changed, it is assigned to router ospfv3 %d area %u "
    "(%s)";
constexpr char kVlanText[] =
    "vlan 10 cannot be changed, it is assigned to router ospfv3 1 area 1 "
    "(0.0.0.1)";

class LowerLayerTest : public RouteCallbacksTest {
 protected:
  int32_t Forwarded(int sock, confd_trans_ctx* tctx) {
    fake.ForgetCalls();
    return validate_lower_layer_cross_prot(sock, tctx, path_.get(), nullptr,
                                           config());
  }
  int32_t Direct(int sock, confd_trans_ctx* tctx) {
    fake.ForgetCalls();
    return validate_lower_layer_cross_ospfv3(sock, tctx, path_.get(), nullptr);
  }

 private:
  KeyPath path_ = LowerLayerPath();
};

// All that a call tells but the number of a CDB session, which is always new.
Texts WholeCalls(const FakePlatform& platform) {
  Texts calls;
  for (const Call& call : platform.calls()) {
    const int sock = call.name == "cdb_get_int32" ? 0 : call.sock;
    calls.push_back(call.text() + " " + call.format + " " +
                    std::to_string(sock) + " " + std::to_string(call.thandle));
  }
  return calls;
}

TEST_F(LowerLayerTest, ReturnsARefusalOfTheCheck) {
  StoreVlanChange(fake);
  Ospfv3Row{}.StoreIn(fake);
  EXPECT_EQ(Forwarded(FakePlatform::kSocket, fake.tctx()), -1);
  ExpectOneError(kVlanFormat, kVlanText);
}

TEST_F(LowerLayerTest, MakesTheCallsOfTheCheckAndNoOther) {
  StoreVlanChange(fake);
  Ospfv3Row{}.StoreIn(fake);
  EXPECT_EQ(Direct(FakePlatform::kSocket, fake.tctx()), -1);
  const Texts calls = WholeCalls(fake);
  EXPECT_EQ(Forwarded(FakePlatform::kSocket, fake.tctx()), -1);
  EXPECT_EQ(WholeCalls(fake), calls);
  EXPECT_EQ(calls.size(), 14U);
}

TEST_F(LowerLayerTest, ReturnsZeroWhenThereIsNothingToCompare) {
  EXPECT_EQ(Forwarded(FakePlatform::kSocket, fake.tctx()), 0);
  EXPECT_EQ(fake.CallTexts(),
            Texts{"maapi_exists(/internal/ospfv3-interface-l3)"});
  StoreVlanChange(fake);
  Ospfv3Row other;
  other.if_index = 1011;
  other.StoreIn(fake);
  EXPECT_EQ(Forwarded(FakePlatform::kSocket, fake.tctx()), 0);
  EXPECT_GT(fake.calls().size(), 10U);
  ExpectNoError();
}

TEST_F(LowerLayerTest, HandsOnTheSocketAndTheTransactionOfTheCall) {
  BindSnapshot();
  confd_trans_ctx other = *fake.tctx();
  other.thandle = 24;
  EXPECT_EQ(Forwarded(99, &other), 0);
  ASSERT_EQ(fake.calls().size(), 1U);
  EXPECT_EQ(fake.calls()[0].sock, 99);
  EXPECT_EQ(fake.calls()[0].thandle, 24);
}

TEST_F(LowerLayerTest, SetsTheTextOnTheTransactionOfTheCall) {
  StoreVlanChange(fake);
  Ospfv3Row{}.StoreIn(fake);
  confd_trans_ctx other = *fake.tctx();
  EXPECT_EQ(Forwarded(FakePlatform::kSocket, &other), -1);
  ASSERT_EQ(fake.errors().size(), 1U);
  EXPECT_EQ(fake.errors()[0].tctx, &other);
}

TEST_F(LowerLayerTest, LeavesTheSnapshotUnread) {
  StoreVlanChange(fake);
  Ospfv3Row{}.StoreIn(fake);
  EXPECT_EQ(CallbackTest::Validate(kLowerLayerPoint, LowerLayerPath()), -1);
  ExpectOneError(kVlanFormat, kVlanText);
  for (const GenericConfig* one :
       {&reader(InterfaceType::kL3), &reader(InterfaceType::kMgmt),
        &reader(InterfaceType::kLoopback),
        static_cast<const GenericConfig*>(&config().static_route_config()),
        static_cast<const GenericConfig*>(&config().ospfv2_config())}) {
    EXPECT_FALSE(one->ipv4_read());
    EXPECT_FALSE(one->ipv6_read());
  }
}

}  // namespace
}  // namespace ipav::testing
