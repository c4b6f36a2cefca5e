// The report on two versions of the plug-in or of the data model: the devices
// about which they differ, with what both say.
#ifndef IPAV_CLI_REPORT_COMPARISON_H_
#define IPAV_CLI_REPORT_COMPARISON_H_

#include <cstddef>
#include <memory>
#include <string>

#include "cli/exit_status.h"
#include "cli/report/device_report.h"
#include "cli/report/output_file.h"
#include "cli/report/report_output.h"
#include "cli/report/run.h"
#include "cli/report/writer.h"

namespace ipav::cli::report {

struct Version {
  std::string plugin;    // file
  std::string yang_dir;  // folder of the data model
};

struct Versions {
  Version older;
  Version newer;
};

// Lists the devices that differ, and those that neither version judges. In
// SARIF each difference is a result, in JUnit a failure.
class ComparisonOutput {
 public:
  // The run has the size of the list and the shard, if there is one. Throws
  // std::runtime_error if the file cannot be created.
  ComparisonOutput(const ReportOptions& options, Versions versions,
                   const Run& run);

  // The reports of both versions on a device, with the answers of all points.
  // Throws std::runtime_error if they cannot be written. Nothing is written
  // before the first call.
  void Add(const DeviceReport& older, const DeviceReport& newer);

  // Call it once, after the last device. Returns the exit status: 1 if any
  // device differs; otherwise 2 or 3 if neither version judges one.
  ExitStatus End();

 private:
  void BeginOnce();

  const Format format_;
  const Versions versions_;
  Run run_;  // its summary counts a device that differs as refused
  std::size_t other_verdict_ = 0;
  OutputFile file_;
  std::unique_ptr<Writer> writer_;  // not of JSON
  bool has_begun_ = false;
  bool is_first_ = true;  // in the list of JSON
};

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_COMPARISON_H_
