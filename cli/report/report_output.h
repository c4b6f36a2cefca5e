// The formats of a report by their names, and the file that a report is written
// to.
#ifndef IPAV_CLI_REPORT_REPORT_OUTPUT_H_
#define IPAV_CLI_REPORT_REPORT_OUTPUT_H_

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <string>

#include "cli/report/device_report.h"
#include "cli/report/output_file.h"
#include "cli/report/run.h"
#include "cli/report/text/text.h"
#include "cli/report/writer.h"

namespace ipav::cli::report {

enum class Format : std::uint8_t { kText, kJson, kSarif, kJunit };

const std::map<std::string, Format>& FormatsByName();

// `out` and `run` are borrowed. The run is read at the end of the report, when
// it must include all devices; its shard must be set at the beginning.
std::unique_ptr<Writer> MakeWriter(Format format, std::FILE* out,
                                   const Run& run, const TextOptions& text);

struct ReportOptions {
  Format format = Format::kText;
  std::string output;        // as of OutputFile
  bool failed_only = false;  // leaves out accepted devices

  // Only for the text format.
  bool all = false;             // the answer of every point
  bool verbose = false;         // debug lines and platform calls as well
  std::string color = "never";  // or always, auto
};

class ReportOutput {
 public:
  // The run is borrowed. Throws std::runtime_error if the file cannot be
  // created.
  ReportOutput(const ReportOptions& options, Run* run);

  // Whether the report is text on standard output.
  bool is_plain() const;

  // Each throws std::runtime_error if the report cannot be written. Nothing is
  // written before the first call.
  void Add(const DeviceReport& device);   // counts it in the run's summary
  void List(const DeviceReport& device);  // without counting it again
  // Call it once, at the end. A text report then ends with the summary if
  // wanted.
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
