// The plug-in against the plain model, on random lives of the library.
//
// RC_PARAMS sets the number of lives and the seed ("max_success=100000
// seed=1"); a failure prints both and the smallest life that still fails.

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "plain_model.h"
#include "plugin_life.h"
#include "scenario.h"

namespace ipav::model {
namespace {

// From that many lives on, each kind of answer must have come up.
constexpr unsigned kEnoughLives = 3000;

// The kinds of text, by a piece that no other one has. A name cannot hold any
// of them, as none has a blank followed by such a word.
struct Kind {
  const char* name;
  std::vector<std::string> pieces;
};

const std::vector<Kind>& Kinds() {
  static const std::vector<Kind> kinds = {
      {"network address", {" cannot be configured as network address."}},
      {"broadcast address", {" cannot be configured as broadcast address."}},
      {"duplicated IPv4 address", {" has duplicated IPv4 address "}},
      {"duplicated IPv6 address", {" has duplicated IPv6 address "}},
      {"IPv4 next hop", {" ipv4 address ", " next-hop "}},
      {"IPv6 next hop", {" ipv6 address ", " next-hop "}},
      {"IPv4 overlap of l3 and l3", {"l3 ", " ipv4 ", " overlaps with l3 "}},
      {"IPv4 overlap with loopback", {" ipv4 ", " overlaps with loopback "}},
      {"IPv4 overlap with mgmt", {" ipv4 ", " overlaps with mgmt "}},
      {"IPv6 overlap with l3", {" ipv6 ", " overlaps with l3 "}},
      {"IPv6 overlap with loopback", {" ipv6 ", " overlaps with loopback "}},
      {"IPv6 overlap with mgmt", {" ipv6 ", " overlaps with mgmt "}},
      {"too many l3", {"too many 'interface l3', "}},
      {"name too long", {" is too long "}},
      {"name too short", {" is too short "}},
      {"characters of a name", {" contains invalid characters "}},
      {"unknown kind", {"invalid interface being handled"}},
      {"route limit", {"The maximum number of available static routes"}},
      {"IPv4 black hole", {"Prefix ", ".", " cannot be black-hole "}},
      {"IPv6 black hole", {"Prefix ", ":", " cannot be black-hole "}},
      {"output interface", {" is being used by a static route."}},
  };
  return kinds;
}

bool HasAll(const std::string& text, const std::vector<std::string>& pieces) {
  for (const std::string& piece : pieces) {
    if (text.find(piece) == std::string::npos) return false;
  }
  return true;
}

std::string KindOf(const Answer& answer) {
  if (answer.out_of_range) return "left by an exception";
  if (answer.verdict == 0) return "accepted";
  if (!answer.text) return "refused without a text";
  for (const Kind& kind : Kinds()) {
    if (HasAll(*answer.text, kind.pieces)) return kind.name;
  }
  return "unknown text: " + *answer.text;
}

// How often what came up.
class Tally {
 public:
  Tally() {
    for (const Kind& kind : Kinds()) counts_[kind.name] = 0;
    for (const char* name :
         {"left by an exception", "accepted", "refused without a text",
          "decided by an earlier "
          "read"}) {
      counts_[name] = 0;
    }
  }

  void Count(const std::string& kind) { ++counts_[kind]; }
  void CountLife() { ++lives_; }

  void Print() const {
    std::cout << lives_ << " lives, answers by kind:\n";
    for (const auto& [kind, count] : counts_) {
      std::cout << "  " << count << '\t' << kind << '\n';
    }
  }

  // A generator that misses a rule would let any mistake in it pass.
  void ExpectAll() const {
    if (lives_ < kEnoughLives) return;
    for (const auto& [kind, count] : counts_) EXPECT_GT(count, 0U) << kind;
    EXPECT_EQ(counts_.size(), Tally().counts_.size()) << "an unknown text";
  }

 private:
  std::map<std::string, unsigned> counts_;
  unsigned lives_ = 0;
};

TEST(RulesPropertyTest, EveryCallOfALifeIsAnsweredAsThePlainModelAnswers) {
  Tally tally;
  const bool holds = rc::check([&tally] {
    const Scenario scenario = *AnyScenario();
    PlainModel model;
    PluginLife plugin(scenario.transactions);
    tally.CountLife();
    for (const Call& call : scenario.calls) {
      const Configuration& current = scenario.transactions[call.transaction];
      const Answer expected = model.Run(call, current);
      RC_LOG() << call << '\n';
      RC_ASSERT(plugin.Run(call) == expected);
      RC_ASSERT(plugin.is_clean());

      tally.Count(KindOf(expected));
      const bool is_fresh = PlainModel().Run(call, current) == expected;
      if (!is_fresh) tally.Count("decided by an earlier read");
    }
  });
  tally.Print();
  EXPECT_TRUE(holds);
  tally.ExpectAll();
}

}  // namespace
}  // namespace ipav::model
