// A report on its way out: the format, the file, and the run that it is about.
#ifndef IPAV_CLI_REPORT_REPORT_OUTPUT_H_
#define IPAV_CLI_REPORT_REPORT_OUTPUT_H_

#include <memory>
#include <string>

#include "cli/report/device_report.h"
#include "cli/report/formats.h"
#include "cli/report/output_file.h"
#include "cli/report/run.h"
#include "cli/report/text.h"
#include "cli/report/writer.h"

namespace ipav::cli::report {

// Which report, and where it goes.
struct ReportOptions {
  Format format = Format::kText;
  std::string output;        // file; empty: standard output
  bool failed_only = false;  // lists no device that was accepted
};

class ReportOutput {
 public:
  // The run is borrowed; its summary counts the devices. Throws
  // std::runtime_error for a file that cannot be.
  ReportOutput(const ReportOptions& options, const TextOptions& text, Run* run);

  // Text on standard output.
  bool is_plain() const;

  // Each throws std::runtime_error when the report cannot be written. Nothing
  // is written before the first of them.
  void Add(const DeviceReport& device);
  void List(const DeviceReport& device);  // one that is counted already
  void End(bool has_summary);             // once; a text's last line, if wanted

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
