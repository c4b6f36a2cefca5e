// ipav: judges IP configurations with the validation plug-in, without a
// configuration daemon.

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

#include "check.h"
#include "exit_status.h"
#include "locations.h"
#include "points.h"
#include "summarize.h"

namespace {

using ipav::cli::CheckOptions;
using ipav::cli::Locations;
using ipav::cli::SummarizeOptions;
using ipav::cli::report::Format;
using ipav::cli::report::ReportOptions;
using ipav::cli::report::Shard;

constexpr char kExamples[] =
    "Examples:\n"
    "  ipav check --running running.xml candidate.xml\n"
    "  ipav check --running running.json --all a.json b.json\n"
    "  ipav check --verbose first-configuration.xml\n"
    "  ipav check --failed-only -j 8 devices/\n"
    "  ipav check --format json --output 2.json --shard 2/4 devices/\n"
    "  ipav summarize 1.json 2.json 3.json 4.json\n"
    "  ipav points\n"
    "\n"
    "Exit status: 0 accepted, 1 refused, 2 the input or the command line is\n"
    "wrong, 3 the plug-in died, threw or did not answer in time.";

// More would not fit the milliseconds of poll(2), or the address space of the
// smallest machine.
constexpr unsigned kMaxSeconds = 1000000;
constexpr unsigned kMaxMebibytes = 2047;

struct Limits {
  unsigned seconds = 60;
  unsigned mebibytes = ipav::datastore::kMaxInputSize >> 20;

  void ApplyTo(CheckOptions* options) const {
    options->time_limit = std::chrono::seconds(seconds);
    options->max_input_size = std::size_t{mebibytes} << 20;
  }
};

void AddLimitOptions(CLI::App* check, Limits* limits) {
  check
      ->add_option("--timeout", limits->seconds,
                   "Seconds to read a configuration, and for the plug-in to "
                   "judge a candidate (0: no limit)")
      ->capture_default_str()
      ->check(CLI::Range(0U, kMaxSeconds));
  check
      ->add_option("--max-input-size", limits->mebibytes,
                   "Largest configuration to read, in MiB; it takes up to 70 "
                   "times its size in memory")
      ->capture_default_str()
      ->check(CLI::Range(1U, kMaxMebibytes));
}

Format ParseFormat(const std::string& name) {
  const auto& formats = ipav::cli::report::FormatsByName();
  const auto found = formats.find(name);
  if (found == formats.end()) {
    throw CLI::ValidationError("--format",
                               name + " is not text, json, sarif or junit");
  }
  return found->second;
}

void AddReportOptions(CLI::App* app, ReportOptions* options) {
  app->add_option_function<std::string>(
         "--format",
         [options](const std::string& name) {
           options->format = ParseFormat(name);
         },
         "Report as text, json, sarif or junit (default: text)")
      ->type_name("FORMAT");
  app->add_option("--output", options->output,
                  "File for the report, replaced when it is whole (default: "
                  "standard output)");
  app->add_flag("--failed-only", options->failed_only,
                "List no device that was accepted");
}

// "I/N", where I is of 1 to N.
Shard ParseShard(const std::string& text) {
  Shard shard{0, 0};
  const std::size_t slash = text.find('/');
  if (slash == std::string::npos ||
      !CLI::detail::lexical_cast(text.substr(0, slash), shard.number) ||
      !CLI::detail::lexical_cast(text.substr(slash + 1), shard.of) ||
      shard.number < 1 || shard.number > shard.of) {
    throw CLI::ValidationError("--shard", text + " is not I/N, 1/N to N/N");
  }
  return shard;
}

void AddFleetOptions(CLI::App* check, CheckOptions* options) {
  constexpr unsigned kMaxJobs = 256;  // two files each, of the usual 1024
  check
      ->add_option("-j,--jobs", options->jobs,
                   "Devices to judge at a time (default: as many as "
                   "processors)")
      ->check(CLI::Range(1U, kMaxJobs));
  check
      ->add_option_function<std::string>(
          "--shard",
          [options](const std::string& text) {
            options->shard = ParseShard(text);
          },
          "Judge every N-th device of the list alone, from the I-th on")
      ->type_name("I/N");
  check->add_flag("-q,--quiet", options->quiet,
                  "No progress line on the terminal");
}

void AddLocationOptions(CLI::App* app, Locations* locations) {
  app->add_option("--plugin", locations->plugin, "Validation plug-in to run")
      ->capture_default_str();
  app->add_option("--yang", locations->yang_dir, "Folder of the data model")
      ->capture_default_str();
}

CLI::App* AddCheck(CLI::App* app, CheckOptions* options, Limits* limits) {
  CLI::App* check = app->add_subcommand(
      "check", "Judge candidates against a running configuration");
  check->add_option("--running", options->running,
                    "Running configuration, XML or JSON (default: empty)");
  check->add_flag("--all", options->all,
                  "Run every validation point and list its answer");
  check->add_flag("-v,--verbose", options->verbose,
                  "Show debug lines and platform calls");
  check->add_flag("--timing", options->timing,
                  "Show where the time went, on standard error, and add the "
                  "seconds of each device to json and junit");
  check
      ->add_option("--color", options->color,
                   "Colours: auto (on a terminal, unless NO_COLOR is set), "
                   "always, never")
      ->capture_default_str()
      ->check(CLI::IsMember({"auto", "always", "never"}));
  AddLimitOptions(check, limits);
  AddReportOptions(check, &options->report);
  AddFleetOptions(check, options);
  check
      ->add_option("candidate", options->candidates,
                   "Configurations to judge, XML or JSON, or folders of them")
      ->required();
  return check;
}

CLI::App* AddSummarize(CLI::App* app, SummarizeOptions* options) {
  CLI::App* summarize = app->add_subcommand(
      "summarize", "Make one report of the JSON reports of several runs");
  AddReportOptions(summarize, &options->report);
  summarize->add_option("result", options->results, "JSON reports")->required();
  return summarize;
}

int Run(int argc, char** argv) {
  Locations locations = ipav::cli::FindLocations();
  CheckOptions options;
  Limits limits;
  CLI::App app("Judges IP configurations as a router would before a commit.",
               "ipav");
  app.footer(kExamples);
  app.set_version_flag("--version", IPAV_VERSION);

  CLI::App* check = AddCheck(&app, &options, &limits);
  AddLocationOptions(check, &locations);

  SummarizeOptions summarize_options;
  CLI::App* summarize = AddSummarize(&app, &summarize_options);

  CLI::App* points = app.add_subcommand(
      "points", "List the use sites of validation points in the model");
  AddLocationOptions(points, &locations);

  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& success) {
    return app.exit(success);  // --help and --version
  }
  limits.ApplyTo(&options);
  if (check->parsed()) return ipav::cli::Check(locations, options);
  if (summarize->parsed()) return ipav::cli::Summarize(summarize_options);
  if (points->parsed()) return ipav::cli::ListPoints(locations);
  throw CLI::RequiredError("A subcommand");
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const int status = Run(argc, argv);
    // A report that nobody can read must not look like an acceptance.
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
      throw std::runtime_error("the report cannot be written");
    }
    return status;
  } catch (const std::exception& error) {
    static_cast<void>(std::fprintf(stderr, "ipav: %s\n", error.what()));
    return ipav::cli::kBadInput;
  }
}
