// ipav: judges IP configurations with the validation plug-in, without a
// configuration daemon.

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <stdexcept>

#include "check.h"
#include "exit_status.h"
#include "locations.h"
#include "points.h"

namespace {

using ipav::cli::CheckOptions;
using ipav::cli::Locations;

constexpr char kExamples[] =
    "Examples:\n"
    "  ipav check --running running.xml candidate.xml\n"
    "  ipav check --running running.json --all a.json b.json\n"
    "  ipav check --running running.xml --report page.html candidate.xml\n"
    "  ipav check --verbose first-configuration.xml\n"
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
                   "Largest configuration to read, in MiB")
      ->capture_default_str()
      ->check(CLI::Range(1U, kMaxMebibytes));
}

void AddLocationOptions(CLI::App* app, Locations* locations) {
  app->add_option("--plugin", locations->plugin, "Validation plug-in to run")
      ->capture_default_str();
  app->add_option("--yang", locations->yang_dir, "Folder of the data model")
      ->capture_default_str();
}

int Run(int argc, char** argv) {
  Locations locations = ipav::cli::FindLocations();
  CheckOptions options;
  Limits limits;
  CLI::App app("Judges IP configurations as a router would before a commit.",
               "ipav");
  app.footer(kExamples);
  app.set_version_flag("--version", IPAV_VERSION);

  CLI::App* check = app.add_subcommand(
      "check", "Judge candidates against a running configuration");
  check->add_option("--running", options.running,
                    "Running configuration, XML or JSON (default: empty)");
  check->add_flag("--all", options.all,
                  "Run every validation point and list its answer");
  check->add_flag("-v,--verbose", options.verbose,
                  "Show debug lines and platform calls");
  check
      ->add_option("--report", options.page,
                   "Write a page to look at as well, to that file (HTML)")
      ->type_name("FILE");
  AddLimitOptions(check, &limits);
  check
      ->add_option("candidate", options.candidates,
                   "Configurations to judge, XML or JSON")
      ->required();
  AddLocationOptions(check, &locations);

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
