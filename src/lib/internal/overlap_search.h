// Finds the overlap that a loop over all pairs of interfaces would find first,
// without comparing all pairs: a sweep over the prefixes (prefix_sweep.h) finds
// the interface, and only this one is then compared with the others. `Mask`
// selects the address family.
#ifndef IPAV_SRC_LIB_INTERNAL_OVERLAP_SEARCH_H_
#define IPAV_SRC_LIB_INTERNAL_OVERLAP_SEARCH_H_

#include <list>
#include <utility>
#include <vector>

#include "include/config.h"
#include "nettypes/ipv4.h"
#include "nettypes/ipv6.h"

namespace ip_application::config_valid::internal {

// Interfaces in their order; borrowed.
using InterfaceRefs = std::vector<const Interface*>;

// The addresses of one family.
template <typename Mask>
const std::list<Mask>& AddressesOf(const Interface& interface);
template <>
inline const std::list<nettypes::IPv4AddrMask>& AddressesOf(
    const Interface& interface) {
  return interface.ipv4;
}
template <>
inline const std::list<nettypes::IPv6AddrMask>& AddressesOf(
    const Interface& interface) {
  return interface.ipv6;
}

// Result of FindOverlaps(). The order matters: the error text names the first
// overlap.
struct FirstOverlaps {
  // The first interface that overlaps with a later one of its kind, or null.
  const Interface* of_kind = nullptr;
  // The first of the others that overlaps with any interface of the changed
  // kind, or null.
  const Interface* of_other = nullptr;
};

// `interfaces` are those of the changed kind, `others` those of all other
// kinds.
template <typename Mask>
FirstOverlaps FindOverlaps(const InterfaceRefs& interfaces,
                           const InterfaceRefs& others);

// The first address of `first` that overlaps with an address of `second`, and
// the first such address of `second`, both borrowed. Null if none overlaps or
// the VRFs do not share an address space.
template <typename Mask>
std::pair<const Mask*, const Mask*> FirstOverlap(const Interface& first,
                                                 const Interface& second);

// The first element whose address occurs again later in the list, whatever the
// prefix lengths; null if there is none.
template <typename Mask>
const Mask* FirstRepeatedAddress(const std::list<Mask>& masks);

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_OVERLAP_SEARCH_H_
