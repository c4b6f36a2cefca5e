#include "src/lib/internal/prefix_sweep.h"

#include <algorithm>
#include <utility>

namespace ip_application::config_valid::internal {

namespace {

constexpr std::uint32_t kNone = PrefixSweep::kNone;

// The ranks of a prefix and of all prefixes that contain it.
struct Link {
  nettypes::Network network;
  // The two lowest ranks of the first side.
  std::uint32_t lowest = kNone;
  std::uint32_t second = kNone;
  std::uint32_t other = kNone;  // the lowest rank of the other side

  // Compares a prefix of the first side with all prefixes of the link, and adds
  // it.
  void Add(std::uint32_t rank, PrefixSweep::Lowest* found) {
    const std::uint32_t with = rank == lowest ? second : lowest;
    if (with != kNone) found->rank = std::min({found->rank, with, rank});
    found->other = std::min(found->other, other);
    if (rank < lowest) {
      second = std::exchange(lowest, rank);
    } else if (rank != lowest) {
      second = std::min(second, rank);
    }
  }

  // The same for one of the other side.
  void AddOther(std::uint32_t rank, PrefixSweep::Lowest* found) {
    if (lowest != kNone) found->other = std::min(found->other, rank);
    other = std::min(other, rank);
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
    // 1. Drop the links that do not contain the prefix.
    while (!chain.empty() && !Contains(chain.back().network, prefix.network)) {
      chain.pop_back();
    }
    Link link = chain.empty() ? Link() : chain.back();

    // 2. The prefix overlaps with all prefixes of the chain.
    if (prefix.is_other) {
      link.AddOther(prefix.rank, &found);
    } else {
      link.Add(prefix.rank, &found);
    }

    // 3. It becomes the last link, in place of one with an equal prefix.
    if (!chain.empty() && chain.back().network == prefix.network) {
      chain.pop_back();
    }
    link.network = prefix.network;
    chain.push_back(link);
  }
  return found;
}

}  // namespace ip_application::config_valid::internal
