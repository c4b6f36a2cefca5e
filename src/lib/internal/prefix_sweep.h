// Finds prefixes that overlap without comparing every pair of them.
//
// Two CIDR prefixes have an address in common only if one contains the other.
// Sorted by their first address, the shorter one first, all that contain a
// prefix stand in front of it and contain each other: a chain with at most one
// link per prefix length. One sweep in that order keeps the chain of the
// prefix at hand, and each link knows the lowest ranks of itself and all above.
// That is one step per prefix; and the order takes one pass per octet in which
// prefixes differ, in twice the memory, and no comparisons, whose cost would
// grow with the number and the disorder of the prefixes.
#ifndef IPAV_SRC_LIB_INTERNAL_PREFIX_SWEEP_H_
#define IPAV_SRC_LIB_INTERNAL_PREFIX_SWEEP_H_

#include <nettypes/ipv4.h>
#include <nettypes/ipv6.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ip_application::config_valid::internal {

// The number of an address space and an address in it, as one big-endian
// number of 64-bit words.
template <typename Mask>
struct SpaceAndAddress;
template <>
struct SpaceAndAddress<nettypes::IPv4AddrMask> {
  static constexpr std::int32_t kSpaceBits = 32;
  using Words = std::array<std::uint64_t, 1>;
};
template <>
struct SpaceAndAddress<nettypes::IPv6AddrMask> {
  static constexpr std::int32_t kSpaceBits = 64;
  using Words = std::array<std::uint64_t, 3>;
};

// The prefixes of interfaces of one kind, and of others that they are compared
// with. Each has the rank of its interface. A length that no prefix has counts
// as nettypes counts it. Used once: add all, then ask.
template <typename Mask>
class PrefixSweep {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  void Reserve(std::size_t count) { prefixes_.reserve(count); }
  void Add(const Mask& mask, std::uint32_t space, std::uint32_t rank) {
    Add(mask, space, rank, false);
  }
  void AddOther(const Mask& mask, std::uint32_t space, std::uint32_t rank) {
    Add(mask, space, rank, true);
  }

  // The lowest ranks in an overlap within an address space; kNone for none.
  struct Lowest {
    std::uint32_t rank = kNone;   // with one of the kind, of another rank
    std::uint32_t other = kNone;  // of another one, with one of the kind
  };
  Lowest LowestOverlapping();

 private:
  struct Prefix {
    typename SpaceAndAddress<Mask>::Words first;
    std::uint32_t rank;
    std::uint16_t length;  // with the bits of the space
    bool is_other;
  };
  class Chain;

  void Add(const Mask& mask, std::uint32_t space, std::uint32_t rank,
           bool is_other);
  void Sort();

  std::vector<Prefix> prefixes_;
};

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_PREFIX_SWEEP_H_
