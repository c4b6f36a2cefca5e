#include "cli/report/report_output.h"

#include <fmt/core.h>

#include "cli/report/json/json.h"
#include "cli/report/junit/junit.h"
#include "cli/report/sarif/sarif.h"
#include "cli/report/text/terminal.h"

namespace ipav::cli::report {

namespace {

TextOptions TextOptionsOf(const ReportOptions& options) {
  std::FILE* terminal = IsStandardOutput(options.output) ? stdout : nullptr;
  return {options.all, options.verbose, WantsColor(options.color, terminal)};
}

}  // namespace

const std::map<std::string, Format>& FormatsByName() {
  static const std::map<std::string, Format> kFormats = {
      {"text", Format::kText},
      {"json", Format::kJson},
      {"sarif", Format::kSarif},
      {"junit", Format::kJunit}};
  return kFormats;
}

std::unique_ptr<Writer> MakeWriter(Format format, std::FILE* out,
                                   const Run& run, const TextOptions& text) {
  switch (format) {
    case Format::kJson:
      return std::make_unique<JsonWriter>(out, run);
    case Format::kSarif:
      return std::make_unique<SarifWriter>(out, run);
    case Format::kJunit:
      return std::make_unique<JunitWriter>(out);
    case Format::kText:
      break;
  }
  return std::make_unique<TextWriter>(out, text);
}

ReportOutput::ReportOutput(const ReportOptions& options, Run* run)
    : options_(options),
      run_(run),
      file_(options.output),
      writer_(MakeWriter(options.format, file_.stream(), *run,
                         TextOptionsOf(options))) {}

bool ReportOutput::is_plain() const {
  return options_.format == Format::kText && file_.stream() == stdout;
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
  // Flush, so that the reader of a pipe sees each device as soon as it is done.
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
