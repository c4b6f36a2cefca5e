// The files of a plan in a folder: step-1.xml or step-1.json, the whole
// configuration after the first commit; step-1.edit.xml, its changes as a
// NETCONF operation; and so on. plan.json, the report, is written last: without
// it the plan is not whole.
#ifndef IPAV_CLI_PLAN_STEP_FILES_H_
#define IPAV_CLI_PLAN_STEP_FILES_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <string>
#include <utility>

#include "host/datastore/diff.h"

namespace ipav::cli::plan {

// Throws std::runtime_error if it exists and is not an empty folder.
void RequireNew(const std::string& folder);

class StepFiles {
 public:
  // `folder` is created at the first file; empty: nothing is written.
  StepFiles(std::string folder, LYD_FORMAT format)
      : folder_(std::move(folder)), format_(format) {}

  // Each throws std::runtime_error if a file cannot be written.
  void Write(std::size_t number, const std::string& configuration,
             const datastore::Diff& diff);
  void End(const std::string& report);

 private:
  void WriteFile(const std::string& name, const std::string& text);

  const std::string folder_;
  const LYD_FORMAT format_;  // of the configurations
};

}  // namespace ipav::cli::plan

#endif  // IPAV_CLI_PLAN_STEP_FILES_H_
