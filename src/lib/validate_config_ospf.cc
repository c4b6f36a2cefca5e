// The rules that compare interfaces with their OSPFv2 assignments.

#include <algorithm>
#include <list>
#include <set>
#include <string>

#include "include/validate_config.h"
#include "src/lib/internal/joined.h"
#include "src/lib/internal/report.h"

namespace ip_application::config_valid {

namespace {

using internal::Joined;
using internal::kHolds;
using internal::kViolated;

// The first of `masks` that is not among `others`, compared by address and
// prefix length; null if there is none.
const nettypes::IPv4AddrMask* FirstNotIn(
    const std::list<nettypes::IPv4AddrMask>& others,
    const std::list<nettypes::IPv4AddrMask>& masks) {
  const std::set<nettypes::IPv4AddrMask> known(others.begin(), others.end());
  for (const nettypes::IPv4AddrMask& mask : masks) {
    if (known.count(mask) == 0) return &mask;
  }
  return nullptr;
}

// The area as a number and dotted, as both are in use: "area 1 (0.0.0.1)".
std::string ProcessText(const OspfIf& ospf_if) {
  return Joined({std::to_string(ospf_if.process_id()), " vrf ",
                 ospf_if.vrf_name(), " area ",
                 std::to_string(ospf_if.area().to_uint32()), " (",
                 ospf_if.area().to_string(), ")"});
}

}  // namespace

int ValidateConfig::ValidateOspfv2(const Config& config) {
  const Ospfv2Config& ospf = config.ospfv2_config();
  return ValidateOspfv2CrossIfL3(config.l3_config(), ospf) &&
                 ValidateOspfv2CrossIfLo(config.lo_config(), ospf)
             ? kHolds
             : kViolated;
}

bool ValidateConfig::ValidateOspfv2CrossIfL3(const L3Config& l3,
                                             const Ospfv2Config& ospf) {
  return EveryAssignmentHolds(l3, ospf, &ValidateConfig::HasAddressesOf);
}

bool ValidateConfig::ValidateOspfv2CrossIfLo(const LoConfig& lo,
                                             const Ospfv2Config& ospf) {
  return EveryAssignmentHolds(lo, ospf, &ValidateConfig::HasAddressesOf);
}

int ValidateConfig::ValidateOspfv2Vrf(const Config& config) {
  const Ospfv2Config& ospf = config.ospfv2_config();
  return ValidateOspfv2CrossIfL3Vrf(config.l3_config(), ospf) &&
                 ValidateOspfv2CrossIfLoVrf(config.lo_config(), ospf)
             ? kHolds
             : kViolated;
}

bool ValidateConfig::ValidateOspfv2CrossIfL3Vrf(const L3Config& l3,
                                                const Ospfv2Config& ospf) {
  return EveryAssignmentHolds(l3, ospf, &ValidateConfig::IsInVrfOf);
}

bool ValidateConfig::ValidateOspfv2CrossIfLoVrf(const LoConfig& lo,
                                                const Ospfv2Config& ospf) {
  return EveryAssignmentHolds(lo, ospf, &ValidateConfig::IsInVrfOf);
}

// Ignores assignments of a missing interface and interfaces without assignment.
bool ValidateConfig::EveryAssignmentHolds(const InterfaceConfig& interfaces,
                                          const Ospfv2Config& ospf,
                                          OspfRule rule) {
  const auto& assignments = ospf.interfaces();
  return std::all_of(
      assignments.begin(), assignments.end(), [&](const auto& ospf_if) {
        // Names are unique among the interfaces of a kind.
        const auto* interface = interfaces.FindByName(ospf_if->intf_name());
        return interface == nullptr || (this->*rule)(*ospf_if, *interface);
      });
}

bool ValidateConfig::HasAddressesOf(const OspfIf& ospf_if,
                                    const Interface& interface) {
  const std::list<nettypes::IPv4AddrMask>& known = ospf_if.addresses();
  // 1. The interface has all addresses that OSPF knows.
  if (const auto* missing = FirstNotIn(interface.ipv4, known)) {
    error_text_ =
        Joined({missing->to_string(),
                " cannot be modified nor deleted, it is assigned to router "
                "ospf ",
                ProcessText(ospf_if)});
    return false;
  }
  // 2. If it has more addresses than OSPF, OSPF knows them all.
  if (known.size() >= interface.ipv4.size()) return true;
  if (const auto* added = FirstNotIn(known, interface.ipv4)) {
    error_text_ =
        Joined({added->to_string(),
                " cannot be added after interface is assigned to router ospf ",
                ProcessText(ospf_if)});
    return false;
  }
  return true;
}

bool ValidateConfig::IsInVrfOf(const OspfIf& ospf_if,
                               const Interface& interface) {
  if (interface.vrf_name == ospf_if.vrf_name()) return true;
  error_text_ =
      Joined({interface.name, " vrf ", interface.vrf_name, " and router ospf ",
              std::to_string(ospf_if.process_id()), " vrf ", ospf_if.vrf_name(),
              " cannot be associated with divergent VRF"});
  return false;
}

}  // namespace ip_application::config_valid
