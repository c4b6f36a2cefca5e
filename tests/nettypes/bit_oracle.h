// A slow second opinion on prefixes: an address is a text of '0' and '1', most
// significant bit first, and every question is answered by looking at it.
#ifndef TESTS_UNIT_NETTYPES_BIT_ORACLE_H_
#define TESTS_UNIT_NETTYPES_BIT_ORACLE_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace nettypes_test {

// An address as bits, with a prefix length that is never out of range.
struct BitPrefix {
  std::string bits;
  std::size_t length;
};

// `length` as it is configured: below 0 counts as 0, above the width as the
// width.
inline BitPrefix MakeBitPrefix(const std::vector<uint8_t>& octets,
                               int32_t length) {
  BitPrefix prefix{"", 0};
  for (const uint8_t octet : octets) {
    for (int weight = 128; weight > 0; weight /= 2) {
      prefix.bits += (octet & weight) != 0 ? '1' : '0';
    }
  }
  if (length > 0) prefix.length = static_cast<std::size_t>(length);
  if (prefix.length > prefix.bits.size()) prefix.length = prefix.bits.size();
  return prefix;
}

inline bool OverlapBitByBit(const BitPrefix& a, const BitPrefix& b) {
  for (std::size_t i = 0; i < a.length && i < b.length; ++i) {
    if (a.bits[i] != b.bits[i]) return false;
  }
  return true;
}

inline bool EveryHostBitIs(char value, const BitPrefix& prefix) {
  for (std::size_t i = prefix.length; i < prefix.bits.size(); ++i) {
    if (prefix.bits[i] != value) return false;
  }
  return true;
}

// Expects == and < of `sorted` to be what its order says. `sorted` must be
// strictly ascending; that every two are compared both ways makes the order
// irreflexive, asymmetric, transitive and total over it.
template <typename T>
void ExpectStrictlyAscending(const std::vector<T>& sorted) {
  for (std::size_t i = 0; i < sorted.size(); ++i) {
    for (std::size_t j = 0; j < sorted.size(); ++j) {
      SCOPED_TRACE(sorted[i].to_string() + " and " + sorted[j].to_string());
      EXPECT_EQ(sorted[i] < sorted[j], i < j);
      EXPECT_EQ(sorted[i] == sorted[j], i == j);
      EXPECT_EQ(sorted[i] != sorted[j], i != j);
    }
  }
}

}  // namespace nettypes_test

#endif  // TESTS_UNIT_NETTYPES_BIT_ORACLE_H_
