#include "nettypes/network.h"

#include "nettypes/addr_mask.h"

namespace nettypes {
namespace {

constexpr std::uint32_t kWordBits = 64;

// A word whose first `length` bits are set; all for 64 and more.
std::uint64_t LeadingBits(std::uint32_t length) {
  // A shift by the full width is undefined.
  if (length == 0) return 0;
  if (length >= kWordBits) return UINT64_MAX;
  return UINT64_MAX << (kWordBits - length);
}

std::uint64_t LowMask(std::uint32_t length) {
  return length <= kWordBits ? 0 : LeadingBits(length - kWordBits);
}

std::uint64_t Number(const std::uint8_t* octets) {
  std::uint64_t number = 0;
  for (int i = 0; i < 8; ++i) number = number << 8U | octets[i];
  return number;
}

template <typename Mask>
Network Block(std::uint64_t high, std::uint64_t low, const Mask& prefix) {
  const auto length =
      static_cast<std::uint32_t>(internal::EffectivePrefixLen(prefix));
  return {high & LeadingBits(length), low & LowMask(length), length};
}

}  // namespace

Network NetworkOf(const IPv4AddrMask& prefix) {
  return Block(std::uint64_t{prefix.addr().to_uint32()} << 32U, 0, prefix);
}

Network NetworkOf(const IPv6AddrMask& prefix) {
  const std::uint8_t* octets = prefix.addr().addr().s6_addr;
  return Block(Number(octets), Number(octets + 8), prefix);
}

bool Contains(const Network& outer, const Network& inner) {
  return outer.length <= inner.length &&
         ((outer.high ^ inner.high) & LeadingBits(outer.length)) == 0 &&
         ((outer.low ^ inner.low) & LowMask(outer.length)) == 0;
}

Network CoverOf(const Network& a, const Network& b) {
  Network cover = a;
  while (!Contains(cover, b)) --cover.length;
  cover.high &= LeadingBits(cover.length);
  cover.low &= LowMask(cover.length);
  return cover;
}

bool BitAt(const Network& network, std::uint32_t number) {
  const bool is_high = number < kWordBits;
  const std::uint64_t word = is_high ? network.high : network.low;
  return (word >> (kWordBits - 1 - number % kWordBits) & 1U) != 0;
}

}  // namespace nettypes
