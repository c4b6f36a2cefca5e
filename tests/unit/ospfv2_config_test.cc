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

using ip_application::config_valid::Config;
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

OspfRow Row(std::uint32_t compound_id, const std::string& interface,
            const std::string& address, const std::string& area = "0.0.0.1") {
  OspfRow row;
  row.compound_id = compound_id;
  row.area = area;
  row.interface = interface;
  row.address = address;
  return row;
}

OspfProcess Process(std::uint32_t compound_id, std::uint32_t proc_id,
                    const std::string& vrf_name) {
  OspfProcess process;
  process.compound_id = compound_id;
  process.proc_id = proc_id;
  process.vrf_name = vrf_name;
  return process;
}

OspfIf Record(std::uint32_t process_id, const std::string& vrf,
              const std::string& area, const std::string& interface,
              const Texts& addresses) {
  Masks masks;
  for (const std::string& address : addresses) masks.push_back(Mask4(address));
  return OspfIf(process_id, vrf, Addr4(area), interface, masks);
}

std::string TextOf(const OspfIf& record) {
  std::string text = record.intf_name() + ": process " +
                     std::to_string(record.process_id()) + " vrf '" +
                     record.vrf_name() + "' area " + record.area().to_string();
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

  void Store(const std::vector<OspfRow>& rows) {
    for (const OspfRow& row : rows) row.StoreIn(fake);
  }

  void Store(const OspfProcess& process) { process.StoreIn(fake); }

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

  void ExpectOneLogLine(const std::string& format, const std::string& text) {
    ASSERT_EQ(fake.log_lines().size(), 1U);
    EXPECT_EQ(fake.log_lines()[0].handle, fake.log_handle());
    EXPECT_EQ(fake.log_lines()[0].format, format);
    EXPECT_EQ(fake.log_lines()[0].text, text);
  }

  Ospfv2Config reader;
};

// ---- A new reader -----------------------------------------------------------

TEST_F(Ospfv2ConfigTest, ANewReaderHasNoRecordsAndHasReadNothing) {
  const Ospfv2Config fresh;
  EXPECT_TRUE(fresh.interfaces().empty());
  EXPECT_EQ(fresh.sock(), -1);
  EXPECT_EQ(fresh.confd_trans(), nullptr);
  EXPECT_FALSE(fresh.ipv4_read());
  EXPECT_FALSE(fresh.ipv6_read());
  EXPECT_TRUE(fake.calls().empty());
}

TEST_F(Ospfv2ConfigTest, TheSnapshotBindsItsReader) {
  Config config;
  config.set_sock(FakePlatform::kSocket);
  config.set_confd_trans(fake.tctx());
  EXPECT_EQ(config.ospfv2_config().sock(), FakePlatform::kSocket);
  EXPECT_EQ(config.ospfv2_config().confd_trans(), fake.tctx());
}

// ---- What is read -----------------------------------------------------------

TEST_F(Ospfv2ConfigTest, ARowBecomesARecordOfAllItsFields) {
  Store({OspfRow()});
  Store(OspfProcess());
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
  OspfRow row = Row(7, "l3-1", "10.20.30.40", "1.2.3.4");
  row.prefix_len = 30;
  Store({row});
  Store(OspfProcess());
  ASSERT_EQ(Read().size(), 1U);
  const OspfIf& record = *reader.interfaces().front();
  EXPECT_EQ(record.area().to_uint32(), 0x01020304U);
  EXPECT_EQ(record.addresses(), Masks{IPv4AddrMask(0x0a141e28, 30)});
}

TEST_F(Ospfv2ConfigTest, TheLargestNumbersAreRead) {
  OspfRow row = Row(kLargest, "l3-1", "255.255.255.255", "255.255.255.255");
  row.prefix_len = 32;
  Store({row});
  Store(Process(kLargest, kLargest, "red"));
  EXPECT_EQ(Read(), Texts{"l3 1: process 4294967295 vrf 'red' area "
                          "255.255.255.255, 255.255.255.255/32"});
  EXPECT_EQ(LogTexts(), Texts{});
}

TEST_F(Ospfv2ConfigTest, UnspecifiedAreaAndAddressAreReadAsAnyOther) {
  OspfRow row = Row(0, "l3-1", "0.0.0.0", "0.0.0.0");
  row.prefix_len = 0;
  Store({row});
  Store(Process(0, 0, ""));
  EXPECT_EQ(Read(), Texts{"l3 1: process 0 vrf '' area 0.0.0.0, 0.0.0.0/0"});
  EXPECT_EQ(LogTexts(), Texts{});
  EXPECT_TRUE(fake.faults().empty());
}

TEST_F(Ospfv2ConfigTest, RecordsAreInTheOrderOfTheTable) {
  Store({Row(7, "l3-c", "10.3.0.1"), Row(7, "loopback-a", "10.1.0.1"),
         Row(7, "l3-b", "10.2.0.1")});
  Store(OspfProcess());
  EXPECT_EQ(Read(),
            (Texts{"l3 c: process 10 vrf 'global' area 0.0.0.1, 10.3.0.1/24",
                   "loopback a: process 10 vrf 'global' area 0.0.0.1, "
                   "10.1.0.1/24",
                   "l3 b: process 10 vrf 'global' area 0.0.0.1, "
                   "10.2.0.1/24"}));
}

TEST_F(Ospfv2ConfigTest, ATableThatIsMissingOrCannotBeReadHasNoRecords) {
  EXPECT_EQ(Read(), Texts{});
  EXPECT_TRUE(reader.ipv4_read());
  EXPECT_EQ(fake.CallTexts(),
            Texts{"maapi_exists(" + std::string(kTable) + ")"});

  Store({OspfRow()});
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
    Store({Row(7, key, "10.1.1.1")});
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

TEST_F(Ospfv2ConfigTest, ARowWithoutAHyphenEndsNothing) {
  Store({Row(7, "l3-a", "10.1.0.1"), Row(7, "l3", "10.2.0.1"),
         Row(7, "l3-b", "10.3.0.1")});
  Store(OspfProcess());
  EXPECT_EQ(Read(),
            (Texts{"l3 a: process 10 vrf 'global' area 0.0.0.1, 10.1.0.1/24",
                   "l3 b: process 10 vrf 'global' area 0.0.0.1, "
                   "10.3.0.1/24"}));
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
  static Texts WalkOf(const std::vector<OspfRow>& rows) {
    const std::string table = "(/internal/ospf-interface-l3)";
    Texts calls = {"maapi_exists" + table + " %s",
                   "maapi_init_cursor" + table + " %s",
                   "maapi_get_next" + table};
    for (const OspfRow& row : rows) {
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

TEST_F(Ospfv2CallsTest, OfOneRow) {
  const std::vector<OspfRow> rows = {Row(7, "l3-core1", "10.1.1.1")};
  Store(rows);
  Store(OspfProcess());
  Read();
  EXPECT_EQ(
      CallsWithFormats(),
      Joined({WalkOf(rows), LookUpsOf("7 0.0.0.1 l3-core1 10.1.1.1", "7")}));
}

TEST_F(Ospfv2CallsTest, OfTwoRows) {
  const std::vector<OspfRow> rows = {
      Row(7, "l3-1-2", "10.1.1.1"),
      Row(kLargest, "loopback-9", "10.3.3.3", "1.2.3.4")};
  Store(rows);
  Store(OspfProcess());
  Store(Process(kLargest, 11, "red"));
  Read();
  EXPECT_EQ(CallsWithFormats(),
            Joined({WalkOf(rows), LookUpsOf("7 0.0.0.1 l3-1-2 10.1.1.1", "7"),
                    LookUpsOf("4294967295 1.2.3.4 loopback-9 10.3.3.3",
                              "4294967295")}));
}

// What two rows have in common is looked up for each.
TEST_F(Ospfv2CallsTest, OfTwoRowsOfOneAssignment) {
  const std::vector<OspfRow> rows = {Row(7, "l3-1", "10.1.1.1"),
                                     Row(7, "l3-1", "10.2.2.2")};
  Store(rows);
  Store(OspfProcess());
  Read();
  EXPECT_EQ(CallsWithFormats(),
            Joined({WalkOf(rows), LookUpsOf("7 0.0.0.1 l3-1 10.1.1.1", "7"),
                    LookUpsOf("7 0.0.0.1 l3-1 10.2.2.2", "7")}));
}

TEST_F(Ospfv2CallsTest, OfARowWithoutAHyphenAreThoseOfTheWalk) {
  const std::vector<OspfRow> rows = {Row(8, "l3", "10.2.2.2"),
                                     Row(7, "l3-1", "10.1.1.1")};
  Store(rows);
  Store(OspfProcess());
  Read();
  EXPECT_EQ(CallsWithFormats(),
            Joined({WalkOf(rows), LookUpsOf("7 0.0.0.1 l3-1 10.1.1.1", "7")}));
}

// ---- Family and repetition --------------------------------------------------

TEST_F(Ospfv2ConfigTest, Ipv6ReadsNothingAndCountsAsRead) {
  Store({OspfRow()});
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_TRUE(fake.calls().empty());
  EXPECT_EQ(TextsOf(reader), Texts{});
  EXPECT_TRUE(reader.ipv6_read());
  EXPECT_FALSE(reader.ipv4_read());

  EXPECT_EQ(Read().size(), 1U);
}

TEST_F(Ospfv2ConfigTest, AnotherFamilyReadsNothingAndIsNotRead) {
  Store({OspfRow()});
  for (const int other : {5, 0, -4}) {
    reader.ReadConfigIfNeeded(static_cast<ConfigAddrFamily>(other));
  }
  EXPECT_TRUE(fake.calls().empty());
  EXPECT_EQ(TextsOf(reader), Texts{});
  EXPECT_FALSE(reader.ipv6_read());
  EXPECT_FALSE(reader.ipv4_read());
}

TEST_F(Ospfv2ConfigTest, ASecondReadReadsNothing) {
  Store({OspfRow()});
  Store(OspfProcess());
  const Texts records = Read();
  fake.ForgetCalls();
  Store({Row(7, "l3-2", "10.2.2.2")});
  EXPECT_EQ(Read(), records);
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_EQ(TextsOf(reader), records);
  EXPECT_TRUE(fake.calls().empty());
}

// ---- Rows of one assignment -------------------------------------------------

TEST_F(Ospfv2ConfigTest, AddressesOfOneAssignmentMeetInRowOrder) {
  Store({Row(7, "l3-1", "10.3.0.1"), Row(7, "l3-2", "10.9.0.1"),
         Row(7, "l3-1", "10.1.0.1"), Row(7, "l3-1", "10.2.0.1")});
  Store(OspfProcess());
  EXPECT_EQ(Read(),
            (Texts{"l3 1: process 10 vrf 'global' area 0.0.0.1, 10.3.0.1/24, "
                   "10.1.0.1/24, 10.2.0.1/24",
                   "l3 2: process 10 vrf 'global' area 0.0.0.1, "
                   "10.9.0.1/24"}));
}

TEST_F(Ospfv2ConfigTest, AnAssignmentKeepsItsFirstArea) {
  Store({Row(7, "l3-1", "10.1.0.1", "0.0.0.2"),
         Row(7, "l3-1", "10.2.0.1", "0.0.0.1")});
  Store(OspfProcess());
  EXPECT_EQ(Read(), Texts{"l3 1: process 10 vrf 'global' area 0.0.0.2, "
                          "10.1.0.1/24, 10.2.0.1/24"});
}

TEST_F(Ospfv2ConfigTest, CompoundIdentifiersOfOneProcessAndVrfAreOne) {
  Store({Row(7, "l3-1", "10.1.0.1"), Row(8, "l3-1", "10.2.0.1")});
  Store(Process(7, 10, "red"));
  Store(Process(8, 10, "red"));
  EXPECT_EQ(Read(), Texts{"l3 1: process 10 vrf 'red' area 0.0.0.1, "
                          "10.1.0.1/24, 10.2.0.1/24"});
}

TEST_F(Ospfv2ConfigTest, AnotherProcessOrVrfIsAnotherRecord) {
  Store({Row(7, "l3-1", "10.1.0.1"), Row(8, "l3-1", "10.2.0.1"),
         Row(9, "l3-1", "10.3.0.1"), Row(8, "l3-1", "10.4.0.1")});
  Store(Process(7, 10, "red"));
  Store(Process(8, 11, "red"));
  Store(Process(9, 10, "Red"));
  EXPECT_EQ(Read(),
            (Texts{"l3 1: process 10 vrf 'red' area 0.0.0.1, 10.1.0.1/24",
                   "l3 1: process 11 vrf 'red' area 0.0.0.1, 10.2.0.1/24, "
                   "10.4.0.1/24",
                   "l3 1: process 10 vrf 'Red' area 0.0.0.1, 10.3.0.1/24"}));
}

TEST_F(Ospfv2ConfigTest, TheSameRowTwiceGivesTheAddressTwice) {
  Store({OspfRow(), OspfRow()});
  Store(OspfProcess());
  EXPECT_EQ(Read(), Texts{"l3 core1: process 10 vrf 'global' area 0.0.0.1, "
                          "10.1.1.1/24, 10.1.1.1/24"});
}

// ---- The merge of records ---------------------------------------------------

class Ospfv2MergeTest : public ::testing::Test {
 protected:
  void Merge(const OspfIf& record) { reader_.MergeConfigAndInsert(record); }
  Ospfv2Config reader_;
};

TEST_F(Ospfv2MergeTest, ANewRecordIsAddedWithAllItsAddresses) {
  Merge(Record(1, "red", "0.0.0.5", "l3 a", {"10.2.0.1/16", "10.1.0.1/24"}));
  Merge(Record(2, "", "0.0.0.6", "l3 b", {}));
  EXPECT_EQ(TextsOf(reader_),
            (Texts{"l3 a: process 1 vrf 'red' area 0.0.0.5, 10.2.0.1/16, "
                   "10.1.0.1/24",
                   "l3 b: process 2 vrf '' area 0.0.0.6"}));
}

TEST_F(Ospfv2MergeTest, AKnownRecordGetsTheFirstAddressOnly) {
  Merge(Record(1, "red", "0.0.0.5", "l3 a", {"10.1.0.1/24"}));
  Merge(Record(1, "red", "0.0.0.6", "l3 a", {"10.3.0.1/24", "10.2.0.1/24"}));
  EXPECT_EQ(TextsOf(reader_),
            Texts{"l3 a: process 1 vrf 'red' area 0.0.0.5, 10.1.0.1/24, "
                  "10.3.0.1/24"});
}

TEST_F(Ospfv2MergeTest, ARecordIsKnownByInterfaceProcessAndVrfExactly) {
  Merge(Record(1, "red", "0.0.0.5", "l3 a", {"10.1.0.1/24"}));
  Merge(Record(2, "red", "0.0.0.5", "l3 a", {"10.2.0.1/24"}));
  Merge(Record(1, "Red", "0.0.0.5", "l3 a", {"10.3.0.1/24"}));
  Merge(Record(1, "", "0.0.0.5", "l3 a", {"10.4.0.1/24"}));
  Merge(Record(1, "red", "0.0.0.5", "l3 ab", {"10.5.0.1/24"}));
  Merge(Record(1, "red", "0.0.0.5", "lo a", {"10.6.0.1/24"}));
  EXPECT_EQ(TextsOf(reader_),
            (Texts{"l3 a: process 1 vrf 'red' area 0.0.0.5, 10.1.0.1/24",
                   "l3 a: process 2 vrf 'red' area 0.0.0.5, 10.2.0.1/24",
                   "l3 a: process 1 vrf 'Red' area 0.0.0.5, 10.3.0.1/24",
                   "l3 a: process 1 vrf '' area 0.0.0.5, 10.4.0.1/24",
                   "l3 ab: process 1 vrf 'red' area 0.0.0.5, 10.5.0.1/24",
                   "lo a: process 1 vrf 'red' area 0.0.0.5, 10.6.0.1/24"}));
}

TEST_F(Ospfv2MergeTest, TheSourceStaysAsItIsAndIsNotShared) {
  OspfIf source = Record(1, "red", "0.0.0.5", "l3 a", {"10.1.0.1/24"});
  reader_.MergeConfigAndInsert(source);
  reader_.MergeConfigAndInsert(source);
  EXPECT_EQ(TextOf(source),
            "l3 a: process 1 vrf 'red' area 0.0.0.5, 10.1.0.1/24");
  EXPECT_EQ(TextsOf(reader_),
            Texts{"l3 a: process 1 vrf 'red' area 0.0.0.5, 10.1.0.1/24, "
                  "10.1.0.1/24"});
}

TEST_F(Ospfv2MergeTest, AMergeKeepsTheSharedRecord) {
  Merge(Record(1, "red", "0.0.0.5", "l3 a", {"10.1.0.1/24"}));
  const std::shared_ptr<OspfIf> record = reader_.interfaces().front();
  Merge(Record(1, "red", "0.0.0.5", "l3 a", {"10.2.0.1/24"}));
  EXPECT_EQ(reader_.interfaces().front(), record);
  EXPECT_EQ(record->addresses().size(), 2U);
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

TEST_F(Ospfv2ConfigTest, ACompoundIdentifierThatIsNoNumberThrows) {
  for (const std::string text : {"", "abc", "x12", "-", " "}) {
    SCOPED_TRACE("'" + text + "'");
    fake.Reset();
    StoreWith(kCompoundId, text);
    EXPECT_EQ(WhatReadThrows<std::invalid_argument>(), "stoul");
    EXPECT_FALSE(reader.ipv4_read());
    EXPECT_EQ(fake.open_cursors(), 0U);
    EXPECT_EQ(fake.calls().back().name, "maapi_destroy_cursor");
  }
  EXPECT_EQ(TextsOf(reader), Texts{});
}

TEST_F(Ospfv2ConfigTest, ACompoundIdentifierOutOfRangeThrows) {
  StoreWith(kCompoundId, "99999999999999999999999");
  EXPECT_EQ(WhatReadThrows<std::out_of_range>(), "stoul");
  EXPECT_FALSE(reader.ipv4_read());
  EXPECT_EQ(TextsOf(reader), Texts{});
  EXPECT_EQ(fake.open_cursors(), 0U);
  EXPECT_EQ(fake.calls().back().name, "maapi_destroy_cursor");
}

// The compound identifier is converted before the other keys are parsed.
TEST_F(Ospfv2ConfigTest, ACompoundIdentifierIsLookedAtBeforeTheOtherKeys) {
  fake.AddEntry(
      kTable, {Text("abc"), Text("no area"), Text("l3-1"), Text("no address")});
  EXPECT_EQ(WhatReadThrows<std::invalid_argument>(), "stoul");
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
    Store(Process(number, 99, "red"));
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
    EXPECT_FALSE(reader.ipv4_read());
    EXPECT_EQ(fake.open_cursors(), 0U);
    EXPECT_EQ(fake.calls().back().name, "maapi_destroy_cursor");
  }
  EXPECT_EQ(TextsOf(reader), Texts{});
}

TEST_P(Ospfv2AddressKeyTest, ThatDoesNotParseThrowsARuntimeError) {
  StoreWith(GetParam(), "abc");
  EXPECT_THROW(reader.ReadConfigIfNeeded(kIpv4), std::runtime_error);
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
  // One that ends a read between two good ones.
  void StoreRows() {
    Store({Row(7, "l3-a", "10.1.0.1")});
    StoreWith(GetParam().index, GetParam().text);
    Store({Row(7, "l3-b", "10.2.0.1")});
    Store(OspfProcess());
  }

  void ReadAndFail() {
    EXPECT_THROW(reader.ReadConfigIfNeeded(kIpv4), std::exception);
    EXPECT_FALSE(reader.ipv4_read());
    EXPECT_EQ(fake.open_cursors(), 0U);
    EXPECT_EQ(fake.unfreed_values(), 0U);
  }

  static constexpr char kFirstRecord[] =
      "l3 a: process 10 vrf 'global' area 0.0.0.1, 10.1.0.1/24";
};

TEST_P(Ospfv2BadRowTest, KeepsTheRecordsOfTheRowsBefore) {
  StoreRows();
  ReadAndFail();
  EXPECT_EQ(TextsOf(reader), Texts{kFirstRecord});
}

// The rows before the bad one are merged once more.
TEST_P(Ospfv2BadRowTest, IsReadAgainByTheNextCall) {
  StoreRows();
  ReadAndFail();
  const std::size_t calls = fake.calls().size();
  ReadAndFail();
  EXPECT_EQ(fake.calls().size(), 2 * calls);
  EXPECT_EQ(TextsOf(reader),
            Texts{std::string(kFirstRecord) + ", 10.1.0.1/24"});
}

TEST_P(Ospfv2BadRowTest, IsReadOnceItIsMended) {
  StoreRows();
  ReadAndFail();
  fake.Reset();
  Store({Row(7, "l3-b", "10.2.0.1")});
  Store(OspfProcess());
  EXPECT_EQ(Read(), (Texts{kFirstRecord,
                           "l3 b: process 10 vrf 'global' area 0.0.0.1, "
                           "10.2.0.1/24"}));
  EXPECT_TRUE(reader.ipv4_read());
}

TEST_P(Ospfv2BadRowTest, LeavesIpv6ToBeRead) {
  StoreRows();
  ReadAndFail();
  reader.ReadConfigIfNeeded(kIpv6);
  EXPECT_TRUE(reader.ipv6_read());
  EXPECT_FALSE(reader.ipv4_read());
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
  for (const int length : {0, 1, 24, 32, 255}) {
    OspfRow row;
    row.compound_id = static_cast<std::uint32_t>(length);
    row.prefix_len = static_cast<std::uint8_t>(length);
    Store({row});
    EXPECT_EQ(Netmask(row.compound_id, "l3-core1"), row.prefix_len);
  }
  EXPECT_EQ(LogTexts(), Texts{});
}

// Each key counts: every other row has a length of its own.
TEST_F(Ospfv2LookUpTest, ANetmaskIsFoundByAllKeys) {
  OspfRow row;
  Store({row});
  for (OspfRow other :
       {Row(8, row.interface, row.address), Row(7, "l3-core2", row.address),
        Row(7, row.interface, "10.1.1.2"),
        Row(7, row.interface, row.address, "0.0.0.2")}) {
    other.prefix_len = 16;
    Store({other});
  }
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

TEST_F(Ospfv2LookUpTest, AMissingNetmaskIsLoggedAndIs0) {
  EXPECT_EQ(Netmask(4294967295U, "l3-core1"), 0U);
  ExpectOneLogLine("Failed to get IPv4 netmask from process ID %u!",
                   "Failed to get IPv4 netmask from process ID 4294967295!");
  EXPECT_EQ(fake.calls().size(), 2U);  // the read and the line
}

TEST_F(Ospfv2LookUpTest, ANetmaskThatCannotBeReadIsLoggedAndIs0) {
  Store({OspfRow()});
  fake.FailReads(OspfRow().prefix_len_path());
  EXPECT_EQ(Netmask(7, "l3-core1"), 0U);
  ExpectOneLogLine("Failed to get IPv4 netmask from process ID %u!",
                   "Failed to get IPv4 netmask from process ID 7!");
}

TEST_F(Ospfv2LookUpTest, AProcessIsThatOfTheCompoundIdentifier) {
  Store(Process(7, 10, "a"));
  Store(Process(8, 0, "a"));
  Store(Process(kLargest, kLargest, "a"));
  EXPECT_EQ(reader.GetProcessIdFromCompoundId(7), 10U);
  EXPECT_EQ(reader.GetProcessIdFromCompoundId(8), 0U);
  EXPECT_EQ(reader.GetProcessIdFromCompoundId(kLargest), kLargest);
  EXPECT_EQ(LogTexts(), Texts{});
}

TEST_F(Ospfv2LookUpTest, AMissingProcessIsLoggedAndIs0) {
  EXPECT_EQ(reader.GetProcessIdFromCompoundId(4294967295U), 0U);
  ExpectOneLogLine("Failed to get process ID from compound ID %u!",
                   "Failed to get process ID from compound ID 4294967295!");
  EXPECT_EQ(fake.calls().size(), 2U);
}

TEST_F(Ospfv2LookUpTest, AProcessThatCannotBeReadIsLoggedAndIs0) {
  Store(OspfProcess());
  fake.FailReads(OspfProcess().proc_id_path());
  EXPECT_EQ(reader.GetProcessIdFromCompoundId(7), 0U);
  ExpectOneLogLine("Failed to get process ID from compound ID %u!",
                   "Failed to get process ID from compound ID 7!");
}

TEST_F(Ospfv2LookUpTest, AVrfNameIsThatOfTheCompoundIdentifier) {
  Store(Process(7, 10, "red"));
  Store(Process(8, 10, ""));
  Store(Process(kLargest, 10, "blue sky"));
  EXPECT_EQ(reader.GetVrfName(7), "red");
  EXPECT_EQ(reader.GetVrfName(8), "");
  EXPECT_EQ(reader.GetVrfName(kLargest), "blue sky");
  EXPECT_EQ(LogTexts(), Texts{});
}

TEST_F(Ospfv2LookUpTest, AVrfNameMayHave255Bytes) {
  Store(Process(7, 10, std::string(255, 'v')));
  EXPECT_EQ(reader.GetVrfName(7), std::string(255, 'v'));
  EXPECT_EQ(LogTexts(), Texts{});
}

TEST_F(Ospfv2LookUpTest, AVrfNameThatDoesNotFitIsLoggedAndIsEmpty) {
  Store(Process(7, 10, std::string(256, 'v')));
  EXPECT_EQ(reader.GetVrfName(7), "");
  ExpectOneLogLine("Failed to get VRF name from compound ID %u!",
                   "Failed to get VRF name from compound ID 7!");
}

TEST_F(Ospfv2LookUpTest, AVrfNameEndsAtItsFirstNul) {
  Store(Process(7, 10, std::string("red\0blue", 8)));
  Store(Process(8, 10, std::string("\0red", 4)));
  EXPECT_EQ(reader.GetVrfName(7), "red");
  EXPECT_EQ(reader.GetVrfName(8), "");
  EXPECT_EQ(LogTexts(), Texts{});
}

TEST_F(Ospfv2LookUpTest, AMissingVrfNameIsLoggedAndIsEmpty) {
  EXPECT_EQ(reader.GetVrfName(4294967295U), "");
  ExpectOneLogLine("Failed to get VRF name from compound ID %u!",
                   "Failed to get VRF name from compound ID 4294967295!");
  EXPECT_EQ(fake.calls().size(), 2U);
}

TEST_F(Ospfv2LookUpTest, AVrfNameThatCannotBeReadIsLoggedAndIsEmpty) {
  Store(OspfProcess());
  fake.FailReads(OspfProcess().vrf_name_path());
  EXPECT_EQ(reader.GetVrfName(7), "");
  ExpectOneLogLine("Failed to get VRF name from compound ID %u!",
                   "Failed to get VRF name from compound ID 7!");
}

// Each is the next call of the platform.
TEST_F(Ospfv2LookUpTest, AReadThatFailsWithAnotherCodeIsLoggedToo) {
  Store({OspfRow()});
  Store(OspfProcess());
  fake.FailCall(1, CONFD_EOF);
  EXPECT_EQ(Netmask(7, "l3-core1"), 0U);
  fake.FailCall(1, CONFD_EOF);
  EXPECT_EQ(reader.GetProcessIdFromCompoundId(7), 0U);
  fake.FailCall(1, CONFD_EOF);
  EXPECT_EQ(reader.GetVrfName(7), "");
  EXPECT_EQ(LogTexts(), (Texts{"Failed to get IPv4 netmask from process ID 7!",
                               "Failed to get process ID from compound ID 7!",
                               "Failed to get VRF name from compound ID 7!"}));
}

// ---- Rows whose look-ups fail -----------------------------------------------

TEST_F(Ospfv2ConfigTest, ARowWithoutANetmaskIsRecordedWithLength0) {
  OspfRow row;
  row.prefix_len.reset();
  Store({row});
  Store(OspfProcess());
  EXPECT_EQ(Read(), Texts{"l3 core1: process 10 vrf 'global' area 0.0.0.1, "
                          "10.1.1.1/0"});
  EXPECT_EQ(LogTexts(), Texts{"Failed to get IPv4 netmask from process ID 7!"});
  EXPECT_TRUE(reader.ipv4_read());
}

TEST_F(Ospfv2ConfigTest, ARowWithoutAProcessIsRecordedWithProcess0AndNoVrf) {
  Store({OspfRow()});
  EXPECT_EQ(Read(),
            Texts{"l3 core1: process 0 vrf '' area 0.0.0.1, 10.1.1.1/24"});
  EXPECT_EQ(LogTexts(), (Texts{"Failed to get process ID from compound ID 7!",
                               "Failed to get VRF name from compound ID 7!"}));
  EXPECT_TRUE(reader.ipv4_read());
}

TEST_F(Ospfv2ConfigTest, AProcessOfWhichOneLeafIsMissingHasTheOther) {
  Store({Row(7, "l3-1", "10.1.1.1"), Row(8, "l3-1", "10.2.2.2")});
  OspfProcess process = Process(7, 10, "red");
  process.proc_id.reset();
  Store(process);
  process = Process(8, 10, "red");
  process.vrf_name.reset();
  Store(process);
  EXPECT_EQ(Read(),
            (Texts{"l3 1: process 0 vrf 'red' area 0.0.0.1, 10.1.1.1/24",
                   "l3 1: process 10 vrf '' area 0.0.0.1, 10.2.2.2/24"}));
  EXPECT_EQ(LogTexts(), (Texts{"Failed to get process ID from compound ID 7!",
                               "Failed to get VRF name from compound ID 8!"}));
}

// Without a process both are process 0 of no VRF.
TEST_F(Ospfv2ConfigTest, RowsOfUnknownProcessesMeetInOneRecord) {
  Store({Row(7, "l3-1", "10.1.1.1"), Row(8, "l3-1", "10.2.2.2")});
  EXPECT_EQ(Read(), Texts{"l3 1: process 0 vrf '' area 0.0.0.1, 10.1.1.1/24, "
                          "10.2.2.2/24"});
}

TEST_F(Ospfv2ConfigTest, EveryFailureOfARowIsLoggedWithItsCompoundIdentifier) {
  OspfRow row = Row(123456, "l3-1", "10.1.1.1");
  row.prefix_len.reset();
  Store({row});
  EXPECT_EQ(Read(), Texts{"l3 1: process 0 vrf '' area 0.0.0.1, 10.1.1.1/0"});
  EXPECT_EQ(LogTexts(),
            (Texts{"Failed to get IPv4 netmask from process ID 123456!",
                   "Failed to get process ID from compound ID 123456!",
                   "Failed to get VRF name from compound ID 123456!"}));
}

}  // namespace
}  // namespace ipav::testing
