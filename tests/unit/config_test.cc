#include "include/config.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

#include "include/static_route_config.h"
#include "tests/support/builders.h"
#include "tests/support/plugin_test.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::Config;
using ip_application::config_valid::ConfigAddrFamily;
using ip_application::config_valid::GenericConfig;
using ip_application::config_valid::InterfaceConfig;
using ip_application::config_valid::InterfaceType;
using ip_application::config_valid::L3Config;
using ip_application::config_valid::LoConfig;
using ip_application::config_valid::MgmtConfig;

constexpr auto kIpv4 = ConfigAddrFamily::kIpv4;
constexpr auto kIpv6 = ConfigAddrFamily::kIpv6;

TEST(ConfigAddrFamilyTest, HasTheNumbersOfTheFamilies) {
  EXPECT_EQ(static_cast<std::int32_t>(kIpv4), 4);
  EXPECT_EQ(static_cast<std::int32_t>(kIpv6), 6);
  EXPECT_EQ(sizeof(ConfigAddrFamily), 4U);
}

TEST(InterfaceTypeTest, HasTheNumbersOfTheKinds) {
  EXPECT_EQ(static_cast<std::int32_t>(InterfaceType::kMgmt), 0);
  EXPECT_EQ(static_cast<std::int32_t>(InterfaceType::kL3), 1);
  EXPECT_EQ(static_cast<std::int32_t>(InterfaceType::kLoopback), 2);
  EXPECT_EQ(static_cast<std::int32_t>(InterfaceType::kNone), 3);
  EXPECT_EQ(sizeof(InterfaceType), 4U);
}

// ---- The read-once gate ----------------------------------------------------

// Records what it is asked to read, and throws on demand.
class Probe : public GenericConfig {
 public:
  std::vector<ConfigAddrFamily> reads;
  bool fails = false;

 private:
  void ReadConfig(ConfigAddrFamily family) override {
    reads.push_back(family);
    if (fails) throw std::runtime_error("cannot read");
  }
};

TEST(ReadOnceTest, ReadsAFamilyThatIsAskedForTwiceOnce) {
  for (const auto family : {kIpv4, kIpv6}) {
    Probe reader;
    reader.ReadConfigIfNeeded(family);
    reader.ReadConfigIfNeeded(family);
    EXPECT_EQ(reader.reads, std::vector<ConfigAddrFamily>{family});
    EXPECT_EQ(reader.ipv4_read(), family == kIpv4);
    EXPECT_EQ(reader.ipv6_read(), family == kIpv6);
  }
}

TEST(ReadOnceTest, ReadsEachFamilyForItself) {
  Probe reader;
  reader.ReadConfigIfNeeded(kIpv4);
  reader.ReadConfigIfNeeded(kIpv6);
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(reader.reads, (std::vector<ConfigAddrFamily>{kIpv4, kIpv6}));
  EXPECT_TRUE(reader.ipv4_read());
  EXPECT_TRUE(reader.ipv6_read());
}

TEST(ReadOnceTest, ReadsNothingForAnyOtherFamily) {
  Probe reader;
  for (const std::int32_t other : {-1, 0, 3, 5, 7, 46}) {
    reader.ReadConfigIfNeeded(static_cast<ConfigAddrFamily>(other));
  }
  EXPECT_TRUE(reader.reads.empty());
  EXPECT_FALSE(reader.ipv4_read());
  EXPECT_FALSE(reader.ipv6_read());
}

TEST(ReadOnceTest, PassesOnAnExceptionAndReadsAgainAtTheNextCall) {
  for (const auto family : {kIpv4, kIpv6}) {
    Probe reader;
    reader.fails = true;
    try {
      reader.ReadConfigIfNeeded(family);
      ADD_FAILURE() << "the exception did not pass";
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), "cannot read");
    }
    EXPECT_FALSE(reader.ipv4_read());
    EXPECT_FALSE(reader.ipv6_read());

    reader.fails = false;
    reader.ReadConfigIfNeeded(family);
    reader.ReadConfigIfNeeded(family);
    EXPECT_EQ(reader.reads, (std::vector<ConfigAddrFamily>{family, family}));
  }
}

TEST(ReadOnceTest, AFailureOfOneFamilyLeavesTheOtherAlone) {
  Probe reader;
  reader.ReadConfigIfNeeded(kIpv4);
  reader.fails = true;
  EXPECT_THROW(reader.ReadConfigIfNeeded(kIpv6), std::runtime_error);
  EXPECT_TRUE(reader.ipv4_read());
  EXPECT_FALSE(reader.ipv6_read());
}

TEST(ReadOnceTest, BindingAnotherTransactionDoesNotMakeAFamilyUnread) {
  Probe reader;
  confd_trans_ctx first{};
  confd_trans_ctx second{};
  reader.set_confd_trans(&first);
  reader.ReadConfigIfNeeded(kIpv4);
  reader.set_confd_trans(&second);
  reader.set_sock(7);
  reader.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(reader.reads, std::vector<ConfigAddrFamily>{kIpv4});
  EXPECT_EQ(reader.confd_trans(), &second);
  EXPECT_EQ(reader.sock(), 7);
}

// ---- The snapshot ----------------------------------------------------------

class ConfigTest : public PluginTest {
 protected:
  std::vector<GenericConfig*> ReadersOf(Config& config) {
    // No other handle on this one; the tests only bind and ask.
    auto& routes = const_cast<ip_application::config_valid::StaticRouteConfig&>(
        config.static_route_config());
    return {&config.ospfv2_config(), &routes,
            config.intf_by_type(InterfaceType::kL3),
            config.intf_by_type(InterfaceType::kLoopback),
            config.intf_by_type(InterfaceType::kMgmt)};
  }
};

TEST_F(ConfigTest, StartsWithReadersThatAreUnboundAndUnread) {
  Config config;
  for (const GenericConfig* reader : ReadersOf(config)) {
    EXPECT_EQ(reader->sock(), -1);
    EXPECT_EQ(reader->confd_trans(), nullptr);
    EXPECT_FALSE(reader->ipv4_read());
    EXPECT_FALSE(reader->ipv6_read());
  }
  EXPECT_TRUE(fake.calls().empty());
}

TEST_F(ConfigTest, BindsAllFiveReadersToSocketAndTransactionEachForItself) {
  Config config;
  config.set_sock(7);
  for (const GenericConfig* reader : ReadersOf(config)) {
    EXPECT_EQ(reader->sock(), 7);
    EXPECT_EQ(reader->confd_trans(), nullptr);
  }
  confd_trans_ctx trans{};
  config.set_confd_trans(&trans);
  for (const GenericConfig* reader : ReadersOf(config)) {
    EXPECT_EQ(reader->sock(), 7);
    EXPECT_EQ(reader->confd_trans(), &trans);
  }
}

TEST_F(ConfigTest, BindingDoesNotMakeAnyReaderUnread) {
  Config config;
  config.set_sock(FakePlatform::kSocket);
  config.set_confd_trans(fake.tctx());
  for (GenericConfig* reader : ReadersOf(config)) {
    reader->ReadConfigIfNeeded(kIpv4);
    reader->ReadConfigIfNeeded(kIpv6);
  }
  fake.ForgetCalls();

  confd_trans_ctx other = *fake.tctx();
  config.set_sock(FakePlatform::kSocket + 1);
  config.set_confd_trans(&other);
  for (GenericConfig* reader : ReadersOf(config)) {
    EXPECT_TRUE(reader->ipv4_read());
    EXPECT_TRUE(reader->ipv6_read());
    reader->ReadConfigIfNeeded(kIpv4);
    reader->ReadConfigIfNeeded(kIpv6);
  }
  EXPECT_TRUE(fake.calls().empty());
}

TEST_F(ConfigTest, ReadsStaticRoutesByFamilyAndNoOtherReader) {
  Config config;
  config.set_sock(FakePlatform::kSocket);
  config.set_confd_trans(fake.tctx());

  config.ReadStaticRouteConfig(static_cast<ConfigAddrFamily>(5));
  EXPECT_FALSE(config.static_route_config().ipv4_read());
  EXPECT_FALSE(config.static_route_config().ipv6_read());

  config.ReadStaticRouteConfig(kIpv6);
  EXPECT_FALSE(config.static_route_config().ipv4_read());
  EXPECT_TRUE(config.static_route_config().ipv6_read());

  config.ReadStaticRouteConfig(kIpv4);
  EXPECT_TRUE(config.static_route_config().ipv4_read());
  EXPECT_FALSE(config.ospfv2_config().ipv4_read());
  for (const auto type :
       {InterfaceType::kMgmt, InterfaceType::kL3, InterfaceType::kLoopback}) {
    EXPECT_FALSE(config.intf_by_type(type)->ipv4_read());
    EXPECT_FALSE(config.intf_by_type(type)->ipv6_read());
  }
}

// ---- intf_by_type ----------------------------------------------------------

TEST_F(ConfigTest, FindsTheReaderOfEachKind) {
  const Config config;
  InterfaceConfig* mgmt = config.intf_by_type(InterfaceType::kMgmt);
  InterfaceConfig* l3 = config.intf_by_type(InterfaceType::kL3);
  InterfaceConfig* loopback = config.intf_by_type(InterfaceType::kLoopback);
  EXPECT_NE(dynamic_cast<MgmtConfig*>(mgmt), nullptr);
  EXPECT_NE(dynamic_cast<L3Config*>(l3), nullptr);
  EXPECT_NE(dynamic_cast<LoConfig*>(loopback), nullptr);
  // In the order in which the rules look at them.
  EXPECT_EQ(config.interface_configs(),
            (std::vector<InterfaceConfig*>{mgmt, l3, loopback}));
}

TEST_F(ConfigTest, HasNoReaderForAnyOtherKind) {
  const Config config;
  for (const std::int32_t other : {-1, 3, 4, 255}) {
    EXPECT_EQ(config.intf_by_type(static_cast<InterfaceType>(other)), nullptr)
        << other;
  }
}

// ---- intf_type_from_confd_path ---------------------------------------------

struct TagCase {
  std::uint32_t tag;
  InterfaceType type;
};

class TypeFromPathTest : public ::testing::TestWithParam<TagCase> {};

TEST_P(TypeFromPathTest, TellsTheKindByTheNumberOfTheLastNode) {
  KeyPath path;
  path.Node("config").Node("interface").Element({Tag(GetParam().tag)});
  EXPECT_EQ(Config::intf_type_from_confd_path(path.get()), GetParam().type);
}

INSTANTIATE_TEST_SUITE_P(
    Tags, TypeFromPathTest,
    ::testing::Values(TagCase{336737343, InterfaceType::kMgmt},
                      TagCase{557783674, InterfaceType::kL3},
                      TagCase{343067885, InterfaceType::kLoopback},
                      TagCase{0x1412343f, InterfaceType::kMgmt},
                      TagCase{0x213f1a7a, InterfaceType::kL3},
                      TagCase{0x1472cced, InterfaceType::kLoopback},
                      TagCase{0, InterfaceType::kNone},
                      TagCase{0x213f1a7b, InterfaceType::kNone},
                      TagCase{0xffffffff, InterfaceType::kNone}));

TEST(TypeFromEmptyPathTest, IsNoneWithoutALookAtAnyElement) {
  confd_hkeypath_t empty{};
  empty.v[0][0] = Tag(0x213f1a7a).Borrow();
  EXPECT_EQ(Config::intf_type_from_confd_path(&empty), InterfaceType::kNone);
  empty.v[0][0] = Int32(1).Borrow();  // would stop the process
  EXPECT_EQ(Config::intf_type_from_confd_path(&empty), InterfaceType::kNone);
  empty.len = -1;
  EXPECT_EQ(Config::intf_type_from_confd_path(&empty), InterfaceType::kNone);
}

TEST(TypeFromPathLengthTest, NeedsNoMoreThanTheLastNode) {
  confd_hkeypath_t path{};
  path.len = 1;
  path.v[0][0] = Tag(0x1472cced).Borrow();
  EXPECT_EQ(Config::intf_type_from_confd_path(&path), InterfaceType::kLoopback);
}

}  // namespace
}  // namespace ipav::testing
