// Base class of the snapshot's readers.
#ifndef IPAV_GENERIC_CONFIG_H_
#define IPAV_GENERIC_CONFIG_H_

#include <confd_lib.h>
#include <ids/limid.h>

#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "nettypes/ipv4.h"
#include "nettypes/ipv6.h"

namespace ip_application::config_valid {

enum class ConfigAddrFamily : std::int32_t { kIpv4 = 4, kIpv6 = 6 };

// Reads each address family at most once. Holds the socket and the transaction
// of the current call, and reads the transaction through MAAPI.
class GenericConfig {
 public:
  GenericConfig() = default;
  virtual ~GenericConfig() = default;
  GenericConfig(const GenericConfig&) = delete;
  GenericConfig& operator=(const GenericConfig&) = delete;

  // Reads a family unless it was read before; does nothing for any other value.
  // If the read throws, the next call reads the family again.
  void ReadConfigIfNeeded(ConfigAddrFamily family);

  // To be called for every validation call. Families that were read are not
  // read again. `trans` is borrowed.
  void set_sock(int sock) { sock_ = sock; }
  void set_confd_trans(confd_trans_ctx* trans) { trans_ = trans; }

  int sock() const { return sock_; }                       // -1 when unbound
  confd_trans_ctx* confd_trans() const { return trans_; }  // borrowed
  bool ipv4_read() const { return ipv4_read_; }
  bool ipv6_read() const { return ipv6_read_; }

 protected:
  // Read the transaction by path. They return a default if the element is
  // missing or cannot be read.

  // Default: 0.0.0.0/0, ::/0.
  nettypes::IPv4AddrMask get_ipv4_addr_mask(const std::string& path) const;
  nettypes::IPv6AddrMask get_ipv6_addr_mask(const std::string& path) const;

  // Identifier of the l3 interface on the VLAN in the leaf at the path.
  // Default: 0, also if the VLAN has no identifier. Aborts the process if the
  // leaf is not a C_INT32.
  limid_t get_intf_lim_id(const std::string& path) const;

  // The VRF name in the leaf at the path; "global" if the leaf does not exist,
  // empty if it cannot be read. Aborts the process if it is not a C_BUF.
  std::string get_vrf_name(const std::string& path) const;

  // The first key, or the first `key_count` keys, of each list entry, in the
  // order of the list. Each key is printed by confd_pp_value() and cut to 255
  // bytes. Default: no entries.
  std::list<std::string> get_key_list(const std::string& path) const;
  std::list<std::vector<std::string>> get_key_list(
      const std::string& path, unsigned int key_count) const;

  // The leaf "ip" of each entry of a list. An entry with a missing, unreadable
  // or unspecified address is left out and reported to the host's fault
  // service.
  std::list<nettypes::IPv4AddrMask> get_intf_ipv4_addr_mask_list(
      const std::string& path) const;
  std::list<nettypes::IPv6AddrMask> get_intf_ipv6_addr_mask_list(
      const std::string& path) const;

  // Convert values that were read. An address is a C_BINARY of octets in
  // network order; missing octets are zero, surplus octets are ignored. A
  // prefix length is a C_INT32. A value of another type gives the default
  // address.
  nettypes::IPv4Addr get_ipv4_addr(const confd_value_t& value) const;
  nettypes::IPv6Addr get_ipv6_addr(const confd_value_t& value) const;
  nettypes::IPv4AddrMask get_ipv4_addr_mask(const confd_value_t& addr,
                                            const confd_value_t& prefix) const;
  nettypes::IPv6AddrMask get_ipv6_addr_mask(const confd_value_t& addr,
                                            const confd_value_t& prefix) const;

  // Name of the VRF with a C_UINT32 identifier; "global" for a value of another
  // type and if the name is missing or cannot be read. Aborts the process if
  // the name is not a C_BUF.
  std::string get_vrf_name_from_id(const confd_value_t& value) const;

  // The octets of a C_BINARY in lower-case hexadecimal, "0a:ff"; empty for
  // another type. Without octets it is "00": the terminating NUL is printed.
  std::string get_hex_from_bin(const confd_value_t& value) const;

  // Reports to the host's fault service that the address of the entry `key` is
  // missing. The report names `function` and `line`.
  static void ReportUnspecified(const char* family, const std::string& key,
                                const char* function, int line);

 private:
  template <typename Mask>
  std::list<Mask> ReadMaskList(const std::string& path,
                               Mask (GenericConfig::*read)(const std::string&)
                                   const,
                               const char* family, const char* function,
                               int line) const;

  virtual void ReadConfig(ConfigAddrFamily family) = 0;

  int sock_ = -1;
  confd_trans_ctx* trans_ = nullptr;
  bool ipv4_read_ = false;
  bool ipv6_read_ = false;
};

}  // namespace ip_application::config_valid

#endif  // IPAV_GENERIC_CONFIG_H_
