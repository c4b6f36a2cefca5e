#include "tests/model/scenario.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <utility>

#include "tests/model/pools.h"
#include "tests/model/random_configuration.h"
#include "tests/model/random_ospf.h"

namespace ipav::model {

namespace {

using rc::Gen;
namespace gen = rc::gen;

// ---- Transactions ----------------------------------------------------------

// The same interfaces in other VRFs, with other routes and changes.
Configuration Changed(const Configuration& before, Configuration other) {
  const auto move = [](const std::vector<InterfaceEntry>& from,
                       std::vector<InterfaceEntry>* to) {
    std::vector<InterfaceEntry> entries = from;
    for (std::size_t i = 0; i < std::min(entries.size(), to->size()); ++i) {
      if (IsAddressable(entries[i].key)) entries[i].vrf = (*to)[i].vrf;
    }
    *to = entries;
  };
  move(before.l3, &other.l3);
  move(before.loopback, &other.loopback);
  move(before.mgmt, &other.mgmt);
  other.running = before.running;
  other.ospfv2 = before.ospfv2;
  other.processes = before.processes;
  other.ospfv3 = before.ospfv3;
  return other;
}

// Twice the same, at first with a row that an OSPFv2 read stumbles over.
Gen<std::vector<Configuration>> AnyMended() {
  return gen::map(
      gen::tuple(AnyConfiguration(), AnyBadRow(), gen::inRange(0, 6)),
      [](const auto& parts) {
        const auto& [mended, row, at] = parts;
        Configuration bad = mended;
        bad.ospfv2 = WithRowAt(bad.ospfv2, static_cast<std::size_t>(at), row);
        return std::vector<Configuration>{bad, mended};
      });
}

Gen<std::vector<Configuration>> AnyTransactions() {
  const auto one =
      gen::container<std::vector<Configuration>>(1, AnyConfiguration());
  const auto two =
      gen::container<std::vector<Configuration>>(2, AnyConfiguration());
  const auto changed = gen::map(two, [](std::vector<Configuration> pair) {
    pair[1] = Changed(pair[0], pair[1]);
    return pair;
  });
  return gen::weightedOneOf<std::vector<Configuration>>(
      {{2, one}, {1, two}, {1, changed}});
}

// ---- Places ----------------------------------------------------------------

Place PlaceOf(std::initializer_list<const char*> nodes) {
  Place place;
  for (const char* node : nodes) place.push_back({node});
  return place;
}

Place Below(const std::string& list, const std::string& key,
            std::initializer_list<const char*> nodes) {
  Place place = {{"config"}, {"interface"}, {list}, {key, true}};
  for (const char* node : nodes) place.push_back({node});
  return place;
}

// Mostly of an interface that is there.
Gen<std::string> KeyOf(const std::vector<Configuration>& transactions,
                       const std::string& list) {
  std::vector<std::string> keys;
  for (const Configuration& configuration : transactions) {
    const auto& entries = list == "l3"         ? configuration.l3
                          : list == "loopback" ? configuration.loopback
                                               : configuration.mgmt;
    for (const InterfaceEntry& entry : entries) {
      if (keys.size() < 8) keys.push_back(entry.key);
    }
  }
  auto any = list == "l3" ? AnyL3Key() : AnyPlainKey();
  if (keys.empty()) return any;
  return gen::weightedOneOf<std::string>({{6, gen::elementOf(keys)}, {1, any}});
}

// Of a list of interfaces, as the daemon calls points that look at it whole;
// and other ends of a path, at every depth at which something is looked for.
Gen<Place> AnyPlace() {
  const auto six = [](const char* list, const char* last) {
    Place place = PlaceOf({"internal", list, "1", "a", "b", last});
    place[2].is_key = true;
    return place;
  };
  return gen::weightedElement<Place>({
      {40, PlaceOf({"config", "interface", "l3"})},
      {30, PlaceOf({"config", "interface", "loopback"})},
      {14, PlaceOf({"config", "interface", "mgmt"})},
      {5, PlaceOf({"config", "interface", "ospf"})},
      {2, Place()},
      {2, PlaceOf({"l3"})},
      {2, PlaceOf({"interface", "loopback"})},
      {3, PlaceOf({"top", "config", "interface", "l3"})},
      {2, PlaceOf({"at", "top", "config", "interface", "loopback"})},
      {1, Below("l3", "1", {"loopback"})},
      {1, Below("l3", "1", {"ipv4", "address", "mgmt"})},
      {3, six("ospf-interface-l3", "ospf-pm-ip-netmask")},
      {2, six("ospf-interface-l3", "l3")},
      {1, six("ospf-interface-l3", "loopback")},
      {1, six("ospfv3-interface-l3", "l3")},
      {1, six("l3", "loopback")},
  });
}

Gen<Place> AnyTimersPlace(const std::vector<Configuration>& transactions) {
  const auto list = gen::weightedElement<std::string>(
      {{8, "l3"}, {4, "mgmt"}, {1, "loopback"}, {1, "ospf-interface-l3"}});
  return gen::mapcat(list, [transactions](const std::string& of) {
    return gen::map(KeyOf(transactions, of), [of](const std::string& key) {
      return Below(of, key, {"ipv6", "nd", "ra"});
    });
  });
}

Gen<Place> AnyVlanPlace(const std::vector<Configuration>& transactions) {
  return gen::map(KeyOf(transactions, "l3"), [](const std::string& key) {
    return Below("l3", key, {"lower-layer-if"});
  });
}

// ---- Calls -----------------------------------------------------------------

// A point's name, or one that is too short, and what a use site may append.
Gen<std::string> AnyOpaque() {
  const auto name = gen::weightedElement<std::string>({
      {6, "intf_l3_name_validation"},
      {18, "intf_vrf_validation"},
      {10, "ipv4_addr_validation"},
      {10, "ipv4_addr_prot_cross_validation"},
      {8, "ipv4_addr_route_validation"},
      {8, "ipv6_addr_validation"},
      {9, "ipv6_addr_route_validation"},
      {6, "validate_ipv6_nd_ra_interval"},
      {6, "validate_ipv6_nd_ra_lifetime"},
      {6, "static_route_l3_intf_validation"},
      {7, "lower_layer_prot_cross_validation"},
      {1, "ipv4_addr_validatio"},
      {1, ""},
  });
  const auto more =
      gen::weightedElement<std::string>({{12, ""}, {1, "2"}, {1, " of it"}});
  return gen::map(gen::pair(name, more), [](const auto& chosen) {
    return chosen.first.empty() ? "" : chosen.first + chosen.second;
  });
}

Gen<Place> AnyPlaceOf(const std::string& opaque,
                      const std::vector<Configuration>& transactions) {
  const auto begins_with = [&](const std::string& beginning) {
    return opaque.compare(0, beginning.size(), beginning) == 0;
  };
  if (begins_with("lower_layer")) return AnyVlanPlace(transactions);
  if (begins_with("validate_ipv6")) return AnyTimersPlace(transactions);
  return AnyPlace();
}

Gen<Call> AnyCall(const std::vector<Configuration>& transactions) {
  const auto action = gen::weightedElement<Action>({{60, Action::kValidate},
                                                    {7, Action::kReadRoutes},
                                                    {5, Action::kRouteRules},
                                                    {7, Action::kNextHopRule},
                                                    {3, Action::kLimitRule},
                                                    {2, Action::kBlackHoleRule},
                                                    {5, Action::kOutputRule},
                                                    {5, Action::kMerge}});
  const auto with_place =
      gen::mapcat(AnyOpaque(), [transactions](const std::string& opaque) {
        return gen::pair(gen::just(opaque), AnyPlaceOf(opaque, transactions));
      });
  const auto transaction =
      gen::weightedElement<std::size_t>({{1, 0}, {1, transactions.size() - 1}});
  return gen::map(
      gen::tuple(action, with_place,
                 gen::weightedElement<int>({{3, 4}, {14, 6}, {1, 5}}),
                 transaction),
      [](const auto& parts) {
        const auto& [chosen, point, family, current] = parts;
        return Call{chosen, point.first, point.second, family, current};
      });
}

// ---- Lives -----------------------------------------------------------------

// One transaction after the other.
Scenario LifeOf(const std::vector<Configuration>& transactions,
                std::vector<Call> calls) {
  std::stable_sort(calls.begin(), calls.end(),
                   [](const Call& a, const Call& b) {
                     return a.transaction < b.transaction;
                   });
  return {transactions, std::move(calls)};
}

Gen<Scenario> AnyLife() {
  return gen::mapcat(
      AnyTransactions(), [](const std::vector<Configuration>& transactions) {
        return gen::map(UpTo(9, AnyCall(transactions)),
                        [transactions](const std::vector<Call>& calls) {
                          return LifeOf(transactions, calls);
                        });
      });
}

// The read is left by an exception, and repeated on the mended table.
Gen<Scenario> AnyMendedLife() {
  return gen::mapcat(
      AnyMended(), [](const std::vector<Configuration>& transactions) {
        return gen::map(UpTo(6, AnyCall(transactions)),
                        [transactions](std::vector<Call> calls) {
                          Call call;
                          call.opaque = "ipv4_addr_prot_cross_validation";
                          calls.insert(calls.begin(), call);
                          call.transaction = 1;
                          calls.insert(calls.begin(), call);
                          return LifeOf(transactions, calls);
                        });
      });
}

}  // namespace

Gen<Scenario> AnyScenario() {
  return gen::weightedOneOf<Scenario>({{8, AnyLife()}, {1, AnyMendedLife()}});
}

std::ostream& operator<<(std::ostream& out, const Scenario& scenario) {
  for (std::size_t i = 0; i < scenario.transactions.size(); ++i) {
    out << "\ntransaction " << i << ":\n" << scenario.transactions[i];
  }
  for (const Call& call : scenario.calls) out << "call " << call << '\n';
  return out;
}

}  // namespace ipav::model
