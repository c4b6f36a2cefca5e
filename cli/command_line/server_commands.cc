// The command lines of the server and of its client.

#include <CLI/App.hpp>
#include <CLI/TypeTools.hpp>
#include <CLI/Validators.hpp>
#include <chrono>
#include <cstddef>
#include <memory>

#include "cli/command_line/command.h"
#include "cli/command_line/shared_options.h"
#include "cli/command_line/types.h"
#include "cli/commands/commit.h"
#include "cli/commands/serve.h"

namespace ipav::cli::command_line {

namespace {

constexpr char kServeNotes[] =
    "The UNIX socket is netconf.sock in the state folder. SSH takes public "
    "keys\n"
    "only. SIGTERM ends the server, SIGHUP reads the authorized keys again.\n"
    "\n"
    "Examples:\n"
    "  ipav serve --state /var/lib/ipav\n"
    "  ipav serve --state demo --ssh 8300 --authorized-keys "
    "~/.ssh/id_ed25519.pub\n"
    "\n"
    "Exit status: 0 ended by a signal, or by --once; 2 it cannot serve.";

constexpr char kCommitNotes[] =
    "The file becomes the whole running configuration of the server.\n"
    "\n"
    "Examples:\n"
    "  ipav commit --to /var/lib/ipav/netconf.sock router.xml\n"
    "  ipav commit --to demo/netconf.sock --validate router.json\n"
    "\n"
    "Exit status: 0 accepted, 1 refused, 2 the file or the command line is\n"
    "wrong, or there is no server, 3 the plug-in died, threw or did not answer "
    "in\n"
    "time.";

// What the command line has as plain numbers.
struct ServeNumbers {
  unsigned timeout = 60;
  unsigned hello_timeout = 20;
  unsigned idle_timeout = 600;
  unsigned max_message = 16;

  void ApplyTo(ServeOptions* options) const {
    options->time_limit = std::chrono::seconds(timeout);
    options->limits.hello = std::chrono::seconds(hello_timeout);
    options->limits.idle = std::chrono::seconds(idle_timeout);
    options->limits.max_message = std::size_t{max_message} << 20;
  }
};

void AddTransports(CLI::App* serve, ServeOptions* options) {
  CLI::Option* ssh = serve
                         ->add_option("--ssh", options->ssh_port,
                                      "Listen for SSH on that port (0: any)")
                         ->type_name("PORT");
  serve
      ->add_option("--listen", options->address,
                   "IP address to listen on for SSH")
      ->capture_default_str()
      ->needs(ssh)
      ->type_name("ADDRESS");
  serve
      ->add_option("--authorized-keys", options->authorized_keys,
                   "Public keys that may log in (default: authorized_keys in "
                   "the state folder)")
      ->needs(ssh)
      ->type_name(kFile);
}

void AddServeLimits(CLI::App* serve, ServeOptions* options,
                    ServeNumbers* numbers) {
  constexpr unsigned kMaxSessions = 1000;
  serve
      ->add_option("--timeout", numbers->timeout,
                   "Seconds for the plug-in to judge a commit (0: no limit)")
      ->capture_default_str()
      ->check(CLI::Range(0U, kMaxSeconds));
  serve
      ->add_option("--max-sessions", options->max_sessions,
                   "Sessions at a time")
      ->capture_default_str()
      ->check(CLI::Range(1U, kMaxSessions));
  serve
      ->add_option("--max-message-size", numbers->max_message,
                   "Largest message to take, in MiB")
      ->capture_default_str()
      ->check(CLI::Range(1U, kMaxMebibytes));
  serve
      ->add_option("--hello-timeout", numbers->hello_timeout,
                   "Seconds for a client to log in and say hello")
      ->capture_default_str()
      ->check(CLI::Range(1U, kMaxSeconds));
  serve
      ->add_option("--idle-timeout", numbers->idle_timeout,
                   "Seconds that a session may be silent (0: no limit)")
      ->capture_default_str()
      ->check(CLI::Range(0U, kMaxSeconds));
}

}  // namespace

Command AddServe(CLI::App* app, const Locations& locations) {
  struct Values {
    Locations locations;
    ServeOptions options;
    ServeNumbers numbers;
  };
  const auto values = std::make_shared<Values>(Values{locations, {}, {}});
  CLI::App* serve =
      app->add_subcommand("serve", "Serve the embedded host over NETCONF");
  serve->footer(kServeNotes);
  serve
      ->add_option("--state", values->options.state,
                   "Folder of the datastores, made where it is not there")
      ->required()
      ->type_name(kFolder);
  AddTransports(serve, &values->options);
  serve->add_flag("--once", values->options.once, "End with the first session");
  AddServeLimits(serve, &values->options, &values->numbers);
  AddPlugin(serve, &values->locations);
  AddYang(serve, &values->locations);
  return {serve, [values] {
            values->numbers.ApplyTo(&values->options);
            return Serve(values->locations, values->options);
          }};
}

Command AddCommit(CLI::App* app, const Locations& locations) {
  struct Values {
    Locations locations;
    CommitOptions options;
    Limits limits;
  };
  const auto values = std::make_shared<Values>(Values{locations, {}, {}});
  CLI::App* commit = app->add_subcommand(
      "commit", "Commit a configuration on a running ipav serve");
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
