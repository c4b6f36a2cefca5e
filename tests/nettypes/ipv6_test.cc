#include "nettypes/ipv6.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <list>
#include <set>
#include <string>
#include <vector>

#include "tests/nettypes/bit_oracle.h"

namespace nettypes {
namespace {

using nettypes_test::BitPrefix;
using nettypes_test::ExpectStrictlyAscending;
using nettypes_test::MakeBitPrefix;
using nettypes_test::OverlapBitByBit;

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

// From text, by the C library.
in6_addr Octets(const char* text) {
  in6_addr address = {};
  EXPECT_EQ(inet_pton(AF_INET6, text, &address), 1) << text;
  return address;
}

IPv6Addr Addr(const char* text) {
  IPv6Addr address;
  address.set_addr(Octets(text));
  return address;
}

IPv6AddrMask Prefix(const char* text, int32_t prefix_len) {
  return IPv6AddrMask(Octets(text), prefix_len);
}

// --- An address alone

TEST(IPv6Addr, IsUnspecifiedUntilAnAddressIsSet) {
  IPv6Addr address;
  EXPECT_TRUE(address.is_unspecified());
  EXPECT_EQ(address.to_string(), "::");
  address.set_addr(in6addr_loopback);
  EXPECT_FALSE(address.is_unspecified());
  address.set_addr(in6addr_any);
  EXPECT_TRUE(address.is_unspecified());
}

TEST(IPv6Addr, EveryOctetCountsForBeingUnspecifiedAndForEquality) {
  for (std::size_t i = 0; i < 16; ++i) {
    in6_addr octets = {};
    octets.s6_addr[i] = 1;
    IPv6Addr address;
    address.set_addr(octets);
    EXPECT_FALSE(address.is_unspecified()) << i;
    EXPECT_NE(address, IPv6Addr()) << i;
  }
}

TEST(IPv6Addr, KeepsTheOctetsInTheOrderInWhichTheyLieInMemory) {
  in6_addr octets = {};
  for (uint8_t i = 0; i < 16; ++i) octets.s6_addr[i] = i;
  IPv6Addr address;
  address.set_addr(octets);
  EXPECT_EQ(address.to_string(), "1:203:405:607:809:a0b:c0d:e0f");
  for (uint8_t i = 0; i < 16; ++i) EXPECT_EQ(address.addr().s6_addr[i], i);
}

TEST(IPv6Addr, PrintsTheCompressedTextOfTheCLibrary) {
  const struct {
    const char* written;
    const char* printed;
  } kTexts[] = {
      {"0:0:0:0:0:0:0:0", "::"},
      {"0:0:0:0:0:0:0:1", "::1"},
      {"1:0:0:0:0:0:0:0", "1::"},
      {"2001:0db8:0000:0000:0000:0000:0000:0001", "2001:db8::1"},
      {"2001:DB8::ABCD", "2001:db8::abcd"},
      // The longest run of zero groups, the first one of equals.
      {"2001:db8:0:0:1:0:0:0", "2001:db8:0:0:1::"},
      {"2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},
      // A single zero group stays.
      {"2001:db8:0:1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
      {"fe80::200:5eff:fe00:5301", "fe80::200:5eff:fe00:5301"},
      // IPv4-mapped and the former IPv4-compatible form.
      {"::ffff:c000:0201", "::ffff:192.0.2.1"},
      {"::c000:0201", "::192.0.2.1"},
      // The longest text of hexadecimal groups.
      {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff",
       "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"},
  };
  for (const auto& text : kTexts) {
    EXPECT_EQ(Addr(text.written).to_string(), text.printed);
  }
}

TEST(IPv6Addr, OrderIsThatOfTheOctetsAsUnsignedNumbers) {
  ExpectStrictlyAscending<IPv6Addr>({
      Addr("::"),
      Addr("::1"),
      Addr("::2"),
      Addr("::7f"),
      Addr("::80"),
      Addr("::ff"),
      Addr("::100"),
      Addr("::ffff:192.0.2.1"),
      Addr("::1:0:0:0"),
      Addr("0:0:0:ffff:ffff:ffff:ffff:ffff"),
      Addr("0:0:1::"),
      Addr("1::"),
      Addr("9::"),
      Addr("10::"),
      Addr("7fff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"),
      Addr("8000::"),
      Addr("ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe"),
      Addr("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"),
  });
}

TEST(IPv6Addr, CopyDoesNotFollowItsOriginal) {
  IPv6Addr original = Addr("2001:db8::1");
  const IPv6Addr copy = original;
  original.set_addr(in6addr_any);
  EXPECT_EQ(copy, Addr("2001:db8::1"));
  EXPECT_NE(copy, original);
}

// --- An address with a prefix length

TEST(IPv6AddrMask, IsTheUnspecifiedAddressWithPrefixZeroUntilSet) {
  const IPv6AddrMask prefix;
  EXPECT_TRUE(prefix.IsUnspecified());
  EXPECT_TRUE(prefix.addr().is_unspecified());
  EXPECT_EQ(prefix.prefix_len(), 0);
  EXPECT_EQ(prefix.to_string(), "::/0");
}

TEST(IPv6AddrMask, IsUnspecifiedWhateverThePrefixLength) {
  for (const int32_t length : {-1, 0, 64, 128, 200}) {
    EXPECT_TRUE(Prefix("::", length).IsUnspecified()) << length;
    EXPECT_FALSE(Prefix("::1", length).IsUnspecified()) << length;
    EXPECT_FALSE(Prefix("8000::", length).IsUnspecified()) << length;
  }
}

TEST(IPv6AddrMask, SettingOnePartLeavesTheOther) {
  IPv6AddrMask prefix = Prefix("2001:db8::1", 64);
  prefix.set_addr(Octets("2001:db8::2"));
  EXPECT_EQ(prefix, Prefix("2001:db8::2", 64));
  prefix.set_prefix_len(65);
  EXPECT_EQ(prefix, Prefix("2001:db8::2", 65));
}

TEST(IPv6AddrMask, KeepsTheHostBits) {
  EXPECT_EQ(Prefix("2001:db8::1", 64).to_string(), "2001:db8::1/64");
  EXPECT_EQ(Prefix("2001:db8::1", 64).addr(), Addr("2001:db8::1"));
  EXPECT_NE(Prefix("2001:db8::1", 64), Prefix("2001:db8::", 64));
}

TEST(IPv6AddrMask, KeepsAndPrintsAPrefixLengthThatNoPrefixHas) {
  EXPECT_EQ(Prefix("::1", -1).prefix_len(), -1);
  EXPECT_EQ(Prefix("::1", -1).to_string(), "::1/-1");
  EXPECT_EQ(Prefix("::1", 129).to_string(), "::1/129");
  EXPECT_EQ(Prefix("::1", 200).to_string(), "::1/200");
  EXPECT_EQ(Prefix("::1", 256).to_string(), "::1/256");
  EXPECT_EQ(Prefix("::", kLowest).to_string(), "::/-2147483648");
  EXPECT_EQ(Prefix("::", kHighest).to_string(), "::/2147483647");
}

TEST(IPv6AddrMask, PrintsTheLongestTextWhole) {
  EXPECT_EQ(
      Prefix("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", kLowest).to_string(),
      "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/-2147483648");
}

TEST(IPv6AddrMask, ALengthOutOfRangeMasksLikeTheNearestButDoesNotEqualIt) {
  EXPECT_TRUE(Prefix("::", -1).Overlap(Prefix("ffff::", 128)));
  EXPECT_NE(Prefix("::", -1), Prefix("::", 0));
  EXPECT_FALSE(Prefix("::", 200).Overlap(Prefix("::1", 128)));
  EXPECT_NE(Prefix("::", 200), Prefix("::", 128));
}

TEST(IPv6AddrMask, OrderIsByAddressAndThenByPrefixLength) {
  ExpectStrictlyAscending<IPv6AddrMask>({
      Prefix("::", kLowest),
      Prefix("::", -1),
      Prefix("::", 0),
      Prefix("::", 128),
      Prefix("::", 200),
      Prefix("::1", 0),
      Prefix("::ffff", 128),
      Prefix("2001:db8::", 32),
      Prefix("2001:db8::", 64),
      Prefix("2001:db8::1", 32),
      Prefix("7fff::", 127),
      Prefix("8000::", 1),
      Prefix("ffff::", -1),
      Prefix("ffff::", kHighest),
  });
}

TEST(IPv6AddrMask, CopiesOfAListAreEqualAndIndependent) {
  std::list<IPv6AddrMask> original = {Prefix("2001:db8::1", 64),
                                      Prefix("fe80::1", 10)};
  const std::list<IPv6AddrMask> copy = original;
  EXPECT_EQ(copy, original);
  original.front().set_prefix_len(65);
  EXPECT_NE(copy, original);
  EXPECT_EQ(copy.front().to_string(), "2001:db8::1/64");
}

TEST(IPv6AddrMask, OverlapsWhenOneContainsTheOther) {
  EXPECT_TRUE(Prefix("2001:db8::1", 64).Overlap(Prefix("2001:db8::2", 64)));
  EXPECT_TRUE(Prefix("2001:db8::1", 64).Overlap(Prefix("2001:db8:0:9::1", 48)));
  EXPECT_FALSE(Prefix("2001:db8::1", 64).Overlap(Prefix("2001:db8:0:1::", 64)));
  EXPECT_TRUE(Prefix("2001:db8::1", 63).Overlap(Prefix("2001:db8:0:1::", 64)));
  EXPECT_TRUE(Prefix("::", 0).Overlap(Prefix("ffff::ffff", 128)));
  EXPECT_TRUE(Prefix("::1", 128).Overlap(Prefix("::1", 128)));
  EXPECT_FALSE(Prefix("::", 128).Overlap(Prefix("::1", 128)));
  EXPECT_TRUE(Prefix("::", 127).Overlap(Prefix("::1", 128)));
}

// --- Every boundary prefix with every boundary address, against the oracle

struct Sample {
  IPv6AddrMask prefix;
  BitPrefix bits;
};

using OctetList = std::vector<uint8_t>;

// 16 octets of which only bit `position` is set, 0 being the first.
OctetList SingleBit(std::size_t position) {
  OctetList octets(16, 0);
  octets[position / 8] = static_cast<uint8_t>(0x80 >> (position % 8));
  return octets;
}

// The numbers one below and one above, as 128-bit numbers that wrap.
OctetList OneBelow(OctetList octets) {
  for (std::size_t i = octets.size(); i-- > 0;) {
    if (octets[i]-- != 0) break;
  }
  return octets;
}

OctetList OneAbove(OctetList octets) {
  for (std::size_t i = octets.size(); i-- > 0;) {
    if (++octets[i] != 0) break;
  }
  return octets;
}

// 0, all ones, each single bit, and the neighbours of the bits around the
// boundary prefixes.
std::set<OctetList> BoundaryAddresses() {
  std::set<OctetList> addresses = {OctetList(16, 0), OctetList(16, 0xff)};
  for (std::size_t bit = 0; bit < 128; ++bit) addresses.insert(SingleBit(bit));
  constexpr std::size_t kNearBoundary[] = {0,  1,  30, 31, 32, 33,
                                           62, 63, 64, 65, 126};
  for (const std::size_t bit : kNearBoundary) {
    addresses.insert(OneBelow(SingleBit(bit)));
    addresses.insert(OneAbove(SingleBit(bit)));
  }
  return addresses;
}

Sample MakeSample(const OctetList& octets, int32_t length) {
  in6_addr address = {};
  for (std::size_t i = 0; i < 16; ++i) address.s6_addr[i] = octets[i];
  return {IPv6AddrMask(address, length), MakeBitPrefix(octets, length)};
}

std::vector<Sample> Samples() {
  std::vector<Sample> samples;
  for (const OctetList& octets : BoundaryAddresses()) {
    for (const int32_t length :
         {0, 1, 31, 32, 33, 63, 64, 65, 127, 128, -1, 200}) {
      samples.push_back(MakeSample(octets, length));
    }
  }
  return samples;
}

TEST(IPv6AddrMask, OverlapAgreesWithTheOracleOnEveryBoundaryPair) {
  const std::vector<Sample> samples = Samples();
  std::size_t overlapping = 0;
  for (const Sample& a : samples) {
    for (const Sample& b : samples) {
      const bool overlap = a.prefix.Overlap(b.prefix);
      ASSERT_EQ(overlap, OverlapBitByBit(a.bits, b.bits))
          << a.prefix << " and " << b.prefix;
      if (overlap) ++overlapping;
    }
  }
  EXPECT_GT(overlapping, samples.size());
  EXPECT_LT(overlapping, samples.size() * samples.size());
}

}  // namespace
}  // namespace nettypes
