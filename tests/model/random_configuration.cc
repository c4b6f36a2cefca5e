#include "tests/model/random_configuration.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>

#include "tests/model/pools.h"
#include "tests/model/random_ospf.h"

namespace ipav::model {

namespace {

using rc::Gen;
namespace gen = rc::gen;

// ---- Interfaces ------------------------------------------------------------

Gen<std::vector<AddressEntry>> AnyAddressList(int family) {
  const Gen<AddressEntry> entry = gen::build<AddressEntry>(
      gen::set(&AddressEntry::ip, Often(AnyPrefix(family))));
  return gen::map(UpTo(family == 4 ? 2 : 3, entry),
                  [](std::vector<AddressEntry> entries) {
                    for (std::size_t i = 0; i < entries.size(); ++i) {
                      entries[i].key = "key" + std::to_string(i);
                    }
                    return entries;
                  });
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

// The limits between them meet often: three quarters of a maximum, and a
// lifetime that is one above it.
Gen<RaTimers> AnyTimers() {
  const auto any = [](std::vector<std::uint16_t> seconds) {
    return gen::map(
        gen::pair(gen::weightedElement<int>({{8, 2}, {2, 0}, {1, 1}}),
                  gen::elementOf(std::move(seconds))),
        [](const std::pair<int, std::uint16_t>& chosen) {
          Leaf<std::uint16_t> leaf;
          leaf.exists = chosen.first > 0;
          if (chosen.first == 2) leaf.value = chosen.second;
          return leaf;
        });
  };
  return gen::build<RaTimers>(
      gen::set(&RaTimers::max_interval, any({3, 4, 200, 600, 65535})),
      gen::set(&RaTimers::min_interval, any({2, 3, 150, 151, 450, 49152})),
      gen::set(&RaTimers::lifetime, any({0, 3, 4, 200, 201, 601, 65535})));
}

Gen<std::vector<InterfaceEntry>> AnyL3s() {
  const Gen<InterfaceEntry> entry = gen::build<InterfaceEntry>(
      gen::set(&InterfaceEntry::key, AnyL3Key()),
      gen::set(&InterfaceEntry::vrf, AnyVrf()),
      gen::set(&InterfaceEntry::vlan, Often(AnyVlan())),
      gen::set(&InterfaceEntry::primary, Often(AnyPrefix(4))),
      gen::set(&InterfaceEntry::timers, AnyTimers()),
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
      gen::set(&InterfaceEntry::timers, AnyTimers()),
      gen::set(&InterfaceEntry::ipv6, AnyAddressList(6)));
  return gen::map(UpTo(2, entry), Consistent);
}

// ---- Static routes ---------------------------------------------------------

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

// Those that interfaces have most often.
Gen<Octets> AnyHost(int family) {
  if (family == 4) {
    return gen::element<Octets>(Ipv4(10, 0, 0, 1), Ipv4(10, 0, 0, 2),
                                Ipv4(10, 0, 1, 1), Ipv4(172, 16, 0, 1));
  }
  return gen::element<Octets>(Ipv6(0x20, 0, 1, 1), Ipv6(0x20, 0, 2, 1),
                              Ipv6(0x20, 1, 0, 1), Ipv6(0xfd, 0, 0, 1));
}

// Types 3 and 0 are of no family. A type 1 row with 16 octets is read by its
// first four.
Gen<RouteRow> AnyRoute() {
  const auto of = [](std::vector<std::int32_t> types, int family) {
    return gen::build<RouteRow>(
        gen::set(&RouteRow::vrf, gen::weightedElement<std::uint32_t>(
                                     {{7, 0}, {4, 1}, {2, 2}, {1, 3}, {1, 4}})),
        gen::set(&RouteRow::type, gen::elementOf(std::move(types))),
        gen::set(&RouteRow::destination, AnyNetwork(family)),
        gen::set(&RouteRow::length, gen::weightedElement<std::int32_t>(
                                        {{12, 24}, {3, 32}, {1, 0}, {1, -1}})),
        gen::set(&RouteRow::next_hop,
                 gen::weightedOneOf<Octets>(
                     {{1, family == 4 ? AnyIpv4() : AnyIpv6()},
                      {2, AnyHost(family)},
                      {1, gen::just(Octets(family == 4 ? 4 : 16, 0))}})),
        gen::set(&RouteRow::times,
                 gen::weightedElement<unsigned>({{30, 1}, {1, 2}})));
  };
  return gen::weightedOneOf<RouteRow>({{8, of({1}, 4)},
                                       {9, of({2}, 6)},
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
      gen::weightedElement<unsigned>({{70, 0}, {1, 1000}, {4, 1001}});
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
        gen::weightedElement<Leaf<std::string>>(
            {{10, {true, name}}, {1, {}}, {1, {true, std::nullopt}}}),
        [index](const Leaf<std::string>& leaf) {
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

// ---- The whole -------------------------------------------------------------

std::vector<InterfaceEntry> WithMoreL3s(std::vector<InterfaceEntry> entries,
                                        std::size_t total) {
  for (std::size_t i = 0; entries.size() < total; ++i) {
    InterfaceEntry entry;
    entry.key = "x" + std::to_string(i);
    entries.push_back(std::move(entry));
  }
  return entries;
}

struct Routing {
  std::vector<RouteRow> routes;
  std::vector<OutputRow> outputs;
  std::vector<VrfIndexRow> vrfs;
};

Gen<Routing> AnyRouting() {
  return gen::mapcat(AnyRoutes(), [](const std::vector<RouteRow>& routes) {
    return gen::construct<Routing>(gen::just(routes), OutputsOf(routes),
                                   AnyVrfTable());
  });
}

// Without OSPF. One without interfaces passes every rule of them, so that what
// is looked at last decides.
Gen<Configuration> AnyUnrouted() {
  const auto has_interfaces =
      gen::weightedElement<bool>({{7, true}, {1, false}});
  const auto l3_total = gen::weightedElement<std::size_t>(
      {{200, 0}, {1, 256}, {9, 257}, {1, 300}});
  return gen::map(gen::tuple(AnyL3s(), AnyLoopbacks(), AnyMgmts(), AnyRouting(),
                             l3_total, has_interfaces),
                  [](const auto& parts) {
                    const auto& [l3, loopback, mgmt, routing, total, has] =
                        parts;
                    Configuration configuration;
                    configuration.routes = routing.routes;
                    configuration.outputs = routing.outputs;
                    configuration.vrfs = routing.vrfs;
                    if (!has) return configuration;
                    configuration.l3 = WithMoreL3s(l3, total);
                    configuration.loopback = loopback;
                    configuration.mgmt = mgmt;
                    return configuration;
                  });
}

}  // namespace

Gen<Configuration> AnyConfiguration() {
  return gen::mapcat(AnyUnrouted(), WithOspf);
}

}  // namespace ipav::model
