// Culprits between interfaces and the tables of OSPFv2 and OSPFv3.

#include <arpa/inet.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/confd/path.h"
#include "messages/culprits.h"

namespace ipav::messages {

namespace {

constexpr char kFits[] = " interfaces fit the text, which names none";

// Keys of a row of the OSPFv2 table, and of the OSPFv3 table.
enum OspfKey : std::size_t {
  kCompoundId = 0,
  kArea = 1,
  kInterface = 2,
  kAddress = 3,
  kOspfKeys = 4
};
enum Ospfv3Key : std::size_t { kRouter = 0, kOspfv3Area = 1, kOspfv3Keys = 3 };

struct OspfRow {
  const lyd_node* entry;
  std::string address;
  std::string prefix;
};

// One interface in one process, as the rules see it: all its rows.
struct Assignment {
  InterfaceName interface;
  std::string process;
  std::string vrf;
  std::string area;               // of the first row
  const lyd_node* process_entry;  // null: the table lacks it
  std::string compound_id;        // of the first row
  std::vector<OspfRow> rows;
};

std::string Dotted(const std::string& address) {
  in_addr number{};
  char printed[INET_ADDRSTRLEN] = "";
  if (inet_pton(AF_INET, address.c_str(), &number) != 1 ||
      inet_ntop(AF_INET, &number, printed, sizeof(printed)) == nullptr) {
    return address;
  }
  return printed;
}

// Rows with the same key are one assignment.
std::string KeyOf(const Assignment& assignment) {
  std::string key = assignment.interface.kind;
  for (const std::string& part :
       {assignment.interface.name, assignment.process, assignment.vrf}) {
    key.append(1, '\0').append(part);  // YANG texts have no NUL
  }
  return key;
}

// The assignment of one row; it has no rows where the interface has no kind.
Assignment AssignmentOf(const DataView& view, const lyd_node* entry) {
  const std::vector<std::string> keys = datastore::KeysOf(entry);
  if (keys.size() != kOspfKeys ||
      keys[kInterface].find('-') == std::string::npos) {
    return {};
  }
  Assignment assignment;
  assignment.interface = SplitName(keys[kInterface], '-');
  assignment.compound_id = keys[kCompoundId];
  assignment.area = Dotted(keys[kArea]);
  assignment.process_entry =
      view.Entry(view.At(nullptr, {"internal"}), "ospf-index-to-proc-id",
                 {keys[kCompoundId]});
  // If the table lacks the process, the plug-in reads 0 and an empty VRF.
  const lyd_node* process = view.Child(assignment.process_entry, "proc_id");
  assignment.process = process == nullptr ? "0" : TextOf(process);
  assignment.vrf = TextOf(view.Child(assignment.process_entry, "vrf_name"));
  const lyd_node* length = view.At(entry, {"ospf-pm-ip-netmask"});
  const std::string address = Dotted(keys[kAddress]);
  assignment.rows.push_back(
      {entry, address,
       address + "/" + (length == nullptr ? "0" : TextOf(length))});
  return assignment;
}

std::vector<Assignment> AssignmentsOf(const DataView& view) {
  std::vector<Assignment> all;
  std::unordered_map<std::string, std::size_t> positions;
  for (const lyd_node* entry :
       view.Entries(view.At(nullptr, {"internal"}), "ospf-interface-l3")) {
    Assignment assignment = AssignmentOf(view, entry);
    if (assignment.rows.empty()) continue;
    const auto [known, is_new] =
        positions.try_emplace(KeyOf(assignment), all.size());
    if (is_new) {
      all.push_back(std::move(assignment));
    } else {
      all[known->second].rows.push_back(assignment.rows.front());
    }
  }
  return all;
}

const OspfRow* FindRow(const Assignment& assignment,
                       const std::string& prefix) {
  for (const OspfRow& row : assignment.rows) {
    if (row.prefix == prefix) return &row;
  }
  return nullptr;
}

// Whether the process, VRF and area of the text are those of the assignment.
bool IsMeant(const Refusal& refusal, const Assignment& assignment) {
  return assignment.process == refusal.Field("process") &&
         assignment.vrf == refusal.Field("vrf") &&
         assignment.area == refusal.Field("area");
}

// Adds what the interface has instead of an address that OSPFv2 knows.
void AddMissingAddress(const Refusal& refusal, const lyd_node* interface,
                       const OspfRow& row, FoundCulprits* culprits) {
  // 1. It has another prefix length.
  for (const lyd_node* leaf :
       AddressesOf(refusal.candidate, interface, "ipv4")) {
    if (WithoutLength(TextOf(leaf)) != row.address) continue;
    culprits->nodes.push_back({"address of the interface", leaf});
    return;
  }
  // 2. It was there before, and is now replaced or removed.
  const lyd_node* before = InRunning(refusal, interface);
  const lyd_node* leaf =
      FindAddress(refusal.running, before, "ipv4", row.prefix);
  if (leaf == nullptr) {
    culprits->nodes.push_back({"interface without the address", interface});
    return;
  }
  const lyd_node* primary =
      refusal.candidate.At(interface, {"ipv4", "address", "ip"});
  if (primary != nullptr && !lysc_is_key(leaf->schema)) {
    culprits->nodes.push_back({"address in its place", primary});
  } else {
    culprits->nodes.push_back({"address", leaf, true});
  }
}

// Adds the row: its prefix length if only that differs, else its address.
void AddRow(const Refusal& refusal, const OspfRow& row, bool by_length,
            FoundCulprits* culprits) {
  const std::size_t known = culprits->nodes.size();
  if (by_length) {
    AddLeaf(refusal, row.entry, "ospf-pm-ip-netmask",
            "prefix length known to OSPFv2", true, culprits);
  }
  if (culprits->nodes.size() > known) return;
  culprits->nodes.push_back(
      {"known to OSPFv2", refusal.candidate.LeafOrEntry(row.entry, "address")});
}

// Adds the interface in OSPFv2.
void AddInterface(const Refusal& refusal, const Assignment& assignment,
                  FoundCulprits* culprits) {
  culprits->nodes.push_back(
      {"assigned to OSPFv2", refusal.candidate.LeafOrEntry(
                                 assignment.rows.front().entry, "interface")});
}

// Adds the row that knew the address, if the commit removed it.
void AddRemovedRow(const Refusal& refusal, const Assignment& assignment,
                   const std::string& prefix, FoundCulprits* culprits) {
  for (const Assignment& before : AssignmentsOf(refusal.running)) {
    const OspfRow* row =
        KeyOf(before) == KeyOf(assignment) ? FindRow(before, prefix) : nullptr;
    if (row == nullptr) continue;
    const lyd_node* address = refusal.running.At(row->entry, {"address"});
    if (refusal.candidate.AtPath(confd::PrintPath(row->entry)) == nullptr) {
      culprits->nodes.push_back({"removed from OSPFv2", address, true});
    }
  }
}

// Adds the VRF of the process, or a note that it has none.
void AddProcessVrf(const Refusal& refusal, const Assignment& assignment,
                   FoundCulprits* culprits) {
  constexpr char kRole[] = "VRF of the process";
  const std::size_t known = culprits->nodes.size();
  if (assignment.process_entry != nullptr) {
    AddLeaf(refusal, assignment.process_entry, "vrf_name", kRole, true,
            culprits);
  } else if (const lyd_node* before = refusal.running.Entry(
                 refusal.running.At(nullptr, {"internal"}),
                 "ospf-index-to-proc-id", {assignment.compound_id})) {
    const lyd_node* vrf = refusal.running.At(before, {"vrf_name"});
    if (vrf != nullptr) culprits->nodes.push_back({kRole, vrf, true});
  }
  if (culprits->nodes.size() > known) return;
  culprits->note = "the table of processes names no VRF for compound-id " +
                   assignment.compound_id;
}

// Notes that the process of the text is missing in the table of processes.
void NoteMissingProcess(const Assignment& assignment, FoundCulprits* culprits) {
  if (assignment.process_entry != nullptr || !culprits->note.empty()) return;
  culprits->note =
      "the table of processes lacks compound-id " + assignment.compound_id;
}

std::string NumberOfArea(const std::string& area) {
  in_addr address{};
  static_cast<void>(inet_pton(AF_INET, area.c_str(), &address));
  return std::to_string(ntohl(address.s_addr));
}

// The number as texts print it: "4294967295" is "-1".
std::string Signed(const std::string& number) {
  return std::to_string(static_cast<std::int32_t>(
      static_cast<std::uint32_t>(std::strtoul(number.c_str(), nullptr, 10))));
}

std::vector<const lyd_node*> Ospfv3RowsOf(const DataView& view) {
  return view.Entries(view.At(nullptr, {"internal"}), "ospfv3-interface-l3");
}

// Whether a row has the index of that VLAN, and the router and area of the
// text.
bool IsRowOfVlan(const Refusal& refusal, const lyd_node* row) {
  const std::vector<std::string> keys = datastore::KeysOf(row);
  if (keys.size() != kOspfv3Keys) return false;
  const lyd_node* index = refusal.candidate.At(row, {"ospfv3-pm-if-index"});
  const std::string known = index == nullptr ? "0" : TextOf(index);
  return known == IfIndexOfVlan(refusal.Field("vlan")) &&
         Signed(keys[kRouter]) == refusal.Field("router") &&
         keys[kOspfv3Area] == refusal.Field("area") &&
         NumberOfArea(keys[kOspfv3Area]) == refusal.Field("number");
}

FoundCulprits OspfAddressRemoved(const Refusal& refusal) {
  FoundCulprits culprits;
  std::size_t count = 0;
  for (const Assignment& assignment : AssignmentsOf(refusal.candidate)) {
    if (!IsMeant(refusal, assignment)) continue;
    const OspfRow* row = FindRow(assignment, refusal.Field("prefix"));
    const lyd_node* interface =
        FindInterface(refusal.candidate, assignment.interface);
    if (row == nullptr || interface == nullptr ||
        FindAddress(refusal.candidate, interface, "ipv4", row->prefix) !=
            nullptr) {
      continue;
    }
    if (++count > kMaxNamed) continue;
    AddMissingAddress(refusal, interface, *row, &culprits);
    const bool by_length =
        culprits.nodes.back().role == "address of the interface";
    AddRow(refusal, *row, by_length, &culprits);
    NoteMissingProcess(assignment, &culprits);
  }
  culprits.confirms = count > 0;
  if (count > 1) culprits.note = std::to_string(count) + kFits;
  return culprits;
}

FoundCulprits OspfAddressAdded(const Refusal& refusal) {
  const std::string& prefix = refusal.Field("prefix");
  FoundCulprits culprits;
  std::size_t count = 0;
  for (const Assignment& assignment : AssignmentsOf(refusal.candidate)) {
    if (!IsMeant(refusal, assignment) ||
        FindRow(assignment, prefix) != nullptr) {
      continue;
    }
    const lyd_node* interface =
        FindInterface(refusal.candidate, assignment.interface);
    const lyd_node* address =
        FindAddress(refusal.candidate, interface, "ipv4", prefix);
    if (address == nullptr || ++count > kMaxNamed) continue;
    culprits.nodes.push_back({"address", address});
    AddInterface(refusal, assignment, &culprits);
    AddRemovedRow(refusal, assignment, prefix, &culprits);
    NoteMissingProcess(assignment, &culprits);
  }
  culprits.confirms = count > 0;
  if (count > 1) culprits.note = std::to_string(count) + kFits;
  return culprits;
}

FoundCulprits OspfVrfDiffers(const Refusal& refusal) {
  const InterfaceName name = SplitName(refusal.Field("interface"));
  const lyd_node* interface = FindInterface(refusal.candidate, name);
  if (interface == nullptr ||
      VrfOf(refusal.candidate, interface) != refusal.Field("vrf")) {
    return {};
  }
  for (const Assignment& assignment : AssignmentsOf(refusal.candidate)) {
    if (assignment.interface.kind != name.kind ||
        assignment.interface.name != name.name ||
        assignment.process != refusal.Field("process") ||
        assignment.vrf != refusal.Field("process-vrf")) {
      continue;
    }
    FoundCulprits culprits{true, {}, ""};
    AddLeaf(refusal, interface, "vrf", "VRF of the interface", true, &culprits);
    if (culprits.nodes.empty()) {
      culprits.nodes.push_back({"interface without VRF", interface});
    }
    AddInterface(refusal, assignment, &culprits);
    AddProcessVrf(refusal, assignment, &culprits);
    return culprits;
  }
  return {};
}

FoundCulprits Ospfv3VrfSet(const Refusal& refusal) {
  const InterfaceName name = SplitName(refusal.Field("interface"));
  const lyd_node* interface = FindInterface(refusal.candidate, name);
  const lyd_node* vrf = refusal.candidate.Child(interface, "vrf");
  if (vrf == nullptr) return {};
  if (!refusal.from_nothing && refusal.IsUnchanged(vrf)) return {};
  for (const lyd_node* row : Ospfv3RowsOf(refusal.candidate)) {
    const lyd_node* leaf = refusal.candidate.At(row, {"ospfv3-pm-if-name"});
    if (leaf == nullptr || TextOf(leaf) != name.kind + "-" + name.name) {
      continue;
    }
    return {true, {{"VRF", vrf}, {"interface in OSPFv3", leaf}}, ""};
  }
  return {};
}

FoundCulprits Ospfv3VlanChanged(const Refusal& refusal) {
  const lyd_node* lower = refusal.candidate.AtPath(refusal.path);
  const lyd_node* before = refusal.running.AtPath(refusal.path);
  if (lower == nullptr || before == nullptr) return {};
  const lyd_node* old_vlan = refusal.running.At(before, {"vlan"});
  if (TextOf(old_vlan) != refusal.Field("vlan")) return {};
  for (const lyd_node* row : Ospfv3RowsOf(refusal.candidate)) {
    if (!IsRowOfVlan(refusal, row)) continue;
    FoundCulprits culprits{true, {}, ""};
    AddLeaf(refusal, lower, "vlan", "VLAN", true, &culprits);
    culprits.nodes.push_back(
        {"interface in OSPFv3",
         refusal.candidate.LeafOrEntry(row, "ospfv3-pm-if-index")});
    return culprits;
  }
  return {};
}

}  // namespace

CulpritSearches OspfCulprits() {
  return {
      {"ospf-address-removed", OspfAddressRemoved},
      {"ospf-address-added", OspfAddressAdded},
      {"ospf-vrf-differs", OspfVrfDiffers},
      {"ospfv3-vrf-set", Ospfv3VrfSet},
      {"ospfv3-vlan-changed", Ospfv3VlanChanged},
  };
}

}  // namespace ipav::messages
