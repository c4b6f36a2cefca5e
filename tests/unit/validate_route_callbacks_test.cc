// The callbacks that judge interfaces against static routes and routing
// protocols.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>

#include "include/config.h"
#include "include/static_route_config.h"
#include "include/validate.h"
#include "include/validate_ip_addr_cross_ospf.h"
#include "tests/support/addresses.h"
#include "tests/support/builders.h"
#include "tests/support/callback_test.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::Config;
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
constexpr char kBlackHoleText6[] =
    "Prefix 2001:db8:1::/48 cannot be black-hole and have next-hop at the same "
    "time";
constexpr char kNextHopText[] =
    "l3 core1 ipv4 address 192.168.1.1/24 and static route 10.1.0.0/24 "
    "next-hop 192.168.1.1 cannot have address conflict.";
constexpr char kNextHopText6[] =
    "l3 core1 ipv6 address 2001:db8::1/64 and static route 2001:db8:1::/48 "
    "next-hop 2001:db8::1 cannot have address conflict.";
constexpr char kOutputText[] =
    "l3 core1 is being used by a static route. Lower-layer-if cannot be "
    "removed from this interface";
constexpr char kModifiedText[] =
    "10.1.1.2/24 cannot be modified nor deleted, it is assigned to router ospf "
    "10 vrf global area 1 (0.0.0.1)";

const Texts kNextHop = {"l3 core1 192.168.1.1/24",
                        "route 0 10.1.0.0/24 via 192.168.1.1"};
const Texts kNextHop6 = {"l3 core1 10.1.1.1/24 2001:db8::1/64",
                         "route 0 2001:db8:1::/48 via 2001:db8::1"};
const Texts kBlackHole = {"route 0 10.1.0.0/24 via 192.168.1.9",
                          "route 0 10.1.0.0/24 via 0.0.0.0"};
const Texts kBlackHole6 = {"route 0 2001:db8:1::/48 via 2001:db8::9",
                           "route 0 2001:db8:1::/48 via ::"};
const Texts kTooManyRoutes(1001, "route 0 20.0.0.0/24 via 192.168.1.7");

// These callbacks do not look at the key path: any will do.
class RouteCallbacksTest : public CallbackTest {
 protected:
  int32_t Validate(const std::string& opaque) {
    return CallbackTest::Validate(opaque, InterfaceListPath("l3"));
  }

  void StartWith(const Texts& lines) {
    fake.Reset();
    StartSnapshot();
    StoreLines(fake, lines);
  }

  void ExpectAccepted(const std::string& opaque) {
    EXPECT_EQ(Validate(opaque), 0);
    ExpectNoError();
  }

  void ExpectRefused(const std::string& opaque, const std::string& text) {
    EXPECT_EQ(Validate(opaque), -1);
    ExpectOneError("%s", text);
    EXPECT_EQ(LastCall(), "confd_trans_seterr(" + text + ")");
  }
};

// ---- Each callback ---------------------------------------------------------

using Callback = int32_t(int32_t, confd_trans_ctx*, confd_hkeypath_t*,
                         confd_value_t*, Config&);

struct CallbackCase {
  const char* name;
  const char* point;
  Callback* callback;
  Texts reads;  // of the small configuration
  Texts refused;
  std::string text;
  // What a reader throws an exception for, and the table that it reads.
  std::string malformed;
  const char* table;
};

class RouteCallbackTest : public RouteCallbacksTest,
                          public ::testing::WithParamInterface<CallbackCase> {
 protected:
  const char* point() { return GetParam().point; }
};

TEST_P(RouteCallbackTest, ReadsTheseInOrderAndNothingTwice) {
  StoreSmallConfiguration(fake);
  ExpectAccepted(point());
  EXPECT_EQ(Reads(), GetParam().reads);
  ExpectAccepted(point());
  EXPECT_EQ(Reads(), Texts{});
}

TEST_P(RouteCallbackTest, RefusesWithTheTextOfTheRule) {
  StartWith(GetParam().refused);
  ExpectRefused(point(), GetParam().text);
}

TEST_P(RouteCallbackTest, DoesNotLookAtSocketKeyPathNorNewValue) {
  StartWith(GetParam().refused);
  BindSnapshot();
  EXPECT_EQ(GetParam().callback(-1, fake.tctx(), nullptr, nullptr, config()),
            -1);
  ExpectOneError("%s", GetParam().text);
}

TEST_P(RouteCallbackTest, AnExceptionOfAReaderLeavesTheCall) {
  StartWith({"l3 core1 10.1.1.1/24", GetParam().malformed});
  EXPECT_THROW(Validate(point()), std::exception);
  EXPECT_THROW(Validate(point()), std::exception);
  ExpectNoError();

  // The interfaces stay read; the table is tried again.
  EXPECT_EQ(ReadsWith("/config/interface"), Texts{});
  EXPECT_FALSE(ReadsWith(GetParam().table).empty());
}

INSTANTIATE_TEST_SUITE_P(
    Points, RouteCallbackTest,
    ::testing::Values(
        CallbackCase{"Ipv4Routes", kIpv4Point, validate_ipv4_addr_route,
                     Joined({L3Ipv4Reads(), MgmtIpv4Reads(),
                             LoopbackReads("ipv4"), RouteReads()}),
                     kNextHop, kNextHopText,
                     "route 0 10.1.0.0/24 via 192.168.1.1 by a",
                     "rtmStaticRtTable"},
        CallbackCase{"Ipv6Routes", kIpv6Point, validate_ipv6_addr_route,
                     Joined({L3Ipv6Reads(), MgmtIpv6Reads(),
                             LoopbackReads("ipv6"), RouteReads()}),
                     kNextHop6, kNextHopText6,
                     "route 0 2001:db8:1::/48 via 2001:db8::9 by a",
                     "rtmStaticRtTable"},
        // The interfaces for IPv4 only, the routes for either family.
        CallbackCase{
            "OutputInterfaces",
            kL3Point,
            validate_route_l3_intf,
            Joined({L3Ipv4Reads(), RouteReads(), RouteReads()}),
            {"l3 core1", "route 0 2001:db8:1::/48 via 2001:db8::9 by l3-core1"},
            kOutputText,
            "route 0 2001:db8:1::/48 via 2001:db8::9 by a",
            "rtmStaticRtTable"},
        CallbackCase{
            "Ospfv2",
            kProtPoint,
            validate_ipv4_addr_cross_prot,
            Joined({L3Ipv4Reads(), LoopbackReads("ipv4"), OspfReads()}),
            {"l3 core1 10.1.1.1/24", "process 7 10 global",
             "ospf 7 l3-core1 10.1.1.2/24"},
            kModifiedText,
            "ospf 7 l3-core1 10.1.1.1/24 backbone",
            "/internal/ospf-interface-l3"}),
    [](const auto& callback) { return callback.param.name; });

TEST_F(RouteCallbacksTest, ReadWhatAnAddressCheckHasLeft) {
  StoreSmallConfiguration(fake);
  ExpectAccepted("ipv4_addr_validation");
  ExpectAccepted(kIpv4Point);
  EXPECT_EQ(Reads(), Texts{});
  ExpectAccepted(kProtPoint);
  EXPECT_EQ(Reads(), OspfReads());
  ExpectAccepted(kL3Point);
  EXPECT_EQ(Reads(), RouteReads());  // for IPv6
  ExpectAccepted(kIpv6Point);
  EXPECT_EQ(Reads(),
            Joined({L3Ipv6Reads(), MgmtIpv6Reads(), LoopbackReads("ipv6")}));
}

// ---- Routes against addresses ----------------------------------------------

// One family is read: what is wrong with the other one is not seen.
TEST_F(RouteCallbacksTest, JudgeTheirOwnFamily) {
  const struct {
    Texts lines;
    const char* point;
    const char* other_point;
    const char* text;
  } cases[] = {{kNextHop, kIpv4Point, kIpv6Point, kNextHopText},
               {kNextHop6, kIpv6Point, kIpv4Point, kNextHopText6},
               {kBlackHole, kIpv4Point, kIpv6Point, kBlackHoleText},
               {kBlackHole6, kIpv6Point, kIpv4Point, kBlackHoleText6},
               {kTooManyRoutes, kIpv4Point, nullptr, kLimitText},
               {kTooManyRoutes, kIpv6Point, nullptr, kLimitText}};
  for (const auto& [lines, point, other_point, text] : cases) {
    StartWith(lines);
    ExpectRefused(point, text);
    StartWith(lines);
    if (other_point != nullptr) ExpectAccepted(other_point);
  }
}

// With the IPv4 routes read, only these are examined.
TEST_F(RouteCallbacksTest, Ipv6BehindIpv4ExaminesTheIpv4Routes) {
  StartWith(Joined({kNextHop6, kBlackHole6}));
  ExpectAccepted(kIpv4Point);
  ExpectAccepted(kIpv6Point);
  EXPECT_TRUE(config().static_route_config().ipv6_read());

  StartWith(kNextHop);
  ExpectAccepted(kIpv6Point);
  EXPECT_EQ(Validate(kIpv4Point), -1);
  EXPECT_EQ(Validate(kIpv6Point), -1);
  EXPECT_EQ(fake.error_text(), kNextHopText);
}

// ---- Output interfaces -----------------------------------------------------

// Both reads make the same calls. The order shows in the routes that are there
// when the second cursor does not open.
TEST_F(RouteCallbacksTest, OutputInterfacesReadTheIpv4RoutesFirst) {
  StoreLines(fake, {"route 0 10.1.0.0/24 via 192.168.1.1",
                    "route 0 2001:db8:1::/48 via 2001:db8::9"});
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

// It judges nothing else about the routes.
TEST_F(RouteCallbacksTest, OutputInterfacesAcceptWhatTheRouteCheckRefuses) {
  StartWith(Joined({kNextHop, kTooManyRoutes, kBlackHole}));
  ExpectAccepted(kL3Point);
}

// ---- Addresses against OSPFv2 ----------------------------------------------

TEST_F(RouteCallbacksTest, Ospfv2JudgesL3AndLoopbackInterfaces) {
  const struct {
    const char* what;
    Texts lines;
    const char* text;  // "" for none
  } cases[] = {
      {"an address that OSPF does not know",
       {"l3 core1 10.1.1.1/24 10.1.2.1/24", "ospf 7 l3-core1 10.1.1.1/24"},
       "10.1.2.1/24 cannot be added after interface is assigned to router "
       "ospf 10 vrf global area 1 (0.0.0.1)"},
      {"a loopback",
       {"loopback 1 10.3.3.3/32", "ospf 7 loopback-1 10.1.1.2/24"},
       kModifiedText},
      {"the l3 interface before the loopback",
       {"loopback 1 10.3.3.3/32", "l3 core1 10.1.1.1/24",
        "ospf 7 loopback-1 10.3.3.4/24", "ospf 7 l3-core1 10.1.1.2/24"},
       kModifiedText},
      // The VRF is the concern of another validation point.
      {"a divergent VRF",
       {"l3 core1 vrf red 10.1.1.1/24", "ospf 7 l3-core1 10.1.1.1/24"},
       ""}};
  for (const auto& [what, lines, text] : cases) {
    SCOPED_TRACE(what);
    StartWith(Joined({{"process 7 10 global"}, lines}));
    if (*text == '\0') {
      ExpectAccepted(kProtPoint);
    } else {
      ExpectRefused(kProtPoint, text);
    }
  }
}

TEST_F(RouteCallbacksTest, Ospfv2DoesNotJudgeManagementInterfaces) {
  StartWith({"mgmt 9 10.2.2.2/24", "process 7 10 global",
             "ospf 7 mgmt-9 10.1.1.2/24"});
  ExpectAccepted(kProtPoint);
  ExpectAccepted("ipv4_addr_validation");  // reads them
  ExpectAccepted(kProtPoint);
}

// ---- The lower layer: what is handed on ------------------------------------

KeyPath LowerLayerPath() {
  KeyPath path = InterfaceListPath("l3");
  path.Key(Text("core1")).Node("lower-layer-if");
  return path;
}

// The VLAN of core1 changes from 10 to 20.
void StoreVlanChange(FakePlatform& platform) {
  StoreLines(platform, {"l3 core1 vlan 20 10.1.1.1/24"});
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
  const auto reader = [&](InterfaceType kind) -> const GenericConfig* {
    return config().intf_by_type(kind);
  };
  for (const GenericConfig* one :
       {reader(InterfaceType::kL3), reader(InterfaceType::kMgmt),
        reader(InterfaceType::kLoopback),
        static_cast<const GenericConfig*>(&config().static_route_config()),
        static_cast<const GenericConfig*>(&config().ospfv2_config())}) {
    EXPECT_FALSE(one->ipv4_read());
    EXPECT_FALSE(one->ipv6_read());
  }
}

}  // namespace
}  // namespace ipav::testing
