// Reader of the routing stack's static-route table, and the questions that the
// rules ask of it.
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

// One route. It is a black hole exactly when its next hop is unspecified.
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

// Key of the route maps: an address or a prefix of one VRF.
template <typename T>
struct RouteKey {
  std::string vrf_name;
  T addr;

  // By VRF name, then by address: the keys of a VRF stand together.
  bool operator<(const RouteKey& other) const {
    const int order = vrf_name.compare(other.vrf_name);
    if (order != 0) return order < 0;
    return addr < other.addr;
  }
};

class StaticRouteConfig : public GenericConfig {
 public:
  // Rows of the whole table, whichever family was read.
  std::uint32_t ipv4_count() const { return ipv4_.count; }
  std::uint32_t ipv6_count() const { return ipv6_.count; }

  // The first route read whose next hop is that address of that VRF. False, and
  // `route` untouched, where there is none.
  bool FindNextHop(const RouteKey<nettypes::IPv4Addr>& key,
                   std::shared_ptr<StaticRoute>& route) const;
  bool FindNextHop(const RouteKey<nettypes::IPv6Addr>& key,
                   std::shared_ptr<StaticRoute>& route) const;

  // Whether a route of either family with a next hop leaves by that interface.
  bool FindOutputInterface(const std::string& name) const;

  // The first prefix, by VRF and address, that is a black hole and has a next
  // hop as well; `route` is the one with the next hop. False, and `route`
  // untouched, where there is none.
  bool CheckBlackHoleIpv4(std::shared_ptr<StaticRoute>& route) const;
  bool CheckBlackHoleIpv6(std::shared_ptr<StaticRoute>& route) const;

  // Name of a row's output interface in the form of interface records: the
  // third character, the hyphen of "l3-1", becomes a blank. Empty if the row
  // has no interface. Throws std::out_of_range for a name shorter than two
  // characters.
  std::string GetIntfNameFromRoute(const maapi_cursor& cursor) const;

 private:
  // The routes of one family. Each map keeps the first route of a key.
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
