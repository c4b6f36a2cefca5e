#include "nettypes/ipv6.h"

#include <arpa/inet.h>

#include <cstddef>
#include <cstring>

#include "nettypes/addr_mask.h"

namespace nettypes {
namespace {

// Whether two addresses agree in their first `prefix_len` bits, 0 to 128.
bool LeadingBitsAgree(const in6_addr& a, const in6_addr& b,
                      int32_t prefix_len) {
  const auto whole_octets = static_cast<std::size_t>(prefix_len / 8);
  if (std::memcmp(a.s6_addr, b.s6_addr, whole_octets) != 0) return false;
  const int32_t bits = prefix_len % 8;
  // Not only a shortcut: after a /128 there is no further octet.
  if (bits == 0) return true;
  const int differing = a.s6_addr[whole_octets] ^ b.s6_addr[whole_octets];
  return (differing >> (8 - bits)) == 0;
}

}  // namespace

bool IPv6Addr::is_unspecified() const {
  return IN6_IS_ADDR_UNSPECIFIED(&address_);
}

std::string IPv6Addr::to_string() const {
  char text[INET6_ADDRSTRLEN] = "";
  // Fails for an unknown family or a short buffer only.
  static_cast<void>(inet_ntop(AF_INET6, &address_, text, sizeof text));
  return text;
}

bool operator==(const IPv6Addr& a, const IPv6Addr& b) {
  return std::memcmp(&a.addr(), &b.addr(), sizeof(in6_addr)) == 0;
}

bool operator!=(const IPv6Addr& a, const IPv6Addr& b) { return !(a == b); }

bool operator<(const IPv6Addr& a, const IPv6Addr& b) {
  return std::memcmp(&a.addr(), &b.addr(), sizeof(in6_addr)) < 0;
}

IPv6AddrMask::IPv6AddrMask(const in6_addr& address, int32_t prefix_len)
    : prefix_len_(prefix_len) {
  addr_.set_addr(address);
}

bool IPv6AddrMask::Overlap(const IPv6AddrMask& other) const {
  return LeadingBitsAgree(addr_.addr(), other.addr_.addr(),
                          internal::ShorterPrefixLen(*this, other));
}

std::string IPv6AddrMask::to_string() const {
  return internal::MaskText(*this);
}

bool operator==(const IPv6AddrMask& a, const IPv6AddrMask& b) {
  return a.addr() == b.addr() && a.prefix_len() == b.prefix_len();
}

bool operator!=(const IPv6AddrMask& a, const IPv6AddrMask& b) {
  return !(a == b);
}

bool operator<(const IPv6AddrMask& a, const IPv6AddrMask& b) {
  return internal::LessMask(a, b);
}

}  // namespace nettypes
