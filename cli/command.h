// The subcommands of ipav: their options, and what runs them.
#ifndef IPAV_CLI_COMMAND_H_
#define IPAV_CLI_COMMAND_H_

#include <CLI/App.hpp>
#include <functional>

#include "cli/exit_status.h"
#include "cli/locations.h"

namespace ipav::cli {

struct Command {
  const CLI::App* app;  // owned by the program's
  // To be called after the command line is parsed. Throws
  // datastore::InputError, plugin::PluginError and std::runtime_error.
  std::function<ExitStatus()> run;
  bool runs_in_session = true;  // see ipav session
};

// Each adds its subcommand to `app`, which must outlive the result. The
// locations are the defaults of options such as --plugin and --yang.
Command AddCheck(CLI::App* app, const Locations& locations);
Command AddCompare(CLI::App* app, const Locations& locations);
Command AddSummarize(CLI::App* app, const Locations& locations);
Command AddPoints(CLI::App* app, const Locations& locations);
Command AddDiff(CLI::App* app, const Locations& locations);
Command AddPlan(CLI::App* app, const Locations& locations);
Command AddFix(CLI::App* app, const Locations& locations);
Command AddExplain(CLI::App* app, const Locations& locations);
Command AddConvert(CLI::App* app, const Locations& locations);
Command AddLsp(CLI::App* app, const Locations& locations);
Command AddNew(CLI::App* app, const Locations& locations);
Command AddCommit(CLI::App* app, const Locations& locations);
Command AddCompletion(CLI::App* app);
Command AddSession(CLI::App* app, const Locations& locations);

}  // namespace ipav::cli

#endif  // IPAV_CLI_COMMAND_H_
