// Traits of the two address families, for tests of both.
#ifndef IPAV_TESTS_UNIT_FAMILIES_H_
#define IPAV_TESTS_UNIT_FAMILIES_H_

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "include/generic_config.h"
#include "nettypes/ipv4.h"
#include "nettypes/ipv6.h"
#include "tests/support/addresses.h"
#include "tests/support/value.h"

namespace ipav::testing {

struct Ipv4Family {
  using Addr = nettypes::IPv4Addr;
  using Mask = nettypes::IPv4AddrMask;
  static constexpr auto kFamily =
      ip_application::config_valid::ConfigAddrFamily::kIpv4;
  static constexpr char kName[] = "IPv4";
  static constexpr char kUnspecified[] = "0.0.0.0";
  static Addr AddrOf(const std::string& text) { return Addr4(text); }
  static Mask MaskOf(const std::string& text) { return Mask4(text); }
  static Value Stored(const std::string& mask) { return Ipv4Plen(mask); }
};

struct Ipv6Family {
  using Addr = nettypes::IPv6Addr;
  using Mask = nettypes::IPv6AddrMask;
  static constexpr auto kFamily =
      ip_application::config_valid::ConfigAddrFamily::kIpv6;
  static constexpr char kName[] = "IPv6";
  static constexpr char kUnspecified[] = "::";
  static Addr AddrOf(const std::string& text) { return Addr6(text); }
  static Mask MaskOf(const std::string& text) { return Mask6(text); }
  static Value Stored(const std::string& mask) { return Ipv6Plen(mask); }
};

using BothFamilies = ::testing::Types<Ipv4Family, Ipv6Family>;

struct FamilyNames {
  template <typename Family>
  static std::string GetName(int) {
    return Family::kName;
  }
};

}  // namespace ipav::testing

#endif  // IPAV_TESTS_UNIT_FAMILIES_H_
