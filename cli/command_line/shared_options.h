// Options that several subcommands have, each in one form.
#ifndef IPAV_CLI_COMMAND_LINE_SHARED_OPTIONS_H_
#define IPAV_CLI_COMMAND_LINE_SHARED_OPTIONS_H_

#include <CLI/App.hpp>
#include <string>
#include <vector>

#include "cli/check.h"
#include "cli/locations.h"
#include "cli/read_tree.h"
#include "cli/report/report_output.h"
#include "host/datastore/input_file.h"

namespace ipav::cli::command_line {

// What the options write into is borrowed, until the command line is parsed.

// One of a few words; the first that stands in `value` is the default.
CLI::Option* AddChoice(CLI::App* command, const std::string& name,
                       std::string* value, std::vector<std::string> words,
                       const std::string& description);

// More would not fit the milliseconds of poll(2), or the address space of the
// smallest machine.
inline constexpr unsigned kMaxSeconds = 1000000;
inline constexpr unsigned kMaxMebibytes = 2047;

// --timeout and --max-input-size.
struct Limits {
  unsigned seconds = 60;
  unsigned mebibytes = datastore::kMaxInputSize >> 20;

  void ApplyTo(CheckOptions* options) const;
  void ApplyTo(ReadingLimits* reading) const;
};
void AddLimits(CLI::App* command, const std::string& of_what, Limits* limits);

void AddPlugin(CLI::App* command, Locations* locations);
void AddYang(CLI::App* command, Locations* locations);

// --format, --output and --failed-only.
void AddReport(CLI::App* command, report::ReportOptions* options);

}  // namespace ipav::cli::command_line

#endif  // IPAV_CLI_COMMAND_LINE_SHARED_OPTIONS_H_
