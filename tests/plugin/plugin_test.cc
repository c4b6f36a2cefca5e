// libip_app_validation.so loaded as a host loads it.

#include "tests/support/plugin_test.h"

#include <confd_lib.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "tests/support/builders.h"

namespace ipav::testing {
namespace {

struct LibraryCloser {
  void operator()(void* library) const { dlclose(library); }
};
using Library = std::unique_ptr<void, LibraryCloser>;

Library Load() { return Library(dlopen(IPAV_TEST_PLUGIN, RTLD_NOW)); }

// An entry point by its name; null when the library does not export it.
template <typename Function>
Function* Find(const Library& library, const char* name) {
  return reinterpret_cast<Function*>(dlsym(library.get(), name));
}

using LibInit = int32_t(void**);
using LibFinish = int32_t(void**);
using GetValidationPoint = int32_t(char*, std::size_t);
using Validate = int32_t(confd_trans_ctx*, confd_hkeypath_t*, confd_value_t*);

TEST(LoadTest, ResolvesAllItsSymbolsInTheLoadingProcess) {
  const Library library = Load();
  EXPECT_NE(library, nullptr) << dlerror();
}

TEST(LoadTest, CallsNothingOfThePlatform) {
  Fake().Reset();
  ASSERT_NE(Load(), nullptr) << dlerror();
  EXPECT_TRUE(Fake().calls().empty());
}

TEST(LoadTest, CanBeRepeated) {
  for (int i = 0; i < 3; ++i) {
    const Library library = Load();
    ASSERT_NE(library, nullptr) << dlerror();
    EXPECT_NE(Find<Validate>(library, "validate"), nullptr);
  }
}

class ExportTest : public ::testing::TestWithParam<const char*> {};

TEST_P(ExportTest, IsFoundByItsPlainName) {
  const Library library = Load();
  ASSERT_NE(library, nullptr) << dlerror();
  EXPECT_NE(dlsym(library.get(), GetParam()), nullptr) << dlerror();
}

std::string NameOf(const ::testing::TestParamInfo<const char*>& name) {
  return name.param;
}

INSTANTIATE_TEST_SUITE_P(EntryPoints, ExportTest,
                         ::testing::Values("lib_init", "get_validation_point",
                                           "validate", "lib_finish"),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(
    Callbacks, ExportTest,
    ::testing::Values("validate_intf_l3_name", "validate_intf_vrf",
                      "validate_ipv4_addr", "validate_ipv4_addr_cross_prot",
                      "validate_ipv4_addr_route", "validate_ipv6_addr",
                      "validate_ipv6_addr_route",
                      "validate_ipv6_nd_ra_interval",
                      "validate_ipv6_nd_ra_lifetime", "validate_route_l3_intf",
                      "validate_lower_layer_cross_prot"),
    NameOf);
// The check that the last callback forwards to.
INSTANTIATE_TEST_SUITE_P(Checks, ExportTest,
                         ::testing::Values("validate_lower_layer_cross_ospfv3"),
                         NameOf);

// The library between lib_init() and lib_finish().
class LoadedPluginTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    library_ = Load();
    ASSERT_NE(library_, nullptr) << dlerror();
    ASSERT_EQ(Find<LibInit>(library_, "lib_init")(&context_), 0);
    fake.set_lib_context(context_);
  }

  void TearDown() override {
    EXPECT_EQ(Find<LibFinish>(library_, "lib_finish")(&context_), 0);
    PluginTest::TearDown();
  }

  int32_t ValidateTimers(const std::string& opaque, const RaConfig& config) {
    config.StoreIn(fake);
    fake.set_opaque(opaque);
    KeyPath path = config.keypath();
    confd_value_t newval = Nothing().Borrow();
    return Find<Validate>(library_, "validate")(fake.tctx(), path.get(),
                                                &newval);
  }

  Library library_;
  void* context_ = nullptr;
};

TEST_F(LoadedPluginTest, HandsOutAContext) { EXPECT_NE(context_, nullptr); }

TEST_F(LoadedPluginTest, GivesTheNameOfItsValidationSet) {
  std::array<char, 64> name{};
  const auto get_validation_point =
      Find<GetValidationPoint>(library_, "get_validation_point");
  EXPECT_EQ(get_validation_point(name.data(), name.size()), 0);
  EXPECT_STREQ(name.data(), "ip_app_validation");
}

TEST_F(LoadedPluginTest, ServesOneContextAfterTheOther) {
  EXPECT_EQ(ValidateTimers("validate_ipv6_nd_ra_interval", {}), 0);
  EXPECT_EQ(Find<LibFinish>(library_, "lib_finish")(&context_), 0);
  context_ = nullptr;
  fake.Reset();
  EXPECT_EQ(Find<LibInit>(library_, "lib_init")(&context_), 0);
  ASSERT_NE(context_, nullptr);
  fake.set_lib_context(context_);
  EXPECT_EQ(ValidateTimers("validate_ipv6_nd_ra_lifetime", {}), 0);
}

TEST_F(LoadedPluginTest, RefusesWithoutAContext) {
  fake.set_lib_context(nullptr);
  EXPECT_EQ(ValidateTimers("validate_ipv6_nd_ra_interval", {}), -1);
  ExpectOneError("Lib context is null!", "Lib context is null!");
}

TEST_F(LoadedPluginTest, RefusesAnUnknownNameWithoutAText) {
  EXPECT_EQ(ValidateTimers("no such name", {}), -1);
  ExpectNoError();
}

TEST_F(LoadedPluginTest, RefusesWithTheTextOfTheCallback) {
  RaConfig config;
  config.min_interval = 451;
  EXPECT_EQ(ValidateTimers("validate_ipv6_nd_ra_interval", config), -1);
  const std::string text =
      "Minimum interval must be no greater than maximum interval * 0.75";
  ExpectOneError(text, text);
}

}  // namespace
}  // namespace ipav::testing
