#include "src/lib/internal/overlap_search.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <string_view>

#include "nettypes/address_space.h"
#include "src/lib/internal/prefix_sweep.h"

namespace ip_application::config_valid::internal {

namespace {

using nettypes::AddressSpaceOf;
using nettypes::IPv4AddrMask;
using nettypes::IPv6AddrMask;

// A sweep for each address space. The rank of an interface is its position.
using Sweeps = std::map<std::string_view, PrefixSweep>;

template <typename Mask>
void Add(const InterfaceRefs& interfaces, bool are_others, Sweeps* sweeps) {
  std::uint32_t rank = 0;
  for (const Interface* interface : interfaces) {
    PrefixSweep& sweep = (*sweeps)[AddressSpaceOf(interface->vrf_name)];
    for (const Mask& mask : AddressesOf<Mask>(*interface)) {
      sweep.Add(NetworkOf(mask), rank, are_others);
    }
    ++rank;
  }
}

const Interface* At(std::uint32_t rank, const InterfaceRefs& interfaces) {
  return rank == PrefixSweep::kNone ? nullptr : interfaces[rank];
}

}  // namespace

template <typename Mask>
FirstOverlaps FindOverlaps(const InterfaceRefs& interfaces,
                           const InterfaceRefs& others) {
  Sweeps sweeps;
  Add<Mask>(interfaces, false, &sweeps);
  Add<Mask>(others, true, &sweeps);
  PrefixSweep::Lowest lowest;
  for (auto& [space, sweep] : sweeps) {
    const PrefixSweep::Lowest found = sweep.FindLowest();
    lowest.rank = std::min(lowest.rank, found.rank);
    lowest.other = std::min(lowest.other, found.other);
  }
  return {At(lowest.rank, interfaces), At(lowest.other, others)};
}

template <typename Mask>
std::pair<const Mask*, const Mask*> FirstOverlap(const Interface& first,
                                                 const Interface& second) {
  if (!nettypes::ShareAddressSpace(first.vrf_name, second.vrf_name)) return {};

  for (const Mask& mask : AddressesOf<Mask>(first)) {
    for (const Mask& other : AddressesOf<Mask>(second)) {
      if (mask.Overlap(other)) return {&mask, &other};
    }
  }
  return {};
}

template <typename Mask>
const Mask* FirstRepeatedAddress(const std::list<Mask>& masks) {
  // With the longest prefix length, only equal addresses overlap.
  PrefixSweep sweep;
  sweep.Reserve(masks.size());
  std::uint32_t rank = 0;
  for (Mask mask : masks) {
    mask.set_prefix_len(Mask::kMaxPrefixLen);
    sweep.Add(NetworkOf(mask), rank++);
  }
  const std::uint32_t first = sweep.FindLowest().rank;
  if (first == PrefixSweep::kNone) return nullptr;
  return &*std::next(masks.begin(), static_cast<std::ptrdiff_t>(first));
}

template FirstOverlaps FindOverlaps<IPv4AddrMask>(const InterfaceRefs&,
                                                  const InterfaceRefs&);
template FirstOverlaps FindOverlaps<IPv6AddrMask>(const InterfaceRefs&,
                                                  const InterfaceRefs&);
template std::pair<const IPv4AddrMask*, const IPv4AddrMask*> FirstOverlap(
    const Interface&, const Interface&);
template std::pair<const IPv6AddrMask*, const IPv6AddrMask*> FirstOverlap(
    const Interface&, const Interface&);
template const IPv4AddrMask* FirstRepeatedAddress(
    const std::list<IPv4AddrMask>&);
template const IPv6AddrMask* FirstRepeatedAddress(
    const std::list<IPv6AddrMask>&);

}  // namespace ip_application::config_valid::internal
