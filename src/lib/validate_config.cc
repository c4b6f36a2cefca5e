#include "include/validate_config.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string_view>
#include <type_traits>

#include "include/validate_logger.h"
#include "src/lib/internal/joined.h"
#include "src/lib/internal/overlap_search.h"
#include "src/lib/internal/report.h"

namespace ip_application::config_valid {

namespace {

using internal::kHolds;
using internal::kViolated;

// Limits of the router.
constexpr std::uint32_t kMaxRouteWeight = 1000;
constexpr std::uint32_t kIpv6RouteWeight = 2;
constexpr std::size_t kMaxL3Interfaces = 256;
constexpr std::size_t kMaxNameLength = 60;
constexpr std::size_t kMinNameLength = 1;
constexpr char kNameCharacters[] =
    "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ-_";

// A /31 has two usable addresses (RFC 3021) and a /32 one: neither has a
// network or broadcast address.
constexpr std::int32_t kLongestPrefixWithBroadcast = 30;

// The differences between the families.
struct Ipv4 {
  using Addr = nettypes::IPv4Addr;
  using Mask = nettypes::IPv4AddrMask;
  static constexpr char kAddressWord[] = " ipv4 address ";
  static constexpr char kDuplicateWords[] = " has duplicated IPv4 address ";
  // The text of an overlap names the VRFs.
  static std::string VrfOf(const Interface& interface) {
    return " vrf " + interface.vrf_name;
  }
};
struct Ipv6 {
  using Addr = nettypes::IPv6Addr;
  using Mask = nettypes::IPv6AddrMask;
  static constexpr char kAddressWord[] = " ipv6 address ";
  static constexpr char kDuplicateWords[] = " has duplicated IPv6 address ";
  // The text of an overlap does not name the VRFs.
  static std::string VrfOf(const Interface& /*interface*/) { return ""; }
};

using internal::AddressesOf;
using internal::InterfaceRefs;
using internal::Joined;

InterfaceRefs RefsTo(const std::vector<Interface>& interfaces) {
  InterfaceRefs refs;
  refs.reserve(interfaces.size());
  for (const Interface& interface : interfaces) refs.push_back(&interface);
  return refs;
}

// The interfaces of all readers of another kind, in the order of the readers.
InterfaceRefs OtherKinds(const InterfaceConfig& changed,
                         const std::vector<InterfaceConfig*>& all) {
  InterfaceRefs refs;
  for (const InterfaceConfig* reader : all) {
    if (reader->type() == changed.type()) continue;
    for (const Interface& other : reader->interfaces()) refs.push_back(&other);
  }
  return refs;
}

// The part of a record's name that the operator typed.
std::string NamePart(const std::string& name) {
  const std::size_t blank = name.find(' ');
  return blank == std::string::npos ? name : name.substr(blank + 1);
}

}  // namespace

int ValidateConfig::ValidateInterfaceIPv4(const Config& config,
                                          InterfaceType type) {
  return ValidateInterfaceAddresses<Ipv4>(config, type);
}

int ValidateConfig::ValidateInterfaceIPv6(const Config& config,
                                          InterfaceType type) {
  return ValidateInterfaceAddresses<Ipv6>(config, type);
}

template <typename Family>
int ValidateConfig::ValidateInterfaceAddresses(const Config& config,
                                               InterfaceType type) {
  const InterfaceConfig* changed = config.intf_by_type(type);
  if (changed == nullptr) {
    error_text_ = internal::kInvalidInterface;
    return kViolated;
  }

  // The order decides which violation is reported: all tests of one interface
  // come before those of the next one, and the other kinds come last.
  const std::vector<Interface>& interfaces = changed->interfaces();
  const internal::FirstOverlaps overlaps =
      internal::FindOverlaps<typename Family::Mask>(
          RefsTo(interfaces), OtherKinds(*changed, config.interface_configs()));
  for (auto it = interfaces.begin(); it != interfaces.end(); ++it) {
    if (std::is_same_v<Family, Ipv4> && !InterfaceIPv4IsValid(*it)) {
      return kViolated;  // a host may have any IPv6 address
    }
    if (HasDuplicate<Family>(*it)) return kViolated;
    if (&*it == overlaps.of_kind &&
        std::any_of(std::next(it), interfaces.end(), [&](const auto& later) {
          return Overlap<Family>(*it, later);
        })) {
      return kViolated;
    }
    if (MatchesNextHop<Family>(*it, config.static_route_config())) {
      return kViolated;
    }
  }
  return OverlapsWithOther<Family>(interfaces, overlaps.of_other) ? kViolated
                                                                  : kHolds;
}

bool ValidateConfig::InterfaceIPv4IsValid(const Interface& interface) {
  for (const nettypes::IPv4AddrMask& mask : interface.ipv4) {
    if (mask.prefix_len() > kLongestPrefixWithBroadcast) continue;

    const bool is_network = mask.IsNetworkAddress();
    if (!is_network && !mask.IsBroadcastAddress()) continue;
    error_text_ =
        Joined({interface.name, Ipv4::kAddressWord, mask.to_string(),
                is_network ? " cannot be configured as network address."
                           : " cannot be configured as broadcast address."});
    return false;
  }
  return true;
}

bool ValidateConfig::InterfaceHasDuplicateIpv4(const Interface& interface) {
  return HasDuplicate<Ipv4>(interface);
}

bool ValidateConfig::InterfaceHasDuplicateIpv6(const Interface& interface) {
  return HasDuplicate<Ipv6>(interface);
}

template <typename Family>
bool ValidateConfig::HasDuplicate(const Interface& interface) {
  const auto* repeated = internal::FirstRepeatedAddress(
      AddressesOf<typename Family::Mask>(interface));
  if (repeated == nullptr) return false;
  error_text_ = Joined(
      {interface.name, Family::kDuplicateWords, repeated->addr().to_string()});
  return true;
}

bool ValidateConfig::InterfaceIPv4Overlap(const Interface& first,
                                          const Interface& second) {
  return Overlap<Ipv4>(first, second);
}

bool ValidateConfig::InterfaceIPv6Overlap(const Interface& first,
                                          const Interface& second) {
  return Overlap<Ipv6>(first, second);
}

template <typename Family>
bool ValidateConfig::Overlap(const Interface& first, const Interface& second) {
  const auto [mask, other] =
      internal::FirstOverlap<typename Family::Mask>(first, second);
  if (mask == nullptr) return false;
  error_text_ = Joined({first.name, Family::VrfOf(first), Family::kAddressWord,
                        mask->to_string(), " overlaps with ", second.name,
                        Family::VrfOf(second), Family::kAddressWord,
                        other->to_string(), "."});
  return true;
}

template <typename Family>
bool ValidateConfig::OverlapsWithOther(const std::vector<Interface>& interfaces,
                                       const Interface* other) {
  return other != nullptr &&
         std::any_of(interfaces.begin(), interfaces.end(),
                     [&](const Interface& interface) {
                       return Overlap<Family>(interface, *other);
                     });
}

bool ValidateConfig::InterfaceIPv4Overlap(
    const InterfaceConfig& changed, const std::vector<InterfaceConfig*>& all) {
  return OverlapWithOtherKinds<Ipv4>(changed, all);
}

bool ValidateConfig::InterfaceIPv6Overlap(
    const InterfaceConfig& changed, const std::vector<InterfaceConfig*>& all) {
  return OverlapWithOtherKinds<Ipv6>(changed, all);
}

template <typename Family>
bool ValidateConfig::OverlapWithOtherKinds(
    const InterfaceConfig& changed, const std::vector<InterfaceConfig*>& all) {
  const internal::FirstOverlaps overlaps =
      internal::FindOverlaps<typename Family::Mask>(
          RefsTo(changed.interfaces()), OtherKinds(changed, all));
  return OverlapsWithOther<Family>(changed.interfaces(), overlaps.of_other);
}

int ValidateConfig::ValidateInterfaceL3(const Config& config) {
  const std::vector<Interface>& interfaces =
      config.intf_by_type(InterfaceType::kL3)->interfaces();
  if (interfaces.size() > kMaxL3Interfaces) {
    error_text_ =
        Joined({"too many 'interface l3', ", std::to_string(interfaces.size()),
                " configured, at most ", std::to_string(kMaxL3Interfaces),
                " must be configured"});
    return kViolated;
  }
  const bool valid = std::all_of(interfaces.begin(), interfaces.end(),
                                 [&](const Interface& interface) {
                                   return NameIsValid(NamePart(interface.name));
                                 });
  return valid ? kHolds : kViolated;
}

// Checks the length first: a name that is too long is reported as too long.
bool ValidateConfig::NameIsValid(const std::string& name) {
  std::string fault;
  if (name.size() > kMaxNameLength) {
    fault = Joined({" is too long (maximum length: ",
                    std::to_string(kMaxNameLength), " characters)"});
  } else if (name.size() < kMinNameLength) {
    fault = Joined({" is too short (minimum length: ",
                    std::to_string(kMinNameLength), " character)"});
  } else if (name.find_first_not_of(kNameCharacters) != std::string::npos) {
    fault =
        " contains invalid characters (allowed characters: 0-9, a-z, A-Z, _, "
        "-)";
  } else {
    return true;
  }
  error_text_ = Joined({"L3 interface name ", name, fault});
  return false;
}

int ValidateConfig::ValidateStaticRoute(const Config& config) {
  // Without ||: all rules must run, and the last text is reported.
  const int next_hop = ValidateStaticRouteNextHop(config);
  const int limit = ValidateStaticRouteLimit(config);
  const int black_hole = ValidateRouteBlackHole(config);
  return next_hop | limit | black_hole;
}

int ValidateConfig::ValidateStaticRouteNextHop(const Config& config) {
  const StaticRouteConfig& routes = config.static_route_config();
  for (const InterfaceConfig* reader : config.interface_configs()) {
    for (const Interface& interface : reader->interfaces()) {
      // One family only: IPv6 is checked only if IPv4 was not read.
      const bool conflict =
          routes.ipv4_read()
              ? MatchesNextHop<Ipv4>(interface, routes)
              : routes.ipv6_read() && MatchesNextHop<Ipv6>(interface, routes);
      if (conflict) return kViolated;
    }
  }
  return kHolds;
}

int ValidateConfig::ValidateStaticRouteLimit(const Config& config) {
  const std::uint32_t ipv4 = config.static_route_config().ipv4_count();
  const std::uint32_t ipv6 = config.static_route_config().ipv6_count();
  if (ipv4 + kIpv6RouteWeight * ipv6 <= kMaxRouteWeight) return kHolds;

  ValidateLogger::Log(
      "The maximum number of available static routes was exceeded! IPv4 static "
      "routes = %u; IPv6 static routes = %u;",
      ipv4, ipv6);
  error_text_ = "The maximum number of available static routes was exceeded.";
  return kViolated;
}

int ValidateConfig::ValidateRouteBlackHole(const Config& config) {
  const StaticRouteConfig& routes = config.static_route_config();
  std::shared_ptr<StaticRoute> route;
  // One family only: IPv6 is checked only if IPv4 was not read.
  const bool found = routes.ipv4_read() ? routes.CheckBlackHoleIpv4(route)
                                        : routes.ipv6_read() &&
                                              routes.CheckBlackHoleIpv6(route);
  if (!found) return kHolds;

  error_text_ =
      Joined({"Prefix ", route->network().to_string(),
              " cannot be black-hole and have next-hop at the same time"});
  return kViolated;
}

bool ValidateConfig::InterfaceIPv4MatchStaticRouteNextHop(
    const Interface& interface, const StaticRouteConfig& routes) {
  return MatchesNextHop<Ipv4>(interface, routes);
}

bool ValidateConfig::InterfaceIPv6MatchStaticRouteNextHop(
    const Interface& interface, const StaticRouteConfig& routes) {
  return MatchesNextHop<Ipv6>(interface, routes);
}

template <typename Family>
bool ValidateConfig::MatchesNextHop(const Interface& interface,
                                    const StaticRouteConfig& routes) {
  RouteKey<typename Family::Addr> key = {interface.vrf_name, {}};
  for (const auto& mask : AddressesOf<typename Family::Mask>(interface)) {
    key.addr = mask.addr();
    std::shared_ptr<StaticRoute> route;
    if (!routes.FindNextHop(key, route)) continue;
    error_text_ = Joined(
        {interface.name, Family::kAddressWord, mask.to_string(),
         " and static route ", route->network().to_string(), " next-hop ",
         route->next_hop().to_string(), " cannot have address conflict."});
    return true;
  }
  return false;
}

int ValidateConfig::ValidateStaticRouteOutputIntf(const Config& config) {
  const StaticRouteConfig& routes = config.static_route_config();
  for (const InterfaceConfig* reader : config.interface_configs()) {
    for (const Interface& interface : reader->interfaces()) {
      if (interface.lim_id != 0 ||
          !routes.FindOutputInterface(interface.name)) {
        continue;
      }
      error_text_ =
          Joined({interface.name,
                  " is being used by a static route. Lower-layer-if cannot be "
                  "removed from this interface"});
      return kViolated;
    }
  }
  return kHolds;
}

}  // namespace ip_application::config_valid
