// IPv4 addresses, alone and with a prefix length (CIDR, RFC 4632 section 3.1).
//
// The names of parameters tell the byte order: `network_order` is the form of
// `in_addr::s_addr`, first octet at the lowest memory address; `address` is a
// number in host byte order, so that 0.0.0.1 is 1 on every machine.
#ifndef NETTYPES_IPV4_H_
#define NETTYPES_IPV4_H_

#include <netinet/in.h>

#include <cstdint>
#include <string>

#include "nettypes/net_addr.h"

namespace nettypes {

// An address; 0.0.0.0 ("unspecified") until one is set.
class IPv4Addr : public NetAddr {
 public:
  IPv4Addr() = default;

  // `network_order` as in in_addr::s_addr: htonl(1) is 0.0.0.1.
  void set_addr(uint32_t network_order);

  // The number whose dotted form is the address: 0.0.0.1 is 1, 10.0.0.0 is
  // 0x0a000000. Not network order.
  uint32_t to_uint32() const { return number_; }

  // Whether it is 0.0.0.0, which stands for a missing address.
  bool is_unspecified() const { return number_ == 0; }

  // "a.b.c.d".
  std::string to_string() const override;

 private:
  uint32_t number_ = 0;
};

inline bool operator==(const IPv4Addr& a, const IPv4Addr& b) {
  return a.to_uint32() == b.to_uint32();
}
bool operator!=(const IPv4Addr& a, const IPv4Addr& b);
// By to_uint32(), so 9.0.0.0 comes before 10.0.0.0 on every machine.
bool operator<(const IPv4Addr& a, const IPv4Addr& b);

// An address with the length of its prefix. The address keeps its host bits
// (10.1.1.1/24 is not 10.1.1.0/24).
//
// The length is stored, printed and compared as given, even if it is out of
// range: a row of the routing table may have -1 or 200. Overlap(),
// IsNetworkAddress() and IsBroadcastAddress() clamp it to 0..32.
class IPv4AddrMask : public NetAddr {
 public:
  static constexpr int32_t kMaxPrefixLen = 32;

  // 0.0.0.0/0, which stands for a missing prefix.
  IPv4AddrMask() = default;

  // `address` is a number as IPv4Addr::to_uint32() gives it, not network order.
  IPv4AddrMask(uint32_t address, int32_t prefix_len);

  // `network_order` as in in_addr::s_addr. The prefix length stays.
  void set_addr(uint32_t network_order) { addr_.set_addr(network_order); }
  void set_prefix_len(int32_t prefix_len) { prefix_len_ = prefix_len; }

  const IPv4Addr& addr() const { return addr_; }
  // As given, possibly out of range.
  int32_t prefix_len() const { return prefix_len_; }

  // Whether the address is 0.0.0.0, whatever the prefix length.
  bool IsUnspecified() const { return addr_.is_unspecified(); }

  // Whether the two prefixes have an address in common: their leading bits are
  // equal up to the shorter length (RFC 4632 section 3.1). Symmetric. A prefix
  // of length 0 overlaps with every other.
  bool Overlap(const IPv4AddrMask& other) const;

  // Whether all host bits are zero, or all are one: no host may have such an
  // address (RFC 1122 section 3.2.1.3). Callers must skip /31 and /32: both
  // functions are true for a /32, which has no host bits, and one of them is
  // true for each address of a /31, although both are usable (RFC 3021).
  bool IsNetworkAddress() const;
  bool IsBroadcastAddress() const;

  // "a.b.c.d/len".
  std::string to_string() const override;

 private:
  IPv4Addr addr_;
  int32_t prefix_len_ = 0;
};

// Compare address and length: 10.0.0.1/24 equals neither 10.0.0.2/24 nor
// 10.0.0.1/25.
inline bool operator==(const IPv4AddrMask& a, const IPv4AddrMask& b) {
  return a.addr() == b.addr() && a.prefix_len() == b.prefix_len();
}
bool operator!=(const IPv4AddrMask& a, const IPv4AddrMask& b);
// By address and then by prefix length, the shorter one first.
bool operator<(const IPv4AddrMask& a, const IPv4AddrMask& b);

}  // namespace nettypes

#endif  // NETTYPES_IPV4_H_
