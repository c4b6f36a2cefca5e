// ipav summarize: combines the JSON reports of several runs into one.

#include <fmt/core.h>

#include <CLI/App.hpp>
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cli/command.h"
#include "cli/options.h"
#include "cli/report/json/json.h"
#include "host/base/utf8.h"
#include "host/datastore/input_error.h"
#include "host/datastore/input_file.h"

namespace ipav::cli {

namespace {

using report::DeviceReport;
using report::Json;
using report::ReadReport;
using report::Run;
using report::Summary;

constexpr char kSummarizeNotes[] = R"(Examples:
  ipav summarize 1.json 2.json 3.json 4.json
  ipav summarize --failed-only --format junit --output all.xml results/*.json

Exit status: the highest one of all devices; at least 2 if a report is
missing or wrong.)";

struct SummarizeOptions {
  std::vector<std::string> results;  // files
  report::ReportOptions report;
};

struct Part {
  std::string file;
  ReadReport report;
};

// The first line of a library's error text.
std::string FirstLine(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

ReadReport Read(const std::string& file) {
  const std::string text =
      datastore::ReadInput(file, std::numeric_limits<std::size_t>::max());
  try {
    return report::ReportFromJson(Json::parse(text));
  } catch (const std::exception& error) {
    throw std::runtime_error("no whole report of ipav: " +
                             FirstLine(error.what()));
  }
}

// Collects the reports of all parts, and prints what is wrong with them.
class Parts {
 public:
  void Add(const std::string& file) {
    try {
      Part part{file, Read(file)};
      CheckSummary(part.report);
      if (!CheckShard(part)) return;
      CheckDevices(part);
      AddSummary(part.report.run.summary);
      parts_.push_back(std::move(part));
    } catch (const datastore::InputError& error) {
      PrintProblem(error.what());
    } catch (const std::runtime_error& error) {
      PrintProblem(file + ": " + error.what());
    }
  }

  // To be called once, after the last part.
  void CheckShardsAreComplete() {
    if (parts_.empty() || !shards_.has_value()) return;
    for (std::size_t number = 1; number <= shards_->of; ++number) {
      if (file_of_shard_.count(number) == 0) {
        PrintProblem(
            fmt::format("shard {} of {} is missing", number, shards_->of));
      }
    }
  }

  // Devices of shards in the order of their numbers; of runs without shards, in
  // the order of the files.
  std::vector<DeviceReport> TakeDevices() {
    std::vector<DeviceReport> devices;
    for (Part& part : parts_) {
      for (DeviceReport& device : part.report.devices) {
        if (!shards_) device.number = devices.size() + 1;
        devices.push_back(std::move(device));
      }
    }
    if (shards_) {
      std::stable_sort(devices.begin(), devices.end(),
                       [](const DeviceReport& a, const DeviceReport& b) {
                         return a.number < b.number;
                       });
    }
    return devices;
  }

  const Summary& summary() const { return summary_; }

 private:
  void PrintProblem(const std::string& problem) {
    summary_.Raise(kBadInput);
    static_cast<void>(
        std::fprintf(stderr, "ipav: %s\n", base::Printable(problem).c_str()));
  }

  void AddSummary(const Summary& summary) {
    for (const ExitStatus status :
         {kAccepted, kRefused, kBadInput, kPluginFailed}) {
      summary_.Add(status, summary.Of(status));
    }
    summary_.Raise(summary.worst_status());
  }

  void CheckSummary(const ReadReport& report) {
    Summary listed;
    for (const DeviceReport& device : report.devices) {
      listed.Add(device.status);
    }
    // Accepted devices need not be listed.
    const Summary& told = report.run.summary;
    const auto differs = [&](ExitStatus status) {
      return told.Of(status) != listed.Of(status);
    };
    if (differs(kRefused) || differs(kBadInput) || differs(kPluginFailed) ||
        told.Of(kAccepted) < listed.Of(kAccepted)) {
      throw std::runtime_error("its summary is not that of its devices");
    }
  }

  void CheckDevices(const Part& part) {
    for (const DeviceReport& device : part.report.devices) {
      const auto [entry, is_new] =
          file_of_device_.emplace(device.candidate, part.file);
      // One run may validate a device twice.
      if (is_new || entry->second == part.file) continue;
      PrintProblem(device.candidate + " is in " + entry->second + " and in " +
                   part.file);
    }
  }

  // Whether the part is a new shard. Throws when it is of another run.
  bool CheckShard(const Part& part) {
    const Run& run = part.report.run;
    if (parts_.empty()) {
      shards_ = run.shard;
      list_size_ = run.list_size;
    }
    if (!run.shard && !shards_) return true;
    if (!run.shard || !shards_ || run.shard->of != shards_->of ||
        run.list_size != list_size_) {
      throw std::runtime_error("is of another run than " + parts_.front().file);
    }
    const auto [entry, is_new] =
        file_of_shard_.emplace(run.shard->number, part.file);
    if (!is_new) {
      PrintProblem(fmt::format("shard {} of {} is in {} and in {}",
                               run.shard->number, run.shard->of, entry->second,
                               part.file));
    }
    return is_new;
  }

  std::vector<Part> parts_;
  std::optional<report::Shard> shards_;  // of the first part; `of` alone counts
  std::size_t list_size_ = 0;
  std::map<std::size_t, std::string> file_of_shard_;
  std::map<std::string, std::string> file_of_device_;
  Summary summary_;
};

// Writes the report that one run over all devices would have written. Prints
// what is wrong with the results, such as a missing shard, to standard error.
ExitStatus Summarize(const SummarizeOptions& options) {
  Parts parts;
  for (const std::string& file : options.results) parts.Add(file);
  parts.CheckShardsAreComplete();

  Run run;
  run.summary = parts.summary();
  report::ReportOutput output(options.report, &run);
  for (const DeviceReport& device : parts.TakeDevices()) output.List(device);
  output.End(true);
  return run.summary.worst_status();
}

}  // namespace

Command AddSummarize(CLI::App* app, const Locations& /*locations*/) {
  const auto options = std::make_shared<SummarizeOptions>();
  CLI::App* command = app->add_subcommand(
      "summarize", "Combine the JSON reports of several runs into one");
  command->footer(kSummarizeNotes);
  AddReport(command, &options->report);
  AddFailedOnly(command, &options->report);
  AddInputs(command, "result", "JSON reports", &options->results)->required();
  return {command, [options] { return Summarize(*options); }};
}

}  // namespace ipav::cli
