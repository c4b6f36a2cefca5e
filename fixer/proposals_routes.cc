// Proposals for static routes.

#include <algorithm>

#include "fixer/prefix.h"
#include "fixer/proposals.h"
#include "host/confd/path.h"

namespace ipav::fixer {

namespace {

using messages::Culprit;
using messages::DataView;
using messages::TextOf;

constexpr std::size_t kRoom = 1000;
constexpr std::size_t kRoomOfIpv6 = 2;

std::string Child(const DataView& view, const lyd_node* entry,
                  const char* name) {
  return TextOf(view.Child(entry, name));
}

bool IsIpv4(const DataView& view, const lyd_node* route) {
  return Child(view, route, "rtmStaticRtDestType") == "ipv4";
}

bool IsBlackHole(const DataView& view, const lyd_node* route) {
  const std::string next_hop =
      AddressOfOctets(view.Child(route, "rtmStaticRtNextHop"));
  return next_hop == "0.0.0.0" || next_hop == "::";
}

// The entry that names the output interface; null if there is none.
const lyd_node* OutputOf(const DataView& view, const lyd_node* route) {
  return view.Entry(nullptr, "rtmStaticRtEntry-global",
                    {Child(view, route, "rtmStaticRtFteIndex"),
                     Child(view, route, "rtmStaticRtDest"),
                     Child(view, route, "rtmStaticRtDestPfxLen"),
                     Child(view, route, "rtmStaticRtNextHop")});
}

// "the static route 10.1.0.0/16 by 10.0.0.1"
std::string InWords(const DataView& view, const lyd_node* route) {
  std::string text = "the static route " +
                     AddressOfOctets(view.Child(route, "rtmStaticRtDest")) +
                     "/" + Child(view, route, "rtmStaticRtDestPfxLen");
  if (IsBlackHole(view, route)) return text + ", a black hole";
  return text + " by " +
         AddressOfOctets(view.Child(route, "rtmStaticRtNextHop"));
}

Proposal WithoutRoutes(const DataView& view,
                       const std::vector<const lyd_node*>& routes) {
  Proposal proposal{false, "remove " + InWords(view, routes.front()), {}};
  if (routes.size() > 1) {
    proposal.text += " and " + std::to_string(routes.size() - 1) + " more";
  }
  for (const lyd_node* route : routes) {
    RemoveRoute(view, route, &proposal.edits);
  }
  return proposal;
}

// The neighbour in a subnet of two hosts. False if it is none.
bool ProposeNeighbour(const Subject& subject, const lyd_node* route,
                      const Prefix& own, Proposals* proposals) {
  const DataView& view = subject.candidate;
  Prefix neighbour = own.Neighbour(true);
  if (!Contains(own, neighbour) || !neighbour.IsHost()) {
    neighbour = own.Neighbour(false);
  }
  const unsigned host_bits = own.bits() - own.length;
  const bool is_pair = host_bits == 1 || (own.IsIpv4() && host_bits == 2);
  if (!is_pair || !Contains(own, neighbour) || !neighbour.IsHost()) {
    return false;
  }
  const std::string octets = OctetsOf(neighbour);
  Proposal proposal{false,
                    "take the neighbour " + neighbour.Address() +
                        " as the next hop of " + InWords(view, route),
                    {Set(view.Child(route, "rtmStaticRtNextHop"), octets)}};
  const lyd_node* output = OutputOf(view, route);
  if (output != nullptr) {
    proposal.edits.push_back(
        Set(view.Child(output, "rtmStaticRtNextHop"), octets));
  }
  proposals->push_back(std::move(proposal));
  return true;
}

Proposals NextHopIsOwn(const Subject& subject) {
  const lyd_node* address = NodeWithRole(subject, "address");
  const lyd_node* route = EntryOf(NodeWithRole(subject, "next hop"));
  const auto own = ParsePrefix(TextOf(address));
  if (!own || route == nullptr) return {};
  Proposals proposals;
  const bool is_pair = ProposeNeighbour(subject, route, *own, &proposals);
  proposals.push_back(WithoutRoutes(subject.candidate, {route}));
  // The other address of two is the neighbour's.
  if (!is_pair) ProposeFreeHost(subject, address, true, &proposals);
  return proposals;
}

// Leaves out the last of those that the change adds.
Proposals TooManyRoutes(const Subject& subject) {
  const DataView& view = subject.candidate;
  const auto routes = RoutesOf(view);
  std::size_t taken = 0;
  for (const lyd_node* route : routes) {
    taken += IsIpv4(view, route) ? 1 : kRoomOfIpv6;
  }
  std::vector<const lyd_node*> added;
  for (auto route = routes.rbegin(); route != routes.rend() && taken > kRoom;
       ++route) {
    if (subject.running.AtPath(confd::PrintPath(*route)) != nullptr) continue;
    added.push_back(*route);
    taken -= IsIpv4(view, *route) ? 1 : kRoomOfIpv6;
  }
  if (taken > kRoom || added.empty()) return {};
  return {WithoutRoutes(view, added)};
}

// The routes with the prefix and VRF of one of these culprits.
std::vector<const lyd_node*> RoutesBeside(const Subject& subject,
                                          const char* role,
                                          bool is_black_hole) {
  const DataView& view = subject.candidate;
  std::vector<const lyd_node*> found;
  const auto routes = RoutesOf(view);
  for (const Culprit& culprit : subject.finding.culprits) {
    if (culprit.role != role) continue;
    const lyd_node* named = EntryOf(view.AtPath(culprit.path));
    for (const lyd_node* route : routes) {
      const auto is_same = [&](const char* leaf) {
        return Child(view, route, leaf) == Child(view, named, leaf);
      };
      if (is_same("rtmStaticRtDest") && is_same("rtmStaticRtDestPfxLen") &&
          VrfOfRoute(view, route) == VrfOfRoute(view, named) &&
          IsBlackHole(view, route) == is_black_hole) {
        found.push_back(route);
      }
    }
  }
  return found;
}

Proposals BlackHole(const Subject& subject) {
  Proposals proposals;
  for (const bool is_black_hole : {true, false}) {
    const auto routes = RoutesBeside(
        subject, is_black_hole ? "black hole" : "next hop", is_black_hole);
    if (routes.empty()) return {};
    proposals.push_back(WithoutRoutes(subject.candidate, routes));
  }
  return proposals;
}

Proposals OutputWithoutVlan(const Subject& subject) {
  const DataView& view = subject.candidate;
  const lyd_node* name = NodeWithRole(subject, "output interface of a route");
  if (name == nullptr) return {};
  std::vector<const lyd_node*> routes;
  for (const lyd_node* route : RoutesOf(view)) {
    const lyd_node* output = OutputOf(view, route);
    if (!IsBlackHole(view, route) &&
        Child(view, output, "interface-name") == TextOf(name)) {
      routes.push_back(route);
    }
  }
  if (routes.empty()) return {};
  return {WithoutRoutes(view, routes)};
}

}  // namespace

std::vector<const lyd_node*> RoutesOf(const DataView& view) {
  return view.Entries(view.At(nullptr, {"DC-RTM-MIB", "rtmStaticRtTable"}),
                      "rtmStaticRtEntry");
}

void RemoveRoute(const DataView& view, const lyd_node* route,
                 std::vector<Edit>* edits) {
  edits->push_back(Remove(route));
  if (route->schema->name != std::string("rtmStaticRtEntry")) return;
  const lyd_node* output = OutputOf(view, route);
  if (output != nullptr) edits->push_back(Remove(output));
}

std::string VrfOfRoute(const DataView& view, const lyd_node* route) {
  const lyd_node* entry =
      view.Entry(view.At(nullptr, {"internal", "vrf-config"}), "indexTOstring",
                 {Child(view, route, "rtmStaticRtFteIndex")});
  const lyd_node* name = view.Child(entry, "vname");
  return name == nullptr ? "global" : TextOf(name);
}

std::string AddressOfOctets(const lyd_node* leaf) {
  return messages::AddressOfOctets(TextOf(leaf));
}

Proposers RouteProposers() {
  return {
      {"route-next-hop-is-own", NextHopIsOwn},
      {"route-too-many", TooManyRoutes},
      {"route-black-hole-and-next-hop", BlackHole},
      {"route-output-without-vlan", OutputWithoutVlan},
  };
}

}  // namespace ipav::fixer
