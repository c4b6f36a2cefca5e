// Explains why a set of changes is refused when it is committed.
#ifndef IPAV_CLI_PLAN_REFUSALS_H_
#define IPAV_CLI_PLAN_REFUSALS_H_

#include <optional>
#include <string>

#include "cli/report/device_report.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/input_text.h"
#include "host/source/source_text.h"
#include "messages/finding.h"
#include "planner/composer.h"
#include "planner/verdicts.h"

namespace ipav::cli::plan {

// A configuration of the command line.
struct Input {
  std::string file;                          // empty: nothing is configured yet
  std::optional<datastore::InputText> text;  // if there is a file
  datastore::DataTree tree;
};

class Refusals {
 public:
  // All are borrowed.
  Refusals(const Input& running, const Input& goal,
           planner::Verdicts* verdicts);

  // Judges the changes after those that can be made, or alone if they are not
  // refused there. Throws planner::LimitReached.
  report::DeviceReport Of(const planner::State& changes,
                          const planner::State& made);

 private:
  void Explain(const datastore::DataTree& before,
               const datastore::DataTree& after, bool at_restart,
               report::DeviceReport* report) const;
  void Relocate(messages::Culprit* culprit) const;

  const Input& running_;
  std::optional<source::SourceText> running_source_;
  const Input& goal_;
  planner::Verdicts& verdicts_;
  const datastore::DataTree empty_;
};

}  // namespace ipav::cli::plan

#endif  // IPAV_CLI_PLAN_REFUSALS_H_
