// Which calls of validation points a commit makes, and in which order.
#ifndef IPAV_HOST_COMMIT_PLAN_H_
#define IPAV_HOST_COMMIT_PLAN_H_

#include <libyang/libyang.h>

#include <string>
#include <vector>

#include "host/datastore/data_tree.h"
#include "host/datastore/diff.h"
#include "host/datastore/model.h"

namespace ipav::commit {

// One call: for a node of the candidate, or once for a whole list, without an
// instance.
struct PointCall {
  const datastore::UseSite* site;
  const lyd_node* parent;    // null: the root
  const lyd_node* instance;  // null: the call for a whole list
};

// The calls of a commit in their order: by priority, then by the order of the
// model, then by that of the candidate. A use site runs for the instances with
// a changed dependency; without dependencies it runs for all.
std::vector<PointCall> PlanCalls(const datastore::DataTree& candidate,
                                 const datastore::Diff& diff);

// The calls for all instances, as if everything had changed.
std::vector<PointCall> AllCalls(const datastore::DataTree& candidate);

// Why a planned call runs: its dependencies in which something changed.
// `by_itself`: the leaf itself changed. Both are empty for a point that runs at
// every commit.
struct Cause {
  std::vector<const datastore::Dependency*> dependencies;
  bool by_itself = false;
};
Cause CauseOf(const datastore::Diff& diff, const PointCall& call);

// Path of the node that a call is about, as an operator writes it.
std::string PathOf(const PointCall& call);

}  // namespace ipav::commit

#endif  // IPAV_HOST_COMMIT_PLAN_H_
