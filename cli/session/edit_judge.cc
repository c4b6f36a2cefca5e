#include "cli/session/edit_judge.h"

#include <utility>

#include "cli/exit_status.h"
#include "cli/shared_model.h"
#include "host/commit/commit.h"
#include "messages/finder.h"

namespace ipav::cli::session {

using datastore::DataTree;
using messages::Configuration;
using report::DeviceReport;

EditJudge::EditJudge(const Locations& locations, const std::string& running,
                     const ReadingLimits& limits)
    : file_(running),
      running_(ReadTree(SharedModel(locations), running, limits)),
      engine_(running_, {locations.plugin, true, limits.time}) {}

DeviceReport EditJudge::operator()(const std::vector<engine::Edit>& edits) {
  DeviceReport report;
  report.running = file_;
  report.candidate = file_;
  report.outcome = engine_.Judge(edits);
  report.status = report::StatusOf(report.outcome.verdict);
  if (report.status != kRefused) return report;
  // The engine's process had the candidate, and has gone.
  const DataTree candidate = engine::Edited(running_.Copy(), edits);
  const Configuration before = {&running_, file_, nullptr};
  const Configuration after = {&candidate, file_, nullptr};
  report.findings = messages::Finder(before, after).ExplainAll(report.outcome);
  return report;
}

}  // namespace ipav::cli::session
