// Judges edits of one running configuration, one after another: for scripts
// that try many values.
#ifndef IPAV_CLI_SESSION_EDIT_JUDGE_H_
#define IPAV_CLI_SESSION_EDIT_JUDGE_H_

#include <optional>
#include <string>
#include <vector>

#include "cli/locations.h"
#include "cli/reading.h"
#include "cli/report/device_report.h"
#include "host/datastore/data_tree.h"
#include "host/engine/edits.h"
#include "host/engine/engine.h"

namespace ipav::cli::session {

class EditJudge {
 public:
  // Reads the running configuration. Throws datastore::InputError; ends the
  // process when the time is over.
  EditJudge(const Locations& locations, const std::string& running,
            const ReadingLimits& limits);

  // The report on the running configuration with these edits, made in their
  // order. All validation points run. It has no positions in files, and no
  // advice. Throws engine::EditError and plugin::PluginError.
  report::DeviceReport operator()(const std::vector<engine::Edit>& edits);

 private:
  const std::string file_;
  const datastore::DataTree running_;
  engine::Engine engine_;
  // A copy for the edits that are refused, if the last ones could be undone.
  std::optional<datastore::DataTree> copy_;
};

}  // namespace ipav::cli::session

#endif  // IPAV_CLI_SESSION_EDIT_JUDGE_H_
