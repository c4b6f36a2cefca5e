#include "nettypes/address_space.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace nettypes {
namespace {

TEST(AddressSpaceTest, TheGlobalAndTheManagementVrfShareOne) {
  EXPECT_TRUE(ShareAddressSpace("global", "mgmt"));
  EXPECT_TRUE(ShareAddressSpace("mgmt", "global"));
  EXPECT_EQ(AddressSpaceOf("mgmt"), "global");
}

TEST(AddressSpaceTest, EveryOtherVrfIsASpaceOfItsOwn) {
  // Names that are alike, empty, long, or hold a NUL or a byte above 127.
  std::vector<std::string> names = {
      std::string(1, '\0'), std::string("red\0", 4), std::string(300, 'x')};
  for (const char* name : {"global", "Global", "mgmt ", "global\n", "", " ",
                           "red", "red2", "re", "\xc3\xa4", "RED"}) {
    names.emplace_back(name);
  }
  for (const std::string& name : names) {
    EXPECT_EQ(AddressSpaceOf(name), name);
    EXPECT_EQ(ShareAddressSpace(name, "mgmt"), name == "global") << name;
    for (const std::string& other : names) {
      EXPECT_EQ(ShareAddressSpace(name, other), name == other)
          << name << " and " << other;
    }
  }
}

}  // namespace
}  // namespace nettypes
