// The search for overlapping interfaces finds the pair that a walk over all
// pairs finds first, on random sets of few and of many interfaces and prefixes.

#include "src/lib/internal/overlap_search.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <list>
#include <random>
#include <string>
#include <vector>

#include "include/config.h"

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

// How often something was found: a generator that finds nothing, or always
// something, compares nothing.
struct Found {
  unsigned of_one_kind = 0;
  unsigned of_other_kinds = 0;
  unsigned nothing = 0;
};

InterfaceRefs RefsFrom(const std::vector<Interface>& interfaces,
                       std::size_t first) {
  InterfaceRefs refs;
  for (std::size_t i = first; i < interfaces.size(); ++i) {
    refs.push_back(&interfaces[i]);
  }
  return refs;
}

template <typename Mask>
void CompareOneKind(const std::vector<Interface>& interfaces, Found* found) {
  const Interface* first =
      FindOverlaps<Mask>(RefsFrom(interfaces, 0), {}).of_kind;
  for (std::size_t i = 0; i < interfaces.size(); ++i) {
    const Interface* later = WalkBehind<Mask>(interfaces, i);
    ASSERT_EQ(FindOverlaps<Mask>({&interfaces[i]}, RefsFrom(interfaces, i + 1))
                  .of_other,
              later);
    if (later == nullptr) continue;
    ASSERT_EQ(first, &interfaces[i]);
    ASSERT_EQ(FirstOverlap<Mask>(interfaces[i], *later),
              WalkPair<Mask>(interfaces[i], *later));
    ++found->of_one_kind;
    return;
  }
  ASSERT_EQ(first, nullptr);
}

template <typename Mask>
void CompareOnce(const Shape& shape, Random& random, Found* found) {
  L3Config l3;
  LoConfig lo;
  MgmtConfig mgmt;
  const std::vector<InterfaceConfig*> all = {&mgmt, &l3, &lo};
  for (InterfaceConfig* reader : all) Fill<Mask>(shape, random, reader);
  const InterfaceConfig& changed = *all[random.Below(3)];
  ASSERT_NO_FATAL_FAILURE(CompareOneKind<Mask>(changed.interfaces(), found));

  const auto [other, interface] = WalkKinds<Mask>(changed, all);
  InterfaceRefs others;
  for (const InterfaceConfig* reader : all) {
    if (reader->type() == changed.type()) continue;
    const InterfaceRefs refs = RefsFrom(reader->interfaces(), 0);
    others.insert(others.end(), refs.begin(), refs.end());
  }
  const InterfaceRefs interfaces = RefsFrom(changed.interfaces(), 0);
  ASSERT_EQ(FindOverlaps<Mask>(interfaces, others).of_other, other);
  ASSERT_EQ(FindOverlaps<Mask>(interfaces, others).of_kind,
            FindOverlaps<Mask>(interfaces, {}).of_kind);
  ++(other == nullptr ? found->nothing : found->of_other_kinds);
  if (other == nullptr) return;
  ASSERT_EQ(FindOverlaps<Mask>({other}, interfaces).of_other, interface);
  ASSERT_EQ(FirstOverlap<Mask>(*interface, *other),
            WalkPair<Mask>(*interface, *other));
}

template <typename Mask>
class OverlapSearchTest : public ::testing::Test {};
using BothFamilies = ::testing::Types<IPv4AddrMask, IPv6AddrMask>;
TYPED_TEST_SUITE(OverlapSearchTest, BothFamilies, );

TYPED_TEST(OverlapSearchTest, FindsThePairThatAWalkOverAllPairsFindsFirst) {
  const Shape shapes[] = {{"a few", 4, 3, 8, 0, 3},
                          {"many of one address", 60, 1, 14, 0, 2},
                          {"many of some addresses", 40, 4, 16, 0, 3},
                          {"a few of many addresses", 3, 60, 16, 0, 2},
                          {"nested prefixes", 20, 3, 20, 0, 14}};
  for (const Shape& shape : shapes) {
    SCOPED_TRACE(shape.name);
    Random random(1);
    Found found;
    for (int i = 0; i < 400; ++i) {
      ASSERT_NO_FATAL_FAILURE(CompareOnce<TypeParam>(shape, random, &found))
          << "set " << i;
    }
    EXPECT_GT(found.of_one_kind, 0U);
    EXPECT_GT(found.of_other_kinds, 0U);
    EXPECT_GT(found.nothing, 0U);
  }
}

TYPED_TEST(OverlapSearchTest, TheFirstOfTwoThatContainAPrefixIsGiven) {
  constexpr std::int32_t kBits = Family<TypeParam>::kBits;
  Interface shorter;
  Interface longer;
  Interface inside;
  Family<TypeParam>::Of(shorter) = {Family<TypeParam>::Make(0, kBits - 8)};
  Family<TypeParam>::Of(longer) = {Family<TypeParam>::Make(0, kBits - 4)};
  Family<TypeParam>::Of(inside) = {Family<TypeParam>::Make(0, kBits)};
  EXPECT_EQ(FindOverlaps<TypeParam>({&inside}, {&shorter, &longer}).of_other,
            &shorter);
  EXPECT_EQ(FindOverlaps<TypeParam>({&inside}, {&longer, &shorter}).of_other,
            &longer);
}

TYPED_TEST(OverlapSearchTest, NothingOverlapsWithNothing) {
  EXPECT_EQ(FindOverlaps<TypeParam>({}, {}).of_kind, nullptr);
  EXPECT_EQ(FindOverlaps<TypeParam>({}, {}).of_other, nullptr);
  EXPECT_EQ(FirstRepeatedAddress(std::list<TypeParam>()), nullptr);
}

TYPED_TEST(OverlapSearchTest, TheFirstRepeatedAddressInListOrderIsGiven) {
  for (const std::uint32_t fillers : {0U, 14U, 500U}) {
    std::list<TypeParam> masks;
    const auto add = [&](std::uint32_t bits, std::int32_t length) {
      masks.push_back(Family<TypeParam>::Make(bits * 4, length));
    };
    for (std::uint32_t i = 0; i < fillers; ++i) {
      add(1000 + i * 7919 % 1009, 24);
    }
    add(9, 24);  // its repetition is the last one
    const TypeParam* wanted = &masks.back();
    add(3, 24);
    EXPECT_EQ(FirstRepeatedAddress(masks), nullptr) << fillers;
    add(3, 25);
    add(9, 26);
    EXPECT_EQ(FirstRepeatedAddress(masks), wanted) << fillers;
  }
}

}  // namespace
}  // namespace ip_application::config_valid::internal
