#include "messages/culprits.h"

#include <algorithm>
#include <map>
#include <utility>

#include "host/confd/path.h"

namespace ipav::messages {

namespace {

FoundCulprits NoNode(const Refusal& /*refusal*/) {
  return FoundCulprits::None("the text names no node of the configuration");
}

const CulpritSearches& AllCulpritSearches() {
  static const CulpritSearches all = [] {
    CulpritSearches joined = InterfaceCulprits();
    joined.merge(OspfCulprits());
    joined.merge(RouteCulprits());
    return joined;
  }();
  return all;
}

}  // namespace

bool Refusal::IsNew(const lyd_node* candidate_node) const {
  const datastore::Change* change = diff.Of(candidate_node);
  return change != nullptr && change->before == nullptr;
}

bool Refusal::IsUnchanged(const lyd_node* candidate_node) const {
  return diff.Of(candidate_node) == nullptr;
}

FoundCulprits FindCulprits(const Refusal& refusal) {
  const auto found = AllCulpritSearches().find(refusal.reading.message->rule);
  if (found == AllCulpritSearches().end()) return NoNode(refusal);
  FoundCulprits culprits = found->second(refusal);
  if (!culprits.confirms && culprits.note.empty()) {
    culprits.note = "the configuration does not show what the text names";
  }
  return culprits;
}

void NameNew(const Refusal& refusal, const std::vector<const lyd_node*>& nodes,
             const char* role, FoundCulprits* culprits) {
  culprits->is_total = true;
  std::size_t count = 0;
  for (const lyd_node* node : nodes) {
    if (!refusal.IsNew(node)) continue;
    if (++count <= kMaxNamed) culprits->nodes.push_back({role, node});
  }
  if (count == 0) {
    culprits->note += "; none of them is new";
  } else if (count > kMaxNamed) {
    culprits->note += "; " + std::to_string(count - kMaxNamed) + " of the " +
                      std::to_string(count) + " new ones are not listed";
  }
}

const lyd_node* InRunning(const Refusal& refusal,
                          const lyd_node* candidate_node) {
  return refusal.running.AtPath(confd::PrintPath(candidate_node));
}

void AddLeaf(const Refusal& refusal, const lyd_node* candidate_parent,
             const char* leaf, const std::string& role, bool even_unchanged,
             FoundCulprits* culprits) {
  const lyd_node* now = refusal.candidate.At(candidate_parent, {leaf});
  if (now != nullptr) {
    if (even_unchanged || !refusal.IsUnchanged(now)) {
      culprits->nodes.push_back({role, now});
    }
    return;
  }
  const lyd_node* parent = InRunning(refusal, candidate_parent);
  const lyd_node* before =
      parent == nullptr ? nullptr : refusal.running.At(parent, {leaf});
  if (before != nullptr) culprits->nodes.push_back({role, before, true});
}

}  // namespace ipav::messages
