#include "src/lib/internal/overlap_search.h"

#include <algorithm>
#include <iterator>
#include <list>

#include "src/lib/internal/address_spaces.h"
#include "src/lib/internal/prefix_sweep.h"
#include "src/lib/internal/radix_pass.h"

namespace ip_application::config_valid::internal {

namespace {

// Up to so many prefixes are compared one by one with any number of others.
constexpr std::size_t kFewPrefixes = 16;

// Up to so many interfaces each look for a partner of their own.
constexpr std::size_t kFewInterfaces = 4;

using Interfaces = std::vector<Interface>;

template <typename Mask>
const std::list<Mask>& AddressesOf(const Interface& interface);
template <>
const std::list<nettypes::IPv4AddrMask>& AddressesOf(
    const Interface& interface) {
  return interface.ipv4;
}
template <>
const std::list<nettypes::IPv6AddrMask>& AddressesOf(
    const Interface& interface) {
  return interface.ipv6;
}

// Borrowed, in their order.
template <typename Mask>
std::vector<const Interface*> WithAddresses(const Interfaces& interfaces) {
  std::vector<const Interface*> some;
  for (const Interface& interface : interfaces) {
    if (!AddressesOf<Mask>(interface).empty()) some.push_back(&interface);
  }
  return some;
}

template <typename Mask>
std::size_t CountPrefixes(const Interfaces& interfaces) {
  std::size_t count = 0;
  for (const Interface& interface : interfaces) {
    count += AddressesOf<Mask>(interface).size();
  }
  return count;
}

template <typename Mask>
const Mask* FirstOverlapping(const Mask& mask, const std::list<Mask>& others) {
  const auto found =
      std::find_if(others.begin(), others.end(),
                   [&](const Mask& other) { return mask.Overlap(other); });
  return found == others.end() ? nullptr : &*found;
}

// The first of `masks` that overlaps with one of `others`, or null.
template <typename Mask>
const Mask* FirstBySweep(const std::list<Mask>& masks,
                         const std::list<Mask>& others) {
  PrefixSweep<Mask> sweep;
  sweep.Reserve(masks.size() + others.size());
  for (const Mask& other : others) sweep.Add(other, 0);
  std::uint32_t position = 0;
  for (const Mask& mask : masks) sweep.AddOther(mask, position++);
  const std::uint32_t first = sweep.TakeLowest().other;
  if (first == PrefixSweep<Mask>::kNone) return nullptr;
  return &*std::next(masks.begin(), static_cast<std::ptrdiff_t>(first));
}

// The first pair in the order of both lists; null where there is none.
template <typename Mask>
std::pair<const Mask*, const Mask*> FirstPair(const std::list<Mask>& masks,
                                              const std::list<Mask>& others) {
  for (const Mask& mask : masks) {
    for (const Mask& other : others) {
      if (mask.Overlap(other)) return {&mask, &other};
    }
  }
  return {};
}

// The first interface from one position on, and before another one, that
// overlaps with `interface`.
template <typename Mask>
OverlapWith<Mask> FirstOverlapping(const Interface& interface,
                                   const Interfaces& interfaces,
                                   std::size_t from, std::size_t to) {
  if (AddressesOf<Mask>(interface).size() <= kFewPrefixes) {
    for (std::size_t i = from; i < to; ++i) {
      const auto masks = FirstOverlap<Mask>(interface, interfaces[i]);
      if (masks.first != nullptr) return {&interfaces[i], masks};
    }
    return {};
  }

  PrefixSweep<Mask> sweep;
  for (const Mask& mask : AddressesOf<Mask>(interface)) sweep.Add(mask, 0);
  for (std::size_t i = from; i < to; ++i) {
    if (!ShareAddressSpace(interface.vrf_name, interfaces[i].vrf_name)) {
      continue;
    }
    for (const Mask& mask : AddressesOf<Mask>(interfaces[i])) {
      sweep.AddOther(mask, static_cast<std::uint32_t>(i));
    }
  }
  const std::uint32_t first = sweep.TakeLowest().other;
  if (first == PrefixSweep<Mask>::kNone) return {};
  return {&interfaces[first], FirstOverlap<Mask>(interface, interfaces[first])};
}

}  // namespace

template <typename Mask>
std::pair<const Mask*, const Mask*> FirstOverlap(const Interface& first,
                                                 const Interface& second) {
  if (!ShareAddressSpace(first.vrf_name, second.vrf_name)) return {};
  const std::list<Mask>& masks = AddressesOf<Mask>(first);
  const std::list<Mask>& others = AddressesOf<Mask>(second);
  if (std::min(masks.size(), others.size()) <= kFewPrefixes) {
    return FirstPair(masks, others);
  }
  const Mask* mask = FirstBySweep(masks, others);
  if (mask == nullptr) return {};
  return {mask, FirstOverlapping(*mask, others)};
}

void OverlapSides::CollectOthers() {
  if (!others_.empty()) return;
  others_.reserve(all_.size());
  for (const InterfaceConfig* reader : all_) {
    if (reader->type() == type_) continue;
    others_.push_back(&reader->interfaces());
  }
}

auto OverlapSides::MembersBySpace() const -> std::vector<Member> {
  std::size_t count = interfaces_.size();
  for (const Interfaces* others : others_) count += others->size();

  std::vector<Member> members;
  members.reserve(count);
  AddressSpaces spaces;
  const auto add = [&](const Interface& interface, std::uint32_t rank,
                       bool is_other) {
    members.push_back(
        {&interface, rank, spaces.NumberOf(interface.vrf_name), is_other});
  };
  std::uint32_t rank = 0;
  for (const Interface& interface : interfaces_) add(interface, rank++, false);
  rank = 0;
  for (const Interfaces* others : others_) {
    for (const Interface& other : *others) add(other, rank++, true);
  }

  if (members.size() <= kFewToSort) {
    SortByInsertion(
        [](const Member& a, const Member& b) { return a.space < b.space; },
        &members);
    return members;
  }
  std::vector<Member> spare;
  std::uint32_t bit = 0;
  for (auto left = spaces.highest(); left != 0; left >>= kDigitBits) {
    SortByDigit(
        [=](const Member& member) { return (member.space >> bit) % kDigits; },
        &members, &spare);
    bit += kDigitBits;
  }
  return members;
}

template <typename Mask>
OverlapWith<Mask> OverlapSearch<Mask>::FirstBehind(std::size_t position) {
  const Interface& interface = interfaces_[position];
  const std::size_t count = interfaces_.size();
  if (count > kFewInterfaces) {
    // A violation among the first ones needs nothing sorted.
    if (position == 0) {
      const OverlapWith<Mask> near =
          FirstOverlapping<Mask>(interface, interfaces_, 1, kFewInterfaces);
      if (near.interface != nullptr) return near;
    }
    SweepOnce();
    if (position != first_in_overlap_) return {};
  }
  return FirstOverlapping<Mask>(interface, interfaces_, position + 1, count);
}

template <typename Mask>
std::pair<const Interface*, const Interface*>
OverlapSearch<Mask>::FirstOfOtherKinds() {
  CollectOthers();
  if (!is_swept_ && HasFewPrefixes()) return FirstOtherByPairs();
  SweepOnce();
  std::size_t position = first_other_;
  for (const Interfaces* others : others_) {
    if (position < others->size()) {
      const Interface& other = (*others)[position];
      return {&other,
              FirstOverlapping<Mask>(other, interfaces_, 0, interfaces_.size())
                  .interface};
    }
    position -= others->size();
  }
  return {};
}

template <typename Mask>
bool OverlapSearch<Mask>::HasFewPrefixes() const {
  std::size_t other_count = 0;
  for (const Interfaces* others : others_) {
    other_count += CountPrefixes<Mask>(*others);
  }
  return std::min(CountPrefixes<Mask>(interfaces_), other_count) <=
         kFewPrefixes;
}

template <typename Mask>
std::pair<const Interface*, const Interface*>
OverlapSearch<Mask>::FirstOtherByPairs() const {
  const auto interfaces = WithAddresses<Mask>(interfaces_);
  for (const Interfaces* others : others_) {
    for (const Interface& other : *others) {
      if (AddressesOf<Mask>(other).empty()) continue;
      for (const Interface* interface : interfaces) {
        if (FirstOverlap<Mask>(*interface, other).first != nullptr) {
          return {&other, interface};
        }
      }
    }
  }
  return {};
}

// Each address space in turn, so that the memory for it is that of the largest.
template <typename Mask>
void OverlapSearch<Mask>::SweepOnce() {
  if (is_swept_) return;
  CollectOthers();
  PrefixSweep<Mask> sweep;
  const std::vector<Member> members = MembersBySpace();
  for (auto it = members.begin(); it != members.end();) {
    const std::uint32_t space = it->space;
    const auto end = std::find_if(it, members.end(), [=](const Member& member) {
      return member.space != space;
    });
    std::size_t count = 0;
    std::for_each(it, end, [&](const Member& member) {
      count += AddressesOf<Mask>(*member.interface).size();
    });
    sweep.Reserve(count);
    for (; it != end; ++it) {
      for (const Mask& mask : AddressesOf<Mask>(*it->interface)) {
        sweep.Add(mask, it->rank, it->is_other);
      }
    }
    const auto lowest = sweep.TakeLowest();
    first_in_overlap_ = std::min(first_in_overlap_, lowest.rank);
    first_other_ = std::min(first_other_, lowest.other);
  }
  is_swept_ = true;
}

using nettypes::IPv4AddrMask;
using nettypes::IPv6AddrMask;

template std::pair<const IPv4AddrMask*, const IPv4AddrMask*> FirstOverlap(
    const Interface& first, const Interface& second);
template std::pair<const IPv6AddrMask*, const IPv6AddrMask*> FirstOverlap(
    const Interface& first, const Interface& second);
template class OverlapSearch<IPv4AddrMask>;
template class OverlapSearch<IPv6AddrMask>;

}  // namespace ip_application::config_valid::internal
