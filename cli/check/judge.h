// Validates one device: reads its configurations, runs the commit with the
// plug-in, and makes the report.
#ifndef IPAV_CLI_CHECK_JUDGE_H_
#define IPAV_CLI_CHECK_JUDGE_H_

#include <cstddef>
#include <functional>
#include <string>

#include "cli/fleet/devices.h"
#include "cli/reading.h"
#include "cli/report/device_report.h"
#include "host/datastore/model.h"
#include "host/datastore/transaction.h"

namespace ipav::cli::check {

struct JudgeOptions {
  std::string plugin;       // file
  ReadingLimits limits;     // `time` is also the plug-in's for a candidate
  bool all = false;         // run every validation point, also after a refusal
  bool every = false;       // list every violation of each point; implies `all`
  std::size_t limit = 100;  // findings of a device, with `every`
  bool suggest = false;     // find the ways out of each refusal
  bool trace = false;       // write every platform call to standard error
  bool timing = false;      // measure, and write the times to standard error
  bool restore = false;     // judge the candidate as after a restart, too
  bool page = false;        // make the device's section of the HTML page
};

// A running configuration that several devices share.
struct SharedRunning {
  std::string file;  // empty: nothing is configured yet
  datastore::Running configuration;
};

class Judge {
 public:
  // All are borrowed.
  Judge(const datastore::Model& model, const SharedRunning& running,
        const JudgeOptions& options)
      : model_(model), running_(running), options_(options) {}

  // Makes the final output of a process that ends because a configuration is
  // not read in time, from the report on the device.
  using TimeOver = std::function<FinalOutput(const report::DeviceReport&)>;

  // Throws plugin::PluginError.
  report::DeviceReport operator()(const fleet::Device& device,
                                  const TimeOver& time_over) const;

 private:
  report::DeviceReport Commit(const fleet::Device& device,
                              const TimeOver& time_over) const;
  report::DeviceReport Commit(const fleet::Device& device,
                              const datastore::Running& running,
                              const TimeOver& time_over) const;

  const datastore::Model& model_;
  const SharedRunning& running_;
  const JudgeOptions& options_;
};

// The report on a device whose process failed.
report::DeviceReport Failed(const fleet::Device& device,
                            const std::string& reason);

// Reads a running configuration of the command line in full. Throws
// datastore::InputError; ends the process when the time is over.
datastore::Running ReadInTime(const datastore::Model& model,
                              const std::string& file,
                              const ReadingLimits& limits);

}  // namespace ipav::cli::check

#endif  // IPAV_CLI_CHECK_JUDGE_H_
