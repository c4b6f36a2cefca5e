// Compares plans of random small changes with a search of all orders.
//
// RC_PARAMS sets the number of cases and the seed ("max_success=10000 seed=1");
// a failure prints both and a case that still fails.

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "planner/composer.h"
#include "planner/core.h"
#include "planner/search.h"
#include "planner/verdicts.h"
#include "tests/model/described.h"
#include "tests/planner/network_data.h"

namespace ipav::planner {
namespace {

using datastore::DataTree;

constexpr std::size_t kMostChanges = 4;

// The first three are hosts in networks of their own; the others are refused
// beside one of them, or alone.
constexpr std::array<const char*, 6> kAddresses = {
    "10.0.0.1/24", "10.0.1.1/24", "10.0.2.1/24",
    "10.0.0.2/24", "10.0.2.0/24", "10.0.0.1/16"};
constexpr std::array<const char*, 3> kVrfs = {"", "red", "mgmt"};
constexpr std::array<int, 3> kVlans = {10, 11, 0};
constexpr std::size_t kAreas = 2;
constexpr std::size_t kInterfaces = 3;

// What an interface has, as indexes into the arrays above.
struct Interface {
  bool exists = true;
  std::size_t address = 0;
  std::size_t vrf = 0;
  std::size_t vlan = 0;
  std::size_t areas = 0;  // of OSPFv3, which knows VLAN 10
  bool in_ospf = false;   // with the first address
  bool has_route = false;
};
using Network = std::array<Interface, kInterfaces>;

json JsonOf(const Network& network) {
  json data;
  for (std::size_t i = 0; i < kInterfaces; ++i) {
    const Interface& interface = network.at(i);
    const std::string name = "if" + std::to_string(i);
    json entry = {{"name", name}};
    const std::string vrf = kVrfs.at(interface.vrf);
    if (!vrf.empty()) entry["vrf"] = vrf;
    const int vlan = kVlans.at(interface.vlan);
    if (vlan != 0) entry["lower-layer-if"]["vlan"] = vlan;
    entry["ipv4"]["address"]["ip"] = kAddresses.at(interface.address);
    if (interface.exists) Merge(InterfacePart("l3", entry), &data);
    if (interface.in_ospf)
      Merge(Ospfv2Part("l3-" + name, "10.0.0.1/24"), &data);
    for (unsigned area = 0; area < interface.areas; ++area) {
      Merge(Ospfv3Part("l3-" + name, area, 1010), &data);
    }
    if (interface.has_route) {
      const std::string destination = "10.20." + std::to_string(i) + ".0/24";
      Merge(RoutePart(destination, "10.0.0.9", "l3-" + name), &data);
    }
  }
  return data;
}

// Most of them have no fault.
Network AnyNetwork() {
  Network network;
  for (std::size_t i = 0; i < kInterfaces; ++i) {
    Interface& interface = network.at(i);
    interface.exists = *rc::gen::weightedElement<bool>({{4, true}, {1, false}});
    interface.address = i;
    interface.vlan =
        *rc::gen::weightedElement<std::size_t>({{3, 0}, {1, 1}, {1, 2}});
    interface.areas = *rc::gen::inRange<std::size_t>(0, kAreas + 1);
    interface.has_route = interface.vlan != 2 && *rc::gen::inRange(0, 3) == 0;
    interface.in_ospf = i == 0 && *rc::gen::arbitrary<bool>();
    if (interface.in_ospf || interface.areas > 0) continue;
    interface.vrf = *rc::gen::inRange<std::size_t>(0, kVrfs.size());
  }
  return network;
}

Network Changed(Network network) {
  const auto changes = *rc::gen::inRange<std::size_t>(1, kMostChanges + 1);
  const auto first = *rc::gen::inRange<std::size_t>(0, kInterfaces);
  for (std::size_t i = 0; i < changes; ++i) {
    // Mostly the same interface: its changes may need an order.
    Interface& interface = network.at(*rc::gen::weightedOneOf<std::size_t>(
        {{3, rc::gen::just(first)},
         {1, rc::gen::inRange<std::size_t>(0, kInterfaces)}}));
    switch (*rc::gen::weightedElement<int>(
        {{1, 0}, {2, 1}, {1, 2}, {3, 3}, {1, 4}, {3, 5}, {1, 6}})) {
      case 0:
        interface.exists = !interface.exists;
        break;
      case 1:
        interface.address =
            *rc::gen::inRange<std::size_t>(0, kAddresses.size());
        break;
      case 2:
        interface.vrf = *rc::gen::inRange<std::size_t>(0, kVrfs.size());
        break;
      case 3:
        interface.vlan = *rc::gen::inRange<std::size_t>(0, kVlans.size());
        break;
      case 4:
        interface.has_route = !interface.has_route;
        break;
      case 5:
        interface.areas = *rc::gen::inRange<std::size_t>(0, kAreas + 1);
        break;
      default:
        interface.in_ospf = !interface.in_ospf;
    }
  }
  return network;
}

bool IsAccepted(const DataTree& from, const DataTree& to) {
  return commit::RunCommit(from, to, {IPAV_PLUGIN}).verdict ==
         commit::Verdict::kAccepted;
}

// All orders of a plan's changes, without detours.
class AllOrders {
 public:
  explicit AllOrders(const Composer& composer)
      : composer_(composer), empty_(DataTree::Empty(model::ProjectModel())) {}

  // Returns the smallest number of commits that make these changes; none if
  // every order is refused.
  std::optional<std::size_t> Fewest(const State& goal) {
    const std::vector<std::size_t> items(goal.begin(), goal.end());
    const std::size_t all = (std::size_t{1} << items.size()) - 1;
    const auto state_of = [&](std::size_t bits) {
      State state;
      for (std::size_t i = 0; i < items.size(); ++i) {
        if ((bits >> i & 1) != 0) state.insert(items[i]);
      }
      return state;
    };
    // Every subset has a larger number than the subsets of it.
    std::vector<std::optional<std::size_t>> commits(all + 1);
    commits[0] = 0;
    for (std::size_t to = 1; to <= all; ++to) {
      for (std::size_t from = 0; from < to; ++from) {
        if ((from & ~to) != 0 || !commits[from]) continue;
        if (commits[to] && *commits[to] <= *commits[from] + 1) continue;
        if (IsStep(state_of(from), state_of(to))) {
          commits[to] = *commits[from] + 1;
        }
      }
    }
    return commits[all];
  }

  bool IsStep(const State& from, const State& to) {
    const auto [known, is_new] = steps_.try_emplace({from, to}, false);
    if (is_new) {
      const auto before = composer_.Compose(from);
      const auto after = composer_.Compose(to);
      known->second = IsAccepted(*before->tree, *after->tree) &&
                      IsAccepted(empty_, *after->tree);
    }
    return known->second;
  }

 private:
  const Composer& composer_;
  const DataTree empty_;
  std::map<std::pair<State, State>, bool> steps_;
};

bool HasDetour(const Composer& composer, const Steps& steps) {
  for (const State& state : steps) {
    for (const std::size_t item : state) {
      if (composer.IsDetour(item)) return true;
    }
  }
  return false;
}

// A plan has the fewest commits, unless only a detour helps. Each is accepted,
// and the last one is the goal. Returns the kind of the plan.
std::string CheckPlan(const Composer& composer, const SearchResult& plan,
                      AllOrders* orders) {
  const State all = composer.goal();
  const std::optional<std::size_t> fewest = orders->Fewest(all);
  const bool has_detour = HasDetour(composer, plan.steps);
  RC_ASSERT(plan.reached == (fewest.has_value() || has_detour));
  if (fewest) RC_ASSERT(plan.steps.size() == *fewest);
  if (fewest) RC_ASSERT(plan.proven);
  State state;
  for (const State& step : plan.steps) {
    RC_ASSERT(orders->IsStep(state, step));
    state = step;
  }
  if (plan.reached) RC_ASSERT(state == all);
  return has_detour ? "detour" : std::to_string(plan.steps.size());
}

// A core has no plan, and has one without any of its changes. What is made has
// a plan. Returns the kinds of the cores.
std::vector<std::string> CheckObstacles(const Obstacles& obstacles,
                                        Verdicts* verdicts, AllOrders* orders) {
  const auto has_plan = [&](const State& changes) {
    return orders->Fewest(changes).has_value() ||
           Search(verdicts, changes).Run(Style::kFewest).reached;
  };
  std::vector<std::string> kinds;
  for (const Core& core : obstacles.cores) {
    RC_ASSERT(!orders->Fewest(core.changes));
    // It explains a change that is left out.
    RC_ASSERT(std::any_of(
        core.changes.begin(), core.changes.end(),
        [&](std::size_t change) { return obstacles.made.count(change) == 0; }));
    for (const std::size_t change : core.changes) {
      State rest = core.changes;
      rest.erase(change);
      RC_ASSERT(!core.is_smallest || has_plan(rest));
    }
    kinds.push_back((core.is_smallest ? "core of " : "larger core of ") +
                    std::to_string(core.changes.size()));
  }
  RC_ASSERT(has_plan(obstacles.made));
  return kinds;
}

TEST(PlanProperty, AgreesWithASearchOfAllOrders) {
  std::map<std::string, unsigned> kinds;
  const bool holds = rc::check([&kinds] {
    // 1. A running configuration without faults, and up to four changes.
    const Network before = AnyNetwork();
    const Network after = Changed(before);
    RC_LOG() << JsonOf(before) << "\n" << JsonOf(after) << "\n";
    const DataTree running = TreeOf(JsonOf(before));
    const DataTree goal = TreeOf(JsonOf(after));
    RC_PRE(IsAccepted(DataTree::Empty(running.model()), running));
    Composer composer(running, goal);
    RC_PRE(!composer.items().empty() &&
           composer.items().size() <= kMostChanges);

    // 2. The fewest commits, and at least as many.
    Verdicts verdicts(&composer, IPAV_PLUGIN, {});
    AllOrders orders(composer);
    const State all = composer.goal();
    const SearchResult plan = Search(&verdicts, all).Run(Style::kFewest);
    const std::string kind = CheckPlan(composer, plan, &orders);
    const SearchResult each = Search(&verdicts, all).Run(Style::kEach);
    RC_ASSERT(each.reached == plan.reached);
    const std::optional<std::size_t> fewest = orders.Fewest(all);
    if (fewest) RC_ASSERT(each.steps.size() >= *fewest);

    // 3. What is in the way, if there is no plan.
    if (plan.reached) {
      ++kinds[kind];
      return;
    }
    const State made = plan.steps.empty() ? State{} : plan.steps.back();
    for (const std::string& core : CheckObstacles(
             FindObstacles(&verdicts, all, made), &verdicts, &orders)) {
      ++kinds[core];
    }
  });
  for (const auto& [kind, count] : kinds) {
    std::cout << kind << ": " << count << "\n";
  }
  EXPECT_TRUE(holds);
}

}  // namespace
}  // namespace ipav::planner
