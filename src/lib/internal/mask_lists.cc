#include "src/lib/internal/mask_lists.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

#include "src/lib/internal/hash_index.h"
#include "src/lib/internal/prefix_sweep.h"

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

// As prefixes of one address each, equal addresses are what overlaps.
template <typename Mask>
const Mask* FirstRepeated(const std::list<Mask>& masks) {
  if (masks.size() <= kFew) return FirstRepeatedByPairs(masks);

  PrefixSweep<Mask> sweep;
  sweep.Reserve(masks.size());
  std::uint32_t position = 0;
  for (Mask mask : masks) {
    mask.set_prefix_len(Mask::kMaxPrefixLen);
    sweep.Add(mask, position++);
  }
  const std::uint32_t first = sweep.TakeLowest().rank;
  if (first == PrefixSweep<Mask>::kNone) return nullptr;
  return &*std::next(masks.begin(), static_cast<std::ptrdiff_t>(first));
}

// Whether an address is among those of a list.
class Membership {
 public:
  explicit Membership(const std::list<IPv4AddrMask>& masks) {
    index_.Reserve(masks.size());
    records_.reserve(masks.size());
    for (const IPv4AddrMask& mask : masks) {
      if (Has(mask)) continue;
      records_.push_back(&mask);
      index_.Add(HashOf(mask));
    }
  }

  bool Has(const IPv4AddrMask& mask) const {
    return index_.Find(HashOf(mask), [&](auto position) {
      return *records_[position] == mask;
    }) != HashIndex::kNone;
  }

 private:
  // Neighbouring addresses are far apart (Fibonacci hashing).
  static std::size_t HashOf(const IPv4AddrMask& mask) {
    const std::uint32_t mixed = mask.addr().to_uint32() * 2654435769U;
    return mixed ^ mixed >> 16U ^ static_cast<std::uint32_t>(mask.prefix_len());
  }

  HashIndex index_;
  std::vector<const IPv4AddrMask*> records_;
};

// The first mask for which `has` does not hold, or null.
template <typename Has>
const IPv4AddrMask* FirstWithout(const std::list<IPv4AddrMask>& masks,
                                 Has has) {
  const auto found = std::find_if_not(masks.begin(), masks.end(), has);
  return found == masks.end() ? nullptr : &*found;
}

}  // namespace

const IPv4AddrMask* FirstRepeatedAddress(const std::list<IPv4AddrMask>& masks) {
  return FirstRepeated(masks);
}

const IPv6AddrMask* FirstRepeatedAddress(const std::list<IPv6AddrMask>& masks) {
  return FirstRepeated(masks);
}

const IPv4AddrMask* FirstNotIn(const std::list<IPv4AddrMask>& others,
                               const std::list<IPv4AddrMask>& masks) {
  if (others.size() <= kFew) {
    return FirstWithout(masks, [&](const IPv4AddrMask& mask) {
      return std::find(others.begin(), others.end(), mask) != others.end();
    });
  }
  const Membership membership(others);
  return FirstWithout(
      masks, [&](const IPv4AddrMask& mask) { return membership.Has(mask); });
}

}  // namespace ip_application::config_valid::internal
