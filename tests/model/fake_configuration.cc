#include "tests/model/fake_configuration.h"

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/fake_platform.h"
#include "tests/support/path_text.h"

namespace ipav::model {

using testing::Fake;
using testing::KeyPath;
using testing::Value;

namespace {

constexpr char kInterfaces[] = "/config/interface/";
constexpr char kRouteTable[] = "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry";
constexpr char kOutputTable[] = "/rtmStaticRtEntry-global";
constexpr char kVrfTable[] = "/internal/vrf-config/indexTOstring";
constexpr char kOspfv2Table[] = "/internal/ospf-interface-l3";
constexpr char kProcessTable[] = "/internal/ospf-index-to-proc-id";
constexpr char kOspfv3Table[] = "/internal/ospfv3-interface-l3";

Value ValueOf(const Octets& octets) {
  return testing::Binary(std::string(octets.begin(), octets.end()));
}

void Store(const std::string& path, const Leaf<std::string>& leaf) {
  if (!leaf.exists) return;
  if (leaf.value) {
    Fake().SetValue(path, testing::Text(*leaf.value));
  } else {
    Fake().FailReads(path);
  }
}

void Store(const std::string& path, const Leaf<std::uint16_t>& leaf) {
  if (!leaf.exists) return;
  if (leaf.value) {
    Fake().SetValue(path, testing::Uint16(*leaf.value));
  } else {
    Fake().FailReads(path);
  }
}

void Store(const std::string& list, const std::vector<AddressEntry>& entries) {
  for (const AddressEntry& entry : entries) {
    Fake().AddEntry(list, {testing::Text(entry.key)});
    if (!entry.ip) continue;
    Fake().SetValue(list + "{" + entry.key + "}/ip", ValueOf(*entry.ip));
  }
}

void Store(const std::string& kind, const InterfaceEntry& entry) {
  const std::string list = kInterfaces + kind;
  Fake().AddEntry(list, {testing::Text(entry.key)});
  const std::string path = list + "{" + entry.key + "}";
  Store(path + "/vrf", entry.vrf);
  if (entry.vlan) {
    Fake().SetValue(path + "/lower-layer-if/vlan", testing::Int32(*entry.vlan));
  }
  if (entry.primary) {
    Fake().SetValue(path + "/ipv4/address/ip", ValueOf(*entry.primary));
  }
  Store(path + (kind == "l3" ? "/ipv4/address/secondary" : "/ipv4/address"),
        entry.ipv4);
  Store(path + "/ipv6/address", entry.ipv6);
  Store(path + "/ipv6/nd/ra/max-interval", entry.timers.max_interval);
  Store(path + "/ipv6/nd/ra/min-interval", entry.timers.min_interval);
  Store(path + "/ipv6/nd/ra/lifetime", entry.timers.lifetime);
}

void Store(const RunningVlan& running) {
  Fake().SetRunning(
      std::string(kInterfaces) + "l3{" + running.key + "}/lower-layer-if/vlan",
      testing::Int32(running.vlan));
}

void Store(const RouteRow& row) {
  const Value next_hop_type = testing::Enum(1);  // nobody reads it
  for (unsigned i = 0; i < row.times; ++i) {
    Fake().AddEntry(kRouteTable,
                    {testing::Uint32(row.vrf), testing::Enum(row.type),
                     ValueOf(row.destination), testing::Int32(row.length),
                     next_hop_type, ValueOf(row.next_hop)});
  }
}

void Store(const OutputRow& row) {
  // In the path, a negative length is the unsigned number.
  const std::vector<Value> keys = {
      testing::Uint32(row.vrf), ValueOf(row.destination),
      testing::Uint32(static_cast<std::uint32_t>(row.length)),
      ValueOf(row.next_hop)};
  Fake().AddEntry(kOutputTable, keys);
  std::string path = std::string(kOutputTable) + "{";
  for (const Value& key : keys) path += key.KeyText() + ' ';
  Fake().SetValue(path + "}/interface-name", testing::Text(row.interface_name));
}

void Store(const VrfIndexRow& row) {
  Fake().AddEntry(kVrfTable, {testing::Uint32(row.index)});
  Store(std::string(kVrfTable) + "{" + std::to_string(row.index) + "}/vname",
        row.name);
}

// Adds the entry with these keys. Returns the path of a leaf below it.
std::string AddRow(const std::string& list, const std::vector<Value>& keys,
                   const std::string& leaf) {
  Fake().AddEntry(list, keys);
  testing::Path path = *testing::ParsePath(list);
  for (const Value& key : keys) path.back().keys.push_back(key.KeyText());
  path.push_back({leaf, {}});
  return testing::PathText(path);
}

void Store(const Ospfv2Row& row) {
  const std::string netmask =
      AddRow(kOspfv2Table,
             {testing::Text(row.compound_id), testing::Text(row.area),
              testing::Text(row.interface_key), testing::Text(row.address)},
             "ospf-pm-ip-netmask");
  if (row.netmask) Fake().SetValue(netmask, testing::Uint8(*row.netmask));
}

void Store(const ProcessRow& row) {
  const std::string entry =
      std::string(kProcessTable) + "{" + std::to_string(row.compound_id) + "}";
  Fake().AddEntry(kProcessTable, {testing::Uint32(row.compound_id)});
  if (row.process_id) {
    Fake().SetValue(entry + "/proc_id", testing::Uint32(*row.process_id));
  }
  if (row.vrf) Fake().SetValue(entry + "/vrf_name", testing::Text(*row.vrf));
}

// The daemon's XPath engine finds a row by the name of its interface.
void Store(const Ospfv3Row& row) {
  const std::string index =
      AddRow(kOspfv3Table,
             {testing::Uint32(row.router), testing::Ipv4(AddressText(row.area)),
              testing::Text(row.interface_key)},
             "ospfv3-pm-if-index");
  if (row.if_index) Fake().SetValue(index, testing::Uint32(*row.if_index));
  if (!row.if_name) return;
  Fake().SetXpathAnswer("/internal",
                        "ospfv3-interface-l3[ospfv3-pm-if-name='" +
                            *row.if_name + "']/ospfv3-pm-if-name",
                        *row.if_name);
}

void Store(const Change& change) {
  constexpr confd_iter_op kOperations[] = {MOP_CREATED, MOP_DELETED,
                                           MOP_MODIFIED, MOP_VALUE_SET};
  std::optional<Value> value;
  if (change.new_value) value = testing::Text(*change.new_value);
  Fake().AddChange(KeyPathOf(change.node),
                   kOperations[static_cast<std::size_t>(change.operation)],
                   value);
}

}  // namespace

Value ValueOf(const Prefix& prefix) {
  confd_value_t value{};
  const auto length = static_cast<std::uint8_t>(prefix.length);
  const auto* octets = prefix.address.data();
  if (prefix.address.size() == 4) {
    value.type = C_IPV4_AND_PLEN;
    std::memcpy(&value.val.ipv4prefix.ip, octets, 4);
    value.val.ipv4prefix.len = length;
  } else {
    value.type = C_IPV6_AND_PLEN;
    std::memcpy(&value.val.ipv6prefix.ip6, octets, 16);
    value.val.ipv6prefix.len = length;
  }
  return Value(value);
}

KeyPath KeyPathOf(const Place& place) {
  KeyPath path;
  for (const PathElement& element : place) {
    if (element.is_key) {
      path.Key(testing::Text(element.text));
    } else {
      path.Node(element.text);
    }
  }
  return path;
}

void ShowOnFake(const Configuration& configuration) {
  for (const auto& entry : configuration.l3) Store("l3", entry);
  for (const auto& entry : configuration.loopback) Store("loopback", entry);
  for (const auto& entry : configuration.mgmt) Store("mgmt", entry);
  for (const auto& running : configuration.running) Store(running);
  for (const auto& row : configuration.routes) Store(row);
  for (const auto& row : configuration.outputs) Store(row);
  for (const auto& row : configuration.vrfs) Store(row);
  for (const auto& row : configuration.ospfv2) Store(row);
  for (const auto& row : configuration.processes) Store(row);
  for (const auto& row : configuration.ospfv3) Store(row);
  for (const auto& change : configuration.changes) Store(change);
}

}  // namespace ipav::model
