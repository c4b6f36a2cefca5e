// The reader of the static routes, and what it answers the rules.

#include "include/static_route_config.h"

#include <gtest/gtest.h>

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

class StaticRouteConfigTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    GTEST_FLAG_SET(death_test_style, "fast");
    Bind(reader);
    StoreVrfName(fake, 1, "a");
    StoreVrfName(fake, 2, "b");
  }

  void Bind(StaticRouteConfig& config) {
    config.set_sock(FakePlatform::kSocket);
    config.set_confd_trans(fake.tctx());
  }

  void Store(const std::vector<StaticRouteRow>& rows) {
    for (const StaticRouteRow& row : rows) row.StoreIn(fake);
  }

  // A row of which one key is another value.
  void StoreWith(std::vector<Value> keys, std::size_t index,
                 const Value& value) {
    keys.at(index) = value;
    fake.AddEntry(kTable, std::move(keys));
  }

  Route NextHop4(const std::string& vrf, const std::string& address) const {
    Route route;
    const bool found = reader.FindNextHop({vrf, Addr4(address)}, route);
    EXPECT_EQ(found, route != nullptr);
    return route;
  }

  Route NextHop6(const std::string& vrf, const std::string& address) const {
    Route route;
    const bool found = reader.FindNextHop({vrf, Addr6(address)}, route);
    EXPECT_EQ(found, route != nullptr);
    return route;
  }

  // The name of a row's output interface as the cursor's position gives it.
  std::string NameOf(const std::vector<Value>& keys) const {
    maapi_cursor cursor{};
    for (const Value& key : keys) cursor.keys[cursor.n++] = key.Borrow();
    return reader.GetIntfNameFromRoute(cursor);
  }

  Route BlackHole4() const {
    Route route;
    const bool found = reader.CheckBlackHoleIpv4(route);
    EXPECT_EQ(found, route != nullptr);
    return route;
  }

  Route BlackHole6() const {
    Route route;
    const bool found = reader.CheckBlackHoleIpv6(route);
    EXPECT_EQ(found, route != nullptr);
    return route;
  }

  StaticRouteConfig reader;
};

StaticRouteRow Row(std::uint32_t vrf_id, const std::string& destination,
                   std::int32_t prefix_len, const std::string& next_hop,
                   const std::optional<std::string>& intf = std::nullopt) {
  StaticRouteRow row;
  row.vrf_id = vrf_id;
  row.destination = destination;
  row.prefix_len = prefix_len;
  row.next_hop = next_hop;
  row.interface_name = intf;
  return row;
}

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

TEST(StaticRouteTest, GivesWhatItWasMadeOf) {
  const StaticRouteIPv4 four("eth0", "a", Mask4("10.1.0.0/16"),
                             Addr4("10.0.0.1"));
  EXPECT_EQ(four.intf_name(), "eth0");
  EXPECT_EQ(four.vrf_name(), "a");
  EXPECT_EQ(four.network(), Mask4("10.1.0.0/16"));
  EXPECT_EQ(four.next_hop(), Addr4("10.0.0.1"));
  const StaticRouteIPv6 six("", "global", Mask6("2001:db8::/32"),
                            Addr6("fe80::1"));
  EXPECT_EQ(six.network(), Mask6("2001:db8::/32"));
  EXPECT_EQ(six.next_hop(), Addr6("fe80::1"));
}

TEST(StaticRouteTest, PrintsItsAddressesWithoutItsFamilyBeingKnown) {
  EXPECT_EQ(TextOf(SomeRoute()), "vrf 1.0.0.0/8 via 2.0.0.1 by 'some'");
  const Route six = std::make_shared<StaticRouteIPv6>(
      "some", "vrf", Mask6("2001:db8::/32"), Addr6("fe80::1"));
  EXPECT_EQ(TextOf(six), "vrf 2001:db8::/32 via fe80::1 by 'some'");
}

// ---- No routes --------------------------------------------------------------

TEST_F(StaticRouteConfigTest, ANewReaderHasNoRoutes) {
  EXPECT_EQ(reader.ipv4_count(), 0U);
  EXPECT_EQ(reader.ipv6_count(), 0U);
  EXPECT_FALSE(reader.FindOutputInterface(""));
}

TEST_F(StaticRouteConfigTest, AnEmptyTableAnswersNoToEverything) {
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(reader.ipv4_count(), 0U);
  EXPECT_EQ(reader.ipv6_count(), 0U);
  EXPECT_EQ(NextHop4("global", "0.0.0.0"), nullptr);
  EXPECT_EQ(NextHop4("global", "10.0.0.1"), nullptr);
  EXPECT_EQ(NextHop6("global", "::"), nullptr);
  EXPECT_EQ(NextHop6("global", "2001:db8::1"), nullptr);
  EXPECT_EQ(BlackHole4(), nullptr);
  EXPECT_EQ(BlackHole6(), nullptr);
  EXPECT_FALSE(reader.FindOutputInterface(""));
  EXPECT_FALSE(reader.FindOutputInterface("eth0"));
}

TEST_F(StaticRouteConfigTest, ACursorThatCannotBeOpenedIsAnEmptyTable) {
  Store({Row(0, "10.1.0.0", 16, "10.0.0.1")});
  fake.FailCall(1);
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(reader.ipv4_count(), 0U);
  EXPECT_TRUE(reader.ipv4_read());
}

TEST_F(StaticRouteConfigTest, ACursorThatCannotAdvanceEndsTheTable) {
  Store(
      {Row(0, "10.1.0.0", 16, "10.0.0.1"), Row(0, "10.2.0.0", 16, "10.0.0.2")});
  fake.FailCall(6);
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(fake.calls()[5].name, "maapi_get_next");
  EXPECT_EQ(reader.ipv4_count(), 1U);
  EXPECT_NE(NextHop4("global", "10.0.0.1"), nullptr);
}

// ---- Counters and families --------------------------------------------------

class CountTest : public StaticRouteConfigTest {
 protected:
  void SetUp() override {
    StaticRouteConfigTest::SetUp();
    Store({Row(0, "10.1.0.0", 16, "10.0.0.1", "four1"),
           Row(0, "2001:db8:1::", 48, "2001:db8::1", "six1"),
           Row(0, "10.2.0.0", 16, "10.0.0.2", "four2"),
           Row(0, "10.3.0.0", 16, "0.0.0.0", "four3"),
           Row(0, "2001:db8:2::", 48, "2001:db8::2", "six2")});
  }
};

class CountOfReadsTest
    : public CountTest,
      public ::testing::WithParamInterface<std::pair<bool, bool>> {};

TEST_P(CountOfReadsTest, EachCountsTheWholeTableAndFilesItsFamily) {
  const auto [ipv4, ipv6] = GetParam();
  if (ipv4) reader.ReadConfigIfNeeded(kIpv4);
  if (ipv6) reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(reader.ipv4_count(), 3U);
  EXPECT_EQ(reader.ipv6_count(), 2U);
  EXPECT_EQ(NextHop4("global", "10.0.0.1") != nullptr, ipv4);
  EXPECT_EQ(NextHop4("global", "10.0.0.2") != nullptr, ipv4);
  EXPECT_EQ(NextHop6("global", "2001:db8::1") != nullptr, ipv6);
  EXPECT_EQ(NextHop6("global", "2001:db8::2") != nullptr, ipv6);
  EXPECT_EQ(reader.FindOutputInterface("fo r1"), ipv4);
  EXPECT_EQ(reader.FindOutputInterface("si 1"), ipv6);
}

INSTANTIATE_TEST_SUITE_P(StaticRouteConfigTest, CountOfReadsTest,
                         ::testing::Values(std::pair<bool, bool>(true, false),
                                           std::pair<bool, bool>(false, true),
                                           std::pair<bool, bool>(true, true)));

TEST_F(CountTest, TheCountersAreThoseOfTheLastReadOfEitherFamily) {
  reader.ReadConfigIfNeeded(kIpv4);
  Store({Row(0, "10.4.0.0", 16, "10.0.0.4"),
         Row(0, "2001:db8:3::", 48, "2001:db8::3")});
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(reader.ipv4_count(), 3U);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(reader.ipv4_count(), 4U);
  EXPECT_EQ(reader.ipv6_count(), 3U);
  EXPECT_EQ(NextHop4("global", "10.0.0.4"), nullptr);
  EXPECT_NE(NextHop6("global", "2001:db8::3"), nullptr);
}

TEST_F(CountTest, BlackHolesAndRowsWithOneKeyCountToo) {
  Store({Row(0, "10.1.0.0", 16, "10.0.0.1"), Row(0, "10.3.0.0", 16, "0.0.0.0"),
         Row(0, "2001:db8:4::", 48, "::")});
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(reader.ipv4_count(), 5U);
  EXPECT_EQ(reader.ipv6_count(), 3U);
}

TEST_F(StaticRouteConfigTest, SkipsRowsOfAnyOtherAddressType) {
  const auto keys = Row(0, "10.1.0.0", 16, "10.0.0.1", "eth0").keys();
  for (const std::int32_t type : {-1, 0, 3, 4, 16, 2147483647}) {
    StoreWith(keys, kType, Enum(type));
  }
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(reader.ipv4_count(), 0U);
  EXPECT_EQ(reader.ipv6_count(), 0U);
  EXPECT_EQ(NextHop4("global", "10.0.0.1"), nullptr);
  EXPECT_FALSE(reader.FindOutputInterface(""));
  EXPECT_TRUE(fake.faults().empty());
}

// ---- Routes by next hop -----------------------------------------------------

TEST_F(StaticRouteConfigTest, FindsARouteByItsNextHop) {
  Store({Row(1, "10.1.0.0", 16, "10.0.0.1", "eth0/1"),
         Row(0, "2001:db8:1::", 48, "fe80::1", "eth0/2")});
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(TextOf(NextHop4("a", "10.0.0.1")),
            "a 10.1.0.0/16 via 10.0.0.1 by 'et 0/1'");
  EXPECT_EQ(TextOf(NextHop6("global", "fe80::1")),
            "global 2001:db8:1::/48 via fe80::1 by 'et 0/2'");
}

TEST_F(StaticRouteConfigTest, FindsTheNextHopOfThatVrfOnly) {
  Store({Row(1, "10.1.0.0", 16, "10.0.0.1"),
         Row(1, "2001:db8:1::", 48, "fe80::1")});
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  for (const char* vrf : {"b", "global", "", "A", "a ", "aa"}) {
    EXPECT_EQ(NextHop4(vrf, "10.0.0.1"), nullptr) << vrf;
    EXPECT_EQ(NextHop6(vrf, "fe80::1"), nullptr) << vrf;
  }
}

// Neither the longest prefix nor a range: the address itself.
TEST_F(StaticRouteConfigTest, FindsThatNextHopOnly) {
  Store({Row(1, "10.1.0.0", 16, "10.0.0.1"),
         Row(1, "2001:db8:1::", 48, "fe80::1")});
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  for (const char* address : {"10.0.0.0", "10.0.0.2", "10.1.0.0", "0.0.0.0"}) {
    EXPECT_EQ(NextHop4("a", address), nullptr) << address;
  }
  for (const char* address : {"fe80::", "fe80::2", "2001:db8:1::", "::"}) {
    EXPECT_EQ(NextHop6("a", address), nullptr) << address;
  }
}

TEST_F(StaticRouteConfigTest, OfTwoRoutesByOneNextHopFindsTheOneReadFirst) {
  Store({Row(1, "10.2.0.0", 16, "10.0.0.1"), Row(1, "10.1.0.0", 16, "10.0.0.1"),
         Row(1, "2001:db8:2::", 48, "fe80::1"),
         Row(1, "2001:db8:1::", 48, "fe80::1")});
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(NextHop4("a", "10.0.0.1")->network().to_string(), "10.2.0.0/16");
  EXPECT_EQ(NextHop6("a", "fe80::1")->network().to_string(), "2001:db8:2::/48");
}

TEST_F(StaticRouteConfigTest, OneNextHopInTwoVrfsIsTwoRoutes) {
  Store(
      {Row(1, "10.1.0.0", 16, "10.0.0.1"), Row(2, "10.2.0.0", 16, "10.0.0.1")});
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(NextHop4("a", "10.0.0.1")->network().to_string(), "10.1.0.0/16");
  EXPECT_EQ(NextHop4("b", "10.0.0.1")->network().to_string(), "10.2.0.0/16");
}

// The second route to a prefix is not filed by prefix, but by its next hop.
TEST_F(StaticRouteConfigTest, EveryNextHopOfOnePrefixIsFound) {
  Store(
      {Row(1, "10.1.0.0", 16, "10.0.0.2"), Row(1, "10.1.0.0", 16, "10.0.0.1")});
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_NE(NextHop4("a", "10.0.0.1"), nullptr);
  EXPECT_NE(NextHop4("a", "10.0.0.2"), nullptr);
}

TEST_F(StaticRouteConfigTest, ABlackHoleHasNoNextHop) {
  Store({Row(0, "10.1.0.0", 16, "0.0.0.0"), Row(0, "2001:db8:1::", 48, "::")});
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(NextHop4("global", "0.0.0.0"), nullptr);
  EXPECT_EQ(NextHop6("global", "::"), nullptr);
}

TEST_F(StaticRouteConfigTest, AFoundRouteTakesThePlaceOfTheOneHeld) {
  Store({Row(1, "10.1.0.0", 16, "10.0.0.1")});
  reader.ReadConfigIfNeeded(kIpv4);
  Route route = SomeRoute();
  const std::weak_ptr<StaticRoute> before = route;
  EXPECT_TRUE(reader.FindNextHop({"a", Addr4("10.0.0.1")}, route));
  EXPECT_EQ(TextOf(route), "a 10.1.0.0/16 via 10.0.0.1 by ''");
  EXPECT_TRUE(before.expired());
  EXPECT_EQ(NextHop4("a", "10.0.0.1"), route);
}

TEST_F(StaticRouteConfigTest, AMissLeavesTheHeldRouteAlone) {
  Store({Row(1, "10.1.0.0", 16, "10.0.0.1"), Row(1, "10.3.0.0", 16, "0.0.0.0"),
         Row(1, "2001:db8:1::", 48, "fe80::1"),
         Row(1, "2001:db8:3::", 48, "::")});
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  const Route held = SomeRoute();
  Route route = held;
  EXPECT_FALSE(reader.FindNextHop({"b", Addr4("10.0.0.1")}, route));
  EXPECT_EQ(route, held);
  EXPECT_FALSE(reader.FindNextHop({"b", Addr6("fe80::1")}, route));
  EXPECT_EQ(route, held);
  EXPECT_FALSE(reader.CheckBlackHoleIpv4(route));
  EXPECT_EQ(route, held);
  EXPECT_FALSE(reader.CheckBlackHoleIpv6(route));
  EXPECT_EQ(route, held);
}

TEST_F(StaticRouteConfigTest, AFoundRouteOutlivesItsReader) {
  Store({Row(1, "10.1.0.0", 16, "10.0.0.1")});
  Route route;
  {
    StaticRouteConfig shortlived;
    Bind(shortlived);
    shortlived.ReadConfigIfNeeded(kIpv4);
    ASSERT_TRUE(shortlived.FindNextHop({"a", Addr4("10.0.0.1")}, route));
    EXPECT_GT(route.use_count(), 1);
  }
  EXPECT_EQ(route.use_count(), 1);
  EXPECT_EQ(TextOf(route), "a 10.1.0.0/16 via 10.0.0.1 by ''");
}

// ---- Black holes ------------------------------------------------------------

TEST_F(StaticRouteConfigTest, FindsAPrefixThatIsABlackHoleAndHasANextHop) {
  Store({Row(1, "10.1.0.0", 16, "0.0.0.0", "eth1"),
         Row(1, "10.1.0.0", 16, "10.0.0.1", "eth2"),
         Row(1, "2001:db8:1::", 48, "fe80::1", "eth4"),
         Row(1, "2001:db8:1::", 48, "::", "eth3")});
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(TextOf(BlackHole4()), "a 10.1.0.0/16 via 10.0.0.1 by 'et 2'");
  EXPECT_EQ(BlackHole6(), nullptr);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(TextOf(BlackHole6()), "a 2001:db8:1::/48 via fe80::1 by 'et 4'");
  EXPECT_EQ(BlackHole4(), NextHop4("a", "10.0.0.1"));
  EXPECT_EQ(BlackHole6(), NextHop6("a", "fe80::1"));
}

TEST_F(StaticRouteConfigTest, ABlackHoleOfAnotherVrfIsNoConflict) {
  Store({Row(1, "10.1.0.0", 16, "0.0.0.0"), Row(2, "10.1.0.0", 16, "10.0.0.1"),
         Row(1, "2001:db8:1::", 48, "::"),
         Row(2, "2001:db8:1::", 48, "fe80::1")});
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(BlackHole4(), nullptr);
  EXPECT_EQ(BlackHole6(), nullptr);
}

TEST_F(StaticRouteConfigTest, ABlackHoleOfAnotherPrefixIsNoConflict) {
  Store({Row(1, "10.1.0.0", 16, "0.0.0.0"), Row(1, "10.1.0.0", 17, "10.0.0.1"),
         Row(1, "10.1.0.1", 16, "10.0.0.2"), Row(1, "2001:db8:1::", 48, "::"),
         Row(1, "2001:db8:1::", 49, "fe80::1")});
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(BlackHole4(), nullptr);
  EXPECT_EQ(BlackHole6(), nullptr);
}

TEST_F(StaticRouteConfigTest, BlackHolesAloneAreNoConflict) {
  Store({Row(1, "10.1.0.0", 16, "0.0.0.0"), Row(1, "10.1.0.0", 16, "0.0.0.0"),
         Row(1, "2001:db8:1::", 48, "::")});
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(BlackHole4(), nullptr);
  EXPECT_EQ(BlackHole6(), nullptr);
}

TEST_F(StaticRouteConfigTest,
       OfSeveralNextHopsABlackHoleYieldsTheOneReadFirst) {
  Store({Row(1, "10.1.0.0", 16, "10.0.0.9"), Row(1, "10.1.0.0", 16, "0.0.0.0"),
         Row(1, "10.1.0.0", 16, "10.0.0.1"),
         Row(1, "2001:db8:1::", 48, "fe80::9"),
         Row(1, "2001:db8:1::", 48, "fe80::1"),
         Row(1, "2001:db8:1::", 48, "::")});
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(BlackHole4()->next_hop().to_string(), "10.0.0.9");
  EXPECT_EQ(BlackHole6()->next_hop().to_string(), "fe80::9");
}

TEST_F(StaticRouteConfigTest, OfSeveralConflictsTheFirstByVrfAndPrefixIsFound) {
  const std::vector<StaticRouteRow> rows = {
      Row(2, "10.1.0.0", 16, "10.0.0.1"), Row(2, "10.1.0.0", 16, "0.0.0.0"),
      Row(1, "10.9.0.0", 16, "10.0.0.2"), Row(1, "10.9.0.0", 16, "0.0.0.0"),
      Row(1, "9.9.0.0", 24, "10.0.0.3"),  Row(1, "9.9.0.0", 24, "0.0.0.0"),
      Row(1, "9.9.0.0", 16, "10.0.0.4"),  Row(1, "9.9.0.0", 16, "0.0.0.0"),
      Row(1, "9.8.0.0", 16, "0.0.0.0")};
  Store(rows);
  Store({Row(2, "2001:db8:1::", 48, "fe80::1"),
         Row(2, "2001:db8:1::", 48, "::"),
         Row(1, "2001:db8:9::", 48, "fe80::2"),
         Row(1, "2001:db8:9::", 48, "::")});
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(TextOf(BlackHole4()), "a 9.9.0.0/16 via 10.0.0.4 by ''");
  EXPECT_EQ(TextOf(BlackHole6()), "a 2001:db8:9::/48 via fe80::2 by ''");
}

TEST_F(StaticRouteConfigTest, AConflictTakesThePlaceOfTheRouteHeld) {
  Store(
      {Row(1, "10.1.0.0", 16, "0.0.0.0"), Row(1, "10.1.0.0", 16, "10.0.0.1")});
  reader.ReadConfigIfNeeded(kIpv4);
  Route route = SomeRoute();
  const std::weak_ptr<StaticRoute> before = route;
  EXPECT_TRUE(reader.CheckBlackHoleIpv4(route));
  EXPECT_TRUE(before.expired());
  EXPECT_EQ(route, NextHop4("a", "10.0.0.1"));
}

// ---- Output interfaces ------------------------------------------------------

TEST_F(StaticRouteConfigTest, KnowsTheOutputInterfacesOfRoutesWithANextHop) {
  Store({Row(1, "10.1.0.0", 16, "10.0.0.1", "eth1"),
         Row(1, "10.2.0.0", 16, "0.0.0.0", "eth2"),
         Row(1, "2001:db8:1::", 48, "fe80::1", "eth3"),
         Row(1, "2001:db8:2::", 48, "::", "eth4")});
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_TRUE(reader.FindOutputInterface("et 1"));
  EXPECT_FALSE(reader.FindOutputInterface("et 2"));
  EXPECT_TRUE(reader.FindOutputInterface("et 3"));
  EXPECT_FALSE(reader.FindOutputInterface("et 4"));
}

TEST_F(StaticRouteConfigTest, KnowsAnOutputInterfaceByItsExactNameOnly) {
  Store({Row(1, "10.1.0.0", 16, "10.0.0.1", "eth0/1")});
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_TRUE(reader.FindOutputInterface("et 0/1"));
  for (const char* name :
       {"eth0/1", "et 0/", "et 0/1 ", "ET 0/1", "et 0/10", ""}) {
    EXPECT_FALSE(reader.FindOutputInterface(name)) << name;
  }
}

TEST_F(StaticRouteConfigTest, ARouteWithoutANameLeavesByTheEmptyName) {
  Store({Row(1, "10.1.0.0", 16, "10.0.0.1")});
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_TRUE(reader.FindOutputInterface(""));
}

TEST_F(StaticRouteConfigTest, ABlackHoleWithoutANameLeavesByNothing) {
  Store({Row(1, "10.1.0.0", 16, "0.0.0.0")});
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_FALSE(reader.FindOutputInterface(""));
}

// Both are filed nowhere else: their prefix and their next hop were met before.
TEST_F(StaticRouteConfigTest, KnowsTheInterfaceOfARouteThatIsFiledNowhereElse) {
  Store({Row(1, "10.1.0.0", 16, "10.0.0.1", "eth1"),
         Row(1, "10.1.0.0", 16, "10.0.0.2", "eth2"),
         Row(1, "10.2.0.0", 16, "10.0.0.1", "eth3")});
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_TRUE(reader.FindOutputInterface("et 2"));
  EXPECT_TRUE(reader.FindOutputInterface("et 3"));
}

// ---- The name of an output interface ----------------------------------------

struct NameCase {
  std::string stored;
  std::string name;
};

class InterfaceNameTest : public StaticRouteConfigTest,
                          public ::testing::WithParamInterface<NameCase> {};

TEST_P(InterfaceNameTest, HasABlankForItsThirdCharacter) {
  Store({Row(0, "10.1.0.0", 16, "10.0.0.1", GetParam().stored)});
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(NextHop4("global", "10.0.0.1")->intf_name(), GetParam().name);
  EXPECT_TRUE(reader.FindOutputInterface(GetParam().name));
}

INSTANTIATE_TEST_SUITE_P(
    Names, InterfaceNameTest,
    ::testing::Values(NameCase{"ab", "ab "}, NameCase{"abc", "ab "},
                      NameCase{"l3-core1", "l3 core1"},
                      NameCase{"l3 core1", "l3 core1"},
                      NameCase{"eth0/1", "et 0/1"},
                      NameCase{std::string("eth0\0x", 6), "et 0"},
                      NameCase{std::string("ab\0cd", 5), "ab "},
                      NameCase{std::string(1000, 'n'),
                               "nn " + std::string(997, 'n')}));

TEST_F(StaticRouteConfigTest, ANameThatIsTooShortEndsTheReadWithAnException) {
  const Value names[] = {Text(""), Text("a"), Text(std::string("\0bc", 3)),
                         Text(std::string("a\0bc", 4))};
  const StaticRouteRow row = Row(0, "10.1.0.0", 16, "10.0.0.1", "eth1");
  row.StoreIn(fake);
  for (const auto family : {kIpv4, kIpv6}) {
    for (const Value& name : names) {
      fake.SetValue(row.interface_name_path(), name);
      EXPECT_THROW(reader.ReadConfigIfNeeded(family), std::out_of_range);
      EXPECT_FALSE(reader.ipv4_read());
      EXPECT_FALSE(reader.ipv6_read());
      EXPECT_EQ(fake.open_cursors(), 0U);
      EXPECT_EQ(fake.unfreed_values(), 0U);
    }
  }
}

TEST_F(StaticRouteConfigTest, AfterAnExceptionTheNextCallReadsAgain) {
  const StaticRouteRow good = Row(0, "10.1.0.0", 16, "10.0.0.1", "eth1");
  const StaticRouteRow bad = Row(0, "10.2.0.0", 16, "10.0.0.2", "x");
  Store({good, bad});
  EXPECT_THROW(reader.ReadConfigIfNeeded(kIpv4), std::out_of_range);
  fake.SetValue(bad.interface_name_path(), Text("eth2"));
  fake.ForgetCalls();
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_FALSE(fake.calls().empty());
  EXPECT_TRUE(reader.ipv4_read());
  EXPECT_EQ(reader.ipv4_count(), 2U);
  EXPECT_NE(NextHop4("global", "10.0.0.1"), nullptr);
  EXPECT_EQ(NextHop4("global", "10.0.0.2")->intf_name(), "et 2");
}

// Its name is read although it is neither of the family read nor of any.
TEST_F(StaticRouteConfigTest, ANameThatIsTooShortThrowsInARowOfNoFamily) {
  StaticRouteRow row = Row(0, "10.1.0.0", 16, "10.0.0.1", "x");
  row.AddNameEntry(fake);
  fake.SetValue(row.interface_name_path(), Text("x"));
  StoreWith(row.keys(), kType, Enum(16));
  EXPECT_THROW(reader.ReadConfigIfNeeded(kIpv4), std::out_of_range);
}

TEST_F(StaticRouteConfigTest, ANameThatCannotBeReadIsEmpty) {
  const StaticRouteRow row = Row(0, "10.1.0.0", 16, "10.0.0.1", "eth1");
  row.StoreIn(fake);
  fake.FailReads(row.interface_name_path());
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(NextHop4("global", "10.0.0.1")->intf_name(), "");
  EXPECT_TRUE(reader.FindOutputInterface(""));
}

// The value is given back also when the read of it failed.
TEST_F(StaticRouteConfigTest, GivesBackTheValueOfANameThatCannotBeRead) {
  const StaticRouteRow row = Row(0, "10.1.0.0", 16, "10.0.0.1", "eth1");
  row.StoreIn(fake);
  fake.FailReads(row.interface_name_path());
  reader.ReadConfigIfNeeded(kIpv4);
  int given_back = 0;
  for (const Call& call : fake.calls()) {
    if (call.name == "confd_free_value") ++given_back;
  }
  EXPECT_EQ(given_back, 1);
}

TEST_F(StaticRouteConfigTest, ANameIsReadWhenTheAnswerIsZeroOnly) {
  const StaticRouteRow row = Row(0, "10.1.0.0", 16, "10.0.0.1", "eth1");
  row.StoreIn(fake);
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
TEST_F(StaticRouteConfigTest, ANameIsThereWhenTheAnswerIsOneOnly) {
  const StaticRouteRow row = Row(0, "10.1.0.0", 16, "10.0.0.1", "eth1");
  row.StoreIn(fake);
  EXPECT_EQ(NameOf(row.keys()), "et 1");
  for (const int answer : {2, CONFD_ERR, CONFD_EOF}) {
    fake.ForgetCalls();
    fake.FailCall(1, answer);
    EXPECT_EQ(NameOf(row.keys()), "") << answer;
    ASSERT_EQ(fake.calls().size(), 1U);
    EXPECT_EQ(fake.calls()[0].name, "maapi_exists");
  }
}

TEST_F(StaticRouteConfigTest, ANameWhoseExistenceCannotBeToldIsEmpty) {
  const StaticRouteRow row = Row(0, "10.1.0.0", 16, "10.0.0.1", "eth1");
  row.StoreIn(fake);
  fake.FailExists(row.interface_name_path());
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(NextHop4("global", "10.0.0.1")->intf_name(), "");
}

// ---- The path of that name --------------------------------------------------

using NamePathTest = StaticRouteConfigTest;

TEST_F(NamePathTest, IsMadeOfTheRowsKeys) {
  EXPECT_EQ(NameOf(Row(0, "10.1.0.0", 24, "192.168.1.1").keys()), "");
  const std::string path =
      "/rtmStaticRtEntry-global{ 0 0a:01:00:00 24 c0:a8:01:01 }/interface-name";
  EXPECT_EQ(fake.CallTexts(), Texts{"maapi_exists(" + path + ")"});
  EXPECT_EQ(fake.calls()[0].format, path);
}

TEST_F(NamePathTest, OfAnIpv6RowHasSixteenOctets) {
  NameOf(Row(4294967295U, "2001:db8::", 32, "fe80::1").keys());
  EXPECT_EQ(fake.CallTexts(),
            Texts{"maapi_exists(/rtmStaticRtEntry-global{ 4294967295 "
                  "20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:00:00 32 "
                  "fe:80:00:00:00:00:00:00:00:00:00:00:00:00:00:01 "
                  "}/interface-name)"});
}

TEST_F(NamePathTest, PrintsANegativePrefixLengthAsALargeNumber) {
  StaticRouteRow row = Row(7, "10.1.0.0", -1, "10.0.0.1", "eth1");
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
            Texts{"maapi_exists(/rtmStaticRtEntry-global{ 7 0a:01:00:00 "
                  "2147483648 0a:00:00:01 }/interface-name)"});
}

TEST_F(NamePathTest, HasNothingForAddressesThatAreNoOctets) {
  auto keys = Row(0, "10.1.0.0", 24, "10.0.0.1").keys();
  keys[kNetwork] = Ipv4("10.1.0.0");
  keys[kNextHop] = Text("10.0.0.1");
  NameOf(keys);
  EXPECT_EQ(
      fake.CallTexts(),
      Texts{"maapi_exists(/rtmStaticRtEntry-global{ 0  24  }/interface-name)"});
}

TEST_F(NamePathTest, HasTheNulBehindAddressesWithoutOctets) {
  auto keys = Row(0, "10.1.0.0", 0, "10.0.0.1").keys();
  keys[kNetwork] = Binary("");
  keys[kNextHop] = Binary("");
  NameOf(keys);
  EXPECT_EQ(fake.CallTexts(),
            Texts{"maapi_exists(/rtmStaticRtEntry-global{ 0 00 0 00 "
                  "}/interface-name)"});
}

// ---- Odd rows ---------------------------------------------------------------

TEST_F(StaticRouteConfigTest, KeepsThePrefixLengthThatARowHas) {
  Store({Row(0, "10.1.0.0", -1, "10.0.0.1"), Row(0, "10.2.0.0", 33, "10.0.0.2"),
         Row(0, "2001:db8::", 129, "fe80::1")});
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(NextHop4("global", "10.0.0.1")->network().to_string(),
            "10.1.0.0/-1");
  EXPECT_EQ(NextHop4("global", "10.0.0.2")->network().to_string(),
            "10.2.0.0/33");
  EXPECT_EQ(NextHop6("global", "fe80::1")->network().to_string(),
            "2001:db8::/129");
}

TEST_F(StaticRouteConfigTest, ARowWhoseNextHopIsNoOctetsIsABlackHole) {
  StoreWith(Row(0, "10.1.0.0", 16, "10.0.0.1").keys(), kNextHop,
            Ipv4("10.0.0.1"));
  Store({Row(0, "10.1.0.0", 16, "10.0.0.2")});
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(reader.ipv4_count(), 2U);
  EXPECT_EQ(NextHop4("global", "10.0.0.1"), nullptr);
  EXPECT_EQ(BlackHole4(), NextHop4("global", "10.0.0.2"));
  EXPECT_NE(BlackHole4(), nullptr);
}

TEST_F(StaticRouteConfigTest, ARowWhoseDestinationIsNoOctetsHasNoPrefix) {
  StoreWith(Row(0, "10.1.0.0", 16, "10.0.0.1").keys(), kNetwork,
            Ipv4("10.1.0.0"));
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(NextHop4("global", "10.0.0.1")->network().to_string(), "0.0.0.0/0");
}

TEST_F(StaticRouteConfigTest, TheAddressTypeTellsTheFamilyNotTheOctets) {
  StoreWith(Row(0, "2001:db8::", 32, "fe80::1").keys(), kType, Enum(1));
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(reader.ipv4_count(), 1U);
  EXPECT_EQ(reader.ipv6_count(), 0U);
  EXPECT_EQ(TextOf(NextHop4("global", "254.128.0.0")),
            "global 32.1.13.184/32 via 254.128.0.0 by ''");
}

// ---- Wrong types stop the process -------------------------------------------

class StaticRouteStopTest : public StaticRouteConfigTest {
 protected:
  // All of them stand in the report of one function, of the row's name.
  void ExpectStop(const std::string& line, const std::string& expression) {
    const std::string report = ReportOf(
        {"src/lib/static_route_config", line,
         "std::__cxx11::string ip_application::config_valid::"
         "StaticRouteConfig::GetIntfNameFromRoute(const maapi_cursor&) const",
         expression});
    for (const auto family : {kIpv4, kIpv6}) {
      EXPECT_EXIT(reader.ReadConfigIfNeeded(family),
                  ::testing::KilledBySignal(SIGABRT), report);
    }
  }

  std::vector<Value> keys = Row(0, "10.1.0.0", 16, "10.0.0.1").keys();
};

constexpr char kNoType[] =
    "(&cursor.keys[kNetworkAddrType])->type == C_ENUM_VALUE";
constexpr char kNoPrefixLen[] =
    "(&cursor.keys[kNetworkPrefixLen])->type == C_INT32";
constexpr char kNoVrf[] = "(&cursor.keys[kFteIndex])->type == C_UINT32";

TEST_F(StaticRouteStopTest, ForAnAddressTypeThatIsNoEnumeration) {
  StoreWith(keys, kType, Int32(1));
  ExpectStop("33", kNoType);
}

TEST_F(StaticRouteStopTest, ForAPrefixLengthThatIsNoInt32) {
  StoreWith(keys, kPrefixLen, Uint32(16));
  ExpectStop("94", kNoPrefixLen);
}

TEST_F(StaticRouteStopTest, ForAVrfIdentifierThatIsNoUint32) {
  StoreWith(keys, kVrf, Int32(0));
  ExpectStop("98", kNoVrf);
}

TEST_F(StaticRouteStopTest, ForAnInterfaceNameThatIsNoText) {
  const StaticRouteRow row = Row(0, "10.1.0.0", 16, "10.0.0.1", "eth1");
  row.StoreIn(fake);
  fake.SetValue(row.interface_name_path(), Binary("eth1"));
  ExpectStop("105", "(&l3_intf_name)->type == C_BUF");
}

TEST_F(StaticRouteStopTest, ForTheAddressTypeFirst) {
  keys[kPrefixLen] = Uint32(16);
  keys[kVrf] = Int32(0);
  StoreWith(keys, kType, Uint32(1));
  ExpectStop("33", kNoType);
}

TEST_F(StaticRouteStopTest, ForThePrefixLengthBeforeTheVrfIdentifier) {
  keys[kPrefixLen] = Uint32(16);
  StoreWith(keys, kVrf, Int32(0));
  ExpectStop("94", kNoPrefixLen);
}

TEST_F(StaticRouteStopTest, AlsoForARowOfNoFamily) {
  keys[kType] = Enum(16);
  StoreWith(keys, kPrefixLen, Uint32(16));
  ExpectStop("94", kNoPrefixLen);
}

TEST_F(StaticRouteStopTest, AlsoForALaterRow) {
  Store({Row(0, "10.2.0.0", 16, "10.0.0.1")});
  StoreWith(keys, kVrf, Int32(0));
  ExpectStop("98", kNoVrf);
}

TEST_F(StaticRouteStopTest, ForANameOfTheVrfThatIsNoText) {
  Store({Row(1, "10.2.0.0", 16, "10.0.0.1")});
  fake.SetValue("/internal/vrf-config/indexTOstring{1}/vname", Int32(1));
  EXPECT_EXIT(
      reader.ReadConfigIfNeeded(kIpv4), ::testing::KilledBySignal(SIGABRT),
      ReportOf({"src/lib/config.cc", "303",
                "std::__cxx11::string ip_application::config_valid::"
                "GenericConfig::get_vrf_name_from_id(const confd_value_t&) "
                "const",
                "(&vrf)->type == C_BUF"}));
}

// ---- The calls of a read, in order ------------------------------------------

class StaticRouteCallsTest : public StaticRouteConfigTest {
 protected:
  // `row` is what the one row of the table takes.
  void ExpectCalls(ConfigAddrFamily family, const Texts& row) {
    Texts expected = {"maapi_init_cursor(" + std::string(kTable) + ")",
                      "maapi_get_next(" + std::string(kTable) + ")"};
    expected.insert(expected.end(), row.begin(), row.end());
    expected.push_back("maapi_get_next(" + std::string(kTable) + ")");
    expected.push_back("maapi_destroy_cursor(" + std::string(kTable) + ")");
    fake.ForgetCalls();
    reader.ReadConfigIfNeeded(family);
    EXPECT_EQ(fake.CallTexts(), expected);
    ExpectPathsAreFormats();
  }

  void ExpectPathsAreFormats() {
    for (const Call& call : fake.calls()) {
      if (call.format.empty()) continue;
      EXPECT_EQ(call.format, call.args);
      EXPECT_EQ(call.sock, FakePlatform::kSocket) << call.text();
      EXPECT_EQ(call.thandle, FakePlatform::kTransaction) << call.text();
    }
  }

  static std::string VrfPath(const std::string& index) {
    return "/vorplex-internal:internal/vorplex-internal:vrf-config/"
           "indexTOstring{" +
           index + "}/vname)";
  }
};

TEST_F(StaticRouteCallsTest, OfAnIpv4Route) {
  Store({Row(1, "10.1.0.0", 24, "192.168.1.1", "eth0/1")});
  const std::string name =
      "/rtmStaticRtEntry-global{ 1 0a:01:00:00 24 c0:a8:01:01 "
      "}/interface-name)";
  const Texts row = {
      "IdVrfFromComponent(1)",          "maapi_exists(" + VrfPath("1"),
      "maapi_get_elem(" + VrfPath("1"), "confd_free_value(a)",
      "maapi_exists(" + name,           "maapi_get_elem(" + name,
      "confd_free_value(eth0/1)"};
  ExpectCalls(kIpv4, row);
  ExpectCalls(kIpv6, row);
}

TEST_F(StaticRouteCallsTest, OfAnIpv4RouteWithoutVrfNameAndInterface) {
  Store({Row(0, "10.1.0.0", 24, "0.0.0.0")});
  const Texts row = {
      "IdVrfFromComponent(0)", "maapi_exists(" + VrfPath("0"),
      "maapi_exists(/rtmStaticRtEntry-global{ 0 0a:01:00:00 24 00:00:00:00 "
      "}/interface-name)"};
  ExpectCalls(kIpv4, row);
  ExpectCalls(kIpv6, row);
}

TEST_F(StaticRouteCallsTest, OfAnIpv6Route) {
  Store({Row(2, "2001:db8::", 32, "2001:db8::1", "l3-core")});
  const std::string name =
      "/rtmStaticRtEntry-global{ 2 "
      "20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:00:00 32 "
      "20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:00:01 }/interface-name)";
  const Texts row = {
      "IdVrfFromComponent(2)",          "maapi_exists(" + VrfPath("2"),
      "maapi_get_elem(" + VrfPath("2"), "confd_free_value(b)",
      "maapi_exists(" + name,           "maapi_get_elem(" + name,
      "confd_free_value(l3-core)"};
  ExpectCalls(kIpv6, row);
  ExpectCalls(kIpv4, row);
}

TEST_F(StaticRouteCallsTest, OfAnIpv6RouteWithoutVrfNameAndInterface) {
  Store({Row(9, "::", 0, "fe80::1")});
  const Texts row = {
      "IdVrfFromComponent(9)", "maapi_exists(" + VrfPath("9"),
      "maapi_exists(/rtmStaticRtEntry-global{ 9 "
      "00:00:00:00:00:00:00:00:00:00:00:00:00:00:00:00 0 "
      "fe:80:00:00:00:00:00:00:00:00:00:00:00:00:00:01 }/interface-name)"};
  ExpectCalls(kIpv6, row);
  ExpectCalls(kIpv4, row);
}

TEST_F(StaticRouteCallsTest, OfAnEmptyTableAreThoseOfTheCursor) {
  reader.ReadConfigIfNeeded(kIpv4);
  const std::string table = kTable;
  EXPECT_EQ(fake.CallTexts(), (Texts{"maapi_init_cursor(" + table + ")",
                                     "maapi_get_next(" + table + ")",
                                     "maapi_destroy_cursor(" + table + ")"}));
  ExpectPathsAreFormats();
}

// ---- An exception in the middle ---------------------------------------------

TEST_F(StaticRouteConfigTest, AnExceptionLeavesNothingOpenAndTheFamilyUnread) {
  Store({Row(1, "10.1.0.0", 16, "10.0.0.1", "eth1"),
         Row(2, "10.2.0.0", 16, "10.0.0.2")});
  StaticRouteConfig undisturbed;
  Bind(undisturbed);
  undisturbed.ReadConfigIfNeeded(kIpv4);
  const std::vector<Call> calls = fake.calls();
  EXPECT_GT(calls.size(), 10U);
  for (unsigned i = 0; i < calls.size(); ++i) {
    // Destructors make these.
    if (calls[i].name == "confd_free_value") continue;
    if (calls[i].name == "maapi_destroy_cursor") continue;
    SCOPED_TRACE(calls[i].text());
    StaticRouteConfig disturbed;
    Bind(disturbed);
    fake.ThrowAtCall(i + 1);
    EXPECT_THROW(disturbed.ReadConfigIfNeeded(kIpv4), FakeCallError);
    EXPECT_EQ(fake.open_cursors(), 0U);
    EXPECT_EQ(fake.unfreed_values(), 0U);
    EXPECT_FALSE(disturbed.ipv4_read());

    disturbed.ReadConfigIfNeeded(kIpv4);
    EXPECT_TRUE(disturbed.ipv4_read());
    EXPECT_EQ(disturbed.ipv4_count(), 2U);
    Route route;
    EXPECT_TRUE(disturbed.FindNextHop({"a", Addr4("10.0.0.1")}, route));
    EXPECT_TRUE(disturbed.FindNextHop({"b", Addr4("10.0.0.2")}, route));
  }
}

}  // namespace
}  // namespace ipav::testing
