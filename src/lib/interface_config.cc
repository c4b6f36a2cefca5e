#include "include/interface_config.h"

#include "src/lib/internal/joined.h"

namespace ip_application::config_valid {

const Interface* InterfaceConfig::FindByName(const std::string& name) const {
  const auto found = by_name_.find(name);
  if (found == by_name_.end() || found->second == 0) return nullptr;
  return &interfaces_[found->second - 1];
}

void InterfaceConfig::MergeConfigAndInsert(const Interface& interface) {
  std::size_t& number = by_name_[interface.name];
  if (number == 0) {
    interfaces_.push_back(interface);
    number = interfaces_.size();
    return;
  }
  Interface& known = interfaces_[number - 1];
  if (known.ipv4.empty() && !interface.ipv4.empty()) {
    known.ipv4 = interface.ipv4;  // ignores the IPv6 addresses
  } else if (known.ipv6.empty() && !interface.ipv6.empty()) {
    known.ipv6 = interface.ipv6;
  }
}

void InterfaceConfig::ReadInterfaces(ConfigAddrFamily family,
                                     const Layout& layout) {
  const std::string list = layout.path;
  for (const std::string& key : get_key_list(list)) {
    const std::string entry = internal::Joined({list, "{", key, "}"});
    Interface interface;
    if (family == ConfigAddrFamily::kIpv4) {
      interface.ipv4 = (this->*layout.read_ipv4)(entry, key);
    } else if (family == ConfigAddrFamily::kIpv6) {
      interface.ipv6 = get_intf_ipv6_addr_mask_list(entry + "/ipv6/address");
    }
    if (layout.has_vlan) {
      interface.lim_id = get_intf_lim_id(entry + "/lower-layer-if/vlan");
    }
    interface.vrf_name = get_vrf_name(entry + "/vrf");
    interface.name = internal::Joined({layout.kind_word, key});
    MergeConfigAndInsert(interface);
  }
}

// An l3 interface without a primary address is common and not a fault.
std::list<nettypes::IPv4AddrMask> InterfaceConfig::ReadPrimaryAndSecondaries(
    const std::string& entry, const std::string& /*key*/) const {
  const nettypes::IPv4AddrMask primary =
      get_ipv4_addr_mask(entry + "/ipv4/address/ip");
  std::list<nettypes::IPv4AddrMask> masks =
      get_intf_ipv4_addr_mask_list(entry + "/ipv4/address/secondary");
  if (!primary.IsUnspecified()) masks.push_front(primary);
  return masks;
}

std::list<nettypes::IPv4AddrMask> InterfaceConfig::ReadOnlyAddress(
    const std::string& entry, const std::string& key) const {
  const nettypes::IPv4AddrMask address =
      get_ipv4_addr_mask(entry + "/ipv4/address/ip");
  if (!address.IsUnspecified()) return {address};
  ReportUnspecified("IPv4", key, "ReadConfig", 475);
  return {};
}

std::list<nettypes::IPv4AddrMask> InterfaceConfig::ReadAddressList(
    const std::string& entry, const std::string& /*key*/) const {
  return get_intf_ipv4_addr_mask_list(entry + "/ipv4/address");
}

void L3Config::ReadConfig(ConfigAddrFamily family) {
  ReadInterfaces(family, {"/config/interface/ipapp:l3", "l3 ",
                          &L3Config::ReadPrimaryAndSecondaries, true});
}

void LoConfig::ReadConfig(ConfigAddrFamily family) {
  ReadInterfaces(family, {"/config/interface/ipapp:loopback", "loopback ",
                          &LoConfig::ReadAddressList, false});
}

void MgmtConfig::ReadConfig(ConfigAddrFamily family) {
  ReadInterfaces(family, {"/config/interface/ipapp:mgmt", "mgmt ",
                          &MgmtConfig::ReadOnlyAddress, false});
}

}  // namespace ip_application::config_valid
