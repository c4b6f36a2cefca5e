// Writes the plans of one or many devices to standard output.
#ifndef IPAV_CLI_PLAN_PLAN_OUTPUT_H_
#define IPAV_CLI_PLAN_PLAN_OUTPUT_H_

#include "cli/plan/device_plan.h"
#include "cli/report/run.h"

namespace ipav::cli::plan {

struct OutputOptions {
  bool is_json = false;
  bool is_one = true;        // one goal: a document of its own
  bool has_summary = false;  // a last line, after the text of a fleet
  bool failed_only = false;  // omits devices that reach their goal
};

class PlanOutput {
 public:
  // The run is borrowed. Its shard must be set.
  PlanOutput(const OutputOptions& options, report::Run* run);

  // Each device is written at once.
  void Add(const DevicePlan& plan);
  // Call it once, after the last device.
  void End();

 private:
  void AddJson(const DevicePlan& plan) const;

  const OutputOptions options_;
  report::Run& run_;
  bool is_first_ = true;
};

}  // namespace ipav::cli::plan

#endif  // IPAV_CLI_PLAN_PLAN_OUTPUT_H_
