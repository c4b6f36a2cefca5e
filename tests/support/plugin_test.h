// Fixture of every test that runs code of the plug-in on the fake platform:
// starts with an empty platform, and fails the test when a resource of the
// platform was not released.
#ifndef IPAV_TESTS_SUPPORT_PLUGIN_TEST_H_
#define IPAV_TESTS_SUPPORT_PLUGIN_TEST_H_

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/fake_platform.h"

namespace ipav::testing {

class PluginTest : public ::testing::Test {
 protected:
  void SetUp() override { fake.Reset(); }

  void TearDown() override {
    EXPECT_EQ(fake.open_cursors(), 0U);
    EXPECT_EQ(fake.unfreed_values(), 0U);
    EXPECT_EQ(fake.open_cdb_sessions(), 0U);
    EXPECT_EQ(fake.misuses(), std::vector<std::string>{});
    fake.Reset();
  }

  // Expects exactly one error text, set on the transaction of the call.
  // `format` is "%s", or the text itself if that was passed as the format.
  void ExpectOneError(const std::string& format, const std::string& text) {
    ASSERT_EQ(fake.errors().size(), 1U);
    EXPECT_EQ(fake.errors()[0].tctx, fake.tctx());
    EXPECT_EQ(fake.errors()[0].format, format);
    EXPECT_EQ(fake.errors()[0].text, text);
  }

  void ExpectNoError() {
    EXPECT_TRUE(fake.errors().empty()) << fake.error_text();
  }

  // A report to the fault service from the readers.
  void ExpectOneFault(const std::string& function, int line,
                      const std::string& message) {
    ASSERT_EQ(fake.faults().size(), 1U);
    const Fault& fault = fake.faults()[0];
    EXPECT_EQ(fault.code, 0);
    EXPECT_EQ(fault.function, function);
    EXPECT_EQ(fault.file, "src/lib/config.cc");
    EXPECT_EQ(fault.line, line);
    EXPECT_EQ(fault.message, message);
  }

  FakePlatform& fake = Fake();
};

}  // namespace ipav::testing

#endif  // IPAV_TESTS_SUPPORT_PLUGIN_TEST_H_
