// Options that several subcommands have.
#ifndef IPAV_CLI_OPTIONS_H_
#define IPAV_CLI_OPTIONS_H_

#include <CLI/App.hpp>
#include <string>
#include <vector>

#include "cli/fleet/fleet.h"
#include "cli/locations.h"
#include "cli/reading.h"
#include "cli/report/report_output.h"

namespace ipav::cli {

// Names of value types in the help, from which the shells' completions know
// what to offer.
inline constexpr char kFile[] = "FILE";  // or a folder of files
inline constexpr char kFolder[] = "FOLDER";
inline constexpr char kTopic[] = "TOPIC";  // of ipav explain

// More would not fit the milliseconds of poll(2), or the address space of the
// smallest machine.
inline constexpr unsigned kMaxSeconds = 1000000;
inline constexpr unsigned kMaxMebibytes = 2047;

// Each function adds options that write into its last argument, which must live
// until the command line is parsed.

// An option whose value is one of a few words; `value` holds the default.
CLI::Option* AddChoice(CLI::App* command, const std::string& name,
                       std::vector<std::string> words,
                       const std::string& description, std::string* value);

// A file argument, or an option that names a file.
CLI::Option* AddFile(CLI::App* command, const std::string& name,
                     const std::string& description, std::string* file);

// The same for a file that is read: `-` is standard input, and becomes
// datastore::kStandardInput.
CLI::Option* AddInput(CLI::App* command, const std::string& name,
                      const std::string& description, std::string* file);
CLI::Option* AddInputs(CLI::App* command, const std::string& name,
                       const std::string& description,
                       std::vector<std::string>* files);

// Throws CLI::ValidationError if a file or folder of a parsed command has an
// empty name, such as that of a shell variable that is not set.
void RequireNames(const CLI::App& command);

// Throws CLI::ValidationError for --NAME= without a value: the library would
// take the next argument as its value.
void RequireValues(const std::vector<std::string>& arguments);

// Throws CLI::ValidationError if several inputs of a parsed command are `-`.
void RefuseSeveralReaders(const CLI::App& command);

// --timeout and --max-input-size.
void AddLimits(CLI::App* command, const std::string& of_what,
               ReadingLimits* limits);

// --yang
void AddYang(CLI::App* command, Locations* locations);
// --plugin and --yang
void AddPluginAndYang(CLI::App* command, Locations* locations);

// --format and --output.
void AddReport(CLI::App* command, report::ReportOptions* options);

// --failed-only
void AddFailedOnly(CLI::App* command, report::ReportOptions* options);

// --jobs, --shard and --quiet.
void AddFleet(CLI::App* command, fleet::FleetOptions* options);

}  // namespace ipav::cli

#endif  // IPAV_CLI_OPTIONS_H_
