// Finds prefixes that overlap without comparing every pair of them.
//
// Two CIDR prefixes have an address in common only if one contains the other.
// Sorted by their first address, the shorter one first, all that contain a
// prefix stand in front of it and contain each other: a chain with at most one
// link per prefix length. One sweep in that order keeps the chain of the
// prefix at hand, and each link knows the lowest ranks of itself and all above.
// That is one step per prefix; and the order of more than a few takes one pass
// per octet in which prefixes differ, in twice the memory, and no comparisons,
// whose cost would grow with the number and the disorder of the prefixes.
#ifndef IPAV_SRC_LIB_INTERNAL_PREFIX_SWEEP_H_
#define IPAV_SRC_LIB_INTERNAL_PREFIX_SWEEP_H_

#include <nettypes/ipv4.h>
#include <nettypes/ipv6.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ip_application::config_valid::internal {

// An address as one big-endian number of words.
template <typename Mask>
struct AddressWords;
template <>
struct AddressWords<nettypes::IPv4AddrMask> {
  using Type = std::array<std::uint32_t, 1>;
};
template <>
struct AddressWords<nettypes::IPv6AddrMask> {
  using Type = std::array<std::uint64_t, 2>;
};

// The prefixes of interfaces of one kind, and of others that they are compared
// with, in one address space. Each has the rank of its interface. A length that
// no prefix has counts as nettypes counts it.
template <typename Mask>
class PrefixSweep {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  // Not inline, as every caller would hold the code.
  PrefixSweep();
  ~PrefixSweep();
  PrefixSweep(const PrefixSweep&) = delete;
  PrefixSweep& operator=(const PrefixSweep&) = delete;

  void Reserve(std::size_t count);
  void Add(const Mask& mask, std::uint32_t rank, bool is_other = false);
  void AddOther(const Mask& mask, std::uint32_t rank) { Add(mask, rank, true); }

  // The lowest ranks in an overlap; kNone for none.
  struct Lowest {
    std::uint32_t rank = kNone;   // with one of the kind, of another rank
    std::uint32_t other = kNone;  // of another one, with one of the kind
  };
  // ... and forgets all prefixes.
  Lowest TakeLowest();

 private:
  struct Prefix {
    typename AddressWords<Mask>::Type first;
    std::uint32_t rank;
    std::uint8_t length;
    bool is_other;
  };
  class Chain;

  void Sort();
  void SortByDigits();

  std::vector<Prefix> prefixes_;
  std::vector<Prefix> spare_;
};

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_PREFIX_SWEEP_H_
