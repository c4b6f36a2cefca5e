// The command line of ipav commit.

#include <CLI/App.hpp>
#include <memory>

#include "cli/command_line/command.h"
#include "cli/command_line/shared_options.h"
#include "cli/command_line/types.h"
#include "cli/commands/commit.h"

namespace ipav::cli::command_line {

namespace {

constexpr char kCommitNotes[] =
    "The file becomes the whole running configuration of the server.\n"
    "\n"
    "Examples:\n"
    "  ipav commit --to /var/lib/ipavd/netconf.sock router.xml\n"
    "  ipav commit --to demo/netconf.sock --validate router.json\n"
    "\n"
    "Exit status: 0 accepted, 1 refused, 2 the file or the command line is\n"
    "wrong, or there is no server, 3 the plug-in died, threw or did not answer "
    "in\n"
    "time.";

}  // namespace

Command AddCommit(CLI::App* app, const Locations& locations) {
  struct Values {
    Locations locations;
    CommitOptions options;
    Limits limits;
  };
  const auto values = std::make_shared<Values>(Values{locations, {}, {}});
  CLI::App* commit = app->add_subcommand(
      "commit", "Commit a configuration on a running ipavd");
  commit->footer(kCommitNotes);
  commit
      ->add_option("--to", values->options.server, "UNIX socket of the server")
      ->required()
      ->type_name(kFile);
  commit->add_flag("--validate", values->options.validate,
                   "Ask whether it would be accepted, and change nothing");
  commit
      ->add_option("file", values->options.file,
                   "Configuration to commit, XML or JSON")
      ->required()
      ->type_name(kFile);
  AddLimits(commit, "read a configuration, and for each answer of the server",
            &values->limits);
  AddYang(commit, &values->locations);
  return {commit, [values] {
            values->limits.ApplyTo(&values->options.limits);
            return CommitTo(values->locations, values->options);
          }};
}

}  // namespace ipav::cli::command_line
