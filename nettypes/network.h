// A prefix as a block of addresses, with one type for both families.
#ifndef NETTYPES_NETWORK_H_
#define NETTYPES_NETWORK_H_

#include <cstdint>

#include "nettypes/ipv4.h"
#include "nettypes/ipv6.h"

namespace nettypes {

// The first address of a prefix, as a number of 128 bits, and the prefix
// length. An IPv4 address is the upper 32 bits. Blocks of the two families must
// not be mixed.
struct Network {
  std::uint64_t high = 0;
  std::uint64_t low = 0;
  std::uint32_t length = 0;
};

// The block of a prefix: the host bits are cleared, and the length is clamped
// as in Overlap().
Network NetworkOf(const IPv4AddrMask& prefix);
Network NetworkOf(const IPv6AddrMask& prefix);

// Whether every address of `inner` is in `outer`. Two blocks have an address in
// common only if one contains the other.
bool Contains(const Network& outer, const Network& inner);

// The smallest block that contains both.
Network CoverOf(const Network& a, const Network& b);

// A bit of the first address; the most significant one is number 0.
bool BitAt(const Network& network, std::uint32_t number);

inline bool operator==(const Network& a, const Network& b) {
  return a.high == b.high && a.low == b.low && a.length == b.length;
}
// By first address, then by length: a block comes before all that it contains.
inline bool operator<(const Network& a, const Network& b) {
  if (a.high != b.high) return a.high < b.high;
  if (a.low != b.low) return a.low < b.low;
  return a.length < b.length;
}

}  // namespace nettypes

#endif  // NETTYPES_NETWORK_H_
