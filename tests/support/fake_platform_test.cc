// Tests of the fake itself, which the contract suite cannot have.

#include "tests/support/fake_platform.h"

#include <confd_maapi.h>
#include <gtest/gtest.h>
#include <hostd/cdb_session.h>
#include <hostmw/fault.h>
#include <ids/vrf_id.h>

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

TEST_F(FakePlatformTest, RecordsEveryCallInOrderWithItsPathAndHandles) {
  confd_trans_seterr(fake.tctx(), "%s", "no");
  maapi_exists(kSock, kTrans, "/config/interface/l3{%s}/vrf", "a");
  EXPECT_EQ(fake.CallTexts(), (std::vector<std::string>{
                                  "confd_trans_seterr(no)",
                                  "maapi_exists(/config/interface/l3{a}/vrf)",
                              }));
  EXPECT_EQ(fake.calls()[1].sock, kSock);
  EXPECT_EQ(fake.calls()[1].thandle, kTrans);
}

TEST_F(FakePlatformTest, RecordsFormatAndTextOfAnError) {
  confd_trans_seterr(fake.tctx(), "%s %d", "no", 7);
  ASSERT_EQ(fake.errors().size(), 1U);
  EXPECT_EQ(fake.errors()[0].format, "%s %d");
  EXPECT_EQ(fake.errors()[0].text, "no 7");
}

TEST_F(FakePlatformTest, FailsTheCallThatTheTestNames) {
  fake.SetValue("/a", Int32(1));
  fake.FailCall(2, CONFD_EOF);
  int32_t number = 0;
  EXPECT_EQ(maapi_get_int32_elem(kSock, kTrans, &number, "/a"), CONFD_OK);
  number = 0;
  EXPECT_EQ(maapi_get_int32_elem(kSock, kTrans, &number, "/a"), CONFD_EOF);
  EXPECT_EQ(number, 0);
  EXPECT_EQ(maapi_get_int32_elem(kSock, kTrans, &number, "/a"), CONFD_OK);
}

TEST_F(FakePlatformTest, RecordsTheFormatOfAPath) {
  maapi_exists(kSock, kTrans, "%s", "/a");
  maapi_exists(kSock, kTrans, "/a");
  EXPECT_EQ(fake.calls()[0].format, "%s");
  EXPECT_EQ(fake.calls()[1].format, "/a");
}

TEST_F(FakePlatformTest, GivesAVrfTheIndexThatTheTestSets) {
  EXPECT_EQ(IdVrfFromComponent(7), 7U);
  fake.SetVrfIndex(7, 4000);
  EXPECT_EQ(IdVrfFromComponent(7), 4000U);
}

TEST_F(FakePlatformTest, FailsHostServicesToo) {
  fake.FailCall(1);
  EXPECT_EQ(hostd_maapi_socket_get(fake.hostd()), -1);
  fake.FailCall(1);
  EXPECT_EQ(hostd_instance_get(fake.hostd()), nullptr);
  fake.FailCall(1);
  const HostdCdbSessionBase session(fake.host_instance(), CDB_RUNNING, true);
  EXPECT_EQ(session.Socket(), -1);
}

TEST_F(FakePlatformTest, ALeafCanExistAndBeUnreadable) {
  fake.SetValue("/a", Int32(1));
  fake.FailReads("/a");
  int32_t number = 0;
  EXPECT_EQ(maapi_exists(kSock, kTrans, "/a"), 1);
  EXPECT_EQ(maapi_get_int32_elem(kSock, kTrans, &number, "/a"), CONFD_ERR);
}

TEST_F(FakePlatformTest, AnExistenceTestCanFail) {
  fake.SetValue("/a", Int32(1));
  fake.FailExists("/a");
  EXPECT_EQ(maapi_exists(kSock, kTrans, "/a"), CONFD_ERR);
}

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

TEST_F(FakePlatformTest, NamesANodeInOneWayOnly) {
  const std::string normal = "/config/interface/l3{a}/vrf";
  EXPECT_EQ(NormalPath("/config/interface/ipapp:l3{a}/vrf"), normal);
  EXPECT_EQ(NormalPath("/config/interface/l3{ a }/vrf"), normal);
  EXPECT_EQ(NormalPath("/config/interface/l3{\"a\"}/vrf"), normal);
  EXPECT_EQ(NormalPath("/x{ 1  2 }/y"), "/x{1 2}/y");
  EXPECT_EQ(NormalPath(R"(/x{"a b" "c\"d"}/y)"), R"(/x{"a b" "c\"d"}/y)");
}

TEST_F(FakePlatformTest, RefusesMalformedPaths) {
  for (const char* path :
       {"", "/", "a", "//a", "/a/", "/a{", "/a{}", "/a{b", "/a{\"b}", "/a{b}c",
        "/a[1]", "/a{b{c}", "/:a", "/p:"}) {
    EXPECT_EQ(maapi_exists(kSock, kTrans, "%s", path), CONFD_ERR) << path;
    EXPECT_EQ(confd_errno, CONFD_ERR_BADPATH) << path;
  }
}

TEST_F(FakePlatformTest, RecordsFaults) {
  hostmw_gen_fault(0, "f", "src/lib/config.cc", 133, "unspecified");
  ASSERT_EQ(fake.faults().size(), 1U);
  EXPECT_EQ(fake.faults()[0].code, 0);
  EXPECT_EQ(fake.faults()[0].function, "f");
  EXPECT_EQ(fake.faults()[0].file, "src/lib/config.cc");
  EXPECT_EQ(fake.faults()[0].line, 133);
  EXPECT_EQ(fake.faults()[0].message, "unspecified");
}

}  // namespace
}  // namespace ipav::testing
