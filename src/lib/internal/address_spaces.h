// Numbers for the address spaces of VRFs, so that a name is compared once per
// interface and not once per pair of them.
#ifndef IPAV_SRC_LIB_INTERNAL_ADDRESS_SPACES_H_
#define IPAV_SRC_LIB_INTERNAL_ADDRESS_SPACES_H_

#include <cstdint>
#include <string>
#include <vector>

#include "src/lib/internal/hash_index.h"

namespace ip_application::config_valid::internal {

// The global and the management VRF are one address space by design.
inline bool IsGlobalOrMgmt(const std::string& vrf_name) {
  return vrf_name == "global" || vrf_name == "mgmt";
}

// Whether addresses in the two VRFs can be in conflict.
inline bool ShareAddressSpace(const std::string& vrf_name,
                              const std::string& other_vrf_name) {
  return vrf_name == other_vrf_name ||
         (IsGlobalOrMgmt(vrf_name) && IsGlobalOrMgmt(other_vrf_name));
}

// Two VRFs get one number exactly when they share an address space.
class AddressSpaces {
 public:
  // The name is borrowed for the life of the object.
  std::uint32_t NumberOf(const std::string& vrf_name);

  // No number is above it.
  std::uint32_t highest() const {
    return static_cast<std::uint32_t>(names_.size());
  }

 private:
  std::uint32_t FindOrAdd(const std::string& vrf_name);

  HashIndex index_;
  std::vector<const std::string*> names_;  // by number, but for the first
  // Neighbours are often in one VRF.
  const std::string* last_name_ = nullptr;
  std::uint32_t last_number_ = 0;
};

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_ADDRESS_SPACES_H_
