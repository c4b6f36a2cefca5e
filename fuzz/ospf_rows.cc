// Runs the reader of the OSPFv2 interface table and both rules on any row
// texts.
//
// Legal: verdict 0, or -1 with one text of the point; or the exception of the
// first wrong row: std::invalid_argument or std::out_of_range of "stoul", or
// boost::system::system_error, as the C library's strtoul() and inet_pton()
// decide. No assertion. The reader keeps one address of each row before the
// wrong one.
//
// Input: a row per line: compound identifier, area, interface and address,
// separated by tabs. If the netmask can be read, there is a fifth part; its
// length is the netmask.

#include <arpa/inet.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz/support/byte_reader.h"
#include "fuzz/support/finding.h"
#include "fuzz/support/plugin_life.h"
#include "fuzz/support/target.h"
#include "tests/support/builders.h"
#include "tests/support/fake_platform.h"

namespace ipav::fuzz {

namespace {

using testing::Fake;

constexpr std::size_t kMaxRows = 32;
constexpr char kTable[] = "/internal/ospf-interface-l3";

// The parts of a row as texts of the daemon.
struct Row {
  std::vector<std::string> keys;
  bool has_netmask;
  std::uint8_t netmask;
};

Row RowOf(const std::string& line) {
  std::vector<std::string> parts = Split(line, '\t');
  const bool has_netmask = parts.size() > 4;
  const auto netmask =
      static_cast<std::uint8_t>(has_netmask ? parts[4].size() : 0);
  parts.resize(4);
  return {parts, has_netmask, netmask};
}

void StoreRow(const Row& row) {
  std::vector<testing::Value> keys;
  for (const std::string& key : row.keys) keys.push_back(testing::Text(key));
  Fake().AddEntry(kTable, keys);
  if (!row.has_netmask) return;
  const testing::Path leaf = {{"internal", {}},
                              {"ospf-interface-l3", row.keys},
                              {"ospf-pm-ip-netmask", {}}};
  Fake().SetValue(testing::PathText(leaf), testing::Uint8(row.netmask));
}

// Stores the interfaces and processes of most rows.
void StoreRest() {
  testing::InterfaceData l3;
  l3.ipv4_list = {"10.1.2.1/24"};
  l3.StoreIn(Fake());
  testing::InterfaceData loopback;
  loopback.kind = "loopback";
  loopback.name = "0";
  loopback.vrf = "red";
  loopback.ipv4_list = {"10.0.0.1/32"};
  loopback.StoreIn(Fake());
  testing::OspfProcess().StoreIn(Fake());
  testing::OspfProcess red;
  red.compound_id = 8;
  red.vrf_name = "red";
  red.StoreIn(Fake());
}

// A key as the reader prints it: no NUL, and no more than its buffer holds.
std::string Printed(const std::string& key) {
  constexpr std::size_t kLongest = 255;
  return UpToNul(key).substr(0, kLongest);
}

bool IsAddress(const std::string& text) {
  in_addr address{};
  return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

// The expected end of reading the row.
Ending EndingOf(const Row& row) {
  const std::string number = Printed(row.keys[0]);
  char* end = nullptr;
  errno = 0;
  static_cast<void>(std::strtoul(number.c_str(), &end, 10));
  if (end == number.c_str()) return Ending::kNoNumber;
  if (errno == ERANGE) return Ending::kNumberTooLarge;
  const bool has_addresses =
      IsAddress(Printed(row.keys[1])) && IsAddress(Printed(row.keys[3]));
  return has_addresses ? Ending::kAccepted : Ending::kNoAddress;
}

struct Expected {
  Ending ending = Ending::kAccepted;  // or a refusal
  std::size_t addresses = 0;
};

Expected ExpectedOf(const std::vector<Row>& rows) {
  Expected expected;
  for (const Row& row : rows) {
    if (Printed(row.keys[2]).find('-') == std::string::npos) continue;
    expected.ending = EndingOf(row);
    if (expected.ending != Ending::kAccepted) break;
    ++expected.addresses;
  }
  return expected;
}

void RequireExpected(Ending ending, const Expected& expected) {
  if (ending == Ending::kRefused) ending = Ending::kAccepted;
  Require(ending == expected.ending, "another exception than the row's");
}

std::size_t AddressesOf(const PluginLife& life) {
  std::size_t addresses = 0;
  for (const auto& ospf_if : life.snapshot().ospfv2_config().interfaces()) {
    addresses += ospf_if->addresses().size();
  }
  return addresses;
}

// Twice: a read that an exception ended is repeated by the next call.
void Judge(const std::string& point, testing::KeyPath keypath,
           const Expected& expected) {
  const PluginLife life(Assertions::kIllegal);
  Fake().set_opaque(point);
  RequireExpected(life.Validate(keypath.get()), expected);
  Require(AddressesOf(life) == expected.addresses, "rows lost or invented");
  RequireExpected(life.Validate(keypath.get()), expected);
}

}  // namespace

}  // namespace ipav::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ipav::fuzz::StartPlatform();
  ipav::fuzz::StoreRest();
  std::vector<ipav::fuzz::Row> rows;
  for (const std::string& line : ipav::fuzz::LinesOf(data, size)) {
    rows.push_back(ipav::fuzz::RowOf(line));
    ipav::fuzz::StoreRow(rows.back());
    if (rows.size() == ipav::fuzz::kMaxRows) break;
  }

  const ipav::fuzz::Expected expected = ipav::fuzz::ExpectedOf(rows);
  ipav::testing::KeyPath table;
  table.Node("internal").Node("ospf-interface-l3");
  ipav::fuzz::Judge("ipv4_addr_prot_cross_validation", table, expected);
  ipav::fuzz::Judge("intf_vrf_validation", table, expected);
  return 0;
}
