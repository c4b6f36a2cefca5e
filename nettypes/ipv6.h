// IPv6 addresses (RFC 4291), alone and with a prefix length (section 2.3).
//
// An address is stored as 16 octets in network order, as in `in6_addr`. No
// function converts the byte order.
#ifndef NETTYPES_IPV6_H_
#define NETTYPES_IPV6_H_

#include <netinet/in.h>

#include <cstdint>
#include <string>

#include "nettypes/net_addr.h"

namespace nettypes {

// An address; :: ("unspecified", RFC 4291 section 2.5.2) until one is set.
class IPv6Addr : public NetAddr {
 public:
  IPv6Addr() = default;

  // Octets in network order, in both directions.
  void set_addr(const in6_addr& address) { address_ = address; }
  const in6_addr& addr() const { return address_; }

  // Whether it is ::, which stands for a missing address.
  bool is_unspecified() const;

  // As inet_ntop() writes it: lower case, the longest run of zero groups
  // compressed, ::ffff:a.b.c.d for an IPv4-mapped address.
  std::string to_string() const override;

 private:
  in6_addr address_ = {};
};

bool operator==(const IPv6Addr& a, const IPv6Addr& b);
bool operator!=(const IPv6Addr& a, const IPv6Addr& b);
// Compares the addresses as 128-bit numbers, first octet most significant.
bool operator<(const IPv6Addr& a, const IPv6Addr& b);

// An address with the length of its prefix. The address keeps its host bits
// (2001:db8::1/64 is not 2001:db8::/64).
//
// The length is stored, printed and compared as given, even if it is out of
// range: a row of the routing table may have -1 or 200. Overlap() clamps it to
// 0..128. There are no tests for network and broadcast addresses: IPv6 has no
// broadcast address, and an address with zero host bits is the subnet-router
// anycast address (RFC 4291 sections 2 and 2.6.1).
class IPv6AddrMask : public NetAddr {
 public:
  static constexpr int32_t kMaxPrefixLen = 128;

  // ::/0, which stands for a missing prefix.
  IPv6AddrMask() = default;

  // Octets in network order.
  IPv6AddrMask(const in6_addr& address, int32_t prefix_len);

  // Octets in network order. The prefix length stays.
  void set_addr(const in6_addr& address) { addr_.set_addr(address); }
  void set_prefix_len(int32_t prefix_len) { prefix_len_ = prefix_len; }

  const IPv6Addr& addr() const { return addr_; }
  // As given, possibly out of range.
  int32_t prefix_len() const { return prefix_len_; }

  // Whether the address is ::, whatever the prefix length.
  bool IsUnspecified() const { return addr_.is_unspecified(); }

  // Whether the two prefixes have an address in common: their leading bits are
  // equal up to the shorter length. Symmetric. A prefix of length 0 overlaps
  // with every other.
  bool Overlap(const IPv6AddrMask& other) const;

  // The address as IPv6Addr prints it, "/" and the length.
  std::string to_string() const override;

 private:
  IPv6Addr addr_;
  int32_t prefix_len_ = 0;
};

// Compare address and length: 2001:db8::1/64 equals neither 2001:db8::2/64 nor
// 2001:db8::1/65.
bool operator==(const IPv6AddrMask& a, const IPv6AddrMask& b);
bool operator!=(const IPv6AddrMask& a, const IPv6AddrMask& b);
// By address and then by prefix length, the shorter one first.
bool operator<(const IPv6AddrMask& a, const IPv6AddrMask& b);

}  // namespace nettypes

#endif  // NETTYPES_IPV6_H_
