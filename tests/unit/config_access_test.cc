// The reads that every reader is made of: what an element that is missing,
// unreadable or of another type turns into, and which calls it takes.

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "include/config.h"
#include "tests/support/addresses.h"
#include "tests/support/builders.h"
#include "tests/support/death_text.h"
#include "tests/support/plugin_test.h"
#include "tests/unit/families.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::ConfigAddrFamily;
using ip_application::config_valid::GenericConfig;
using Keys = std::list<std::string>;
using KeyRows = std::list<std::vector<std::string>>;
using Texts = std::vector<std::string>;

constexpr char kLeaf[] = "/config/interface/ipapp:mgmt/leaf";
constexpr char kVrfOfIdPath[] =
    "/vorplex-internal:internal/vorplex-internal:vrf-config/indexTOstring{7}/"
    "vname";

// What a read answers that failed, the last one when the daemon is gone.
constexpr int kFailedReads[] = {CONFD_ERR, CONFD_EOF};

// Opens the reads to the tests.
class Access : public GenericConfig {
 public:
  using GenericConfig::get_hex_from_bin;
  using GenericConfig::get_intf_ipv4_addr_mask_list;
  using GenericConfig::get_intf_ipv6_addr_mask_list;
  using GenericConfig::get_intf_lim_id;
  using GenericConfig::get_ipv4_addr;
  using GenericConfig::get_ipv4_addr_mask;
  using GenericConfig::get_ipv6_addr;
  using GenericConfig::get_ipv6_addr_mask;
  using GenericConfig::get_key_list;
  using GenericConfig::get_vrf_name;
  using GenericConfig::get_vrf_name_from_id;

 private:
  void ReadConfig(ConfigAddrFamily /*family*/) override {}
};

class ConfigAccessTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    GTEST_FLAG_SET(death_test_style, "fast");
    access.set_sock(FakePlatform::kSocket);
    access.set_confd_trans(fake.tctx());
  }

  void ExpectCalls(const Texts& calls) { EXPECT_EQ(fake.CallTexts(), calls); }

  std::string HexOf(const Value& value) {
    return access.get_hex_from_bin(value.Borrow());
  }
  std::string VrfOf(const Value& value) {
    return access.get_vrf_name_from_id(value.Borrow());
  }
  Access access;
};

// ---- One element ------------------------------------------------------------

// The read of one element: the calls that it takes, and what it makes of the
// element, of none, and of one that cannot be read.
struct LeafCase {
  std::string name;
  std::string path;
  std::function<void(FakePlatform&)> store;
  std::function<std::string(const Access&)> read;  // as a text
  std::string some;
  std::string none;
  std::string unreadable;
  Texts before;  // the calls before the element is asked for
  std::string get;
  Texts after;     // those that follow a read,
  bool has_value;  // which is of a value to be given back
};

// A table, however long.
// NOLINTNEXTLINE(readability-function-size)
std::vector<LeafCase> LeafCases() {
  const auto stored = [](const Value& value) {
    return [value](FakePlatform& platform) { platform.SetValue(kLeaf, value); };
  };
  return {{"Ipv4Address",
           kLeaf,
           stored(Ipv4Plen("10.1.2.3/24")),
           [](const Access& reads) {
             return reads.get_ipv4_addr_mask(kLeaf).to_string();
           },
           "10.1.2.3/24",
           "0.0.0.0/0",
           "0.0.0.0/0",
           {},
           "maapi_get_ipv4_and_plen_elem",
           {},
           false},
          {"Ipv6Address",
           kLeaf,
           stored(Ipv6Plen("2001:db8::1/128")),
           [](const Access& reads) {
             return reads.get_ipv6_addr_mask(kLeaf).to_string();
           },
           "2001:db8::1/128",
           "::/0",
           "::/0",
           {},
           "maapi_get_ipv6_and_plen_elem",
           {},
           false},
          {"Identifier",
           kLeaf,
           stored(Int32(100)),
           [](const Access& reads) {
             return std::to_string(reads.get_intf_lim_id(kLeaf));
           },
           std::to_string(0x01000064U),
           "0",
           "0",
           {},
           "maapi_get_elem",
           {"limid_l3_vlan_from_components(100)", "confd_free_value(100)"},
           true},
          {"VrfName",
           kLeaf,
           stored(Text("red")),
           [](const Access& reads) { return reads.get_vrf_name(kLeaf); },
           "red",
           "global",
           "",  // not "global": the interface has a VRF
           {},
           "maapi_get_elem",
           {"confd_free_value(red)"},
           true},
          {"VrfNameOfAnIdentifier",
           kVrfOfIdPath,
           [](FakePlatform& platform) { StoreVrfName(platform, 7, "red"); },
           [](const Access& reads) {
             return reads.get_vrf_name_from_id(Uint32(7).Borrow());
           },
           "red",
           "global",
           "global",
           {"IdVrfFromComponent(7)"},
           "maapi_get_elem",
           {"confd_free_value(red)"},
           true}};
}

class LeafTest : public ConfigAccessTest,
                 public ::testing::WithParamInterface<LeafCase> {
 protected:
  // The calls of the read up to the question whether the element exists.
  static Texts Question() {
    Texts calls = GetParam().before;
    calls.push_back("maapi_exists(" + GetParam().path + ")");
    return calls;
  }
  static Texts Read(const Texts& after) {
    Texts calls = Question();
    calls.push_back(GetParam().get + "(" + GetParam().path + ")");
    calls.insert(calls.end(), after.begin(), after.end());
    return calls;
  }
  std::string ReadText() { return GetParam().read(access); }
};

TEST_P(LeafTest, IsReadWhereItExists) {
  GetParam().store(fake);
  EXPECT_EQ(ReadText(), GetParam().some);
  ExpectCalls(Read(GetParam().after));
}

TEST_P(LeafTest, IsTheDefaultWhereItIsMissing) {
  EXPECT_EQ(ReadText(), GetParam().none);
  ExpectCalls(Question());
}

TEST_P(LeafTest, ExistsWhenTheAnswerIsOneOnly) {
  GetParam().store(fake);
  for (const int answer : {2, CONFD_ERR, CONFD_EOF}) {
    fake.ForgetCalls();
    fake.FailCall(static_cast<unsigned>(Question().size()), answer);
    EXPECT_EQ(ReadText(), GetParam().none) << answer;
    ExpectCalls(Question());
  }
}

// The value is given back also when the read of it failed.
TEST_P(LeafTest, IsReadWhenTheAnswerIsZeroOnly) {
  GetParam().store(fake);
  for (const int answer : kFailedReads) {
    fake.ForgetCalls();
    fake.FailCall(static_cast<unsigned>(Question().size() + 1), answer);
    EXPECT_EQ(ReadText(), GetParam().unreadable) << answer;
    ExpectCalls(
        Read(GetParam().has_value ? Texts{"confd_free_value()"} : Texts{}));
  }
}

INSTANTIATE_TEST_SUITE_P(Leaves, LeafTest, ::testing::ValuesIn(LeafCases()),
                         [](const auto& leaf) { return leaf.param.name; });

TEST_F(ConfigAccessTest, AnAddressOfTheOtherFamilyIsTheDefault) {
  fake.SetValue("/a", Ipv4Plen("10.1.2.3/24"));
  fake.SetValue("/b", Ipv6Plen("2001:db8::1/64"));
  EXPECT_EQ(access.get_ipv4_addr_mask("/b"), Mask4("0.0.0.0/0"));
  EXPECT_EQ(access.get_ipv6_addr_mask("/a"), Mask6("::/0"));
}

TEST_F(ConfigAccessTest, PassesOnANegativeVlanAsItIs) {
  fake.SetValue(kLeaf, Int32(-1));
  static_cast<void>(access.get_intf_lim_id(kLeaf));  // the service's answer
  ASSERT_GE(fake.calls().size(), 3U);
  EXPECT_EQ(fake.calls()[2].text(), "limid_l3_vlan_from_components(-1)");
}

TEST_F(ConfigAccessTest, AFailingIdentifierServiceGivesZero) {
  fake.SetValue(kLeaf, Int32(100));
  fake.FailCall(3);
  EXPECT_EQ(access.get_intf_lim_id(kLeaf), 0U);
}

TEST_F(ConfigAccessTest, AVrfNameEndsAtItsFirstNulAndCanBeEmptyOrLong) {
  const std::pair<std::string, std::string> names[] = {
      {std::string("red\0blue", 8), "red"},
      {"", ""},
      {std::string(1000, 'v'), std::string(1000, 'v')}};
  for (const auto& [stored, name] : names) {
    fake.SetValue(kLeaf, Text(stored));
    EXPECT_EQ(access.get_vrf_name(kLeaf), name);
    StoreVrfName(fake, 1, stored);
    EXPECT_EQ(VrfOf(Uint32(1)), name);
  }
}

TEST_F(ConfigAccessTest, StopsForALeafOfAnotherType) {
  const std::string in_class = "ip_application::config_valid::GenericConfig::";
  const struct {
    std::vector<Value> wrong;
    std::function<void()> read;
    Assertion assertion;
  } cases[] = {{{Uint32(100), Uint16(100), Text("100")},
                [&] { static_cast<void>(access.get_intf_lim_id(kLeaf)); },
                {"src/lib/config.cc", "264",
                 "limid_t " + in_class + "get_intf_lim_id(const string&) const",
                 "(&confd_if_index)->type == C_INT32"}},
               {{Int32(1), Binary("red")},
                [&] { static_cast<void>(access.get_vrf_name(kLeaf)); },
                {"src/lib/config.cc", "282",
                 "std::__cxx11::string " + in_class +
                     "get_vrf_name(const string&) const",
                 "(&l3_vrf_name)->type == C_BUF"}}};
  for (const auto& [wrong, read, assertion] : cases) {
    for (const Value& value : wrong) {
      fake.SetValue(kLeaf, value);
      EXPECT_EXIT(read(), ::testing::KilledBySignal(SIGABRT),
                  ReportOf(assertion));
    }
  }
}

// ---- The keys of a list -----------------------------------------------------

TEST_F(ConfigAccessTest, ListsFirstKeysInTheOrderOfTheDatabase) {
  fake.AddEntry("/list", {Text("b"), Int32(1)});
  fake.AddEntry("/list", {Text("a"), Int32(2)});
  fake.AddEntry("/list", {Text("b"), Int32(3)});
  EXPECT_EQ(access.get_key_list("/list"), (Keys{"b", "a", "b"}));
  ExpectCalls({"maapi_exists(/list)", "maapi_init_cursor(/list)",
               "maapi_get_next(/list)", "confd_pp_value(b)",
               "maapi_get_next(/list)", "confd_pp_value(a)",
               "maapi_get_next(/list)", "confd_pp_value(b)",
               "maapi_get_next(/list)", "maapi_destroy_cursor(/list)"});
}

TEST_F(ConfigAccessTest, ListsAsManyKeysOfAnEntryAsItIsAskedFor) {
  fake.AddEntry("/list", {Text("b"), Int32(-1), Ipv4("10.0.0.1")});
  fake.AddEntry("/list", {Text("a"), Int32(2), Ipv4("10.0.0.2")});
  EXPECT_EQ(access.get_key_list("/list", 2),
            (KeyRows{{"b", "-1"}, {"a", "2"}}));
  ExpectCalls({"maapi_exists(/list)", "maapi_init_cursor(/list)",
               "maapi_get_next(/list)", "confd_pp_value(b)",
               "confd_pp_value(-1)", "maapi_get_next(/list)",
               "confd_pp_value(a)", "confd_pp_value(2)",
               "maapi_get_next(/list)", "maapi_destroy_cursor(/list)"});
  EXPECT_EQ(access.get_key_list("/list", 3),
            (KeyRows{{"b", "-1", "10.0.0.1"}, {"a", "2", "10.0.0.2"}}));
  EXPECT_EQ(access.get_key_list("/list", 1), (KeyRows{{"b"}, {"a"}}));
  EXPECT_EQ(access.get_key_list("/list", 0), (KeyRows{{}, {}}));
}

TEST_F(ConfigAccessTest, PrintsAKeyOfAnyType) {
  fake.AddEntry("/list", {Uint32(4294967295U), Ipv6("2001:db8::1"),
                          Ipv4Plen("10.1.1.1/24"), Ipv6Plen("fe80::1/10")});
  EXPECT_EQ(access.get_key_list("/list"), Keys{"4294967295"});
  EXPECT_EQ(
      access.get_key_list("/list", 4),
      (KeyRows{{"4294967295", "2001:db8::1", "10.1.1.1/24", "fe80::1/10"}}));
}

// Each way to list keys.
constexpr unsigned kFirstOnly = 0;
class KeyListTest : public ConfigAccessTest,
                    public ::testing::WithParamInterface<unsigned> {
 protected:
  std::size_t CountKeys() {
    return GetParam() == kFirstOnly
               ? access.get_key_list("/list").size()
               : access.get_key_list("/list", GetParam()).size();
  }
};

TEST_P(KeyListTest, ExistsWhenTheAnswerIsOneOnly) {
  EXPECT_EQ(CountKeys(), 0U);
  ExpectCalls({"maapi_exists(/list)"});
  fake.AddEntry("/list", {Text("a"), Text("b")});
  EXPECT_EQ(CountKeys(), 1U);
  for (const int answer : {2, CONFD_ERR, CONFD_EOF}) {
    fake.ForgetCalls();
    fake.FailCall(1, answer);
    EXPECT_EQ(CountKeys(), 0U) << answer;
    ExpectCalls({"maapi_exists(/list)"});
  }
}

TEST_P(KeyListTest, WithoutEntriesGivesItsCursorBack) {
  fake.SetContainer("/list");
  EXPECT_EQ(CountKeys(), 0U);
  ExpectCalls({"maapi_exists(/list)", "maapi_init_cursor(/list)",
               "maapi_get_next(/list)", "maapi_destroy_cursor(/list)"});
}

TEST_P(KeyListTest, HasNoKeysWhereTheCursorCannotBeOpened) {
  fake.AddEntry("/list", {Text("a"), Text("b")});
  fake.FailCall(2);
  EXPECT_EQ(CountKeys(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Keys, KeyListTest, ::testing::Values(kFirstOnly, 2U));

// Nobody looks at the result of the advance: the walk ends as no key is there.
TEST_F(ConfigAccessTest, ACursorThatCannotAdvanceEndsTheWalk) {
  fake.AddEntry("/list", {Text("a")});
  fake.AddEntry("/list", {Text("b")});
  fake.FailCall(5);
  EXPECT_EQ(access.get_key_list("/list"), Keys{"a"});
  EXPECT_EQ(fake.CallTexts().back(), "maapi_destroy_cursor(/list)");
}

TEST_F(ConfigAccessTest, CutsAKeyThatIsLongerThan255Characters) {
  const std::string long_key = std::string(255, 'k') + "x";
  const std::string longer_key = std::string(255, 'm') + std::string(45, 'x');
  fake.AddEntry("/list", {Text(std::string(255, 'f')), Text("1")});
  fake.AddEntry("/list", {Text(long_key), Text(longer_key)});
  fake.AddEntry("/list", {Text("a"), Text("b")});
  EXPECT_EQ(access.get_key_list("/list"),
            (Keys{std::string(255, 'f'), std::string(255, 'k'), "a"}));
  EXPECT_EQ(access.get_key_list("/list", 2),
            (KeyRows{{std::string(255, 'f'), "1"},
                     {std::string(255, 'k'), std::string(255, 'm')},
                     {"a", "b"}}));
}

// ---- Addresses of either family ---------------------------------------------

template <typename Family>
class AddressReadTest : public ConfigAccessTest {
 protected:
  using Addr = typename Family::Addr;
  using Mask = typename Family::Mask;
  static constexpr bool kIsIpv4 = std::is_same_v<Family, Ipv4Family>;
  static constexpr std::size_t kSize = kIsIpv4 ? 4 : 16;

  // 10.1.2.<host> or 2001:db8::<host>.
  static std::string Text(int host) {
    return (kIsIpv4 ? "10.1.2." : "2001:db8::") + std::to_string(host);
  }
  static std::string Prefix(int host) { return Text(host) + "/32"; }
  static Value Octets(int host) { return OctetsOf(Text(host)); }

  std::list<Mask> List() {
    if constexpr (kIsIpv4) return access.get_intf_ipv4_addr_mask_list("/list");
    if constexpr (!kIsIpv4) return access.get_intf_ipv6_addr_mask_list("/list");
  }
  Addr AddrOf(const Value& value) {
    if constexpr (kIsIpv4) return access.get_ipv4_addr(value.Borrow());
    if constexpr (!kIsIpv4) return access.get_ipv6_addr(value.Borrow());
  }
  Mask MaskOf(const Value& address, const Value& length) {
    const confd_value_t a = address.Borrow();
    const confd_value_t l = length.Borrow();
    if constexpr (kIsIpv4) return access.get_ipv4_addr_mask(a, l);
    if constexpr (!kIsIpv4) return access.get_ipv6_addr_mask(a, l);
  }

  static std::string FaultText(const std::string& key) {
    return std::string("Unspecified ") + Family::kName + " address for key '" +
           key + "'";
  }
  void ExpectFault(const std::string& key) {
    ExpectOneFault(kIsIpv4 ? "get_intf_ipv4_addr_mask_list"
                           : "get_intf_ipv6_addr_mask_list",
                   kIsIpv4 ? 133 : 208, FaultText(key));
  }
};
TYPED_TEST_SUITE(AddressReadTest, BothFamilies, FamilyNames);

TYPED_TEST(AddressReadTest, ReadsTheAddressOfEachEntry) {
  for (const int host : {2, 1}) {
    const Value address = TypeParam::Stored(this->Prefix(host));
    this->fake.AddEntry("/list", {address});
    this->fake.SetValue("/list{" + this->Prefix(host) + "}/ip", address);
  }
  const std::string two = this->Prefix(2);
  const std::string one = this->Prefix(1);
  EXPECT_EQ(this->List(), (std::list<typename TypeParam::Mask>{
                              TypeParam::MaskOf(two), TypeParam::MaskOf(one)}));
  const std::string get = this->kIsIpv4 ? "maapi_get_ipv4_and_plen_elem"
                                        : "maapi_get_ipv6_and_plen_elem";
  this->ExpectCalls(
      {"maapi_exists(/list)", "maapi_init_cursor(/list)",
       "maapi_get_next(/list)", "confd_pp_value(" + two + ")",
       "maapi_get_next(/list)", "confd_pp_value(" + one + ")",
       "maapi_get_next(/list)", "maapi_destroy_cursor(/list)",
       "maapi_exists(/list{" + two + "}/ip)", get + "(/list{" + two + "}/ip)",
       "maapi_exists(/list{" + one + "}/ip)", get + "(/list{" + one + "}/ip)"});
  EXPECT_TRUE(this->fake.faults().empty());
}

TYPED_TEST(AddressReadTest, AnAbsentListHasNoAddresses) {
  EXPECT_TRUE(this->List().empty());
  this->ExpectCalls({"maapi_exists(/list)"});
}

TYPED_TEST(AddressReadTest, ReportsAnEntryWithoutAddressAndGoesOn) {
  this->fake.AddEntry("/list", {::ipav::testing::Text("none")});
  this->fake.AddEntry("/list", {::ipav::testing::Text("some")});
  this->fake.SetValue("/list{some}/ip", TypeParam::Stored(this->Prefix(1)));
  EXPECT_EQ(this->List().size(), 1U);
  this->ExpectFault("none");
}

TYPED_TEST(AddressReadTest, ReportsAnAddressThatIsThereAndUnspecified) {
  const std::string key = std::string(TypeParam::kUnspecified) + "/8";
  this->fake.AddEntry("/list", {TypeParam::Stored(key)});
  this->fake.SetValue("/list{" + key + "}/ip", TypeParam::Stored(key));
  EXPECT_TRUE(this->List().empty());
  this->ExpectFault(key);
}

TYPED_TEST(AddressReadTest, ReportsEachAddressThatIsMissingOrUnreadable) {
  this->fake.AddEntry("/list", {::ipav::testing::Text("b")});
  this->fake.AddEntry("/list", {::ipav::testing::Text("a")});
  this->fake.FailReads("/list{a}/ip");
  EXPECT_TRUE(this->List().empty());
  ASSERT_EQ(this->fake.faults().size(), 2U);
  EXPECT_EQ(this->fake.faults()[0].message, this->FaultText("b"));
  EXPECT_EQ(this->fake.faults()[1].message, this->FaultText("a"));
}

// The report's buffer has room for 349 characters. No key reaches it: a key of
// a list has 255 at the most, and the text around it 35. The entry of a longer
// key is looked for under the key as it was cut.
TYPED_TEST(AddressReadTest, ReportsALongKeyAsItWasCut) {
  const std::string key(300, 'k');
  this->fake.AddEntry("/list", {::ipav::testing::Text(key)});
  this->fake.SetValue("/list{" + key + "}/ip",
                      TypeParam::Stored(this->Prefix(1)));
  EXPECT_TRUE(this->List().empty());
  this->ExpectFault(std::string(255, 'k'));
}

TYPED_TEST(AddressReadTest, ReportsAKeyThatLooksLikeAFormat) {
  this->fake.AddEntry("/list", {::ipav::testing::Text("%s%n%d")});
  EXPECT_TRUE(this->List().empty());
  this->ExpectFault("%s%n%d");
}

TYPED_TEST(AddressReadTest, TakesAsManyOctetsAsAnAddressHas) {
  EXPECT_EQ(this->AddrOf(this->Octets(3)), TypeParam::AddrOf(this->Text(3)));
  EXPECT_TRUE(this->AddrOf(OctetsOf(TypeParam::kUnspecified)).is_unspecified());
  EXPECT_EQ(this->AddrOf(Binary(std::string(300, '\x01'))),
            this->AddrOf(Binary(std::string(this->kSize, '\x01'))));
  EXPECT_TRUE(this->fake.calls().empty());
}

TYPED_TEST(AddressReadTest, OctetsThatAreMissingAreZero) {
  for (std::size_t size = 0; size < this->kSize; ++size) {
    const std::string some(size, '\x0a');
    const std::string zeros(this->kSize - size, '\0');
    EXPECT_EQ(this->AddrOf(Binary(some)), this->AddrOf(Binary(some + zeros)))
        << size;
  }
}

TYPED_TEST(AddressReadTest, AnyOtherTypeIsTheUnspecifiedAddress) {
  const Value others[] = {::ipav::testing::Text("abcdefghabcdefgh"),
                          Ipv4("10.1.2.3"),
                          Ipv4Plen("10.1.2.3/24"),
                          Ipv6("2001:db8::1"),
                          Ipv6Plen("2001:db8::1/64"),
                          Uint32(1),
                          Nothing()};
  for (const Value& other : others) {
    EXPECT_TRUE(this->AddrOf(other).is_unspecified()) << other.type();
    EXPECT_EQ(this->MaskOf(other, Int32(24)), typename TypeParam::Mask())
        << other.type();
  }
}

// That a prefix length is a C_INT32 is asserted behind the test for the same:
// there is no value for which that assertion fails.
TYPED_TEST(AddressReadTest, MakesAPrefixOfAnAddressAndAnyLength) {
  for (const std::int32_t length :
       {-2147483647 - 1, -1, 0, 24, 33, 129, 256, 2147483647}) {
    const auto mask = this->MaskOf(this->Octets(3), Int32(length));
    EXPECT_EQ(mask.addr(), TypeParam::AddrOf(this->Text(3)));
    EXPECT_EQ(mask.prefix_len(), length);
  }
  EXPECT_TRUE(this->fake.calls().empty());
}

TYPED_TEST(AddressReadTest, WithoutAnInt32LengthThePrefixIsTheDefault) {
  const Value others[] = {Uint32(24), Uint8(24), ::ipav::testing::Text("24"),
                          Nothing()};
  for (const Value& other : others) {
    EXPECT_EQ(this->MaskOf(this->Octets(3), other), typename TypeParam::Mask())
        << other.type();
  }
}

TEST_F(ConfigAccessTest, OctetsAreInNetworkOrder) {
  EXPECT_EQ(access.get_ipv4_addr(Octets("0a:01:02:03").Borrow()).to_uint32(),
            0x0a010203U);
  EXPECT_EQ(access
                .get_ipv6_addr(
                    Octets("20:01:0d:b8:00:01:00:02:00:03:00:04:00:05:00:06")
                        .Borrow())
                .to_string(),
            "2001:db8:1:2:3:4:5:6");
}

// ---- How paths are passed ---------------------------------------------------

TEST_F(ConfigAccessTest, PassesEveryPathAsTheArgumentOfAFormat) {
  fake.AddEntry("/50", {Text("%d")});
  const std::string entry = "/50{%d}/";
  fake.SetValue(entry + "ipv4", Ipv4Plen("10.1.2.3/24"));
  fake.SetValue(entry + "ipv6", Ipv6Plen("2001:db8::1/64"));
  fake.SetValue(entry + "vlan", Int32(100));
  fake.SetValue(entry + "vrf", Text("red"));
  fake.AddEntry(entry + "list", {Text("%u")});
  fake.SetValue(entry + "list{%u}/ip", Ipv4Plen("10.1.2.4/24"));
  EXPECT_EQ(access.get_ipv4_addr_mask(entry + "ipv4"), Mask4("10.1.2.3/24"));
  EXPECT_EQ(access.get_ipv6_addr_mask(entry + "ipv6"), Mask6("2001:db8::1/64"));
  EXPECT_EQ(access.get_intf_lim_id(entry + "vlan"), 0x01000064U);
  EXPECT_EQ(access.get_vrf_name(entry + "vrf"), "red");
  EXPECT_EQ(access.get_key_list(entry + "list"), Keys{"%u"});
  EXPECT_EQ(access.get_key_list(entry + "list", 1), KeyRows{{"%u"}});
  EXPECT_EQ(access.get_intf_ipv4_addr_mask_list(entry + "list"),
            std::list<nettypes::IPv4AddrMask>{Mask4("10.1.2.4/24")});
  for (const Call& call : fake.calls()) {
    if (call.format.empty()) continue;
    EXPECT_EQ(call.format, "%s") << call.text();
  }
}

// ---- The name of a VRF by its identifier ------------------------------------

TEST_F(ConfigAccessTest, FindsTheNameOfAVrfByItsIndex) {
  fake.SetVrfIndex(7, 4000000000U);
  StoreVrfName(fake, 4000000000U, "red");
  StoreVrfName(fake, 7, "blue");
  EXPECT_EQ(VrfOf(Uint32(7)), "red");
  const std::string path =
      "/vorplex-internal:internal/vorplex-internal:vrf-config/"
      "indexTOstring{4000000000}/vname";
  ExpectCalls({"IdVrfFromComponent(7)", "maapi_exists(" + path + ")",
               "maapi_get_elem(" + path + ")", "confd_free_value(red)"});
  EXPECT_EQ(fake.calls()[1].format, path);
}

TEST_F(ConfigAccessTest, AVrfIdentifierOfAnotherTypeIsGlobalWithoutAnyCall) {
  StoreVrfName(fake, 7, "red");
  const Value others[] = {Int32(7), Uint16(7), Text("7"), Octets("07"),
                          Nothing()};
  for (const Value& other : others) {
    EXPECT_EQ(VrfOf(other), "global") << other.type();
  }
  ExpectCalls({});
}

TEST_F(ConfigAccessTest, StopsForANameOfAVrfThatIsNoText) {
  const std::string report = ReportOf(
      {"src/lib/config.cc", "303",
       "std::__cxx11::string ip_application::config_valid::GenericConfig::"
       "get_vrf_name_from_id(const confd_value_t&) const",
       "(&vrf)->type == C_BUF"});
  StoreVrfName(fake, 7, "red");
  fake.SetValue("/internal/vrf-config/indexTOstring{7}/vname", Int32(1));
  EXPECT_EXIT(VrfOf(Uint32(7)), ::testing::KilledBySignal(SIGABRT), report);
}

// ---- Octets as text ---------------------------------------------------------

// The first octet is printed without a look at the length; behind no octets at
// all stands the NUL that ends them.
TEST_F(ConfigAccessTest, PrintsOctetsAsPairsOfLowerCaseDigits) {
  for (const char* text : {"0a:ff", "0a:01:00:00", "00", "07", "ff"}) {
    EXPECT_EQ(HexOf(Octets(text)), text);
  }
  EXPECT_EQ(HexOf(OctetsOf("2001:db8::ABCD")),
            "20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:ab:cd");
  EXPECT_EQ(HexOf(Binary("")), "00");
  EXPECT_TRUE(fake.calls().empty());
}

TEST_F(ConfigAccessTest, PrintsEveryOctetAsTwoDigits) {
  std::string all;
  for (int octet = 0; octet < 256; ++octet) {
    all += static_cast<char>(static_cast<unsigned char>(octet));
  }
  const std::string text = HexOf(Binary(all));
  ASSERT_EQ(text.size(), 256U * 3 - 1);
  for (std::size_t octet = 0; octet < 256; ++octet) {
    const std::string pair = text.substr(octet * 3, 2);
    EXPECT_EQ(std::stoul(pair, nullptr, 16), octet);
    EXPECT_EQ(pair.find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_EQ(text.substr(octet * 3 + 2, 1), octet == 255 ? "" : ":");
  }
}

TEST_F(ConfigAccessTest, PrintsAnyOtherTypeAsTheEmptyText) {
  const Value others[] = {Text("abc"), Ipv4("10.1.2.3"), Uint32(10), Int32(10),
                          Nothing()};
  for (const Value& other : others) {
    EXPECT_EQ(HexOf(other), "") << other.type();
  }
}

}  // namespace
}  // namespace ipav::testing
