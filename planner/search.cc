#include "planner/search.h"

#include <algorithm>
#include <iterator>

#include "host/confd/path.h"
#include "messages/data_view.h"
#include "planner/named_items.h"

namespace ipav::planner {

namespace {

using messages::Finding;

// With more groups of changes, the search for the fewest commits would take too
// many verdicts: at most 3^5, or four times as many with detours.
constexpr std::size_t kMostGroups = 5;

// Enough for any plan in groups: each changes once, and the detours twice.
constexpr std::size_t kMostCommits = kMostGroups + 2;

State Union(State a, const State& b) {
  a.insert(b.begin(), b.end());
  return a;
}

State Difference(const State& a, const State& b) {
  State result;
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(),
                      std::inserter(result, result.end()));
  return result;
}

State LastOf(const Steps& steps) {
  return steps.empty() ? State{} : steps.back();
}

}  // namespace

bool Search::Accepts(const State& from, const State& to) {
  const Verdict& verdict = verdicts_.Of(from, to);
  if (verdict.accepted) return true;
  for (const Finding& finding : verdict.findings) {
    for (const std::string& path : PathsOf(finding)) {
      const std::vector<std::size_t> at = ItemsAt(items(), goal_, {path});
      named_.insert(at.begin(), at.end());
      if (at.empty()) unchanged_.insert(path);
    }
  }
  return false;
}

SearchResult Search::Run(Style style) {
  SearchResult result;
  try {
    FindSteps(style, &result);
  } catch (const LimitReached&) {
    result.is_limited = true;
  }
  return result;
}

void Search::FindSteps(Style style, SearchResult* result) {
  // 1. One commit, if it may be.
  const bool is_fewest = style == Style::kFewest;
  if (goal_.empty() || (is_fewest && Accepts({}, goal_))) {
    if (!goal_.empty()) result->steps = {goal_};
    result->reached = result->proven = true;
    return;
  }
  // 2. The largest steps, or the smallest ones.
  AddSteps(style, goal_, &result->steps);
  result->reached = LastOf(result->steps) == goal_;
  result->proven = is_fewest && result->reached && result->steps.size() == 2;
  if (result->proven || (result->reached && !is_fewest)) return;
  // 3. Every order of the changes that refusals named, and then detours.
  Improve(result);
  if (!result->reached) GoOn(result);
  if (!is_fewest && result->reached) Divide(result);
}

void Search::Improve(SearchResult* result) {
  const std::vector<State> groups = GroupsOf(goal_);
  const std::size_t most =
      result->reached ? result->steps.size() - 1 : kMostCommits;
  std::optional<Steps> steps;
  if (!groups.empty()) steps = InGroups({}, groups, {}, most);
  if (!steps && !result->reached) steps = WithDetours({}, goal_);
  if (steps) result->steps = *steps;
  result->reached = result->reached || steps.has_value();
  // Two commits are the fewest: one was refused.
  const bool is_complete = groups.size() == goal_.size();
  result->proven = (is_complete && !HasDetour(result->steps)) ||
                   (result->reached && result->steps.size() == 2);
}

void Search::GoOn(SearchResult* result) {
  const State at = LastOf(result->steps);
  if (at.empty()) return;
  const std::vector<State> groups = GroupsOf(Difference(goal_, at));
  std::optional<Steps> steps;
  if (!groups.empty()) steps = InGroups(at, groups, {}, kMostCommits);
  if (!steps) steps = WithDetours(at, goal_);
  if (!steps) return;
  result->steps.insert(result->steps.end(), steps->begin(), steps->end());
  result->reached = true;
  result->proven = false;
}

// Replaces each commit by as many as possible.
void Search::Divide(SearchResult* result) {
  Steps divided;
  for (const State& to : result->steps) {
    Steps smaller = divided;
    AddSteps(Style::kEach, to, &smaller);
    if (LastOf(smaller) == to) {
      divided = std::move(smaller);
    } else {
      divided.push_back(to);
    }
  }
  result->steps = std::move(divided);
  result->proven = false;
}

bool Search::HasDetour(const Steps& steps) const {
  return std::any_of(steps.begin(), steps.end(), [&](const State& state) {
    return !Difference(state, goal_).empty();
  });
}

void Search::AddSteps(Style style, const State& goal, Steps* steps) {
  State state = LastOf(*steps);
  while (Difference(state, goal).empty() && state != goal) {
    State next = style == Style::kEach  ? SmallestStep(state, goal)
                 : Accepts(state, goal) ? goal
                                        : LargestStep(state, goal);
    if (next != state) {
      steps->push_back(next);
    } else if (style == Style::kFewest || !AddDetour(goal, steps)) {
      break;
    }
    state = LastOf(*steps);
  }
}

// Makes one more change, with a detour of its own.
bool Search::AddDetour(const State& goal, Steps* steps) {
  const State state = LastOf(*steps);
  for (const std::size_t item : Difference(goal, state)) {
    const auto more = WithDetours(state, Union(state, {item}));
    if (!more) continue;
    steps->insert(steps->end(), more->begin(), more->end());
    return true;
  }
  return false;
}

// Drops the changes that are refused, and then adds those again that were
// dropped without need.
State Search::LargestStep(const State& from, const State& goal) {
  State to = goal;
  std::vector<std::size_t> dropped;
  while (to != from && !Accepts(from, to)) {
    const State open = Difference(to, from);
    State named = ItemsNamed(verdicts_.Of(from, to), items(), open, true);
    if (named.empty()) {
      // Nothing is known about the culprits: the second half.
      auto half = open.begin();
      std::advance(half, static_cast<std::ptrdiff_t>(open.size() / 2));
      named.insert(half, open.end());
    }
    for (const std::size_t item : named) {
      if (to.erase(item) > 0) dropped.push_back(item);
    }
  }
  std::sort(dropped.begin(), dropped.end());
  State grown = to;
  do {
    to = grown;
    dropped.erase(
        std::remove_if(dropped.begin(), dropped.end(),
                       [&](std::size_t item) { return to.count(item) > 0; }),
        dropped.end());
    grown = Grow(from, to, dropped, goal);
  } while (grown != to);
  return to;
}

// Adds as many of these changes as possible, in groups, by halving those that
// are refused.
State Search::Grow(const State& from, State to,
                   const std::vector<std::size_t>& more, const State& goal) {
  if (more.empty()) return to;
  State all = Union(to, {more.begin(), more.end()});
  if (Accepts(from, all)) return all;
  if (more.size() == 1) {
    AddWithNamed(from, more.front(), goal, &to);
    return to;
  }
  const auto half = more.begin() + static_cast<std::ptrdiff_t>(more.size() / 2);
  to = Grow(from, std::move(to), {more.begin(), half}, goal);
  return Grow(from, std::move(to), {half, more.end()}, goal);
}

// Adds a change, and those that its refusals name, if they are accepted
// together.
bool Search::AddWithNamed(const State& from, std::size_t item,
                          const State& goal, State* to) {
  State together = Union(*to, {item});
  while (!Accepts(from, together)) {
    const State more = ItemsNamed(verdicts_.Of(from, together), items(),
                                  Difference(goal, together), true);
    if (more.empty()) return false;
    together.insert(more.begin(), more.end());
  }
  *to = std::move(together);
  return true;
}

State Search::SmallestStep(const State& from, const State& goal) {
  // 1. One change. Those that were refused alone come last.
  const State open = Difference(goal, from);
  for (const State& some : {Difference(open, postponed_), postponed_}) {
    for (const std::size_t item : some) {
      if (open.count(item) == 0) continue;
      State to = Union(from, {item});
      if (Accepts(from, to)) return to;
      postponed_.insert(item);
    }
  }
  // 2. One with those that its refusal names.
  for (const std::size_t item : open) {
    State to = from;
    if (AddWithNamed(from, item, goal, &to)) return to;
  }
  return LargestStep(from, goal);
}

// Each of the changes that refusals named, and all others together; none if
// that is too many.
std::vector<State> Search::GroupsOf(const State& open) const {
  const bool all_alone = open.size() <= kMostGroups;
  std::vector<State> groups;
  State rest;
  for (const std::size_t item : open) {
    if (all_alone || named_.count(item) > 0) {
      groups.push_back({item});
    } else {
      rest.insert(item);
    }
  }
  if (!rest.empty()) groups.push_back(std::move(rest));
  if (groups.size() > kMostGroups) groups.clear();
  return groups;
}

// The states of a search in groups. Each has a number: a bit for each group,
// and the highest for the detours.
struct Search::Grouped {
  const State& from;
  const std::vector<State>& groups;
  const State& detours;
  std::size_t goal;
  std::vector<std::optional<std::size_t>> parent;  // none: not reached

  State StateOf(std::size_t bits) const {
    State state = bits > goal ? Union(from, detours) : from;
    for (std::size_t i = 0; i < groups.size(); ++i) {
      if ((bits >> i & 1) != 0) state = Union(std::move(state), groups[i]);
    }
    return state;
  }
};

std::optional<Steps> Search::InGroups(const State& from,
                                      const std::vector<State>& groups,
                                      const State& detours, std::size_t most) {
  // 1. Only the start is reached.
  const std::size_t goal = (std::size_t{1} << groups.size()) - 1;
  Grouped states{from, groups, detours, goal, {}};
  states.parent.resize(detours.empty() ? goal + 1 : 2 * (goal + 1));
  states.parent[0] = 0;
  // 2. One more commit, until the goal is reached or no state is new.
  std::vector<std::size_t> last = {0};
  for (std::size_t commits = 0;
       commits < most && !last.empty() && !states.parent[goal]; ++commits) {
    last = ReachedFrom(last, &states);
  }
  if (!states.parent[goal]) return std::nullopt;
  // 3. The commits, from the last one to the first.
  Steps steps;
  for (std::size_t at = goal; at != 0; at = *states.parent[at]) {
    steps.push_back(states.StateOf(at));
  }
  std::reverse(steps.begin(), steps.end());
  return steps;
}

// The new states that one more commit reaches from those of the last commit.
// The goal is the last one if it is reached.
std::vector<std::size_t> Search::ReachedFrom(
    const std::vector<std::size_t>& last, Grouped* states) {
  const std::size_t goal = states->goal;
  std::vector<std::size_t> reached;
  for (const std::size_t at : last) {
    // The largest steps first, so that the first commits do what they can;
    // those with detours last.
    for (std::size_t i = 0; i < states->parent.size(); ++i) {
      const std::size_t to = i ^ goal;
      const bool undoes = (at & ~to & goal) != 0;
      if (states->parent[to] || undoes ||
          !Accepts(states->StateOf(at), states->StateOf(to))) {
        continue;
      }
      states->parent[to] = at;
      reached.push_back(to);
      if (to == goal) return reached;
    }
  }
  return reached;
}

// The nodes of both configurations that refusals named since the last call.
State Search::NewDetours() {
  Composer& composer = *verdicts_.composer();
  const messages::DataView running(composer.running());
  const messages::DataView goal(composer.goal_tree());
  State detours;
  for (const std::string& path : unchanged_) {
    const lyd_node* node = running.AtPath(path);
    // The path of a whole list names no entry of it.
    const bool is_node = node != nullptr && confd::PrintPath(node) == path;
    if (!is_node || goal.AtPath(path) == nullptr) continue;
    detours.insert(composer.DetourOf(*NodeToTakeAway(node)));
  }
  unchanged_.clear();
  return detours;
}

std::optional<Steps> Search::WithDetours(const State& from, const State& goal) {
  // 1. Take away what is in the way of all changes, until they are accepted or
  // nothing new is named.
  unchanged_.clear();
  State detours;
  const auto are_made = [&] {
    return !detours.empty() && Accepts(from, Union(goal, detours));
  };
  static_cast<void>(Accepts(from, goal));
  while (!are_made()) {
    const std::size_t before = detours.size();
    detours = Union(std::move(detours), NewDetours());
    if (detours.size() == before) break;
  }
  // 2. Put it back: in the second commit, or in any order.
  if (detours.empty()) return std::nullopt;
  if (!are_made() || !Accepts(Union(goal, detours), goal)) {
    const std::vector<State> groups = GroupsOf(Difference(goal, from));
    if (groups.empty()) return std::nullopt;
    return InGroups(from, groups, detours, kMostCommits);
  }
  // 3. Leave in place what need not be taken away.
  for (const std::size_t detour : State(detours)) {
    if (detours.size() == 1) break;
    State fewer = detours;
    fewer.erase(detour);
    const State between = Union(goal, fewer);
    if (Accepts(from, between) && Accepts(between, goal)) {
      detours = std::move(fewer);
    }
  }
  return Steps{Union(goal, detours), goal};
}

}  // namespace ipav::planner
