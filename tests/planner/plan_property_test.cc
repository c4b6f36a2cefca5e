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
#include "host/datastore/input_text.h"
#include "host/datastore/model.h"
#include "planner/composer.h"
#include "planner/core.h"
#include "planner/search.h"
#include "planner/verdicts.h"

namespace ipav::planner {
namespace {

using datastore::DataTree;
using datastore::Model;

constexpr std::size_t kMostChanges = 4;

// The first three are hosts in networks of their own; the others are refused
// beside one of them, or alone.
constexpr std::array<const char*, 6> kAddresses = {
    "10.0.0.1/24", "10.0.1.1/24", "10.0.2.1/24",
    "10.0.0.2/24", "10.0.2.0/24", "10.0.0.1/16"};
constexpr std::array<const char*, 3> kVrfs = {"", "red", "mgmt"};
constexpr std::array<const char*, 3> kVlans = {"10", "11", ""};
constexpr std::array<const char*, 2> kAreas = {"0.0.0.0", "0.0.0.1"};
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

std::string Element(const std::string& name, const std::string& content) {
  return "<" + name + ">" + content + "</" + name + ">";
}

std::string NameOf(std::size_t number) { return "if" + std::to_string(number); }

std::string InterfaceText(std::size_t number, const Interface& interface) {
  if (!interface.exists) return "";
  const std::string vrf = kVrfs.at(interface.vrf);
  const std::string vlan = kVlans.at(interface.vlan);
  std::string text = Element("name", NameOf(number));
  if (!vrf.empty()) text += Element("vrf", vrf);
  if (!vlan.empty()) {
    text += Element("lower-layer-if", Element("vlan", vlan));
  }
  text += Element(
      "ipv4",
      Element("address", Element("ip", kAddresses.at(interface.address))));
  return "<l3 xmlns=\"urn:vorplex:ipapp\">" + text + "</l3>";
}

std::string OspfText(std::size_t number, const Interface& interface) {
  std::string text;
  if (interface.in_ospf) {
    text += Element("ospf-interface-l3",
                    Element("compound-id", "10") + Element("area", "0.0.0.0") +
                        Element("interface", "l3-" + NameOf(number)) +
                        Element("address", "10.0.0.1") +
                        Element("ospf-pm-ip-netmask", "24"));
  }
  for (std::size_t area = 0; area < interface.areas; ++area) {
    text += Element("ospfv3-interface-l3",
                    Element("router", "6") + Element("area", kAreas.at(area)) +
                        Element("interface", "l3-" + NameOf(number)) +
                        Element("ospfv3-pm-if-index", "1010") +
                        Element("ospfv3-pm-if-name", "l3-" + NameOf(number)));
  }
  return text;
}

// A route through the interface, in both of its tables.
struct RouteTexts {
  std::string entry;
  std::string output;
};

RouteTexts RouteText(std::size_t number, const Interface& interface) {
  if (!interface.has_route) return {};
  const std::string index = Element("rtmStaticRtFteIndex", "0");
  const std::string destination =
      Element("rtmStaticRtDest", "0a:14:0" + std::to_string(number) + ":00");
  const std::string length = Element("rtmStaticRtDestPfxLen", "24");
  const std::string hop = Element("rtmStaticRtNextHop", "0a:00:00:09");
  return {Element("rtmStaticRtEntry",
                  index + Element("rtmStaticRtDestType", "ipv4") + destination +
                      length + Element("rtmStaticRtNextHopType", "ipv4") + hop),
          "<rtmStaticRtEntry-global xmlns=\"urn:vorplex:dc-rtm-mib\">" + index +
              destination + length + hop +
              Element("interface-name", "l3-" + NameOf(number)) +
              "</rtmStaticRtEntry-global>"};
}

std::string TextOf(const Network& network) {
  std::string interfaces;
  std::string ospf;
  std::string entries;
  std::string outputs;
  for (std::size_t i = 0; i < kInterfaces; ++i) {
    interfaces += InterfaceText(i, network.at(i));
    ospf += OspfText(i, network.at(i));
    const RouteTexts route = RouteText(i, network.at(i));
    entries += route.entry;
    outputs += route.output;
  }
  return "<config xmlns=\"urn:vorplex:config\">" +
         Element("interface", interfaces) +
         "</config><internal xmlns=\"urn:vorplex:internal\">" + ospf +
         Element("ospf-index-to-proc-id", Element("compound-id", "10") +
                                              Element("proc_id", "10") +
                                              Element("vrf_name", "global")) +
         "</internal><DC-RTM-MIB xmlns=\"urn:vorplex:dc-rtm-mib\">" +
         Element("rtmStaticRtTable", entries) + "</DC-RTM-MIB>" + outputs;
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
    interface.areas = *rc::gen::inRange<std::size_t>(0, kAreas.size() + 1);
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
        interface.areas = *rc::gen::inRange<std::size_t>(0, kAreas.size() + 1);
        break;
      default:
        interface.in_ospf = !interface.in_ospf;
    }
  }
  return network;
}

const Model& ProjectModel() {
  static const Model kModel(IPAV_YANG_DIR, IPAV_EXTENSION);
  return kModel;
}

DataTree TreeOf(const Network& network) {
  return DataTree::FromText(ProjectModel(),
                            {"network", TextOf(network), 0, LYD_XML});
}

bool IsAccepted(const DataTree& from, const DataTree& to) {
  return commit::RunCommit(from, to, {IPAV_PLUGIN}).verdict ==
         commit::Verdict::kAccepted;
}

// All orders of a plan's changes, without detours.
class AllOrders {
 public:
  explicit AllOrders(const Composer& composer)
      : composer_(composer), empty_(DataTree::Empty(ProjectModel())) {}

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
    RC_LOG() << TextOf(before) << "\n" << TextOf(after) << "\n";
    const DataTree running = TreeOf(before);
    const DataTree goal = TreeOf(after);
    RC_PRE(IsAccepted(DataTree::Empty(ProjectModel()), running));
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
