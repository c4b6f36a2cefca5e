#include "cli/session/edit_judge.h"

#include <libyang/libyang.h>

#include <utility>

#include "cli/exit_status.h"
#include "cli/shared_model.h"
#include "host/commit/commit.h"
#include "host/confd/path.h"
#include "host/datastore/model.h"
#include "messages/finder.h"

namespace ipav::cli::session {

using datastore::DataTree;
using engine::Edit;
using messages::Configuration;
using report::DeviceReport;

namespace {

// The edits that lead back to the running configuration; none if it has to be
// copied, because an edit did more than to change a leaf that is written there.
std::optional<std::vector<Edit>> Undo(const DataTree& running,
                                      const std::vector<Edit>& edits) {
  if (!running.model().judges_nodes_alone()) return std::nullopt;
  std::vector<Edit> undo;
  for (const Edit& edit : edits) {
    const lyd_node* node =
        confd::Resolve(running, confd::ParsePath(edit.path)).node;
    if (!edit.value || node == nullptr || node->schema->nodetype != LYS_LEAF ||
        (node->flags & LYD_DEFAULT) != 0) {
      return std::nullopt;
    }
    undo.push_back({edit.path, lyd_get_value(node)});
  }
  return undo;
}

}  // namespace

EditJudge::EditJudge(const Locations& locations, const std::string& running,
                     const ReadingLimits& limits)
    : file_(running),
      running_(ReadTree(SharedModel(locations), running, limits)),
      engine_(running_, {locations.plugin, true, limits.time}) {}

DeviceReport EditJudge::operator()(const std::vector<Edit>& edits) {
  DeviceReport report;
  report.running = file_;
  report.candidate = file_;
  report.outcome = engine_.Judge(edits);
  report.status = report::StatusOf(report.outcome.verdict);
  if (report.status != kRefused) return report;
  // The engine's process had the candidate, and has gone.
  std::optional<DataTree> copy = std::exchange(copy_, std::nullopt);
  DataTree candidate =
      engine::Edited(copy ? std::move(*copy) : running_.Copy(), edits);
  const Configuration before = {&running_, file_, nullptr};
  const Configuration after = {&candidate, file_, nullptr};
  report.findings = messages::Finder(before, after).ExplainAll(report.outcome);
  // A copy of all takes longer than the rest.
  if (const auto undo = Undo(running_, edits)) {
    copy_ = engine::Edited(std::move(candidate), *undo);
  }
  return report;
}

}  // namespace ipav::cli::session
