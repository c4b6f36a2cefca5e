// Addresses of both families, alone and with a prefix length.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "nettypes/ipv4.h"
#include "nettypes/ipv6.h"

namespace nettypes {
namespace {

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

using Octets = std::vector<uint8_t>;
using Texts = std::vector<const char*>;

// An address in two prefixes, and whether these overlap.
struct OverlapCase {
  const char* a;
  int32_t a_length;
  const char* b;
  int32_t b_length;
  bool overlap;
};

// What the tests need of each family.
struct V4 {
  using Addr = IPv4Addr;
  using Mask = IPv4AddrMask;
  static constexpr int kFamily = AF_INET;
  static constexpr int32_t kWidth = 32;
  static constexpr char kZero[] = "0.0.0.0";
  static constexpr char kOne[] = "0.0.0.1";
  static constexpr char kHalf[] = "128.0.0.0";
  static constexpr char kHighest[] = "255.255.255.255";

  static uint32_t Stored(const Octets& octets) {
    uint32_t network_order = 0;
    std::memcpy(&network_order, octets.data(), sizeof network_order);
    return network_order;
  }

  // Each table is in ascending order.
  static Texts Addresses() {
    return {kZero,
            kOne,
            "0.0.1.0",
            "1.0.0.0",
            "9.255.255.255",
            "10.0.0.0",
            "127.255.255.255",
            kHalf,
            "255.255.255.254",
            kHighest};
  }
  static std::vector<std::pair<const char*, int32_t>> Prefixes() {
    return {{"9.255.255.255", 32}, {"10.0.0.0", 8},         {"10.0.0.0", 24},
            {"10.0.0.1", 8},       {"127.255.255.255", 31}, {kHalf, 1}};
  }
  static std::vector<OverlapCase> Overlaps() {
    return {{"10.1.1.1", 24, "10.1.1.200", 24, true},
            {"10.1.1.1", 24, "10.1.200.1", 16, true},
            {"10.1.1.1", 25, "10.1.1.127", 32, true},
            {"10.1.1.1", 25, "10.1.1.128", 32, false},
            {"10.1.1.1", 24, "10.1.2.1", 24, false},
            {"192.0.2.1", 32, "192.0.2.1", 32, true},
            {"192.0.2.0", 32, "192.0.2.1", 32, false}};
  }
  static std::vector<int32_t> Lengths() {
    return {0,  1,  7,  8,  9,  15, 16,  23,     24,
            25, 29, 30, 31, 32, -1, 200, kLowest};
  }
  static bool NeighboursMatter(std::size_t /*bit*/) { return true; }
};

struct V6 {
  using Addr = IPv6Addr;
  using Mask = IPv6AddrMask;
  static constexpr int kFamily = AF_INET6;
  static constexpr int32_t kWidth = 128;
  static constexpr char kZero[] = "::";
  static constexpr char kOne[] = "::1";
  static constexpr char kHalf[] = "8000::";
  static constexpr char kHighest[] = "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff";

  static in6_addr Stored(const Octets& octets) {
    in6_addr address = {};
    std::copy(octets.begin(), octets.end(), address.s6_addr);
    return address;
  }

  static Texts Addresses() {
    return {kZero,
            kOne,
            "::2",
            "::7f",
            "::80",
            "::ff",
            "::100",
            "::ffff:192.0.2.1",
            "::1:0:0:0",
            "0:0:0:ffff:ffff:ffff:ffff:ffff",
            "0:0:1::",
            "1::",
            "9::",
            "10::",
            "7fff:ffff:ffff:ffff:ffff:ffff:ffff:ffff",
            kHalf,
            "ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe",
            kHighest};
  }
  static std::vector<std::pair<const char*, int32_t>> Prefixes() {
    return {{"::ffff", 128},     {"2001:db8::", 32}, {"2001:db8::", 64},
            {"2001:db8::1", 32}, {"7fff::", 127},    {kHalf, 1}};
  }
  static std::vector<OverlapCase> Overlaps() {
    return {{"2001:db8::1", 64, "2001:db8::2", 64, true},
            {"2001:db8::1", 64, "2001:db8:0:9::1", 48, true},
            {"2001:db8::1", 64, "2001:db8:0:1::", 64, false},
            {"2001:db8::1", 63, "2001:db8:0:1::", 64, true},
            {"::1", 128, "::1", 128, true},
            {"::", 128, "::1", 128, false},
            {"::", 127, "::1", 128, true}};
  }
  static std::vector<int32_t> Lengths() {
    return {0, 1, 31, 32, 33, 63, 64, 65, 127, 128, -1, 200};
  }
  // The bits around the boundary prefixes: there are too many pairs of all.
  static bool NeighboursMatter(std::size_t bit) {
    return bit <= 1 || (bit >= 30 && bit <= 33) || (bit >= 62 && bit <= 65) ||
           bit == 126;
  }
};

// The octets of a text, by the C library.
template <typename Family>
Octets Parsed(const char* text) {
  Octets octets(Family::kWidth / 8);
  EXPECT_EQ(inet_pton(Family::kFamily, text, octets.data()), 1) << text;
  return octets;
}

template <typename Family>
typename Family::Addr AddrOf(const Octets& octets) {
  typename Family::Addr address;
  address.set_addr(Family::Stored(octets));
  return address;
}

template <typename Family>
typename Family::Mask MaskOf(const Octets& octets, int32_t length) {
  typename Family::Mask prefix;
  prefix.set_addr(Family::Stored(octets));
  prefix.set_prefix_len(length);
  return prefix;
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

template <typename Family>
class IpTest : public ::testing::Test {
 protected:
  using F = Family;
  using Mask = typename Family::Mask;

  static typename Family::Addr Addr(const char* text) {
    return AddrOf<Family>(Parsed<Family>(text));
  }
  static Mask Prefix(const char* text, int32_t length) {
    return MaskOf<Family>(Parsed<Family>(text), length);
  }
};

struct FamilyNames {
  template <typename Family>
  static std::string GetName(int) {
    return Family::kFamily == AF_INET ? "IPv4" : "IPv6";
  }
};
using Families = ::testing::Types<V4, V6>;
TYPED_TEST_SUITE(IpTest, Families, FamilyNames);

// --- An address alone

TYPED_TEST(IpTest, AddressIsUnspecifiedUntilSetAndEachBitCounts) {
  typename TypeParam::Addr address;
  EXPECT_TRUE(address.is_unspecified());
  EXPECT_EQ(address.to_string(), TypeParam::kZero);
  for (std::size_t bit = 0; bit < TypeParam::kWidth; ++bit) {
    Octets octets(TypeParam::kWidth / 8);
    octets[bit / 8] = static_cast<uint8_t>(0x80 >> bit % 8);
    address = AddrOf<TypeParam>(octets);
    EXPECT_FALSE(address.is_unspecified()) << bit;
    EXPECT_NE(address, typename TypeParam::Addr()) << bit;
  }
  address.set_addr(TypeParam::Stored(Parsed<TypeParam>(TypeParam::kZero)));
  EXPECT_TRUE(address.is_unspecified());
}

TYPED_TEST(IpTest, AddressesAreOrderedAsUnsignedNumbers) {
  std::vector<typename TypeParam::Addr> addresses;
  for (const char* text : TypeParam::Addresses()) {
    addresses.push_back(this->Addr(text));
  }
  ExpectStrictlyAscending(addresses);
}

TEST(IPv4Addr, TakesOctetsInNetworkOrderAndGivesTheNumberOfTheDottedForm) {
  const IPv4Addr address = AddrOf<V4>({1, 2, 3, 4});
  EXPECT_EQ(address.to_uint32(), 0x01020304U);
  EXPECT_EQ(address.to_string(), "1.2.3.4");
  EXPECT_EQ(AddrOf<V4>({0, 0, 0, 1}).to_uint32(), 1U);
  EXPECT_EQ(IPv4Addr().to_uint32(), 0U);
}

TEST(IPv4Addr, PrintsDottedDecimalWithoutPadding) {
  for (const char* text : {"255.255.255.255", "128.0.0.0", "127.0.0.1",
                           "1.9.99.100", "10.0.0.0", "0.0.0.1"}) {
    EXPECT_EQ(AddrOf<V4>(Parsed<V4>(text)).to_string(), text);
  }
}

TEST(IPv6Addr, KeepsTheOctetsInTheOrderInWhichTheyLieInMemory) {
  Octets octets(16);
  for (uint8_t i = 0; i < 16; ++i) octets[i] = i;
  const IPv6Addr address = AddrOf<V6>(octets);
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
      {V6::kHighest, V6::kHighest},
  };
  for (const auto& text : kTexts) {
    EXPECT_EQ(AddrOf<V6>(Parsed<V6>(text.written)).to_string(), text.printed);
  }
}

// --- An address with a prefix length

TYPED_TEST(IpTest, PrefixIsTheUnspecifiedAddressWithLengthZeroUntilSet) {
  const typename TypeParam::Mask prefix;
  EXPECT_TRUE(prefix.IsUnspecified());
  EXPECT_TRUE(prefix.addr().is_unspecified());
  EXPECT_EQ(prefix.prefix_len(), 0);
  EXPECT_EQ(prefix.to_string(), std::string(TypeParam::kZero) + "/0");
}

TYPED_TEST(IpTest, PrefixIsUnspecifiedWhateverItsLength) {
  for (const int32_t length : {-1, 0, 8, 32, 64, 128, 200}) {
    EXPECT_TRUE(this->Prefix(TypeParam::kZero, length).IsUnspecified());
    EXPECT_FALSE(this->Prefix(TypeParam::kOne, length).IsUnspecified());
    EXPECT_FALSE(this->Prefix(TypeParam::kHalf, length).IsUnspecified());
  }
}

TEST(IPv4AddrMask, IsConstructedFromTheNumberThatToUint32Gives) {
  const IPv4AddrMask prefix(0x0a010203U, 8);
  EXPECT_EQ(prefix.addr().to_uint32(), 0x0a010203U);
  EXPECT_EQ(prefix, MaskOf<V4>({10, 1, 2, 3}, 8));
  EXPECT_EQ(prefix.to_string(), "10.1.2.3/8");
}

TEST(IPv6AddrMask, IsConstructedFromTheOctets) {
  const IPv6AddrMask prefix(in6addr_loopback, 64);
  EXPECT_EQ(prefix, MaskOf<V6>(Parsed<V6>("::1"), 64));
  EXPECT_EQ(prefix.to_string(), "::1/64");
}

// Its host bits stay.
TYPED_TEST(IpTest, SettingOnePartOfAPrefixLeavesTheOther) {
  auto prefix = this->Prefix(TypeParam::kHalf, 24);
  prefix.set_addr(TypeParam::Stored(Parsed<TypeParam>(TypeParam::kOne)));
  EXPECT_EQ(prefix, this->Prefix(TypeParam::kOne, 24));
  EXPECT_EQ(prefix.addr(), this->Addr(TypeParam::kOne));
  prefix.set_prefix_len(25);
  EXPECT_EQ(prefix, this->Prefix(TypeParam::kOne, 25));
}

TYPED_TEST(IpTest, KeepsAndPrintsAPrefixLengthThatNoPrefixHas) {
  for (const int32_t length : {-1, 33, 129, 200, 256, kLowest, kHighest}) {
    const auto prefix = this->Prefix(TypeParam::kHighest, length);
    EXPECT_EQ(prefix.prefix_len(), length);
    EXPECT_EQ(prefix.to_string(),
              std::string(TypeParam::kHighest) + "/" + std::to_string(length));
  }
}

TYPED_TEST(IpTest, LengthOutOfRangeMasksLikeTheNearestButDoesNotEqualIt) {
  const auto zero = [&](int32_t length) {
    return this->Prefix(TypeParam::kZero, length);
  };
  EXPECT_TRUE(zero(-1).Overlap(this->Prefix(TypeParam::kHighest, 128)));
  EXPECT_NE(zero(-1), zero(0));
  EXPECT_FALSE(zero(200).Overlap(this->Prefix(TypeParam::kOne, 128)));
  EXPECT_NE(zero(200), zero(TypeParam::kWidth));
}

TYPED_TEST(IpTest, PrefixesAreOrderedByAddressAndThenByLength) {
  std::vector<typename TypeParam::Mask> prefixes;
  for (const int32_t length : {kLowest, -1, 0, TypeParam::kWidth, 200}) {
    prefixes.push_back(this->Prefix(TypeParam::kZero, length));
  }
  prefixes.push_back(this->Prefix(TypeParam::kOne, 0));
  for (const auto& [text, length] : TypeParam::Prefixes()) {
    prefixes.push_back(this->Prefix(text, length));
  }
  prefixes.push_back(this->Prefix(TypeParam::kHighest, -1));
  prefixes.push_back(this->Prefix(TypeParam::kHighest, kHighest));
  ExpectStrictlyAscending(prefixes);
}

TYPED_TEST(IpTest, OverlapsWhenOneContainsTheOther) {
  for (const auto& [a, a_length, b, b_length, overlap] :
       TypeParam::Overlaps()) {
    EXPECT_EQ(this->Prefix(a, a_length).Overlap(this->Prefix(b, b_length)),
              overlap)
        << a << "/" << a_length << " and " << b << "/" << b_length;
  }
  EXPECT_TRUE(this->Prefix(TypeParam::kZero, 0)
                  .Overlap(this->Prefix(TypeParam::kHighest, 128)));
}

TEST(IPv4AddrMask, NetworkAndBroadcastAddressAreTheEndsOfThePrefix) {
  const struct {
    const char* text;
    int32_t length;
    bool is_network;
    bool is_broadcast;
  } cases[] = {
      {"10.1.1.0", 24, true, false},
      {"10.1.1.255", 24, false, true},
      {"10.1.1.0", 23, false, false},
      {"192.0.2.0", 30, true, false},
      {"192.0.2.1", 30, false, false},
      {"192.0.2.2", 30, false, false},
      {"192.0.2.3", 30, false, true},
      // Without host bits every address is both.
      {"192.0.2.1", 32, true, true},
      {"192.0.2.1", 33, true, true},
      {"192.0.2.1", 200, true, true},
      {"192.0.2.1", kHighest, true, true},
  };
  for (const auto& [text, length, is_network, is_broadcast] : cases) {
    const IPv4AddrMask prefix = MaskOf<V4>(Parsed<V4>(text), length);
    EXPECT_EQ(prefix.IsNetworkAddress(), is_network) << prefix;
    EXPECT_EQ(prefix.IsBroadcastAddress(), is_broadcast) << prefix;
  }
}

TEST(IPv4AddrMask, WithHostBitsOnlyTheWholeRangeEndsAreNetworkAndBroadcast) {
  for (const int32_t length : {0, -1, kLowest}) {
    for (const char* text :
         {V4::kZero, V4::kHalf, "127.255.255.255", V4::kHighest}) {
      const IPv4AddrMask prefix = MaskOf<V4>(Parsed<V4>(text), length);
      EXPECT_EQ(prefix.IsNetworkAddress(), text == V4::kZero) << prefix;
      EXPECT_EQ(prefix.IsBroadcastAddress(), text == V4::kHighest) << prefix;
    }
  }
}

// --- Every boundary prefix with every boundary address, against an oracle

// A slow second opinion: an address is a text of '0' and '1', most significant
// bit first, and every question is answered by looking at it.
template <typename Family>
struct Sample {
  Sample(const Octets& octets, int32_t prefix_len)
      : prefix(MaskOf<Family>(octets, prefix_len)),
        length(static_cast<std::size_t>(
            std::min(std::max(prefix_len, 0), Family::kWidth))) {
    for (const uint8_t octet : octets) {
      for (int weight = 128; weight > 0; weight /= 2) {
        bits += (octet & weight) != 0 ? '1' : '0';
      }
    }
  }

  bool EveryHostBitIs(char value) const {
    return bits.find_first_not_of(value, length) == std::string::npos;
  }

  typename Family::Mask prefix;
  std::size_t length;
  std::string bits;
};

// 0, all ones, each single bit; its complement and, as numbers that wrap, its
// two neighbours.
template <typename Family>
std::set<Octets> BoundaryAddresses() {
  constexpr std::size_t kSize = Family::kWidth / 8;
  std::set<Octets> addresses = {Octets(kSize, 0), Octets(kSize, 0xff)};
  for (std::size_t bit = 0; bit < Family::kWidth; ++bit) {
    Octets single(kSize);
    single[bit / 8] = static_cast<uint8_t>(0x80 >> bit % 8);
    addresses.insert(single);
    if (!Family::NeighboursMatter(bit)) continue;

    Octets complement = single;
    for (uint8_t& octet : complement) octet ^= 0xff;
    Octets below = single;
    for (std::size_t i = kSize; i-- > 0 && below[i]-- == 0;) continue;
    Octets above = single;
    for (std::size_t i = kSize; i-- > 0 && ++above[i] == 0;) continue;
    addresses.insert({complement, below, above});
  }
  return addresses;
}

template <typename Family>
std::vector<Sample<Family>> Samples() {
  std::vector<Sample<Family>> samples;
  for (const Octets& octets : BoundaryAddresses<Family>()) {
    for (const int32_t length : Family::Lengths()) {
      samples.emplace_back(octets, length);
    }
  }
  return samples;
}

TYPED_TEST(IpTest, OverlapAgreesWithTheOracleOnEveryBoundaryPair) {
  const auto samples = Samples<TypeParam>();
  std::size_t overlapping = 0;
  for (const auto& a : samples) {
    for (const auto& b : samples) {
      const bool overlap = a.prefix.Overlap(b.prefix);
      const std::size_t shorter = std::min(a.length, b.length);
      ASSERT_EQ(overlap, a.bits.compare(0, shorter, b.bits, 0, shorter) == 0)
          << a.prefix << " and " << b.prefix;
      if (overlap) ++overlapping;
    }
  }
  EXPECT_GT(overlapping, samples.size());
  EXPECT_LT(overlapping, samples.size() * samples.size());
}

TEST(IPv4AddrMask, NetworkAndBroadcastAgreeWithTheOracleOnEveryBoundary) {
  for (const auto& sample : Samples<V4>()) {
    EXPECT_EQ(sample.prefix.IsNetworkAddress(), sample.EveryHostBitIs('0'))
        << sample.prefix;
    EXPECT_EQ(sample.prefix.IsBroadcastAddress(), sample.EveryHostBitIs('1'))
        << sample.prefix;
  }
}

}  // namespace
}  // namespace nettypes
