#include "internal/mask_lists.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

#include "internal/hash_index.h"
#include "internal/prefix_sweep.h"

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
  explicit Membership(const std::list<IPv4AddrMask>& masks) : masks_(masks) {
    if (masks.size() <= kFew) return;
    index_.Reserve(masks.size());
    records_.reserve(masks.size());
    for (const IPv4AddrMask& mask : masks) {
      records_.push_back(&mask);
      index_.Add(HashOf(mask));
    }
  }

  bool Has(const IPv4AddrMask& mask) const {
    if (records_.empty()) {
      return std::find(masks_.begin(), masks_.end(), mask) != masks_.end();
    }
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

  const std::list<IPv4AddrMask>& masks_;
  HashIndex index_;
  std::vector<const IPv4AddrMask*> records_;  // empty where there are few
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
