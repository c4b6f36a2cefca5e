// Every platform call of every validation point fails once, in every way that
// it can, and every allocation of the plug-in fails once. The answer must be
// the plain model's for what the plug-in then sees; nothing stays open.
//
// Prints how many faults of each point were survived. No part is random.

#include <gtest/gtest.h>
#include <hostd/hostd.h>

#include <algorithm>
#include <cstddef>
#include <iomanip>
#include <iostream>
#include <map>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "include/config.h"
#include "include/validate_logger.h"
#include "tests/faults/allocations.h"
#include "tests/faults/call_faults.h"
#include "tests/faults/scenarios.h"
#include "tests/model/plain_model.h"
#include "tests/model/plugin_life.h"
#include "tests/support/fake_platform.h"

namespace ipav::faults {

void PrintTo(const Point& point, std::ostream* out) { *out << point.name; }

namespace {

using ip_application::config_valid::Config;
using ip_application::config_valid::Ospfv2Config;
using ip_application::config_valid::ValidateLogger;
using model::Answer;
using model::Configuration;
using model::PlainModel;
using model::PluginLife;
using testing::Fake;

// ---- The table -------------------------------------------------------------

struct Tally {
  std::size_t calls = 0;
  std::size_t faults = 0;
  std::size_t changed_answers = 0;  // by these faults
  std::size_t allocations = 0;
};

std::map<std::string, Tally>& Tallies() {
  static std::map<std::string, Tally> tallies;
  return tallies;
}

template <typename... Column>
void PrintRow(const std::string& name, const Column&... columns) {
  std::cout << std::left << std::setw(33) << name << std::right;
  ((std::cout << std::setw(19) << columns), ...);
  std::cout << '\n';
}

void PrintRow(const std::string& name, const Tally& tally) {
  PrintRow(name, tally.calls, tally.faults, tally.changed_answers,
           tally.allocations);
}

// Around all tests: the logger asks for its handle once per process, so it is
// asked here and not within one of the calls that fail.
class WholeRun : public ::testing::Environment {
 public:
  void SetUp() override { ValidateLogger::Log("The faults begin."); }

  void TearDown() override {
    PrintRow("point", "calls", "faults survived", "answers changed",
             "allocations failed");
    Tally sum;
    for (const auto& [name, tally] : Tallies()) {
      PrintRow(name, tally);
      sum.calls += tally.calls;
      sum.faults += tally.faults;
      sum.changed_answers += tally.changed_answers;
      sum.allocations += tally.allocations;
    }
    PrintRow("all", sum);
  }
};

const auto* const kWholeRun = ::testing::AddGlobalTestEnvironment(new WholeRun);

// ---- One life --------------------------------------------------------------

// Of the library, on the configuration of a scenario, for the scenario's call.
class Life {
 public:
  // The host makes a call of no validation point: from then on the fake shows
  // the configuration.
  explicit Life(const Scenario& scenario)
      : scenario_(scenario),
        transactions_{scenario.configuration},
        plugin_(transactions_) {
    model::Call no_point = scenario.call;
    no_point.opaque = "no_validation_point";
    plugin_.Run(no_point);
  }

  // Everything that the platform gave out in the call must be back.
  Answer Run() {
    const std::size_t unfreed_before = UnfreedXpathAnswers();
    Fake().ForgetCalls();
    Answer answer = plugin_.Run(scenario_.call);
    EXPECT_TRUE(plugin_.is_clean());
    EXPECT_EQ(UnfreedXpathAnswers(), unfreed_before);
    return answer;
  }

  const Calls& calls() const { return Fake().calls(); }

 private:
  const Scenario& scenario_;
  std::vector<Configuration> transactions_;
  PluginLife plugin_;
};

using Texts = std::vector<std::string>;

Texts TextsOf(const Calls& calls) {
  Texts texts;
  for (const testing::Call& call : calls) texts.push_back(call.text());
  return texts;
}

Calls CallsWithoutFault(const Scenario& scenario) {
  Life life(scenario);
  life.Run();
  return life.calls();
}

// ---- A call fails ----------------------------------------------------------

void FailOneCall(const Scenario& scenario, const Calls& calls, std::size_t at,
                 const Way& way, Tally* tally) {
  SCOPED_TRACE(std::to_string(at) + ": " + calls[at].text() + " " + way.words);
  const Expectation expected = Expect(scenario, calls, at, way);
  const std::size_t live_before = LiveAllocations();
  {
    Life life(scenario);
    Fake().FailCall(static_cast<unsigned>(at + 1), way.result);
    EXPECT_EQ(life.Run(), expected.answer);
    EXPECT_EQ(life.Run(), expected.second) << "the second call";
  }
  EXPECT_EQ(LiveAllocations(), live_before);
  ++tally->faults;
  const Answer usual = PlainModel().Run(scenario.call, scenario.configuration);
  if (!(expected.answer == usual)) ++tally->changed_answers;
}

void FailEachCall(const Scenario& scenario, const Calls& calls, Tally* tally) {
  for (std::size_t at = 0; at < calls.size(); ++at) {
    const std::vector<Way> ways = WaysToFail(calls[at].name);
    EXPECT_EQ(ways.empty(), CannotFail(calls[at].name)) << calls[at].text();
    for (const Way& way : ways) {
      FailOneCall(scenario, calls, at, way, tally);
      if (::testing::Test::HasFailure()) return;  // the next would say the same
    }
  }
}

// ---- Memory runs out -------------------------------------------------------

// What a reading of the OSPFv2 table that was broken off left in the snapshot.
struct LeftOfOspf {
  bool is_read = false;
  std::size_t rows = 0;
};

LeftOfOspf LookAtOspf() {
  auto* config = static_cast<Config*>(
      get_lib_context(Fake().tctx()->v_opaque, "ip_app_validation"));
  const Ospfv2Config& ospf = config->ospfv2_config();
  LeftOfOspf left = {ospf.ipv4_read(), 0};
  for (const auto& assignment : ospf.interfaces()) {
    left.rows += assignment->addresses().size();
  }
  return left;
}

// The table up to those rows, and then one that ends the reading.
Configuration BrokenOff(Configuration configuration, std::size_t rows) {
  std::vector<model::Ospfv2Row>& table = configuration.ospfv2;
  auto end = table.begin();
  for (; rows > 0; ++end) {
    if (end->interface_key.find('-') != std::string::npos) --rows;
  }
  table.erase(end, table.end());
  table.push_back({"7", "no area", "l3-core1", "10.1.1.1", 24});
  return configuration;
}

// The rules say so: what was read before an exception stays. It makes no
// difference but for the OSPFv2 table, whose rows are added once more.
Answer AnswerAfter(const Scenario& scenario, const LeftOfOspf& left) {
  PlainModel model;
  if (!left.is_read && left.rows > 0) {
    model.Run(scenario.call, BrokenOff(scenario.configuration, left.rows));
  }
  return model.Run(scenario.call, scenario.configuration);
}

template <typename T>
bool IsEndOf(const std::vector<T>& end, const std::vector<T>& whole) {
  return end.size() <= whole.size() &&
         std::equal(end.rbegin(), end.rend(), whole.rbegin());
}

// The second call reads what the first one did not read to its end: of a call
// without a fault all reads from some reader on, and from no later one than the
// one that was broken off.
void ExpectReadOn(const Calls& whole, const Calls& first, const Calls& second) {
  constexpr std::ptrdiff_t kLookUps = 2;  // of socket and context
  ASSERT_GE(second.size(), static_cast<std::size_t>(kLookUps));
  const Texts all = TextsOf(whole);
  const Texts begun = TextsOf(first);
  const Texts again = TextsOf(second);
  EXPECT_TRUE(IsEndOf({again.begin() + kLookUps, again.end()}, all));
  const auto broken_off =
      std::mismatch(begun.begin(), begun.end(), all.begin(), all.end()).first;
  EXPECT_LE(static_cast<std::ptrdiff_t>(all.size() - again.size()),
            broken_off - begun.begin() - kLookUps);
}

void ExpectAnswerOfSecondCall(const Answer& answer, const Answer& expected) {
  EXPECT_EQ(answer.verdict, expected.verdict);
  EXPECT_EQ(answer.text, expected.text);
  EXPECT_EQ(answer.format, expected.format);
  EXPECT_EQ(answer.exception, expected.exception);
  // Only of what is read again.
  EXPECT_TRUE(IsEndOf(answer.faults, expected.faults));
  EXPECT_TRUE(IsEndOf(answer.log, expected.log));
}

// The call during which it fails, and one more in that life.
void ExpectSurvived(const Scenario& scenario, const Calls& whole,
                    const Answer& first, Life* life) {
  EXPECT_EQ(first.text, std::nullopt);
  const Calls calls = life->calls();
  const LeftOfOspf left = LookAtOspf();

  ExpectAnswerOfSecondCall(life->Run(), AnswerAfter(scenario, left));
  // Rows that were added once more may decide otherwise.
  if (left.is_read || left.rows == 0) {
    ExpectReadOn(whole, calls, life->calls());
  }
}

// False when the call makes no allocation of that number.
bool FailOneAllocation(const Scenario& scenario, const Calls& whole,
                       const Answer& answer, unsigned number) {
  SCOPED_TRACE("allocation " + std::to_string(number));
  const std::size_t live_before = LiveAllocations();
  bool failed = false;
  {
    Life life(scenario);
    FailAllocation(number);
    const Answer first = life.Run();
    failed = AllocationFailed();
    // Nobody in the plug-in catches it.
    EXPECT_EQ(RanOutOfMemory(), failed);
    FailAllocation(0);
    if (failed) {
      ExpectSurvived(scenario, whole, first, &life);
    } else {
      EXPECT_EQ(first, answer);
    }
  }
  EXPECT_EQ(LiveAllocations(), live_before);
  return failed;
}

// ---- All points ------------------------------------------------------------

TEST(FaultsCoverageTest, EveryCallThatCanFailComesUp) {
  std::set<std::string> seen;
  for (const Point& point : AllPoints()) {
    for (const Scenario& scenario : point.scenarios) {
      for (const testing::Call& call : CallsWithoutFault(scenario)) {
        if (!CannotFail(call.name)) seen.insert(call.name);
      }
    }
  }
  EXPECT_EQ(seen, CallsThatCanFail());
}

// ---- Each point ------------------------------------------------------------

class FaultsTest : public ::testing::TestWithParam<Point> {};

TEST_P(FaultsTest, WithoutAFaultThePlainModelsAnswerIsGiven) {
  for (const Scenario& scenario : GetParam().scenarios) {
    SCOPED_TRACE(scenario.variant);
    Life life(scenario);
    const Answer answer = life.Run();
    EXPECT_EQ(answer, PlainModel().Run(scenario.call, scenario.configuration));
    EXPECT_EQ(answer.verdict == 0, scenario.is_accepted) << answer;
  }
}

TEST_P(FaultsTest, EveryCallOfThePlatformMayFail) {
  Tally& tally = Tallies()[GetParam().name];
  for (const Scenario& scenario : GetParam().scenarios) {
    SCOPED_TRACE(scenario.variant);
    const Calls calls = CallsWithoutFault(scenario);
    tally.calls += calls.size();
    FailEachCall(scenario, calls, &tally);
  }
}

TEST_P(FaultsTest, MemoryMayRunOutAtEveryAllocation) {
  Tally& tally = Tallies()[GetParam().name];
  for (const Scenario& scenario : GetParam().scenarios) {
    SCOPED_TRACE(scenario.variant);
    const Calls calls = CallsWithoutFault(scenario);
    const Answer answer =
        PlainModel().Run(scenario.call, scenario.configuration);
    for (unsigned number = 1;; ++number) {
      if (!FailOneAllocation(scenario, calls, answer, number)) break;
      if (HasFailure()) return;  // the next one would say the same
      ++tally.allocations;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(, FaultsTest, ::testing::ValuesIn(AllPoints()),
                         [](const ::testing::TestParamInfo<Point>& point) {
                           return point.param.name;
                         });

}  // namespace
}  // namespace ipav::faults
