#include "nettypes/net_addr.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <type_traits>
#include <vector>

#include "nettypes/ipv4.h"
#include "nettypes/ipv6.h"

namespace nettypes {
namespace {

static_assert(std::is_abstract_v<NetAddr>);
static_assert(std::has_virtual_destructor_v<NetAddr>);

// Through the base nothing is assigned, so nothing is sliced. (That it cannot
// be copy-constructed follows from its being abstract.)
static_assert(!std::is_copy_assignable_v<NetAddr>);
static_assert(!std::is_move_assignable_v<NetAddr>);
static_assert(!std::is_assignable_v<NetAddr&, const IPv4Addr&>);
static_assert(!std::is_assignable_v<NetAddr&, IPv6AddrMask&&>);
static_assert(!std::is_constructible_v<IPv4Addr, const NetAddr&>);
static_assert(!std::is_assignable_v<IPv4Addr&, const NetAddr&>);

template <typename T>
constexpr bool kIsValueType =
    std::is_base_of_v<NetAddr, T>&& std::is_default_constructible_v<T>&&
        std::is_copy_constructible_v<T>&& std::is_copy_assignable_v<T>&&
            std::is_move_constructible_v<T>&& std::is_move_assignable_v<T>;
static_assert(kIsValueType<IPv4Addr>);
static_assert(kIsValueType<IPv4AddrMask>);
static_assert(kIsValueType<IPv6Addr>);
static_assert(kIsValueType<IPv6AddrMask>);

// The prefix length is not lost in a narrower type, and no number becomes an
// address without saying its byte order.
static_assert(std::is_same_v<decltype(IPv4AddrMask().prefix_len()), int32_t>);
static_assert(std::is_same_v<decltype(IPv6AddrMask().prefix_len()), int32_t>);
static_assert(!std::is_convertible_v<uint32_t, IPv4Addr>);
static_assert(!std::is_convertible_v<uint32_t, IPv4AddrMask>);

// The families do not mix, nor an address with a prefix.
static_assert(!std::is_assignable_v<IPv4Addr&, const IPv6Addr&>);
static_assert(!std::is_assignable_v<IPv4Addr&, const IPv4AddrMask&>);
static_assert(!std::is_assignable_v<IPv6Addr&, const IPv6AddrMask&>);

TEST(NetAddr, PrintsEachTypeThroughTheBaseAsItsOwnText) {
  std::vector<std::unique_ptr<NetAddr>> addresses;
  addresses.push_back(std::make_unique<IPv4Addr>());
  addresses.push_back(std::make_unique<IPv4AddrMask>(0x0a000001U, 24));
  addresses.push_back(std::make_unique<IPv6Addr>());
  addresses.push_back(std::make_unique<IPv6AddrMask>(in6addr_loopback, 128));

  std::ostringstream out;
  for (const auto& address : addresses) out << *address << ' ';
  EXPECT_EQ(out.str(), "0.0.0.0 10.0.0.1/24 :: ::1/128 ");
}

}  // namespace
}  // namespace nettypes
