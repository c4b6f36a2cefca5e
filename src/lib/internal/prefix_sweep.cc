#include "src/lib/internal/prefix_sweep.h"

#include <algorithm>
#include <utility>

namespace ip_application::config_valid::internal {

namespace {

constexpr std::uint32_t kNone = PrefixSweep::kNone;

// The ranks of a prefix and of all that contain it.
struct Link {
  nettypes::Network network;
  // The lowest rank of the first side, and the lowest but for that one.
  std::uint32_t lowest = kNone;
  std::uint32_t second = kNone;
  std::uint32_t other = kNone;  // the lowest of the other side

  void Add(std::uint32_t rank) {
    if (rank < lowest) {
      second = std::exchange(lowest, rank);
    } else if (rank != lowest) {
      second = std::min(second, rank);
    }
  }

  std::uint32_t LowestBut(std::uint32_t rank) const {
    return rank == lowest ? second : lowest;
  }
};

}  // namespace

PrefixSweep::Lowest PrefixSweep::FindLowest() {
  std::sort(
      prefixes_.begin(), prefixes_.end(),
      [](const Prefix& a, const Prefix& b) { return a.network < b.network; });

  Lowest found;
  std::vector<Link> chain;
  for (const Prefix& prefix : prefixes_) {
    // 1. Of the chain stays what contains the prefix.
    while (!chain.empty() && !Contains(chain.back().network, prefix.network)) {
      chain.pop_back();
    }
    Link link = chain.empty() ? Link() : chain.back();

    // 2. The prefix overlaps with all of the chain.
    if (!prefix.is_other) {
      const std::uint32_t rank = link.LowestBut(prefix.rank);
      if (rank != kNone) found.rank = std::min({found.rank, rank, prefix.rank});
      found.other = std::min(found.other, link.other);
      link.Add(prefix.rank);
    } else {
      if (link.lowest != kNone) {
        found.other = std::min(found.other, prefix.rank);
      }
      link.other = std::min(link.other, prefix.rank);
    }

    // 3. It becomes the last link; one that is equal to the last replaces it.
    if (!chain.empty() && chain.back().network == prefix.network) {
      chain.pop_back();
    }
    link.network = prefix.network;
    chain.push_back(link);
  }
  return found;
}

}  // namespace ip_application::config_valid::internal
