#include "cli/report/report_output.h"

#include <fmt/core.h>

#include <cstdio>

namespace ipav::cli::report {

ReportOutput::ReportOutput(const ReportOptions& options,
                           const TextOptions& text, Run* run)
    : options_(options),
      run_(run),
      file_(options.output),
      writer_(MakeWriter(options.format, file_.stream(), *run, text)) {}

bool ReportOutput::is_plain() const {
  return options_.format == Format::kText && options_.output.empty();
}

void ReportOutput::BeginOnce() {
  if (!has_begun_) writer_->Begin();
  has_begun_ = true;
}

void ReportOutput::Add(const DeviceReport& device) {
  run_->summary.Add(device.status);
  List(device);
}

void ReportOutput::List(const DeviceReport& device) {
  BeginOnce();
  if (options_.failed_only && device.status == kAccepted) return;
  writer_->Add(device);
  // Whoever reads a pipe sees each device when it is done.
  static_cast<void>(std::fflush(file_.stream()));
  file_.Check();
}

void ReportOutput::End(bool has_summary) {
  BeginOnce();
  writer_->End();
  if (has_summary && options_.format == Format::kText) {
    fmt::print(file_.stream(), "{}\n", InWords(*run_));
  }
  writer_.reset();  // it borrows the file
  file_.Commit();
}

}  // namespace ipav::cli::report
