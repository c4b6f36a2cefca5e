// Which interfaces overlap first, in the order in which a walk over all pairs
// would find them. One sweep over the prefixes (prefix_sweep.h) tells, so that
// only these are compared with others one by one. `Mask` decides the family.
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

// The interfaces that a walk over all pairs finds first; null where there is
// none.
struct FirstOverlaps {
  const Interface* of_kind = nullptr;   // overlaps with another of its kind
  const Interface* of_other = nullptr;  // overlaps with one of the kind
};

// Of the interfaces of one kind, and of those of the other kinds.
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
