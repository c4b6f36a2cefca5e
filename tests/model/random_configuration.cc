#include "tests/model/random_configuration.h"

#include <algorithm>
#include <string>
#include <utility>

#include "tests/model/pools.h"

namespace ipav::model {

namespace {

// ---- Interfaces ------------------------------------------------------------

std::vector<AddressEntry> AnyAddressList(Choices* choices, int family) {
  int number = 0;
  return choices->UpTo(family == 4 ? 2 : 3, [&] {
    return AddressEntry{"key" + std::to_string(number++),
                        choices->Often(AnyPrefix(choices, family))};
  });
}

Leaf<std::uint16_t> AnyTimer(Choices* choices,
                             const std::vector<std::uint16_t>& seconds) {
  const std::uint16_t value = choices->OneOf(seconds);
  return choices->Pick<Leaf<std::uint16_t>>(
      {{8, {true, value}}, {2, {}}, {1, {true, std::nullopt}}});
}

// Values at the limits are frequent: three quarters of the maximum, and a
// lifetime that is one above it.
RaTimers AnyTimers(Choices* choices) {
  return {AnyTimer(choices, {3, 4, 200, 600, 65535}),
          AnyTimer(choices, {2, 3, 150, 151, 450, 49152}),
          AnyTimer(choices, {0, 3, 4, 200, 201, 601, 65535})};
}

InterfaceEntry AnyInterface(Choices* choices, const std::string& kind) {
  const bool is_l3 = kind == "l3";
  const bool is_loopback = kind == "loopback";
  InterfaceEntry entry;
  entry.key = is_l3 ? AnyL3Key(choices) : AnyPlainKey(choices);
  entry.vrf = AnyVrf(choices);
  if (is_l3) entry.vlan = choices->Often(AnyVlan(choices));
  if (!is_loopback) entry.primary = choices->Often(AnyPrefix(choices, 4));
  if (!is_loopback) entry.timers = AnyTimers(choices);
  if (kind != "mgmt") entry.ipv4 = AnyAddressList(choices, 4);
  entry.ipv6 = AnyAddressList(choices, 6);
  return entry;
}

// Keys are unique. An entry that no path can name has nothing below it.
std::vector<InterfaceEntry> AnyInterfaces(Choices* choices, std::size_t most,
                                          const std::string& kind) {
  std::vector<InterfaceEntry> kept;
  for (InterfaceEntry& entry :
       choices->UpTo(most, [&] { return AnyInterface(choices, kind); })) {
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

void AddMoreL3s(std::size_t total, std::vector<InterfaceEntry>* entries) {
  for (std::size_t i = 0; entries->size() < total; ++i) {
    entries->emplace_back().key = "x" + std::to_string(i);
  }
}

// ---- Static routes ---------------------------------------------------------

// Few networks, so that routes often have the same prefix.
std::string AnyNetwork(Choices* choices, int family) {
  if (family == 4) {
    return choices->Pick<std::string>(
        {{6, "10.0.0.0"}, {3, "10.0.0.1"}, {3, "9.255.0.0"}, {1, "0.0.0.0"}});
  }
  return choices->Pick<std::string>({{6, "2000:0:0:1::"},
                                     {3, "2000:0:0:1::1"},
                                     {3, "900:0:0:ff00::"},
                                     {1, "::"}});
}

// An address, often one of an interface, or none.
std::string AnyNextHop(Choices* choices, int family) {
  const std::string any = AnyAddress(choices, family);
  const std::string host =
      family == 4
          ? choices->OneOf<std::string>(
                {"10.0.0.1", "10.0.0.2", "10.0.1.1", "172.16.0.1"})
          : choices->OneOf<std::string>({"2000:0:0:1::1", "2000:0:0:2::1",
                                         "2000:0:0:100::1", "fd00::1"});
  return choices->Pick<std::string>(
      {{2, host}, {1, any}, {1, family == 4 ? "0.0.0.0" : "::"}});
}

// Types 3 and 0 belong to no family. Of 16 octets in a row of type 1, the first
// four are read.
RouteRow AnyRoute(Choices* choices) {
  const auto [type, family] =
      choices->Pick<std::pair<std::int32_t, int>>({{16, {1, 4}},
                                                   {18, {2, 6}},
                                                   {1, {1, 6}},
                                                   {1, {3, 6}},
                                                   {1, {0, 4}},
                                                   {1, {3, 4}}});
  RouteRow row;
  row.type = type;
  row.vrf =
      choices->Pick<std::uint32_t>({{7, 0}, {4, 1}, {2, 2}, {1, 3}, {1, 4}});
  row.destination = AddressOf(AnyNetwork(choices, family));
  row.length =
      choices->Pick<std::int32_t>({{12, 24}, {3, 32}, {1, 0}, {1, -1}});
  row.next_hop = AddressOf(AnyNextHop(choices, family));
  row.times = choices->Pick<unsigned>({{30, 1}, {1, 2}});
  return row;
}

// How often a row counts for the limit of static routes.
unsigned WeightOf(const RouteRow& row) {
  return row.type == 1 ? 1 : row.type == 2 ? 2 : 0;
}

// Repeats the first row that counts until all weigh `total`, or one more.
void Fill(unsigned total, std::vector<RouteRow>* rows) {
  unsigned weight = 0;
  for (const RouteRow& row : *rows) weight += row.times * WeightOf(row);
  for (RouteRow& row : *rows) {
    if (WeightOf(row) == 0 || weight >= total) continue;
    row.times += (total - weight + WeightOf(row) - 1) / WeightOf(row);
    break;
  }
}

// A row may be followed by one with the same prefix and another next hop.
std::vector<RouteRow> AnyRoutes(Choices* choices) {
  const auto row_and_twin = [&] {
    std::vector<RouteRow> rows = {AnyRoute(choices)};
    const int last_octet = choices->Pick<int>({{3, -1}, {1, 0}, {1, 1}});
    if (last_octet < 0) return rows;
    RouteRow twin = rows[0];
    twin.next_hop.assign(twin.next_hop.size(), 0);
    twin.next_hop.back() = static_cast<std::uint8_t>(last_octet);
    twin.times = 1;
    rows.push_back(twin);
    return rows;
  };
  std::vector<RouteRow> all;
  for (const auto& rows : choices->UpTo(4, row_and_twin)) {
    all.insert(all.end(), rows.begin(), rows.end());
  }
  Fill(choices->Pick<unsigned>({{70, 0}, {1, 1000}, {4, 1001}}), &all);
  return all;
}

// Output interfaces of these rows: names of l3 interfaces in the form of the
// routing stack, and names that are too short.
std::vector<OutputRow> OutputsOf(Choices* choices,
                                 const std::vector<RouteRow>& routes) {
  std::vector<OutputRow> outputs;
  for (const RouteRow& row : routes) {
    const auto name = choices->Pick<std::string>({{15, "-"},
                                                  {40, "l3-1"},
                                                  {20, "l3-2"},
                                                  {5, "loopback-1"},
                                                  {5, "ab"},
                                                  {2, "a"},
                                                  {1, ""}});
    if (name == "-") continue;  // has none
    const bool is_known = std::any_of(
        outputs.begin(), outputs.end(), [&](const OutputRow& other) {
          return other.vrf == row.vrf && other.length == row.length &&
                 other.destination == row.destination &&
                 other.next_hop == row.next_hop;
        });
    if (is_known) continue;
    outputs.push_back(
        {row.vrf, row.destination, row.length, row.next_hop, name});
  }
  return outputs;
}

// VRF 0 is the global one, with that name or without a name.
std::vector<VrfIndexRow> AnyVrfTable(Choices* choices) {
  std::vector<VrfIndexRow> rows;
  for (const char* name : {"red", "mgmt", "global"}) {
    const auto leaf = choices->Pick<Leaf<std::string>>(
        {{10, {true, name}}, {1, {}}, {1, {true, std::nullopt}}});
    rows.push_back({static_cast<std::uint32_t>(rows.size() + 1), leaf});
  }
  return rows;
}

}  // namespace

// A configuration without interfaces passes all rules for them, so that the
// rules that run last decide.
Configuration AnyConfiguration(Choices* choices) {
  Configuration configuration;
  configuration.l3 = AnyInterfaces(choices, 4, "l3");
  configuration.loopback = AnyInterfaces(choices, 3, "loopback");
  configuration.mgmt = AnyInterfaces(choices, 2, "mgmt");
  AddMoreL3s(
      choices->Pick<std::size_t>({{200, 0}, {1, 256}, {9, 257}, {1, 300}}),
      &configuration.l3);
  if (choices->Chance(1, 8)) configuration = {};
  configuration.routes = AnyRoutes(choices);
  configuration.vrfs = AnyVrfTable(choices);
  AddOspf(choices, &configuration);
  configuration.outputs = OutputsOf(choices, configuration.routes);
  return configuration;
}

}  // namespace ipav::model
