// An address of either family with its prefix length, and its neighbours.
#ifndef IPAV_FIXER_PREFIX_H_
#define IPAV_FIXER_PREFIX_H_

#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace ipav::fixer {

struct Prefix {
  int family = 0;                          // AF_INET or AF_INET6
  std::array<unsigned char, 16> octets{};  // in network order
  unsigned length = 0;

  unsigned bits() const;  // of an address: 32 or 128
  bool IsIpv4() const { return bits() == 32; }

  std::string Address() const;
  std::string Text() const;  // with the length

  // Whether a host may have the address: IPv4 has network and broadcast
  // addresses in prefixes of up to 30 bits.
  bool IsHost() const;

  Prefix WithLength(unsigned new_length) const;
  // The next address, or the one before. Wraps at the ends.
  Prefix Neighbour(bool is_upwards) const;
};

// From an address, or an address with a length; none for another text.
std::optional<Prefix> ParsePrefix(const std::string& text);

// The number of equal bits at the beginning of both addresses, which are of one
// family.
unsigned CommonBits(const Prefix& a, const Prefix& b);

// Whether both addresses are in the prefix of `a`.
bool Contains(const Prefix& a, const Prefix& b);

// "0a:01:00:00", as the table of routes has an address.
std::string OctetsOf(const Prefix& prefix);

}  // namespace ipav::fixer

#endif  // IPAV_FIXER_PREFIX_H_
