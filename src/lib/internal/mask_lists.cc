#include "internal/mask_lists.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

namespace ip_application::config_valid::internal {

namespace {

using nettypes::IPv4AddrMask;
using nettypes::IPv6AddrMask;

// Up to so many are compared with each other.
constexpr std::size_t kFew = 16;

template <typename Mask>
const Mask* FirstRepeatedByPairs(const std::list<Mask>& masks) {
  for (auto it = masks.begin(); it != masks.end(); ++it) {
    for (auto later = std::next(it); later != masks.end(); ++later) {
      if (later->addr() == it->addr()) return &*it;
    }
  }
  return nullptr;
}

// Sorted by address and then by place in the list, the first of some equal ones
// stands in front of another.
template <typename Mask>
const Mask* FirstRepeated(const std::list<Mask>& masks) {
  if (masks.size() <= kFew) return FirstRepeatedByPairs(masks);

  using Place = std::pair<const Mask*, std::size_t>;
  std::vector<Place> places;
  places.reserve(masks.size());
  for (const Mask& mask : masks) places.emplace_back(&mask, places.size());
  std::sort(places.begin(), places.end(), [](const Place& a, const Place& b) {
    if (a.first->addr() != b.first->addr()) {
      return a.first->addr() < b.first->addr();
    }
    return a.second < b.second;
  });

  Place first = {nullptr, masks.size()};
  for (std::size_t i = 1; i < places.size(); ++i) {
    const Place& place = places[i - 1];
    if (place.first->addr() == places[i].first->addr() &&
        place.second < first.second) {
      first = place;
    }
  }
  return first.first;
}

// Whether an address is among those of a list.
class Membership {
 public:
  explicit Membership(const std::list<IPv4AddrMask>& masks) : masks_(masks) {
    if (masks.size() <= kFew) return;
    sorted_.assign(masks.begin(), masks.end());
    std::sort(sorted_.begin(), sorted_.end());
  }

  bool Has(const IPv4AddrMask& mask) const {
    if (sorted_.empty()) {
      return std::find(masks_.begin(), masks_.end(), mask) != masks_.end();
    }
    return std::binary_search(sorted_.begin(), sorted_.end(), mask);
  }

 private:
  const std::list<IPv4AddrMask>& masks_;
  std::vector<IPv4AddrMask> sorted_;  // empty where there are few
};

}  // namespace

const IPv4AddrMask* FirstRepeatedAddress(const std::list<IPv4AddrMask>& masks) {
  return FirstRepeated(masks);
}

const IPv6AddrMask* FirstRepeatedAddress(const std::list<IPv6AddrMask>& masks) {
  return FirstRepeated(masks);
}

const IPv4AddrMask* FirstNotIn(const std::list<IPv4AddrMask>& others,
                               const std::list<IPv4AddrMask>& masks) {
  const Membership membership(others);
  const auto found =
      std::find_if(masks.begin(), masks.end(),
                   [&](const auto& mask) { return !membership.Has(mask); });
  return found == masks.end() ? nullptr : &*found;
}

}  // namespace ip_application::config_valid::internal
