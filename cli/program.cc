#include "cli/program.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <stdexcept>

#include "cli/command.h"
#include "cli/options.h"
#include "host/base/utf8.h"
#include "host/datastore/input_error.h"

namespace ipav::cli {

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
    "  ipav session < requests.jsonl\n"
    "  ipav commit --to /var/lib/ipavd/netconf.sock router.xml\n"
    "  ssh router show-running | ipav check --running - candidate.xml\n"
    "\n"
    "As a file to read, - is standard input; as a file to write, standard\n"
    "output.\n"
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

std::vector<Command> AddCommands(CLI::App* app, const Locations& locations) {
  return {
      AddCheck(app, locations),     AddCompare(app, locations),
      AddSummarize(app, locations), AddPoints(app, locations),
      AddDiff(app, locations),      AddPlan(app, locations),
      AddFix(app, locations),       AddExplain(app, locations),
      AddConvert(app, locations),   AddNew(app, locations),
      AddCommit(app, locations),    AddCompletion(app),
      AddSession(app, locations),   AddLsp(app, locations),
  };
}

ExitStatus Run(const std::vector<std::string>& arguments,
               const Locations* session) {
  CLI::App app("Checks IP configurations as a router does before a commit.",
               "ipav");
  app.footer(kNotes);
  app.set_version_flag("--version", IPAV_VERSION);
  // After a subcommand, the name of another one is a file or a topic.
  app.require_subcommand(0, 1);
  const std::vector<Command> commands =
      AddCommands(&app, session == nullptr ? FindLocations() : *session);

  try {
    RequireValues(arguments);
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    for (const CLI::App* command : app.get_subcommands()) {
      RequireNames(*command);
      RefuseSeveralReaders(*command);
    }
  } catch (const CLI::Success& success) {
    return static_cast<ExitStatus>(app.exit(success));  // --help and --version
  } catch (const CLI::ParseError& error) {
    throw WithHelp(app, error);
  }
  for (const Command& command : commands) {
    if (!command.app->parsed()) continue;
    if (session != nullptr && !command.runs_in_session) {
      throw std::runtime_error(command.app->get_name() +
                               " does not run in a session");
    }
    return command.run();
  }
  throw WithHelp(app, CLI::RequiredError("A command"));
}

void PrintError(const std::string& error) {
  static_cast<void>(
      std::fprintf(stderr, "ipav: %s\n", base::Printable(error).c_str()));
}

}  // namespace

ExitStatus RunProgram(const std::vector<std::string>& arguments,
                      const Locations* session) {
  try {
    const ExitStatus status = Run(arguments, session);
    // A report that nobody can read must not look like an acceptance.
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
      throw std::runtime_error("the report cannot be written");
    }
    return status;
  } catch (const datastore::InputError& error) {
    for (const std::string& each : error.errors()) PrintError(each);
  } catch (const std::exception& error) {
    PrintError(error.what());
  }
  return kBadInput;
}

}  // namespace ipav::cli
