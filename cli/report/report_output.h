// Writes the report of a run in its format to its file.
#ifndef IPAV_CLI_REPORT_REPORT_OUTPUT_H_
#define IPAV_CLI_REPORT_REPORT_OUTPUT_H_

#include <memory>
#include <string>

#include "cli/report/device_report.h"
#include "cli/report/formats.h"
#include "cli/report/output_file.h"
#include "cli/report/run.h"
#include "cli/report/writer.h"

namespace ipav::cli::report {

struct ReportOptions {
  Format format = Format::kText;
  std::string output;        // file; empty: standard output
  bool failed_only = false;  // lists no device that was accepted

  // Of the text format alone.
  bool all = false;             // the answer of every point
  bool verbose = false;         // debug lines and platform calls as well
  std::string color = "never";  // or always, auto
};

class ReportOutput {
 public:
  // The run is borrowed. Throws std::runtime_error when the file cannot be
  // created.
  ReportOutput(const ReportOptions& options, Run* run);

  // Whether the report is text on standard output.
  bool is_plain() const;

  // Each throws std::runtime_error when the report cannot be written. Nothing
  // is written before the first call.
  void Add(const DeviceReport& device);   // counts it in the run's summary
  void List(const DeviceReport& device);  // does not: it is counted already
  // Once, at the end. A text report ends with the summary if that is wanted.
  void End(bool has_summary);

 private:
  void BeginOnce();

  ReportOptions options_;
  Run* run_;
  OutputFile file_;
  std::unique_ptr<Writer> writer_;
  bool has_begun_ = false;
};

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_REPORT_OUTPUT_H_
