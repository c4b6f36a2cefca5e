#include "bench/plain_walk.h"

#include <algorithm>
#include <iterator>

#include "include/static_route_config.h"
#include "nettypes/address_space.h"

namespace ipav::bench {

namespace {

using ip_application::config_valid::InterfaceConfig;
using ip_application::config_valid::InterfaceType;
using ip_application::config_valid::RouteKey;
using ip_application::config_valid::StaticRoute;
using ip_application::config_valid::StaticRouteConfig;
using nettypes::IPv4AddrMask;

struct Ipv4 {
  using Addr = nettypes::IPv4Addr;
  static constexpr char kWord[] = " ipv4 address ";
  static const auto& AddressesOf(const Interface& i) { return i.ipv4; }
  static std::string VrfOf(const Interface& i) { return " vrf " + i.vrf_name; }
};
struct Ipv6 {
  using Addr = nettypes::IPv6Addr;
  static constexpr char kWord[] = " ipv6 address ";
  static const auto& AddressesOf(const Interface& i) { return i.ipv6; }
  static std::string VrfOf(const Interface& /*i*/) { return ""; }
};

template <typename Family>
bool Overlap(const Interface& first, const Interface& second,
             std::string* text) {
  if (!nettypes::ShareAddressSpace(first.vrf_name, second.vrf_name)) {
    return false;
  }
  for (const auto& a : Family::AddressesOf(first)) {
    for (const auto& b : Family::AddressesOf(second)) {
      if (!a.Overlap(b)) continue;
      *text = first.name + Family::VrfOf(first) + Family::kWord +
              a.to_string() + " overlaps with " + second.name +
              Family::VrfOf(second) + Family::kWord + b.to_string() + ".";
      return true;
    }
  }
  return false;
}

bool IsUsable(const IPv4AddrMask& mask) {
  return mask.prefix_len() > 30 ||
         !(mask.IsNetworkAddress() || mask.IsBroadcastAddress());
}

template <typename Family>
bool HasDuplicate(const Interface& interface) {
  const auto& masks = Family::AddressesOf(interface);
  for (auto it = masks.begin(); it != masks.end(); ++it) {
    for (auto later = std::next(it); later != masks.end(); ++later) {
      if (later->addr() == it->addr()) return true;
    }
  }
  return false;
}

template <typename Family>
bool IsNextHop(const Interface& interface, const StaticRouteConfig& routes) {
  for (const auto& mask : Family::AddressesOf(interface)) {
    const RouteKey<typename Family::Addr> key = {interface.vrf_name,
                                                 mask.addr()};
    std::shared_ptr<StaticRoute> route;
    if (routes.FindNextHop(key, route)) return true;
  }
  return false;
}

template <typename Family>
std::string WithOtherKinds(const Config& config,
                           const InterfaceConfig& changed) {
  std::string text;
  for (const InterfaceConfig* others : config.interface_configs()) {
    if (others->type() == changed.type()) continue;
    for (const Interface& other : others->interfaces()) {
      for (const Interface& interface : changed.interfaces()) {
        if (Overlap<Family>(interface, other, &text)) return text;
      }
    }
  }
  return "";
}

template <typename Family>
bool AllUsable(const Interface& interface) {
  return std::is_same_v<Family, Ipv6> ||
         std::all_of(interface.ipv4.begin(), interface.ipv4.end(), IsUsable);
}

// Violations that no measured network has get a text of one word.
template <typename Family>
std::string Addresses(const Config& config, const InterfaceConfig& changed) {
  std::string text;
  const std::vector<Interface>& interfaces = changed.interfaces();
  for (auto it = interfaces.begin(); it != interfaces.end(); ++it) {
    if (!AllUsable<Family>(*it)) return "unusable";
    if (HasDuplicate<Family>(*it)) return "duplicate";
    for (auto later = std::next(it); later != interfaces.end(); ++later) {
      if (Overlap<Family>(*it, *later, &text)) return text;
    }
    if (IsNextHop<Family>(*it, config.static_route_config())) return "next hop";
  }
  return WithOtherKinds<Family>(config, changed);
}

}  // namespace

std::string PlainAddresses(const Config& config, int family) {
  const InterfaceConfig& l3 = *config.intf_by_type(InterfaceType::kL3);
  return family == 4 ? Addresses<Ipv4>(config, l3)
                     : Addresses<Ipv6>(config, l3);
}

}  // namespace ipav::bench
