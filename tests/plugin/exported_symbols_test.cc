#include <gtest/gtest.h>

#include <string>

#include "tests/plugin/dynamic_symbols.h"

namespace {

TEST(ExportedSymbolsTest, AreTheEntryPointsAndTheCallbacks) {
  std::string names;
  for (const auto& symbol : DynamicSymbols("--defined-only")) {
    EXPECT_EQ(symbol.kind, 'T') << symbol.name << " is no function";
    names += symbol.name + " ";
  }
  EXPECT_EQ(names,
            "get_validation_point lib_finish lib_init validate "
            "validate_intf_l3_name validate_intf_vrf validate_ipv4_addr "
            "validate_ipv4_addr_cross_prot validate_ipv4_addr_route "
            "validate_ipv6_addr validate_ipv6_addr_route "
            "validate_ipv6_nd_ra_interval validate_ipv6_nd_ra_lifetime "
            "validate_lower_layer_cross_ospfv3 "
            "validate_lower_layer_cross_prot validate_route_l3_intf ");
}

}  // namespace
