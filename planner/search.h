// Searches for the fewest commits that lead from the running configuration to
// the goal.
//
// The refusals guide the search: the changes that a refusal names are left for
// a later commit. If no order of the changes is accepted, nodes that a refusal
// names and that both configurations have are taken away and put back later.
#ifndef IPAV_PLANNER_SEARCH_H_
#define IPAV_PLANNER_SEARCH_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "planner/composer.h"
#include "planner/verdicts.h"

namespace ipav::planner {

// The states after each commit, in their order.
using Steps = std::vector<State>;

enum class Style : std::uint8_t {
  kFewest,  // as few commits as possible
  kEach,    // as many: each makes as few changes as possible
};

struct SearchResult {
  // All are accepted. The last one is the goal if it was reached.
  Steps steps;
  bool reached = false;
  // If the goal is reached, no plan without detours has fewer commits.
  // Otherwise, all orders of its changes were tried, and all are refused.
  bool proven = false;
  bool is_limited = false;  // the search ended before it was complete
};

class Search {
 public:
  // The verdicts are borrowed. The goal is a set of changes.
  Search(Verdicts* verdicts, State goal)
      : verdicts_(*verdicts), goal_(std::move(goal)) {}

  SearchResult Run(Style style);

 private:
  // These throw LimitReached; the result then has the steps found so far.
  void FindSteps(Style style, SearchResult* result);
  // Appends steps until that goal is reached, or none is accepted. They only
  // make changes that the goal has.
  void AddSteps(Style style, const State& goal, Steps* steps);
  // Replaces a plan by one with fewer commits, or finds one with detours.
  void Improve(SearchResult* result);
  // Completes steps that do not reach the goal.
  void GoOn(SearchResult* result);
  void Divide(SearchResult* result);
  bool HasDetour(const Steps& steps) const;

  State LargestStep(const State& from, const State& goal);
  State SmallestStep(const State& from, const State& goal);
  State Grow(const State& from, State to, const std::vector<std::size_t>& more,
             const State& goal);
  bool AddWithNamed(const State& from, std::size_t item, const State& goal,
                    State* to);

  // The fewest commits that reach the goal, at most that many, if each group of
  // items is changed as a whole, and all detours together.
  std::optional<Steps> InGroups(const State& from,
                                const std::vector<State>& groups,
                                const State& detours, std::size_t most);
  struct Grouped;  // its states
  std::vector<std::size_t> ReachedFrom(const std::vector<std::size_t>& last,
                                       Grouped* states);
  std::vector<State> GroupsOf(const State& open) const;
  // Commits from a state to a goal, with nodes taken away that refusals name.
  std::optional<Steps> WithDetours(const State& from, const State& goal);
  bool AddDetour(const State& goal, Steps* steps);
  State NewDetours();

  const std::vector<Item>& items() const {
    return verdicts_.composer()->items();
  }

  // Whether the commit is accepted. Remembers what its refusal names.
  bool Accepts(const State& from, const State& to);

  Verdicts& verdicts_;
  const State goal_;
  State named_;                      // by a refusal so far
  State postponed_;                  // refused alone
  std::set<std::string> unchanged_;  // paths of culprits in no item
};

}  // namespace ipav::planner

#endif  // IPAV_PLANNER_SEARCH_H_
