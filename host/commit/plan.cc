#include "host/commit/plan.h"

#include <algorithm>

#include "host/confd/path.h"

namespace ipav::commit {

namespace {

using datastore::Change;
using datastore::DataTree;
using datastore::Dependency;
using datastore::Diff;
using datastore::UseSite;

// The node with its ancestors, from the root down.
std::vector<const lysc_node*> Chain(const lysc_node* node) {
  std::vector<const lysc_node*> chain;
  for (; node != nullptr; node = lysc_data_parent(node)) chain.push_back(node);
  std::reverse(chain.begin(), chain.end());
  return chain;
}

// The changed instances of a child, in document order; not the deleted ones.
std::vector<const lyd_node*> ChangedEntries(const Diff& diff,
                                            const lyd_node* parent,
                                            const lysc_node& schema) {
  std::vector<const lyd_node*> entries;
  const std::vector<Change>& changes =
      parent == nullptr ? diff.top() : diff.Of(parent)->children;
  for (const Change& change : changes) {
    if (change.schema == &schema && change.after != nullptr) {
      entries.push_back(change.after);
    }
  }
  return entries;
}

// Every instance of the node at the end of the chain, in document order; one
// null, the root, for an empty chain. Only changed nodes are taken on the first
// `changed_levels` levels from the root down.
std::vector<const lyd_node*> Instances(
    const DataTree& tree, const std::vector<const lysc_node*>& chain,
    const Diff* diff, std::size_t changed_levels) {
  std::vector<const lyd_node*> level = {nullptr};
  for (std::size_t i = 0; i < chain.size(); ++i) {
    std::vector<const lyd_node*> next;
    for (const lyd_node* parent : level) {
      const std::vector<const lyd_node*> found =
          i < changed_levels ? ChangedEntries(*diff, parent, *chain[i])
                             : tree.Entries(parent, *chain[i]);
      next.insert(next.end(), found.begin(), found.end());
    }
    level = std::move(next);
  }
  return level;
}

// Whether a node at the end of `steps` changed, in any list entry on the way.
bool ChangedBelow(const std::vector<Change>& changes,
                  const std::vector<const lysc_node*>& steps,
                  std::size_t depth) {
  if (depth == steps.size()) return !changes.empty();
  return std::any_of(changes.begin(), changes.end(), [&](const Change& change) {
    return change.schema == steps[depth] &&
           (depth + 1 == steps.size() ||
            ChangedBelow(change.children, steps, depth + 1));
  });
}

// Whether something changed below a node of the candidate; for empty `steps`,
// also the node itself.
bool ChangedFrom(const Diff& diff, const lyd_node* node,
                 const std::vector<const lysc_node*>& steps) {
  if (node == nullptr) return ChangedBelow(diff.top(), steps, 0);
  const Change* change = diff.Of(node);
  if (change == nullptr) return false;
  return steps.empty() || ChangedBelow(change->children, steps, 0);
}

bool Changed(const Diff& diff, const PointCall& call,
             const Dependency& dependency) {
  if (dependency.absolute) return ChangedFrom(diff, nullptr, dependency.steps);

  // The list of a call-once site has no instance: start at its parent.
  std::vector<const lysc_node*> steps = dependency.steps;
  const lyd_node* from = call.instance;
  std::size_t ups = dependency.ups;
  if (from == nullptr) {
    from = call.parent;
    if (ups == 0) {
      steps.insert(steps.begin(), call.site->node);
    } else {
      --ups;
    }
  }
  for (; ups > 0 && from != nullptr; --ups) from = lyd_parent(from);
  return ChangedFrom(diff, from, steps);
}

// A leaf implicitly depends on itself.
bool IsChangedLeaf(const Diff& diff, const PointCall& call) {
  return call.site->node->nodetype == LYS_LEAF &&
         diff.Of(call.instance) != nullptr;
}

bool Runs(const Diff& diff, const PointCall& call) {
  const UseSite& site = *call.site;
  if (site.dependencies.empty() || IsChangedLeaf(diff, call)) return true;
  return std::any_of(site.dependencies.begin(), site.dependencies.end(),
                     [&](const Dependency& dependency) {
                       return Changed(diff, call, dependency);
                     });
}

// On how many levels, from the root down, the nodes above a call must have
// changed so that it can run: down to the highest node that a dependency starts
// from. A search through the changes is faster than one through all nodes.
std::size_t ChangedLevels(const Diff& diff, const UseSite& site) {
  if (site.dependencies.empty()) return 0;
  const std::size_t depth = Chain(site.node).size();
  std::size_t levels = depth;
  for (const Dependency& dependency : site.dependencies) {
    if (dependency.absolute) {
      if (ChangedFrom(diff, nullptr, dependency.steps)) return 0;
    } else {
      levels = std::min(levels, depth - std::min(dependency.ups, depth));
    }
  }
  return levels;
}

// All calls of a site; given the diff, at least all that run.
std::vector<PointCall> CallsOf(const UseSite& site, const DataTree& tree,
                               const Diff* diff) {
  const std::size_t changed_levels =
      diff == nullptr ? 0 : ChangedLevels(*diff, site);
  std::vector<PointCall> calls;
  if (site.call_once) {
    for (const lyd_node* parent : Instances(
             tree, Chain(lysc_data_parent(site.node)), diff, changed_levels)) {
      calls.push_back({&site, parent, nullptr});
    }
    return calls;
  }
  for (const lyd_node* instance :
       Instances(tree, Chain(site.node), diff, changed_levels)) {
    calls.push_back({&site, lyd_parent(instance), instance});
  }
  return calls;
}

}  // namespace

std::vector<PointCall> AllCalls(const DataTree& candidate) {
  std::vector<PointCall> all;
  for (const UseSite& site : candidate.model().use_sites()) {
    const std::vector<PointCall> calls = CallsOf(site, candidate, nullptr);
    all.insert(all.end(), calls.begin(), calls.end());
  }
  return all;
}

std::vector<PointCall> PlanCalls(const DataTree& candidate, const Diff& diff) {
  std::vector<PointCall> plan;
  for (const UseSite& site : candidate.model().use_sites()) {
    for (const PointCall& call : CallsOf(site, candidate, &diff)) {
      if (Runs(diff, call)) plan.push_back(call);
    }
  }
  return plan;
}

Cause CauseOf(const Diff& diff, const PointCall& call) {
  Cause cause;
  for (const Dependency& dependency : call.site->dependencies) {
    if (Changed(diff, call, dependency)) {
      cause.dependencies.push_back(&dependency);
    }
  }
  cause.by_itself =
      !call.site->dependencies.empty() && IsChangedLeaf(diff, call);
  return cause;
}

std::string PathOf(const PointCall& call) {
  return call.instance != nullptr
             ? confd::PrintPath(call.instance)
             : confd::PrintPath(call.parent, *call.site->node);
}

}  // namespace ipav::commit
