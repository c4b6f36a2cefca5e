// ipavd: a NETCONF server that runs the validation plug-in before each commit.

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <functional>
#include <stdexcept>
#include <string>

#include "host/base/installation.h"
#include "host/base/utf8.h"
#include "ipavd/serve.h"

namespace {

using ipav::server::ServeOptions;

constexpr int kCannotServe = 2;

constexpr char kFile[] = "FILE";
constexpr char kFolder[] = "FOLDER";

constexpr unsigned kMaxSeconds = 1000000;  // as milliseconds they fit poll(2)
constexpr unsigned kMaxMebibytes = 2047;   // fit a 32-bit address space
constexpr unsigned kMaxSessions = 1000;

constexpr char kNotes[] =
    R"(The UNIX socket is netconf.sock in the state folder. SSH accepts only
public keys. SIGTERM stops the server, SIGHUP makes it read the
authorized keys again.

Examples:
  ipavd --state /var/lib/ipavd
  ipavd --state demo --ssh 8300 --authorized-keys ~/.ssh/id_ed25519.pub

Exit status: 0 stopped by a signal or by --once; 2 cannot start or
continue.)";

// A number of at least `least`, given to `set`; `now` is its default.
void AddNumber(CLI::App* app, const std::string& name,
               const std::string& description, unsigned now, unsigned least,
               unsigned most, const std::function<void(unsigned)>& set) {
  app->add_option_function<unsigned>(name, set, description)
      ->default_str(std::to_string(now))
      ->check(CLI::Range(least, most));
}

void AddTransports(CLI::App* app, ServeOptions* options) {
  CLI::Option* ssh = app->add_option("--ssh", options->ssh_port,
                                     "Listen for SSH on this port (0: any)")
                         ->type_name("PORT");
  app->add_option("--listen", options->address,
                  "IP address to listen on for SSH")
      ->capture_default_str()
      ->needs(ssh)
      ->type_name("ADDRESS");
  app->add_option("--authorized-keys", options->authorized_keys,
                  "Public keys that may log in (default: authorized_keys in "
                  "the state folder)")
      ->needs(ssh)
      ->type_name(kFile);
}

void AddSeconds(CLI::App* app, const std::string& name,
                const std::string& description, unsigned least,
                ipav::base::TimeLimit* limit) {
  const auto now = std::chrono::duration_cast<std::chrono::seconds>(*limit);
  AddNumber(app, name, description, static_cast<unsigned>(now.count()), least,
            kMaxSeconds,
            [limit](unsigned value) { *limit = std::chrono::seconds(value); });
}

void AddMebibytes(CLI::App* app, const std::string& name,
                  const std::string& description, std::size_t* bytes) {
  AddNumber(app, name, description, static_cast<unsigned>(*bytes >> 20), 1,
            kMaxMebibytes,
            [bytes](unsigned value) { *bytes = std::size_t{value} << 20; });
}

void AddLimits(CLI::App* app, ServeOptions* options) {
  AddSeconds(app, "--timeout",
             "Seconds for the plug-in in one commit (0: no limit)", 0,
             &options->time_limit);
  app->add_option("--max-sessions", options->max_sessions,
                  "Maximum number of sessions at a time")
      ->capture_default_str()
      ->check(CLI::Range(1U, kMaxSessions));
  app->add_option("--max-sessions-per-user", options->max_sessions_per_user,
                  "Maximum number of sessions of one user at a time")
      ->capture_default_str()
      ->check(CLI::Range(1U, kMaxSessions));
  AddMebibytes(app, "--max-message-size", "Largest message of a client, in MiB",
               &options->limits.max_message);
  AddMebibytes(app, "--max-configuration-size",
               "Largest configuration of a datastore, in MiB",
               &options->max_configuration);
  AddSeconds(app, "--login-timeout", "Seconds for a client to log in over SSH",
             1, &options->limits.login);
  AddSeconds(app, "--hello-timeout",
             "Seconds for a client to send its hello after the login", 1,
             &options->limits.hello);
  AddSeconds(app, "--idle-timeout",
             "Seconds after which a silent session ends (0: no limit)", 0,
             &options->limits.idle);
}

// Adds all options. Parsing writes into `options`, whose values are the
// defaults.
void AddOptions(CLI::App* app, ServeOptions* options) {
  app->footer(kNotes);
  app->add_option("--state", options->state,
                  "Folder of the datastores, created if missing")
      ->required()
      ->type_name(kFolder);
  AddTransports(app, options);
  app->add_flag("--once", options->once, "Stop when the first session ends");
  AddLimits(app, options);
  app->add_option("--plugin", options->plugin, "Validation plug-in to run")
      ->type_name(kFile)
      ->capture_default_str();
  app->add_option("--yang", options->yang_dir, "Folder of the data model")
      ->type_name(kFolder)
      ->capture_default_str();
}

ServeOptions DefaultOptions() {
  const ipav::base::Installation found = ipav::base::FindInstallation();
  ServeOptions options;
  options.plugin = found.plugin;
  options.yang_extension = found.yang_extension;
  options.yang_dir = found.share + "/ipav/yang";
  options.netconf_yang_dir = found.share + "/ipavd/netconf";
  return options;
}

int Run(int argc, const char* const* argv) {
  ServeOptions options = DefaultOptions();
  CLI::App app(
      "NETCONF server that validates IP configurations before each commit.",
      "ipavd");
  app.set_version_flag("--version", IPAV_VERSION);
  AddOptions(&app, &options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& success) {
    return app.exit(success);  // --help and --version
  } catch (const CLI::ParseError& error) {
    throw std::runtime_error(std::string(error.what()) + " (see ipavd --help)");
  }
  ipav::server::Serve(options);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    static_cast<void>(std::fprintf(
        stderr, "ipavd: %s\n", ipav::base::Printable(error.what()).c_str()));
    return kCannotServe;
  }
}
