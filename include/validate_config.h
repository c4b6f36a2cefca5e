// The rules: cross-configuration checks over a snapshot.
#ifndef IPAV_VALIDATE_CONFIG_H_
#define IPAV_VALIDATE_CONFIG_H_

#include <string>
#include <vector>

#include "include/config.h"
#include "include/static_route_config.h"

namespace ip_application::config_valid {

// To be made for one validation. Never changes the snapshot. A function that
// returns int returns 0 if its rule holds and -1 if it is violated. The first
// violation, in the order of the records, sets the error text and ends the
// rule; a rule that holds does not change the text.
class ValidateConfig {
 public:
  // Text of the last violation found; empty before.
  const std::string& error_text() const { return error_text_; }

  // The addresses of the interfaces of one kind are valid and unique, do not
  // overlap with those of another interface in the same address space, and do
  // not equal the next hop of a static route. Requires that family to be read.
  int ValidateInterfaceIPv4(const Config& config, InterfaceType type);
  int ValidateInterfaceIPv6(const Config& config, InterfaceType type);

  // Whether no IPv4 address of the interface is the network or broadcast
  // address of its prefix. A /31 and a /32 have none (RFC 3021).
  bool InterfaceIPv4IsValid(const Interface& interface);

  // Whether the interface has one address twice, whatever the prefix lengths.
  bool InterfaceHasDuplicateIpv4(const Interface& interface);
  bool InterfaceHasDuplicateIpv6(const Interface& interface);

  // Whether the VRFs of both interfaces share an address space and a prefix of
  // the first one overlaps with a prefix of the second one. The text names
  // `first` first.
  bool InterfaceIPv4Overlap(const Interface& first, const Interface& second);
  bool InterfaceIPv6Overlap(const Interface& first, const Interface& second);

  // Whether any interface of the changed kind overlaps in this way with any of
  // another kind.
  bool InterfaceIPv4Overlap(const InterfaceConfig& changed,
                            const std::vector<InterfaceConfig*>& all);
  bool InterfaceIPv6Overlap(const InterfaceConfig& changed,
                            const std::vector<InterfaceConfig*>& all);

  // Number of l3 interfaces, and the syntax of their names.
  int ValidateInterfaceL3(const Config& config);

  // Runs the three rules below, in their order. All of them run; the text is
  // that of the last one that is violated.
  int ValidateStaticRoute(const Config& config);

  // No next hop is an address of an interface in its VRF. If the IPv4 routes
  // were read, the IPv6 routes are not checked.
  int ValidateStaticRouteNextHop(const Config& config);
  // At most 1000 routes, where an IPv6 route counts twice.
  int ValidateStaticRouteLimit(const Config& config);
  // No prefix is a black hole and has a next hop. If the IPv4 routes were read,
  // the IPv6 routes are not checked.
  int ValidateRouteBlackHole(const Config& config);

  // Whether an address of the interface is the next hop of a route in its VRF.
  bool InterfaceIPv4MatchStaticRouteNextHop(const Interface& interface,
                                            const StaticRouteConfig& routes);
  bool InterfaceIPv6MatchStaticRouteNextHop(const Interface& interface,
                                            const StaticRouteConfig& routes);

  // No route has an output interface without a lower-layer interface. Loopback
  // and management interfaces never have one.
  int ValidateStaticRouteOutputIntf(const Config& config);

  // An interface and each OSPFv2 process that it is assigned to have the same
  // IPv4 addresses. Checks the l3 interfaces before the loopbacks. The
  // functions for one kind return true if the rule holds.
  int ValidateOspfv2(const Config& config);
  bool ValidateOspfv2CrossIfL3(const L3Config& l3, const Ospfv2Config& ospf);
  bool ValidateOspfv2CrossIfLo(const LoConfig& lo, const Ospfv2Config& ospf);

  // An interface is in the VRF of its OSPFv2 process. Order and results as
  // above.
  int ValidateOspfv2Vrf(const Config& config);
  bool ValidateOspfv2CrossIfL3Vrf(const L3Config& l3, const Ospfv2Config& ospf);
  bool ValidateOspfv2CrossIfLoVrf(const LoConfig& lo, const Ospfv2Config& ospf);

 private:
  template <typename Family>
  int ValidateInterfaceAddresses(const Config& config, InterfaceType type);
  template <typename Family>
  bool HasDuplicate(const Interface& interface);
  template <typename Family>
  bool Overlap(const Interface& first, const Interface& second);
  // Whether any of the interfaces overlaps with `other`, which may be null. The
  // text names the first one that does.
  template <typename Family>
  bool OverlapsWithOther(const std::vector<Interface>& interfaces,
                         const Interface* other);
  template <typename Family>
  bool OverlapWithOtherKinds(const InterfaceConfig& changed,
                             const std::vector<InterfaceConfig*>& all);
  template <typename Family>
  bool MatchesNextHop(const Interface& interface,
                      const StaticRouteConfig& routes);

  // A rule for one OSPFv2 assignment and the interface that it names, and the
  // loop that applies the rule to all assignments.
  using OspfRule = bool (ValidateConfig::*)(const OspfIf& ospf_if,
                                            const Interface& interface);
  bool EveryAssignmentHolds(const InterfaceConfig& interfaces,
                            const Ospfv2Config& ospf, OspfRule rule);
  bool HasAddressesOf(const OspfIf& ospf_if, const Interface& interface);
  bool IsInVrfOf(const OspfIf& ospf_if, const Interface& interface);

  bool NameIsValid(const std::string& name);

  std::string error_text_;
};

}  // namespace ip_application::config_valid

#endif  // IPAV_VALIDATE_CONFIG_H_
