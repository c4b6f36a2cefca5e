// Reader of the routing stack's static-route table, with the look-ups that the
// rules need.
#ifndef IPAV_STATIC_ROUTE_CONFIG_H_
#define IPAV_STATIC_ROUTE_CONFIG_H_

#include <confd_maapi.h>

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "include/generic_config.h"
#include "nettypes/ipv4.h"
#include "nettypes/ipv6.h"
#include "nettypes/net_addr.h"

namespace ip_application::config_valid {

// One route. A route with an unspecified next hop is a black hole.
class StaticRoute {
 public:
  virtual ~StaticRoute() = default;
  StaticRoute(const StaticRoute&) = delete;
  StaticRoute& operator=(const StaticRoute&) = delete;

  const std::string& intf_name() const { return intf_name_; }  // may be empty
  const std::string& vrf_name() const { return vrf_name_; }

  virtual const nettypes::NetAddr& network() const = 0;   // with prefix length
  virtual const nettypes::NetAddr& next_hop() const = 0;  // without one

 protected:
  StaticRoute(std::string intf_name, std::string vrf_name)
      : intf_name_(std::move(intf_name)), vrf_name_(std::move(vrf_name)) {}

 private:
  std::string intf_name_;
  std::string vrf_name_;
};

// A route of one family.
template <typename Mask, typename Addr>
class StaticRouteOf : public StaticRoute {
 public:
  StaticRouteOf(std::string intf_name, std::string vrf_name, Mask network,
                Addr next_hop)
      : StaticRoute(std::move(intf_name), std::move(vrf_name)),
        network_(std::move(network)),
        next_hop_(std::move(next_hop)) {}

  const Mask& network() const override { return network_; }
  const Addr& next_hop() const override { return next_hop_; }

 private:
  Mask network_;
  Addr next_hop_;
};

using StaticRouteIPv4 =
    StaticRouteOf<nettypes::IPv4AddrMask, nettypes::IPv4Addr>;
using StaticRouteIPv6 =
    StaticRouteOf<nettypes::IPv6AddrMask, nettypes::IPv6Addr>;

// Key of the route maps: an address or a prefix in one VRF.
template <typename T>
struct RouteKey {
  std::string vrf_name;
  T addr;

  // By VRF name, then by address.
  bool operator<(const RouteKey& other) const {
    const int order = vrf_name.compare(other.vrf_name);
    if (order != 0) return order < 0;
    return addr < other.addr;
  }
};

class StaticRouteConfig : public GenericConfig {
 public:
  // Number of rows of each family. The read of either family counts both.
  std::uint32_t ipv4_count() const { return ipv4_.count; }
  std::uint32_t ipv6_count() const { return ipv6_.count; }

  // Sets `route` to the first route with that next hop in that VRF. Returns
  // false, and leaves `route` unchanged, if there is none.
  bool FindNextHop(const RouteKey<nettypes::IPv4Addr>& key,
                   std::shared_ptr<StaticRoute>& route) const;
  bool FindNextHop(const RouteKey<nettypes::IPv6Addr>& key,
                   std::shared_ptr<StaticRoute>& route) const;

  // Whether a route of either family has a next hop and that output interface.
  bool FindOutputInterface(const std::string& name) const;

  // Finds the first prefix, by VRF and address, with both a black hole and a
  // route with a next hop, and sets `route` to the latter. Returns false, and
  // leaves `route` unchanged, if there is none.
  bool CheckBlackHoleIpv4(std::shared_ptr<StaticRoute>& route) const;
  bool CheckBlackHoleIpv6(std::shared_ptr<StaticRoute>& route) const;

  // Output interface of a row in the form of Interface::name: the third
  // character, the hyphen of "l3-1", becomes a blank. Empty if the row has
  // none, or it cannot be read. Throws std::out_of_range for a name of less
  // than two characters. Aborts the process if the prefix length, the index or
  // the name does not have the model's type.
  std::string GetIntfNameFromRoute(const maapi_cursor& cursor) const;

 private:
  // The routes of one family. Each map keeps the first route with a key.
  template <typename Mask, typename Addr>
  struct Routes {
    std::uint32_t count = 0;
    std::map<RouteKey<Mask>, std::shared_ptr<StaticRoute>> by_prefix;
    std::map<RouteKey<Mask>, std::shared_ptr<StaticRoute>> black_holes;
    std::map<RouteKey<Addr>, std::shared_ptr<StaticRoute>> by_next_hop;
  };

  void ReadConfig(ConfigAddrFamily family) override;

  template <typename Mask, typename Addr>
  void File(std::string intf_name, std::string vrf_name, const Mask& network,
            const Addr& next_hop, Routes<Mask, Addr>* routes);
  template <typename Mask, typename Addr>
  static bool CheckBlackHole(const Routes<Mask, Addr>& routes,
                             std::shared_ptr<StaticRoute>* route);

  Routes<nettypes::IPv4AddrMask, nettypes::IPv4Addr> ipv4_;
  Routes<nettypes::IPv6AddrMask, nettypes::IPv6Addr> ipv6_;
  // Interface names of the routes with a next hop, of both families. The name
  // may be empty.
  std::set<std::string> output_interfaces_;
};

}  // namespace ip_application::config_valid

#endif  // IPAV_STATIC_ROUTE_CONFIG_H_
