#include "nettypes/network.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <vector>

namespace nettypes {
namespace {

// Bits at both ends of the address and on both sides of the 64th.
IPv6AddrMask Ipv6(std::uint8_t octet, std::int32_t length) {
  in6_addr address{};
  for (const int i : {0, 7, 8, 15}) address.s6_addr[i] = octet;
  return {address, length};
}

IPv4AddrMask Ipv4(std::uint8_t octet, std::int32_t length) {
  return {octet * 0x01000001U, length};
}

// Lengths at the edges of octets, words and families, and some of no prefix.
template <typename Mask, typename Make>
std::vector<Mask> Prefixes(Make make) {
  std::vector<Mask> prefixes;
  for (const std::int32_t length :
       {-1, 0, 1, 7, 8, 9, 24, 31, 32, 33, 63, 64, 65, 127, 128, 200}) {
    for (const int octet : {0x00, 0x01, 0x80, 0x81, 0xff}) {
      prefixes.push_back(make(static_cast<std::uint8_t>(octet), length));
    }
  }
  return prefixes;
}

template <typename Mask>
void Compare(const std::vector<Mask>& prefixes) {
  for (const Mask& a : prefixes) {
    for (const Mask& b : prefixes) {
      const Network first = NetworkOf(a);
      const Network second = NetworkOf(b);
      EXPECT_EQ(Contains(first, second) || Contains(second, first),
                a.Overlap(b))
          << a << " and " << b;
      EXPECT_EQ(Contains(first, second) && Contains(second, first),
                first == second)
          << a << " and " << b;
      if (Contains(first, second) && !(first == second)) {
        EXPECT_TRUE(first < second) << a << " and " << b;
        EXPECT_LT(first.length, second.length);
      }
    }
  }
}

TEST(NetworkTest, TwoOverlapExactlyWhereOneContainsTheOtherAndComesFirst) {
  Compare(Prefixes<IPv4AddrMask>(Ipv4));
  Compare(Prefixes<IPv6AddrMask>(Ipv6));
}

TEST(NetworkTest, TheHostBitsAreCleared) {
  const Network ipv4 = NetworkOf(IPv4AddrMask(0x0a0102ff, 24));
  EXPECT_EQ(ipv4.high, 0x0a010200'00000000U);
  EXPECT_EQ(ipv4.low, 0U);
  EXPECT_EQ(ipv4.length, 24U);
  const Network ipv6 = NetworkOf(Ipv6(0xff, 68));
  EXPECT_EQ(ipv6.high, 0xff000000'000000ffU);
  EXPECT_EQ(ipv6.low, 0xf0000000'00000000U);
}

TEST(NetworkTest, BlocksAreInTheOrderOfTheirFirstAddresses) {
  EXPECT_TRUE(NetworkOf(Ipv4(9, 32)) < NetworkOf(Ipv4(10, 8)));
  EXPECT_FALSE(NetworkOf(Ipv4(10, 8)) < NetworkOf(Ipv4(9, 32)));
  EXPECT_FALSE(NetworkOf(Ipv4(10, 8)) < NetworkOf(Ipv4(10, 8)));
}

TEST(NetworkTest, BitsAreCountedFromTheMostSignificantOne) {
  const std::set<std::uint32_t> bits = {0, 63, 65, 127};
  const Network network = {0x80000000'00000001U, 0x40000000'00000001U, 128};
  for (std::uint32_t i = 0; i < 128; ++i) {
    EXPECT_EQ(BitAt(network, i), bits.count(i) == 1) << i;
  }
}

}  // namespace
}  // namespace nettypes
