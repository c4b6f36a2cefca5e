// Tests what platform/include requires of every implementation of the platform
// interface.

#include <confd_cdb.h>
#include <confd_lib.h>
#include <confd_maapi.h>
#include <gtest/gtest.h>
#include <hostd/cdb_session.h>
#include <hostd/hostd.h>
#include <hostmw/fault.h>
#include <hostmw/vlog.h>
#include <ids/limid.h>
#include <ids/vrf_id.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/contract/seam_under_test.h"
#include "tests/support/value.h"

namespace ipav::testing {
namespace {

using Texts = std::vector<std::string>;

constexpr char kL3[] = "/config/interface/l3";
constexpr char kLoopback[] = "/config/interface/loopback";
constexpr char kRoutes[] = "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry";
constexpr char kOutputOfRoute[] =
    "/rtmStaticRtEntry-global{ 0 0a:01:00:00 16 c0:a8:01:01 }";
constexpr char kOspfv3[] = "/internal/ospfv3-interface-l3";
constexpr char kVlan[] = "/config/interface/l3{%s}/lower-layer-if/vlan";

std::string Print(const confd_value_t& value) {
  std::array<char, 256> text{};
  confd_pp_value(text.data(), static_cast<int>(text.size()), &value);
  return text.data();
}

class SeamContractTest : public ::testing::Test {
 protected:
  void SetUp() override {
    seam = OpenSeam();
    ASSERT_NE(seam, nullptr);
    sock = seam->socket();
    trans = seam->thandle();
  }

  int Exists(const std::string& path) {
    return maapi_exists(sock, trans, "%s", path.c_str());
  }

  int Count(const std::string& list) {
    return maapi_num_instances(sock, trans, "%s", list.c_str());
  }

  std::unique_ptr<SeamUnderTest> seam;
  int sock = -1;
  int trans = -1;
};

// On a list, before its first entry.
class OpenCursor {
 public:
  OpenCursor(const SeamUnderTest& seam, const std::string& list) {
    EXPECT_EQ(maapi_init_cursor(seam.socket(), seam.thandle(), &cursor_, "%s",
                                list.c_str()),
              CONFD_OK);
  }
  ~OpenCursor() { maapi_destroy_cursor(&cursor_); }
  OpenCursor(const OpenCursor&) = delete;
  OpenCursor& operator=(const OpenCursor&) = delete;

  // The keys of the next entry, none behind the last one.
  Texts Next() {
    EXPECT_EQ(maapi_get_next(&cursor_), CONFD_OK);
    Texts keys;
    for (int i = 0; i < cursor_.n; ++i) keys.push_back(Print(key(i)));
    return keys;
  }
  const confd_value_t& key(int i) const { return cursor_.keys[i]; }

 private:
  maapi_cursor cursor_;
};

// ---- The transaction -------------------------------------------------------

TEST_F(SeamContractTest, TheContextNamesTheOpenTransaction) {
  ASSERT_NE(seam->tctx(), nullptr);
  EXPECT_EQ(seam->tctx()->thandle, trans);
  EXPECT_GE(sock, 0);
}

constexpr char kCoreVlan[] = "/config/interface/l3{core1}/lower-layer-if/vlan";
constexpr char kCoreVrf[] = "/config/interface/l3{core1}/vrf";
constexpr char kCoreMaximum[] =
    "/config/interface/l3{core1}/ipv6/nd/ra/max-interval";
constexpr char kCoreIpv4[] = "/config/interface/l3{core1}/ipv4/address/ip";
constexpr char kCoreIpv6[] =
    "/config/interface/l3{core1}/ipv6/address{2001:db8:0:1::1/64}/ip";
constexpr char kNetmask[] =
    "/internal/ospf-interface-l3{1 0.0.0.1 l3-core1 10.1.1.1}/"
    "ospf-pm-ip-netmask";
constexpr char kProcess[] = "/internal/ospf-index-to-proc-id{1}/proc_id";

// ---- Existence and number of entries ---------------------------------------

TEST_F(SeamContractTest, ExistsAnswersOneForWhatIsThere) {
  const std::string secondary = "/ipv4/address/secondary{10.1.3.1/25}/ip";
  for (const std::string& path :
       Texts{kCoreVrf, "/config/interface/l3{core1}", kL3, "/config/interface",
             // Created by the transaction.
             "/config/interface/l3{edge1}",
             // With prefixes on any step; without one on the first step every
             // module is searched.
             "/config/interface/ipapp:l3{core1}/vrf",
             "/vorplex-internal:internal/vorplex-internal:vrf-config/"
             "indexTOstring{7}/vname",
             "/internal/vrf-config/indexTOstring{7}/vname", kOutputOfRoute,
             kRoutes,
             // With blanks within braces.
             "/config/interface/l3{ core1 }/vrf",
             "/internal/ospfv3-interface-l3{  1  0.0.0.1 l3-core1}",
             "/internal/ospfv3-interface-l3{1 0.0.0.1 l3-core1  }",
             // With keys in quotes.
             "/config/interface/l3{\"core1\"}/vrf",
             "/config/interface/l3{\"lab two\"}/vrf",
             R"(/config/interface/l3{ "odd{\"\\}" }/vrf)",
             // With slashes and colons in keys.
             kCoreIpv6, "/config/interface/l3{core1}" + secondary}) {
    EXPECT_EQ(Exists(path), 1) << path;
  }
}

TEST_F(SeamContractTest, ExistsAnswersZeroForWhatIsNotThere) {
  for (const std::string path :
       {"/config/interface/l3{uplink}/vrf", "/config/interface/l3{nobody}",
        "/config/interface/l3{nobody}/vrf", kLoopback,
        "/config/interface/l3{zeta}",  // deleted by the transaction
        "/vorplex-internal:internal/vrf-config/indexTOstring{8}",
        "/config/interface/l3{\"lab three\"}/vrf"}) {
    EXPECT_EQ(Exists(path), 0) << path;
  }
}

TEST_F(SeamContractTest, ExistsFailsForABadPath) {
  for (const std::string path :
       {// Malformed.
        "", "/", "config", "//config", "/config/", "/config//interface",
        "/config/interface/l3{", "/config/interface/l3{}",
        "/config/interface/l3{ }", "/config/interface/l3{core1",
        "/config/interface/l3{\"core1}", "/config/interface/l3{core1}vrf",
        // Unknown to the model.
        "/nosuch", "/config/nosuch", "/config/interface/nosuch",
        "/config/interface/l3{core1}/nosuch",
        "/config/interface/l3{core1}/vrf/nosuch",
        // With a wrong number of keys.
        "/config/interface/l3{lab two}/vrf",
        "/internal/ospfv3-interface-l3{1 0.0.0.1}/ospfv3-pm-if-index"}) {
    confd_errno = 0;
    EXPECT_EQ(Exists(path), CONFD_ERR) << path;
    EXPECT_EQ(confd_errno, CONFD_ERR_BADPATH) << path;
  }
}

TEST_F(SeamContractTest, CountsTheEntriesOfAList) {
  EXPECT_EQ(Count(kL3), 5);
  EXPECT_EQ(Count(kOspfv3), 2);
  EXPECT_EQ(Count("/config/interface/l3{core1}/ipv4/address/secondary"), 2);
  EXPECT_EQ(Count(kLoopback), 0);
  EXPECT_EQ(Count("/config/interface/l3{edge1}/ipv6/address"), 0);
}

TEST_F(SeamContractTest, CountsNothingAtABadPath) {
  for (const char* path :
       {"/config/interface/nosuch", "l3", "/config/interface/l3{core1}"}) {
    confd_errno = 0;
    EXPECT_EQ(Count(path), CONFD_ERR) << path;
    EXPECT_EQ(confd_errno, CONFD_ERR_BADPATH) << path;
  }
}

// ---- Typed reads -----------------------------------------------------------

// A typed read into an output that holds a sentinel before. `read` sets the
// text of what the output holds afterwards.
struct ReadCase {
  const char* name;
  std::function<int(int sock, int trans, const char* path, std::string* after)>
      read;
  const char* sentinel;
  const char* path;
  const char* value;
  const char* absent;  // a leaf without value
};

template <typename Number>
auto NumberRead(int (*read)(int, int, Number*, const char*, ...)) {
  return [read](int s, int t, const char* path, std::string* after) {
    Number number = 77;
    const int result = read(s, t, &number, "%s", path);
    *after = std::to_string(number);
    return result;
  };
}

int ReadStr(int sock, int trans, const char* path, std::string* after) {
  std::array<char, 64> text{"untouched"};
  const int result =
      maapi_get_str_elem(sock, trans, text.data(), 64, "%s", path);
  *after = text.data();
  return result;
}

int ReadIpv4(int sock, int trans, const char* path, std::string* after) {
  confd_value_t value = Ipv4Plen("203.0.113.7/7").Borrow();
  const int result = maapi_get_ipv4_and_plen_elem(
      sock, trans, &value.val.ipv4prefix, "%s", path);
  *after = Print(value);
  return result;
}

int ReadIpv6(int sock, int trans, const char* path, std::string* after) {
  confd_value_t value = Ipv6Plen("2001:db8:7::7/7").Borrow();
  const int result = maapi_get_ipv6_and_plen_elem(
      sock, trans, &value.val.ipv6prefix, "%s", path);
  *after = Print(value);
  return result;
}

const ReadCase kReadCases[] = {
    {"Str", ReadStr, "untouched", kCoreVrf, "red",
     "/config/interface/l3{uplink}/vrf"},
    {"Int32", NumberRead(maapi_get_int32_elem), "77", kCoreVlan, "20",
     "/config/interface/l3{uplink}/lower-layer-if/vlan"},
    {"Uint8", NumberRead(maapi_get_u_int8_elem), "77", kNetmask, "24",
     "/internal/ospf-interface-l3{2 0.0.0.0 l3-uplink 10.1.4.1}/"
     "ospf-pm-ip-netmask"},
    {"Uint16", NumberRead(maapi_get_u_int16_elem), "77", kCoreMaximum, "600",
     "/config/interface/l3{edge1}/ipv6/nd/ra/max-interval"},
    {"Uint32", NumberRead(maapi_get_u_int32_elem), "77", kProcess, "100",
     "/internal/ospf-index-to-proc-id{2}/proc_id"},
    {"Ipv4AndPlen", ReadIpv4, "203.0.113.7/7", kCoreIpv4, "10.1.1.1/24",
     "/config/interface/l3{edge1}/ipv4/address/ip"},
    {"Ipv6AndPlen", ReadIpv6, "2001:db8:7::7/7", kCoreIpv6,
     "2001:db8:0:1::1/64",
     "/config/interface/l3{core1}/ipv6/address{2001:db8:0:9::1/64}/ip"},
};

class ReadTest : public SeamContractTest,
                 public ::testing::WithParamInterface<ReadCase> {
 protected:
  void ExpectFailure(const std::string& path, int code) {
    confd_errno = 0;
    std::string after;
    EXPECT_EQ(GetParam().read(sock, trans, path.c_str(), &after), CONFD_ERR)
        << path;
    EXPECT_EQ(confd_errno, code) << path;
    EXPECT_EQ(after, GetParam().sentinel) << path;
  }
};

TEST_P(ReadTest, GivesTheValue) {
  std::string after;
  EXPECT_EQ(GetParam().read(sock, trans, GetParam().path, &after), CONFD_OK);
  EXPECT_EQ(after, GetParam().value);
}

TEST_P(ReadTest, FailsAndLeavesTheOutputAlone) {
  ExpectFailure(GetParam().absent, CONFD_ERR_NOEXISTS);
  for (const ReadCase& other : kReadCases) {
    if (other.path == GetParam().path) continue;
    ExpectFailure(other.path, CONFD_ERR_BADTYPE);
  }
  ExpectFailure(std::string(GetParam().path) + "/", CONFD_ERR_BADPATH);
  ExpectFailure(std::string(GetParam().path) + "x", CONFD_ERR_BADPATH);
}

const auto kNameOfCase = [](const auto& one) {
  return std::string(one.param.name);
};

INSTANTIATE_TEST_SUITE_P(Types, ReadTest, ::testing::ValuesIn(kReadCases),
                         kNameOfCase);

// ---- Sockets and transactions ----------------------------------------------

// Every call that takes a socket and a handle, on a node that is there.
struct HandleCase {
  std::string name;
  std::function<int(int sock, int trans)> call;
};

std::vector<HandleCase> HandleCases() {
  std::vector<HandleCase> cases = {
      {"Exists", [](int s, int t) { return maapi_exists(s, t, kL3); }},
      {"NumInstances",
       [](int s, int t) { return maapi_num_instances(s, t, kL3); }},
      {"GetElem",
       [](int s, int t) {
         confd_value_t value = Nothing().Borrow();
         return maapi_get_elem(s, t, &value, kCoreVlan);
       }},
      {"InitCursor",
       [](int s, int t) {
         maapi_cursor cursor;
         const int result = maapi_init_cursor(s, t, &cursor, kL3);
         if (result == CONFD_OK) maapi_destroy_cursor(&cursor);
         return result;
       }},
      {"XpathEvalExpr",
       [](int s, int t) {
         char* text = nullptr;
         const int result = maapi_xpath_eval_expr(s, t, "vrf-config", &text,
                                                  nullptr, "/internal");
         std::free(text);
         return result;
       }},
      {"DiffIterate", [](int s, int t) {
         return maapi_keypath_diff_iterate(
             s, t,
             [](confd_hkeypath_t*, confd_iter_op, confd_value_t*,
                confd_value_t*, void*) { return ITER_RECURSE; },
             0, nullptr, kL3);
       }}};
  for (const ReadCase& one : kReadCases) {
    cases.push_back({std::string("Get") + one.name, [&one](int s, int t) {
                       std::string after;
                       return one.read(s, t, one.path, &after);
                     }});
  }
  return cases;
}

class HandleTest : public SeamContractTest,
                   public ::testing::WithParamInterface<HandleCase> {};

TEST_P(HandleTest, TakesTheOpenSocketAndTransactionAndNoOther) {
  EXPECT_GE(GetParam().call(sock, trans), CONFD_OK);
  for (const int other : {-1, sock + 12345}) {
    confd_errno = 0;
    EXPECT_EQ(GetParam().call(other, trans), CONFD_ERR);
    EXPECT_EQ(confd_errno, CONFD_ERR_NOSESSION);
  }
  for (const int other : {-1, trans + 12345}) {
    confd_errno = 0;
    EXPECT_EQ(GetParam().call(sock, other), CONFD_ERR);
    EXPECT_EQ(confd_errno, CONFD_ERR_NOTRANS);
  }
}

INSTANTIATE_TEST_SUITE_P(Calls, HandleTest, ::testing::ValuesIn(HandleCases()),
                         kNameOfCase);

TEST_F(SeamContractTest, KeepsTheHostBitsOfAnAddressInNetworkOrder) {
  confd_ipv4_prefix ipv4{};
  ASSERT_EQ(maapi_get_ipv4_and_plen_elem(sock, trans, &ipv4, kCoreIpv4),
            CONFD_OK);
  EXPECT_EQ(ipv4.ip.s_addr, htonl(0x0A010101));
  EXPECT_EQ(ipv4.len, 24);

  confd_ipv6_prefix ipv6{};
  ASSERT_EQ(maapi_get_ipv6_and_plen_elem(sock, trans, &ipv6, kCoreIpv6),
            CONFD_OK);
  EXPECT_EQ(ipv6.ip6.s6_addr[0], 0x20);
  EXPECT_EQ(ipv6.ip6.s6_addr[15], 1);
  EXPECT_EQ(ipv6.len, 64);
}

TEST_F(SeamContractTest, CopiesATextOnlyIfItFitsWithItsTerminator) {
  for (const int size : {4, 3, 1, 0}) {
    std::string text(8, '#');
    confd_errno = 0;
    EXPECT_EQ(maapi_get_str_elem(sock, trans, text.data(), size, kCoreVrf),
              size == 4 ? CONFD_OK : CONFD_ERR);
    EXPECT_EQ(confd_errno, size == 4 ? 0 : CONFD_ERR_PROTOUSAGE);
    if (size == 4) {
      EXPECT_EQ(text, std::string("red\0####", 8));
    } else {
      EXPECT_EQ(text[0], '#');
    }
  }
}

// ---- Reads of any type -----------------------------------------------------

TEST_F(SeamContractTest, AnElementIsGivenInTheTypeOfTheModel) {
  const struct {
    std::string path;
    confd_vtype type;
    std::string text;
  } cases[] = {
      {kCoreVrf, C_BUF, "red"},
      {kCoreVlan, C_INT32, "20"},
      {kNetmask, C_UINT8, "24"},
      {kCoreMaximum, C_UINT16, "600"},
      {kProcess, C_UINT32, "100"},
      {"/config/interface/l3{core1}/enabled", C_BOOL, "true"},
      {"/config/interface/l3{uplink}/enabled", C_BOOL, "true"},  // the default
      {std::string(kOutputOfRoute) + "/rtmStaticRtDest", C_BINARY, "0a010000"},
      {std::string(kOspfv3) + "{1 0.0.0.1 l3-core1}/area", C_IPV4, "0.0.0.1"},
      {kCoreIpv4, C_IPV4_AND_PLEN, "10.1.1.1/24"},
      {kCoreIpv6, C_IPV6_AND_PLEN, "2001:db8:0:1::1/64"}};
  for (const auto& one : cases) {
    SCOPED_TRACE(one.path);
    confd_value_t value = Nothing().Borrow();
    ASSERT_EQ(maapi_get_elem(sock, trans, &value, "%s", one.path.c_str()),
              CONFD_OK);
    EXPECT_EQ(value.type, one.type);
    EXPECT_EQ(Print(value), one.text);
    if (value.type == C_BUF) {
      EXPECT_EQ(value.val.buf.size, one.text.size());
      EXPECT_EQ(value.val.buf.ptr[one.text.size()], '\0');
    }
    confd_free_value(&value);
  }
}

TEST_F(SeamContractTest, AFailingReadOfAnElementLeavesTheOutputAlone) {
  const struct {
    const char* path;
    int code;
  } failures[] = {{"/config/interface/l3{uplink}/vrf", CONFD_ERR_NOEXISTS},
                  {"/config/interface/l3{nobody}/vrf", CONFD_ERR_NOEXISTS},
                  {"/config/interface/l3{core1}/nosuch", CONFD_ERR_BADPATH},
                  {"", CONFD_ERR_BADPATH}};
  for (const auto& failure : failures) {
    confd_value_t value = Int32(77).Borrow();
    confd_errno = 0;
    EXPECT_EQ(maapi_get_elem(sock, trans, &value, "%s", failure.path),
              CONFD_ERR);
    EXPECT_EQ(confd_errno, failure.code) << failure.path;
    EXPECT_EQ(value.type, C_INT32);
    EXPECT_EQ(value.val.i32, 77);
  }
}

TEST_F(SeamContractTest, ValuesOfFixedSizeNeedNoFreeingButMayBeFreed) {
  for (const Value& value :
       {Int32(1), Bool(true), Ipv4("10.0.0.1"), Nothing()}) {
    confd_value_t raw = value.Borrow();
    confd_free_value(&raw);
    EXPECT_EQ(raw.type, value.type());
  }
}

// ---- Path formats ----------------------------------------------------------

TEST_F(SeamContractTest, FormatsTextsAndNumbersIntoAPath) {
  EXPECT_EQ(maapi_exists(sock, trans, "/config/interface/l3{core1}/vrf"), 1);
  EXPECT_EQ(maapi_exists(sock, trans, "/config/interface/l3{%s}", "core1"), 1);
  EXPECT_EQ(maapi_exists(sock, trans, "%s{%s}/%s", kL3, "core1", "vrf"), 1);
  EXPECT_EQ(maapi_exists(sock, trans,
                         "/internal/ospf-index-to-proc-id{%u}/proc_id", 1U),
            1);
  EXPECT_EQ(maapi_exists(sock, trans,
                         "/internal/ospf-index-to-proc-id{%d}/proc_id", 1),
            1);
  EXPECT_EQ(maapi_exists(sock, trans, "%s{ %u %s %s }/ospfv3-pm-if-index",
                         kOspfv3, 1U, "0.0.0.1", "l3-core1"),
            1);
  // A percent sign in a text is text.
  EXPECT_EQ(maapi_exists(sock, trans, "%s", "/config/interface/l3{100%n}/vrf"),
            0);
  EXPECT_EQ(maapi_exists(sock, trans, "/config/interface/l3{%s}", "%d"), 0);
}

TEST_F(SeamContractTest, RefusesEveryOtherConversion) {
  for (const char* format :
       {"/config/interface/l3{%x}", "/config/interface/l3{%5d}",
        "/config/interface/l3{%i}", "/config/interface/l3{%c}",
        "/config/interface/l3{%-d}", "/config/interface/l3{%%}",
        "/config/interface/l3{core1}%"}) {
    confd_errno = 0;
    EXPECT_EQ(maapi_exists(sock, trans, format, 1), CONFD_ERR) << format;
    EXPECT_EQ(confd_errno, CONFD_ERR_BADPATH) << format;
  }
  EXPECT_EQ(maapi_exists(sock, trans, "/config/interface/l3{%lu}", 1UL),
            CONFD_ERR);
  EXPECT_EQ(maapi_exists(sock, trans, "/config/interface/l3{%.2s}", "ab"),
            CONFD_ERR);
}

// ---- Cursors ---------------------------------------------------------------

TEST_F(SeamContractTest, ACursorGivesAllKeysInOrderAndStaysBehindTheLastEntry) {
  const std::pair<const char*, std::vector<Texts>> cases[] = {
      {kL3, {{"core1"}, {"edge1"}, {"lab two"}, {"odd{\"\\}"}, {"uplink"}}},
      {kOspfv3, {{"1", "0.0.0.1", "l3-core1"}, {"2", "0.0.0.2", "l3-edge1"}}},
      {"/internal/ospf-interface-l3",
       {{"1", "0.0.0.1", "l3-core1", "10.1.1.1"},
        {"2", "0.0.0.0", "l3-uplink", "10.1.4.1"}}},
      {kRoutes,
       {{"0", "enum<1>", "0a010000", "16", "enum<1>", "c0a80101"},
        {"1", "enum<2>", "20010db8000000000000000000000000", "32", "enum<2>",
         "fe800000000000000000000000000001"}}},
      // Addresses with their host bits.
      {"/config/interface/l3{core1}/ipv4/address/secondary",
       {{"10.1.2.1/24"}, {"10.1.3.1/25"}}},
      {"/config/interface/l3{core1}/ipv6/address",
       {{"2001:db8:0:1::1/64"}, {"2001:db8:0:2::1/48"}}},
      // Empty lists.
      {kLoopback, {}},
      {"/config/interface/l3{nobody}/ipv6/address", {}},
      {"/config/interface/ipapp:loopback", {}}};
  for (const auto& [list, entries] : cases) {
    SCOPED_TRACE(list);
    OpenCursor cursor(*seam, list);
    for (const Texts& keys : entries) EXPECT_EQ(cursor.Next(), keys);
    EXPECT_EQ(cursor.Next(), Texts{});
    EXPECT_EQ(cursor.Next(), Texts{});
  }
}

TEST_F(SeamContractTest, ACursorGivesTheKeysOfAStaticRouteInTheirTypes) {
  OpenCursor cursor(*seam, kRoutes);
  ASSERT_EQ(cursor.Next().size(), 6U);
  const confd_vtype types[] = {C_UINT32, C_ENUM_VALUE, C_BINARY,
                               C_INT32,  C_ENUM_VALUE, C_BINARY};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(cursor.key(i).type, types[i]) << i;
}

TEST_F(SeamContractTest, ATextKeyOfACursorIsTerminatedBehindItsSize) {
  OpenCursor cursor(*seam, kL3);
  ASSERT_EQ(cursor.Next(), Texts{"core1"});
  ASSERT_EQ(cursor.key(0).type, C_BUF);
  EXPECT_EQ(cursor.key(0).val.buf.size, 5U);
  EXPECT_EQ(cursor.key(0).val.buf.ptr[5], '\0');
}

TEST_F(SeamContractTest, CursorsAreIndependentAndCanBeDestroyedAnywhere) {
  OpenCursor outer(*seam, kL3);
  EXPECT_EQ(outer.Next(), Texts{"core1"});
  {
    const OpenCursor before_the_first(*seam, kL3);
    OpenCursor inner(*seam, kL3);
    inner.Next();
    EXPECT_EQ(inner.Next(), Texts{"edge1"});
    EXPECT_EQ(Print(outer.key(0)), "core1");
  }
  EXPECT_EQ(outer.Next(), Texts{"edge1"});
}

TEST_F(SeamContractTest, ACursorDoesNotOpenOnABadPath) {
  for (const char* path : {"/config/interface/nosuch", "l3", ""}) {
    maapi_cursor cursor;
    confd_errno = 0;
    EXPECT_EQ(maapi_init_cursor(sock, trans, &cursor, "%s", path), CONFD_ERR);
    EXPECT_EQ(confd_errno, CONFD_ERR_BADPATH) << path;
  }
}

// ---- XPath -----------------------------------------------------------------

TEST_F(SeamContractTest, XpathAnswersAValueAnEmptyTextOrNullForABadContext) {
  const struct {
    const char* name;
    const char* context;
    int result;
    const char* answer;  // null for none
  } cases[] = {{"l3-core1", "/internal", CONFD_OK, "l3-core1"},
               {"l3-nobody", "/internal", CONFD_OK, ""},
               {"l3-core1", "/nosuch", CONFD_ERR, nullptr}};
  for (const auto& [name, context, result, answer] : cases) {
    const std::string expression = "ospfv3-interface-l3[ospfv3-pm-if-name='" +
                                   std::string(name) + "']/ospfv3-pm-if-name";
    confd_errno = 0;
    char* text = nullptr;
    EXPECT_EQ(maapi_xpath_eval_expr(sock, trans, expression.c_str(), &text,
                                    nullptr, "%s", context),
              result);
    EXPECT_STREQ(text, answer);
    std::free(text);
    EXPECT_EQ(confd_errno, result == CONFD_OK ? 0 : CONFD_ERR_BADPATH);
  }
}

// ---- The changes of the transaction ----------------------------------------

std::string OpName(confd_iter_op op) {
  static const std::map<confd_iter_op, std::string> kNames = {
      {MOP_CREATED, "created"},
      {MOP_DELETED, "deleted"},
      {MOP_MODIFIED, "modified"},
      {MOP_VALUE_SET, "set"}};
  const auto found = kNames.find(op);
  return found == kNames.end() ? "unexpected" : found->second;
}

// The path that a key path stands for, written from the root.
std::string PathOf(const confd_hkeypath_t& keypath) {
  std::string path;
  for (int i = keypath.len - 1; i >= 0; --i) {
    const confd_value_t* row = keypath.v[i];
    if (row->type == C_XMLTAG) {
      path += "/" + Print(*row);
      continue;
    }
    path += "{" + Print(*row);
    while ((++row)->type != C_NOEXISTS) path += " " + Print(*row);
    path += "}";
  }
  return path;
}

// Collects what a walk reports, as texts such as "set /a/b 7".
class Recorder {
 public:
  using Answer = std::function<confd_iter_ret(const std::string& report)>;

  explicit Recorder(Answer answer) : answer_(std::move(answer)) {}

  static confd_iter_ret Iterate(confd_hkeypath_t* keypath, confd_iter_op op,
                                confd_value_t* oldv, confd_value_t* newv,
                                void* state) {
    auto* self = static_cast<Recorder*>(state);
    EXPECT_EQ(oldv, nullptr);
    EXPECT_EQ(newv != nullptr, op == MOP_VALUE_SET);
    std::string report = OpName(op) + " " + PathOf(*keypath);
    if (newv != nullptr) report += " " + Print(*newv);
    self->reports_.push_back(report);
    self->keypath_ = *keypath;
    return self->answer_(report);
  }

  const Texts& reports() const { return reports_; }
  const confd_hkeypath_t& last_keypath() const { return keypath_; }

 private:
  Answer answer_;
  Texts reports_;
  confd_hkeypath_t keypath_{};
};

confd_iter_ret AlwaysRecurse(const std::string& /*report*/) {
  return ITER_RECURSE;
}

class DiffTest : public SeamContractTest {
 protected:
  // In the order reported.
  Texts Changes(const std::string& path,
                Recorder::Answer answer = AlwaysRecurse) {
    Recorder recorder(std::move(answer));
    EXPECT_EQ(maapi_keypath_diff_iterate(sock, trans, Recorder::Iterate, 0,
                                         &recorder, "%s", path.c_str()),
              CONFD_OK);
    return recorder.reports();
  }

  // Siblings come in any order.
  Texts SortedChanges(const std::string& path,
                      Recorder::Answer answer = AlwaysRecurse) {
    Texts changes = Changes(path, std::move(answer));
    std::sort(changes.begin(), changes.end());
    return changes;
  }
};

// All changes. A created entry reports its leaves but not its keys, also those
// that only have their default; a deleted one reports nothing below it.
const Texts kChanges = {
    "created /config/interface/l3{core1}/ipv4/address/secondary{10.1.3.1/25}",
    "created /config/interface/l3{edge1}",
    "created /internal/ospfv3-interface-l3{2 0.0.0.2 l3-edge1}",
    "deleted /config/interface/l3{core1}/ipv4/address/secondary{10.1.9.1/24}",
    "deleted /config/interface/l3{uplink}/vrf",
    "deleted /config/interface/l3{zeta}",
    "modified /config/interface/l3{core1}",
    "modified /config/interface/l3{uplink}",
    "modified /config/interface/mgmt{eth0}",
    "set /config/interface/l3{core1}/lower-layer-if/vlan 20",
    "set /config/interface/l3{edge1}/enabled true",
    "set /config/interface/l3{edge1}/lower-layer-if/vlan 30",
    "set /config/interface/l3{edge1}/vrf blue",
    "set /config/interface/l3{uplink}/enabled true",
    "set /config/interface/mgmt{eth0}/ipv4/address/ip 192.0.2.2/24",
    "set /internal/ospfv3-interface-l3{2 0.0.0.2 l3-edge1}/ospfv3-pm-if-name "
    "l3-edge1",
};

// Those at a path and below it.
Texts ChangesAt(const std::string& path) {
  Texts changes;
  for (const std::string& change : kChanges) {
    if (change.find(" " + path) != std::string::npos) changes.push_back(change);
  }
  return changes;
}

TEST_F(DiffTest, ReportsWhatChangedAtThePathAndBelowOnce) {
  const std::string l3 = kL3;
  for (const std::string& path :
       {l3, std::string("/config/interface"), l3 + "{core1}",
        l3 + "{core1}/lower-layer-if", l3 + "{core1}/lower-layer-if/vlan",
        l3 + "{zeta}", l3 + "{\"lab two\"}", std::string(kLoopback),
        std::string("/internal/ospf-interface-l3"), std::string(kOspfv3)}) {
    EXPECT_EQ(SortedChanges(path), ChangesAt(path)) << path;
  }
  EXPECT_EQ(SortedChanges("/config/interface/ipapp:l3{ zeta }"),
            ChangesAt(l3 + "{zeta}"));
  EXPECT_EQ(ChangesAt(l3).size(), 12U);
}

TEST_F(DiffTest, ReportsParentsBeforeChildren) {
  const Texts changes = Changes(kL3);
  const auto at = [&](const std::string& report) {
    return std::find(changes.begin(), changes.end(), report) - changes.begin();
  };
  const std::string l3 = kL3;
  const std::string secondary = l3 + "{core1}/ipv4/address/secondary";
  const std::pair<std::string, std::string> cases[] = {
      {"modified " + l3 + "{core1}",
       "set " + l3 + "{core1}/lower-layer-if/vlan 20"},
      {"modified " + l3 + "{core1}", "created " + secondary + "{10.1.3.1/25}"},
      {"modified " + l3 + "{core1}", "deleted " + secondary + "{10.1.9.1/24}"},
      {"created " + l3 + "{edge1}", "set " + l3 + "{edge1}/vrf blue"},
      {"modified " + l3 + "{uplink}", "deleted " + l3 + "{uplink}/vrf"}};
  for (const auto& [parent, child] : cases) EXPECT_LT(at(parent), at(child));
}

TEST_F(DiffTest, StopsTheWholeWalkWhenToldTo) {
  EXPECT_EQ(Changes(kL3, [](const auto&) { return ITER_STOP; }).size(), 1U);
  // Also from within an entry.
  const auto is_set = [](const std::string& report) {
    return report.rfind("set ", 0) == 0;
  };
  const Texts changes = Changes(kL3, [&](const std::string& report) {
    return is_set(report) ? ITER_STOP : ITER_RECURSE;
  });
  ASSERT_GT(changes.size(), 1U);
  EXPECT_EQ(std::find_if(changes.begin(), changes.end(), is_set),
            changes.end() - 1);
}

TEST_F(DiffTest, SkipsTheChildrenWhenToldToContinue) {
  EXPECT_EQ(SortedChanges(kL3, [](const auto&) { return ITER_CONTINUE; }),
            (Texts{"created /config/interface/l3{edge1}",
                   "deleted /config/interface/l3{zeta}",
                   "modified /config/interface/l3{core1}",
                   "modified /config/interface/l3{uplink}"}));
}

TEST_F(DiffTest, SkipsTheChildrenOfThatNodeOnly) {
  const Texts changes = SortedChanges(kL3, [](const std::string& report) {
    return report == "modified /config/interface/l3{core1}" ? ITER_CONTINUE
                                                            : ITER_RECURSE;
  });
  Texts expected;
  for (const std::string& report : ChangesAt(kL3)) {
    if (report.find("{core1}/") == std::string::npos) {
      expected.push_back(report);
    }
  }
  EXPECT_EQ(changes, expected);
}

TEST_F(DiffTest, RefusesABadPath) {
  Recorder recorder(AlwaysRecurse);
  confd_errno = 0;
  EXPECT_EQ(maapi_keypath_diff_iterate(sock, trans, Recorder::Iterate, 0,
                                       &recorder, "/nosuch"),
            CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADPATH);
  EXPECT_EQ(recorder.reports(), Texts{});
}

// ---- The shape of a key path -----------------------------------------------

class KeyPathShapeTest : public DiffTest {
 protected:
  // Key path of the one change at the path.
  confd_hkeypath_t KeyPathAt(const std::string& path) {
    Recorder recorder([](const auto&) { return ITER_STOP; });
    EXPECT_EQ(maapi_keypath_diff_iterate(sock, trans, Recorder::Iterate, 0,
                                         &recorder, "%s", path.c_str()),
              CONFD_OK);
    EXPECT_EQ(recorder.reports().size(), 1U);
    return recorder.last_keypath();
  }
};

// The texts of the changes show the nodes and the order of the rows.
TEST_F(KeyPathShapeTest, StandsLeafFirstWithARowForTheKeys) {
  using Types = std::vector<confd_vtype>;
  const Types node = {C_XMLTAG};
  const std::pair<std::string, std::vector<Types>> cases[] = {
      {kCoreVlan, {node, node, {C_BUF, C_NOEXISTS}, node, node, node}},
      {"/config/interface/l3{zeta}", {{C_BUF, C_NOEXISTS}, node, node, node}},
      {kOspfv3, {{C_UINT32, C_IPV4, C_BUF, C_NOEXISTS}, node, node}}};
  for (const auto& [path, rows] : cases) {
    const confd_hkeypath_t keypath = KeyPathAt(path);
    ASSERT_EQ(keypath.len, static_cast<int>(rows.size())) << path;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      for (std::size_t j = 0; j < rows[i].size(); ++j) {
        EXPECT_EQ(keypath.v[i][j].type, rows[i][j]) << path;
      }
    }
  }
}

TEST_F(KeyPathShapeTest, NamesNodesByTheNumbersOfTheModel) {
  const struct {
    std::string path;
    int index;
    std::uint32_t tag;
  } cases[] = {
      {kCoreVlan, 3, 0x213f1a7aU},
      {"/config/interface/l3{zeta}", 1, 0x213f1a7aU},
      {"/config/interface/l3{uplink}/vrf", 0, 0x4c5f3e78U},
      {"/config/interface/mgmt{eth0}/ipv4/address/ip", 4, 0x1412343fU}};
  for (const auto& [path, index, tag] : cases) {
    const confd_hkeypath_t keypath = KeyPathAt(path);
    ASSERT_GT(keypath.len, index) << path;
    ASSERT_EQ(keypath.v[index][0].type, C_XMLTAG) << path;
    EXPECT_EQ(keypath.v[index][0].val.xmltag.tag, tag) << path;
  }
}

// ---- CDB -------------------------------------------------------------------

class CdbTest : public SeamContractTest {
 protected:
  HostdInterface* host() {
    return hostd_instance_get(static_cast<hostd_t*>(seam->tctx()->vcb_opaque));
  }

  void ExpectFailure(int socket, const std::string& path, int code) {
    int32_t vlan = 77;
    confd_errno = 0;
    EXPECT_EQ(cdb_get_int32(socket, &vlan, "%s", path.c_str()), CONFD_ERR);
    EXPECT_EQ(confd_errno, code) << path;
    EXPECT_EQ(vlan, 77) << path;
  }
};

TEST_F(CdbTest, SeesTheRunningConfigurationNotTheTransaction) {
  const HostdCdbSessionBase session(host(), CDB_RUNNING, true);
  ASSERT_GE(session.Socket(), 0);
  int32_t vlan = 0;
  EXPECT_EQ(cdb_get_int32(session.Socket(), &vlan, kVlan, "core1"), CONFD_OK);
  EXPECT_EQ(vlan, 10);
  EXPECT_EQ(maapi_get_int32_elem(sock, trans, &vlan, kVlan, "core1"), CONFD_OK);
  EXPECT_EQ(vlan, 20);
  EXPECT_EQ(cdb_get_int32(session.Socket(), &vlan, kVlan, "zeta"), CONFD_OK);
  EXPECT_EQ(vlan, 40);
}

TEST_F(CdbTest, FailsAndLeavesTheOutputAlone) {
  const HostdCdbSessionBase session(host(), CDB_RUNNING, true);
  const std::string l3 = kL3;
  ExpectFailure(session.Socket(), l3 + "{edge1}/lower-layer-if/vlan",
                CONFD_ERR_NOEXISTS);
  ExpectFailure(session.Socket(), l3 + "{uplink}/lower-layer-if/vlan",
                CONFD_ERR_NOEXISTS);
  ExpectFailure(session.Socket(), l3 + "{core1}/vrf", CONFD_ERR_BADTYPE);
  ExpectFailure(session.Socket(), l3 + "{core1}/nosuch", CONFD_ERR_BADPATH);
  ExpectFailure(session.Socket(), "", CONFD_ERR_BADPATH);
}

TEST_F(CdbTest, RefusesABadConversion) {
  const HostdCdbSessionBase session(host(), CDB_RUNNING, true);
  int32_t vlan = 77;
  EXPECT_EQ(
      cdb_get_int32(session.Socket(), &vlan, "/config/interface/l3{%x}", 1),
      CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADPATH);
  EXPECT_EQ(vlan, 77);
}

TEST_F(CdbTest, TakesTheSocketOfAnOpenSessionOnly) {
  int closed = -1;
  {
    const HostdCdbSessionBase session(host(), CDB_RUNNING, true);
    closed = session.Socket();
    ASSERT_GE(closed, 0);
  }
  for (const int socket : {closed, -1, sock}) {
    ExpectFailure(socket, kCoreVlan, CONFD_ERR_NOSESSION);
  }
}

TEST_F(CdbTest, SessionsAreIndependent) {
  const HostdCdbSessionBase first(host(), CDB_RUNNING, true);
  int32_t vlan = 0;
  {
    const HostdCdbSessionBase second(host(), CDB_RUNNING, true);
    EXPECT_NE(first.Socket(), second.Socket());
    EXPECT_EQ(cdb_get_int32(second.Socket(), &vlan, kVlan, "core1"), CONFD_OK);
  }
  EXPECT_EQ(cdb_get_int32(first.Socket(), &vlan, kVlan, "zeta"), CONFD_OK);
  EXPECT_EQ(vlan, 40);
}

TEST_F(CdbTest, ASessionWithoutAHostDoesNotOpen) {
  const HostdCdbSessionBase session(nullptr, CDB_RUNNING, true);
  EXPECT_LT(session.Socket(), 0);
}

// ---- Printing values -------------------------------------------------------

TEST_F(SeamContractTest, PrintingFollowsTheTypeOfTheValue) {
  const std::pair<Value, std::string> cases[] = {
      {Text("core1"), "core1"},
      {Text(""), ""},
      {Text("100%s"), "100%s"},
      {Int32(-1), "-1"},
      {Uint8(255), "255"},
      {Uint16(65535), "65535"},
      {Uint32(4294967295U), "4294967295"},
      {Bool(true), "true"},
      {Bool(false), "false"},
      {Enum(2), "enum<2>"},
      {Octets("0a:FF:00"), "0aff00"},
      {Binary(""), ""},
      {Ipv4("10.0.0.1"), "10.0.0.1"},
      {Ipv6("2001:db8::1"), "2001:db8::1"},
      {Ipv4Plen("10.1.1.1/24"), "10.1.1.1/24"},
      {Ipv6Plen("2001:db8::1/64"), "2001:db8::1/64"},
      {Tag(0x213f1a7a), "l3"},
      {Tag(0xfffffff0), "tag<4294967280>"}};
  for (const auto& [value, expected] : cases) {
    std::array<char, 64> text;
    text.fill('#');
    const confd_value_t raw = value.Borrow();
    EXPECT_EQ(confd_pp_value(text.data(), 64, &raw),
              static_cast<int>(expected.size()));
    EXPECT_EQ(std::string(text.data()), expected);
  }
}

TEST_F(SeamContractTest, PrintingCutsATextAtTheBuffersSize) {
  const Value core1 = Text("core1");
  const confd_value_t value = core1.Borrow();
  const struct {
    int size;
    const char* text;
  } cases[] = {{6, "core1"}, {5, "core"}, {2, "c"}, {1, ""}, {0, "########"}};
  for (const auto& one : cases) {
    std::string text(8, '#');
    EXPECT_EQ(confd_pp_value(text.data(), one.size, &value), 5) << one.size;
    EXPECT_STREQ(text.c_str(), one.text) << one.size;
    EXPECT_EQ(text.at(static_cast<std::size_t>(one.size)), '#') << one.size;
  }
}

// ---- The error text --------------------------------------------------------

TEST_F(SeamContractTest, ATransactionKeepsItsLastErrorText) {
  EXPECT_EQ(seam->error_text(), "");
  confd_trans_seterr(seam->tctx(), "vlan %d of router %u (%s)", -10, 7U,
                     "0.0.0.1");
  EXPECT_EQ(seam->error_text(), "vlan -10 of router 7 (0.0.0.1)");
  confd_trans_seterr(seam->tctx(), "Lib context is null!");
  EXPECT_EQ(seam->error_text(), "Lib context is null!");
  confd_trans_seterr(seam->tctx(), "%s", "l3 100%s has no address");
  EXPECT_EQ(seam->error_text(), "l3 100%s has no address");
  confd_trans_seterr(seam->tctx(), "a first and longer text");
  confd_trans_seterr(seam->tctx(), "second");
  EXPECT_EQ(seam->error_text(), "second");
  const std::string text(5000, 'x');
  confd_trans_seterr(seam->tctx(), "%s.", text.c_str());
  EXPECT_EQ(seam->error_text(), text + ".");
}

// ---- Last error ------------------------------------------------------------

TEST_F(SeamContractTest, TellsWhyTheLastCallFailed) {
  EXPECT_EQ(Exists("/nosuch"), CONFD_ERR);
  ASSERT_NE(confd_lasterr(), nullptr);
  EXPECT_NE(std::string(confd_lasterr()), "");
}

// ---- Services of the host --------------------------------------------------

TEST_F(SeamContractTest, TheHostKnowsTheRegistrationsData) {
  auto* hostd = static_cast<hostd_t*>(seam->tctx()->vcb_opaque);
  EXPECT_EQ(hostd_maapi_socket_get(hostd), sock);
  EXPECT_LT(hostd_maapi_socket_get(nullptr), 0);
  EXPECT_NE(hostd_instance_get(hostd), nullptr);
  EXPECT_EQ(hostd_instance_get(hostd), hostd_instance_get(hostd));
  EXPECT_EQ(hostd_instance_get(nullptr), nullptr);
}

TEST_F(SeamContractTest, TheHostKeepsOneContextPerValidationSet) {
  void* v_opaque = seam->tctx()->v_opaque;
  EXPECT_EQ(get_lib_context(v_opaque, "ip_app_validation"), nullptr);

  int context = 0;
  seam->set_lib_context(&context);
  EXPECT_EQ(get_lib_context(v_opaque, "ip_app_validation"), &context);
  EXPECT_EQ(get_lib_context(v_opaque, "another_validation"), nullptr);
  EXPECT_EQ(get_lib_context(nullptr, "ip_app_validation"), nullptr);
}

void LogDebug(void* handle, const char* format, ...) {
  va_list args;
  va_start(args, format);
  hostmw_vlog_debug(handle, format, args);
  va_end(args);
}

TEST_F(SeamContractTest, TheLogTakesFormattedLines) {
  void* log = get_config_vald_log_handle();
  ASSERT_NE(log, nullptr);
  LogDebug(log, "There is no path for '%s' and %u", "/a%s", 7U);
  LogDebug(log, "plain");
  EXPECT_EQ(seam->debug_lines(),
            (Texts{"There is no path for '/a%s' and 7", "plain"}));
}

TEST_F(SeamContractTest, TheFaultServiceTakesTheMessageAsItIs) {
  hostmw_gen_fault(0, "ReadConfig", "src/lib/config.cc", 475,
                   "Unspecified IPv4 address for key '100%s'");
  EXPECT_EQ(seam->fault_messages(),
            Texts{"Unspecified IPv4 address for key '100%s'"});
}

TEST_F(SeamContractTest, InterfaceIdentifiersFollowTheVlan) {
  limid_t limid = 0;
  EXPECT_EQ(limid_l3_vlan_from_components(&limid, 10), 0);
  EXPECT_EQ(limid, 0x0100000AU);
  std::uint32_t ifindex = 0;
  EXPECT_EQ(limid_to_ifindex(limid, &ifindex), 0);
  EXPECT_EQ(ifindex, 1010U);
  // Without a VLAN there is none.
  EXPECT_EQ(limid_l3_vlan_from_components(&limid, 0), 0);
  EXPECT_EQ(limid, 0U);
}

TEST_F(SeamContractTest, TheIndexOfAVrfIsItsIdentifier) {
  EXPECT_EQ(IdVrfFromComponent(0), 0U);
  EXPECT_EQ(IdVrfFromComponent(7), 7U);
  EXPECT_EQ(IdVrfFromComponent(4294967295U), 4294967295U);
}

}  // namespace
}  // namespace ipav::testing
