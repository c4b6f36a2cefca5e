#include "nettypes/ipv4.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <list>
#include <string>
#include <vector>

#include "tests/nettypes/bit_oracle.h"

namespace nettypes {
namespace {

using nettypes_test::BitPrefix;
using nettypes_test::EveryHostBitIs;
using nettypes_test::ExpectStrictlyAscending;
using nettypes_test::MakeBitPrefix;
using nettypes_test::OverlapBitByBit;

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

IPv4Addr Addr(uint32_t number) {
  IPv4Addr address;
  address.set_addr(htonl(number));
  return address;
}

// From "10.0.0.1" and 24, by the C library.
IPv4AddrMask Prefix(const char* text, int32_t prefix_len) {
  in_addr address = {};
  EXPECT_EQ(inet_pton(AF_INET, text, &address), 1) << text;
  IPv4AddrMask prefix;
  prefix.set_addr(address.s_addr);
  prefix.set_prefix_len(prefix_len);
  return prefix;
}

// --- An address alone

TEST(IPv4Addr, IsUnspecifiedUntilAnAddressIsSet) {
  IPv4Addr address;
  EXPECT_TRUE(address.is_unspecified());
  EXPECT_EQ(address.to_uint32(), 0U);
  EXPECT_EQ(address.to_string(), "0.0.0.0");
  address.set_addr(htonl(1));
  EXPECT_FALSE(address.is_unspecified());
  address.set_addr(0);
  EXPECT_TRUE(address.is_unspecified());
}

TEST(IPv4Addr, EveryOctetCountsForBeingUnspecified) {
  for (int bit = 0; bit < 32; ++bit) {
    EXPECT_FALSE(Addr(1U << bit).is_unspecified()) << bit;
  }
}

TEST(IPv4Addr, TakesNetworkOrderAndGivesTheNumberOfTheDottedForm) {
  IPv4Addr address;
  address.set_addr(htonl(1));
  EXPECT_EQ(address.to_uint32(), 1U);
  EXPECT_EQ(address.to_string(), "0.0.0.1");
  address.set_addr(htonl(0x0a000000U));
  EXPECT_EQ(address.to_uint32(), 0x0a000000U);
  EXPECT_EQ(address.to_string(), "10.0.0.0");
}

TEST(IPv4Addr, ReadsTheOctetsInTheOrderInWhichTheyLieInMemory) {
  const uint8_t octets[] = {0x01, 0x02, 0x03, 0x04};
  uint32_t network_order = 0;
  std::memcpy(&network_order, octets, sizeof octets);
  IPv4Addr address;
  address.set_addr(network_order);
  EXPECT_EQ(address.to_string(), "1.2.3.4");
  EXPECT_EQ(address.to_uint32(), 0x01020304U);
}

TEST(IPv4Addr, PrintsDottedDecimalWithoutPadding) {
  EXPECT_EQ(Addr(0xffffffffU).to_string(), "255.255.255.255");
  EXPECT_EQ(Addr(0x80000000U).to_string(), "128.0.0.0");
  EXPECT_EQ(Addr(0x7f000001U).to_string(), "127.0.0.1");
  EXPECT_EQ(Addr(0x01096364U).to_string(), "1.9.99.100");
}

TEST(IPv4Addr, OrderIsThatOfTheNumbersNotOfTheTexts) {
  ExpectStrictlyAscending<IPv4Addr>({
      Addr(0x00000000U),
      Addr(0x00000001U),
      Addr(0x00000100U),
      Addr(0x01000000U),
      Addr(0x09ffffffU),
      Addr(0x0a000000U),
      Addr(0x7fffffffU),
      Addr(0x80000000U),
      Addr(0xfffffffeU),
      Addr(0xffffffffU),
  });
}

TEST(IPv4Addr, CopyDoesNotFollowItsOriginal) {
  IPv4Addr original = Addr(0x0a000001U);
  const IPv4Addr copy = original;
  original.set_addr(0);
  EXPECT_EQ(copy, Addr(0x0a000001U));
  EXPECT_NE(copy, original);
}

// --- An address with a prefix length

TEST(IPv4AddrMask, IsTheUnspecifiedAddressWithPrefixZeroUntilSet) {
  const IPv4AddrMask prefix;
  EXPECT_TRUE(prefix.IsUnspecified());
  EXPECT_TRUE(prefix.addr().is_unspecified());
  EXPECT_EQ(prefix.prefix_len(), 0);
  EXPECT_EQ(prefix.to_string(), "0.0.0.0/0");
}

TEST(IPv4AddrMask, IsUnspecifiedWhateverThePrefixLength) {
  for (const int32_t length : {-1, 0, 8, 32, 200}) {
    EXPECT_TRUE(IPv4AddrMask(0, length).IsUnspecified()) << length;
    EXPECT_FALSE(IPv4AddrMask(1, length).IsUnspecified()) << length;
    EXPECT_FALSE(IPv4AddrMask(0x80000000U, length).IsUnspecified()) << length;
  }
}

TEST(IPv4AddrMask, IsConstructedFromTheNumberThatToUint32Gives) {
  const IPv4AddrMask prefix(1, 24);
  EXPECT_EQ(prefix.addr().to_uint32(), 1U);
  EXPECT_EQ(prefix.to_string(), "0.0.0.1/24");
  EXPECT_EQ(IPv4AddrMask(Addr(0x0a010203U).to_uint32(), 8).to_string(),
            "10.1.2.3/8");
}

TEST(IPv4AddrMask, SetsTheAddressFromNetworkOrder) {
  const uint8_t octets[] = {192, 0, 2, 1};
  uint32_t network_order = 0;
  std::memcpy(&network_order, octets, sizeof octets);
  IPv4AddrMask prefix;
  prefix.set_addr(network_order);
  prefix.set_prefix_len(30);
  EXPECT_EQ(prefix.to_string(), "192.0.2.1/30");
  EXPECT_EQ(prefix, IPv4AddrMask(0xc0000201U, 30));
}

TEST(IPv4AddrMask, SettingOnePartLeavesTheOther) {
  IPv4AddrMask prefix(0x0a000001U, 24);
  prefix.set_addr(htonl(0x0a000002U));
  EXPECT_EQ(prefix, IPv4AddrMask(0x0a000002U, 24));
  prefix.set_prefix_len(25);
  EXPECT_EQ(prefix, IPv4AddrMask(0x0a000002U, 25));
}

TEST(IPv4AddrMask, KeepsTheHostBits) {
  EXPECT_EQ(Prefix("10.1.1.1", 24).addr(), Addr(0x0a010101U));
  EXPECT_NE(Prefix("10.1.1.1", 24), Prefix("10.1.1.0", 24));
}

TEST(IPv4AddrMask, KeepsAndPrintsAPrefixLengthThatNoPrefixHas) {
  EXPECT_EQ(IPv4AddrMask(0, -1).prefix_len(), -1);
  EXPECT_EQ(IPv4AddrMask(0x0a000001U, -1).to_string(), "10.0.0.1/-1");
  EXPECT_EQ(IPv4AddrMask(0x0a000001U, 33).to_string(), "10.0.0.1/33");
  EXPECT_EQ(IPv4AddrMask(0x0a000001U, 200).to_string(), "10.0.0.1/200");
  EXPECT_EQ(IPv4AddrMask(0x0a000001U, 256).to_string(), "10.0.0.1/256");
  EXPECT_EQ(IPv4AddrMask(0, kLowest).to_string(), "0.0.0.0/-2147483648");
  EXPECT_EQ(IPv4AddrMask(0, kHighest).to_string(), "0.0.0.0/2147483647");
}

TEST(IPv4AddrMask, ALengthOutOfRangeMasksLikeTheNearestButDoesNotEqualIt) {
  EXPECT_TRUE(IPv4AddrMask(0, -1).Overlap(IPv4AddrMask(~0U, 32)));
  EXPECT_NE(IPv4AddrMask(0, -1), IPv4AddrMask(0, 0));
  EXPECT_FALSE(IPv4AddrMask(0, 200).Overlap(IPv4AddrMask(1, 32)));
  EXPECT_NE(IPv4AddrMask(0, 200), IPv4AddrMask(0, 32));
}

TEST(IPv4AddrMask, OrderIsByAddressAndThenByPrefixLength) {
  ExpectStrictlyAscending<IPv4AddrMask>({
      IPv4AddrMask(0x00000000U, kLowest),
      IPv4AddrMask(0x00000000U, -1),
      IPv4AddrMask(0x00000000U, 0),
      IPv4AddrMask(0x00000000U, 32),
      IPv4AddrMask(0x00000000U, 200),
      IPv4AddrMask(0x00000001U, 0),
      IPv4AddrMask(0x09ffffffU, 32),
      IPv4AddrMask(0x0a000000U, 8),
      IPv4AddrMask(0x0a000000U, 24),
      IPv4AddrMask(0x0a000001U, 8),
      IPv4AddrMask(0x7fffffffU, 31),
      IPv4AddrMask(0x80000000U, 1),
      IPv4AddrMask(0xffffffffU, -1),
      IPv4AddrMask(0xffffffffU, kHighest),
  });
}

TEST(IPv4AddrMask, CopiesOfAListAreEqualAndIndependent) {
  std::list<IPv4AddrMask> original = {Prefix("10.0.0.1", 24),
                                      Prefix("10.0.1.1", 30)};
  const std::list<IPv4AddrMask> copy = original;
  EXPECT_EQ(copy, original);
  original.front().set_prefix_len(25);
  EXPECT_NE(copy, original);
  EXPECT_EQ(copy.front().to_string(), "10.0.0.1/24");
}

TEST(IPv4AddrMask, OverlapsWhenOneContainsTheOther) {
  EXPECT_TRUE(Prefix("10.1.1.1", 24).Overlap(Prefix("10.1.1.200", 24)));
  EXPECT_TRUE(Prefix("10.1.1.1", 24).Overlap(Prefix("10.1.200.1", 16)));
  EXPECT_TRUE(Prefix("10.1.1.1", 25).Overlap(Prefix("10.1.1.127", 32)));
  EXPECT_FALSE(Prefix("10.1.1.1", 25).Overlap(Prefix("10.1.1.128", 32)));
  EXPECT_FALSE(Prefix("10.1.1.1", 24).Overlap(Prefix("10.1.2.1", 24)));
  EXPECT_TRUE(Prefix("0.0.0.0", 0).Overlap(Prefix("255.255.255.255", 32)));
  EXPECT_TRUE(Prefix("192.0.2.1", 32).Overlap(Prefix("192.0.2.1", 32)));
  EXPECT_FALSE(Prefix("192.0.2.0", 32).Overlap(Prefix("192.0.2.1", 32)));
}

TEST(IPv4AddrMask, NetworkAndBroadcastAddressAreTheEndsOfThePrefix) {
  EXPECT_TRUE(Prefix("10.1.1.0", 24).IsNetworkAddress());
  EXPECT_FALSE(Prefix("10.1.1.0", 24).IsBroadcastAddress());
  EXPECT_TRUE(Prefix("10.1.1.255", 24).IsBroadcastAddress());
  EXPECT_FALSE(Prefix("10.1.1.255", 24).IsNetworkAddress());
  EXPECT_FALSE(Prefix("10.1.1.0", 23).IsNetworkAddress());
  EXPECT_FALSE(Prefix("10.1.1.0", 23).IsBroadcastAddress());
  EXPECT_TRUE(Prefix("192.0.2.0", 30).IsNetworkAddress());
  EXPECT_FALSE(Prefix("192.0.2.1", 30).IsNetworkAddress());
  EXPECT_FALSE(Prefix("192.0.2.2", 30).IsBroadcastAddress());
  EXPECT_TRUE(Prefix("192.0.2.3", 30).IsBroadcastAddress());
}

TEST(IPv4AddrMask, WithoutHostBitsEveryAddressIsNetworkAndBroadcast) {
  for (const int32_t length : {32, 33, 200, kHighest}) {
    EXPECT_TRUE(Prefix("192.0.2.1", length).IsNetworkAddress()) << length;
    EXPECT_TRUE(Prefix("192.0.2.1", length).IsBroadcastAddress()) << length;
  }
}

TEST(IPv4AddrMask, WithHostBitsOnlyTheWholeRangeEndsAreNetworkAndBroadcast) {
  for (const int32_t length : {0, -1, kLowest}) {
    EXPECT_TRUE(Prefix("0.0.0.0", length).IsNetworkAddress()) << length;
    EXPECT_FALSE(Prefix("0.0.0.0", length).IsBroadcastAddress()) << length;
    EXPECT_TRUE(Prefix("255.255.255.255", length).IsBroadcastAddress());
    EXPECT_FALSE(Prefix("255.255.255.255", length).IsNetworkAddress());
    EXPECT_FALSE(Prefix("128.0.0.0", length).IsNetworkAddress()) << length;
    EXPECT_FALSE(Prefix("127.255.255.255", length).IsBroadcastAddress());
  }
}

// --- Every boundary prefix with every boundary address, against the oracles

struct Sample {
  IPv4AddrMask prefix;
  BitPrefix bits;
  // The addresses that the prefix covers, from first to last.
  uint64_t first;
  uint64_t last;
};

// 0, all ones, each single bit and its two neighbours.
std::vector<uint32_t> BoundaryAddresses() {
  std::vector<uint32_t> addresses = {0, 0xffffffffU, 0x0a0101ffU, 0x0a010100U};
  for (int bit = 0; bit < 32; ++bit) {
    const uint32_t single = 1U << bit;
    addresses.insert(addresses.end(), {single - 1, single, single + 1});
    addresses.push_back(~single);
  }
  std::sort(addresses.begin(), addresses.end());
  addresses.erase(std::unique(addresses.begin(), addresses.end()),
                  addresses.end());
  return addresses;
}

Sample MakeSample(uint32_t address, int32_t length) {
  const std::vector<uint8_t> octets = {
      static_cast<uint8_t>(address >> 24), static_cast<uint8_t>(address >> 16),
      static_cast<uint8_t>(address >> 8), static_cast<uint8_t>(address)};
  Sample sample{IPv4AddrMask(address, length), MakeBitPrefix(octets, length), 0,
                0};
  const uint64_t block = uint64_t{1} << (32 - sample.bits.length);
  sample.first = address / block * block;
  sample.last = sample.first + block - 1;
  return sample;
}

std::vector<Sample> Samples() {
  std::vector<Sample> samples;
  for (const uint32_t address : BoundaryAddresses()) {
    for (const int32_t length : {0, 1, 7, 8, 9, 15, 16, 23, 24, 25, 29, 30, 31,
                                 32, -1, 200, kLowest}) {
      samples.push_back(MakeSample(address, length));
    }
  }
  return samples;
}

TEST(IPv4AddrMask, OverlapAgreesWithTheOraclesOnEveryBoundaryPair) {
  const std::vector<Sample> samples = Samples();
  std::size_t overlapping = 0;
  for (const Sample& a : samples) {
    for (const Sample& b : samples) {
      const bool overlap = a.prefix.Overlap(b.prefix);
      ASSERT_EQ(overlap, OverlapBitByBit(a.bits, b.bits))
          << a.prefix << " and " << b.prefix;
      // Two ranges share an address when each begins before the other ends.
      ASSERT_EQ(overlap, a.first <= b.last && b.first <= a.last)
          << a.prefix << " and " << b.prefix;
      if (overlap) ++overlapping;
    }
  }
  EXPECT_GT(overlapping, samples.size());
  EXPECT_LT(overlapping, samples.size() * samples.size());
}

TEST(IPv4AddrMask, NetworkAndBroadcastAgreeWithTheOraclesOnEveryBoundary) {
  for (const Sample& sample : Samples()) {
    const uint64_t address = sample.prefix.addr().to_uint32();
    EXPECT_EQ(sample.prefix.IsNetworkAddress(),
              EveryHostBitIs('0', sample.bits))
        << sample.prefix;
    EXPECT_EQ(sample.prefix.IsNetworkAddress(), address == sample.first)
        << sample.prefix;
    EXPECT_EQ(sample.prefix.IsBroadcastAddress(),
              EveryHostBitIs('1', sample.bits))
        << sample.prefix;
    EXPECT_EQ(sample.prefix.IsBroadcastAddress(), address == sample.last)
        << sample.prefix;
  }
}

}  // namespace
}  // namespace nettypes
