// The command line of ipav check and of ipav summarize, which reports alike.

#include <CLI/App.hpp>
#include <CLI/Error.hpp>
#include <CLI/TypeTools.hpp>
#include <CLI/Validators.hpp>
#include <cstddef>
#include <memory>
#include <string>

#include "cli/check.h"
#include "cli/command_line/command.h"
#include "cli/command_line/shared_options.h"
#include "cli/command_line/types.h"
#include "cli/commands/summarize.h"

namespace ipav::cli::command_line {

namespace {

constexpr char kNotes[] =
    "Examples:\n"
    "  ipav check --running running.xml candidate.xml\n"
    "  ipav check --running running.xml --all candidate.xml\n"
    "  ipav check --trace --running running.xml candidate.xml 2> trace.txt\n"
    "\n"
    "Exit status: 0 accepted, 1 refused, 2 the input or the command line is\n"
    "wrong, 3 the plug-in died, threw or did not answer in time.";

constexpr char kSummarizeNotes[] =
    "Examples:\n"
    "  ipav summarize 1.json 2.json 3.json 4.json\n"
    "  ipav summarize --failed-only --format junit --output all.xml "
    "results/*.json\n"
    "\n"
    "Exit status: that of the gravest result; 2 where one is missing or wrong.";

void AddOutput(CLI::App* check, CheckOptions* options) {
  check
      ->add_option("--running", options->running,
                   "Running configuration, XML or JSON (default: empty)")
      ->type_name(kFile);
  check->add_flag("--all", options->all,
                  "Run every validation point and list its answer");
  check->add_flag("-v,--verbose", options->verbose,
                  "Show debug lines and platform calls");
  check
      ->add_option("--report", options->page,
                   "Write a page to look at as well, to that file (HTML)")
      ->type_name(kFile);
  check->add_flag("--trace", options->trace,
                  "Write every platform call with its answer and its time to "
                  "standard error, of one device at a time");
  check->add_flag("--timing", options->timing,
                  "Show where the time went, on standard error, and add the "
                  "times of each device to json, its seconds to junit");
  AddChoice(check, "--color", &options->color, {"auto", "always", "never"},
            "Colours: auto (on a terminal, unless NO_COLOR is set), always, "
            "never");
}

// "I/N", where I is of 1 to N.
report::Shard ParseShard(const std::string& text) {
  report::Shard shard{0, 0};
  const std::size_t slash = text.find('/');
  if (slash == std::string::npos ||
      !CLI::detail::lexical_cast(text.substr(0, slash), shard.number) ||
      !CLI::detail::lexical_cast(text.substr(slash + 1), shard.of) ||
      shard.number < 1 || shard.number > shard.of) {
    throw CLI::ValidationError("--shard", text + " is not I/N, 1/N to N/N");
  }
  return shard;
}

void AddFleet(CLI::App* check, CheckOptions* options) {
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

}  // namespace

Command AddCheck(CLI::App* app, const Locations& locations) {
  struct Values {
    Locations locations;
    Limits limits;
    CheckOptions options;
  };
  const auto values = std::make_shared<Values>(Values{locations, {}, {}});
  CLI::App* check = app->add_subcommand(
      "check", "Judge candidates against a running configuration");
  check->footer(kNotes);
  AddOutput(check, &values->options);
  AddLimits(check,
            "read a configuration, and for the plug-in to judge a candidate",
            &values->limits);
  AddReport(check, &values->options.report);
  AddFleet(check, &values->options);
  check
      ->add_option("candidate", values->options.candidates,
                   "Configurations to judge, XML or JSON, or folders of them")
      ->type_name(kFile)
      ->required();
  AddPlugin(check, &values->locations);
  AddYang(check, &values->locations);
  return {check, [values] {
            values->limits.ApplyTo(&values->options);
            return Check(values->locations, values->options);
          }};
}

Command AddSummarize(CLI::App* app) {
  const auto options = std::make_shared<SummarizeOptions>();
  CLI::App* summarize = app->add_subcommand(
      "summarize", "Make one report of the JSON reports of several runs");
  summarize->footer(kSummarizeNotes);
  AddReport(summarize, &options->report);
  summarize->add_option("result", options->results, "JSON reports")
      ->type_name(kFile)
      ->required();
  return {summarize, [options] { return Summarize(*options); }};
}

}  // namespace ipav::cli::command_line
