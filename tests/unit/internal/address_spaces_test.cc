// Which VRFs share an address space.

#include "src/lib/internal/address_spaces.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ip_application::config_valid::internal {
namespace {

// Names that are alike, empty, long, or hold a NUL or a byte above 127.
const std::vector<std::string>& Names() {
  static const std::vector<std::string> names = {"global",
                                                 "mgmt",
                                                 "Global",
                                                 "mgmt ",
                                                 "global\n",
                                                 "",
                                                 " ",
                                                 "red",
                                                 "red2",
                                                 "re",
                                                 "\xc3\xa4",
                                                 "RED",
                                                 std::string(1, 0),
                                                 std::string("red") + '\0',
                                                 std::string(300, 'x')};
  return names;
}

TEST(AddressSpacesTest, EqualNamesAndTheGlobalAndManagementVrfShareOne) {
  EXPECT_TRUE(ShareAddressSpace("red", "red"));
  EXPECT_TRUE(ShareAddressSpace("", ""));
  EXPECT_TRUE(ShareAddressSpace("global", "mgmt"));
  EXPECT_TRUE(ShareAddressSpace("mgmt", "global"));
  EXPECT_FALSE(ShareAddressSpace("global", "red"));
  EXPECT_FALSE(ShareAddressSpace("red", "mgmt"));
  EXPECT_FALSE(ShareAddressSpace("Global", "mgmt"));
  EXPECT_FALSE(ShareAddressSpace("", "global"));
}

TEST(AddressSpacesTest, TwoNamesHaveOneNumberExactlyWhereTheyShareASpace) {
  AddressSpaces spaces;
  for (const std::string& a : Names()) {
    for (const std::string& b : Names()) {
      EXPECT_EQ(spaces.NumberOf(a) == spaces.NumberOf(b),
                ShareAddressSpace(a, b))
          << a << " and " << b;
      EXPECT_LE(spaces.NumberOf(a), spaces.highest());
    }
  }
}

TEST(AddressSpacesTest, ThousandsOfNamesKeepTheirNumbers) {
  std::vector<std::string> names;
  for (int i = 0; i < 3000; ++i) names.push_back("vrf" + std::to_string(i));
  AddressSpaces spaces;
  std::vector<std::uint32_t> numbers;
  for (const auto& name : names) numbers.push_back(spaces.NumberOf(name));
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(spaces.NumberOf(names[i]), numbers[i]);
  }
}

}  // namespace
}  // namespace ip_application::config_valid::internal
