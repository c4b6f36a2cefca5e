// Plans the commits of one device, and reports them in every format.
#ifndef IPAV_CLI_PLAN_DEVICE_PLAN_H_
#define IPAV_CLI_PLAN_DEVICE_PLAN_H_

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "cli/exit_status.h"
#include "cli/fleet/devices.h"
#include "cli/plan/refusals.h"
#include "cli/reading.h"
#include "cli/report/json/json_text.h"
#include "host/datastore/model.h"

namespace ipav::cli::plan {

// The result for a device. It has no reference to the configurations, so that
// it can be sent to another process. The destructor of the JSON library may
// throw. NOLINTNEXTLINE(bugprone-exception-escape)
struct DevicePlan {
  std::size_t number = 1;
  std::string goal;  // file
  ExitStatus status = kAccepted;
  std::string text;   // the report for people, with the bytes of the plug-in
  report::Json json;  // the report by docs/plan.schema.json, without its format
  // For the page: what is refused, and the section of the device, if wanted.
  std::vector<std::string> problems;
  std::string page_section;
};

// The results for a device that has no plan.
DevicePlan BadInput(const fleet::Device& device,
                    const std::vector<std::string>& errors);
DevicePlan Failed(const fleet::Device& device, const std::string& reason);

// plan.json, and the whole of ipav plan --format json for one goal.
std::string PlanDocument(const report::Json& plan);

report::Json ToMessage(const DevicePlan& plan);
DevicePlan FromMessage(const report::Json& message);

struct PlanningOptions {
  std::string plugin;    // file
  ReadingLimits limits;  // `time` is also that of the search, and the replay
  std::size_t verdicts = 0;  // 0: any number
  bool each = false;         // as many commits as possible
  bool page = false;         // make the device's section of the HTML page
  bool has_progress = true;  // a progress line, if there is a terminal
};

// Makes the final output of a process that ends because a configuration is not
// read in time, from what is wrong.
using TimeOver = std::function<FinalOutput(const std::string& error)>;

Input ReadInput(const datastore::Model& model, const std::string& file,
                const ReadingLimits& limits, const TimeOver& time_over);

class Planner {
 public:
  // All are borrowed. `running` is for the devices with this file.
  Planner(const datastore::Model& model, const Input& running,
          PlanningOptions options)
      : model_(model), running_(running), options_(std::move(options)) {}

  // Writes the steps to a new folder, if its name is not empty. Throws
  // datastore::InputError, plugin::PluginError and std::runtime_error.
  DevicePlan operator()(const fleet::Device& device, const std::string& folder,
                        const TimeOver& time_over) const;

 private:
  DevicePlan Plan(const fleet::Device& device, const Input& running,
                  const Input& goal, const std::string& folder) const;

  const datastore::Model& model_;
  const Input& running_;
  const PlanningOptions options_;
};

}  // namespace ipav::cli::plan

#endif  // IPAV_CLI_PLAN_DEVICE_PLAN_H_
