#include "include/validate_nd_ra.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "include/config.h"
#include "include/validate_logger.h"
#include "tests/support/builders.h"
#include "tests/support/plugin_test.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::Config;
using ip_application::config_valid::ValidateLogger;

using Texts = std::vector<std::string>;

constexpr char kInvalidInterface[] =
    "invalid interface being handled by IP-App validation";
constexpr char kNoMaximum[] =
    "fail to get maximum router advertisement interval value";
constexpr char kNoMinimum[] =
    "fail to get minimum router advertisement interval value";
constexpr char kNoLifetime[] =
    "fail to get router advertisement lifetime value";
constexpr char kMinimumTooLong[] =
    "Minimum interval must be no greater than maximum interval * 0.75";
constexpr char kLifetimeTooShort[] =
    "Lifetime must be greater than maximum router advertisement interval";

constexpr char kL3[] = "/config/interface/l3{core1}/ipv6/nd/ra/";
constexpr char kMgmt[] = "/config/interface/mgmt{core1}/ipv6/nd/ra/";

std::string Exists(const std::string& path) {
  return "maapi_exists(" + path + ")";
}

std::string Read(const std::string& path) {
  return "maapi_get_u_int16_elem(" + path + ")";
}

std::string Seterr(const std::string& text) {
  return "confd_trans_seterr(" + text + ")";
}

std::string NoPathLine(const std::string& first, const std::string& second) {
  return "There is no path for '" + first + "' and '" + second +
         "'. Skipping validation ...";
}

class NdRaTest : public PluginTest {
 protected:
  void SetUp() override {
    // The logger asks for the host's log once per process: before the records
    // of any test begin.
    ValidateLogger::instance();
    PluginTest::SetUp();
  }

  int32_t Interval(const RaConfig& config) {
    config.StoreIn(fake);
    return IntervalOf(config.keypath());
  }

  int32_t Lifetime(const RaConfig& config) {
    config.StoreIn(fake);
    return LifetimeOf(config.keypath());
  }

  int32_t IntervalOf(KeyPath path) { return IntervalOf(path.get()); }
  int32_t IntervalOf(confd_hkeypath_t* path) {
    return validate_ipv6_nd_ra_interval(FakePlatform::kSocket, fake.tctx(),
                                        path, nullptr, snapshot_);
  }

  int32_t LifetimeOf(KeyPath path) { return LifetimeOf(path.get()); }
  int32_t LifetimeOf(confd_hkeypath_t* path) {
    return validate_ipv6_nd_ra_lifetime(FakePlatform::kSocket, fake.tctx(),
                                        path, nullptr, snapshot_);
  }

  void ExpectAccepted(int32_t verdict) {
    EXPECT_EQ(verdict, 0);
    ExpectNoError();
  }

  // Every text of these rules is the format itself.
  void ExpectRefused(int32_t verdict, const std::string& text) {
    EXPECT_EQ(verdict, -1);
    ExpectOneError(text, text);
  }

  RaConfig config_;

 private:
  Config snapshot_;
};

// ---- Either rule, by the timer that it judges against the maximum ----------

struct Rule {
  std::string name;
  std::string leaf;
  std::optional<std::uint16_t> RaConfig::*timer;
  std::optional<std::uint16_t> RaConfig::*timer_of_the_other_rule;
  const char* unreadable;
};

class NdRaRuleTest : public NdRaTest,
                     public ::testing::WithParamInterface<Rule> {
 protected:
  int32_t Judge() {
    config_.StoreIn(fake);
    return JudgePath(config_.keypath());
  }
  int32_t JudgePath(const KeyPath& path) {
    return GetParam().leaf == "lifetime" ? LifetimeOf(path) : IntervalOf(path);
  }

  void RemoveMaximum() { config_.max_interval.reset(); }
  void RemoveTimer() { (config_.*GetParam().timer).reset(); }
  std::string MaxPath() const { return config_.container() + "max-interval"; }
  std::string TimerPath() const {
    return config_.container() + GetParam().leaf;
  }
  void ExpectCalls(const Texts& calls) { EXPECT_EQ(fake.CallTexts(), calls); }
};

INSTANTIATE_TEST_SUITE_P(
    Rules, NdRaRuleTest,
    ::testing::Values(Rule{"Interval", "min-interval", &RaConfig::min_interval,
                           &RaConfig::lifetime, kNoMinimum},
                      Rule{"Lifetime", "lifetime", &RaConfig::lifetime,
                           &RaConfig::min_interval, kNoLifetime}),
    [](const auto& rule) { return rule.param.name; });

TEST_P(NdRaRuleTest, AcceptsTheValidConfigurationWithThreeCalls) {
  ExpectAccepted(Judge());
  ExpectCalls({Exists(MaxPath()), Read(MaxPath()), Read(TimerPath())});
  EXPECT_TRUE(fake.log_lines().empty());
  for (const Call& call : fake.calls()) {
    EXPECT_EQ(call.sock, FakePlatform::kSocket) << call.text();
    EXPECT_EQ(call.thandle, FakePlatform::kTransaction) << call.text();
  }
}

TEST_P(NdRaRuleTest, ReadsTheTimersOfAManagementInterfaceFromItsList) {
  config_.kind = "mgmt";
  ExpectAccepted(Judge());
  Texts calls = {Exists(std::string(kMgmt) + "max-interval"),
                 Read(std::string(kMgmt) + "max-interval")};
  // Its lifetime is not judged.
  if (GetParam().leaf != "lifetime") calls.push_back(Read(TimerPath()));
  ExpectCalls(calls);
}

TEST_P(NdRaRuleTest, RefusesAnyOtherListWithoutAnyRead) {
  config_.kind = "loopback";
  ExpectRefused(Judge(), kInvalidInterface);
  ExpectCalls({Seterr(kInvalidInterface)});
  for (const std::uint32_t tag : {0x213f1a7bU, 0x1412343eU}) {
    fake.Reset();
    ExpectRefused(JudgePath(RaConfig{}.keypath().Replace(4, Tag(tag))),
                  kInvalidInterface);
  }
}

TEST_P(NdRaRuleTest, AcceptsAndLogsWhenNeitherTimerExists) {
  for (const char* kind : {"l3", "mgmt"}) {
    fake.Reset();
    config_.kind = kind;
    RemoveMaximum();
    RemoveTimer();
    config_.*GetParam().timer_of_the_other_rule = 1;
    ExpectAccepted(Judge());
    const std::string line = NoPathLine(MaxPath(), TimerPath());
    ExpectCalls({Exists(MaxPath()), Exists(TimerPath()),
                 "hostmw_vlog_debug(" + line + ")"});
    ASSERT_EQ(fake.log_lines().size(), 1U);
    EXPECT_EQ(fake.log_lines()[0].text, line);
    EXPECT_EQ(fake.log_lines()[0].format,
              "There is no path for '%s' and '%s'. Skipping validation ...");
    EXPECT_EQ(fake.log_lines()[0].handle, fake.log_handle());
  }
}

// One is the only answer that says that a timer exists: not one above it.
TEST_P(NdRaRuleTest, AnyOtherAnswerThanOneCountsAsAbsent) {
  for (const int answer : {CONFD_ERR, CONFD_EOF, 2}) {
    fake.Reset();
    config_ = RaConfig();
    RemoveTimer();
    config_.StoreIn(fake);
    fake.FailCall(1, answer);
    ExpectAccepted(JudgePath(config_.keypath()));
    EXPECT_EQ(fake.log_lines().size(), 1U);

    fake.Reset();
    config_ = RaConfig();
    RemoveMaximum();
    config_.StoreIn(fake);
    fake.FailCall(2, answer);
    ExpectAccepted(JudgePath(config_.keypath()));
    EXPECT_EQ(fake.log_lines().size(), 1U);
  }
}

TEST_P(NdRaRuleTest, RefusesATimerWithoutAMaximum) {
  RemoveMaximum();
  ExpectRefused(Judge(), kNoMaximum);
  ExpectCalls({Exists(MaxPath()), Exists(TimerPath()), Read(MaxPath()),
               Seterr(kNoMaximum)});
  fake.Reset();
  config_.kind = "mgmt";
  ExpectRefused(Judge(), kNoMaximum);
}

TEST_P(NdRaRuleTest, RefusesAMaximumWithoutTheTimer) {
  RemoveTimer();
  ExpectRefused(Judge(), GetParam().unreadable);
  ExpectCalls({Exists(MaxPath()), Read(MaxPath()), Read(TimerPath()),
               Seterr(GetParam().unreadable)});
}

TEST_P(NdRaRuleTest, RefusesATimerThatIsOfAnotherType) {
  config_.StoreIn(fake);
  fake.SetValue(TimerPath(), Text("1800"));
  EXPECT_EQ(JudgePath(config_.keypath()), -1);
  EXPECT_EQ(fake.error_text(), GetParam().unreadable);
  fake.SetValue(TimerPath(), Int32(200));
  EXPECT_EQ(JudgePath(config_.keypath()), -1);
  EXPECT_EQ(fake.error_text(), GetParam().unreadable);
  fake.SetValue(MaxPath(), Uint32(600));
  EXPECT_EQ(JudgePath(config_.keypath()), -1);
  EXPECT_EQ(fake.error_text(), kNoMaximum);
}

// The first call asks whether the maximum exists. When that fails the other
// timer is asked for, which does, so that both are read all the same.
TEST_P(NdRaRuleTest, GivesTheVerdictOfTheCallThatFails) {
  const std::string texts[] = {"", kNoMaximum, GetParam().unreadable};
  config_.StoreIn(fake);
  for (const int result : {CONFD_ERR, CONFD_EOF}) {
    for (unsigned call = 1; call <= 3; ++call) {
      fake.FailCall(call, result);
      EXPECT_EQ(JudgePath(config_.keypath()), call == 1 ? 0 : -1) << call;
      EXPECT_EQ(fake.error_text(), texts[call - 1]);
    }
    fake.Reset();
    config_.StoreIn(fake);
  }
}

TEST_F(NdRaTest, IntervalRefusesAManagementInterfaceWithoutAMinimum) {
  config_.kind = "mgmt";
  config_.min_interval.reset();
  ExpectRefused(Interval(config_), kNoMinimum);
}

TEST_F(NdRaTest, LifetimeOfAManagementInterfaceMayBeAbsentOrUnreadable) {
  config_.kind = "mgmt";
  config_.lifetime.reset();
  ExpectAccepted(Lifetime(config_));
  config_.lifetime = 1;
  config_.StoreIn(fake);
  fake.FailReads(std::string(kMgmt) + "lifetime");
  ExpectAccepted(LifetimeOf(config_.keypath()));
}

// ---- The minimum against the maximum ---------------------------------------

struct TimersCase {
  std::uint16_t max_interval;
  std::uint16_t other;  // the timer of the rule
  bool accepted;
};

void PrintTo(const TimersCase& timers, std::ostream* out) {
  *out << "maximum " << timers.max_interval << ", other " << timers.other;
}

class IntervalTest : public NdRaTest,
                     public ::testing::WithParamInterface<TimersCase> {};

TEST_P(IntervalTest, BoundsTheMinimumByThreeQuartersOfTheMaximum) {
  for (const char* kind : {"l3", "mgmt"}) {
    fake.Reset();
    config_.kind = kind;
    config_.max_interval = GetParam().max_interval;
    config_.min_interval = GetParam().other;
    if (GetParam().accepted) {
      ExpectAccepted(Interval(config_));
    } else {
      ExpectRefused(Interval(config_), kMinimumTooLong);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Intervals, IntervalTest,
    ::testing::Values(
        TimersCase{200, 150, true}, TimersCase{200, 151, false},
        TimersCase{3, 2, true}, TimersCase{3, 3, false}, TimersCase{4, 3, true},
        TimersCase{4, 4, false}, TimersCase{0, 0, true},
        TimersCase{0, 1, false}, TimersCase{1, 0, true},
        TimersCase{1, 1, false}, TimersCase{2, 1, true},
        TimersCase{2, 2, false}, TimersCase{65534, 49150, true},
        TimersCase{65534, 49151, false}, TimersCase{65535, 49151, true},
        TimersCase{65535, 49152, false}, TimersCase{65535, 65535, false},
        TimersCase{600, 0, true}));

TEST_F(NdRaTest, AgreesWithIntegerArithmeticAtEveryBoundary) {
  for (std::uint16_t max = 0; max < 400; ++max) {
    const auto largest = static_cast<std::uint16_t>(max * 3 / 4);
    config_.StoreIn(fake);
    fake.SetValue(std::string(kL3) + "max-interval", Uint16(max));
    fake.SetValue(std::string(kL3) + "min-interval", Uint16(largest));
    EXPECT_EQ(IntervalOf(config_.keypath()), 0) << max;

    fake.SetValue(std::string(kL3) + "min-interval",
                  Uint16(static_cast<std::uint16_t>(largest + 1)));
    EXPECT_EQ(IntervalOf(config_.keypath()), -1) << max;
    EXPECT_EQ(fake.error_text(), kMinimumTooLong) << max;
    fake.Reset();
  }
}

// ---- The lifetime against the maximum --------------------------------------

class LifetimeTest : public NdRaTest,
                     public ::testing::WithParamInterface<TimersCase> {};

TEST_P(LifetimeTest, IsZeroOrGreaterThanTheMaximum) {
  config_.max_interval = GetParam().max_interval;
  config_.lifetime = GetParam().other;
  // Those of management interfaces are not judged.
  config_.kind = "mgmt";
  ExpectAccepted(Lifetime(config_));
  config_.kind = "l3";
  if (GetParam().accepted) {
    ExpectAccepted(Lifetime(config_));
  } else {
    ExpectRefused(Lifetime(config_), kLifetimeTooShort);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Lifetimes, LifetimeTest,
    ::testing::Values(TimersCase{600, 601, true}, TimersCase{600, 600, false},
                      TimersCase{600, 599, false}, TimersCase{600, 1, false},
                      TimersCase{600, 0, true}, TimersCase{0, 0, true},
                      TimersCase{0, 1, true}, TimersCase{1, 1, false},
                      TimersCase{1, 2, true}, TimersCase{65535, 65535, false},
                      TimersCase{65535, 0, true},
                      TimersCase{65534, 65535, true}));

TEST_F(NdRaTest, LifetimeDoesNotJudgeTheMinimum) {
  config_.min_interval = 600;
  ExpectAccepted(Lifetime(config_));
}

TEST_F(NdRaTest, IntervalDoesNotJudgeTheLifetime) {
  config_.lifetime = 1;
  ExpectAccepted(Interval(config_));
}

// ---- Unusual names ---------------------------------------------------------

TEST_F(NdRaTest, AnUnusualNameIsUsedAndLoggedAsItIs) {
  const std::string names[] = {"%s",
                               "100%n",
                               "%",
                               "a/b",
                               "a:b",
                               "l3",
                               "br\xc3\xbcnn",
                               std::string(200, 'x')};
  for (const std::string& name : names) {
    fake.Reset();
    RaConfig config;
    config.name = name;
    config.min_interval = 451;
    ExpectRefused(Interval(config), kMinimumTooLong);
    const std::string container =
        "/config/interface/l3{" + name + "}/ipv6/nd/ra/";
    EXPECT_EQ(fake.CallTexts(), (Texts{Exists(container + "max-interval"),
                                       Read(container + "max-interval"),
                                       Read(container + "min-interval"),
                                       Seterr(kMinimumTooLong)}));

    fake.Reset();
    config.max_interval.reset();
    config.lifetime.reset();
    ExpectAccepted(Lifetime(config));
    ASSERT_EQ(fake.log_lines().size(), 1U);
    EXPECT_EQ(fake.log_lines()[0].text,
              NoPathLine(container + "max-interval", container + "lifetime"));
  }
}

// A key ends at its size: what lies behind it in the buffer is not its own.
TEST_F(NdRaTest, ANameEndsAtTheSizeOfItsBuffer) {
  config_.min_interval = 451;
  config_.lifetime = 600;
  config_.StoreIn(fake);
  RaConfig longer;
  longer.name = "core12";
  longer.StoreIn(fake);
  KeyPath path = longer.keypath();
  confd_hkeypath_t* cut = path.get();
  cut->v[3][0].val.buf.size = 5;
  ExpectRefused(IntervalOf(cut), kMinimumTooLong);
  EXPECT_EQ(fake.CallTexts(), (Texts{Exists(std::string(kL3) + "max-interval"),
                                     Read(std::string(kL3) + "max-interval"),
                                     Read(std::string(kL3) + "min-interval"),
                                     Seterr(kMinimumTooLong)}));
  EXPECT_EQ(LifetimeOf(cut), -1);
  EXPECT_EQ(fake.error_text(), kLifetimeTooShort);
}

// Unquoted, such a name is two keys, which no interface has.
TEST_F(NdRaTest, ANameWithABlankHasNoTimers) {
  RaConfig{}.StoreIn(fake);
  config_.name = "core 1";
  ExpectAccepted(IntervalOf(config_.keypath()));
  ASSERT_EQ(fake.log_lines().size(), 1U);
  EXPECT_EQ(fake.log_lines()[0].text,
            NoPathLine("/config/interface/l3{core 1}/ipv6/nd/ra/max-interval",
                       "/config/interface/l3{core 1}/ipv6/nd/ra/min-interval"));
}

// ---- Other interfaces ------------------------------------------------------

TEST_F(NdRaTest, JudgesTheInterfaceOfTheKeyPathOnly) {
  RaConfig wrong;
  wrong.name = "core2";
  wrong.min_interval = 600;
  wrong.lifetime = 600;
  wrong.StoreIn(fake);
  ExpectAccepted(Interval(config_));
  ExpectAccepted(Lifetime(config_));
}

}  // namespace
}  // namespace ipav::testing
