// Questions to the addresses of one interface: short lists and long ones, which
// are answered in different ways, answer alike.

#include "src/lib/internal/mask_lists.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <list>

namespace ip_application::config_valid::internal {
namespace {

using nettypes::IPv4AddrMask;
using nettypes::IPv6AddrMask;

using Masks = std::list<IPv4AddrMask>;

IPv6AddrMask Ipv6(std::uint8_t last, std::int32_t length) {
  in6_addr address{};
  address.s6_addr[15] = last;
  return {address, length};
}

// Addresses that nothing else in a test has.
Masks Fillers(unsigned count) {
  Masks masks;
  for (unsigned i = 0; i < count; ++i) {
    masks.emplace_back(0x20000000U + (i * 7919) % 1009, 24);
  }
  return masks;
}

TEST(FirstRepeatedAddressTest, AnEmptyListAndDifferentAddressesHaveNone) {
  EXPECT_EQ(FirstRepeatedAddress(Masks{}), nullptr);
  EXPECT_EQ(FirstRepeatedAddress(Fillers(16)), nullptr);
  EXPECT_EQ(FirstRepeatedAddress(Fillers(1000)), nullptr);
}

TEST(FirstRepeatedAddressTest, ThePrefixLengthDoesNotCount) {
  const Masks masks = {{1, 24}, {2, 24}, {1, 16}};
  EXPECT_EQ(FirstRepeatedAddress(masks), &masks.front());
}

TEST(FirstRepeatedAddressTest, TheFirstOfThePairsInListOrderIsGiven) {
  for (const unsigned fillers : {0U, 14U, 500U}) {
    Masks masks = Fillers(fillers);
    masks.emplace_back(9, 24);  // its repetition is the last one
    const IPv4AddrMask* wanted = &masks.back();
    masks.emplace_back(3, 24);
    masks.emplace_back(3, 25);
    masks.emplace_back(9, 26);
    masks.emplace_back(9, 27);
    EXPECT_EQ(FirstRepeatedAddress(masks), wanted) << fillers;
  }
}

TEST(FirstRepeatedAddressTest, IPv6AddressesAreComparedAlike) {
  std::list<IPv6AddrMask> masks;
  for (std::uint8_t i = 0; i < 200; ++i) masks.push_back(Ipv6(i, 64));
  EXPECT_EQ(FirstRepeatedAddress(masks), nullptr);
  masks.push_back(Ipv6(7, 128));
  masks.push_back(Ipv6(5, 64));
  EXPECT_EQ(FirstRepeatedAddress(masks)->addr(), Ipv6(5, 64).addr());
}

TEST(FirstNotInTest, AddressAndPrefixLengthBothCount) {
  const Masks others = {{1, 24}, {2, 24}};
  const Masks masks = {{2, 24}, {1, 25}, {3, 24}};
  EXPECT_EQ(FirstNotIn(others, masks)->prefix_len(), 25);
}

TEST(FirstNotInTest, AllAmongTheOthersInAnyOrderGiveNone) {
  EXPECT_EQ(FirstNotIn({}, {}), nullptr);
  EXPECT_EQ(FirstNotIn({{1, 24}}, {}), nullptr);
  EXPECT_EQ(FirstNotIn({{1, 24}, {2, 24}}, {{2, 24}, {1, 24}}), nullptr);
  Masks reversed = Fillers(1000);
  reversed.reverse();
  EXPECT_EQ(FirstNotIn(Fillers(1000), reversed), nullptr);
}

TEST(FirstNotInTest, TheFirstMissingOneOfALongListIsGiven) {
  Masks masks = Fillers(500);
  masks.emplace_back(2, 24);
  const IPv4AddrMask* wanted = &masks.back();
  masks.emplace_back(1, 24);
  EXPECT_EQ(FirstNotIn(Fillers(500), masks), wanted);
}

}  // namespace
}  // namespace ip_application::config_valid::internal
