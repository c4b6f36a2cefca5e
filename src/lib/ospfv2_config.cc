#include "include/ospfv2_config.h"

#include <confd_maapi.h>

#include <utility>

#include "include/validate_logger.h"
#include "src/lib/internal/address_text.h"

namespace ip_application::config_valid {

namespace {

// Keys of a row of the OSPFv2 interface table.
constexpr unsigned kCompoundId = 0;
constexpr unsigned kArea = 1;       // dotted
constexpr unsigned kInterface = 2;  // kind, hyphen, name
constexpr unsigned kAddress = 3;    // dotted
constexpr unsigned kRowKeys = 4;

}  // namespace

OspfIf::OspfIf(std::uint32_t process_id, std::string vrf_name,
               nettypes::IPv4Addr area, std::string intf_name,
               std::list<nettypes::IPv4AddrMask> addresses)
    : process_id_(process_id),
      vrf_name_(std::move(vrf_name)),
      area_(std::move(area)),
      intf_name_(std::move(intf_name)),
      addresses_(std::move(addresses)) {}

void OspfIf::AddAddress(const nettypes::IPv4AddrMask& address) {
  addresses_.push_back(address);
}

void Ospfv2Config::ReadConfig(ConfigAddrFamily family) {
  if (family != ConfigAddrFamily::kIpv4) return;
  for (const auto& keys : get_key_list(interface_path_, kRowKeys)) {
    ReadRow(keys);
  }
}

void Ospfv2Config::ReadRow(const std::vector<std::string>& keys) {
  std::string intf_name = keys[kInterface];  // "l3-core1"
  const std::size_t hyphen = intf_name.find('-');
  if (hyphen == std::string::npos) return;

  // On the target an unsigned long has 32 bits, as the numbers of the table.
  const auto compound_id =
      static_cast<unsigned int>(std::stoul(keys[kCompoundId]));
  const nettypes::IPv4Addr area = internal::ParseIpv4(keys[kArea]);
  const nettypes::IPv4Addr address = internal::ParseIpv4(keys[kAddress]);
  const std::uint8_t prefix_len =
      GetIpv4Netmask(compound_id, area, intf_name, address);
  intf_name.replace(hyphen, 1, " ");
  const std::uint32_t process_id = GetProcessIdFromCompoundId(compound_id);
  MergeConfigAndInsert({process_id,
                        GetVrfName(compound_id),
                        area,
                        intf_name,
                        {{address.to_uint32(), prefix_len}}});
}

void Ospfv2Config::MergeConfigAndInsert(const OspfIf& ospf_if) {
  OspfIf*& known = by_assignment_[{ospf_if.intf_name(), ospf_if.process_id(),
                                   ospf_if.vrf_name()}];
  if (known == nullptr) {
    interfaces_.push_back(std::make_shared<OspfIf>(ospf_if));
    known = interfaces_.back().get();
  } else if (!ospf_if.addresses().empty()) {
    known->AddAddress(ospf_if.addresses().front());
  }
}

std::uint8_t Ospfv2Config::GetIpv4Netmask(
    unsigned int compound_id, const nettypes::IPv4Addr& area,
    const std::string& intf_key, const nettypes::IPv4Addr& address) const {
  std::uint8_t prefix_len = 0;
  if (maapi_get_u_int8_elem(sock(), confd_trans()->thandle, &prefix_len,
                            "%s{%u %s %s %s}/ospf-pm-ip-netmask",
                            interface_path_.c_str(), compound_id,
                            area.to_string().c_str(), intf_key.c_str(),
                            address.to_string().c_str()) != CONFD_OK) {
    // The text says "process ID", but the number is the compound identifier.
    ValidateLogger::Log("Failed to get IPv4 netmask from process ID %u!",
                        compound_id);
    return 0;
  }
  return prefix_len;
}

std::uint32_t Ospfv2Config::GetProcessIdFromCompoundId(
    unsigned int compound_id) const {
  std::uint32_t process_id = 0;
  if (maapi_get_u_int32_elem(sock(), confd_trans()->thandle, &process_id,
                             "%s{%u}/proc_id", process_path_.c_str(),
                             compound_id) != CONFD_OK) {
    ValidateLogger::Log("Failed to get process ID from compound ID %u!",
                        compound_id);
    return 0;
  }
  return process_id;
}

std::string Ospfv2Config::GetVrfName(unsigned int compound_id) const {
  char name[256] = "";
  if (maapi_get_str_elem(sock(), confd_trans()->thandle, name, sizeof(name),
                         "%s{%u}/vrf_name", process_path_.c_str(),
                         compound_id) != CONFD_OK) {
    ValidateLogger::Log("Failed to get VRF name from compound ID %u!",
                        compound_id);
    return "";
  }
  return name;
}

}  // namespace ip_application::config_valid
