// The callbacks that judge the interfaces: what they read, in which order, and
// what they answer.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "include/config.h"
#include "include/validate.h"
#include "tests/support/builders.h"
#include "tests/support/callback_test.h"

namespace ipav::testing {
namespace {

constexpr char kNamePoint[] = "intf_l3_name_validation";
constexpr char kIpv4Point[] = "ipv4_addr_validation";
constexpr char kIpv6Point[] = "ipv6_addr_validation";
constexpr char kInvalidInterface[] =
    "invalid interface being handled by IP-App validation";
constexpr char kNetworkText[] =
    "l3 core.1 ipv4 address 10.1.1.0/24 cannot be configured as network "
    "address.";
constexpr char kNameText[] =
    "L3 interface name core.1 contains invalid characters (allowed characters: "
    "0-9, a-z, A-Z, _, -)";

// Every interface list, in the order of the reads, and the routes at the end.
const Texts kReadsOfAnEmptyConfiguration = {
    "maapi_exists(/config/interface/ipapp:l3)",
    "maapi_exists(/config/interface/ipapp:loopback)",
    "maapi_exists(/config/interface/ipapp:mgmt)",
    "maapi_init_cursor(/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry)",
    "maapi_get_next(/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry)",
    "maapi_destroy_cursor(/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry)",
};

class AddrCallbacksTest : public CallbackTest {
 protected:
  using CallbackTest::Validate;
  int32_t Validate(const std::string& opaque, const char* kind) {
    return Validate(opaque, InterfaceListPath(kind));
  }

  void ExpectAccepted(const std::string& opaque, const char* kind) {
    EXPECT_EQ(Validate(opaque, kind), 0) << opaque << kind;
    ExpectNoError();
  }
  void ExpectRefused(const std::string& opaque, const char* kind,
                     const std::string& text) {
    EXPECT_EQ(Validate(opaque, kind), -1);
    ExpectOneError("%s", text);
  }
};

// ---- What is read ----------------------------------------------------------

TEST_F(AddrCallbacksTest, AddressesReadAllKindsAndTheRoutesInOrder) {
  for (const char* point : {kIpv4Point, kIpv6Point}) {
    for (const char* kind : {"l3", "loopback", "mgmt"}) {
      StartSnapshot();
      ExpectAccepted(point, kind);
      EXPECT_EQ(Reads(), kReadsOfAnEmptyConfiguration) << point << kind;
    }
  }
}

TEST_F(AddrCallbacksTest, AKindIsReadWholeBeforeTheNext) {
  StoreSmallConfiguration(fake);
  ExpectAccepted(kIpv4Point, "mgmt");
  EXPECT_EQ(Reads(), Joined({L3Ipv4Reads(), LoopbackReads("ipv4"),
                             MgmtIpv4Reads(), RouteReads()}));
  ExpectAccepted(kIpv6Point, "mgmt");
  EXPECT_EQ(Reads(), Joined({L3Ipv6Reads(), LoopbackReads("ipv6"),
                             MgmtIpv6Reads(), RouteReads()}));
}

TEST_F(AddrCallbacksTest, ASecondValidationOfAFamilyReadsNothing) {
  StoreSmallConfiguration(fake);
  for (const char* point : {kIpv4Point, kIpv6Point}) {
    EXPECT_EQ(Validate(point, "l3"), 0);
    EXPECT_FALSE(Reads().empty());
    for (const char* kind : {"l3", "loopback", "mgmt"}) {
      EXPECT_EQ(Validate(point, kind), 0);
      EXPECT_EQ(Reads(), Texts{}) << point << kind;
    }
  }
}

TEST_F(AddrCallbacksTest, WhatComesAfterTheReadIsNotSeen) {
  EXPECT_EQ(Validate(kIpv4Point, "l3"), 0);
  StoreLines(fake, {"l3 core1 10.1.1.0/24"});
  EXPECT_EQ(Validate(kIpv4Point, "l3"), 0);
  ExpectNoError();
}

TEST_F(AddrCallbacksTest, NamesReadTheL3InterfacesForIpv4Only) {
  StoreSmallConfiguration(fake);
  for (const char* kind : {"l3", "loopback", "mgmt", "ospf"}) {
    StartSnapshot();
    ExpectAccepted(kNamePoint, kind);
    EXPECT_EQ(Reads(), L3Ipv4Reads());
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

TEST_F(AddrCallbacksTest, RefuseAnUnknownKindWithoutARead) {
  StoreLines(fake, {"l3 core1 10.1.1.1/24"});
  // The element that counts is the last one of the path.
  const KeyPath leaf = InterfaceListPath("l3").Key(Text("core1")).Node("vrf");
  for (const char* point : {kIpv4Point, kIpv6Point}) {
    for (const KeyPath& path : {InterfaceListPath("ospf"), leaf, KeyPath()}) {
      for (const bool after_the_reads : {false, true}) {
        StartSnapshot();
        if (after_the_reads) Validate(point, "l3");
        const std::size_t errors = fake.errors().size();
        EXPECT_EQ(Validate(point, path), -1);
        ASSERT_EQ(fake.errors().size(), errors + 1);
        EXPECT_EQ(fake.errors().back().format, "%s");
        EXPECT_EQ(fake.error_text(), kInvalidInterface);
        EXPECT_EQ(Reads(), Texts{std::string("confd_trans_seterr(") +
                                 kInvalidInterface + ")"});
      }
    }
  }
}

TEST_F(AddrCallbacksTest, NamesDoNotLookAtTheKeyPath) {
  EXPECT_EQ(Validate(kNamePoint, InterfaceListPath("l3").Key(Text("core1"))),
            0);
  EXPECT_EQ(Validate(kNamePoint, KeyPath()), 0);
  ExpectNoError();
}

// ---- Verdicts and texts ----------------------------------------------------

TEST_F(AddrCallbacksTest, AcceptWhatEveryRuleAccepts) {
  StoreSmallConfiguration(fake);
  for (const char* point : {kNamePoint, kIpv4Point, kIpv6Point}) {
    for (const char* kind : {"l3", "loopback", "mgmt"}) {
      ExpectAccepted(point, kind);
    }
  }
}

TEST_F(AddrCallbacksTest, JudgeTheKindOfTheKeyPath) {
  StoreLines(fake, {"l3 core.1 10.1.1.0/24", "loopback 1 10.3.3.3/32"});
  ExpectAccepted(kIpv4Point, "loopback");
  ExpectAccepted(kIpv4Point, "mgmt");
  ExpectRefused(kIpv4Point, "l3", kNetworkText);
}

TEST_F(AddrCallbacksTest, RefuseAnOverlapOfAnotherKind) {
  StoreLines(fake, {"l3 core1 10.1.1.1/24", "loopback 1 10.1.1.2/32"});
  ExpectRefused(kIpv4Point, "loopback",
                "loopback 1 vrf global ipv4 address 10.1.1.2/32 overlaps with "
                "l3 core1 vrf global ipv4 address 10.1.1.1/24.");
}

constexpr char kNextHopText[] =
    "mgmt 9 ipv4 address 192.168.1.1/24 and static route 10.1.0.0/24 next-hop "
    "192.168.1.1 cannot have address conflict.";

TEST_F(AddrCallbacksTest, RefuseTheNextHopOfARoute) {
  StoreLines(fake,
             {"mgmt 9 192.168.1.1/24", "route 0 10.1.0.0/24 via 192.168.1.1"});
  ExpectRefused(kIpv4Point, "mgmt", kNextHopText);
}

TEST_F(AddrCallbacksTest, RefuseAnIpv6AddressTwice) {
  StoreLines(fake, {"l3 core1 10.1.1.0/24 2001:db8::1/64 2001:db8::1/48"});
  ExpectRefused(kIpv6Point, "l3",
                "l3 core1 has duplicated IPv6 address 2001:db8::1");
}

// The operator may type a "%": it is not a conversion.
TEST_F(AddrCallbacksTest, APercentSignReachesTheOperatorUnchanged) {
  StoreLines(fake, {"l3 50%s%n%d 10.1.1.1/24"});
  ExpectRefused(kNamePoint, "l3",
                "L3 interface name 50%s%n%d contains invalid characters "
                "(allowed characters: 0-9, a-z, A-Z, _, -)");
}

// ---- Called directly -------------------------------------------------------

// Socket and transaction reach the readers through the snapshot.
TEST_F(AddrCallbacksTest, LookNeitherAtTheSocketNorAtTheNewValue) {
  StoreLines(fake, {"l3 core.1 10.1.1.0/24"});
  BindSnapshot();
  KeyPath path = InterfaceListPath("l3");
  EXPECT_EQ(validate_ipv4_addr(-1, fake.tctx(), path.get(), nullptr, config()),
            -1);
  ExpectOneError("%s", kNetworkText);
  EXPECT_EQ(validate_ipv6_addr(-1, fake.tctx(), path.get(), nullptr, config()),
            0);
  EXPECT_EQ(
      validate_intf_l3_name(-1, fake.tctx(), path.get(), nullptr, config()),
      -1);
  EXPECT_EQ(fake.errors().size(), 2U);
  EXPECT_EQ(fake.error_text(), kNameText);
}

// ---- Exceptions of a reader ------------------------------------------------

TEST_F(AddrCallbacksTest, ATooShortOutputInterfaceNameLeavesTheCall) {
  StoreLines(fake, {"l3 core1 10.1.1.0/24"});
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
  StoreLines(fake, {"mgmt 9 192.168.1.1/24"});
  StaticRouteRow route;
  route.interface_name = "";
  route.StoreIn(fake);
  EXPECT_THROW(Validate(kIpv4Point, "mgmt"), std::out_of_range);
  fake.SetValue(route.interface_name_path(), Text("l3-1"));
  ExpectRefused(kIpv4Point, "mgmt", kNextHopText);
}

}  // namespace
}  // namespace ipav::testing
