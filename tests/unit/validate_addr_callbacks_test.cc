// The callbacks that judge the interfaces: what they read, in which order, and
// what they answer.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "include/config.h"
#include "include/validate.h"
#include "tests/support/builders.h"
#include "tests/support/death_text.h"
#include "tests/support/plugin_test.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::Config;

using Texts = std::vector<std::string>;

constexpr char kNamePoint[] = "intf_l3_name_validation";
constexpr char kIpv4Point[] = "ipv4_addr_validation";
constexpr char kIpv6Point[] = "ipv6_addr_validation";
constexpr char kInvalidInterface[] =
    "invalid interface being handled by IP-App validation";

// The key path of a call-once validation point on a list of interfaces.
KeyPath ListPath(const std::string& kind) {
  KeyPath path;
  path.Node("config").Node("interface").Node(kind);
  return path;
}

InterfaceData L3(const std::string& name, const std::string& ipv4) {
  InterfaceData data;
  data.name = name;
  data.ipv4 = ipv4;
  return data;
}

InterfaceData WithIpv6(InterfaceData data, const Texts& ipv6) {
  data.ipv6 = ipv6;
  return data;
}

InterfaceData Loopback(const std::string& name, const Texts& ipv4) {
  InterfaceData data;
  data.kind = "loopback";
  data.name = name;
  data.ipv4_list = ipv4;
  return data;
}

InterfaceData Mgmt(const std::string& name, const std::string& ipv4) {
  InterfaceData data = L3(name, ipv4);
  data.kind = "mgmt";
  return data;
}

// Every interface list, in the order of the reads, and the routes at the end.
const Texts kReadsOfAnEmptyConfiguration = {
    "maapi_exists(/config/interface/ipapp:l3)",
    "maapi_exists(/config/interface/ipapp:loopback)",
    "maapi_exists(/config/interface/ipapp:mgmt)",
    "maapi_init_cursor(/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry)",
    "maapi_get_next(/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry)",
    "maapi_destroy_cursor(/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry)",
};

class AddrCallbacksTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    ASSERT_EQ(lib_init(&context_), 0);
    fake.set_lib_context(context_);
  }

  void TearDown() override {
    EXPECT_EQ(lib_finish(&context_), 0);
    PluginTest::TearDown();
  }

  Config& config() { return *static_cast<Config*>(context_); }

  // As the host does.
  int32_t Validate(const std::string& opaque, const std::string& kind) {
    KeyPath path = ListPath(kind);
    return Validate(opaque, path.get());
  }
  int32_t Validate(const std::string& opaque, confd_hkeypath_t* keypath) {
    fake.ForgetCalls();
    fake.set_opaque(opaque);
    return validate(fake.tctx(), keypath, &newval_);
  }

  // The calls behind the look-up of socket and context.
  Texts Reads() {
    const Texts calls = fake.CallTexts();
    EXPECT_GE(calls.size(), 2U);
    EXPECT_EQ(calls[0], "hostd_maapi_socket_get()");
    EXPECT_EQ(calls[1], "get_lib_context(ip_app_validation)");
    return {calls.begin() + 2, calls.end()};
  }

  // Those of them whose text has a piece.
  Texts ReadsWith(const std::string& piece) {
    Texts found;
    for (const std::string& call : Reads()) {
      if (call.find(piece) != std::string::npos) found.push_back(call);
    }
    return found;
  }

  // Places of the first read of each list among the calls.
  std::vector<std::size_t> PlacesOf(const Texts& pieces) {
    const Texts reads = Reads();
    std::vector<std::size_t> places;
    for (const std::string& piece : pieces) {
      const auto found = std::find_if(
          reads.begin(), reads.end(), [&](const std::string& call) {
            return call.find(piece) != std::string::npos;
          });
      EXPECT_NE(found, reads.end()) << piece;
      places.push_back(static_cast<std::size_t>(found - reads.begin()));
    }
    return places;
  }

  confd_value_t newval_ = Nothing().Borrow();

 private:
  void* context_ = nullptr;
};

// ---- What is read ----------------------------------------------------------

TEST_F(AddrCallbacksTest, AddressesReadAllKindsAndTheRoutesInOrder) {
  for (const char* point : {kIpv4Point, kIpv6Point}) {
    for (const char* kind : {"l3", "loopback", "mgmt"}) {
      void* context = nullptr;
      ASSERT_EQ(lib_init(&context), 0);
      fake.set_lib_context(context);
      EXPECT_EQ(Validate(point, kind), 0);
      EXPECT_EQ(Reads(), kReadsOfAnEmptyConfiguration) << point << kind;
      ExpectNoError();
      EXPECT_EQ(lib_finish(&context), 0);
    }
  }
}

TEST_F(AddrCallbacksTest, AKindIsReadWholeBeforeTheNext) {
  Loopback("1", {"10.3.3.3/32"}).StoreIn(fake);
  L3("core1", "10.1.1.1/24").StoreIn(fake);
  Mgmt("9", "10.2.2.2/24").StoreIn(fake);
  StaticRouteRow{}.StoreIn(fake);
  EXPECT_EQ(Validate(kIpv4Point, "mgmt"), 0);
  const auto places =
      PlacesOf({"l3{core1}/ipv4", "l3{core1}/vrf", "ipapp:loopback)",
                "loopback{1}/vrf", "ipapp:mgmt)", "mgmt{9}/vrf",
                "rtmStaticRtTable", "rtmStaticRtEntry-global"});
  EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
}

TEST_F(AddrCallbacksTest, EachFamilyReadsItsOwnAddressesOnly) {
  WithIpv6(L3("core1", "10.1.1.1/24"), {"2001:db8::1/64"}).StoreIn(fake);
  EXPECT_EQ(Validate(kIpv4Point, "l3"), 0);
  EXPECT_FALSE(ReadsWith("ipv4").empty());
  EXPECT_TRUE(ReadsWith("ipv6").empty());
  EXPECT_EQ(Validate(kIpv6Point, "l3"), 0);
  EXPECT_TRUE(ReadsWith("ipv4").empty());
  EXPECT_FALSE(ReadsWith("ipv6").empty());
}

TEST_F(AddrCallbacksTest, ASecondValidationOfAFamilyReadsNothing) {
  L3("core1", "10.1.1.1/24").StoreIn(fake);
  StaticRouteRow{}.StoreIn(fake);
  for (const char* point : {kIpv4Point, kIpv6Point}) {
    EXPECT_EQ(Validate(point, "l3"), 0);
    EXPECT_FALSE(Reads().empty());
    for (const char* kind : {"l3", "loopback", "mgmt"}) {
      EXPECT_EQ(Validate(point, kind), 0);
      EXPECT_EQ(Reads(), Texts{}) << point << kind;
    }
  }
}

TEST_F(AddrCallbacksTest, Ipv6AfterIpv4ReadsEverythingOnceMore) {
  EXPECT_EQ(Validate(kIpv4Point, "l3"), 0);
  EXPECT_EQ(Reads(), kReadsOfAnEmptyConfiguration);
  EXPECT_EQ(Validate(kIpv6Point, "l3"), 0);
  EXPECT_EQ(Reads(), kReadsOfAnEmptyConfiguration);
  EXPECT_EQ(Validate(kIpv4Point, "l3"), 0);
  EXPECT_EQ(Reads(), Texts{});
}

TEST_F(AddrCallbacksTest, WhatComesAfterTheReadIsNotSeen) {
  EXPECT_EQ(Validate(kIpv4Point, "l3"), 0);
  L3("core1", "10.1.1.0/24").StoreIn(fake);
  EXPECT_EQ(Validate(kIpv4Point, "l3"), 0);
  ExpectNoError();
}

TEST_F(AddrCallbacksTest, NamesReadTheL3InterfacesForIpv4Only) {
  WithIpv6(L3("core1", "10.1.1.1/24"), {"2001:db8::1/64"}).StoreIn(fake);
  Loopback("1", {"10.3.3.3/32"}).StoreIn(fake);
  Mgmt("9", "10.2.2.2/24").StoreIn(fake);
  StaticRouteRow{}.StoreIn(fake);
  for (const char* kind : {"l3", "loopback", "mgmt", "ospf"}) {
    void* context = nullptr;
    ASSERT_EQ(lib_init(&context), 0);
    fake.set_lib_context(context);
    EXPECT_EQ(Validate(kNamePoint, kind), 0);
    EXPECT_FALSE(ReadsWith("l3{core1}/ipv4/address/ip").empty());
    for (const char* other : {"ipv6", "loopback", "mgmt", "rtmStaticRt"}) {
      EXPECT_EQ(ReadsWith(other), Texts{}) << kind;
    }
    EXPECT_EQ(lib_finish(&context), 0);
  }
}

TEST_F(AddrCallbacksTest, NamesAndAddressesShareARead) {
  EXPECT_EQ(Validate(kNamePoint, "l3"), 0);
  EXPECT_EQ(Reads(), Texts{"maapi_exists(/config/interface/ipapp:l3)"});
  EXPECT_EQ(Validate(kNamePoint, "l3"), 0);
  EXPECT_EQ(Reads(), Texts{});
  EXPECT_EQ(Validate(kIpv4Point, "l3"), 0);
  EXPECT_EQ(Reads(), Texts(kReadsOfAnEmptyConfiguration.begin() + 1,
                           kReadsOfAnEmptyConfiguration.end()));
}

// ---- A key path of no interface kind ---------------------------------------

class UnknownKindTest : public AddrCallbacksTest,
                        public ::testing::WithParamInterface<const char*> {};

TEST_P(UnknownKindTest, IsRefusedWithoutARead) {
  L3("core1", "10.1.1.1/24").StoreIn(fake);
  EXPECT_EQ(Validate(GetParam(), "ospf"), -1);
  ExpectOneError("%s", kInvalidInterface);
  EXPECT_EQ(Reads(), Texts{std::string("confd_trans_seterr(") +
                           kInvalidInterface + ")"});
}

// The element that counts is the last one of the path.
TEST_P(UnknownKindTest, IsALeafOfAnInterface) {
  KeyPath path = ListPath("l3");
  path.Key(Text("core1")).Node("vrf");
  EXPECT_EQ(Validate(GetParam(), path.get()), -1);
  ExpectOneError("%s", kInvalidInterface);
}

TEST_P(UnknownKindTest, IsAnEmptyKeyPath) {
  KeyPath path;
  EXPECT_EQ(Validate(GetParam(), path.get()), -1);
  ExpectOneError("%s", kInvalidInterface);
}

TEST_P(UnknownKindTest, IsRefusedAlsoAfterTheReads) {
  L3("core1", "10.1.1.1/24").StoreIn(fake);
  EXPECT_EQ(Validate(GetParam(), "l3"), 0);
  EXPECT_EQ(Validate(GetParam(), "ospf"), -1);
  ExpectOneError("%s", kInvalidInterface);
}

INSTANTIATE_TEST_SUITE_P(Points, UnknownKindTest,
                         ::testing::Values(kIpv4Point, kIpv6Point),
                         [](const auto& point) {
                           return std::string(point.param);
                         });

using AddrCallbacksDeathTest = AddrCallbacksTest;

TEST_F(AddrCallbacksDeathTest, AKeyPathThatEndsInAKeyStopsTheProcess) {
  const std::string report = ReportOf(
      {"src/lib/config.cc", "659",
       "static ip_application::config_valid::InterfaceType "
       "ip_application::config_valid::Config::intf_type_from_confd_path("
       "confd_hkeypath_t*)",
       "(&keypath->v[0][0])->type == C_XMLTAG"});
  KeyPath path = ListPath("l3");
  path.Key(Text("core1"));
  for (const char* point : {kIpv4Point, kIpv6Point}) {
    EXPECT_EXIT(Validate(point, path.get()), ::testing::KilledBySignal(SIGABRT),
                report);
  }
}

TEST_F(AddrCallbacksTest, NamesDoNotLookAtTheKeyPath) {
  KeyPath path = ListPath("l3");
  path.Key(Text("core1"));
  EXPECT_EQ(Validate(kNamePoint, path.get()), 0);
  KeyPath empty;
  EXPECT_EQ(Validate(kNamePoint, empty.get()), 0);
  ExpectNoError();
}

// ---- Verdicts and texts ----------------------------------------------------

TEST_F(AddrCallbacksTest, AcceptWhatEveryRuleAccepts) {
  WithIpv6(L3("core1", "10.1.1.1/24"), {"2001:db8::1/64"}).StoreIn(fake);
  Loopback("1", {"10.3.3.3/32"}).StoreIn(fake);
  Mgmt("9", "10.2.2.2/24").StoreIn(fake);
  StaticRouteRow{}.StoreIn(fake);
  for (const char* point : {kNamePoint, kIpv4Point, kIpv6Point}) {
    for (const char* kind : {"l3", "loopback", "mgmt"}) {
      EXPECT_EQ(Validate(point, kind), 0) << point << kind;
    }
  }
  ExpectNoError();
}

TEST_F(AddrCallbacksTest, JudgeTheKindOfTheKeyPath) {
  L3("core1", "10.1.1.0/24").StoreIn(fake);
  Loopback("1", {"10.3.3.3/32"}).StoreIn(fake);
  EXPECT_EQ(Validate(kIpv4Point, "loopback"), 0);
  EXPECT_EQ(Validate(kIpv4Point, "mgmt"), 0);
  EXPECT_EQ(Validate(kIpv4Point, "l3"), -1);
  ExpectOneError("%s",
                 "l3 core1 ipv4 address 10.1.1.0/24 cannot be configured as "
                 "network address.");
}

TEST_F(AddrCallbacksTest, RefuseAnOverlapOfAnotherKind) {
  L3("core1", "10.1.1.1/24").StoreIn(fake);
  Loopback("1", {"10.1.1.2/32"}).StoreIn(fake);
  EXPECT_EQ(Validate(kIpv4Point, "loopback"), -1);
  ExpectOneError("%s",
                 "loopback 1 vrf global ipv4 address 10.1.1.2/32 overlaps with "
                 "l3 core1 vrf global ipv4 address 10.1.1.1/24.");
}

TEST_F(AddrCallbacksTest, RefuseTheNextHopOfARoute) {
  Mgmt("9", "192.168.1.1/24").StoreIn(fake);
  StaticRouteRow{}.StoreIn(fake);
  EXPECT_EQ(Validate(kIpv4Point, "mgmt"), -1);
  ExpectOneError("%s",
                 "mgmt 9 ipv4 address 192.168.1.1/24 and static route "
                 "10.1.0.0/24 next-hop 192.168.1.1 cannot have address "
                 "conflict.");
}

TEST_F(AddrCallbacksTest, RefuseAnIpv6AddressTwice) {
  WithIpv6(L3("core1", "10.1.1.0/24"), {"2001:db8::1/64", "2001:db8::1/48"})
      .StoreIn(fake);
  EXPECT_EQ(Validate(kIpv6Point, "l3"), -1);
  ExpectOneError("%s", "l3 core1 has duplicated IPv6 address 2001:db8::1");
}

TEST_F(AddrCallbacksTest, RefuseANameWithADot) {
  L3("core.1", "10.1.1.0/24").StoreIn(fake);
  EXPECT_EQ(Validate(kNamePoint, "l3"), -1);
  ExpectOneError("%s",
                 "L3 interface name core.1 contains invalid characters "
                 "(allowed characters: 0-9, a-z, A-Z, _, -)");
}

// The operator may type a "%": it is no conversion.
TEST_F(AddrCallbacksTest, APercentSignReachesTheOperatorUnchanged) {
  L3("50%s%n%d", "10.1.1.0/24").StoreIn(fake);
  EXPECT_EQ(Validate(kNamePoint, "l3"), -1);
  ASSERT_EQ(fake.errors().size(), 1U);
  EXPECT_EQ(fake.errors()[0].format, "%s");
  EXPECT_EQ(fake.errors()[0].text,
            "L3 interface name 50%s%n%d contains invalid characters (allowed "
            "characters: 0-9, a-z, A-Z, _, -)");
  EXPECT_EQ(Validate(kIpv4Point, "l3"), -1);
  ASSERT_EQ(fake.errors().size(), 2U);
  EXPECT_EQ(fake.errors()[1].format, "%s");
  EXPECT_EQ(fake.errors()[1].text,
            "l3 50%s%n%d ipv4 address 10.1.1.0/24 cannot be configured as "
            "network address.");
}

// ---- Called directly -------------------------------------------------------

// Socket and transaction reach the readers through the snapshot.
TEST_F(AddrCallbacksTest, LookNeitherAtTheSocketNorAtTheNewValue) {
  L3("core.1", "10.1.1.0/24").StoreIn(fake);
  config().set_sock(FakePlatform::kSocket);
  config().set_confd_trans(fake.tctx());
  KeyPath path = ListPath("l3");
  EXPECT_EQ(validate_ipv4_addr(-1, fake.tctx(), path.get(), nullptr, config()),
            -1);
  ASSERT_EQ(fake.errors().size(), 1U);
  EXPECT_EQ(fake.errors()[0].tctx, fake.tctx());
  EXPECT_EQ(fake.errors()[0].text,
            "l3 core.1 ipv4 address 10.1.1.0/24 cannot be configured as "
            "network address.");
  EXPECT_EQ(validate_ipv6_addr(-1, fake.tctx(), path.get(), nullptr, config()),
            0);
  EXPECT_EQ(
      validate_intf_l3_name(-1, fake.tctx(), path.get(), nullptr, config()),
      -1);
  ASSERT_EQ(fake.errors().size(), 2U);
  EXPECT_EQ(fake.errors()[1].text,
            "L3 interface name core.1 contains invalid characters (allowed "
            "characters: 0-9, a-z, A-Z, _, -)");
}

// ---- Exceptions of a reader ------------------------------------------------

TEST_F(AddrCallbacksTest, ATooShortOutputInterfaceNameLeavesTheCall) {
  L3("core1", "10.1.1.0/24").StoreIn(fake);
  StaticRouteRow route;
  route.interface_name = "a";
  route.StoreIn(fake);
  for (const char* point : {kIpv4Point, kIpv6Point}) {
    EXPECT_THROW(Validate(point, "l3"), std::out_of_range);
    ExpectNoError();
    EXPECT_FALSE(ReadsWith("l3{core1}").empty());

    // The interfaces stay read; the routes are tried again.
    EXPECT_THROW(Validate(point, "l3"), std::out_of_range);
    EXPECT_EQ(ReadsWith("/config/interface"), Texts{});
    EXPECT_FALSE(ReadsWith("rtmStaticRtTable").empty());
  }
}

TEST_F(AddrCallbacksTest, AreAnsweredAgainOnceTheRoutesCanBeRead) {
  Mgmt("9", "192.168.1.1/24").StoreIn(fake);
  StaticRouteRow route;
  route.interface_name = "";
  route.StoreIn(fake);
  EXPECT_THROW(Validate(kIpv4Point, "mgmt"), std::out_of_range);
  fake.SetValue(route.interface_name_path(), Text("l3-1"));
  EXPECT_EQ(Validate(kIpv4Point, "mgmt"), -1);
  ExpectOneError("%s",
                 "mgmt 9 ipv4 address 192.168.1.1/24 and static route "
                 "10.1.0.0/24 next-hop 192.168.1.1 cannot have address "
                 "conflict.");
}

}  // namespace
}  // namespace ipav::testing
