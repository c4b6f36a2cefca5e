// Finds the overlap that a walk over all pairs of interfaces would find first,
// without comparing all pairs: a sweep over the prefixes (prefix_sweep.h) names
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

// Result of FindOverlaps(). The order of the walk decides which overlap the
// operator's text names.
struct FirstOverlaps {
  // The first interface that overlaps with a later one of its kind, or null.
  const Interface* of_kind = nullptr;
  // The first of the others that overlaps with any interface of the kind, or
  // null: the outer loop of this walk is over the others, the inner one over
  // the changed kind.
  const Interface* of_other = nullptr;
};

// `interfaces` are those of the changed kind, `others` those of all other
// kinds.
template <typename Mask>
FirstOverlaps FindOverlaps(const InterfaceRefs& interfaces,
                           const InterfaceRefs& others);

// The first address of the first interface that overlaps with one of the
// second, and the first one that it overlaps with; null where none does or the
// VRFs share no address space.
template <typename Mask>
std::pair<const Mask*, const Mask*> FirstOverlap(const Interface& first,
                                                 const Interface& second);

// The first one whose address a later one has as well, whatever the prefix
// lengths; null where there is none.
template <typename Mask>
const Mask* FirstRepeatedAddress(const std::list<Mask>& masks);

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_OVERLAP_SEARCH_H_
