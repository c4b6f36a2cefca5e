// The reader of the static routes, and what it answers the rules.

#include "include/static_route_config.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/addresses.h"
#include "tests/support/builders.h"
#include "tests/support/death_text.h"
#include "tests/support/plugin_test.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::ConfigAddrFamily;
using ip_application::config_valid::RouteKey;
using ip_application::config_valid::StaticRoute;
using ip_application::config_valid::StaticRouteConfig;
using ip_application::config_valid::StaticRouteIPv4;
using ip_application::config_valid::StaticRouteIPv6;
using nettypes::IPv4Addr;
using nettypes::IPv4AddrMask;
using nettypes::IPv6Addr;
using nettypes::IPv6AddrMask;

using Route = std::shared_ptr<StaticRoute>;
using Texts = std::vector<std::string>;

constexpr auto kIpv4 = ConfigAddrFamily::kIpv4;
constexpr auto kIpv6 = ConfigAddrFamily::kIpv6;

constexpr char kTable[] = "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry";

static_assert(std::is_abstract_v<StaticRoute>);
static_assert(std::has_virtual_destructor_v<StaticRoute>);

// Places in a row of the table.
enum : std::size_t { kVrf, kType, kNetwork, kPrefixLen, kSpare, kNextHop };

std::string TextOf(const Route& route) {
  if (!route) return "none";
  return route->vrf_name() + " " + route->network().to_string() + " via " +
         route->next_hop().to_string() + " by '" + route->intf_name() + "'";
}

Route SomeRoute() {
  return std::make_shared<StaticRouteIPv4>("some", "vrf", Mask4("1.0.0.0/8"),
                                           Addr4("2.0.0.1"));
}

// In the VRFs 1 "a", 2 "b" and 0 "global".
class StaticRouteConfigTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    GTEST_FLAG_SET(death_test_style, "fast");
    StartReader();
    StoreVrfName(fake, 1, "a");
    StoreVrfName(fake, 2, "b");
  }

  // One that has read nothing, in place of the one there is.
  void StartReader() {
    reader.emplace();
    reader->set_sock(FakePlatform::kSocket);
    reader->set_confd_trans(fake.tctx());
  }

  void Store(const Texts& rows) {
    for (const std::string& row : rows) RouteFrom(row).StoreIn(fake);
  }

  // A row of which one key is another value.
  void StoreWith(std::vector<Value> keys, std::size_t index,
                 const Value& value) {
    keys.at(index) = value;
    fake.AddEntry(kTable, std::move(keys));
  }

  // Reads both families, with these rows after those that are there.
  void Read(const Texts& rows = {}) {
    Store(rows);
    reader->ReadConfigIfNeeded(kIpv4);
    reader->ReadConfigIfNeeded(kIpv6);
  }

  // Of the family of the address.
  Route NextHop(const std::string& vrf, const std::string& address) const {
    Route route;
    const bool found = address.find(':') == std::string::npos
                           ? reader->FindNextHop({vrf, Addr4(address)}, route)
                           : reader->FindNextHop({vrf, Addr6(address)}, route);
    EXPECT_EQ(found, route != nullptr);
    return route;
  }

  Route BlackHole4() const {
    Route route;
    const bool found = reader->CheckBlackHoleIpv4(route);
    EXPECT_EQ(found, route != nullptr);
    return route;
  }

  Route BlackHole6() const {
    Route route;
    const bool found = reader->CheckBlackHoleIpv6(route);
    EXPECT_EQ(found, route != nullptr);
    return route;
  }

  // The name of a row's output interface as the cursor's position gives it.
  std::string NameOf(const std::vector<Value>& keys) const {
    maapi_cursor cursor{};
    for (const Value& key : keys) cursor.keys[cursor.n++] = key.Borrow();
    return reader->GetIntfNameFromRoute(cursor);
  }

  std::optional<StaticRouteConfig> reader;
};

// ---- Keys -------------------------------------------------------------------

template <typename T>
void ExpectInOrder(const std::vector<RouteKey<T>>& keys) {
  for (std::size_t i = 0; i < keys.size(); ++i) {
    for (std::size_t j = 0; j < keys.size(); ++j) {
      EXPECT_EQ(keys[i] < keys[j], i < j) << i << " " << j;
    }
  }
}

// Names byte by byte, each an unsigned number; of a name and a longer one that
// begins with it the shorter one comes first.
TEST(RouteKeyTest, OrdersByVrfNameBeforeTheAddress) {
  ExpectInOrder<IPv4Addr>({{"", Addr4("9.0.0.0")},
                           {std::string("\0", 1), Addr4("8.0.0.0")},
                           {"B", Addr4("7.0.0.0")},
                           {"a", Addr4("6.0.0.0")},
                           {std::string("a\0", 2), Addr4("5.0.0.0")},
                           {"a1", Addr4("4.0.0.0")},
                           {"a10", Addr4("3.0.0.0")},
                           {"a2", Addr4("2.0.0.0")},
                           {"\x7f", Addr4("1.0.0.0")},
                           {"\x80", Addr4("0.0.0.0")}});
}

TEST(RouteKeyTest, OrdersTheAddressesOfAVrf) {
  ExpectInOrder<IPv4Addr>({{"a", Addr4("0.0.0.1")},
                           {"a", Addr4("9.0.0.0")},
                           {"a", Addr4("10.0.0.0")},
                           {"a", Addr4("200.0.0.0")}});
  ExpectInOrder<IPv6Addr>({{"a", Addr6("::1")},
                           {"a", Addr6("2001:db8::9")},
                           {"a", Addr6("2001:db8::10")},
                           {"a", Addr6("fe80::")}});
}

TEST(RouteKeyTest, OrdersThePrefixesOfAVrf) {
  ExpectInOrder<IPv4AddrMask>({{"a", Mask4("9.0.0.0/32")},
                               {"a", Mask4("10.0.0.0/8")},
                               {"a", Mask4("10.0.0.0/16")},
                               {"a", Mask4("10.0.0.1/8")}});
  ExpectInOrder<IPv6AddrMask>({{"a", Mask6("2001:db8::/32")},
                               {"a", Mask6("2001:db8::/64")},
                               {"a", Mask6("2001:db8::1/32")}});
}

// ---- A route ----------------------------------------------------------------

TEST(StaticRouteTest, PrintsItsAddressesWithoutItsFamilyBeingKnown) {
  EXPECT_EQ(TextOf(SomeRoute()), "vrf 1.0.0.0/8 via 2.0.0.1 by 'some'");
  const Route six = std::make_shared<StaticRouteIPv6>(
      "some", "vrf", Mask6("2001:db8::/32"), Addr6("fe80::1"));
  EXPECT_EQ(TextOf(six), "vrf 2001:db8::/32 via fe80::1 by 'some'");
}

// ---- No routes --------------------------------------------------------------

TEST_F(StaticRouteConfigTest, AnEmptyTableAnswersNoToEverything) {
  Read();
  EXPECT_EQ(reader->ipv4_count(), 0U);
  EXPECT_EQ(reader->ipv6_count(), 0U);
  for (const char* address : {"0.0.0.0", "10.0.0.1", "::", "2001:db8::1"}) {
    EXPECT_EQ(NextHop("global", address), nullptr) << address;
  }
  EXPECT_EQ(BlackHole4(), nullptr);
  EXPECT_EQ(BlackHole6(), nullptr);
  EXPECT_FALSE(reader->FindOutputInterface(""));
  EXPECT_FALSE(reader->FindOutputInterface("eth0"));
}

TEST_F(StaticRouteConfigTest, ACursorThatCannotBeOpenedIsAnEmptyTable) {
  Store({"0 10.1.0.0/16 via 10.0.0.1"});
  fake.FailCall(1);
  reader->ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(reader->ipv4_count(), 0U);
  EXPECT_TRUE(reader->ipv4_read());
}

TEST_F(StaticRouteConfigTest, ACursorThatCannotAdvanceEndsTheTable) {
  Store({"0 10.1.0.0/16 via 10.0.0.1", "0 10.2.0.0/16 via 10.0.0.2"});
  fake.FailCall(6);
  reader->ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(fake.calls()[5].name, "maapi_get_next");
  EXPECT_EQ(reader->ipv4_count(), 1U);
  EXPECT_NE(NextHop("global", "10.0.0.1"), nullptr);
}

// ---- Counters and families --------------------------------------------------

class CountTest : public StaticRouteConfigTest {
 protected:
  void SetUp() override {
    StaticRouteConfigTest::SetUp();
    Store({"0 10.1.0.0/16 via 10.0.0.1 by four1",
           "0 2001:db8:1::/48 via 2001:db8::1 by six1",
           "0 10.2.0.0/16 via 10.0.0.2 by four2",
           "0 10.3.0.0/16 via 0.0.0.0 by four3",
           "0 2001:db8:2::/48 via 2001:db8::2 by six2"});
  }
};

TEST_F(CountTest, EachReadCountsTheWholeTableAndFilesItsFamily) {
  for (const auto& [ipv4, ipv6] :
       {std::pair(true, false), std::pair(false, true),
        std::pair(true, true)}) {
    StartReader();
    if (ipv4) reader->ReadConfigIfNeeded(kIpv4);
    if (ipv6) reader->ReadConfigIfNeeded(kIpv6);
    EXPECT_EQ(reader->ipv4_count(), 3U);
    EXPECT_EQ(reader->ipv6_count(), 2U);
    EXPECT_EQ(NextHop("global", "10.0.0.1") != nullptr, ipv4);
    EXPECT_EQ(NextHop("global", "10.0.0.2") != nullptr, ipv4);
    EXPECT_EQ(NextHop("global", "2001:db8::1") != nullptr, ipv6);
    EXPECT_EQ(NextHop("global", "2001:db8::2") != nullptr, ipv6);
    EXPECT_EQ(reader->FindOutputInterface("fo r1"), ipv4);
    EXPECT_EQ(reader->FindOutputInterface("si 1"), ipv6);
  }
}

TEST_F(CountTest, TheCountersAreThoseOfTheLastReadOfEitherFamily) {
  reader->ReadConfigIfNeeded(kIpv4);
  Store({"0 10.4.0.0/16 via 10.0.0.4", "0 2001:db8:3::/48 via 2001:db8::3"});
  reader->ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(reader->ipv4_count(), 3U);
  reader->ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(reader->ipv4_count(), 4U);
  EXPECT_EQ(reader->ipv6_count(), 3U);
  EXPECT_EQ(NextHop("global", "10.0.0.4"), nullptr);
  EXPECT_NE(NextHop("global", "2001:db8::3"), nullptr);
}

TEST_F(CountTest, BlackHolesAndRowsWithOneKeyCountToo) {
  Store({"0 10.1.0.0/16 via 10.0.0.1", "0 10.3.0.0/16 via 0.0.0.0",
         "0 2001:db8:4::/48 via ::"});
  reader->ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(reader->ipv4_count(), 5U);
  EXPECT_EQ(reader->ipv6_count(), 3U);
}

TEST_F(StaticRouteConfigTest, SkipsRowsOfAnyOtherAddressType) {
  const auto keys = RouteFrom("0 10.1.0.0/16 via 10.0.0.1 by eth0").keys();
  for (const std::int32_t type : {-1, 0, 3, 4, 16, 2147483647}) {
    StoreWith(keys, kType, Enum(type));
  }
  Read();
  EXPECT_EQ(reader->ipv4_count(), 0U);
  EXPECT_EQ(reader->ipv6_count(), 0U);
  EXPECT_EQ(NextHop("global", "10.0.0.1"), nullptr);
  EXPECT_FALSE(reader->FindOutputInterface(""));
  EXPECT_TRUE(fake.faults().empty());
}

// ---- Routes by next hop -----------------------------------------------------

TEST_F(StaticRouteConfigTest, FindsARouteByItsNextHop) {
  Read({"1 10.1.0.0/16 via 10.0.0.1 by eth0/1",
        "0 2001:db8:1::/48 via fe80::1 by eth0/2"});
  EXPECT_EQ(TextOf(NextHop("a", "10.0.0.1")),
            "a 10.1.0.0/16 via 10.0.0.1 by 'et 0/1'");
  EXPECT_EQ(TextOf(NextHop("global", "fe80::1")),
            "global 2001:db8:1::/48 via fe80::1 by 'et 0/2'");
}

// Neither the longest prefix nor a range: the address itself.
TEST_F(StaticRouteConfigTest, FindsThatNextHopOfThatVrfOnly) {
  Read({"1 10.1.0.0/16 via 10.0.0.1", "1 2001:db8:1::/48 via fe80::1"});
  for (const char* vrf : {"b", "global", "", "A", "a ", "aa"}) {
    EXPECT_EQ(NextHop(vrf, "10.0.0.1"), nullptr) << vrf;
    EXPECT_EQ(NextHop(vrf, "fe80::1"), nullptr) << vrf;
  }
  for (const char* address : {"10.0.0.0", "10.0.0.2", "10.1.0.0", "0.0.0.0",
                              "fe80::", "fe80::2", "2001:db8:1::", "::"}) {
    EXPECT_EQ(NextHop("a", address), nullptr) << address;
  }
}

TEST_F(StaticRouteConfigTest, OfTwoRoutesByOneNextHopFindsTheOneReadFirst) {
  Read({"1 10.2.0.0/16 via 10.0.0.1", "1 10.1.0.0/16 via 10.0.0.1",
        "1 2001:db8:2::/48 via fe80::1", "1 2001:db8:1::/48 via fe80::1"});
  EXPECT_EQ(NextHop("a", "10.0.0.1")->network().to_string(), "10.2.0.0/16");
  EXPECT_EQ(NextHop("a", "fe80::1")->network().to_string(), "2001:db8:2::/48");
}

TEST_F(StaticRouteConfigTest, OneNextHopInTwoVrfsIsTwoRoutes) {
  Read({"1 10.1.0.0/16 via 10.0.0.1", "2 10.2.0.0/16 via 10.0.0.1"});
  EXPECT_EQ(NextHop("a", "10.0.0.1")->network().to_string(), "10.1.0.0/16");
  EXPECT_EQ(NextHop("b", "10.0.0.1")->network().to_string(), "10.2.0.0/16");
}

// The second route to a prefix is not filed by prefix, but by its next hop.
TEST_F(StaticRouteConfigTest, EveryNextHopOfOnePrefixIsFound) {
  Read({"1 10.1.0.0/16 via 10.0.0.2", "1 10.1.0.0/16 via 10.0.0.1"});
  EXPECT_NE(NextHop("a", "10.0.0.1"), nullptr);
  EXPECT_NE(NextHop("a", "10.0.0.2"), nullptr);
}

TEST_F(StaticRouteConfigTest, ABlackHoleHasNoNextHop) {
  Read({"0 10.1.0.0/16 via 0.0.0.0", "0 2001:db8:1::/48 via ::"});
  EXPECT_EQ(NextHop("global", "0.0.0.0"), nullptr);
  EXPECT_EQ(NextHop("global", "::"), nullptr);
}

TEST_F(StaticRouteConfigTest, AFoundRouteTakesThePlaceOfTheOneHeld) {
  Read({"1 10.1.0.0/16 via 10.0.0.1", "1 10.1.0.0/16 via 0.0.0.0"});
  for (const bool by_next_hop : {true, false}) {
    Route route = SomeRoute();
    const std::weak_ptr<StaticRoute> before = route;
    EXPECT_TRUE(by_next_hop
                    ? reader->FindNextHop({"a", Addr4("10.0.0.1")}, route)
                    : reader->CheckBlackHoleIpv4(route));
    EXPECT_EQ(TextOf(route), "a 10.1.0.0/16 via 10.0.0.1 by ''");
    EXPECT_TRUE(before.expired());
    EXPECT_EQ(NextHop("a", "10.0.0.1"), route);
  }
}

TEST_F(StaticRouteConfigTest, AMissLeavesTheHeldRouteAlone) {
  Read({"1 10.1.0.0/16 via 10.0.0.1", "1 10.3.0.0/16 via 0.0.0.0",
        "1 2001:db8:1::/48 via fe80::1", "1 2001:db8:3::/48 via ::"});
  const Route held = SomeRoute();
  Route route = held;
  EXPECT_FALSE(reader->FindNextHop({"b", Addr4("10.0.0.1")}, route));
  EXPECT_EQ(route, held);
  EXPECT_FALSE(reader->FindNextHop({"b", Addr6("fe80::1")}, route));
  EXPECT_EQ(route, held);
  EXPECT_FALSE(reader->CheckBlackHoleIpv4(route));
  EXPECT_EQ(route, held);
  EXPECT_FALSE(reader->CheckBlackHoleIpv6(route));
  EXPECT_EQ(route, held);
}

TEST_F(StaticRouteConfigTest, AFoundRouteOutlivesItsReader) {
  Read({"1 10.1.0.0/16 via 10.0.0.1"});
  const Route route = NextHop("a", "10.0.0.1");
  EXPECT_GT(route.use_count(), 1);
  reader.reset();
  EXPECT_EQ(route.use_count(), 1);
  EXPECT_EQ(TextOf(route), "a 10.1.0.0/16 via 10.0.0.1 by ''");
}

// ---- Black holes ------------------------------------------------------------

TEST_F(StaticRouteConfigTest, FindsAPrefixThatIsABlackHoleAndHasANextHop) {
  Store({"1 10.1.0.0/16 via 0.0.0.0 by eth1",
         "1 10.1.0.0/16 via 10.0.0.1 by eth2",
         "1 2001:db8:1::/48 via fe80::1 by eth4",
         "1 2001:db8:1::/48 via :: by eth3"});
  reader->ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(TextOf(BlackHole4()), "a 10.1.0.0/16 via 10.0.0.1 by 'et 2'");
  EXPECT_EQ(BlackHole6(), nullptr);
  reader->ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(TextOf(BlackHole6()), "a 2001:db8:1::/48 via fe80::1 by 'et 4'");
  EXPECT_EQ(BlackHole4(), NextHop("a", "10.0.0.1"));
  EXPECT_EQ(BlackHole6(), NextHop("a", "fe80::1"));
}

TEST_F(StaticRouteConfigTest, ABlackHoleOfAnotherVrfOrPrefixIsNoConflict) {
  Read({"1 10.1.0.0/16 via 0.0.0.0", "2 10.1.0.0/16 via 10.0.0.1",
        "1 10.1.0.0/17 via 10.0.0.1", "1 10.1.0.1/16 via 10.0.0.2",
        "1 2001:db8:1::/48 via ::", "2 2001:db8:1::/48 via fe80::1",
        "1 2001:db8:1::/49 via fe80::1"});
  EXPECT_EQ(BlackHole4(), nullptr);
  EXPECT_EQ(BlackHole6(), nullptr);
}

TEST_F(StaticRouteConfigTest, BlackHolesAloneAreNoConflict) {
  Read({"1 10.1.0.0/16 via 0.0.0.0", "1 10.1.0.0/16 via 0.0.0.0",
        "1 2001:db8:1::/48 via ::"});
  EXPECT_EQ(BlackHole4(), nullptr);
  EXPECT_EQ(BlackHole6(), nullptr);
}

TEST_F(StaticRouteConfigTest,
       OfSeveralNextHopsABlackHoleYieldsTheOneReadFirst) {
  Read({"1 10.1.0.0/16 via 10.0.0.9", "1 10.1.0.0/16 via 0.0.0.0",
        "1 10.1.0.0/16 via 10.0.0.1", "1 2001:db8:1::/48 via fe80::9",
        "1 2001:db8:1::/48 via fe80::1", "1 2001:db8:1::/48 via ::"});
  EXPECT_EQ(BlackHole4()->next_hop().to_string(), "10.0.0.9");
  EXPECT_EQ(BlackHole6()->next_hop().to_string(), "fe80::9");
}

TEST_F(StaticRouteConfigTest, OfSeveralConflictsTheFirstByVrfAndPrefixIsFound) {
  Read({"2 10.1.0.0/16 via 10.0.0.1", "2 10.1.0.0/16 via 0.0.0.0",
        "1 10.9.0.0/16 via 10.0.0.2", "1 10.9.0.0/16 via 0.0.0.0",
        "1 9.9.0.0/24 via 10.0.0.3", "1 9.9.0.0/24 via 0.0.0.0",
        "1 9.9.0.0/16 via 10.0.0.4", "1 9.9.0.0/16 via 0.0.0.0",
        "1 9.8.0.0/16 via 0.0.0.0", "2 2001:db8:1::/48 via fe80::1",
        "2 2001:db8:1::/48 via ::", "1 2001:db8:9::/48 via fe80::2",
        "1 2001:db8:9::/48 via ::"});
  EXPECT_EQ(TextOf(BlackHole4()), "a 9.9.0.0/16 via 10.0.0.4 by ''");
  EXPECT_EQ(TextOf(BlackHole6()), "a 2001:db8:9::/48 via fe80::2 by ''");
}

// ---- Output interfaces ------------------------------------------------------

TEST_F(StaticRouteConfigTest, KnowsTheOutputInterfacesOfRoutesWithANextHop) {
  Read({"1 10.1.0.0/16 via 10.0.0.1 by eth1",
        "1 10.2.0.0/16 via 0.0.0.0 by eth2",
        "1 2001:db8:1::/48 via fe80::1 by eth3",
        "1 2001:db8:2::/48 via :: by eth4", "1 10.3.0.0/16 via 0.0.0.0"});
  EXPECT_TRUE(reader->FindOutputInterface("et 1"));
  EXPECT_FALSE(reader->FindOutputInterface("et 2"));
  EXPECT_TRUE(reader->FindOutputInterface("et 3"));
  EXPECT_FALSE(reader->FindOutputInterface("et 4"));
  EXPECT_FALSE(reader->FindOutputInterface(""));
}

TEST_F(StaticRouteConfigTest, KnowsAnOutputInterfaceByItsExactNameOnly) {
  Read({"1 10.1.0.0/16 via 10.0.0.1 by eth0/1"});
  EXPECT_TRUE(reader->FindOutputInterface("et 0/1"));
  for (const char* name :
       {"eth0/1", "et 0/", "et 0/1 ", "ET 0/1", "et 0/10", ""}) {
    EXPECT_FALSE(reader->FindOutputInterface(name)) << name;
  }
}

TEST_F(StaticRouteConfigTest, ARouteWithoutANameLeavesByTheEmptyName) {
  Read({"1 10.1.0.0/16 via 10.0.0.1"});
  EXPECT_TRUE(reader->FindOutputInterface(""));
}

// Both are filed nowhere else: their prefix and their next hop were met before.
TEST_F(StaticRouteConfigTest, KnowsTheInterfaceOfARouteThatIsFiledNowhereElse) {
  Read({"1 10.1.0.0/16 via 10.0.0.1 by eth1",
        "1 10.1.0.0/16 via 10.0.0.2 by eth2",
        "1 10.2.0.0/16 via 10.0.0.1 by eth3"});
  EXPECT_TRUE(reader->FindOutputInterface("et 2"));
  EXPECT_TRUE(reader->FindOutputInterface("et 3"));
}

// ---- The name of an output interface ----------------------------------------

class InterfaceNameTest : public StaticRouteConfigTest {
 protected:
  void SetUp() override {
    StaticRouteConfigTest::SetUp();
    row.StoreIn(fake);
  }
  void SetName(const Value& name) {
    fake.SetValue(row.interface_name_path(), name);
  }

  StaticRouteRow row = RouteFrom("0 10.1.0.0/16 via 10.0.0.1 by eth1");
};

TEST_F(InterfaceNameTest, HasABlankForItsThirdCharacter) {
  const std::pair<std::string, std::string> cases[] = {
      {"ab", "ab "},
      {"abc", "ab "},
      {"l3-core1", "l3 core1"},
      {"l3 core1", "l3 core1"},
      {"eth0/1", "et 0/1"},
      {std::string("eth0\0x", 6), "et 0"},
      {std::string("ab\0cd", 5), "ab "},
      {std::string(1000, 'n'), "nn " + std::string(997, 'n')}};
  for (const auto& [stored, name] : cases) {
    SetName(Text(stored));
    StartReader();
    Read();
    EXPECT_EQ(NextHop("global", "10.0.0.1")->intf_name(), name);
    EXPECT_TRUE(reader->FindOutputInterface(name));
  }
}

TEST_F(InterfaceNameTest, EndsTheReadWithAnExceptionWhenItIsTooShort) {
  for (const auto family : {kIpv4, kIpv6}) {
    for (const std::string& name :
         {std::string(), std::string("a"), std::string("\0bc", 3),
          std::string("a\0bc", 4)}) {
      SetName(Text(name));
      EXPECT_THROW(reader->ReadConfigIfNeeded(family), std::out_of_range);
      EXPECT_FALSE(reader->ipv4_read());
      EXPECT_FALSE(reader->ipv6_read());
      EXPECT_EQ(fake.open_cursors(), 0U);
      EXPECT_EQ(fake.unfreed_values(), 0U);
    }
  }
}

TEST_F(InterfaceNameTest, IsReadAgainByTheNextCallAfterAnException) {
  const StaticRouteRow bad = RouteFrom("0 10.2.0.0/16 via 10.0.0.2 by x");
  bad.StoreIn(fake);
  EXPECT_THROW(reader->ReadConfigIfNeeded(kIpv4), std::out_of_range);
  fake.SetValue(bad.interface_name_path(), Text("eth2"));
  fake.ForgetCalls();
  reader->ReadConfigIfNeeded(kIpv4);
  EXPECT_FALSE(fake.calls().empty());
  EXPECT_TRUE(reader->ipv4_read());
  EXPECT_EQ(reader->ipv4_count(), 2U);
  EXPECT_NE(NextHop("global", "10.0.0.1"), nullptr);
  EXPECT_EQ(NextHop("global", "10.0.0.2")->intf_name(), "et 2");
}

// Its name is read although it is neither of the family read nor of any.
TEST_F(InterfaceNameTest, ThrowsInARowOfNoFamilyToo) {
  const StaticRouteRow other = RouteFrom("0 10.2.0.0/16 via 10.0.0.2 by x");
  other.AddNameEntry(fake);
  fake.SetValue(other.interface_name_path(), Text("x"));
  StoreWith(other.keys(), kType, Enum(16));
  EXPECT_THROW(reader->ReadConfigIfNeeded(kIpv4), std::out_of_range);
}

// The value is given back also when the read of it failed.
TEST_F(InterfaceNameTest, IsEmptyWhenItCannotBeRead) {
  fake.FailReads(row.interface_name_path());
  Read();
  EXPECT_EQ(NextHop("global", "10.0.0.1")->intf_name(), "");
  EXPECT_TRUE(reader->FindOutputInterface(""));
  const Texts calls = fake.CallTexts();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "confd_free_value()"), 2);
}

TEST_F(InterfaceNameTest, IsReadWhenTheAnswerIsZeroOnly) {
  for (const int answer : {CONFD_ERR, CONFD_EOF}) {
    fake.ForgetCalls();
    fake.FailCall(2, answer);
    EXPECT_EQ(NameOf(row.keys()), "") << answer;
    ASSERT_EQ(fake.calls().size(), 3U);
    EXPECT_EQ(fake.calls()[1].name, "maapi_get_elem");
    EXPECT_EQ(fake.calls()[2].text(), "confd_free_value()");
  }
}

// No answer but 1 says that it is there, nor one above it.
TEST_F(InterfaceNameTest, IsThereWhenTheAnswerIsOneOnly) {
  EXPECT_EQ(NameOf(row.keys()), "et 1");
  for (const int answer : {2, CONFD_ERR, CONFD_EOF}) {
    fake.ForgetCalls();
    fake.FailCall(1, answer);
    EXPECT_EQ(NameOf(row.keys()), "") << answer;
    ASSERT_EQ(fake.calls().size(), 1U);
    EXPECT_EQ(fake.calls()[0].name, "maapi_exists");
  }
}

TEST_F(InterfaceNameTest, IsEmptyWhenItsExistenceCannotBeTold) {
  fake.FailExists(row.interface_name_path());
  reader->ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(NextHop("global", "10.0.0.1")->intf_name(), "");
}

// ---- The path of that name --------------------------------------------------

class NamePathTest : public StaticRouteConfigTest {
 protected:
  // `keys` stands between the braces.
  static Texts ExistsOf(const std::string& keys) {
    return {"maapi_exists(/rtmStaticRtEntry-global{" + keys +
            "}/interface-name)"};
  }
};

TEST_F(NamePathTest, IsMadeOfTheRowsKeys) {
  EXPECT_EQ(NameOf(RouteFrom("0 10.1.0.0/24 via 192.168.1.1").keys()), "");
  EXPECT_EQ(fake.CallTexts(), ExistsOf(" 0 0a:01:00:00 24 c0:a8:01:01 "));
  EXPECT_EQ(fake.calls()[0].format, fake.calls()[0].args);
}

TEST_F(NamePathTest, OfAnIpv6RowHasSixteenOctets) {
  NameOf(RouteFrom("4294967295 2001:db8::/32 via fe80::1").keys());
  EXPECT_EQ(fake.CallTexts(),
            ExistsOf(" 4294967295 "
                     "20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:00:00 32 "
                     "fe:80:00:00:00:00:00:00:00:00:00:00:00:00:00:01 "));
}

TEST_F(NamePathTest, PrintsANegativePrefixLengthAsALargeNumber) {
  StaticRouteRow row = RouteFrom("7 10.1.0.0/-1 via 10.0.0.1 by eth1");
  row.StoreIn(fake);
  EXPECT_EQ(NameOf(row.keys()), "et 1");
  const std::string path =
      "/rtmStaticRtEntry-global{ 7 0a:01:00:00 4294967295 0a:00:00:01 "
      "}/interface-name";
  EXPECT_EQ(fake.CallTexts(),
            (Texts{"maapi_exists(" + path + ")", "maapi_get_elem(" + path + ")",
                   "confd_free_value(eth1)"}));
  fake.ForgetCalls();
  row.prefix_len = -2147483647 - 1;
  NameOf(row.keys());
  EXPECT_EQ(fake.CallTexts(),
            ExistsOf(" 7 0a:01:00:00 2147483648 0a:00:00:01 "));
}

TEST_F(NamePathTest, HasNothingForAddressesThatAreNoOctets) {
  auto keys = RouteFrom("0 10.1.0.0/24 via 10.0.0.1").keys();
  keys[kNetwork] = Ipv4("10.1.0.0");
  keys[kNextHop] = Text("10.0.0.1");
  NameOf(keys);
  EXPECT_EQ(fake.CallTexts(), ExistsOf(" 0  24  "));
}

TEST_F(NamePathTest, HasTheNulBehindAddressesWithoutOctets) {
  auto keys = RouteFrom("0 10.1.0.0/0 via 10.0.0.1").keys();
  keys[kNetwork] = Binary("");
  keys[kNextHop] = Binary("");
  NameOf(keys);
  EXPECT_EQ(fake.CallTexts(), ExistsOf(" 0 00 0 00 "));
}

// ---- Odd rows ---------------------------------------------------------------

TEST_F(StaticRouteConfigTest, KeepsThePrefixLengthThatARowHas) {
  Read({"0 10.1.0.0/-1 via 10.0.0.1", "0 10.2.0.0/33 via 10.0.0.2",
        "0 2001:db8::/129 via fe80::1"});
  const std::pair<const char*, const char*> cases[] = {
      {"10.0.0.1", "10.1.0.0/-1"},
      {"10.0.0.2", "10.2.0.0/33"},
      {"fe80::1", "2001:db8::/129"}};
  for (const auto& [next_hop, network] : cases) {
    EXPECT_EQ(NextHop("global", next_hop)->network().to_string(), network);
  }
}

TEST_F(StaticRouteConfigTest, ARowWhoseNextHopIsNoOctetsIsABlackHole) {
  StoreWith(RouteFrom("0 10.1.0.0/16 via 10.0.0.1").keys(), kNextHop,
            Ipv4("10.0.0.1"));
  Read({"0 10.1.0.0/16 via 10.0.0.2"});
  EXPECT_EQ(reader->ipv4_count(), 2U);
  EXPECT_EQ(NextHop("global", "10.0.0.1"), nullptr);
  EXPECT_EQ(BlackHole4(), NextHop("global", "10.0.0.2"));
  EXPECT_NE(BlackHole4(), nullptr);
}

TEST_F(StaticRouteConfigTest, ARowWhoseDestinationIsNoOctetsHasNoPrefix) {
  StoreWith(RouteFrom("0 10.1.0.0/16 via 10.0.0.1").keys(), kNetwork,
            Ipv4("10.1.0.0"));
  Read();
  EXPECT_EQ(NextHop("global", "10.0.0.1")->network().to_string(), "0.0.0.0/0");
}

TEST_F(StaticRouteConfigTest, TheAddressTypeTellsTheFamilyNotTheOctets) {
  StoreWith(RouteFrom("0 2001:db8::/32 via fe80::1").keys(), kType, Enum(1));
  Read();
  EXPECT_EQ(reader->ipv4_count(), 1U);
  EXPECT_EQ(reader->ipv6_count(), 0U);
  EXPECT_EQ(TextOf(NextHop("global", "254.128.0.0")),
            "global 32.1.13.184/32 via 254.128.0.0 by ''");
}

// ---- Wrong types stop the process -------------------------------------------

struct StopCase {
  const char* name;
  std::vector<std::pair<std::size_t, Value>> wrong_keys;
  const char* line;
  const char* expression;
};

class StaticRouteStopTest : public StaticRouteConfigTest,
                            public ::testing::WithParamInterface<StopCase> {
 protected:
  // All of them stand in the report of one function, of the row's name.
  void ExpectStop(const char* line, const char* expression) {
    const std::string report = ReportOf(
        {"src/lib/static_route_config", line,
         "std::__cxx11::string ip_application::config_valid::"
         "StaticRouteConfig::GetIntfNameFromRoute(const maapi_cursor&) const",
         expression});
    for (const auto family : {kIpv4, kIpv6}) {
      EXPECT_EXIT(reader->ReadConfigIfNeeded(family),
                  ::testing::KilledBySignal(SIGABRT), report);
    }
  }
};

constexpr char kNoType[] =
    "(&cursor.keys[kNetworkAddrType])->type == C_ENUM_VALUE";
constexpr char kNoPrefixLen[] =
    "(&cursor.keys[kNetworkPrefixLen])->type == C_INT32";
constexpr char kNoVrf[] = "(&cursor.keys[kFteIndex])->type == C_UINT32";

TEST_P(StaticRouteStopTest, ForAKeyOfAnotherTypeAlsoInALaterRow) {
  Store({"0 10.2.0.0/16 via 10.0.0.1"});
  std::vector<Value> keys = RouteFrom("0 10.1.0.0/16 via 10.0.0.1").keys();
  for (const auto& [index, value] : GetParam().wrong_keys) keys[index] = value;
  fake.AddEntry(kTable, keys);
  ExpectStop(GetParam().line, GetParam().expression);
}

INSTANTIATE_TEST_SUITE_P(
    Keys, StaticRouteStopTest,
    ::testing::Values(
        StopCase{"Type", {{kType, Int32(1)}}, "33", kNoType},
        StopCase{"PrefixLen", {{kPrefixLen, Uint32(16)}}, "94", kNoPrefixLen},
        StopCase{"VrfIdentifier", {{kVrf, Int32(0)}}, "98", kNoVrf},
        StopCase{
            "TheTypeFirst",
            {{kType, Uint32(1)}, {kPrefixLen, Uint32(16)}, {kVrf, Int32(0)}},
            "33",
            kNoType},
        StopCase{"ThePrefixLenBeforeTheVrf",
                 {{kPrefixLen, Uint32(16)}, {kVrf, Int32(0)}},
                 "94",
                 kNoPrefixLen},
        StopCase{"ARowOfNoFamily",
                 {{kType, Enum(16)}, {kPrefixLen, Uint32(16)}},
                 "94",
                 kNoPrefixLen}),
    [](const auto& one) { return one.param.name; });

TEST_F(StaticRouteStopTest, ForAnInterfaceNameThatIsNoText) {
  const StaticRouteRow row = RouteFrom("0 10.1.0.0/16 via 10.0.0.1 by eth1");
  row.StoreIn(fake);
  fake.SetValue(row.interface_name_path(), Binary("eth1"));
  ExpectStop("105", "(&l3_intf_name)->type == C_BUF");
}

TEST_F(StaticRouteStopTest, ForANameOfTheVrfThatIsNoText) {
  Store({"1 10.2.0.0/16 via 10.0.0.1"});
  fake.SetValue("/internal/vrf-config/indexTOstring{1}/vname", Int32(1));
  EXPECT_EXIT(
      reader->ReadConfigIfNeeded(kIpv4), ::testing::KilledBySignal(SIGABRT),
      ReportOf({"src/lib/config.cc", "303",
                "std::__cxx11::string ip_application::config_valid::"
                "GenericConfig::get_vrf_name_from_id(const confd_value_t&) "
                "const",
                "(&vrf)->type == C_BUF"}));
}

// ---- The calls of a read, in order ------------------------------------------

struct CallsCase {
  const char* row;
  const char* vrf_id;
  const char* vrf_name;  // "" for none
  const char* keys;      // between the braces of the name's path
  const char* name;      // "" for none
};

TEST_F(StaticRouteConfigTest, ReadsARowWithTheSameCallsForEitherFamily) {
  const CallsCase cases[] = {
      {"1 10.1.0.0/24 via 192.168.1.1 by eth0/1", "1", "a",
       " 1 0a:01:00:00 24 c0:a8:01:01 ", "eth0/1"},
      {"0 10.1.0.0/24 via 0.0.0.0", "0", "", " 0 0a:01:00:00 24 00:00:00:00 ",
       ""},
      {"2 2001:db8::/32 via 2001:db8::1 by l3-core", "2", "b",
       " 2 20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:00:00 32 "
       "20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:00:01 ",
       "l3-core"},
      {"9 ::/0 via fe80::1", "9", "",
       " 9 00:00:00:00:00:00:00:00:00:00:00:00:00:00:00:00 0 "
       "fe:80:00:00:00:00:00:00:00:00:00:00:00:00:00:01 ",
       ""}};
  const std::string table = std::string("(") + kTable + ")";
  for (const auto& [row, vrf_id, vrf_name, keys, name] : cases) {
    const std::string vrf_path =
        "(/vorplex-internal:internal/vorplex-internal:vrf-config/"
        "indexTOstring{" +
        std::string(vrf_id) + "}/vname)";
    const std::string name_path =
        "(/rtmStaticRtEntry-global{" + std::string(keys) + "}/interface-name)";
    Texts expected = {"maapi_init_cursor" + table, "maapi_get_next" + table,
                      "IdVrfFromComponent(" + std::string(vrf_id) + ")"};
    for (const auto& [path, value] :
         {std::pair(vrf_path, std::string(vrf_name)),
          std::pair(name_path, std::string(name))}) {
      expected.push_back("maapi_exists" + path);
      if (value.empty()) continue;
      expected.push_back("maapi_get_elem" + path);
      expected.push_back("confd_free_value(" + value + ")");
    }
    expected.push_back("maapi_get_next" + table);
    expected.push_back("maapi_destroy_cursor" + table);
    SetUp();
    Store({row});
    for (const auto family : {kIpv4, kIpv6}) {
      fake.ForgetCalls();
      StartReader();
      reader->ReadConfigIfNeeded(family);
      EXPECT_EQ(fake.CallTexts(), expected);
      for (const Call& call : fake.calls()) {
        if (call.format.empty()) continue;
        EXPECT_EQ(call.format, call.args);
        EXPECT_EQ(call.sock, FakePlatform::kSocket) << call.text();
        EXPECT_EQ(call.thandle, FakePlatform::kTransaction) << call.text();
      }
    }
  }
}

TEST_F(StaticRouteConfigTest, ReadsAnEmptyTableWithTheCallsOfTheCursor) {
  reader->ReadConfigIfNeeded(kIpv4);
  const std::string table = kTable;
  EXPECT_EQ(fake.CallTexts(), (Texts{"maapi_init_cursor(" + table + ")",
                                     "maapi_get_next(" + table + ")",
                                     "maapi_destroy_cursor(" + table + ")"}));
}

}  // namespace
}  // namespace ipav::testing
