#include "include/static_route_config.h"

#include <algorithm>

#include "src/lib/internal/assertion.h"
#include "src/lib/internal/joined.h"
#include "src/lib/internal/maapi_owners.h"

namespace ip_application::config_valid {

namespace {

using internal::ElemValue;
using internal::MaapiCursor;
using internal::PathFormat;
using internal::RequireType;

// Keys of a row of the table, by their place in the cursor. The fifth one, the
// type of the next hop, is not read: the destination's decides the family.
enum RowKey {
  kFteIndex = 0,         // VRF identifier
  kNetworkAddrType = 1,  // destination: AddrType
  kNetworkAddr = 2,      // octets
  kNetworkPrefixLen = 3,
  kNextHopAddr = 5,  // octets
};

// Address types of the table (InetAddressType, RFC 4001).
enum AddrType { kIpv4Type = 1, kIpv6Type = 2 };

constexpr char kTablePath[] = "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry";

constexpr char kSource[] = "src/lib/static_route_config";
constexpr char kFunction[] =
    "std::__cxx11::string ip_application::config_valid::StaticRouteConfig::"
    "GetIntfNameFromRoute(const maapi_cursor&) const";
constexpr internal::AssertionSite kAddrTypeIsEnum = {
    "(&cursor.keys[kNetworkAddrType])->type == C_ENUM_VALUE", kSource, 33,
    kFunction};
constexpr internal::AssertionSite kPrefixLenIsInt32 = {
    "(&cursor.keys[kNetworkPrefixLen])->type == C_INT32", kSource, 94,
    kFunction};
constexpr internal::AssertionSite kFteIndexIsUint32 = {
    "(&cursor.keys[kFteIndex])->type == C_UINT32", kSource, 98, kFunction};
constexpr internal::AssertionSite kIntfNameIsText = {
    "(&l3_intf_name)->type == C_BUF", kSource, 105, kFunction};

template <typename Key>
bool Find(const std::map<Key, std::shared_ptr<StaticRoute>>& routes,
          const Key& key, std::shared_ptr<StaticRoute>* route) {
  const auto found = routes.find(key);
  if (found == routes.end()) return false;
  *route = found->second;
  return true;
}

}  // namespace

void StaticRouteConfig::ReadConfig(ConfigAddrFamily family) {
  ipv4_.count = 0;
  ipv6_.count = 0;
  MaapiCursor cursor(sock(), confd_trans()->thandle, PathFormat{kTablePath});
  for (const maapi_cursor& row : cursor) {
    const confd_value_t* keys = row.keys;
    RequireType(keys[kNetworkAddrType], C_ENUM_VALUE, kAddrTypeIsEnum);
    const std::int32_t type = CONFD_GET_ENUM_VALUE(&keys[kNetworkAddrType]);
    // Read for every row, also for those that are not stored.
    std::string vrf_name = get_vrf_name_from_id(keys[kFteIndex]);
    std::string intf_name = GetIntfNameFromRoute(row);

    if (type == kIpv4Type) {
      ++ipv4_.count;
      if (family != ConfigAddrFamily::kIpv4) continue;
      File(std::move(intf_name), std::move(vrf_name),
           get_ipv4_addr_mask(keys[kNetworkAddr], keys[kNetworkPrefixLen]),
           get_ipv4_addr(keys[kNextHopAddr]), &ipv4_);
    } else if (type == kIpv6Type) {
      ++ipv6_.count;
      if (family != ConfigAddrFamily::kIpv6) continue;
      File(std::move(intf_name), std::move(vrf_name),
           get_ipv6_addr_mask(keys[kNetworkAddr], keys[kNetworkPrefixLen]),
           get_ipv6_addr(keys[kNextHopAddr]), &ipv6_);
    }
  }
}

template <typename Mask, typename Addr>
void StaticRouteConfig::File(std::string intf_name, std::string vrf_name,
                             const Mask& network, const Addr& next_hop,
                             Routes<Mask, Addr>* routes) {
  const auto route = std::make_shared<StaticRouteOf<Mask, Addr>>(
      std::move(intf_name), std::move(vrf_name), network, next_hop);
  // Each map keeps the first route with a key.
  const std::string& vrf = route->vrf_name();
  const RouteKey<Mask> prefix = {vrf, network};
  if (next_hop.is_unspecified()) {
    routes->black_holes.emplace(prefix, route);
    return;
  }
  routes->by_prefix.emplace(prefix, route);
  routes->by_next_hop.emplace(RouteKey<Addr>{vrf, next_hop}, route);
  output_interfaces_.insert(route->intf_name());
}

std::string StaticRouteConfig::GetIntfNameFromRoute(
    const maapi_cursor& cursor) const {
  const confd_value_t* keys = cursor.keys;
  RequireType(keys[kNetworkPrefixLen], C_INT32, kPrefixLenIsInt32);
  RequireType(keys[kFteIndex], C_UINT32, kFteIndexIsUint32);
  // A negative length becomes a large number.
  const auto prefix_len =
      static_cast<std::uint32_t>(CONFD_GET_INT32(&keys[kNetworkPrefixLen]));
  const std::string path = internal::Joined(
      {"/rtmStaticRtEntry-global{ ",
       std::to_string(CONFD_GET_UINT32(&keys[kFteIndex])), " ",
       get_hex_from_bin(keys[kNetworkAddr]), " ", std::to_string(prefix_len),
       " ", get_hex_from_bin(keys[kNextHopAddr]), " }/interface-name"});

  // The path contains no conversion, so it can be the format.
  const int thandle = confd_trans()->thandle;
  if (maapi_exists(sock(), thandle, path.c_str()) != 1) return "";
  ElemValue l3_intf_name;
  if (maapi_get_elem(sock(), thandle, l3_intf_name.get(), path.c_str()) !=
      CONFD_OK) {
    return "";
  }
  RequireType(*l3_intf_name, C_BUF, kIntfNameIsText);
  std::string name = internal::TextOf(*l3_intf_name);
  // The rules compare it with names that have a blank there: "l3 1".
  name.replace(2, 1, " ");
  return name;
}

bool StaticRouteConfig::FindNextHop(const RouteKey<nettypes::IPv4Addr>& key,
                                    std::shared_ptr<StaticRoute>& route) const {
  return Find(ipv4_.by_next_hop, key, &route);
}

bool StaticRouteConfig::FindNextHop(const RouteKey<nettypes::IPv6Addr>& key,
                                    std::shared_ptr<StaticRoute>& route) const {
  return Find(ipv6_.by_next_hop, key, &route);
}

bool StaticRouteConfig::FindOutputInterface(const std::string& name) const {
  return output_interfaces_.count(name) != 0;
}

bool StaticRouteConfig::CheckBlackHoleIpv4(
    std::shared_ptr<StaticRoute>& route) const {
  return CheckBlackHole(ipv4_, &route);
}

bool StaticRouteConfig::CheckBlackHoleIpv6(
    std::shared_ptr<StaticRoute>& route) const {
  return CheckBlackHole(ipv6_, &route);
}

template <typename Mask, typename Addr>
bool StaticRouteConfig::CheckBlackHole(const Routes<Mask, Addr>& routes,
                                       std::shared_ptr<StaticRoute>* route) {
  return std::any_of(routes.black_holes.begin(), routes.black_holes.end(),
                     [&](const auto& black_hole) {
                       return Find(routes.by_prefix, black_hole.first, route);
                     });
}

}  // namespace ip_application::config_valid
