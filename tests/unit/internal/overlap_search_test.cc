// The search for overlapping interfaces against a walk over all pairs, on
// thousands of random sets from one interface to many, of few and of many
// prefixes: the walk's first pair is the one to be found.

#include "src/lib/internal/overlap_search.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <list>
#include <random>
#include <string>
#include <vector>

#include "include/config.h"
#include "src/lib/internal/prefix_sweep.h"

namespace ip_application::config_valid::internal {
namespace {

using nettypes::IPv4AddrMask;
using nettypes::IPv6AddrMask;

// How a random set is drawn; small spaces make overlaps likely.
struct Shape {
  const char* name;
  unsigned interfaces;      // of each kind, at most
  unsigned addresses;       // of an interface, at most
  unsigned address_bits;    // that differ
  std::int32_t min_length;  // beyond those of a family at both ends
  std::int32_t max_length;
};

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  unsigned Below(unsigned end) {
    return static_cast<unsigned>(engine_() % end);
  }
  std::int32_t Between(std::int32_t low, std::int32_t high) {
    return low + static_cast<std::int32_t>(
                     Below(static_cast<unsigned>(high - low + 1)));
  }

 private:
  std::mt19937 engine_;
};

template <typename Mask>
struct Family;
template <>
struct Family<IPv4AddrMask> {
  static constexpr std::int32_t kBits = 32;
  static auto& Of(Interface& interface) { return interface.ipv4; }
  static const auto& Of(const Interface& interface) { return interface.ipv4; }
  // The bits stand at the end of the address, and some of them at its start.
  static IPv4AddrMask Make(std::uint32_t bits, std::int32_t length) {
    return {(bits << 30U) ^ bits, length};
  }
};
template <>
struct Family<IPv6AddrMask> {
  static constexpr std::int32_t kBits = 128;
  static auto& Of(Interface& interface) { return interface.ipv6; }
  static const auto& Of(const Interface& interface) { return interface.ipv6; }
  // ... and in the middle, on both sides of the 64th bit.
  static IPv6AddrMask Make(std::uint32_t bits, std::int32_t length) {
    in6_addr address{};
    address.s6_addr[0] = static_cast<std::uint8_t>(bits << 6U);
    address.s6_addr[7] = static_cast<std::uint8_t>(bits);
    address.s6_addr[8] = static_cast<std::uint8_t>(bits << 5U);
    address.s6_addr[14] = static_cast<std::uint8_t>(bits >> 8U);
    address.s6_addr[15] = static_cast<std::uint8_t>(bits);
    return {address, length};
  }
};

template <typename Mask>
Interface AnyInterface(const Shape& shape, Random& random) {
  static const char* const kVrfs[] = {"global", "mgmt", "red", "blue", ""};
  Interface interface;
  interface.vrf_name = kVrfs[random.Below(5)];
  // One in ten has a length that no prefix has, or that contains everything.
  const unsigned count = random.Below(shape.addresses + 1);
  for (unsigned i = 0; i < count; ++i) {
    const bool is_odd = random.Below(200) == 0;
    const std::int32_t length =
        is_odd ? random.Between(-2, Family<Mask>::kBits + 3)
               : Family<Mask>::kBits -
                     random.Between(shape.min_length, shape.max_length);
    Family<Mask>::Of(interface).push_back(
        Family<Mask>::Make(random.Below(1U << shape.address_bits), length));
  }
  return interface;
}

template <typename Mask>
void Fill(const Shape& shape, Random& random, InterfaceConfig* reader) {
  const unsigned count = random.Below(shape.interfaces + 1);
  for (unsigned i = 0; i < count; ++i) {
    Interface interface = AnyInterface<Mask>(shape, random);
    interface.name = std::to_string(i);
    reader->MergeConfigAndInsert(interface);
  }
}

bool IsOneSpace(const std::string& a, const std::string& b) {
  const auto is_shared = [](const std::string& vrf) {
    return vrf == "global" || vrf == "mgmt";
  };
  return a == b || (is_shared(a) && is_shared(b));
}

// ---- The walk --------------------------------------------------------------

template <typename Mask>
std::pair<const Mask*, const Mask*> WalkPair(const Interface& a,
                                             const Interface& b) {
  if (!IsOneSpace(a.vrf_name, b.vrf_name)) return {};
  for (const Mask& of_a : Family<Mask>::Of(a)) {
    for (const Mask& of_b : Family<Mask>::Of(b)) {
      if (of_a.Overlap(of_b)) return {&of_a, &of_b};
    }
  }
  return {};
}

template <typename Mask>
const Interface* WalkBehind(const std::vector<Interface>& interfaces,
                            std::size_t position) {
  for (std::size_t i = position + 1; i < interfaces.size(); ++i) {
    const Interface& later = interfaces[i];
    if (WalkPair<Mask>(interfaces[position], later).first) return &later;
  }
  return nullptr;
}

template <typename Mask>
std::pair<const Interface*, const Interface*> WalkKinds(
    const InterfaceConfig& changed, const std::vector<InterfaceConfig*>& all) {
  for (const InterfaceConfig* reader : all) {
    if (reader->type() == changed.type()) continue;
    for (const Interface& other : reader->interfaces()) {
      for (const Interface& interface : changed.interfaces()) {
        if (WalkPair<Mask>(interface, other).first) return {&other, &interface};
      }
    }
  }
  return {};
}

// ---- The comparison --------------------------------------------------------

// How often something was found, as a generator that finds nothing, or always
// something, compares nothing.
struct Found {
  unsigned behind = 0;
  unsigned of_other_kinds = 0;
  unsigned nothing = 0;
};

template <typename Mask>
void CompareOnce(const Shape& shape, Random& random, Found* found) {
  L3Config l3;
  LoConfig lo;
  MgmtConfig mgmt;
  const std::vector<InterfaceConfig*> all = {&mgmt, &l3, &lo};
  for (InterfaceConfig* reader : all) Fill<Mask>(shape, random, reader);
  const InterfaceConfig& changed = *all[random.Below(3)];
  const std::vector<Interface>& interfaces = changed.interfaces();

  OverlapSearch<Mask> search(changed, all);
  for (std::size_t i = 0; i < interfaces.size(); ++i) {
    const Interface* expected = WalkBehind<Mask>(interfaces, i);
    const OverlapWith<Mask> found_behind = search.FirstBehind(i);
    ASSERT_EQ(found_behind.interface, expected);
    if (expected == nullptr) continue;
    const auto pair = WalkPair<Mask>(interfaces[i], *expected);
    ASSERT_EQ(found_behind.masks, pair);
    ASSERT_EQ(FirstOverlap<Mask>(interfaces[i], *expected), pair);
    ++found->behind;
    break;
  }

  const auto expected = WalkKinds<Mask>(changed, all);
  ASSERT_EQ(search.FirstOfOtherKinds(), expected);
  // ... and where nobody asked for the kind's own overlaps before.
  ASSERT_EQ(OverlapSearch<Mask>(changed, all).FirstOfOtherKinds(), expected);
  ++(expected.first == nullptr ? found->nothing : found->of_other_kinds);
  if (expected.first == nullptr) return;
  ASSERT_EQ(FirstOverlap<Mask>(*expected.second, *expected.first),
            WalkPair<Mask>(*expected.second, *expected.first));
}

class OverlapSearchTest : public ::testing::TestWithParam<Shape> {
 protected:
  template <typename Mask>
  void Compare() {
    Random random(1);
    Found found;
    for (int i = 0; i < 400; ++i) {
      ASSERT_NO_FATAL_FAILURE(CompareOnce<Mask>(GetParam(), random, &found))
          << "set " << i;
    }
    EXPECT_GT(found.behind, 0U);
    EXPECT_GT(found.of_other_kinds, 0U);
    EXPECT_GT(found.nothing, 0U);
  }
};

TEST_P(OverlapSearchTest, FindsTheIPv4PairThatAWalkOverAllFindsFirst) {
  Compare<IPv4AddrMask>();
}

TEST_P(OverlapSearchTest, FindsTheIPv6PairThatAWalkOverAllFindsFirst) {
  Compare<IPv6AddrMask>();
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, OverlapSearchTest,
    ::testing::Values(Shape{"AFew", 4, 3, 8, 0, 3},
                      Shape{"ManyOfOneAddress", 60, 1, 14, 0, 2},
                      Shape{"ManyOfSomeAddresses", 40, 4, 16, 0, 3},
                      Shape{"AFewOfManyAddresses", 3, 60, 16, 0, 2},
                      Shape{"SomeOfManyAddresses", 24, 40, 20, 0, 2},
                      Shape{"NestedPrefixes", 20, 3, 20, 0, 14}),
    [](const auto& shape) { return std::string(shape.param.name); });

// ---- The sweep alone -------------------------------------------------------

TEST(PrefixSweepTest, NothingOverlapsWithNothing) {
  PrefixSweep<IPv4AddrMask> sweep;
  EXPECT_EQ(sweep.TakeLowest().rank, sweep.kNone);
  EXPECT_EQ(sweep.TakeLowest().other, sweep.kNone);
}

TEST(PrefixSweepTest, PrefixesOfOneRankAreNotCompared) {
  PrefixSweep<IPv4AddrMask> sweep;
  sweep.Add({0x0a000001, 24}, 3);
  sweep.Add({0x0a000002, 24}, 3);
  EXPECT_EQ(sweep.TakeLowest().rank, sweep.kNone);
}

TEST(PrefixSweepTest, AShorterPrefixFarInFrontContainsALaterOne) {
  PrefixSweep<IPv4AddrMask> sweep;
  sweep.Add({0x0a000001, 8}, 5);
  sweep.Add({0x0a000101, 24}, 5);
  sweep.Add({0x0a000201, 24}, 5);
  sweep.Add({0x0aff0001, 32}, 9);
  EXPECT_EQ(sweep.TakeLowest().rank, 5U);
}

TEST(PrefixSweepTest, OthersAreNotComparedWithEachOther) {
  PrefixSweep<IPv4AddrMask> sweep;
  sweep.AddOther({0x0a000001, 24}, 0);
  sweep.AddOther({0x0a000002, 24}, 1);
  EXPECT_EQ(sweep.TakeLowest().other, sweep.kNone);
  sweep.AddOther({0x0a000001, 24}, 4);
  sweep.AddOther({0x0a000002, 24}, 1);
  sweep.Add({0x0a000003, 32}, 0);
  EXPECT_EQ(sweep.TakeLowest().other, 1U);
}

TEST(PrefixSweepTest, LengthZeroContainsEverything) {
  PrefixSweep<IPv6AddrMask> sweep;
  in6_addr high{};
  high.s6_addr[0] = 0xff;
  sweep.Add({high, 0}, 7);
  sweep.Add({in6_addr{}, 128}, 8);
  EXPECT_EQ(sweep.TakeLowest().rank, 7U);
}

TEST(PrefixSweepTest, ALengthThatNoPrefixHasCountsAsTheNearest) {
  PrefixSweep<IPv4AddrMask> sweep;
  sweep.Add({0xffffffff, -1}, 1);
  sweep.Add({0x00000000, 200}, 2);
  EXPECT_EQ(sweep.TakeLowest().rank, 1U);
  sweep.Add({0x00000001, 33}, 1);
  sweep.Add({0x00000000, 200}, 2);
  EXPECT_EQ(sweep.TakeLowest().rank, sweep.kNone);
}

}  // namespace
}  // namespace ip_application::config_valid::internal
