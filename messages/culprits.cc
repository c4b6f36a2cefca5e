#include "messages/culprits.h"

#include <algorithm>
#include <map>
#include <utility>

#include "host/confd/path.h"

namespace ipav::messages {

namespace {

Evidence NoNode(const Case& /*refusal*/) {
  return Evidence::None("the text names no node of the configuration");
}

const Investigators& AllInvestigators() {
  static const Investigators all = [] {
    Investigators joined = InterfaceCulprits();
    joined.merge(OspfCulprits());
    joined.merge(RouteCulprits());
    joined.merge(TimerCulprits());
    return joined;
  }();
  return all;
}

}  // namespace

bool Case::IsNew(const lyd_node* candidate_node) const {
  const datastore::Change* change = diff.Of(candidate_node);
  return change != nullptr && change->before == nullptr;
}

bool Case::IsUnchanged(const lyd_node* candidate_node) const {
  return diff.Of(candidate_node) == nullptr;
}

Evidence Investigate(const Case& refusal) {
  const auto found = AllInvestigators().find(refusal.reading.message->rule);
  if (found == AllInvestigators().end()) return NoNode(refusal);
  Evidence evidence = found->second(refusal);
  if (!evidence.confirms && evidence.note.empty()) {
    evidence.note = "the configuration does not show what the text names";
  }
  return evidence;
}

void NameNew(const Case& refusal, const std::vector<const lyd_node*>& nodes,
             const char* role, Evidence* evidence) {
  std::size_t count = 0;
  for (const lyd_node* node : nodes) {
    if (!refusal.IsNew(node)) continue;
    if (++count <= kMaxNamed) evidence->suspects.push_back({role, node});
  }
  if (count == 0) {
    evidence->note += "; none of them is new";
  } else if (count > kMaxNamed) {
    evidence->note += "; " + std::to_string(count - kMaxNamed) + " of the " +
                      std::to_string(count) + " new ones are not listed";
  }
}

const lyd_node* InRunning(const Case& refusal, const lyd_node* candidate_node) {
  return refusal.running.AtPath(confd::PrintPath(candidate_node));
}

void SuspectLeaf(const Case& refusal, const lyd_node* candidate_parent,
                 const char* leaf, const std::string& role, bool even_unchanged,
                 Evidence* evidence) {
  const lyd_node* now = refusal.candidate.At(candidate_parent, {leaf});
  if (now != nullptr) {
    if (even_unchanged || !refusal.IsUnchanged(now)) {
      evidence->suspects.push_back({role, now});
    }
    return;
  }
  const lyd_node* parent = InRunning(refusal, candidate_parent);
  const lyd_node* before =
      parent == nullptr ? nullptr : refusal.running.At(parent, {leaf});
  if (before != nullptr) evidence->suspects.push_back({role, before, true});
}

}  // namespace ipav::messages
