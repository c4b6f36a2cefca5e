// Finds prefixes that overlap without comparing every pair of them.
//
// Two prefixes have an address in common only if one contains the other. The
// sweep visits the prefixes by first address, then by length. All prefixes that
// contain the current one then come before it, and each contains the next: a
// chain with at most one link per prefix length. The sweep keeps this chain.
// Each link stores the lowest ranks of its prefix and of those that contain it.
#ifndef IPAV_SRC_LIB_INTERNAL_PREFIX_SWEEP_H_
#define IPAV_SRC_LIB_INTERNAL_PREFIX_SWEEP_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "nettypes/network.h"

namespace ip_application::config_valid::internal {

// Prefixes of one address space, on two sides. Each has the rank of its owner.
// Prefixes with the same side and rank are not compared with each other, nor
// are two of the other side.
class PrefixSweep {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  void Reserve(std::size_t count) { prefixes_.reserve(count); }
  void Add(const nettypes::Network& network, std::uint32_t rank,
           bool is_other = false) {
    prefixes_.push_back({network, rank, is_other});
  }

  // The lowest ranks of prefixes that overlap; kNone if there are none.
  struct Lowest {
    // On the first side: overlaps with a prefix of the first side that has
    // another rank.
    std::uint32_t rank = kNone;
    // On the other side: overlaps with any prefix of the first side.
    std::uint32_t other = kNone;
  };
  // Sorts the prefixes.
  Lowest FindLowest();

 private:
  struct Prefix {
    nettypes::Network network;
    std::uint32_t rank;
    bool is_other;
  };

  std::vector<Prefix> prefixes_;
};

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_PREFIX_SWEEP_H_
