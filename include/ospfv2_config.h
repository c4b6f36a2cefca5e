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
  // In the form of Interface::name: "l3 core1".
  const std::string& intf_name() const { return intf_name_; }
  // The addresses in OSPFv2's table, in the order of its rows.
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

// Reads the OSPFv2 interface assignments. OSPFv2 is IPv4 only: the read of IPv6
// does nothing.
class Ospfv2Config : public GenericConfig {
 public:
  // In the order in which they were first read.
  const std::list<std::shared_ptr<OspfIf>>& interfaces() const {
    return interfaces_;
  }

  // Appends a copy of the record. If there is a record with the same interface,
  // process and VRF, only adds the first address of `ospf_if` to that record.
  void MergeConfigAndInsert(const OspfIf& ospf_if);

  // Read the tables of the routing stack by compound identifier (one number for
  // a process in a VRF). If a value is missing or cannot be read, they write a
  // line to the debug log and return 0 or an empty text.

  // Prefix length of an address. `intf_key` is the interface's name in the
  // table: "l3-1".
  std::uint8_t GetIpv4Netmask(unsigned int compound_id,
                              const nettypes::IPv4Addr& area,
                              const std::string& intf_key,
                              const nettypes::IPv4Addr& address) const;
  std::uint32_t GetProcessIdFromCompoundId(unsigned int compound_id) const;
  std::string GetVrfName(unsigned int compound_id) const;

 private:
  // Throws std::invalid_argument for a compound identifier that is not a
  // number, std::out_of_range for one that is too large, and
  // boost::system::system_error for an area or address that cannot be parsed.
  // Records of earlier rows are kept.
  void ReadConfig(ConfigAddrFamily family) override;
  void ReadRow(const std::vector<std::string>& keys);

  std::list<std::shared_ptr<OspfIf>> interfaces_;
  const std::string interface_path_ = "/internal/ospf-interface-l3";
  const std::string process_path_ = "/internal/ospf-index-to-proc-id";
  // The records by interface, process and VRF; owned by interfaces_.
  std::map<std::tuple<std::string, std::uint32_t, std::string>, OspfIf*>
      by_assignment_;
};

}  // namespace ip_application::config_valid

#endif  // IPAV_OSPFV2_CONFIG_H_
