// The model's readers and rules for OSPF: OSPFv2 from the records, OSPFv3
// directly from the configuration.

#include <arpa/inet.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "tests/model/plain_model.h"

namespace ipav::model {

namespace {

// The index that the platform gives the interface of VLAN 0.
constexpr std::uint32_t kFirstIfIndex = 1000;

// The number that a text begins with, in decimal.
Exception ParseNumber(const std::string& text, std::uint32_t* number) {
  char* end = nullptr;
  errno = 0;
  const unsigned long value = std::strtoul(text.c_str(), &end, 10);
  if (end == text.c_str()) return Exception::kNoNumber;
  if (errno == ERANGE) return Exception::kNumberTooLarge;
  *number = static_cast<std::uint32_t>(value);
  return Exception::kNone;
}

bool ParseAddress(const std::string& text, Octets* address) {
  address->resize(4);
  return inet_pton(AF_INET, text.c_str(), address->data()) == 1;
}

std::uint32_t NumberOf(const Octets& address) {
  std::uint32_t number = 0;
  for (const std::uint8_t octet : address) number = number * 256 + octet;
  return number;
}

std::string AreaText(const Octets& area) {
  return "area " + std::to_string(NumberOf(area)) + " (" + AddressText(area) +
         ")";
}

bool IsAmong(const std::vector<Prefix>& prefixes, const Prefix& wanted) {
  return std::find(prefixes.begin(), prefixes.end(), wanted) != prefixes.end();
}

bool IsBelowList(const Place& node, const std::string& list) {
  return node.size() > 3 && node[0].text == "config" &&
         node[1].text == "interface" && node[2].text == list;
}

}  // namespace

// ---- Reading the OSPFv2 assignments ----------------------------------------

bool PlainModel::ReadOspf() {
  if (ospf_read_) return true;
  for (const Ospfv2Row& row : current_->ospfv2) {
    if (!ReadOspfRow(row)) return false;
  }
  ospf_read_ = true;
  return true;
}

bool PlainModel::ReadOspfRow(const Ospfv2Row& row) {
  const std::size_t hyphen = row.interface_key.find('-');
  if (hyphen == std::string::npos) return true;

  std::uint32_t compound_id = 0;
  answer_.exception = ParseNumber(row.compound_id, &compound_id);
  if (answer_.exception != Exception::kNone) return false;
  Octets area;
  Octets address;
  if (!ParseAddress(row.area, &area) || !ParseAddress(row.address, &address)) {
    answer_.exception = Exception::kNoAddress;
    return false;
  }

  Assignment assignment;
  assignment.interface_name = row.interface_key.substr(0, hyphen) + " " +
                              row.interface_key.substr(hyphen + 1);
  assignment.area = area;
  assignment.addresses = {
      {address, LengthOf(compound_id, area, row.interface_key, address)}};
  assignment.process_id = ProcessOf(compound_id);
  assignment.vrf = VrfOfProcess(compound_id);
  MergeAssignment(assignment);
  return true;
}

// The look-up uses the values of the row's keys, whose texts may differ.
std::int32_t PlainModel::LengthOf(std::uint32_t compound_id, const Octets& area,
                                  const std::string& interface_key,
                                  const Octets& address) {
  for (const Ospfv2Row& row : current_->ospfv2) {
    if (row.compound_id == std::to_string(compound_id) &&
        row.area == AddressText(area) && row.interface_key == interface_key &&
        row.address == AddressText(address) && row.netmask) {
      return *row.netmask;
    }
  }
  answer_.log.push_back("Failed to get IPv4 netmask from process ID " +
                        std::to_string(compound_id) + "!");
  return 0;
}

std::uint32_t PlainModel::ProcessOf(std::uint32_t compound_id) {
  for (const ProcessRow& row : current_->processes) {
    if (row.compound_id == compound_id && row.process_id) {
      return *row.process_id;
    }
  }
  answer_.log.push_back("Failed to get process ID from compound ID " +
                        std::to_string(compound_id) + "!");
  return 0;
}

std::string PlainModel::VrfOfProcess(std::uint32_t compound_id) {
  for (const ProcessRow& row : current_->processes) {
    if (row.compound_id == compound_id && row.vrf) return *row.vrf;
  }
  answer_.log.push_back("Failed to get VRF name from compound ID " +
                        std::to_string(compound_id) + "!");
  return "";
}

void PlainModel::MergeAssignment(const Assignment& assignment) {
  for (Assignment& known : assignments_) {
    if (known.interface_name == assignment.interface_name &&
        known.process_id == assignment.process_id &&
        known.vrf == assignment.vrf) {
      known.addresses.push_back(assignment.addresses.front());
      return;
    }
  }
  assignments_.push_back(assignment);
}

// ---- OSPFv2 rules ----------------------------------------------------------

bool PlainModel::OspfAddressesHold(const Reader& reader) {
  for (const Assignment& assignment : assignments_) {
    for (const Record& record : reader.records) {
      if (record.name != assignment.interface_name) continue;
      if (!OspfAddressesHold(assignment, record)) return false;
    }
  }
  return true;
}

bool PlainModel::OspfAddressesHold(const Assignment& assignment,
                                   const Record& record) {
  const std::string process = "router ospf " +
                              std::to_string(assignment.process_id) + " vrf " +
                              assignment.vrf + " " + AreaText(assignment.area);
  for (const Prefix& address : assignment.addresses) {
    if (IsAmong(record.ipv4, address)) continue;
    return Refuse(PrefixText(address) +
                  " cannot be modified nor deleted, it is assigned to " +
                  process);
  }
  if (assignment.addresses.size() >= record.ipv4.size()) return true;
  for (const Prefix& address : record.ipv4) {
    if (IsAmong(assignment.addresses, address)) continue;
    return Refuse(PrefixText(address) +
                  " cannot be added after interface is assigned to " + process);
  }
  return true;
}

bool PlainModel::OspfVrfsHold(const Reader& reader) {
  for (const Assignment& assignment : assignments_) {
    for (const Record& record : reader.records) {
      if (record.name != assignment.interface_name) continue;
      if (record.vrf == assignment.vrf) continue;
      return Refuse(record.name + " vrf " + record.vrf + " and router ospf " +
                    std::to_string(assignment.process_id) + " vrf " +
                    assignment.vrf +
                    " cannot be associated with divergent VRF");
    }
  }
  return true;
}

// ---- OSPFv3 ----------------------------------------------------------------

// Refuses changes only for the list of l3 or loopback interfaces itself.
bool PlainModel::ChangedVrfsHold(const Place& place) {
  const std::string list = ElementOf(place, 0);
  if (place.size() != 3 || (list != "l3" && list != "loopback")) return true;
  for (const Change& change : current_->changes) {
    if (!IsBelowList(change.node, list)) continue;
    if (change.operation != Operation::kValueSet) continue;
    if (ElementOf(change.node, 0) != "vrf" || !change.new_value) continue;
    const std::string key = ElementOf(change.node, 1);
    if (!IsInOspfv3(list + "-" + key)) continue;
    return Refuse(list + " " + key +
                  " is configured in OSPFv3 and cannot be associated with a "
                  "VRF");
  }
  return true;
}

bool PlainModel::IsInOspfv3(const std::string& name) const {
  return std::any_of(current_->ospfv3.begin(), current_->ospfv3.end(),
                     [&](const Ospfv3Row& row) { return row.if_name == name; });
}

void PlainModel::ValidateVlan(const Place& place) {
  if (current_->ospfv3.empty()) return;

  const std::string key = ElementOf(place, 1);
  std::optional<std::int32_t> before;
  for (const RunningVlan& running : current_->running) {
    if (running.key == key) before = running.vlan;
  }
  if (!before) return;
  for (const InterfaceEntry& entry : current_->l3) {
    if (entry.key == key && entry.vlan == before) return;
  }

  for (const Ospfv3Row& row : current_->ospfv3) {
    const auto index = kFirstIfIndex + static_cast<std::uint32_t>(*before);
    if (row.if_index.value_or(0) != index) continue;
    return Reject(
        "vlan %d cannot be changed, it is assigned to router ospfv3 %d area %u "
        "(%s)",
        "vlan " + std::to_string(*before) +
            " cannot be changed, it is assigned to router ospfv3 " +
            std::to_string(static_cast<std::int32_t>(row.router)) + " " +
            AreaText(row.area));
  }
}

}  // namespace ipav::model
