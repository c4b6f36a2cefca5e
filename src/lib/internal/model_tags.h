// Numbers that the data model gives to the nodes the library looks for.
#ifndef IPAV_SRC_LIB_INTERNAL_MODEL_TAGS_H_
#define IPAV_SRC_LIB_INTERNAL_MODEL_TAGS_H_

#include <cstdint>

namespace ip_application::config_valid::internal {

// Module ipapp: the lists of interfaces.
inline constexpr std::uint32_t kMgmtTag = 0x1412343f;
inline constexpr std::uint32_t kL3Tag = 0x213f1a7a;
inline constexpr std::uint32_t kLoopbackTag = 0x1472cced;

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_MODEL_TAGS_H_
