// The files of a plan in a folder: step-1.xml, the whole configuration after
// the first commit; step-1.edit.xml, its changes as a NETCONF operation; and so
// on. plan.json, the report, is written last: without it the plan is not whole.
#ifndef IPAV_CLI_PLAN_STEP_FILES_H_
#define IPAV_CLI_PLAN_STEP_FILES_H_

#include <cstddef>
#include <string>
#include <utility>

#include "host/datastore/diff.h"

namespace ipav::cli::plan {

class StepFiles {
 public:
  // `folder` is created at the first file; empty: nothing is written. Throws
  // std::runtime_error if it exists and is not an empty folder.
  explicit StepFiles(std::string folder);

  // Each throws std::runtime_error if a file cannot be written.
  void Write(std::size_t number, const std::string& configuration,
             const datastore::Diff& diff);
  void End(const std::string& report);

 private:
  void WriteFile(const std::string& name, const std::string& text);

  std::string folder_;
};

}  // namespace ipav::cli::plan

#endif  // IPAV_CLI_PLAN_STEP_FILES_H_
