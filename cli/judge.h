// Judges one device: reads its configurations, runs the commit, and tells what
// came of it.
#ifndef IPAV_CLI_JUDGE_H_
#define IPAV_CLI_JUDGE_H_

#include <cstddef>
#include <functional>
#include <string>

#include "cli/check.h"
#include "cli/locations.h"
#include "cli/reading_time.h"
#include "cli/report/device_report.h"
#include "host/datastore/model.h"
#include "host/datastore/transaction.h"

namespace ipav::cli {

// A configuration to judge. What is wrong with the device before anything of it
// is read is told in `problem`, like an input error.
struct Device {
  std::size_t number = 1;  // in the list of all devices, from 1
  std::string candidate;
  std::string running;  // file; empty: nothing is configured yet
  std::string problem;
};

// A running configuration that is read once for many devices.
struct SharedRunning {
  std::string file;  // empty: nothing is configured yet
  datastore::Running configuration;
};

class Judge {
 public:
  // All are borrowed.
  Judge(const datastore::Model& model, const SharedRunning& running,
        const Locations& locations, const CheckOptions& options)
      : model_(model),
        running_(running),
        locations_(locations),
        options_(options) {}

  // How the process tells of a configuration that is not read in time, with
  // which it ends.
  using TimeOver = std::function<LastWords(const report::DeviceReport&)>;

  // Throws plugin::PluginError.
  report::DeviceReport operator()(const Device& device,
                                  const TimeOver& time_over) const;

 private:
  report::DeviceReport Commit(const Device& device,
                              const TimeOver& time_over) const;
  report::DeviceReport Commit(const Device& device,
                              const datastore::Running& running,
                              const TimeOver& time_over) const;

  const datastore::Model& model_;
  const SharedRunning& running_;
  const Locations& locations_;
  const CheckOptions& options_;
};

// The report on a device that nobody could judge.
report::DeviceReport BadInput(const Device& device, const std::string& error);
report::DeviceReport Failed(const Device& device, const std::string& reason);

// A running configuration of the command line, read in full in the time that it
// may take. Throws datastore::InputError; ends the program when the time is
// over.
datastore::Running ReadInTime(const datastore::Model& model,
                              const std::string& file,
                              const CheckOptions& options);

}  // namespace ipav::cli

#endif  // IPAV_CLI_JUDGE_H_
