// Proposals for the names, the number and the addresses of interfaces.

#include <algorithm>
#include <cstdlib>
#include <set>
#include <utility>

#include "fixer/prefix.h"
#include "fixer/proposals.h"
#include "host/base/utf8.h"
#include "host/confd/path.h"
#include "messages/l3_name.h"
#include "nettypes/address_space.h"

namespace ipav::fixer {

namespace {

using messages::Culprit;
using messages::DataView;

constexpr std::size_t kRoomOfL3 = 256;
constexpr unsigned kAdvertisedLength = 64;
constexpr int kMostHosts = 4096;  // that are tried

// ---- Names and number ------------------------------------------------------

// Leaves out the last of those that the change adds.
Proposals TooManyL3(const Subject& subject) {
  const DataView& view = subject.candidate;
  const auto all =
      view.Entries(view.At(nullptr, {"config", "interface"}), "l3");
  std::size_t excess = all.size() - std::min(all.size(), kRoomOfL3);
  Proposal proposal{false, "", {}};
  std::string first;
  for (auto entry = all.rbegin(); entry != all.rend() && excess > 0; ++entry) {
    if (subject.running.AtPath(confd::PrintPath(*entry)) != nullptr) continue;
    proposal.edits.push_back(Remove(*entry));
    first = NameOf(*entry);
    --excess;
  }
  if (excess > 0 || proposal.edits.empty()) return {};
  const std::size_t others = proposal.edits.size() - 1;
  proposal.text = "leave out " + first;
  if (others > 0) proposal.text += " and " + std::to_string(others) + " more";
  proposal.text += ", which the change adds";
  return {proposal};
}

// The tables name an interface by its kind and name.
void RenameInTables(const DataView& view, const std::string& before,
                    const std::string& after, std::vector<Edit>* edits) {
  const lyd_node* tables = view.At(nullptr, {"internal"});
  const auto rename = [&](const lyd_node* parent, const char* list,
                          const char* leaf) {
    for (const lyd_node* row : view.Entries(parent, list)) {
      const lyd_node* name = view.Child(row, leaf);
      if (messages::TextOf(name) == before) edits->push_back(Set(name, after));
    }
  };
  rename(tables, "ospf-interface-l3", "interface");
  rename(tables, "ospfv3-interface-l3", "interface");
  rename(tables, "ospfv3-interface-l3", "ospfv3-pm-if-name");
  rename(nullptr, "rtmStaticRtEntry-global", "interface-name");
}

// Whether two entries only differ in their name, which comes first.
bool IsRenamed(const lyd_node* before, const lyd_node* after) {
  return lyd_compare_siblings(lyd_child(before)->next, lyd_child(after)->next,
                              LYD_COMPARE_FULL_RECURSION) == LY_SUCCESS;
}

// The name in allowed characters, as long as allowed, and not taken in either
// configuration: it would be the name of something else. The name that the
// entry has in the running configuration is not taken.
std::string AllowedName(const Subject& subject, const lyd_node* named) {
  constexpr std::string_view kCharacters = messages::kL3NameCharacters;
  const std::string name = messages::TextOf(lyd_child(named));
  std::string allowed;
  const std::string_view bytes = name;
  for (std::size_t at = 0; at < bytes.size();
       at += base::FirstCharacter(bytes.substr(at)).size) {
    const bool is_allowed =
        kCharacters.find(bytes[at]) != std::string_view::npos;
    allowed += is_allowed ? bytes[at] : '-';
  }
  std::set<std::string> taken;
  for (const DataView* view : {&subject.running, &subject.candidate}) {
    const lyd_node* parent = view->At(nullptr, {"config", "interface"});
    for (const lyd_node* entry : view->Entries(parent, "l3")) {
      if (view == &subject.running && IsRenamed(entry, named)) continue;
      taken.insert(messages::TextOf(lyd_child(entry)));
    }
  }
  std::string free = allowed.substr(0, messages::kLongestL3Name);
  for (int i = 2; taken.count(free) > 0; ++i) {
    const std::string end = "-" + std::to_string(i);
    free = allowed.substr(0, messages::kLongestL3Name - end.size()) + end;
  }
  return free;
}

Proposals WrongName(const Subject& subject) {
  const lyd_node* leaf = NodeWithRole(subject, "name");
  if (messages::TextOf(leaf).empty()) return {};
  const std::string allowed = AllowedName(subject, EntryOf(leaf));
  Proposal proposal{
      false, "name the interface " + allowed, {Set(leaf, allowed)}};
  RenameInTables(subject.candidate, NameOf(EntryOf(leaf), "-"),
                 messages::kL3NamePrefix + allowed, &proposal.edits);
  return {proposal};
}

// ---- Addresses -------------------------------------------------------------

const char* FamilyOf(const Prefix& prefix) {
  return prefix.IsIpv4() ? "ipv4" : "ipv6";
}

// The addresses of an address space, of interfaces and next hops.
std::set<std::string> TakenAddresses(const DataView& view,
                                     const std::string& vrf,
                                     const char* family) {
  std::set<std::string> taken;
  for (const lyd_node* interface : InterfacesOf(view)) {
    if (!nettypes::ShareAddressSpace(messages::VrfOf(view, interface), vrf)) {
      continue;
    }
    for (const lyd_node* leaf : AddressesOf(view, interface, family)) {
      const auto prefix = ParsePrefix(messages::TextOf(leaf));
      if (prefix) taken.insert(prefix->Address());
    }
  }
  for (const lyd_node* route : RoutesOf(view)) {
    if (nettypes::ShareAddressSpace(VrfOfRoute(view, route), vrf)) {
      taken.insert(AddressOfOctets(view.Child(route, "rtmStaticRtNextHop")));
    }
  }
  return taken;
}

Proposals NoHost(const Subject& subject) {
  const lyd_node* leaf = NodeWithRole(subject, "address");
  const auto prefix = ParsePrefix(messages::TextOf(leaf));
  if (!prefix) return {};
  Proposals proposals;
  ProposeFreeHost(subject, leaf, subject.finding.rule == "address-is-network",
                  &proposals);
  if (IsLoopback(InterfaceOf(leaf))) {
    const std::string alone = prefix->WithLength(prefix->bits()).Text();
    proposals.push_back(
        {false, "keep the address, alone: " + alone, {Set(leaf, alone)}});
  }
  return proposals;
}

// The leaves of an interface with that address and any prefix length.
std::vector<const lyd_node*> LeavesWith(const DataView& view,
                                        const lyd_node* interface,
                                        const Prefix& address) {
  std::vector<const lyd_node*> leaves;
  for (const lyd_node* leaf : AddressesOf(view, interface, FamilyOf(address))) {
    const auto other = ParsePrefix(messages::TextOf(leaf));
    if (other && other->octets == address.octets) leaves.push_back(leaf);
  }
  return leaves;
}

// Keeps that text of several leaves with one address, in the leaf that stays.
Proposal KeepOnce(const std::vector<const lyd_node*>& leaves,
                  const lyd_node* stays, const std::string& text) {
  Proposal proposal{true, "keep " + text + " once", {}};
  if (messages::TextOf(stays) != text) {
    proposal.edits.push_back(Set(stays, text));
  }
  for (const lyd_node* leaf : leaves) {
    if (leaf != stays) proposal.edits.push_back(Remove(leaf));
    proposal.is_safe &= messages::TextOf(leaf) == text;
  }
  if (!proposal.is_safe) {
    proposal.text = "keep only " + text + " of the equal addresses";
  }
  return proposal;
}

Proposals Twice(const Subject& subject) {
  const lyd_node* first = NodeWithRole(subject, "address");
  const auto prefix = ParsePrefix(messages::TextOf(first));
  if (!prefix) return {};
  const auto leaves =
      LeavesWith(subject.candidate, InterfaceOf(first), *prefix);
  // A primary address stays one.
  const bool is_primary = !lysc_is_key(first->schema);
  Proposals proposals;
  std::set<std::string> kept_texts;
  for (const lyd_node* kept : leaves) {
    const std::string text = messages::TextOf(kept);
    if (!kept_texts.insert(text).second) continue;
    proposals.push_back(KeepOnce(leaves, is_primary ? first : kept, text));
  }
  return proposals;
}

// The least change of the length for which the prefix overlaps with no other
// that can be avoided so, at least with one of that many equal bits; a loopback
// is one address.
Prefix Narrowed(const Subject& subject, const lyd_node* leaf,
                const Prefix& prefix, unsigned equal) {
  const DataView& view = subject.candidate;
  const lyd_node* interface = InterfaceOf(leaf);
  if (IsLoopback(interface)) return prefix.WithLength(prefix.bits());
  Prefix narrowed = prefix.WithLength(equal + 1);
  const std::string vrf = VrfOf(view, interface);
  for (const lyd_node* other : InterfacesOf(view)) {
    if (other == interface ||
        !nettypes::ShareAddressSpace(VrfOf(view, other), vrf)) {
      continue;
    }
    for (const lyd_node* address : AddressesOf(view, other, FamilyOf(prefix))) {
      const auto outside = ParsePrefix(messages::TextOf(address));
      if (!outside) continue;
      const unsigned common = CommonBits(prefix, *outside);
      if (common < outside->length) {
        narrowed.length = std::max(narrowed.length, common + 1);
      }
    }
  }
  while (!narrowed.IsHost()) ++narrowed.length;
  return narrowed;
}

// Whether hosts may make their addresses from this prefix and from router
// advertisements. They can only use one of 64 bits.
bool IsAdvertised(const Subject& subject, const lyd_node* leaf,
                  const Prefix& prefix) {
  const lyd_node* ra =
      subject.candidate.At(InterfaceOf(leaf), {"ipv6", "nd", "ra"});
  return !prefix.IsIpv4() &&
         subject.candidate.Child(ra, "max-interval") != nullptr;
}

Proposals Overlap(const Subject& subject) {
  struct Side {
    const lyd_node* leaf;
    Prefix prefix;
    std::string narrowed;
  };
  std::vector<Side> sides;
  for (const char* role : {"address", "overlaps with"}) {
    const lyd_node* leaf = NodeWithRole(subject, role);
    const auto prefix = ParsePrefix(messages::TextOf(leaf));
    if (!prefix) return {};
    sides.push_back({leaf, *prefix, ""});
  }
  const unsigned equal = CommonBits(sides[0].prefix, sides[1].prefix);
  if (equal == sides[0].prefix.bits()) return {};
  const bool is_mutual =
      std::max(sides[0].prefix.length, sides[1].prefix.length) <= equal;
  Proposals proposals;
  Proposal both{false, "", {}};
  for (Side& side : sides) {
    if (side.prefix.length > equal) continue;
    const Prefix narrowed = Narrowed(subject, side.leaf, side.prefix, equal);
    if (narrowed.length > kAdvertisedLength &&
        IsAdvertised(subject, side.leaf, narrowed)) {
      return {};
    }
    side.narrowed = narrowed.Text();
    const std::string text =
        "narrow " + NameOf(InterfaceOf(side.leaf)) + " to " + side.narrowed;
    const Edit edit = Set(side.leaf, side.narrowed);
    if (!is_mutual) proposals.push_back({false, text, {edit}});
    both.text += (both.text.empty() ? "" : ", and ") + text;
    both.edits.push_back(edit);
  }
  if (is_mutual) proposals.push_back(std::move(both));
  return proposals;
}

}  // namespace

void ProposeFreeHost(const Subject& subject, const lyd_node* leaf,
                     bool is_upwards, Proposals* proposals) {
  const auto prefix = ParsePrefix(messages::TextOf(leaf));
  const lyd_node* interface = InterfaceOf(leaf);
  if (!prefix || interface == nullptr) return;
  const auto taken =
      TakenAddresses(subject.candidate, VrfOf(subject.candidate, interface),
                     FamilyOf(*prefix));
  Prefix host = *prefix;
  for (int i = 0; i < kMostHosts; ++i) {
    host = host.Neighbour(is_upwards);
    if (!Contains(*prefix, host)) return;
    if (!host.IsHost() || taken.count(host.Address()) > 0) continue;
    proposals->push_back({false,
                          "give " + NameOf(interface) + " the address " +
                              host.Text() +
                              ", which this configuration leaves free",
                          {Set(leaf, host.Text())}});
    return;
  }
}

Proposers InterfaceProposers() {
  return {
      {"l3-too-many", TooManyL3},       {"l3-name-too-long", WrongName},
      {"l3-name-too-short", WrongName}, {"l3-name-characters", WrongName},
      {"address-is-network", NoHost},   {"address-is-broadcast", NoHost},
      {"address-twice", Twice},         {"interface-overlap", Overlap},
  };
}

}  // namespace ipav::fixer
