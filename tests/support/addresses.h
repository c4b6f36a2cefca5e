// Makes the addresses that a test expects from their texts.
#ifndef IPAV_TESTS_SUPPORT_ADDRESSES_H_
#define IPAV_TESTS_SUPPORT_ADDRESSES_H_

#include <string>

#include "nettypes/ipv4.h"
#include "nettypes/ipv6.h"
#include "tests/support/value.h"

namespace ipav::testing {

inline nettypes::IPv4Addr Addr4(const std::string& address) {
  nettypes::IPv4Addr addr;
  addr.set_addr(Ipv4(address).Borrow().val.ip.s_addr);
  return addr;
}

inline nettypes::IPv6Addr Addr6(const std::string& address) {
  nettypes::IPv6Addr addr;
  addr.set_addr(Ipv6(address).Borrow().val.ip6);
  return addr;
}

inline nettypes::IPv4AddrMask Mask4(const std::string& address_slash_length) {
  const auto parsed = Ipv4Plen(address_slash_length).Borrow().val.ipv4prefix;
  nettypes::IPv4AddrMask mask;
  mask.set_addr(parsed.ip.s_addr);
  mask.set_prefix_len(parsed.len);
  return mask;
}

inline nettypes::IPv6AddrMask Mask6(const std::string& address_slash_length) {
  const auto parsed = Ipv6Plen(address_slash_length).Borrow().val.ipv6prefix;
  nettypes::IPv6AddrMask mask;
  mask.set_addr(parsed.ip6);
  mask.set_prefix_len(parsed.len);
  return mask;
}

}  // namespace ipav::testing

#endif  // IPAV_TESTS_SUPPORT_ADDRESSES_H_
