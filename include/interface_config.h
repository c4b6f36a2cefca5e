// Readers of the interfaces: one class for each kind (l3, loopback, mgmt).
#ifndef IPAV_INTERFACE_CONFIG_H_
#define IPAV_INTERFACE_CONFIG_H_

#include <ids/limid.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "include/generic_config.h"
#include "nettypes/ipv4.h"
#include "nettypes/ipv6.h"

namespace ip_application::config_valid {

enum class InterfaceType : std::int32_t {
  kMgmt = 0,
  kL3 = 1,
  kLoopback = 2,
  kNone = 3,  // no interface kind
};

// One interface of the configuration.
struct Interface {
  std::string name;                        // kind, blank, list key: "l3 core1"
  std::list<nettypes::IPv4AddrMask> ipv4;  // l3: the primary one first
  std::list<nettypes::IPv6AddrMask> ipv6;
  std::string vrf_name;
  limid_t lim_id = 0;  // 0: no lower-layer VLAN
};

// Reads the interfaces of one kind. The read of each family makes one record
// per interface; records with the same name are merged.
class InterfaceConfig : public GenericConfig {
 public:
  InterfaceType type() const { return type_; }

  // In the order in which they were first read.
  const std::vector<Interface>& interfaces() const { return interfaces_; }

  // The record of that name, or null.
  const Interface* FindByName(const std::string& name) const;

  // Appends a copy of the record if its name is new. Otherwise fills one list
  // of the record with that name: the IPv4 addresses if it has none and
  // `interface` has some, else likewise the IPv6 addresses.
  void MergeConfigAndInsert(const Interface& interface);

 protected:
  // The list of one kind of interface, and the leaves of its entries.
  struct Layout {
    const char* path;       // of the list
    const char* kind_word;  // with a blank: "l3 "
    std::list<nettypes::IPv4AddrMask> (InterfaceConfig::*read_ipv4)(
        const std::string& entry, const std::string& key) const;
    bool has_vlan;
  };

  explicit InterfaceConfig(InterfaceType type) : type_(type) {}

  void ReadInterfaces(ConfigAddrFamily family, const Layout& layout);

  // The IPv4 addresses below a list entry, for each layout. `entry` is the path
  // of the entry, `key` its key.
  std::list<nettypes::IPv4AddrMask> ReadPrimaryAndSecondaries(
      const std::string& entry, const std::string& key) const;
  std::list<nettypes::IPv4AddrMask> ReadOnlyAddress(
      const std::string& entry, const std::string& key) const;
  std::list<nettypes::IPv4AddrMask> ReadAddressList(
      const std::string& entry, const std::string& key) const;

 private:
  std::vector<Interface> interfaces_;
  InterfaceType type_;
  std::map<std::string, std::size_t> by_name_;  // index + 1; 0: none
};

class L3Config : public InterfaceConfig {
 public:
  L3Config() : InterfaceConfig(InterfaceType::kL3) {}

 private:
  void ReadConfig(ConfigAddrFamily family) override;
};

class LoConfig : public InterfaceConfig {
 public:
  LoConfig() : InterfaceConfig(InterfaceType::kLoopback) {}

 private:
  void ReadConfig(ConfigAddrFamily family) override;
};

class MgmtConfig : public InterfaceConfig {
 public:
  MgmtConfig() : InterfaceConfig(InterfaceType::kMgmt) {}

 private:
  void ReadConfig(ConfigAddrFamily family) override;
};

}  // namespace ip_application::config_valid

#endif  // IPAV_INTERFACE_CONFIG_H_
