#include "fixer/proposals.h"

#include <algorithm>
#include <set>
#include <utility>

#include "host/base/bytes.h"
#include "host/confd/path.h"
#include "nettypes/address_space.h"

namespace ipav::fixer {

namespace {

using datastore::Novelty;
using messages::Culprit;
using messages::DataView;

const Proposers& AllProposers() {
  static const auto& all = *new Proposers([] {
    Proposers joined;
    for (Proposers some : {InterfaceProposers(), OspfProposers(),
                           RouteProposers(), TimerProposers()}) {
      joined.merge(some);
    }
    return joined;
  }());
  return all;
}

// Whether the change adds the entry, if there is one.
bool IsNew(const Subject& subject, const lyd_node* entry) {
  return entry != nullptr &&
         subject.running.AtPath(confd::PrintPath(entry)) == nullptr;
}

// The VRF of the interface that has the node at the path.
std::string VrfAt(const Subject& subject, const std::string& path) {
  const bool is_there = subject.candidate.AtPath(path) != nullptr;
  const DataView& view = is_there ? subject.candidate : subject.running;
  return messages::VrfOf(view, InterfaceOf(view.AtPath(path)));
}

// The address leaf that has the value, which the path had, because of the
// change, in the same address space; null without one.
const lyd_node* TakerOf(const Subject& subject, const std::string& path,
                        const std::string& value) {
  const DataView& view = subject.candidate;
  const std::string vrf = VrfAt(subject, path);
  const auto has_taken = [&](const lyd_node* leaf) {
    const lyd_node* before = subject.running.AtPath(confd::PrintPath(leaf));
    return messages::TextOf(leaf) == value && before != nullptr &&
           messages::TextOf(before) != value;
  };
  for (const lyd_node* interface : InterfacesOf(view)) {
    if (!nettypes::ShareAddressSpace(vrf, messages::VrfOf(view, interface))) {
      continue;
    }
    for (const char* family : {"ipv4", "ipv6"}) {
      const auto leaves = messages::AddressesOf(view, interface, family);
      const auto found = std::find_if(leaves.begin(), leaves.end(), has_taken);
      if (found != leaves.end()) return *found;
    }
  }
  return nullptr;
}

// Takes back the change of a leaf. If another one has its value now, as after a
// swap of two addresses, that one is taken back, too, and so on.
void ProposeToLeave(const Subject& subject, const std::string& first,
                    Proposals* proposals) {
  std::vector<Edit> edits;
  std::string paths;
  std::string values;
  std::set<std::string> seen;
  for (std::string path = first; seen.insert(path).second;) {
    const std::string value = messages::TextOf(subject.running.AtPath(path));
    edits.push_back({Edit::Kind::kRestore, path, "", ""});
    paths += (paths.empty() ? "" : " and ") + path;
    values += (values.empty() ? "" : " and ") + value;
    const lyd_node* taker = TakerOf(subject, path, value);
    if (taker != nullptr) path = confd::PrintPath(taker);
  }
  const std::string as_before =
      edits.size() == 1 ? " as it is" : " as they are";
  proposals->push_back({false,
                        "leave " + paths + as_before +
                            " in the running configuration: " + values,
                        std::move(edits)});
}

// Takes back what the change did to a node that the refusal names.
void ProposeToTakeBack(const Subject& subject, const Culprit& culprit,
                       Proposals* proposals) {
  const auto edit = [&](Edit::Kind kind) {
    return Edit{kind, culprit.path, "", ""};
  };
  switch (culprit.novelty) {
    case Novelty::kUnchanged:
      return;
    case Novelty::kChanged:
      ProposeToLeave(subject, culprit.path, proposals);
      return;
    case Novelty::kRemoved:
      proposals->push_back(
          {false,
           "keep " + culprit.path + ", which the change removes",
           {edit(Edit::Kind::kRestore)}});
      return;
    case Novelty::kAdded:
      const lyd_node* node = subject.candidate.AtPath(culprit.path);
      if (node == nullptr || IsNew(subject, InterfaceOf(node))) return;
      const bool is_key = lysc_is_key(node->schema);
      if (is_key) node = lyd_parent(node);
      if (InterfaceOf(node) == node) return;
      const lyd_node* entry = EntryOf(node);
      if (entry != node && IsNew(subject, entry)) return;
      proposals->push_back(
          {false,
           "leave out " + confd::PrintPath(node) + ", which the change adds",
           {}});
      RemoveRoute(subject.candidate, node, &proposals->back().edits);
  }
}

// Whether it alters a node that the change leaves as it is.
bool AltersUnchanged(const Subject& subject, const Proposal& proposal) {
  const auto is_unchanged = [&](const Edit& edit) {
    if (edit.kind != Edit::Kind::kSet && edit.kind != Edit::Kind::kRemove) {
      return false;
    }
    const lyd_node* before = subject.running.AtPath(edit.path);
    return before != nullptr &&
           messages::TextOf(before) ==
               messages::TextOf(subject.candidate.AtPath(edit.path));
  };
  return std::any_of(proposal.edits.begin(), proposal.edits.end(),
                     is_unchanged);
}

}  // namespace

Proposals Propose(const Subject& subject) {
  Proposals proposals;
  const auto found = AllProposers().find(subject.finding.rule);
  if (found == AllProposers().end()) return proposals;
  const std::string& rule = subject.finding.rule;
  proposals = found->second(subject);
  // The finding names only some of the entries.
  if (base::EndsWith(rule, "-too-many")) return proposals;
  Proposals to_take_back;
  for (const Culprit& culprit : subject.finding.culprits) {
    ProposeToTakeBack(subject, culprit, &to_take_back);
  }
  // An interface leaves OSPF only if nothing else helps.
  const bool is_first = base::StartsWith(rule, "ospf");
  proposals.insert(is_first ? proposals.begin() : proposals.end(),
                   to_take_back.begin(), to_take_back.end());
  // What the change leaves as it is stays so if something else helps.
  std::stable_partition(
      proposals.begin(), proposals.end(),
      [&](const Proposal& one) { return !AltersUnchanged(subject, one); });
  std::stable_partition(proposals.begin(), proposals.end(),
                        [](const Proposal& one) { return one.is_safe; });
  return proposals;
}

Edit Set(const lyd_node* leaf, std::string value) {
  return {Edit::Kind::kSet, confd::PrintPath(leaf), std::move(value), ""};
}

Edit Add(const lyd_node* parent, std::string name, std::string value) {
  return {Edit::Kind::kAdd, confd::PrintPath(parent), std::move(value),
          std::move(name)};
}

Edit Remove(const lyd_node* node) {
  return {Edit::Kind::kRemove, confd::PrintPath(node), "", ""};
}

const Culprit* WithRole(const Subject& subject, const char* role) {
  const auto& culprits = subject.finding.culprits;
  const auto found =
      std::find_if(culprits.begin(), culprits.end(),
                   [&](const Culprit& c) { return c.role == role; });
  return found == culprits.end() ? nullptr : &*found;
}

const lyd_node* NodeWithRole(const Subject& subject, const char* role) {
  const Culprit* culprit = WithRole(subject, role);
  return culprit == nullptr ? nullptr : subject.candidate.AtPath(culprit->path);
}

const lyd_node* InterfaceOf(const lyd_node* node) {
  while (node != nullptr &&
         (lyd_parent(node) == nullptr ||
          lyd_parent(node)->schema->name != std::string("interface"))) {
    node = lyd_parent(node);
  }
  return node;
}

bool IsLoopback(const lyd_node* interface) {
  return interface != nullptr &&
         interface->schema->name == std::string("loopback");
}

std::string NameOf(const lyd_node* interface, const char* separator) {
  if (interface == nullptr) return "";
  return interface->schema->name + std::string(separator) +
         messages::TextOf(lyd_child(interface));
}

std::vector<const lyd_node*> InterfacesOf(const DataView& view) {
  std::vector<const lyd_node*> all;
  const lyd_node* parent = view.At(nullptr, {"config", "interface"});
  for (const char* kind : {"l3", "loopback", "mgmt"}) {
    const auto entries = view.Entries(parent, kind);
    all.insert(all.end(), entries.begin(), entries.end());
  }
  return all;
}

}  // namespace ipav::fixer
