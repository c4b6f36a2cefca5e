// Tests of the fake itself, which the contract suite cannot have.

#include "tests/support/fake_platform.h"

#include <confd_maapi.h>
#include <gtest/gtest.h>
#include <hostd/cdb_session.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace ipav::testing {
namespace {

constexpr int kSock = FakePlatform::kSocket;
constexpr int kTrans = FakePlatform::kTransaction;

class FakePlatformTest : public ::testing::Test {
 protected:
  void SetUp() override { fake.Reset(); }
  void TearDown() override { fake.Reset(); }

  FakePlatform& fake = Fake();
};

TEST_F(FakePlatformTest, CountsCursorsValuesAndSessionsThatAreOpen) {
  fake.SetValue("/a", Text("x"));
  fake.AddEntry("/b", {Text("y")});
  confd_value_t value;
  ASSERT_EQ(maapi_get_elem(kSock, kTrans, &value, "/a"), CONFD_OK);
  maapi_cursor cursor;
  ASSERT_EQ(maapi_init_cursor(kSock, kTrans, &cursor, "/b"), CONFD_OK);
  {
    const HostdCdbSessionBase session(fake.host_instance(), CDB_RUNNING, true);
    EXPECT_EQ(fake.open_cdb_sessions(), 1U);
  }
  EXPECT_EQ(fake.open_cdb_sessions(), 0U);
  EXPECT_EQ(fake.unfreed_values(), 1U);
  EXPECT_EQ(fake.open_cursors(), 1U);

  confd_free_value(&value);
  maapi_destroy_cursor(&cursor);
  EXPECT_EQ(fake.unfreed_values(), 0U);
  EXPECT_EQ(fake.open_cursors(), 0U);
}

TEST_F(FakePlatformTest, NoticesThatAKeyOfACursorIsFreed) {
  fake.AddEntry("/b", {Text("y")});
  maapi_cursor cursor;
  ASSERT_EQ(maapi_init_cursor(kSock, kTrans, &cursor, "/b"), CONFD_OK);
  ASSERT_EQ(maapi_get_next(&cursor), CONFD_OK);
  confd_free_value(&cursor.keys[0]);
  EXPECT_EQ(fake.misuses(),
            std::vector<std::string>{
                "confd_free_value() of a value that no read gave"});
  maapi_destroy_cursor(&cursor);
}

TEST_F(FakePlatformTest, AFailingCursorHoldsNoEntry) {
  fake.AddEntry("/b", {Text("y")});
  maapi_cursor cursor;
  ASSERT_EQ(maapi_init_cursor(kSock, kTrans, &cursor, "/b"), CONFD_OK);
  fake.FailCall(1);
  EXPECT_EQ(maapi_get_next(&cursor), CONFD_ERR);
  EXPECT_EQ(cursor.n, 0);
  maapi_destroy_cursor(&cursor);
}

TEST_F(FakePlatformTest, AValueNeedsTheEntriesAboveIt) {
  EXPECT_THROW(fake.SetValue("/list{a}/leaf", Int32(1)), std::invalid_argument);
  fake.AddEntry("/list", {Text("a")});
  EXPECT_NO_THROW(fake.SetValue("/list{a}/leaf", Int32(1)));
}

}  // namespace
}  // namespace ipav::testing
