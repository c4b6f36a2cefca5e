#include "nettypes/ipv4.h"

#include <arpa/inet.h>

#include <charconv>

#include "nettypes/addr_mask.h"

namespace nettypes {
namespace {

// A mask of the host bits of a prefix. `prefix_len` is 0 to 32.
uint32_t HostBits(int32_t prefix_len) {
  // A shift by the full width is undefined, and a /32 has no host bits.
  if (prefix_len == IPv4AddrMask::kMaxPrefixLen) return 0;
  return UINT32_MAX >> prefix_len;
}

}  // namespace

void IPv4Addr::set_addr(uint32_t network_order) {
  number_ = ntohl(network_order);
}

std::string IPv4Addr::to_string() const {
  constexpr int kMostDigits = 3;
  char text[INET_ADDRSTRLEN];
  char* end = text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    end = std::to_chars(end, end + kMostDigits, number_ >> shift & 0xffU).ptr;
    *end++ = '.';
  }
  return {text, end - 1};  // without the last dot
}

bool operator!=(const IPv4Addr& a, const IPv4Addr& b) { return !(a == b); }

bool operator<(const IPv4Addr& a, const IPv4Addr& b) {
  return a.to_uint32() < b.to_uint32();
}

IPv4AddrMask::IPv4AddrMask(uint32_t address, int32_t prefix_len)
    : prefix_len_(prefix_len) {
  addr_.set_addr(htonl(address));
}

bool IPv4AddrMask::Overlap(const IPv4AddrMask& other) const {
  const uint32_t differing = addr_.to_uint32() ^ other.addr_.to_uint32();
  const uint32_t ignored = HostBits(internal::ShorterPrefixLen(*this, other));
  return (differing & ~ignored) == 0;
}

bool IPv4AddrMask::IsNetworkAddress() const {
  const uint32_t host_bits = HostBits(internal::EffectivePrefixLen(*this));
  return (addr_.to_uint32() & host_bits) == 0;
}

bool IPv4AddrMask::IsBroadcastAddress() const {
  const uint32_t host_bits = HostBits(internal::EffectivePrefixLen(*this));
  return (addr_.to_uint32() & host_bits) == host_bits;
}

std::string IPv4AddrMask::to_string() const {
  return internal::MaskText(*this);
}

bool operator!=(const IPv4AddrMask& a, const IPv4AddrMask& b) {
  return !(a == b);
}

bool operator<(const IPv4AddrMask& a, const IPv4AddrMask& b) {
  return internal::LessMask(a, b);
}

}  // namespace nettypes
