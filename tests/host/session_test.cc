#include "host/confd/session.h"

#include <confd_cdb.h>
#include <confd_maapi.h>
#include <gtest/gtest.h>
#include <hostd/cdb_session.h>
#include <hostd/hostd.h>

#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/services/framework.h"
#include "tests/host/fixtures.h"

namespace {

using host_test::CodeOf;
using host_test::TestModel;
using ipav::confd::Session;
using ipav::datastore::DataTree;
using ipav::datastore::Diff;

class SessionTest : public testing::Test {
 protected:
  const TestModel model_{"leaf n { type int32; }"};
  const DataTree running_ = model_.Tree("<n NS>1</n>");
  const DataTree candidate_ = model_.Tree("<n NS>2</n>");
  const Diff diff_{running_, candidate_};
  const int socket_ = Session::maapi_socket();
};

TEST_F(SessionTest, SecondOneIsRefusedAndLeavesTheFirst) {
  Session session(running_, candidate_, diff_);
  EXPECT_THROW(Session(running_, candidate_, diff_), std::logic_error);
  EXPECT_EQ(Session::Current(), &session);
}

TEST_F(SessionTest, IsFoundBySocketAndHandleWhileItLives) {
  int handle = 0;
  {
    Session session(running_, candidate_, diff_);
    handle = session.context().thandle;
    EXPECT_EQ(&Session::OfTransaction(socket_, handle), &session);
    for (const int other : {-1, 0, socket_ + 1, socket_ - 1}) {
      EXPECT_EQ(CodeOf([&] { Session::OfTransaction(other, handle); }),
                CONFD_ERR_NOSESSION);
    }
    for (const int other : {-1, handle + 1, handle - 1}) {
      EXPECT_EQ(CodeOf([&] { Session::OfTransaction(socket_, other); }),
                CONFD_ERR_NOTRANS);
    }
  }
  for (const int socket : {3, socket_}) {
    EXPECT_EQ(CodeOf([&] { Session::OfTransaction(socket, handle); }),
              CONFD_ERR_NOSESSION);
  }
}

TEST_F(SessionTest, CallOnAnUnopenedSocketFailsWithItsCodeAndText) {
  confd_errno = 0;
  EXPECT_EQ(maapi_exists(3, 1, "/n"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_NOSESSION);
  EXPECT_STRNE(confd_lasterr(), "");
  int32_t number = 77;
  EXPECT_EQ(cdb_get_int32(3, &number, "/n"), CONFD_ERR);
  EXPECT_EQ(number, 77);
}

TEST_F(SessionTest, XPathAtANodeThatDoesNotExistFailsWithoutAText) {
  const DataTree empty = model_.Tree("");
  const Diff diff(running_, empty);
  Session session(running_, empty, diff);
  char untouched = 'x';
  char* text = &untouched;
  EXPECT_EQ(
      maapi_xpath_eval_expr(Session::maapi_socket(), session.context().thandle,
                            ".", &text, nullptr, "/n"),
      CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_NOEXISTS);
  EXPECT_STREQ(confd_lasterr(), "no such context node");
  EXPECT_EQ(text, nullptr);
}

TEST_F(SessionTest, CdbSessionsOpenAndClose) {
  Session session(running_, candidate_, diff_);
  EXPECT_EQ(session.open_cdb_sessions(), 0U);
  const int first = session.OpenCdb();
  const int second = session.OpenCdb();
  EXPECT_NE(first, second);
  EXPECT_GE(first, 0);
  EXPECT_NE(first, socket_);
  EXPECT_EQ(session.open_cdb_sessions(), 2U);
  EXPECT_EQ(&Session::OfCdbSocket(first), &session);
  session.CloseCdb(first);
  EXPECT_EQ(session.open_cdb_sessions(), 1U);
  EXPECT_EQ(CodeOf([&] { Session::OfCdbSocket(first); }), CONFD_ERR_NOSESSION);
  EXPECT_EQ(&Session::OfCdbSocket(second), &session);
  EXPECT_EQ(CodeOf([&] { Session::OfCdbSocket(socket_); }),
            CONFD_ERR_NOSESSION);
}

TEST_F(SessionTest, CdbSessionThatCannotOpenHasANegativeSocket) {
  HostdInterface host;
  EXPECT_LT(HostdCdbSessionBase(&host, CDB_RUNNING, true).Socket(), 0);
  const Session session(running_, candidate_, diff_);
  EXPECT_LT(HostdCdbSessionBase(nullptr, CDB_RUNNING, true).Socket(), 0);
  EXPECT_LT(HostdCdbSessionBase(&host, CDB_OPERATIONAL, true).Socket(), 0);
  EXPECT_EQ(session.open_cdb_sessions(), 0U);
}

TEST_F(SessionTest, CountsCallsByName) {
  const TestModel model(
      "list l { key k; leaf k { type string; } leaf i { type int32; } "
      "leaf u8 { type uint8; } leaf u16 { type uint16; } "
      "leaf u32 { type uint32; } "
      "leaf p4 { type tailf:ipv4-address-and-prefix-length; } "
      "leaf p6 { type tailf:ipv6-address-and-prefix-length; } }");
  const DataTree running = model.Tree("<l NS><k>a</k><i>1</i></l>");
  const DataTree candidate = model.Tree(
      "<l NS><k>a</k><i>2</i><u8>3</u8><u16>4</u16><u32>5</u32>"
      "<p4>10.0.0.1/8</p4><p6>::1/64</p6></l>");
  const Diff diff(running, candidate);
  Session session(running, candidate, diff);
  EXPECT_TRUE(session.calls().empty());
  const int handle = session.context().thandle;
  EXPECT_EQ(maapi_exists(socket_, handle, "/l"), 1);
  EXPECT_EQ(maapi_exists(socket_, handle, "/nothing"), CONFD_ERR);
  EXPECT_EQ(maapi_num_instances(socket_, handle, "/l"), 1);
  confd_value_t value;
  EXPECT_EQ(maapi_get_elem(socket_, handle, &value, "/l{a}/i"), CONFD_OK);
  char text[8];
  EXPECT_EQ(confd_pp_value(text, sizeof(text), &value), 1);
  EXPECT_EQ(maapi_get_str_elem(socket_, handle, text, 8, "/l{a}/k"), CONFD_OK);
  int32_t i = 0;
  EXPECT_EQ(maapi_get_int32_elem(socket_, handle, &i, "/l{a}/i"), CONFD_OK);
  EXPECT_EQ(i, 2);  // of the candidate
  uint8_t u8 = 0;
  EXPECT_EQ(maapi_get_u_int8_elem(socket_, handle, &u8, "/l{a}/u8"), CONFD_OK);
  uint16_t u16 = 0;
  EXPECT_EQ(maapi_get_u_int16_elem(socket_, handle, &u16, "/l{a}/u16"), 0);
  uint32_t u32 = 0;
  EXPECT_EQ(maapi_get_u_int32_elem(socket_, handle, &u32, "/l{a}/u32"), 0);
  confd_ipv4_prefix p4;
  EXPECT_EQ(maapi_get_ipv4_and_plen_elem(socket_, handle, &p4, "/l{a}/p4"), 0);
  confd_ipv6_prefix p6;
  EXPECT_EQ(maapi_get_ipv6_and_plen_elem(socket_, handle, &p6, "/l{a}/p6"), 0);
  maapi_cursor cursor;
  EXPECT_EQ(maapi_init_cursor(socket_, handle, &cursor, "/l"), CONFD_OK);
  for (int entries = 0; entries < 2; ++entries) maapi_get_next(&cursor);
  maapi_destroy_cursor(&cursor);
  char* result = nullptr;
  EXPECT_EQ(maapi_xpath_eval_expr(socket_, handle, "i", &result, nullptr, "/l"),
            CONFD_OK);
  EXPECT_STREQ(result, "2");
  std::free(result);
  const auto go_on = [](auto*, auto, auto*, auto*, auto*) {
    return ITER_RECURSE;
  };
  EXPECT_EQ(
      maapi_keypath_diff_iterate(socket_, handle, go_on, 0, nullptr, "/l"),
      CONFD_OK);
  confd_trans_seterr(&session.context(), "text");
  EXPECT_EQ(cdb_get_int32(session.OpenCdb(), &i, "/l{a}/i"), CONFD_OK);
  EXPECT_EQ(i, 1);  // of the running configuration

  using Calls = std::map<std::string_view, std::uint64_t>;
  EXPECT_EQ(session.calls(), (Calls{{"cdb_get_int32", 1},
                                    {"confd_pp_value", 1},
                                    {"confd_trans_seterr", 1},
                                    {"maapi_destroy_cursor", 1},
                                    {"maapi_exists", 2},
                                    {"maapi_get_elem", 1},
                                    {"maapi_get_int32_elem", 1},
                                    {"maapi_get_ipv4_and_plen_elem", 1},
                                    {"maapi_get_ipv6_and_plen_elem", 1},
                                    {"maapi_get_next", 2},
                                    {"maapi_get_str_elem", 1},
                                    {"maapi_get_u_int16_elem", 1},
                                    {"maapi_get_u_int32_elem", 1},
                                    {"maapi_get_u_int8_elem", 1},
                                    {"maapi_init_cursor", 1},
                                    {"maapi_keypath_diff_iterate", 1},
                                    {"maapi_num_instances", 1},
                                    {"maapi_xpath_eval_expr", 1}}));
  EXPECT_EQ(session.call_count(), 20U);
}

TEST_F(SessionTest, LastErrorTextOfItsContextIsTakenOnce) {
  Session session(running_, candidate_, diff_);
  EXPECT_FALSE(session.TakeErrorText().has_value());
  confd_trans_seterr(&session.context(), "first");
  confd_trans_seterr(&session.context(), "%s is %d%%", "n", 100);
  EXPECT_EQ(session.TakeErrorText(), "n is 100%");
  EXPECT_FALSE(session.TakeErrorText().has_value());
  confd_trans_seterr(&session.context(), "%s", "");
  EXPECT_EQ(session.TakeErrorText(), "");
  confd_trans_ctx other{};
  confd_trans_seterr(&other, "text");
  confd_trans_seterr(nullptr, "text");
  EXPECT_FALSE(session.TakeErrorText().has_value());
}

TEST(Framework, ContextsAreKeptByTheNameOfTheirSet) {
  ipav::services::LibraryContexts contexts;
  int mine = 0;
  EXPECT_EQ(get_lib_context(&contexts, "mine"), nullptr);
  contexts["mine"] = &mine;
  EXPECT_EQ(get_lib_context(&contexts, "mine"), &mine);
  EXPECT_EQ(get_lib_context(&contexts, "min"), nullptr);
}

}  // namespace
