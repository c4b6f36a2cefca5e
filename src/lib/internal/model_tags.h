// Tag numbers of the data model's nodes that the library compares with.
#ifndef IPAV_SRC_LIB_INTERNAL_MODEL_TAGS_H_
#define IPAV_SRC_LIB_INTERNAL_MODEL_TAGS_H_

#include <cstdint>

namespace ip_application::config_valid::internal {

// Module ipapp: the lists of interfaces.
inline constexpr std::uint32_t kMgmtTag = 0x1412343f;
inline constexpr std::uint32_t kL3Tag = 0x213f1a7a;
inline constexpr std::uint32_t kLoopbackTag = 0x1472cced;
// The leaf "vrf" of these lists.
inline constexpr std::uint32_t kVrfTag = 0x4c5f3e78;

// Module vorplex-internal: the table of OSPFv2 interfaces.
inline constexpr std::uint32_t kOspfInterfaceTag = 0x6af0fc0e;

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_MODEL_TAGS_H_
