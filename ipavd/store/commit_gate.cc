#include "ipavd/store/commit_gate.h"

#include <libyang/libyang.h>

#include <algorithm>
#include <system_error>
#include <utility>

#include "host/commit/commit.h"
#include "host/datastore/libyang_error.h"
#include "host/plugin/plugin.h"

namespace ipav::store {

namespace {

using commit::Answer;
using commit::Outcome;
using commit::Verdict;
using datastore::Between;
using datastore::DataTree;

// Why the model refused the data: libyang's first error, or a duplicate entry.
RpcError ModelError(const ly_ctx* context) {
  RpcError error;
  const ly_err_item* item = ly_err_first(context);
  if (item == nullptr) {
    error.message = "an entry of a list is there twice, its keys in two forms";
    return error;
  }
  error.message = item->msg;
  if (item->apptag != nullptr) error.app_tag = item->apptag;
  if (error.app_tag == "instance-required" ||
      error.app_tag == "missing-choice") {
    error.tag = ErrorTag::kDataMissing;  // RFC 7950, sections 15.5 and 15.6
  }
  const std::string place = item->path == nullptr ? "" : item->path;
  error.path = Between(place, "Data location \"", "\"");
  const std::string schema = Between(place, "Schema location \"", "\"");
  if (error.path.empty() && !schema.empty()) {
    error.message += " (" + schema + ")";
  }
  return error;
}

RpcError PluginFailure(const std::string& reason) {
  RpcError error =
      MakeError(ErrorTag::kOperationFailed, "the plug-in failed: " + reason);
  error.is_plugin_failure = true;
  return error;
}

RpcError ErrorOf(const datastore::Model& model, const Outcome& outcome) {
  const auto answer =
      std::find_if(outcome.answers.begin(), outcome.answers.end(),
                   [](const Answer& each) { return !Accepts(each); });
  RpcError error;
  if (!outcome.failure.empty() || answer == outcome.answers.end()) {
    error = PluginFailure(outcome.failure);
    error.app_tag = outcome.failed_point;
    error.path = PathOf(model, outcome.failed_path);
    return error;
  }
  if (answer->exception.has_value()) {
    error = PluginFailure("it threw an exception: " + *answer->exception);
  } else {
    error.message = answer->text.value_or("refused without a text");
  }
  error.app_tag = answer->opaque;
  error.path = PathOf(model, answer->path);
  return error;
}

}  // namespace

Judgement CommitGate::Complete(Nodes nodes) const {
  datastore::ClearErrors(model_.context());
  auto tree =
      std::make_shared<DataTree>(DataTree::FromNodes(model_, nodes.release()));
  if (!tree->Complete()) return {nullptr, ModelError(model_.context())};
  return {std::move(tree), std::nullopt};
}

Judgement CommitGate::Judge(const Configuration& running, Nodes nodes) const {
  Judgement judgement = Complete(std::move(nodes));
  if (judgement.error.has_value()) return judgement;
  judgement.error = Judge(running, judgement.configuration);
  if (judgement.error.has_value()) judgement.configuration.reset();
  return judgement;
}

std::optional<RpcError> CommitGate::Judge(
    const Configuration& running, const Configuration& candidate) const {
  if (running == nullptr) {
    return Judge(std::make_shared<DataTree>(DataTree::Empty(model_)),
                 candidate);
  }
  try {
    const Outcome outcome =
        options_.engine != nullptr
            ? options_.engine(*running, *candidate)
            : commit::RunCommit(*running, *candidate,
                                {options_.plugin, false, options_.time_limit});
    if (outcome.verdict == Verdict::kAccepted) return std::nullopt;
    return ErrorOf(model_, outcome);
  } catch (const plugin::PluginError& error) {
    return PluginFailure(error.what());
  } catch (const std::system_error& error) {
    return PluginFailure(std::string("no process for it: ") + error.what());
  }
}

}  // namespace ipav::store
