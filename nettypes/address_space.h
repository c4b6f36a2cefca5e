// Address spaces: which VRFs share one.
#ifndef NETTYPES_ADDRESS_SPACE_H_
#define NETTYPES_ADDRESS_SPACE_H_

#include <string_view>

namespace nettypes {

// Name of the address space that a VRF belongs to, as a view of `vrf_name` or
// of a constant. Addresses of two VRFs can be in conflict exactly when the
// spaces are the same. The VRFs "global" and "mgmt" are one space, "global", by
// design; every other VRF is a space of its own.
inline std::string_view AddressSpaceOf(std::string_view vrf_name) {
  return vrf_name == "mgmt" ? std::string_view("global") : vrf_name;
}

inline bool ShareAddressSpace(std::string_view vrf_name,
                              std::string_view other_vrf_name) {
  return AddressSpaceOf(vrf_name) == AddressSpaceOf(other_vrf_name);
}

}  // namespace nettypes

#endif  // NETTYPES_ADDRESS_SPACE_H_
