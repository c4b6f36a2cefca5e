#include "tests/model/scenario.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <utility>

#include "tests/model/pools.h"
#include "tests/model/random_configuration.h"

namespace ipav::model {

namespace {

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

// ---- Places ----------------------------------------------------------------

// Mostly the key of an existing interface.
std::string KeyOf(Choices* choices,
                  const std::vector<Configuration>& transactions,
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
  const std::string any =
      list == "l3" ? AnyL3Key(choices) : AnyPlainKey(choices);
  if (keys.empty()) return any;
  const std::string known = choices->OneOf(keys);
  return choices->Chance(1, 7) ? any : known;
}

// The path of a list of interfaces, as for points on a whole list; or a path
// with another end, at every depth that the plug-in reads.
std::string AnyPath(Choices* choices) {
  return choices->Pick<std::string>({
      {40, "/config/interface/l3"},
      {30, "/config/interface/loopback"},
      {14, "/config/interface/mgmt"},
      {5, "/config/interface/ospf"},
      {2, ""},
      {2, "/l3"},
      {2, "/interface/loopback"},
      {3, "/top/config/interface/l3"},
      {2, "/at/top/config/interface/loopback"},
      {1, "/config/interface/l3{1}/loopback"},
      {1, "/config/interface/l3{1}/ipv4/address/mgmt"},
      {3, "/internal/ospf-interface-l3{1}/a/b/ospf-pm-ip-netmask"},
      {2, "/internal/ospf-interface-l3{1}/a/b/l3"},
      {1, "/internal/ospf-interface-l3{1}/a/b/loopback"},
      {1, "/internal/ospfv3-interface-l3{1}/a/b/l3"},
      {1, "/internal/l3{1}/a/b/loopback"},
  });
}

std::string AnyPathOf(Choices* choices, const std::string& opaque,
                      const std::vector<Configuration>& transactions) {
  const auto begins_with = [&](const std::string& beginning) {
    return opaque.compare(0, beginning.size(), beginning) == 0;
  };
  if (begins_with("lower_layer")) {
    return "/config/interface/l3{" + KeyOf(choices, transactions, "l3") +
           "}/lower-layer-if";
  }
  if (begins_with("validate_ipv6")) {
    const auto list = choices->Pick<std::string>(
        {{8, "l3"}, {4, "mgmt"}, {1, "loopback"}, {1, "ospf-interface-l3"}});
    return "/config/interface/" + list + "{" +
           KeyOf(choices, transactions, list) + "}/ipv6/nd/ra";
  }
  return AnyPath(choices);
}

// ---- Calls -----------------------------------------------------------------

// The name of a point, or a beginning of it, and text that a use site may
// append.
std::string AnyOpaque(Choices* choices) {
  const auto name = choices->Pick<std::string>({
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
      choices->Pick<std::string>({{12, ""}, {1, "2"}, {1, " of it"}});
  return name.empty() ? "" : name + more;
}

Call AnyCall(Choices* choices, const std::vector<Configuration>& transactions) {
  Call call;
  call.action = choices->Pick<Action>({{60, Action::kValidate},
                                       {7, Action::kReadRoutes},
                                       {5, Action::kRouteRules},
                                       {7, Action::kNextHopRule},
                                       {3, Action::kLimitRule},
                                       {2, Action::kBlackHoleRule},
                                       {5, Action::kOutputRule},
                                       {5, Action::kMerge}});
  call.opaque = AnyOpaque(choices);
  call.family = choices->Pick<int>({{3, 4}, {14, 6}, {1, 5}});
  call.transaction = choices->Below(transactions.size());
  call.place = PlaceOf(AnyPathOf(choices, call.opaque, transactions));
  return call;
}

// ---- Lives -----------------------------------------------------------------

// Calls on one configuration or two.
Scenario AnyLife(Choices* choices, const Configuration& first,
                 const Configuration& second) {
  const auto transactions = choices->Pick<std::vector<Configuration>>(
      {{2, {first}},
       {1, {first, second}},
       {1, {first, Changed(first, second)}}});
  return {transactions,
          choices->UpTo(9, [&] { return AnyCall(choices, transactions); })};
}

// A bad row makes the read of the OSPFv2 table throw; the read is repeated on a
// table without it.
Scenario AnyMendedLife(Choices* choices, const Configuration& mended) {
  Configuration bad = mended;
  InsertAnywhere(choices, AnyBadRow(choices), &bad.ospfv2);
  const std::vector<Configuration> transactions = {bad, mended};
  std::vector<Call> calls =
      choices->UpTo(6, [&] { return AnyCall(choices, transactions); });
  for (const unsigned transaction : {1U, 0U}) {
    Call call;
    call.opaque = "ipv4_addr_prot_cross_validation";
    call.transaction = transaction;
    calls.insert(calls.begin(), call);
  }
  return {transactions, calls};
}

}  // namespace

Scenario AnyScenario(Choices* choices) {
  constexpr std::size_t kNumbersOfConfiguration = 600;
  Choices of_first = choices->Part(kNumbersOfConfiguration);
  Choices of_second = choices->Part(kNumbersOfConfiguration);
  const Configuration first = AnyConfiguration(&of_first);
  const Configuration second = AnyConfiguration(&of_second);

  Scenario scenario = choices->Chance(1, 9) ? AnyMendedLife(choices, first)
                                            : AnyLife(choices, first, second);
  // The calls of one transaction after those of the other.
  std::stable_sort(scenario.calls.begin(), scenario.calls.end(),
                   [](const Call& a, const Call& b) {
                     return a.transaction < b.transaction;
                   });
  return scenario;
}

std::ostream& operator<<(std::ostream& out, const Scenario& scenario) {
  for (std::size_t i = 0; i < scenario.transactions.size(); ++i) {
    out << "\ntransaction " << i << ":\n" << scenario.transactions[i];
  }
  for (const Call& call : scenario.calls) out << "call " << call << '\n';
  return out;
}

}  // namespace ipav::model
