// Values of a type that cannot be there stop the process with the report of the
// C library's assertion, whether or not that one is compiled in.

#include <confd_lib.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <string>

#include "include/config.h"
#include "include/validate.h"
#include "include/validate_nd_ra.h"
#include "tests/support/builders.h"
#include "tests/support/death_text.h"
#include "tests/support/plugin_test.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::Config;

class AssertionTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    GTEST_FLAG_SET(death_test_style, "fast");
  }
};

TEST_F(AssertionTest, StopsForAKeyPathThatEndsInAKey) {
  const std::string report = ReportOf(
      {"src/lib/config.cc", "659",
       "static ip_application::config_valid::InterfaceType "
       "ip_application::config_valid::Config::intf_type_from_confd_path("
       "confd_hkeypath_t*)",
       "(&keypath->v[0][0])->type == C_XMLTAG"});
  KeyPath path;
  path.Node("config").Node("interface").Node("l3").Key(Text("core1"));
  EXPECT_EXIT(Config::intf_type_from_confd_path(path.get()),
              ::testing::KilledBySignal(SIGABRT), report);
}

// ---- The router-advertisement timers ---------------------------------------

struct Rule {
  std::string name;
  int32_t (*callback)(int32_t, confd_trans_ctx*, confd_hkeypath_t*,
                      confd_value_t*, Config&);
};

class RaAssertionTest : public AssertionTest,
                        public ::testing::WithParamInterface<Rule> {
 protected:
  std::string Report(const std::string& expression) {
    return ReportOf(
        {"src/lib/validate_nd_ra.cc", "",
         "int32_t " + GetParam().name +
             "(int32_t, confd_trans_ctx*, confd_hkeypath_t*, confd_value_t*, "
             "ip_application::config_valid::Config&)",
         expression});
  }

  void Judge(KeyPath path) {
    Config config;
    GetParam().callback(FakePlatform::kSocket, fake.tctx(), path.get(), nullptr,
                        config);
  }
};

TEST_P(RaAssertionTest, StopsForAnInterfaceNameThatIsNoText) {
  const KeyPath path = RaConfig{}.keypath().Replace(3, Int32(1));
  EXPECT_EXIT(Judge(path), ::testing::KilledBySignal(SIGABRT),
              Report("(&keypath->v[3][0])->type == C_BUF"));
}

TEST_P(RaAssertionTest, StopsForAnInterfaceListThatIsNoNode) {
  const KeyPath path = RaConfig{}.keypath().Replace(4, Text("l3"));
  EXPECT_EXIT(Judge(path), ::testing::KilledBySignal(SIGABRT),
              Report("(&keypath->v[4][0])->type == C_XMLTAG"));
}

TEST_P(RaAssertionTest, LooksAtTheNameFirst) {
  const KeyPath path =
      RaConfig{}.keypath().Replace(3, Int32(1)).Replace(4, Text("l3"));
  EXPECT_EXIT(Judge(path), ::testing::KilledBySignal(SIGABRT),
              Report("(&keypath->v[3][0])->type == C_BUF"));
}

TEST_P(RaAssertionTest, StopsForANameThatIsNoTextWhateverTheList) {
  RaConfig loopback;
  loopback.kind = "loopback";
  const KeyPath path = loopback.keypath().Replace(3, Int32(1));
  EXPECT_EXIT(Judge(path), ::testing::KilledBySignal(SIGABRT),
              Report("(&keypath->v[3][0])->type == C_BUF"));
}

// The key path of a list of the model's top level has no interface above it.
TEST_P(RaAssertionTest, StopsForAKeyPathThatIsTooShort) {
  KeyPath path;
  path.Node("config").Node("interface");
  EXPECT_EXIT(Judge(path), ::testing::KilledBySignal(SIGABRT),
              Report("(&keypath->v[3][0])->type == C_BUF"));
}

TEST_P(RaAssertionTest, StopsTheProcessThroughTheEntryPointToo) {
  void* context = nullptr;
  ASSERT_EQ(lib_init(&context), 0);
  fake.set_lib_context(context);
  fake.set_opaque(GetParam().name);
  KeyPath path = RaConfig{}.keypath().Replace(3, Int32(1));
  confd_value_t newval = Nothing().Borrow();
  EXPECT_EXIT(validate(fake.tctx(), path.get(), &newval),
              ::testing::KilledBySignal(SIGABRT),
              Report("(&keypath->v[3][0])->type == C_BUF"));
  EXPECT_EQ(lib_finish(&context), 0);
}

INSTANTIATE_TEST_SUITE_P(Rules, RaAssertionTest,
                         ::testing::Values(Rule{"validate_ipv6_nd_ra_interval",
                                                validate_ipv6_nd_ra_interval},
                                           Rule{"validate_ipv6_nd_ra_lifetime",
                                                validate_ipv6_nd_ra_lifetime}),
                         [](const auto& rule) { return rule.param.name; });

}  // namespace
}  // namespace ipav::testing
