#include "scenario.h"

#include <algorithm>
#include <array>
#include <ostream>
#include <string>
#include <utility>

namespace ipav::model {

namespace {

using rc::Gen;
namespace gen = rc::gen;

// ---- Pools -----------------------------------------------------------------

// A few neighbours of one network, its first and last address, the ends of the
// whole space, and the unspecified address.
Octets Ipv4(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d) {
  return {a, b, c, d};
}

Gen<Octets> AnyIpv4() {
  return gen::weightedElement<Octets>({{6, Ipv4(10, 0, 0, 1)},
                                       {6, Ipv4(10, 0, 0, 2)},
                                       {3, Ipv4(10, 0, 0, 3)},
                                       {6, Ipv4(10, 0, 1, 1)},
                                       {6, Ipv4(10, 2, 0, 129)},
                                       {6, Ipv4(172, 16, 0, 1)},
                                       {6, Ipv4(192, 168, 1, 1)},
                                       {2, Ipv4(10, 0, 0, 0)},
                                       {2, Ipv4(10, 0, 0, 255)},
                                       {1, Ipv4(128, 0, 0, 0)},
                                       {1, Ipv4(127, 255, 255, 255)},
                                       {1, Ipv4(255, 255, 255, 255)},
                                       {1, Ipv4(0, 0, 0, 1)},
                                       {2, Ipv4(0, 0, 0, 0)}});
}

Octets Ipv6(std::uint8_t first, std::uint8_t seventh, std::uint8_t eighth,
            std::uint8_t last) {
  Octets address(16, 0);
  address[0] = first;
  address[6] = seventh;
  address[7] = eighth;
  address[15] = last;
  return address;
}

Gen<Octets> AnyIpv6() {
  return gen::weightedElement<Octets>({{6, Ipv6(0x20, 0, 1, 1)},
                                       {6, Ipv6(0x20, 0, 1, 2)},
                                       {3, Ipv6(0x20, 0, 1, 3)},
                                       {6, Ipv6(0x20, 0, 2, 1)},
                                       {6, Ipv6(0x20, 1, 0, 1)},
                                       {6, Ipv6(0xfd, 0, 0, 1)},
                                       {2, Ipv6(0x20, 0, 1, 0)},
                                       {2, Ipv6(0x80, 0, 0, 0)},
                                       {1, Octets(16, 0xff)},
                                       {1, Ipv6(0, 0, 0, 1)},
                                       {2, Octets(16, 0)}});
}

Gen<std::int32_t> AnyLength(int family) {
  if (family == 4) {
    return gen::weightedElement<std::int32_t>(
        {{8, 32}, {6, 24}, {5, 30}, {5, 31}, {2, 8}, {1, 1}, {1, 0}});
  }
  return gen::weightedElement<std::int32_t>(
      {{8, 128}, {8, 64}, {6, 127}, {1, 1}, {1, 0}});
}

Gen<Prefix> AnyPrefix(int family) {
  return gen::construct<Prefix>(family == 4 ? AnyIpv4() : AnyIpv6(),
                                AnyLength(family));
}

Gen<TextLeaf> AnyVrf() {
  const auto named = [](const std::string& name) {
    return TextLeaf{true, name};
  };
  return gen::weightedElement<TextLeaf>({{8, {}},
                                         {6, named("red")},
                                         {3, named("mgmt")},
                                         {2, named("global")},
                                         {1, named("blue")},
                                         {1, {true, std::nullopt}}});
}

// Of an l3 interface; most are right.
Gen<std::string> AnyL3Key() {
  return gen::weightedElement<std::string>({{30, "1"},
                                            {30, "2"},
                                            {30, "core-1_X"},
                                            {10, std::string(60, 'n')},
                                            {2, std::string(61, 'n')},
                                            {1, std::string(61, '.')},
                                            {1, "50%s%n"},
                                            {1, "a.b"},
                                            {1, "\xc3\xa4"},
                                            {1, "a b"},
                                            {2, ""}});
}

Gen<std::string> AnyPlainKey() {
  return gen::element<std::string>("1", "2", "a");
}

template <typename T>
Gen<std::vector<T>> UpTo(int count, const Gen<T>& element) {
  return gen::resize(count, gen::container<std::vector<T>>(element));
}

template <typename T>
Gen<std::optional<T>> Often(const Gen<T>& value) {
  return gen::map(
      gen::pair(gen::weightedElement<bool>({{4, true}, {1, false}}), value),
      [](std::pair<bool, T> some) {
        return some.first ? std::optional<T>(some.second) : std::nullopt;
      });
}

// ---- Configurations --------------------------------------------------------

Gen<std::vector<AddressEntry>> AnyAddressList(int family) {
  const Gen<AddressEntry> entry = gen::build<AddressEntry>(
      gen::set(&AddressEntry::ip, Often(AnyPrefix(family))));
  return gen::map(UpTo(2, entry), [](std::vector<AddressEntry> entries) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
      entries[i].key = "key" + std::to_string(i);
    }
    return entries;
  });
}

// A key that no path can name: what stands below it cannot be read.
bool IsAddressable(const std::string& key) {
  return !key.empty() && key.find(' ') == std::string::npos;
}

std::vector<InterfaceEntry> Consistent(std::vector<InterfaceEntry> entries) {
  std::vector<InterfaceEntry> kept;
  for (InterfaceEntry& entry : entries) {
    const bool is_known = std::any_of(
        kept.begin(), kept.end(),
        [&](const InterfaceEntry& other) { return other.key == entry.key; });
    if (is_known) continue;
    if (!IsAddressable(entry.key)) {
      InterfaceEntry bare;
      bare.key = entry.key;
      entry = bare;
    }
    kept.push_back(std::move(entry));
  }
  return kept;
}

Gen<std::vector<InterfaceEntry>> AnyL3s() {
  const auto vlan =
      gen::weightedElement<std::int32_t>({{3, 7}, {1, 0}, {1, 4094}});
  const Gen<InterfaceEntry> entry = gen::build<InterfaceEntry>(
      gen::set(&InterfaceEntry::key, AnyL3Key()),
      gen::set(&InterfaceEntry::vrf, AnyVrf()),
      gen::set(&InterfaceEntry::vlan, Often(vlan)),
      gen::set(&InterfaceEntry::primary, Often(AnyPrefix(4))),
      gen::set(&InterfaceEntry::ipv4, AnyAddressList(4)),
      gen::set(&InterfaceEntry::ipv6, AnyAddressList(6)));
  return gen::map(UpTo(4, entry), Consistent);
}

Gen<std::vector<InterfaceEntry>> AnyLoopbacks() {
  const Gen<InterfaceEntry> entry = gen::build<InterfaceEntry>(
      gen::set(&InterfaceEntry::key, AnyPlainKey()),
      gen::set(&InterfaceEntry::vrf, AnyVrf()),
      gen::set(&InterfaceEntry::ipv4, AnyAddressList(4)),
      gen::set(&InterfaceEntry::ipv6, AnyAddressList(6)));
  return gen::map(UpTo(3, entry), Consistent);
}

Gen<std::vector<InterfaceEntry>> AnyMgmts() {
  const Gen<InterfaceEntry> entry = gen::build<InterfaceEntry>(
      gen::set(&InterfaceEntry::key, AnyPlainKey()),
      gen::set(&InterfaceEntry::vrf, AnyVrf()),
      gen::set(&InterfaceEntry::primary, Often(AnyPrefix(4))),
      gen::set(&InterfaceEntry::ipv6, AnyAddressList(6)));
  return gen::map(UpTo(2, entry), Consistent);
}

// So few that a prefix is often that of another route, too.
Gen<Octets> AnyNetwork(int family) {
  if (family == 4) {
    return gen::weightedElement<Octets>({{6, Ipv4(10, 0, 0, 0)},
                                         {3, Ipv4(10, 0, 0, 1)},
                                         {3, Ipv4(9, 255, 0, 0)},
                                         {1, Ipv4(0, 0, 0, 0)}});
  }
  return gen::weightedElement<Octets>({{6, Ipv6(0x20, 0, 1, 0)},
                                       {3, Ipv6(0x20, 0, 1, 1)},
                                       {3, Ipv6(0x09, 0xff, 0, 0)},
                                       {1, Ipv6(0, 0, 0, 0)}});
}

// Types 3 and 0 are of no family. A type 1 row with 16 octets is read by its
// first four.
Gen<RouteRow> AnyRoute() {
  const auto of = [](std::vector<std::int32_t> types, int family) {
    return gen::build<RouteRow>(
        gen::set(&RouteRow::vrf, gen::weightedElement<std::uint32_t>(
                                     {{6, 0}, {4, 1}, {2, 2}, {1, 3}, {1, 4}})),
        gen::set(&RouteRow::type, gen::elementOf(std::move(types))),
        gen::set(&RouteRow::destination, AnyNetwork(family)),
        gen::set(&RouteRow::length, gen::weightedElement<std::int32_t>(
                                        {{12, 24}, {3, 32}, {1, 0}, {1, -1}})),
        gen::set(&RouteRow::next_hop,
                 gen::weightedOneOf<Octets>(
                     {{2, family == 4 ? AnyIpv4() : AnyIpv6()},
                      {1, gen::just(Octets(family == 4 ? 4 : 16, 0))}})),
        gen::set(&RouteRow::times,
                 gen::weightedElement<unsigned>({{30, 1}, {1, 2}})));
  };
  return gen::weightedOneOf<RouteRow>({{8, of({1}, 4)},
                                       {6, of({2}, 6)},
                                       {1, of({1, 3}, 6)},
                                       {1, of({0, 3}, 4)}});
}

// A row may be followed by a twin: the same prefix by another next hop.
std::vector<RouteRow> WithTwins(
    const std::vector<std::pair<RouteRow, int>>& chosen) {
  std::vector<RouteRow> rows;
  for (const auto& [row, last_octet] : chosen) {
    rows.push_back(row);
    if (last_octet < 0) continue;
    RouteRow twin = row;
    twin.next_hop.assign(row.next_hop.size(), 0);
    twin.next_hop.back() = static_cast<std::uint8_t>(last_octet);
    twin.times = 1;
    rows.push_back(twin);
  }
  return rows;
}

// What a row adds to the number that is limited.
unsigned WeightOf(const RouteRow& row) {
  return row.type == 1 ? 1 : row.type == 2 ? 2 : 0;
}

// Repeats the first row that counts until all weigh `total`, or one more.
std::vector<RouteRow> Filled(std::vector<RouteRow> rows, unsigned total) {
  unsigned weight = 0;
  for (const RouteRow& row : rows) weight += row.times * WeightOf(row);
  for (RouteRow& row : rows) {
    if (WeightOf(row) == 0 || weight >= total) continue;
    row.times += (total - weight + WeightOf(row) - 1) / WeightOf(row);
    break;
  }
  return rows;
}

Gen<std::vector<RouteRow>> AnyRoutes() {
  const auto with_twin = gen::pair(
      AnyRoute(), gen::weightedElement<int>({{3, -1}, {1, 0}, {1, 1}}));
  const auto total =
      gen::weightedElement<unsigned>({{60, 0}, {2, 1000}, {1, 1001}});
  return gen::map(gen::pair(UpTo(4, with_twin), total), [](const auto& chosen) {
    return Filled(WithTwins(chosen.first), chosen.second);
  });
}

// One, of the rows that are there: names of l3 interfaces as the routing stack
// spells them, and names that are too short.
Gen<std::vector<OutputRow>> OutputsOf(const std::vector<RouteRow>& routes) {
  const auto names = gen::weightedElement<std::string>({{15, "-"},
                                                        {40, "l3-1"},
                                                        {20, "l3-2"},
                                                        {5, "loopback-1"},
                                                        {5, "ab"},
                                                        {2, "a"},
                                                        {1, ""}});
  return gen::map(
      gen::container<std::vector<std::string>>(routes.size(), names),
      [routes](const std::vector<std::string>& chosen) {
        std::vector<OutputRow> outputs;
        for (std::size_t i = 0; i < routes.size(); ++i) {
          if (chosen[i] == "-") continue;  // has none
          const RouteRow& row = routes[i];
          const bool is_known = std::any_of(
              outputs.begin(), outputs.end(), [&](const OutputRow& other) {
                return other.vrf == row.vrf && other.length == row.length &&
                       other.destination == row.destination &&
                       other.next_hop == row.next_hop;
              });
          if (is_known) continue;
          outputs.push_back(
              {row.vrf, row.destination, row.length, row.next_hop, chosen[i]});
        }
        return outputs;
      });
}

// The VRF 0 is the global one, by its name or for want of one.
Gen<std::vector<VrfIndexRow>> AnyVrfTable() {
  const auto row = [](std::uint32_t index, const std::string& name) {
    return gen::map(
        gen::weightedElement<TextLeaf>(
            {{10, {true, name}}, {1, {}}, {1, {true, std::nullopt}}}),
        [index](const TextLeaf& leaf) {
          return VrfIndexRow{index, leaf};
        });
  };
  return gen::map(gen::tuple(row(1, "red"), row(2, "mgmt"), row(3, "global")),
                  [](const auto& rows) {
                    return std::vector<VrfIndexRow>{std::get<0>(rows),
                                                    std::get<1>(rows),
                                                    std::get<2>(rows)};
                  });
}

std::vector<InterfaceEntry> WithMoreL3s(std::vector<InterfaceEntry> entries,
                                        std::size_t total) {
  for (std::size_t i = 0; entries.size() < total; ++i) {
    InterfaceEntry entry;
    entry.key = "x" + std::to_string(i);
    entries.push_back(std::move(entry));
  }
  return entries;
}

Gen<Configuration> AnyConfiguration() {
  const auto routes_and_outputs =
      gen::mapcat(AnyRoutes(), [](const std::vector<RouteRow>& routes) {
        return gen::pair(gen::just(routes), OutputsOf(routes));
      });
  const auto l3_total = gen::weightedElement<std::size_t>(
      {{200, 0}, {1, 256}, {2, 257}, {1, 300}});
  return gen::map(
      gen::tuple(AnyL3s(), AnyLoopbacks(), AnyMgmts(), routes_and_outputs,
                 AnyVrfTable(), l3_total),
      [](const auto& parts) {
        const auto& [l3, loopback, mgmt, routes, vrfs, total] = parts;
        return Configuration{WithMoreL3s(l3, total), loopback,      mgmt,
                             routes.first,           routes.second, vrfs};
      });
}

// The same interfaces in other VRFs, with other routes.
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
  return other;
}

// ---- Calls -----------------------------------------------------------------

Gen<Call> AnyCall(std::size_t transaction_count) {
  const auto opaque = gen::weightedElement<std::string>(
      {{12, "ipv4_addr_validation"},
       {12, "ipv6_addr_validation"},
       {1, "ipv4_addr_validation_of_loopbacks"},
       {1, "ipv6_addr_validation "},
       {6, "intf_l3_name_validation"},
       {1, "intf_l3_name_validation2"},
       {1, "ipv4_addr_validatio"},
       {1, ""}});
  const auto target = gen::weightedElement<Target>({{8, Target::kL3},
                                                    {5, Target::kLoopback},
                                                    {5, Target::kMgmt},
                                                    {1, Target::kOther},
                                                    {1, Target::kNothing}});
  const auto action = gen::weightedElement<Action>({{14, Action::kValidate},
                                                    {5, Action::kReadRoutes},
                                                    {5, Action::kRouteRules},
                                                    {1, Action::kNextHopRule},
                                                    {3, Action::kLimitRule},
                                                    {2, Action::kBlackHoleRule},
                                                    {5, Action::kOutputRule},
                                                    {3, Action::kMerge}});
  return gen::build<Call>(
      gen::set(&Call::action, action), gen::set(&Call::opaque, opaque),
      gen::set(&Call::target, target),
      gen::set(&Call::family,
               gen::weightedElement<int>({{5, 4}, {5, 6}, {1, 5}})),
      gen::set(&Call::transaction, gen::weightedElement<std::size_t>(
                                       {{1, 0}, {1, transaction_count - 1}})));
}

// ---- Printing --------------------------------------------------------------

std::string Shown(const TextLeaf& leaf) {
  if (!leaf.exists) return "-";
  return leaf.text ? "\"" + *leaf.text + "\"" : "unreadable";
}

std::string Shown(const std::optional<Prefix>& prefix) {
  return prefix ? PrefixText(*prefix) : "-";
}

void Print(std::ostream& out, const char* kind,
           const std::vector<InterfaceEntry>& entries) {
  for (const InterfaceEntry& entry : entries) {
    out << "  " << kind << " \"" << entry.key << "\" vrf=" << Shown(entry.vrf)
        << " vlan=" << (entry.vlan ? std::to_string(*entry.vlan) : "-")
        << " primary=" << Shown(entry.primary);
    for (const auto* list : {&entry.ipv4, &entry.ipv6}) {
      out << (list == &entry.ipv4 ? " ipv4=[" : " ipv6=[");
      for (const AddressEntry& address : *list) out << ' ' << Shown(address.ip);
      out << " ]";
    }
    out << '\n';
  }
}

const char* NameOf(Action action) {
  constexpr std::array kNames = {
      "validate",   "read routes",     "route rules", "next-hop rule",
      "limit rule", "black-hole rule", "output rule", "merge"};
  return kNames.at(static_cast<std::size_t>(action));
}

const char* NameOf(Target target) {
  constexpr std::array kNames = {"l3", "loopback", "mgmt", "other", "nothing"};
  return kNames.at(static_cast<std::size_t>(target));
}

}  // namespace

Gen<Scenario> AnyScenario() {
  const auto one =
      gen::container<std::vector<Configuration>>(1, AnyConfiguration());
  const auto two =
      gen::container<std::vector<Configuration>>(2, AnyConfiguration());
  const auto changed = gen::map(two, [](std::vector<Configuration> pair) {
    pair[1] = Changed(pair[0], pair[1]);
    return pair;
  });
  const auto transactions = gen::weightedOneOf<std::vector<Configuration>>(
      {{2, one}, {1, two}, {1, changed}});
  return gen::mapcat(
      transactions, [](const std::vector<Configuration>& configurations) {
        return gen::construct<Scenario>(
            gen::just(configurations), UpTo(6, AnyCall(configurations.size())));
      });
}

std::ostream& operator<<(std::ostream& out, const Call& call) {
  return out << NameOf(call.action) << " opaque=\"" << call.opaque
             << "\" target=" << NameOf(call.target) << " family=" << call.family
             << " transaction=" << call.transaction;
}

std::ostream& operator<<(std::ostream& out, const Answer& answer) {
  if (answer.out_of_range) return out << "out of range";
  out << answer.verdict << " " << answer.text.value_or("(no text)");
  for (const std::string& fault : answer.faults) out << "\n  fault: " << fault;
  for (const std::string& line : answer.log) out << "\n  log: " << line;
  return out;
}

std::ostream& operator<<(std::ostream& out,
                         const Configuration& configuration) {
  Print(out, "l3", configuration.l3);
  Print(out, "loopback", configuration.loopback);
  Print(out, "mgmt", configuration.mgmt);
  for (const RouteRow& row : configuration.routes) {
    out << "  route vrf=" << row.vrf << " type=" << row.type << ' '
        << PrefixText({row.destination, row.length}) << " via "
        << AddressText(row.next_hop) << " times=" << row.times << '\n';
  }
  for (const OutputRow& row : configuration.outputs) {
    out << "  output vrf=" << row.vrf << ' '
        << PrefixText({row.destination, row.length}) << " via "
        << AddressText(row.next_hop) << " is \"" << row.interface_name
        << "\"\n";
  }
  for (const VrfIndexRow& row : configuration.vrfs) {
    out << "  vrf " << row.index << " is " << Shown(row.name) << '\n';
  }
  return out;
}

std::ostream& operator<<(std::ostream& out, const Scenario& scenario) {
  for (std::size_t i = 0; i < scenario.transactions.size(); ++i) {
    out << "\ntransaction " << i << ":\n" << scenario.transactions[i];
  }
  for (const Call& call : scenario.calls) out << "call " << call << '\n';
  return out;
}

}  // namespace ipav::model
