// ipav: validates IP configurations with the validation plug-in, without a
// configuration daemon.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/command.h"
#include "cli/exit_status.h"
#include "cli/locations.h"
#include "host/base/utf8.h"
#include "host/datastore/input_error.h"

namespace {

constexpr char kNotes[] =
    "Examples:\n"
    "  ipav check --running running.xml candidate.xml\n"
    "  ipav check --running running.json --all a.json b.json\n"
    "  ipav check --running running.xml --report page.html candidate.xml\n"
    "  ipav check --verbose first-configuration.xml\n"
    "  ipav check --failed-only -j 8 devices/\n"
    "  ipav check --format json --output 2.json --shard 2/4 devices/\n"
    "  ipav summarize 1.json 2.json 3.json 4.json\n"
    "  ipav compare --plugin old.so --plugin new.so devices/\n"
    "  ipav check --trace --running running.xml candidate.xml 2> trace.txt\n"
    "  ipav points\n"
    "  ipav explain ipv4_addr_validation\n"
    "  ipav diff running.xml candidate.xml\n"
    "  ipav fix --running running.xml candidate.xml\n"
    "  ipav plan --running running.xml goal.xml\n"
    "  ipav convert candidate.xml --output candidate.json\n"
    "  ipav new > router.xml\n"
    "  ipav commit --to /var/lib/ipavd/netconf.sock router.xml\n"
    "\n"
    "Exit status: 0 accepted, 1 refused, 2 the input or the command line is\n"
    "wrong, 3 the plug-in died, threw an exception or did not answer in time.";

// The error of a command line, with the option that shows the help.
std::runtime_error WithHelp(const CLI::App& app, const CLI::Error& error) {
  const std::vector<CLI::App*> commands = app.get_subcommands();
  const std::string command =
      commands.empty() ? "" : commands.front()->get_name() + " ";
  return std::runtime_error(std::string(error.what()) + " (see ipav " +
                            command + "--help)");
}

int Run(int argc, char** argv) {
  CLI::App app("Checks IP configurations as a router does before a commit.",
               "ipav");
  app.footer(kNotes);
  app.set_version_flag("--version", IPAV_VERSION);
  // After a subcommand, the name of another one is a file or a topic.
  app.require_subcommand(0, 1);

  const ipav::cli::Locations locations = ipav::cli::FindLocations();
  const std::vector<ipav::cli::Command> commands = {
      ipav::cli::AddCheck(&app, locations),
      ipav::cli::AddCompare(&app, locations),
      ipav::cli::AddSummarize(&app, locations),
      ipav::cli::AddPoints(&app, locations),
      ipav::cli::AddDiff(&app, locations),
      ipav::cli::AddPlan(&app, locations),
      ipav::cli::AddFix(&app, locations),
      ipav::cli::AddExplain(&app, locations),
      ipav::cli::AddConvert(&app, locations),
      ipav::cli::AddNew(&app, locations),
      ipav::cli::AddCommit(&app, locations),
      ipav::cli::AddCompletion(&app),
  };

  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& success) {
    return app.exit(success);  // --help and --version
  } catch (const CLI::ParseError& error) {
    throw WithHelp(app, error);
  }
  for (const ipav::cli::Command& command : commands) {
    if (command.app->parsed()) return command.run();
  }
  throw WithHelp(app, CLI::RequiredError("A command"));
}

void PrintError(const std::string& error) {
  static_cast<void>(
      std::fprintf(stderr, "ipav: %s\n", ipav::base::Printable(error).c_str()));
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
  } catch (const ipav::datastore::InputError& error) {
    for (const std::string& each : error.errors()) PrintError(each);
  } catch (const std::exception& error) {
    PrintError(error.what());
  }
  return ipav::cli::kBadInput;
}
