// Questions to the addresses of one interface, answered without comparing each
// with each: by the sweep over prefixes and by hash, both linear. A list so
// short that the comparisons cost less is compared.
#ifndef IPAV_SRC_LIB_INTERNAL_MASK_LISTS_H_
#define IPAV_SRC_LIB_INTERNAL_MASK_LISTS_H_

#include <nettypes/ipv4.h>
#include <nettypes/ipv6.h>

#include <list>

namespace ip_application::config_valid::internal {

// The first one whose address a later one has as well, whatever the prefix
// lengths; null where there is none.
const nettypes::IPv4AddrMask* FirstRepeatedAddress(
    const std::list<nettypes::IPv4AddrMask>& masks);
const nettypes::IPv6AddrMask* FirstRepeatedAddress(
    const std::list<nettypes::IPv6AddrMask>& masks);

// The first of the masks, by address and prefix length, that is not among the
// others; null when all are.
const nettypes::IPv4AddrMask* FirstNotIn(
    const std::list<nettypes::IPv4AddrMask>& others,
    const std::list<nettypes::IPv4AddrMask>& masks);

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_MASK_LISTS_H_
