// ipav commit: commits a configuration to a running ipavd.

#include <fmt/core.h>
#include <libyang/libyang.h>

#include <CLI/App.hpp>
#include <CLI/Error.hpp>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/command.h"
#include "cli/netconf_client.h"
#include "cli/options.h"
#include "cli/print_tree.h"
#include "cli/report/text/terminal.h"
#include "cli/shared_model.h"
#include "host/base/utf8.h"
#include "host/datastore/model.h"
#include "messages/match.h"

namespace ipav::cli {

namespace {

constexpr char kCommitNotes[] =
    R"(The file replaces the whole running configuration of the server. With
--plan, so do the configurations of a plan, one after the other, until one
is refused.

Examples:
  ipav commit --to /var/lib/ipavd/netconf.sock router.xml
  ipav commit --to demo/netconf.sock --validate router.json
  ipav commit --to demo/netconf.sock --plan steps

Exit status: 0 accepted, 1 refused, 2 the file or the command line is
wrong, or there is no server, 3 the plug-in died, threw an exception or
did not answer in time.)";

struct CommitOptions {
  Locations locations;
  std::string server;     // UNIX socket
  std::string file;       // the configuration, XML or JSON
  std::string plan;       // folder of ipav plan; empty: only the file
  bool validate = false;  // change nothing
  ReadingLimits limits;   // `time` is also that of each answer
};

constexpr char kPluginFailure[] = "the plug-in failed: ";

// As XML without a declaration, for the middle of a message.
std::string ReadAsXml(const CommitOptions& options) {
  const datastore::Model& model = SharedModel(options.locations);
  const datastore::DataTree tree =
      ReadTree(model, options.file, options.limits);
  return Print(
      tree.FirstChild(nullptr), LYD_XML,
      LYD_PRINT_WITHSIBLINGS | LYD_PRINT_SHRINK | LYD_PRINT_WD_EXPLICIT);
}

// For an operation that runs no validation point: any error is unexpected.
void Expect(const std::string& server,
            const std::optional<OperationError>& error) {
  if (!error.has_value()) return;
  throw std::runtime_error(server + ": " + error->tag + ": " + error->message);
}

// Prints nothing for a text that the catalogue does not know.
void PrintAdvice(const std::string& text) {
  const std::vector<messages::Reading> readings = messages::BestReadings(text);
  if (readings.empty()) return;
  const messages::Message& message = *readings.front().message;
  fmt::print("  what to do: {}\n  see docs/messages.md#{}\n", message.advice,
             message.anchor);
}

// Prints the outcome as ipav check does.
ExitStatus Report(const std::string& file,
                  const std::optional<OperationError>& error) {
  if (!error.has_value()) {
    fmt::print("{}: accepted\n", base::Printable(file));
    return kAccepted;
  }
  const bool has_failed = error->message.rfind(kPluginFailure, 0) == 0;
  fmt::print("{}: {}\n{}\n", base::Printable(file),
             has_failed ? "plug-in failed" : "refused",
             report::OperatorText(error->message, stdout));
  if (!error->app_tag.empty()) {
    fmt::print("  validation point: {}\n", base::Printable(error->app_tag));
  }
  if (!error->path.empty())
    fmt::print("  data path: {}\n", base::Printable(error->path));
  PrintAdvice(error->message);
  return has_failed ? kPluginFailed : kRefused;
}

// Makes the file the whole running configuration, and prints the outcome.
ExitStatus Commit(const CommitOptions& options) {
  // 1. Read the configuration. The server decides whether it is valid.
  const std::string config =
      "<source><config>" + ReadAsXml(options) + "</config></source>";

  // 2. Validate or commit it. If the session ends before its commit, the server
  // restores the candidate that the session had locked.
  NetconfClient client(options.server, options.limits.time);
  std::optional<OperationError> error;
  if (options.validate) {
    error = client.Call("<validate>" + config + "</validate>");
  } else {
    Expect(options.server,
           client.Call("<lock><target><candidate/></target></lock>"));
    Expect(options.server,
           client.Call("<copy-config><target><candidate/></target>" + config +
                       "</copy-config>"));
    error = client.Call("<commit/>");
  }
  const ExitStatus status = Report(options.file, error);

  // 3. End the session.
  Expect(options.server, client.Call("<close-session/>"));
  return status;
}

// The report of ipav plan in a folder.
nlohmann::json ReadPlan(const std::string& folder) {
  const std::string file = folder + "/plan.json";
  std::ifstream stream(file);
  auto plan = nlohmann::json::parse(stream, nullptr, false);
  if (!plan.is_object() || plan["format"] != "ipav plan" ||
      !plan["commits"].is_array()) {
    throw std::runtime_error(file + ": is not a plan of ipav plan");
  }
  if (plan["reached"] != true) {
    throw std::runtime_error(file + ": the plan does not reach its goal");
  }
  return plan;
}

// "1 commit", "3 commits"
std::string Commits(std::size_t count) {
  return fmt::format("{} commit{}", count, count == 1 ? "" : "s");
}

// Commits each configuration of a plan, until one is refused.
ExitStatus CommitPlan(CommitOptions options) {
  const nlohmann::json plan = ReadPlan(options.plan);
  const std::size_t count = plan["commits"].size();
  const auto step = [&](std::size_t number) {
    options.file = fmt::format("{}/step-{}.json", options.plan, number);
    if (!std::filesystem::exists(options.file)) {
      options.file = fmt::format("{}/step-{}.xml", options.plan, number);
    }
    return options;
  };
  // Before the first commit, all files must be there.
  for (std::size_t i = 1; i <= count; ++i) {
    static_cast<void>(ReadAsXml(step(i)));
  }
  for (std::size_t done = 0; done < count; ++done) {
    const ExitStatus status = Commit(step(done + 1));
    if (status == kAccepted) continue;
    fmt::print("{} of {} made\n", done, Commits(count));
    return status;
  }
  fmt::print("{} made\n", Commits(count));
  return kAccepted;
}

}  // namespace

Command AddCommit(CLI::App* app, const Locations& locations) {
  const auto options = std::make_shared<CommitOptions>();
  options->locations = locations;
  CLI::App* command = app->add_subcommand(
      "commit", "Commit a configuration to a running ipavd");
  command->footer(kCommitNotes);
  AddFile(command, "--to", "UNIX socket of the server", &options->server)
      ->required();
  CLI::Option* validate =
      command->add_flag("--validate", options->validate,
                        "Only validate the configuration, and change nothing");
  CLI::Option* plan =
      command
          ->add_option("--plan", options->plan,
                       "Commit the configurations in this folder of ipav plan")
          ->type_name(kFolder)
          ->excludes(validate);
  CLI::Option* file =
      AddInput(command, "file", "Configuration to commit, XML or JSON",
               &options->file)
          ->excludes(plan);
  AddLimits(command, "read a configuration, and for each answer of the server",
            &options->limits);
  AddYang(command, &options->locations);
  command->callback([=] {
    if (plan->empty() && file->empty()) throw CLI::RequiredError("file");
  });
  return {command, [options] {
            return options->plan.empty() ? Commit(*options)
                                         : CommitPlan(*options);
          }};
}

}  // namespace ipav::cli
