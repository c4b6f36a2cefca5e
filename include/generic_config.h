// What all readers of the snapshot share: reading a family once, and reads of
// the transaction through MAAPI.
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

// Base of every reader: the read-once gate, and the socket and transaction
// that each MAAPI read goes through.
class GenericConfig {
 public:
  GenericConfig() = default;
  virtual ~GenericConfig() = default;
  GenericConfig(const GenericConfig&) = delete;
  GenericConfig& operator=(const GenericConfig&) = delete;

  // Reads a family unless it was read before; any value but the two families
  // reads nothing. An exception of the read passes through and leaves the
  // family unread, so that the next call reads again.
  void ReadConfigIfNeeded(ConfigAddrFamily family);

  // Bound anew for every validation call. Neither makes a family unread.
  void set_sock(int sock) { sock_ = sock; }
  void set_confd_trans(confd_trans_ctx* trans) { trans_ = trans; }

  int sock() const { return sock_; }                       // -1 when unbound
  confd_trans_ctx* confd_trans() const { return trans_; }  // borrowed
  bool ipv4_read() const { return ipv4_read_; }
  bool ipv6_read() const { return ipv6_read_; }

 protected:
  // Reads of the transaction by path. An element that is missing or cannot be
  // read is the default named here; an element of another type than the model
  // promises stops the process.

  // Default: 0.0.0.0/0, ::/0.
  nettypes::IPv4AddrMask get_ipv4_addr_mask(const std::string& path) const;
  nettypes::IPv6AddrMask get_ipv6_addr_mask(const std::string& path) const;

  // Identifier of the l3 interface on the VLAN at the path. Default: 0.
  limid_t get_intf_lim_id(const std::string& path) const;

  // "global" where there is none, empty where it cannot be read.
  std::string get_vrf_name(const std::string& path) const;

  // The first key, or the first `key_count` keys, of each list entry, in the
  // order of the database. A key is printed as text and cut at 255 bytes.
  std::list<std::string> get_key_list(const std::string& path) const;
  std::list<std::vector<std::string>> get_key_list(
      const std::string& path, unsigned int key_count) const;

  // The leaf "ip" of each entry of a list. An entry without one is reported to
  // the host's fault service and left out.
  std::list<nettypes::IPv4AddrMask> get_intf_ipv4_addr_mask_list(
      const std::string& path) const;
  std::list<nettypes::IPv6AddrMask> get_intf_ipv6_addr_mask_list(
      const std::string& path) const;

  // Conversions of values already read. A value of another type than C_BINARY
  // (octets in network order; missing ones are zero) or C_INT32 (a prefix
  // length) gives the default address.
  nettypes::IPv4Addr get_ipv4_addr(const confd_value_t& value) const;
  nettypes::IPv6Addr get_ipv6_addr(const confd_value_t& value) const;
  nettypes::IPv4AddrMask get_ipv4_addr_mask(const confd_value_t& addr,
                                            const confd_value_t& prefix) const;
  nettypes::IPv6AddrMask get_ipv6_addr_mask(const confd_value_t& addr,
                                            const confd_value_t& prefix) const;

  // Name of the VRF of a C_UINT32 identifier; "global" for any other value and
  // for an identifier without a name.
  std::string get_vrf_name_from_id(const confd_value_t& value) const;

  // "0a:ff" for the octets 0x0a 0xff of a C_BINARY; empty for another type;
  // "00" for a C_BINARY without octets, because the terminating NUL is printed.
  std::string get_hex_from_bin(const confd_value_t& value) const;

  // Reports to the host's fault service that the address of `key` is missing.
  // The fault log names the function and the line.
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
