// The reader of the OSPFv2 interface assignments: its records, its calls and
// the rows that it cannot read.

#include <gtest/gtest.h>

#include <boost/system/system_error.hpp>
#include <cstdint>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "include/config.h"
#include "include/validate_logger.h"
#include "tests/support/addresses.h"
#include "tests/support/builders.h"
#include "tests/support/plugin_test.h"

namespace ipav::testing {
namespace {

using ip_application::config_valid::ConfigAddrFamily;
using ip_application::config_valid::GenericConfig;
using ip_application::config_valid::OspfIf;
using ip_application::config_valid::Ospfv2Config;
using ip_application::config_valid::ValidateLogger;
using nettypes::IPv4AddrMask;

using Masks = std::list<IPv4AddrMask>;
using Texts = std::vector<std::string>;

constexpr auto kIpv4 = ConfigAddrFamily::kIpv4;
constexpr auto kIpv6 = ConfigAddrFamily::kIpv6;

constexpr char kTable[] = "/internal/ospf-interface-l3";
constexpr std::uint32_t kLargest = 4294967295U;

static_assert(std::is_base_of_v<GenericConfig, Ospfv2Config>);
static_assert(std::has_virtual_destructor_v<OspfIf>);

// Places in a row of the table.
enum : std::size_t { kCompoundId, kArea, kInterface, kAddress };

OspfIf Record(std::uint32_t process_id, const std::string& vrf,
              const std::string& area, const std::string& interface,
              const Texts& addresses) {
  Masks masks;
  for (const std::string& address : addresses) masks.push_back(Mask4(address));
  return OspfIf(process_id, vrf, Addr4(area), interface, masks);
}

// The interface, its process with VRF and area, and its addresses.
std::string TextOf(const OspfIf& record) {
  std::string text = record.intf_name() + ": " +
                     std::to_string(record.process_id()) + " '" +
                     record.vrf_name() + "' " + record.area().to_string();
  for (const IPv4AddrMask& mask : record.addresses()) {
    text += ", " + mask.to_string();
  }
  return text;
}

Texts TextsOf(const Ospfv2Config& reader) {
  Texts texts;
  for (const auto& record : reader.interfaces()) {
    texts.push_back(TextOf(*record));
  }
  return texts;
}

class Ospfv2ConfigTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    // The first line of a process asks for the log, and only that one.
    ValidateLogger::instance();
    fake.ForgetCalls();
    Bind(reader);
  }

  void Bind(Ospfv2Config& config) {
    config.set_sock(FakePlatform::kSocket);
    config.set_confd_trans(fake.tctx());
  }

  void Store(const Texts& rows) {
    for (const std::string& row : rows) OspfRowFrom(row).StoreIn(fake);
  }

  void StoreProcesses(const Texts& processes = {"7 10 global"}) {
    for (const std::string& one : processes) OspfProcessFrom(one).StoreIn(fake);
  }

  // The default row, of which one key is another text.
  void StoreWith(std::size_t index, const std::string& key) {
    auto keys = OspfRow().keys();
    keys.at(index) = Text(key);
    fake.AddEntry(kTable, std::move(keys));
  }

  Texts Read() {
    reader.ReadConfigIfNeeded(kIpv4);
    return TextsOf(reader);
  }

  // What an exception of that type says.
  template <typename Exception>
  std::string WhatReadThrows() {
    try {
      reader.ReadConfigIfNeeded(kIpv4);
    } catch (const Exception& exception) {
      return exception.what();
    }
    return "(nothing is thrown)";
  }

  Texts LogTexts() {
    Texts texts;
    for (const LogLine& line : fake.log_lines()) texts.push_back(line.text);
    return texts;
  }

  Ospfv2Config reader;
};

// ---- A new reader -----------------------------------------------------------

// ---- What is read -----------------------------------------------------------

TEST_F(Ospfv2ConfigTest, ARowBecomesARecordOfAllItsFields) {
  Store({"7 l3-core1 10.1.1.1/24"});
  StoreProcesses();
  ASSERT_EQ(Read().size(), 1U);
  const OspfIf& record = *reader.interfaces().front();
  EXPECT_EQ(record.process_id(), 10U);
  EXPECT_EQ(record.vrf_name(), "global");
  EXPECT_EQ(record.area(), Addr4("0.0.0.1"));
  EXPECT_EQ(record.intf_name(), "l3 core1");
  EXPECT_EQ(record.addresses(), Masks{Mask4("10.1.1.1/24")});
  EXPECT_EQ(LogTexts(), Texts{});
}

// The octets are all different, so that none can stand in another's place.
TEST_F(Ospfv2ConfigTest, AreaAndAddressKeepTheOrderOfTheirOctets) {
  Store({"7 l3-1 10.20.30.40/30 1.2.3.4"});
  StoreProcesses();
  ASSERT_EQ(Read().size(), 1U);
  const OspfIf& record = *reader.interfaces().front();
  EXPECT_EQ(record.area().to_uint32(), 0x01020304U);
  EXPECT_EQ(record.addresses(), Masks{IPv4AddrMask(0x0a141e28, 30)});
}

TEST_F(Ospfv2ConfigTest, ATableThatIsMissingOrCannotBeReadHasNoRecords) {
  EXPECT_EQ(Read(), Texts{});
  EXPECT_TRUE(reader.ipv4_read());
  EXPECT_EQ(fake.CallTexts(),
            Texts{"maapi_exists(" + std::string(kTable) + ")"});

  Store({"7 l3-core1 10.1.1.1/24"});
  fake.FailExists(kTable);
  Ospfv2Config other;
  Bind(other);
  other.ReadConfigIfNeeded(kIpv4);
  EXPECT_EQ(TextsOf(other), Texts{});
  EXPECT_TRUE(other.ipv4_read());
}

// ---- The name of the interface ----------------------------------------------

TEST_F(Ospfv2ConfigTest, OnlyTheFirstHyphenOfAnInterfaceBecomesABlank) {
  const std::pair<std::string, std::string> names[] = {
      {"l3-1", "l3 1"},   {"l3-1-2", "l3 1-2"},
      {"l3--1", "l3 -1"}, {"loopback-1", "loopback 1"},
      {"l3-", "l3 "},     {"-1", " 1"},
      {"-", " "},         {"x-y_z.0", "x y_z.0"}};
  for (const auto& [key, name] : names) {
    Store({"7 " + key + " 10.1.1.1/24"});
  }
  Read();
  ASSERT_EQ(reader.interfaces().size(), std::size(names));
  auto record = reader.interfaces().begin();
  for (const auto& [key, name] : names) {
    EXPECT_EQ((*record++)->intf_name(), name) << key;
  }
}

TEST_F(Ospfv2ConfigTest, ARowWithoutAHyphenIsIgnoredWithItsOtherKeys) {
  for (const std::string interface : {"l3", "l3_1", "l3 1", ""}) {
    fake.AddEntry(kTable, {Text("no number"), Text("no area"), Text(interface),
                           Text("no address")});
  }
  EXPECT_EQ(Read(), Texts{});
  EXPECT_TRUE(reader.ipv4_read());
  EXPECT_EQ(LogTexts(), Texts{});
  EXPECT_EQ(fake.calls().back().name, "maapi_destroy_cursor");
}

// ---- The calls of a read, in order ------------------------------------------

class Ospfv2CallsTest : public Ospfv2ConfigTest {
 protected:
  // Each call with its format, where it has one that is not its text.
  Texts CallsWithFormats() {
    Texts texts;
    for (const Call& call : fake.calls()) {
      const bool has_arguments =
          !call.format.empty() && call.format != call.args;
      texts.push_back(call.text() + (has_arguments ? " " + call.format : ""));
      if (call.format.empty()) continue;
      EXPECT_EQ(call.sock, FakePlatform::kSocket) << call.text();
      EXPECT_EQ(call.thandle, FakePlatform::kTransaction) << call.text();
    }
    return texts;
  }

  // The whole table is walked before the first look-up.
  static Texts WalkOf(const Texts& rows) {
    const std::string table = "(/internal/ospf-interface-l3)";
    Texts calls = {"maapi_exists" + table + " %s",
                   "maapi_init_cursor" + table + " %s",
                   "maapi_get_next" + table};
    for (const std::string& text : rows) {
      const OspfRow row = OspfRowFrom(text);
      for (const std::string& key : {std::to_string(row.compound_id), row.area,
                                     row.interface, row.address}) {
        calls.push_back("confd_pp_value(" + key + ")");
      }
      calls.push_back("maapi_get_next" + table);
    }
    calls.push_back("maapi_destroy_cursor" + table);
    return calls;
  }

  // `keys` stands between the braces of the row.
  static Texts LookUpsOf(const std::string& keys, const std::string& compound) {
    const std::string process =
        "(/internal/ospf-index-to-proc-id{" + compound + "}";
    return {"maapi_get_u_int8_elem(/internal/ospf-interface-l3{" + keys +
                "}/ospf-pm-ip-netmask) %s{%u %s %s %s}/ospf-pm-ip-netmask",
            "maapi_get_u_int32_elem" + process + "/proc_id) %s{%u}/proc_id",
            "maapi_get_str_elem" + process + "/vrf_name) %s{%u}/vrf_name"};
  }

  static Texts Joined(const std::vector<Texts>& parts) {
    Texts all;
    for (const Texts& part : parts) {
      all.insert(all.end(), part.begin(), part.end());
    }
    return all;
  }
};

// What two rows have in common is looked up for each. A row without a hyphen
// takes the calls of the walk only.
TEST_F(Ospfv2CallsTest, AreAWalkAndThenThreeLookUpsForEachRow) {
  StoreProcesses({"7 10 global", "4294967295 11 red"});
  const Texts rows = {"8 l3 10.2.2.2/24", "7 l3-1-2 10.1.1.1/24",
                      "7 l3-1-2 10.2.2.2/24",
                      "4294967295 loopback-9 10.3.3.3/24 1.2.3.4"};
  Store(rows);
  Read();
  EXPECT_EQ(CallsWithFormats(),
            Joined({WalkOf(rows), LookUpsOf("7 0.0.0.1 l3-1-2 10.1.1.1", "7"),
                    LookUpsOf("7 0.0.0.1 l3-1-2 10.2.2.2", "7"),
                    LookUpsOf("4294967295 1.2.3.4 loopback-9 10.3.3.3",
                              "4294967295")}));
}

// ---- Family and repetition --------------------------------------------------

TEST_F(Ospfv2ConfigTest, Ipv6ReadsNothingAndCountsAsRead) {
  Store({"7 l3-core1 10.1.1.1/24"});
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_TRUE(fake.calls().empty());
  EXPECT_EQ(TextsOf(reader), Texts{});
  EXPECT_TRUE(reader.ipv6_read());
  EXPECT_FALSE(reader.ipv4_read());

  EXPECT_EQ(Read().size(), 1U);
}

TEST_F(Ospfv2ConfigTest, AnotherFamilyReadsNothingAndIsNotRead) {
  Store({"7 l3-core1 10.1.1.1/24"});
  for (const int other : {5, 0, -4}) {
    reader.ReadConfigIfNeeded(static_cast<ConfigAddrFamily>(other));
  }
  EXPECT_TRUE(fake.calls().empty());
  EXPECT_EQ(TextsOf(reader), Texts{});
  EXPECT_FALSE(reader.ipv6_read());
  EXPECT_FALSE(reader.ipv4_read());
}

TEST_F(Ospfv2ConfigTest, ASecondReadReadsNothing) {
  Store({"7 l3-core1 10.1.1.1/24"});
  StoreProcesses();
  const Texts records = Read();
  fake.ForgetCalls();
  Store({"7 l3-2 10.2.2.2/24"});
  EXPECT_EQ(Read(), records);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(TextsOf(reader), records);
  EXPECT_TRUE(fake.calls().empty());
}

// ---- Rows and their records -------------------------------------------------

struct RowsCase {
  const char* name;
  Texts rows;
  Texts processes;
  Texts records;
  Texts log;
};

class Ospfv2RowsTest : public Ospfv2ConfigTest,
                       public ::testing::WithParamInterface<RowsCase> {};

TEST_P(Ospfv2RowsTest, BecomeRecords) {
  Store(GetParam().rows);
  StoreProcesses(GetParam().processes);
  EXPECT_EQ(Read(), GetParam().records);
  EXPECT_EQ(LogTexts(), GetParam().log);
  EXPECT_TRUE(fake.faults().empty());
  EXPECT_TRUE(reader.ipv4_read());
}

INSTANTIATE_TEST_SUITE_P(
    Tables, Ospfv2RowsTest,
    ::testing::Values(
        RowsCase{"TheLargestNumbers",
                 {"4294967295 l3-1 255.255.255.255/32 255.255.255.255"},
                 {"4294967295 4294967295 red"},
                 {"l3 1: 4294967295 'red' 255.255.255.255, 255.255.255.255/32"},
                 {}},
        RowsCase{"UnspecifiedAreaAndAddress",
                 {"0 l3-1 0.0.0.0/0 0.0.0.0"},
                 {"0 0 "},
                 {"l3 1: 0 '' 0.0.0.0, 0.0.0.0/0"},
                 {}},
        RowsCase{"InTheOrderOfTheTable",
                 {"7 l3-c 10.3.0.1/24", "7 loopback-a 10.1.0.1/24",
                  "7 l3-b 10.2.0.1/24"},
                 {"7 10 global"},
                 {"l3 c: 10 'global' 0.0.0.1, 10.3.0.1/24",
                  "loopback a: 10 'global' 0.0.0.1, 10.1.0.1/24",
                  "l3 b: 10 'global' 0.0.0.1, 10.2.0.1/24"},
                 {}},
        RowsCase{
            "ARowWithoutAHyphenEndsNothing",
            {"7 l3-a 10.1.0.1/24", "7 l3 10.2.0.1/24", "7 l3-b 10.3.0.1/24"},
            {"7 10 global"},
            {"l3 a: 10 'global' 0.0.0.1, 10.1.0.1/24",
             "l3 b: 10 'global' 0.0.0.1, 10.3.0.1/24"},
            {}},
        RowsCase{"AddressesOfOneAssignmentMeetInRowOrder",
                 {"7 l3-1 10.3.0.1/24", "7 l3-2 10.9.0.1/24",
                  "7 l3-1 10.1.0.1/24", "7 l3-1 10.2.0.1/24"},
                 {"7 10 global"},
                 {"l3 1: 10 'global' 0.0.0.1, 10.3.0.1/24, 10.1.0.1/24, "
                  "10.2.0.1/24",
                  "l3 2: 10 'global' 0.0.0.1, 10.9.0.1/24"},
                 {}},
        RowsCase{"AnAssignmentKeepsItsFirstArea",
                 {"7 l3-1 10.1.0.1/24 0.0.0.2", "7 l3-1 10.2.0.1/24 0.0.0.1"},
                 {"7 10 global"},
                 {"l3 1: 10 'global' 0.0.0.2, 10.1.0.1/24, 10.2.0.1/24"},
                 {}},
        RowsCase{"CompoundIdentifiersOfOneProcessAndVrfAreOne",
                 {"7 l3-1 10.1.0.1/24", "8 l3-1 10.2.0.1/24"},
                 {"7 10 red", "8 10 red"},
                 {"l3 1: 10 'red' 0.0.0.1, 10.1.0.1/24, 10.2.0.1/24"},
                 {}},
        RowsCase{"AnotherProcessOrVrfIsAnotherRecord",
                 {"7 l3-1 10.1.0.1/24", "8 l3-1 10.2.0.1/24",
                  "9 l3-1 10.3.0.1/24", "8 l3-1 10.4.0.1/24"},
                 {"7 10 red", "8 11 red", "9 10 Red"},
                 {"l3 1: 10 'red' 0.0.0.1, 10.1.0.1/24",
                  "l3 1: 11 'red' 0.0.0.1, 10.2.0.1/24, 10.4.0.1/24",
                  "l3 1: 10 'Red' 0.0.0.1, 10.3.0.1/24"},
                 {}},
        RowsCase{"TheSameRowTwiceGivesTheAddressTwice",
                 {"7 l3-core1 10.1.1.1/24", "7 l3-core1 10.1.1.1/24"},
                 {"7 10 global"},
                 {"l3 core1: 10 'global' 0.0.0.1, 10.1.1.1/24, 10.1.1.1/24"},
                 {}},
        RowsCase{"WithoutANetmaskTheLengthIs0",
                 {"7 l3-core1 10.1.1.1/-"},
                 {"7 10 global"},
                 {"l3 core1: 10 'global' 0.0.0.1, 10.1.1.1/0"},
                 {"Failed to get IPv4 netmask from process ID 7!"}},
        // Without a process both are process 0 of no VRF.
        RowsCase{"RowsOfUnknownProcessesMeetInOneRecord",
                 {"7 l3-1 10.1.1.1/24", "8 l3-1 10.2.2.2/24"},
                 {},
                 {"l3 1: 0 '' 0.0.0.1, 10.1.1.1/24, 10.2.2.2/24"},
                 {"Failed to get process ID from compound ID 7!",
                  "Failed to get VRF name from compound ID 7!",
                  "Failed to get process ID from compound ID 8!",
                  "Failed to get VRF name from compound ID 8!"}},
        RowsCase{"AProcessOfWhichOneLeafIsMissingHasTheOther",
                 {"7 l3-1 10.1.1.1/24", "8 l3-1 10.2.2.2/24"},
                 {"7 - red", "8 10 -"},
                 {"l3 1: 0 'red' 0.0.0.1, 10.1.1.1/24",
                  "l3 1: 10 '' 0.0.0.1, 10.2.2.2/24"},
                 {"Failed to get process ID from compound ID 7!",
                  "Failed to get VRF name from compound ID 8!"}},
        RowsCase{"EveryFailureIsLoggedWithTheCompoundIdentifier",
                 {"123456 l3-1 10.1.1.1/-"},
                 {},
                 {"l3 1: 0 '' 0.0.0.1, 10.1.1.1/0"},
                 {"Failed to get IPv4 netmask from process ID 123456!",
                  "Failed to get process ID from compound ID 123456!",
                  "Failed to get VRF name from compound ID 123456!"}}),
    [](const auto& rows) { return rows.param.name; });

// ---- The merge of records ---------------------------------------------------

class Ospfv2MergeTest : public ::testing::Test {
 protected:
  void Merge(const OspfIf& record) { reader_.MergeConfigAndInsert(record); }
  Ospfv2Config reader_;
};

TEST_F(Ospfv2MergeTest, ANewRecordIsAddedWithAllItsAddresses) {
  Merge(Record(1, "red", "0.0.0.5", "l3 a", {"10.2.0.1/16", "10.1.0.1/24"}));
  Merge(Record(2, "", "0.0.0.6", "l3 b", {}));
  EXPECT_EQ(TextsOf(reader_), (Texts{"l3 a: 1 'red' 0.0.0.5, 10.2.0.1/16, "
                                     "10.1.0.1/24",
                                     "l3 b: 2 '' 0.0.0.6"}));
}

TEST_F(Ospfv2MergeTest, AKnownRecordGetsTheFirstAddressOnly) {
  Merge(Record(1, "red", "0.0.0.5", "l3 a", {"10.1.0.1/24"}));
  Merge(Record(1, "red", "0.0.0.6", "l3 a", {"10.3.0.1/24", "10.2.0.1/24"}));
  EXPECT_EQ(TextsOf(reader_), Texts{"l3 a: 1 'red' 0.0.0.5, 10.1.0.1/24, "
                                    "10.3.0.1/24"});
}

TEST_F(Ospfv2MergeTest, ARecordIsKnownByInterfaceProcessAndVrfExactly) {
  Merge(Record(1, "red", "0.0.0.5", "l3 a", {"10.1.0.1/24"}));
  Merge(Record(2, "red", "0.0.0.5", "l3 a", {"10.2.0.1/24"}));
  Merge(Record(1, "Red", "0.0.0.5", "l3 a", {"10.3.0.1/24"}));
  Merge(Record(1, "", "0.0.0.5", "l3 a", {"10.4.0.1/24"}));
  Merge(Record(1, "red", "0.0.0.5", "l3 ab", {"10.5.0.1/24"}));
  Merge(Record(1, "red", "0.0.0.5", "lo a", {"10.6.0.1/24"}));
  EXPECT_EQ(TextsOf(reader_), (Texts{"l3 a: 1 'red' 0.0.0.5, 10.1.0.1/24",
                                     "l3 a: 2 'red' 0.0.0.5, 10.2.0.1/24",
                                     "l3 a: 1 'Red' 0.0.0.5, 10.3.0.1/24",
                                     "l3 a: 1 '' 0.0.0.5, 10.4.0.1/24",
                                     "l3 ab: 1 'red' 0.0.0.5, 10.5.0.1/24",
                                     "lo a: 1 'red' 0.0.0.5, 10.6.0.1/24"}));
}

// The record that is shared gets the address; the given one is copied.
TEST_F(Ospfv2MergeTest, TheSourceStaysAsItIsAndTheRecordIsKept) {
  const OspfIf source = Record(1, "red", "0.0.0.5", "l3 a", {"10.1.0.1/24"});
  Merge(source);
  const std::shared_ptr<OspfIf> record = reader_.interfaces().front();
  Merge(source);
  EXPECT_EQ(TextOf(source), "l3 a: 1 'red' 0.0.0.5, 10.1.0.1/24");
  EXPECT_EQ(TextsOf(reader_),
            Texts{"l3 a: 1 'red' 0.0.0.5, 10.1.0.1/24, 10.1.0.1/24"});
  EXPECT_EQ(reader_.interfaces().front(), record);
}

TEST_F(Ospfv2MergeTest, RecordsDieWithTheReader) {
  std::weak_ptr<OspfIf> record;
  {
    Ospfv2Config reader;
    reader.MergeConfigAndInsert(Record(1, "red", "0.0.0.5", "l3 a", {}));
    record = reader.interfaces().front();
    EXPECT_FALSE(record.expired());
  }
  EXPECT_TRUE(record.expired());
}

// ---- Compound identifiers ---------------------------------------------------

// The compound identifier is converted before the other keys are parsed.
TEST_F(Ospfv2ConfigTest, ACompoundIdentifierThatIsNoNumberThrows) {
  for (const std::string text : {"", "abc", "x12", "-", " "}) {
    SCOPED_TRACE("'" + text + "'");
    fake.Reset();
    fake.AddEntry(kTable, {Text(text), Text("no area"), Text("l3-1"),
                           Text("no address")});
    EXPECT_EQ(WhatReadThrows<std::invalid_argument>(), "stoul");
    EXPECT_EQ(fake.calls().back().name, "maapi_destroy_cursor");
  }
}

TEST_F(Ospfv2ConfigTest, ACompoundIdentifierOutOfRangeThrows) {
  StoreWith(kCompoundId, "99999999999999999999999");
  EXPECT_EQ(WhatReadThrows<std::out_of_range>(), "stoul");
}

TEST_F(Ospfv2ConfigTest, ACompoundIdentifierIsTheNumberThatItsTextStartsWith) {
  const std::pair<std::string, std::uint32_t> texts[] = {
      {"12abc", 12},
      {"12 13", 12},
      {" 12", 12},
      {"+12", 12},
      {"0012", 12},
      {"12.9", 12},
      {"4294967295", kLargest},
      {"0x1f", 0},
      {"1e3", 1},
      {"-1", kLargest}};
  for (const auto& [text, number] : texts) {
    SCOPED_TRACE(text);
    fake.Reset();
    StoreWith(kCompoundId, text);
    StoreProcesses({std::to_string(number) + " 99 red"});
    Ospfv2Config other;
    Bind(other);
    other.ReadConfigIfNeeded(kIpv4);
    ASSERT_EQ(other.interfaces().size(), 1U);
    EXPECT_EQ(other.interfaces().front()->process_id(), 99U);
    EXPECT_EQ(other.interfaces().front()->vrf_name(), "red");
  }
}

// ---- Areas and addresses ----------------------------------------------------

class Ospfv2AddressKeyTest : public Ospfv2ConfigTest,
                             public ::testing::WithParamInterface<std::size_t> {
};

TEST_P(Ospfv2AddressKeyTest, ThatDoesNotParseThrows) {
  for (const std::string text :
       {"", "1", "0.0.0", "0.0.0.256", "0.0.0.1.2", "0.0.0.1x", " 0.0.0.1",
        "0.0.0.1 ", "0.0.0.1/24", "::1", "abc", "-1.0.0.0", "0x1.0.0.1"}) {
    SCOPED_TRACE("'" + text + "'");
    fake.Reset();
    StoreWith(GetParam(), text);
    EXPECT_THROW(reader.ReadConfigIfNeeded(kIpv4), boost::system::system_error);
    EXPECT_EQ(fake.calls().back().name, "maapi_destroy_cursor");
  }
}

INSTANTIATE_TEST_SUITE_P(Keys, Ospfv2AddressKeyTest,
                         ::testing::Values(kArea, kAddress),
                         [](const auto& key) {
                           return key.param == kArea ? "Area" : "Address";
                         });

// ---- A read that a bad row ends ---------------------------------------------

struct BadKey {
  std::string name;
  std::size_t index;
  std::string text;
};

class Ospfv2BadRowTest : public Ospfv2ConfigTest,
                         public ::testing::WithParamInterface<BadKey> {
 protected:
  void ReadAndFail() {
    EXPECT_THROW(reader.ReadConfigIfNeeded(kIpv4), std::exception);
    EXPECT_FALSE(reader.ipv4_read());
    EXPECT_EQ(fake.open_cursors(), 0U);
  }
};

TEST_P(Ospfv2BadRowTest, EndsTheReadThatTheNextCallRepeats) {
  Store({"7 l3-a 10.1.0.1/24"});
  StoreWith(GetParam().index, GetParam().text);
  Store({"7 l3-b 10.2.0.1/24"});
  StoreProcesses();
  const std::string first = "l3 a: 10 'global' 0.0.0.1, 10.1.0.1/24";

  // The records of the rows before it stay.
  ReadAndFail();
  EXPECT_EQ(TextsOf(reader), Texts{first});

  // They are merged once more.
  const std::size_t calls = fake.calls().size();
  ReadAndFail();
  EXPECT_EQ(fake.calls().size(), 2 * calls);
  EXPECT_EQ(TextsOf(reader), Texts{first + ", 10.1.0.1/24"});

  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_TRUE(reader.ipv6_read());
  EXPECT_FALSE(reader.ipv4_read());

  // It is read once it is mended.
  fake.Reset();
  Store({"7 l3-b 10.2.0.1/24"});
  StoreProcesses();
  EXPECT_EQ(Read(), (Texts{first + ", 10.1.0.1/24",
                           "l3 b: 10 'global' 0.0.0.1, 10.2.0.1/24"}));
  EXPECT_TRUE(reader.ipv4_read());
}

INSTANTIATE_TEST_SUITE_P(
    Keys, Ospfv2BadRowTest,
    ::testing::Values(BadKey{"NoNumber", kCompoundId, "abc"},
                      BadKey{"OutOfRange", kCompoundId,
                             "99999999999999999999999"},
                      BadKey{"NoArea", kArea, "0.0.0.256"},
                      BadKey{"NoAddress", kAddress, "10.1.1"}),
    [](const auto& key) { return key.param.name; });

// ---- The look-ups -----------------------------------------------------------

class Ospfv2LookUpTest : public Ospfv2ConfigTest {
 protected:
  unsigned Netmask(unsigned compound_id, const std::string& interface,
                   const std::string& address = "10.1.1.1") {
    return reader.GetIpv4Netmask(compound_id, Addr4("0.0.0.1"), interface,
                                 Addr4(address));
  }
};

TEST_F(Ospfv2LookUpTest, ANetmaskIsThatOfTheRow) {
  for (const unsigned length : {0U, 1U, 24U, 32U, 255U}) {
    const std::string number = std::to_string(length);
    Store({number + " l3-core1 10.1.1.1/" + number});
    EXPECT_EQ(Netmask(length, "l3-core1"), length);
  }
  EXPECT_EQ(LogTexts(), Texts{});
}

// Each key counts: every other row has a length of its own.
TEST_F(Ospfv2LookUpTest, ANetmaskIsFoundByAllKeys) {
  Store({"7 l3-core1 10.1.1.1/24", "8 l3-core1 10.1.1.1/16",
         "7 l3-core2 10.1.1.1/16", "7 l3-core1 10.1.1.2/16",
         "7 l3-core1 10.1.1.1/16 0.0.0.2"});
  EXPECT_EQ(Netmask(7, "l3-core1"), 24U);
  EXPECT_EQ(Netmask(8, "l3-core1"), 16U);
}

TEST_F(Ospfv2LookUpTest, ANetmaskAsksForTheInterfaceAsItIsGiven) {
  Netmask(kLargest, "l3-a-b", "10.2.3.4");
  ASSERT_FALSE(fake.calls().empty());
  EXPECT_EQ(fake.calls()[0].text(),
            "maapi_get_u_int8_elem(/internal/ospf-interface-l3{4294967295 "
            "0.0.0.1 l3-a-b 10.2.3.4}/ospf-pm-ip-netmask)");
}

TEST_F(Ospfv2LookUpTest, AProcessIsThatOfTheCompoundIdentifier) {
  StoreProcesses({"7 10 a", "8 0 a", "4294967295 4294967295 a"});
  EXPECT_EQ(reader.GetProcessIdFromCompoundId(7), 10U);
  EXPECT_EQ(reader.GetProcessIdFromCompoundId(8), 0U);
  EXPECT_EQ(reader.GetProcessIdFromCompoundId(kLargest), kLargest);
  EXPECT_EQ(LogTexts(), Texts{});
}

TEST_F(Ospfv2LookUpTest, AVrfNameEndsAtItsFirstNulAndMayHave255Bytes) {
  const std::pair<std::string, std::string> names[] = {
      {"red", "red"},
      {"", ""},
      {"blue sky", "blue sky"},
      {std::string("red\0blue", 8), "red"},
      {std::string("\0red", 4), ""},
      {std::string(255, 'v'), std::string(255, 'v')}};
  std::uint32_t id = kLargest;
  for (const auto& [stored, name] : names) {
    StoreProcesses({std::to_string(id) + " 10 " + stored});
    EXPECT_EQ(reader.GetVrfName(id--), name);
  }
  EXPECT_EQ(LogTexts(), Texts{});

  StoreProcesses({"7 10 " + std::string(256, 'v')});
  EXPECT_EQ(reader.GetVrfName(7), "");
  EXPECT_EQ(LogTexts(), Texts{"Failed to get VRF name from compound ID 7!"});
}

struct FailingLookUp {
  const char* name;
  std::string (*read)(const Ospfv2Config& reader, std::uint32_t compound_id);
  const char* result;
  std::string path;  // of the default row or process
  std::string format;
};

class Ospfv2FailingLookUpTest
    : public Ospfv2ConfigTest,
      public ::testing::WithParamInterface<FailingLookUp> {
 protected:
  void ExpectLogged(std::uint32_t compound_id) {
    fake.ForgetCalls();
    const std::size_t lines = fake.log_lines().size();
    EXPECT_EQ(GetParam().read(reader, compound_id), GetParam().result);
    EXPECT_EQ(fake.calls().size(), 2U);  // the read and the line
    ASSERT_EQ(fake.log_lines().size(), lines + 1);
    const LogLine& line = fake.log_lines().back();
    std::string text = GetParam().format;
    text.replace(text.find("%u"), 2, std::to_string(compound_id));
    EXPECT_EQ(line.handle, fake.log_handle());
    EXPECT_EQ(line.format, GetParam().format);
    EXPECT_EQ(line.text, text);
  }
};

TEST_P(Ospfv2FailingLookUpTest, IsLoggedWhateverTheReason) {
  ExpectLogged(kLargest);  // there is none
  Store({"7 l3-core1 10.1.1.1/24"});
  StoreProcesses();
  fake.FailCall(1, CONFD_EOF);
  ExpectLogged(7);
  fake.FailReads(GetParam().path);
  ExpectLogged(7);
}

INSTANTIATE_TEST_SUITE_P(
    LookUps, Ospfv2FailingLookUpTest,
    ::testing::Values(
        FailingLookUp{"Netmask",
                      [](const Ospfv2Config& reader, std::uint32_t id) {
                        return std::to_string(reader.GetIpv4Netmask(
                            id, Addr4("0.0.0.1"), "l3-core1",
                            Addr4("10.1.1.1")));
                      },
                      "0", OspfRow().prefix_len_path(),
                      "Failed to get IPv4 netmask from process ID %u!"},
        FailingLookUp{"Process",
                      [](const Ospfv2Config& reader, std::uint32_t id) {
                        return std::to_string(
                            reader.GetProcessIdFromCompoundId(id));
                      },
                      "0", OspfProcess().proc_id_path(),
                      "Failed to get process ID from compound ID %u!"},
        FailingLookUp{"VrfName",
                      [](const Ospfv2Config& reader, std::uint32_t id) {
                        return reader.GetVrfName(id);
                      },
                      "", OspfProcess().vrf_name_path(),
                      "Failed to get VRF name from compound ID %u!"}),
    [](const auto& look_up) { return look_up.param.name; });

}  // namespace
}  // namespace ipav::testing
