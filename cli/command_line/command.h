// A subcommand of ipav: its options, and what runs it.
#ifndef IPAV_CLI_COMMAND_LINE_COMMAND_H_
#define IPAV_CLI_COMMAND_LINE_COMMAND_H_

#include <CLI/App.hpp>
#include <functional>

#include "cli/exit_status.h"
#include "cli/locations.h"

namespace ipav::cli::command_line {

struct Command {
  const CLI::App* app;              // of the whole program's
  std::function<ExitStatus()> run;  // once the command line is parsed
};

// Each adds its subcommand to `app`, which must live as long as what comes
// back. The locations are where everything lies unless an option says
// otherwise.
Command AddCheck(CLI::App* app, const Locations& locations);
Command AddSummarize(CLI::App* app);
Command AddPoints(CLI::App* app, const Locations& locations);
Command AddDiff(CLI::App* app, const Locations& locations);
Command AddExplain(CLI::App* app, const Locations& locations);
Command AddConvert(CLI::App* app, const Locations& locations);
Command AddNew(CLI::App* app, const Locations& locations);
Command AddCommit(CLI::App* app, const Locations& locations);
Command AddCompletion(CLI::App* app, const Locations& locations);

}  // namespace ipav::cli::command_line

#endif  // IPAV_CLI_COMMAND_LINE_COMMAND_H_
