// Proposals between interfaces and the tables of OSPFv2 and OSPFv3.

#include "fixer/prefix.h"
#include "fixer/proposals.h"
#include "messages/match.h"

namespace ipav::fixer {

namespace {

using messages::Culprit;
using messages::DataView;
using messages::TextOf;

constexpr char kInOspfv3[] = "interface in OSPFv3";

// The rows of a table with the same value as this one.
std::vector<const lyd_node*> RowsLike(const DataView& view, const lyd_node* row,
                                      const char* leaf) {
  std::vector<const lyd_node*> rows;
  if (row == nullptr) return rows;
  const std::string value = TextOf(view.Child(row, leaf));
  for (const lyd_node* other :
       view.Entries(lyd_parent(row), row->schema->name)) {
    if (TextOf(view.Child(other, leaf)) == value) rows.push_back(other);
  }
  return rows;
}

// Takes the interface of the row that a culprit is in out of its process.
void ProposeToTakeOut(const Subject& subject, const char* role,
                      const char* leaf, const char* protocol,
                      Proposals* proposals) {
  const lyd_node* row = EntryOf(NodeWithRole(subject, role));
  Proposal proposal{
      false, std::string("take the interface out of ") + protocol, {}};
  for (const lyd_node* each : RowsLike(subject.candidate, row, leaf)) {
    proposal.edits.push_back(Remove(each));
  }
  if (!proposal.edits.empty()) proposals->push_back(std::move(proposal));
}

// The address that OSPFv2 knows, on the interface again.
void ProposeToPutBack(const Subject& subject, const std::string& prefix,
                      Proposals* proposals) {
  const DataView& view = subject.candidate;
  const std::string text = "put " + prefix + " back, which OSPFv2 knows";
  for (const char* role :
       {"address of the interface", "address in its place"}) {
    const lyd_node* leaf = NodeWithRole(subject, role);
    if (leaf == nullptr) continue;
    proposals->push_back({false, text, {Set(leaf, prefix)}});
    return;
  }
  const lyd_node* interface =
      NodeWithRole(subject, "interface without the address");
  const lyd_node* ipv4 = view.Child(interface, "ipv4");
  if (ipv4 == nullptr) return;
  const lyd_node* address = view.Child(ipv4, "address");
  const bool has_list =
      IsLoopback(interface) ||
      (address != nullptr && address->schema->nodetype == LYS_LIST);
  Edit edit = Add(ipv4, "address", prefix);
  if (!has_list && address != nullptr) {
    const bool has_primary = view.Child(address, "ip") != nullptr;
    edit = Add(address, has_primary ? "secondary" : "ip", prefix);
  }
  proposals->push_back({false, text, {edit}});
}

Proposals AddressRemoved(const Subject& subject) {
  const DataView& view = subject.candidate;
  const char* role = WithRole(subject, "known to OSPFv2") != nullptr
                         ? "known to OSPFv2"
                         : "prefix length known to OSPFv2";
  const lyd_node* row = EntryOf(NodeWithRole(subject, role));
  if (row == nullptr) return {};
  const lyd_node* length = view.Child(row, "ospf-pm-ip-netmask");
  Proposals proposals;
  ProposeToPutBack(subject,
                   TextOf(view.Child(row, "address")) + "/" +
                       (length == nullptr ? "0" : TextOf(length)),
                   &proposals);
  proposals.push_back({false,
                       "remove the row of OSPFv2 that knows the address",
                       {Remove(row)}});
  ProposeToTakeOut(subject, role, "interface", "OSPFv2", &proposals);
  return proposals;
}

Proposals AddressAdded(const Subject& subject) {
  Proposals proposals;
  const lyd_node* leaf = NodeWithRole(subject, "address");
  if (leaf != nullptr) {
    proposals.push_back(
        {false,
         "remove " + TextOf(leaf) + " from " + NameOf(InterfaceOf(leaf)),
         {Remove(leaf)}});
  }
  ProposeToTakeOut(subject, "assigned to OSPFv2", "interface", "OSPFv2",
                   &proposals);
  return proposals;
}

// The VRF of the process, as the text has it.
std::string ProcessVrf(const Subject& subject) {
  for (const auto& reading : messages::ReadText(subject.finding.text)) {
    if (reading.HasField("process-vrf")) return reading.Field("process-vrf");
  }
  return "";
}

Proposals VrfDiffers(const Subject& subject) {
  Proposals proposals;
  const std::string vrf = ProcessVrf(subject);
  const lyd_node* leaf = NodeWithRole(subject, "VRF of the interface");
  const lyd_node* interface = NodeWithRole(subject, "interface without VRF");
  if (interface == nullptr) interface = InterfaceOf(leaf);
  if (!vrf.empty() && interface != nullptr) {
    const Edit edit = leaf == nullptr   ? Add(interface, "vrf", vrf)
                      : vrf == "global" ? Remove(leaf)
                                        : Set(leaf, vrf);
    proposals.push_back(
        {false, "move " + NameOf(interface) + " to the VRF " + vrf, {edit}});
  }
  ProposeToTakeOut(subject, "assigned to OSPFv2", "interface", "OSPFv2",
                   &proposals);
  return proposals;
}

Proposals Ospfv3Vrf(const Subject& subject) {
  Proposals proposals;
  const lyd_node* leaf = NodeWithRole(subject, "VRF");
  const lyd_node* before =
      leaf == nullptr ? nullptr
                      : subject.running.AtPath(WithRole(subject, "VRF")->path);
  if (leaf != nullptr && TextOf(leaf) == "global" && before == nullptr) {
    proposals.push_back({true,
                         "leave out the VRF global: the interface belongs to "
                         "it without it",
                         {Remove(leaf)}});
  }
  ProposeToTakeOut(subject, kInOspfv3, "ospfv3-pm-if-name", "OSPFv3",
                   &proposals);
  return proposals;
}

// The rows of OSPFv3 know the VLAN by the index of its interface.
Proposals Ospfv3Vlan(const Subject& subject) {
  const char* leaf = "ospfv3-pm-if-index";
  Proposals proposals;
  const lyd_node* vlan = NodeWithRole(subject, "VLAN");
  if (vlan != nullptr) {
    const std::string index = messages::IfIndexOfVlan(TextOf(vlan));
    const lyd_node* row = EntryOf(NodeWithRole(subject, kInOspfv3));
    Proposal both{false, "change the VLAN in OSPFv3, too: index " + index, {}};
    for (const lyd_node* each : RowsLike(subject.candidate, row, leaf)) {
      const lyd_node* known = subject.candidate.Child(each, leaf);
      if (known != nullptr) both.edits.push_back(Set(known, index));
    }
    proposals.push_back(std::move(both));
  }
  ProposeToTakeOut(subject, kInOspfv3, leaf, "OSPFv3", &proposals);
  return proposals;
}

}  // namespace

Proposers OspfProposers() {
  return {
      {"ospf-address-removed", AddressRemoved},
      {"ospf-address-added", AddressAdded},
      {"ospf-vrf-differs", VrfDiffers},
      {"ospfv3-vrf-set", Ospfv3Vrf},
      {"ospfv3-vlan-changed", Ospfv3Vlan},
  };
}

}  // namespace ipav::fixer
