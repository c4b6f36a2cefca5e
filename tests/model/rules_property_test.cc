// Compares the plug-in with the plain model on random life cycles of the
// library.
//
// RC_PARAMS sets the number of lives and the seed ("max_success=100000
// seed=1"); a failure prints both and the smallest life that still fails.

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/model/answer_kinds.h"
#include "tests/model/plain_model.h"
#include "tests/model/plugin_life.h"
#include "tests/model/scenario.h"

namespace ipav::model {
namespace {

// With at least so many lives, each kind of answer must have occurred.
constexpr unsigned kEnoughLives = 3000;

// Whether a call reads the OSPFv2 table, and whether this read threw.
bool ReadsOspf(const Call& call) {
  return call.action == Action::kValidate &&
         (call.opaque.find("ipv4_addr_prot_cross_validation") == 0 ||
          call.opaque.find("intf_vrf_validation") == 0);
}

bool IsOfOspf(Exception exception) {
  return exception != Exception::kNone && exception != Exception::kShortName;
}

// Simpler numbers: with one block set to 0, large blocks first, or with one
// number halved.
rc::Seq<Choices::Numbers> Plainer(const Choices::Numbers& numbers) {
  std::vector<Choices::Numbers> all;
  for (std::size_t size = numbers.size(); size > 0; size /= 2) {
    for (std::size_t at = 0; at < numbers.size(); at += size) {
      Choices::Numbers plainer = numbers;
      std::fill_n(plainer.begin() + static_cast<std::ptrdiff_t>(at),
                  std::min(size, numbers.size() - at), 0);
      if (plainer != numbers) all.push_back(std::move(plainer));
    }
  }
  for (std::size_t at = 0; at < numbers.size(); ++at) {
    if (numbers[at] == 0) continue;
    all.push_back(numbers);
    all.back()[at] /= 2;
  }
  return rc::seq::fromContainer(all);
}

rc::Gen<Scenario> Scenarios() {
  const rc::Gen<Choices::Numbers> numbers = [](rc::Random random,
                                               int /*size*/) {
    Choices::Numbers chosen(kNumbersOfScenario);
    for (std::uint32_t& number : chosen) {
      number = static_cast<std::uint32_t>(random.next() % Choices::kLimit);
    }
    return rc::shrinkable::shrinkRecur(std::move(chosen), &Plainer);
  };
  return rc::gen::map(numbers, [](const Choices::Numbers& chosen) {
    Choices choices(chosen);
    return AnyScenario(&choices);
  });
}

// Runs one life cycle of the plug-in and of the model.
void Live(const Scenario& scenario, AnswerTally* tally) {
  PlainModel model;
  PluginLife plugin(scenario.transactions);
  bool ospf_failed = false;
  tally->CountLife();
  for (const Call& call : scenario.calls) {
    const Configuration& current = scenario.transactions[call.transaction];
    const Answer expected = model.Run(call, current);
    RC_LOG() << call << '\n';
    RC_ASSERT(plugin.Run(call) == expected);
    RC_ASSERT(plugin.is_clean());

    tally->Count(call, expected);
    const bool is_fresh = PlainModel().Run(call, current) == expected;
    if (!is_fresh) tally->CountDecidedByEarlierRead();
    if (ospf_failed && ReadsOspf(call) &&
        expected.exception == Exception::kNone) {
      tally->CountOspfReadAgain();
    }
    ospf_failed = ospf_failed || IsOfOspf(expected.exception);
  }
}

TEST(RulesPropertyTest, EveryCallOfALifeIsAnsweredAsThePlainModelAnswers) {
  AnswerTally tally;
  const bool holds = rc::check([&tally] { Live(*Scenarios(), &tally); });
  tally.Print(std::cout);
  EXPECT_TRUE(holds);
  EXPECT_EQ(tally.Unknown(), std::vector<std::string>{});
  if (tally.lives() < kEnoughLives) return;
  EXPECT_EQ(tally.Missing(), std::vector<std::string>{});
}

}  // namespace
}  // namespace ipav::model
