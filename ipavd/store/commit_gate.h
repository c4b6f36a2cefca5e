// Decides whether a configuration may become running: the data model's own
// checks first, then the commit engine, as ipav check runs it. Nothing becomes
// running without it.
#ifndef IPAV_IPAVD_STORE_COMMIT_GATE_H_
#define IPAV_IPAVD_STORE_COMMIT_GATE_H_

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "host/base/time_limit.h"
#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/model.h"
#include "ipavd/store/nodes.h"
#include "ipavd/store/rpc_error.h"

namespace ipav::store {

// A shared, immutable configuration.
using Configuration = std::shared_ptr<const datastore::DataTree>;

// Validates a candidate against running. Throws what commit::RunCommit() does.
using CommitEngine = std::function<commit::Outcome(
    const datastore::DataTree& running, const datastore::DataTree& candidate)>;

struct GateOptions {
  std::string plugin;                               // file
  base::TimeLimit time_limit = base::kNoTimeLimit;  // of the plug-in
  CommitEngine engine = nullptr;  // null: the plug-in, in a child process
};

// Either `configuration` or `error`.
struct Judgement {
  Configuration configuration;
  std::optional<RpcError> error;
};

class CommitGate {
 public:
  // The model is borrowed.
  CommitGate(const datastore::Model& model, GateOptions options)
      : model_(model), options_(std::move(options)) {}

  // Checks the configuration against the data model only, and adds default
  // nodes.
  Judgement Complete(Nodes nodes) const;

  // The same, and asks the plug-in about the change from `running` (null: an
  // empty configuration). The plug-in runs in a child process, which has ended
  // when the function returns; its crash is a refusal. A refusal is
  // operation-failed with the text of the validation point, the name of the
  // point as app_tag, and the data path.
  Judgement Judge(const Configuration& running, Nodes nodes) const;

  // Asks the plug-in about a configuration that Complete() has accepted.
  std::optional<RpcError> Judge(const Configuration& running,
                                const Configuration& candidate) const;

  const datastore::Model& model() const { return model_; }

 private:
  const datastore::Model& model_;
  GateOptions options_;
};

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_COMMIT_GATE_H_
