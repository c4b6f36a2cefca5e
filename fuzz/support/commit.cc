#include "fuzz/support/commit.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/support/finding.h"
#include "fuzz/support/outcome.h"
#include "host/commit/plan.h"
#include "host/confd/path.h"
#include "host/confd/session.h"
#include "host/confd/value.h"
#include "host/datastore/diff.h"
#include "host/datastore/libyang_error.h"
#include "host/services/framework.h"
#include "include/validate.h"

namespace ipav::fuzz {

namespace {

using commit::PointCall;
using datastore::Change;
using datastore::DataTree;
using datastore::Diff;

constexpr char kValidationSet[] = "ip_app_validation";

// Every change must name a node of the right configuration, and there must be a
// change in it or below it.
void RequireSound(const std::vector<Change>& changes) {
  for (const Change& change : changes) {
    Require(change.before != nullptr || change.after != nullptr,
            "a change of no node");
    for (const lyd_node* node : {change.before, change.after}) {
      Require(node == nullptr || node->schema == change.schema,
              "a change of another node");
    }
    const bool is_leaf =
        (change.schema->nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0;
    const bool is_in_both = change.before != nullptr && change.after != nullptr;
    Require(is_leaf || !is_in_both || !change.children.empty(),
            "a change of nothing");
    RequireSound(change.children);
  }
}

// The path that an operator sees must lead to the node.
void RequirePathLeadsTo(const DataTree& tree, const PointCall& call) {
  const confd::Target target =
      confd::Resolve(tree, confd::ParsePath(commit::PathOf(call)));
  Require(target.schema == call.site->node, "a path of another node");
  Require(call.instance == nullptr || target.node == call.instance,
          "a path of another entry");
}

confd::Keypath KeypathOf(const datastore::Model& model, const PointCall& call) {
  return call.instance != nullptr
             ? confd::KeypathOf(model, call.instance)
             : confd::KeypathOf(model, call.parent, *call.site->node);
}

// One life cycle of the plug-in for one transaction.
class Life {
 public:
  Life(const DataTree& running, const DataTree& candidate, const Diff& diff)
      : session_(running, candidate, diff) {
    hostd_.maapi_socket = confd::Session::maapi_socket();
    hostd_.instance = &instance_;
    session_.context().v_opaque = &contexts_;
    session_.context().vcb_opaque = &hostd_;
    lib_init(&contexts_[kValidationSet]);
  }
  ~Life() { lib_finish(&contexts_[kValidationSet]); }
  Life(const Life&) = delete;
  Life& operator=(const Life&) = delete;

  // The text of a refusal.
  std::optional<std::string> Call(const PointCall& call) {
    const confd::Keypath keypath = KeypathOf(session_.model(), call);
    confd_value_t newval = confd::TagValue(session_.model(), *call.site->node);
    std::string opaque = call.site->opaque;
    session_.context().validate_opaque = opaque.data();

    const Ending ending = CallValidate(&session_.context(), keypath.get(),
                                       &newval, Assertions::kIllegal);
    std::optional<std::string> text = session_.TakeErrorText();
    Require(text.has_value() == (ending == Ending::kRefused),
            "a refusal without a text, or the other way round");
    if (text.has_value()) RequireKnownText(opaque, *text);
    Require(session_.open_cdb_sessions() == 0, "a CDB session stays open");
    return text;
  }

 private:
  confd::Session session_;
  HostdInterface instance_;
  hostd hostd_;
  services::LibraryContexts contexts_;
};

}  // namespace

std::vector<commit::Answer> JudgeCommit(const DataTree& running,
                                        const DataTree& candidate) {
  const Diff diff(running, candidate);
  RequireSound(diff.top());
  Life life(running, candidate, diff);
  std::vector<commit::Answer> refusals;
  for (const PointCall& call : commit::PlanCalls(candidate, diff)) {
    RequirePathLeadsTo(candidate, call);
    std::optional<std::string> text = life.Call(call);
    if (!text) continue;
    refusals.push_back({call.site->opaque, commit::PathOf(call), -1,
                        std::move(text), std::nullopt});
  }
  // libyang records an error for an XPath that is false.
  datastore::ClearErrors(candidate.model().context());
  return refusals;
}

}  // namespace ipav::fuzz
