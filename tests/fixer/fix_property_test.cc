// Random changes of the examples: each fix that is found for a refusal is
// judged by the plain model of the rules, too.
//
// RC_PARAMS sets the number of changes and the seed ("max_success=1000
// seed=1").

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "fixer/fixes.h"
#include "fixer/prefix.h"
#include "host/datastore/input_text.h"
#include "tests/model/described.h"

namespace ipav::fixer {
namespace {

using commit::Outcome;
using datastore::DataTree;
using messages::Finding;
using messages::TextOf;
using model::LeavesOf;
using model::ProjectModel;

const DataTree& Running(bool is_branch) {
  static const DataTree kBranch = DataTree::FromFile(
      ProjectModel(), IPAV_EXAMPLES "/branch-router/running.xml");
  static const DataTree kCampus = DataTree::FromFile(
      ProjectModel(), IPAV_EXAMPLES "/campus-core/running.json");
  return is_branch ? kBranch : kCampus;
}

// ---- Random changes --------------------------------------------------------

// The network address of an address, if that is short work.
std::string NetworkOf(const std::string& text) {
  std::optional<Prefix> prefix = ParsePrefix(text);
  if (!prefix || !prefix->IsIpv4() || prefix->length < 20) return text;
  while (Contains(*prefix, prefix->Neighbour(false))) {
    *prefix = prefix->Neighbour(false);
  }
  return prefix->Text();
}

Edit AnyEdit(const DataTree& tree) {
  static const std::set<std::string> kNames = {
      "ip", "vrf", "vlan", "max-interval", "min-interval", "lifetime"};
  const auto leaves = LeavesOf(tree, kNames);
  const auto any = [](const std::vector<const lyd_node*>& nodes) {
    return nodes.at(*rc::gen::inRange<std::size_t>(0, nodes.size()));
  };
  const lyd_node* leaf = any(leaves);
  const auto like_it = LeavesOf(tree, {leaf->schema->name});
  switch (*rc::gen::inRange(0, 6)) {
    case 0:
      return Remove(leaf);
    case 1:
      return Set(leaf, NetworkOf(TextOf(leaf)));
    case 2: {
      const auto own = ParsePrefix(TextOf(any(LeavesOf(tree, {"ip"}))));
      const lyd_node* hop = any(LeavesOf(tree, {"rtmStaticRtNextHop"}));
      return Set(hop, OctetsOf(*own));
    }
    case 3: {  // another prefix length
      const auto prefix = ParsePrefix(TextOf(leaf));
      if (!prefix) return Remove(leaf);
      return Set(leaf, prefix->WithLength(prefix->length / 2).Text());
    }
    default:
      return Set(leaf, TextOf(any(like_it)));
  }
}

// ---- The plain model -------------------------------------------------------

Outcome Commit(const DataTree& running, const DataTree& tree) {
  commit::Options options;
  options.plugin = IPAV_PLUGIN;
  options.all = true;
  return commit::RunCommit(running, tree, options);
}

// The texts of the refusals that the plain model gives in that commit.
std::set<std::string> RefusalsOf(const DataTree& running,
                                 const DataTree& tree) {
  const auto answers = Commit(running, tree).answers;
  const auto plain = model::AnswersTo(answers, running, tree);
  std::set<std::string> texts;
  for (std::size_t i = 0; i < answers.size(); ++i) {
    // The description is right only if both agree.
    RC_ASSERT(plain[i].text == answers[i].text);
    if (plain[i].verdict != 0) texts.insert(*plain[i].text);
  }
  return texts;
}

// ---- The test --------------------------------------------------------------

TEST(FixPropertyTest, PlainModelAcceptsWhatEachFixCorrects) {
  std::size_t count = 0;
  ASSERT_TRUE(rc::check([&] {
    // 1. A random change.
    const DataTree& running = Running(*rc::gen::arbitrary<bool>());
    std::vector<Edit> edits;
    for (int i = *rc::gen::inRange(1, 4); i > 0; --i) {
      edits.push_back(AnyEdit(running));
      RC_LOG() << edits.back().path << " = " << edits.back().value << '\n';
    }
    const std::optional<DataTree> candidate = Apply(edits, running, running);
    RC_PRE(candidate.has_value());
    // 2. The fixes of its refusals.
    const base::Countdown countdown(base::kNoTimeLimit);
    const std::string plugin = IPAV_PLUGIN;
    Fixer fixer(running, *candidate, plugin, countdown);
    const auto findings =
        messages::Finder({&running, "", nullptr}, {&*candidate, "", nullptr})
            .ExplainAll(fixer.outcome());
    const std::set<std::string> before = RefusalsOf(running, *candidate);
    const DataTree empty = DataTree::Empty(running.model());
    std::set<std::string> known;
    for (const Finding& finding : findings) {
      const bool is_of_timers = finding.rule.rfind("ra-", 0) == 0;
      if (!known.insert(finding.text).second || is_of_timers) continue;
      for (const Fix& fix : fixer.FixesOf(finding)) {
        RC_LOG() << finding.text << ": " << fix.text << '\n';
        // 3. The plain model.
        const auto after = RefusalsOf(running, *fix.tree);
        RC_ASSERT(after.count(finding.text) == 0U);
        RC_ASSERT(RefusalsOf(empty, *fix.tree).count(finding.text) == 0U);
        // Running has no fault: another one of a single edit was only hidden,
        // and is about the same value.
        for (const std::string& text : after) {
          const bool is_known = before.count(text) > 0 || edits.size() > 1 ||
                                finding.rule.rfind("address-is-", 0) == 0;
          if (is_known) continue;
          RC_LOG() << text << '\n';
          RC_ASSERT(text.find(edits.front().value + " ") == 0U);
        }
        ++count;
      }
    }
  }));
  EXPECT_GT(count, 0U);
}

}  // namespace
}  // namespace ipav::fixer
