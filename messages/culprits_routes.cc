// Culprits among the static routes.

#include <sys/socket.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "messages/culprits.h"

namespace ipav::messages {

namespace {

// Keys of a route in the order of the table.
enum RouteKey : std::size_t {
  kVrfIndex = 0,
  kType = 1,
  kDestination = 2,
  kLength = 3,
  kNextHop = 5,
  kRouteKeys = 6
};

constexpr std::size_t kRoom = 1000;
constexpr std::size_t kRoomOfIpv6 = 2;

struct Route {
  const lyd_node* entry;
  std::vector<std::string> keys;
  std::string next_hop;

  bool IsIpv4() const { return keys[kType] == "ipv4"; }
  bool IsBlackHole() const { return next_hop == (IsIpv4() ? "0.0.0.0" : "::"); }
  int Family() const { return IsIpv4() ? AF_INET : AF_INET6; }
  std::string Prefix() const {
    return AddressOfOctets(keys[kDestination], Family()) + "/" + keys[kLength];
  }
};

// In the order of the table, those of the two families.
std::vector<Route> RoutesOf(const DataView& view) {
  std::vector<Route> routes;
  const lyd_node* table = view.At(nullptr, {"DC-RTM-MIB", "rtmStaticRtTable"});
  for (const lyd_node* entry : view.Entries(table, "rtmStaticRtEntry")) {
    Route route{entry, datastore::KeysOf(entry), ""};
    if (route.keys.size() != kRouteKeys) continue;
    if (!route.IsIpv4() && route.keys[kType] != "ipv6") continue;
    route.next_hop = AddressOfOctets(route.keys[kNextHop], route.Family());
    routes.push_back(std::move(route));
  }
  return routes;
}

const lyd_node* VrfEntryOf(const DataView& view, const Route& route) {
  return view.Entry(view.At(nullptr, {"internal", "vrf-config"}),
                    "indexTOstring", {route.keys[kVrfIndex]});
}

std::string VrfOfRoute(const DataView& view, const Route& route) {
  const lyd_node* name = view.Child(VrfEntryOf(view, route), "vname");
  return name == nullptr ? "global" : TextOf(name);
}

const lyd_node* NextHopLeaf(const DataView& view, const Route& route) {
  return view.LeafOrEntry(route.entry, "rtmStaticRtNextHop");
}

// Adds the name of the route's VRF if the commit changed it.
void AddChangedVrfName(const Refusal& refusal, const Route& route,
                       FoundCulprits* culprits) {
  const lyd_node* entry = VrfEntryOf(refusal.candidate, route);
  if (entry != nullptr) {
    AddLeaf(refusal, entry, "vname", "VRF of the route", false, culprits);
    return;
  }
  const lyd_node* name =
      refusal.running.Child(VrfEntryOf(refusal.running, route), "vname");
  if (name != nullptr) {
    culprits->nodes.push_back({"VRF of the route", name, true});
  }
}

// The entry that names the route's output interface, null when there is none.
const lyd_node* OutputOf(const DataView& view, const Route& route) {
  return view.Entry(nullptr, "rtmStaticRtEntry-global",
                    {route.keys[kVrfIndex], route.keys[kDestination],
                     route.keys[kLength], route.keys[kNextHop]});
}

// Compares as the rules do: the third character stands for the blank.
bool IsOutputOf(const std::string& output, const std::string& interface) {
  std::string name = output;
  if (name.size() > 2) name[2] = ' ';
  return name == interface;
}

FoundCulprits NextHopIsOwn(const Refusal& refusal) {
  const std::string& name = refusal.Field("interface");
  const bool is_ipv4 = refusal.Family() == std::string("ipv4");
  const lyd_node* interface = FindInterface(refusal.candidate, SplitName(name));
  const lyd_node* address = FindAddress(
      refusal.candidate, interface, refusal.Family(), refusal.Field("prefix"));
  if (address == nullptr) return {};

  const std::string vrf = VrfOf(refusal.candidate, interface);
  for (const Route& route : RoutesOf(refusal.candidate)) {
    if (route.IsIpv4() != is_ipv4 ||
        route.next_hop != refusal.Field("address") ||
        route.Prefix() != refusal.Field("route-prefix") ||
        VrfOfRoute(refusal.candidate, route) != vrf) {
      continue;
    }
    FoundCulprits culprits{
        true,
        {{"address", address},
         {"next hop", NextHopLeaf(refusal.candidate, route)}},
        ""};
    AddLeaf(refusal, interface, "vrf", "VRF of " + name, false, &culprits);
    AddChangedVrfName(refusal, route, &culprits);
    return culprits;
  }
  return {};
}

FoundCulprits TooManyRoutes(const Refusal& refusal) {
  const std::vector<Route> routes = RoutesOf(refusal.candidate);
  const auto ipv4 = static_cast<std::size_t>(
      std::count_if(routes.begin(), routes.end(),
                    [](const Route& route) { return route.IsIpv4(); }));
  const std::size_t ipv6 = routes.size() - ipv4;
  const std::size_t taken = ipv4 + kRoomOfIpv6 * ipv6;
  if (taken <= kRoom) return {};

  FoundCulprits culprits{
      true,
      {},
      std::to_string(ipv4) + " IPv4 and " + std::to_string(ipv6) +
          " IPv6 routes take the room of " + std::to_string(taken) +
          ", there is room for " + std::to_string(kRoom)};
  std::vector<const lyd_node*> entries;
  entries.reserve(routes.size());
  for (const Route& route : routes) entries.push_back(route.entry);
  NameNew(refusal, entries, "new route", &culprits);
  return culprits;
}

// A route of a prefix that is a black hole, and one that has a next hop.
struct BlackHoleAndNextHop {
  const Route* black_hole = nullptr;
  const Route* with_next_hop = nullptr;

  bool IsBoth() const {
    return black_hole != nullptr && with_next_hop != nullptr;
  }
};

// The first of each kind with the prefix, by the name of the VRF.
std::map<std::string, BlackHoleAndNextHop> RoutesByVrf(
    const Refusal& refusal, const std::vector<Route>& routes,
    const std::string& prefix) {
  std::map<std::string, BlackHoleAndNextHop> by_vrf;
  for (const Route& route : routes) {
    if (route.Prefix() != prefix) continue;
    BlackHoleAndNextHop& pair = by_vrf[VrfOfRoute(refusal.candidate, route)];
    const Route*& side =
        route.IsBlackHole() ? pair.black_hole : pair.with_next_hop;
    if (side == nullptr) side = &route;
  }
  return by_vrf;
}

FoundCulprits BlackHole(const Refusal& refusal) {
  const std::vector<Route> routes = RoutesOf(refusal.candidate);

  // The text names no VRF: names the routes of every VRF that has both.
  FoundCulprits culprits;
  std::size_t count = 0;
  for (const auto& [vrf, pair] :
       RoutesByVrf(refusal, routes, refusal.Field("prefix"))) {
    if (!pair.IsBoth()) continue;
    if (++count > kMaxNamed) continue;
    culprits.nodes.push_back(
        {"black hole", NextHopLeaf(refusal.candidate, *pair.black_hole)});
    culprits.nodes.push_back(
        {"next hop", NextHopLeaf(refusal.candidate, *pair.with_next_hop)});
    AddChangedVrfName(refusal, *pair.black_hole, &culprits);
    if (pair.black_hole->keys[kVrfIndex] !=
        pair.with_next_hop->keys[kVrfIndex]) {
      AddChangedVrfName(refusal, *pair.with_next_hop, &culprits);
    }
  }
  culprits.confirms = count > 0;
  if (count > 1) {
    culprits.note = "the text names no VRF, and " + std::to_string(count) +
                    " VRFs have the prefix twice";
    if (count > kMaxNamed) {
      culprits.note += "; " + std::to_string(kMaxNamed) + " are listed";
    }
  }
  return culprits;
}

// The leaf with the name of the route's output interface, if it names this
// one; nullptr otherwise.
const lyd_node* OutputNameLeaf(const Refusal& refusal, const Route& route,
                               const std::string& interface) {
  if (route.IsBlackHole()) return nullptr;
  const lyd_node* leaf = refusal.candidate.Child(
      OutputOf(refusal.candidate, route), "interface-name");
  if (leaf == nullptr || !IsOutputOf(TextOf(leaf), interface)) return nullptr;
  return leaf;
}

// Adds the VLAN of the interface if it is removed or 0, else the interface.
// False if it has a VLAN.
bool AddVlan(const Refusal& refusal, const lyd_node* interface,
             FoundCulprits* culprits) {
  const lyd_node* lower = refusal.candidate.At(interface, {"lower-layer-if"});
  if (lower != nullptr) {
    const lyd_node* vlan = refusal.candidate.At(lower, {"vlan"});
    if (vlan != nullptr && TextOf(vlan) != "0") return false;
    AddLeaf(refusal, lower, "vlan", "VLAN", true, culprits);
  }
  if (culprits->nodes.empty()) {
    culprits->nodes.push_back({"interface without VLAN", interface});
  }
  return true;
}

FoundCulprits OutputWithoutVlan(const Refusal& refusal) {
  const std::string& name = refusal.Field("interface");
  const lyd_node* interface = FindInterface(refusal.candidate, SplitName(name));
  if (interface == nullptr) return {};

  // 1. The VLAN.
  FoundCulprits culprits;
  if (!AddVlan(refusal, interface, &culprits)) return {};

  // 2. The routes through the interface.
  std::size_t count = 0;
  for (const Route& route : RoutesOf(refusal.candidate)) {
    const lyd_node* leaf = OutputNameLeaf(refusal, route, name);
    if (leaf == nullptr || ++count > kMaxNamed) continue;
    culprits.nodes.push_back({"output interface of a route", leaf});
    if (refusal.IsNew(route.entry)) {
      culprits.nodes.push_back(
          {"new route", NextHopLeaf(refusal.candidate, route)});
    }
  }
  if (count == 0) return {};
  culprits.confirms = true;
  if (count > kMaxNamed) {
    culprits.note = std::to_string(count - kMaxNamed) + " of the " +
                    std::to_string(count) +
                    " routes through the interface are not listed";
  }
  return culprits;
}

}  // namespace

CulpritSearches RouteCulprits() {
  return {
      {"route-next-hop-is-own", NextHopIsOwn},
      {"route-too-many", TooManyRoutes},
      {"route-black-hole-and-next-hop", BlackHole},
      {"route-output-without-vlan", OutputWithoutVlan},
  };
}

}  // namespace ipav::messages
