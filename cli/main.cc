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
#include "commands/convert.h"
#include "commands/diff.h"
#include "commands/explain.h"
#include "commands/new.h"
#include "commands/points.h"
#include "commands/summarize.h"
#include "exit_status.h"
#include "locations.h"

namespace {

using ipav::cli::CheckOptions;
using ipav::cli::ConvertOptions;
using ipav::cli::DiffOptions;
using ipav::cli::ExplainOptions;
using ipav::cli::Locations;
using ipav::cli::NewOptions;
using ipav::cli::ReadingLimits;
using ipav::cli::SummarizeOptions;
using ipav::cli::report::Format;
using ipav::cli::report::ReportOptions;
using ipav::cli::report::Shard;

constexpr char kExamples[] =
    "Examples:\n"
    "  ipav check --running running.xml candidate.xml\n"
    "  ipav check --running running.json --all a.json b.json\n"
    "  ipav check --running running.xml --report page.html candidate.xml\n"
    "  ipav check --verbose first-configuration.xml\n"
    "  ipav check --failed-only -j 8 devices/\n"
    "  ipav check --format json --output 2.json --shard 2/4 devices/\n"
    "  ipav summarize 1.json 2.json 3.json 4.json\n"
    "  ipav check --trace --running running.xml candidate.xml 2> trace.txt\n"
    "  ipav points\n"
    "  ipav explain ipv4_addr_validation\n"
    "  ipav diff running.xml candidate.xml\n"
    "  ipav convert candidate.xml --output candidate.json\n"
    "  ipav new > router.xml\n"
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
  void ApplyTo(ReadingLimits* reading) const {
    reading->time = std::chrono::seconds(seconds);
    reading->size = std::size_t{mebibytes} << 20;
  }
};

void AddLimitOptions(CLI::App* command, const char* of_what, Limits* limits) {
  command
      ->add_option("--timeout", limits->seconds,
                   std::string("Seconds to ") + of_what + " (0: no limit)")
      ->capture_default_str()
      ->check(CLI::Range(0U, kMaxSeconds));
  command
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
constexpr char kReading[] = "read a configuration";
constexpr char kReadingAndJudging[] =
    "read a configuration, and for the plug-in to judge a candidate";

void AddLocationOptions(CLI::App* app, Locations* locations) {
  app->add_option("--plugin", locations->plugin, "Validation plug-in to run")
      ->capture_default_str();
  app->add_option("--yang", locations->yang_dir, "Folder of the data model")
      ->capture_default_str();
}

constexpr char kCheckNotes[] =
    "Examples:\n"
    "  ipav check --running running.xml candidate.xml\n"
    "  ipav check --running running.xml --all candidate.xml\n"
    "  ipav check --trace --running running.xml candidate.xml 2> trace.txt\n"
    "\n"
    "Exit status: 0 accepted, 1 refused, 2 the input or the command line is\n"
    "wrong, 3 the plug-in died, threw or did not answer in time.";

CLI::App* AddCheck(CLI::App* app, CheckOptions* options, Limits* limits) {
  CLI::App* check = app->add_subcommand(
      "check", "Judge candidates against a running configuration");
  check->add_option("--running", options->running,
                    "Running configuration, XML or JSON (default: empty)");
  check->add_flag("--all", options->all,
                  "Run every validation point and list its answer");
  check->add_flag("-v,--verbose", options->verbose,
                  "Show debug lines and platform calls");
  check
      ->add_option("--report", options->page,
                   "Write a page to look at as well, to that file (HTML)")
      ->type_name("FILE");
  check->add_flag("--trace", options->trace,
                  "Write every platform call with its answer and its time to "
                  "standard error, of one device at a time");
  check->footer(kCheckNotes);
  check->add_flag("--timing", options->timing,
                  "Show where the time went, on standard error, and add the "
                  "seconds of each device to json and junit");
  check
      ->add_option("--color", options->color,
                   "Colours: auto (on a terminal, unless NO_COLOR is set), "
                   "always, never")
      ->capture_default_str()
      ->check(CLI::IsMember({"auto", "always", "never"}));
  AddLimitOptions(check, kReadingAndJudging, limits);
  AddReportOptions(check, &options->report);
  AddFleetOptions(check, options);
  check
      ->add_option("candidate", options->candidates,
                   "Configurations to judge, XML or JSON, or folders of them")
      ->required();
  return check;
}

constexpr char kSummarizeNotes[] =
    "Examples:\n"
    "  ipav summarize 1.json 2.json 3.json 4.json\n"
    "  ipav summarize --failed-only --format junit --output all.xml "
    "results/*.json";

CLI::App* AddSummarize(CLI::App* app, SummarizeOptions* options) {
  CLI::App* summarize = app->add_subcommand(
      "summarize", "Make one report of the JSON reports of several runs");
  AddReportOptions(summarize, &options->report);
  summarize->footer(kSummarizeNotes);
  summarize->add_option("result", options->results, "JSON reports")->required();
  return summarize;
}

void AddYangOption(CLI::App* command, Locations* locations) {
  command->add_option("--yang", locations->yang_dir, "Folder of the data model")
      ->capture_default_str();
}

constexpr char kPointsNotes[] =
    "Examples:\n"
    "  ipav points\n"
    "  ipav points --yang my-model";

constexpr char kDiffNotes[] =
    "A line begins with + for what is added, - for what is deleted, ~ for a\n"
    "changed value. An added or deleted list entry is one line with the "
    "number\n"
    "of its leaves; --full lists these, too. Then come the calls that a "
    "commit\n"
    "makes, in its order, each with the nodes that changed and fire it.\n"
    "\n"
    "Examples:\n"
    "  ipav diff running.xml candidate.xml\n"
    "  ipav diff --format json running.json candidate.json\n"
    "\n"
    "Exit status: 0 both could be read, changed or not; 2 one could not.";

CLI::App* AddDiff(CLI::App* app, Locations* locations, Limits* limits,
                  DiffOptions* options) {
  CLI::App* diff = app->add_subcommand(
      "diff", "Show what a candidate changes and which points that fires");
  diff->footer(kDiffNotes);
  diff->add_option("running", options->running,
                   "Running configuration, XML or JSON")
      ->required();
  diff->add_option("candidate", options->candidate,
                   "Configuration to compare, XML or JSON")
      ->required();
  diff->add_flag("--full", options->full,
                 "List the leaves of added and deleted list entries, too");
  diff->add_option("--format", options->format, "text or json")
      ->capture_default_str()
      ->check(CLI::IsMember({"text", "json"}));
  AddLimitOptions(diff, kReading, limits);
  AddYangOption(diff, locations);
  return diff;
}

constexpr char kConvertNotes[] =
    "The data stays as it is: the order of list entries, and what is written\n"
    "though it is the default. Lost are comments, blanks between elements, "
    "XML\n"
    "prefixes and the form of a value that has several, such as 007 for 7.\n"
    "\n"
    "Examples:\n"
    "  ipav convert candidate.xml\n"
    "  ipav convert candidate.json --to xml --output candidate.xml\n"
    "\n"
    "Exit status: 0 converted; 2 the file cannot be read or written.";

CLI::App* AddConvert(CLI::App* app, Locations* locations, Limits* limits,
                     ConvertOptions* options) {
  CLI::App* convert = app->add_subcommand(
      "convert", "Write a configuration in the other format, XML or JSON");
  convert->footer(kConvertNotes);
  convert
      ->add_option("file", options->file,
                   "Configuration to convert, XML or JSON")
      ->required();
  convert
      ->add_option("--to", options->to,
                   "xml or json (default: what the file is not)")
      ->check(CLI::IsMember({"xml", "json"}));
  convert->add_option("--output", options->output,
                      "File to write (default: standard output)");
  AddLimitOptions(convert, kReading, limits);
  AddYangOption(convert, locations);
  return convert;
}

constexpr char kExplainNotes[] =
    "A text is the one that an operator saw, interfaces and addresses filled\n"
    "in; a rule is named by its heading or as findings and SARIF name it.\n"
    "Without a topic, the validation points and rules are listed.\n"
    "\n"
    "Examples:\n"
    "  ipav explain ipv4_addr_validation\n"
    "  ipav explain overlap\n"
    "  ipav explain interface-overlap\n"
    "  ipav explain 'l3 a has duplicated IPv4 address 10.0.0.1'\n"
    "  ipav check --running running.xml candidate.xml | ipav explain -\n"
    "\n"
    "Exit status: 0 explained, 2 a topic is unknown.";

CLI::App* AddExplain(CLI::App* app, Locations* locations,
                     ExplainOptions* options) {
  CLI::App* explain = app->add_subcommand(
      "explain", "Explain a validation point, a rule or a text");
  explain->footer(kExplainNotes);
  explain->add_option(
      "topic", options->topics,
      "Name of a point or a rule, or a text; '-' for texts from standard "
      "input, one a line, such as the output of ipav check");
  AddYangOption(explain, locations);
  return explain;
}

constexpr char kNewNotes[] =
    "The configuration is accepted as it is. In XML a comment stands beside\n"
    "what a validation point looks at.\n"
    "\n"
    "Examples:\n"
    "  ipav new > router.xml && ipav check router.xml\n"
    "  ipav new --format json > router.json";

CLI::App* AddNew(CLI::App* app, NewOptions* options) {
  CLI::App* command =
      app->add_subcommand("new", "Print a first configuration to change");
  command->footer(kNewNotes);
  command
      ->add_option("--format", options->format,
                   "xml, with comments, or json, which has none")
      ->capture_default_str()
      ->check(CLI::IsMember({"xml", "json"}));
  return command;
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
  points->footer(kPointsNotes);
  AddLocationOptions(points, &locations);

  DiffOptions diff_options;
  const CLI::App* diff = AddDiff(&app, &locations, &limits, &diff_options);
  ExplainOptions explain_options;
  const CLI::App* explain = AddExplain(&app, &locations, &explain_options);
  ConvertOptions convert_options;
  const CLI::App* convert =
      AddConvert(&app, &locations, &limits, &convert_options);
  NewOptions new_options;
  const CLI::App* new_command = AddNew(&app, &new_options);

  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& success) {
    return app.exit(success);  // --help and --version
  }
  limits.ApplyTo(&options);
  if (check->parsed()) return ipav::cli::Check(locations, options);
  if (summarize->parsed()) return ipav::cli::Summarize(summarize_options);
  if (points->parsed()) return ipav::cli::ListPoints(locations);
  limits.ApplyTo(&diff_options.limits);
  if (diff->parsed()) return ipav::cli::PrintDiff(locations, diff_options);
  if (explain->parsed()) return ipav::cli::Explain(locations, explain_options);
  limits.ApplyTo(&convert_options.limits);
  if (convert->parsed()) return ipav::cli::Convert(locations, convert_options);
  if (new_command->parsed()) {
    return ipav::cli::PrintNew(locations, new_options);
  }
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
