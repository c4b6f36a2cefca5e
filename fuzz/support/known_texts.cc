// The texts that each validation point may set, * for what is filled in.

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/support/finding.h"
#include "fuzz/support/outcome.h"

namespace ipav::fuzz {

namespace {

using Patterns = std::vector<std::string>;

constexpr char kNextHop4[] =
    "* ipv4 address * and static route * next-hop * cannot have address "
    "conflict.";
constexpr char kNextHop6[] =
    "* ipv6 address * and static route * next-hop * cannot have address "
    "conflict.";
constexpr char kInvalidInterface[] =
    "invalid interface being handled by IP-App validation";
constexpr char kNoMaximum[] =
    "fail to get maximum router advertisement interval value";

struct PointTexts {
  const char* point;
  Patterns patterns;
};

Patterns Joined(Patterns patterns, const Patterns& more) {
  patterns.insert(patterns.end(), more.begin(), more.end());
  return patterns;
}

const Patterns& Ipv4AddressTexts() {
  static const Patterns patterns = {
      "* ipv4 address * cannot be configured as network address.",
      "* ipv4 address * cannot be configured as broadcast address.",
      "* has duplicated IPv4 address *",
      "* vrf * ipv4 address * overlaps with * vrf * ipv4 address *.",
      kNextHop4,
  };
  return patterns;
}

const Patterns& RouteTexts() {
  static const Patterns patterns = {
      kNextHop4,
      kNextHop6,
      "The maximum number of available static routes was exceeded.",
      "Prefix * cannot be black-hole and have next-hop at the same time",
  };
  return patterns;
}

const std::vector<PointTexts>& AllTexts() {
  static const std::vector<PointTexts> texts = {
      {"intf_l3_name_validation",
       {"too many 'interface l3', * configured, at most 256 must be configured",
        "L3 interface name * is too long (maximum length: 60 characters)",
        "L3 interface name  is too short (minimum length: 1 character)",
        "L3 interface name * contains invalid characters (allowed characters: "
        "0-9, a-z, A-Z, _, -)"}},
      {"intf_vrf_validation",
       Joined(Ipv4AddressTexts(),
              {"* vrf * and router ospf * vrf * cannot be associated with "
               "divergent VRF",
               "* is configured in OSPFv3 and cannot be associated with a "
               "VRF"})},
      {"ipv4_addr_validation", Joined(Ipv4AddressTexts(), {kInvalidInterface})},
      {"ipv4_addr_prot_cross_validation",
       {"* cannot be modified nor deleted, it is assigned to router ospf * vrf "
        "* area * (*)",
        "* cannot be added after interface is assigned to router ospf * vrf * "
        "area * (*)"}},
      {"ipv4_addr_route_validation", RouteTexts()},
      {"ipv6_addr_validation",
       {"* has duplicated IPv6 address *",
        "* ipv6 address * overlaps with * ipv6 address *.", kNextHop6,
        kInvalidInterface}},
      {"ipv6_addr_route_validation", RouteTexts()},
      {"validate_ipv6_nd_ra_interval",
       {kInvalidInterface, kNoMaximum,
        "fail to get minimum router advertisement interval value",
        "Minimum interval must be no greater than maximum interval * 0.75"}},
      {"validate_ipv6_nd_ra_lifetime",
       {kInvalidInterface, kNoMaximum,
        "fail to get router advertisement lifetime value",
        "Lifetime must be greater than maximum router advertisement interval"}},
      {"static_route_l3_intf_validation",
       {"* is being used by a static route. Lower-layer-if cannot be removed "
        "from this interface"}},
      {"lower_layer_prot_cross_validation",
       {"vlan * cannot be changed, it is assigned to router ospfv3 * area * "
        "(*)"}},
  };
  return texts;
}

bool Matches(const std::string& pattern, const std::string& text) {
  // 1. What stands in front of the first star, and behind the last one.
  const std::size_t first = pattern.find('*');
  if (first == std::string::npos) return text == pattern;
  const std::size_t last = pattern.rfind('*');
  const std::string end = pattern.substr(last + 1);
  if (text.compare(0, first, pattern, 0, first) != 0) return false;
  if (text.size() < first + end.size()) return false;
  const std::size_t stop = text.size() - end.size();
  if (text.compare(stop, end.size(), end) != 0) return false;

  // 2. The pieces between them, in their order.
  std::size_t at = first;
  std::size_t star = first;
  while (star < last) {
    const std::size_t next = pattern.find('*', star + 1);
    const std::string piece = pattern.substr(star + 1, next - star - 1);
    at = text.find(piece, at);
    if (at == std::string::npos || at + piece.size() > stop) return false;
    at += piece.size();
    star = next;
  }
  return true;
}

}  // namespace

void RequireKnownText(const std::string& point, const std::string& text) {
  for (const auto& [name, patterns] : AllTexts()) {
    if (point != name) continue;
    if (std::any_of(patterns.begin(), patterns.end(), [&](const auto& pattern) {
          return Matches(pattern, text);
        })) {
      return;
    }
  }
  Finding("unknown text of " + point + ": " + text);
}

}  // namespace ipav::fuzz
