// The plug-in against the plain model, on random lives of the library.
//
// RC_PARAMS sets the number of lives and the seed ("max_success=100000
// seed=1"); a failure prints both and the smallest life that still fails.

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <iostream>
#include <string>
#include <vector>

#include "tests/model/answer_kinds.h"
#include "tests/model/plain_model.h"
#include "tests/model/plugin_life.h"
#include "tests/model/scenario.h"

namespace ipav::model {
namespace {

// From that many lives on, each kind of answer must have come up.
constexpr unsigned kEnoughLives = 3000;

// Whether the OSPFv2 table is read by a call, and whether it was left there.
bool ReadsOspf(const Call& call) {
  return call.action == Action::kValidate &&
         (call.opaque.find("ipv4_addr_prot_cross_validation") == 0 ||
          call.opaque.find("intf_vrf_validation") == 0);
}

bool IsOfOspf(Exception exception) {
  return exception != Exception::kNone && exception != Exception::kShortName;
}

// Runs one life on both sides.
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
  const bool holds = rc::check([&tally] { Live(*AnyScenario(), &tally); });
  tally.Print(std::cout);
  EXPECT_TRUE(holds);
  EXPECT_EQ(tally.Unknown(), std::vector<std::string>{});
  if (tally.lives() < kEnoughLives) return;
  EXPECT_EQ(tally.Missing(), std::vector<std::string>{});
}

}  // namespace
}  // namespace ipav::model
