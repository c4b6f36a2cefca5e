// Reader of the OSPFv2 interface assignments.
#ifndef IPAV_OSPFV2_CONFIG_H_
#define IPAV_OSPFV2_CONFIG_H_

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "include/generic_config.h"
#include "nettypes/ipv4.h"

namespace ip_application::config_valid {

// One interface assigned to one OSPFv2 process.
class OspfIf {
 public:
  OspfIf(std::uint32_t process_id, std::string vrf_name,
         nettypes::IPv4Addr area, std::string intf_name,
         std::list<nettypes::IPv4AddrMask> addresses);
  virtual ~OspfIf() = default;
  OspfIf(const OspfIf&) = default;
  OspfIf& operator=(const OspfIf&) = delete;

  std::uint32_t process_id() const { return process_id_; }
  const std::string& vrf_name() const { return vrf_name_; }  // the process's
  const nettypes::IPv4Addr& area() const { return area_; }
  // As interface records have it: "l3 core1".
  const std::string& intf_name() const { return intf_name_; }
  // Those that OSPF knows, in the order of the table.
  const std::list<nettypes::IPv4AddrMask>& addresses() const {
    return addresses_;
  }

  void AddAddress(const nettypes::IPv4AddrMask& address);

 private:
  std::uint32_t process_id_;
  std::string vrf_name_;
  nettypes::IPv4Addr area_;
  std::string intf_name_;
  std::list<nettypes::IPv4AddrMask> addresses_;
};

// Reader of the OSPFv2 interface assignments, which are IPv4 only.
class Ospfv2Config : public GenericConfig {
 public:
  // In the order in which the assignments were first met.
  const std::list<std::shared_ptr<OspfIf>>& interfaces() const {
    return interfaces_;
  }

  // Appends a record, or gives its first address to the record of the same
  // interface, process and VRF. The area of a record stays the first one.
  void MergeConfigAndInsert(const OspfIf& ospf_if);

  // Look-ups in the tables of the routing side, by compound identifier (one
  // number for a process in a VRF). A value that is missing or cannot be read
  // is reported in the debug log; the result is then 0 or empty.

  // Prefix length of an address. `intf_key` is the interface's name as the
  // table has it: "l3-1".
  std::uint8_t GetIpv4Netmask(unsigned int compound_id,
                              const nettypes::IPv4Addr& area,
                              const std::string& intf_key,
                              const nettypes::IPv4Addr& address) const;
  std::uint32_t GetProcessIdFromCompoundId(unsigned int compound_id) const;
  std::string GetVrfName(unsigned int compound_id) const;

 private:
  // Throws std::invalid_argument or std::out_of_range for a compound identifier
  // that is not a number, and boost::system::system_error for an area or an
  // address that cannot be parsed. The records of the rows before stay.
  void ReadConfig(ConfigAddrFamily family) override;
  void ReadRow(const std::vector<std::string>& keys);

  std::list<std::shared_ptr<OspfIf>> interfaces_;
  const std::string interface_path_ = "/internal/ospf-interface-l3";
  const std::string process_path_ = "/internal/ospf-index-to-proc-id";
  // The records by interface, process and VRF; null: not there.
  std::map<std::tuple<std::string, std::uint32_t, std::string>, OspfIf*>
      by_assignment_;
};

}  // namespace ip_application::config_valid

#endif  // IPAV_OSPFV2_CONFIG_H_
