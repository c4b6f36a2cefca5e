// Functions that IPv4AddrMask and IPv6AddrMask share.
#ifndef NETTYPES_ADDR_MASK_H_
#define NETTYPES_ADDR_MASK_H_

#include <algorithm>
#include <cstdint>
#include <string>

namespace nettypes::internal {

// The stored prefix length in bits, clamped to 0..kMaxPrefixLen.
template <typename Mask>
int32_t EffectivePrefixLen(const Mask& mask) {
  return std::clamp<int32_t>(mask.prefix_len(), 0, Mask::kMaxPrefixLen);
}

// The number of leading bits that are equal in two overlapping prefixes.
template <typename Mask>
int32_t ShorterPrefixLen(const Mask& a, const Mask& b) {
  return std::min(EffectivePrefixLen(a), EffectivePrefixLen(b));
}

template <typename Mask>
bool LessMask(const Mask& a, const Mask& b) {
  if (a.addr() != b.addr()) return a.addr() < b.addr();
  return a.prefix_len() < b.prefix_len();
}

template <typename Mask>
std::string MaskText(const Mask& mask) {
  return mask.addr().to_string().append("/").append(
      std::to_string(mask.prefix_len()));
}

}  // namespace nettypes::internal

#endif  // NETTYPES_ADDR_MASK_H_
