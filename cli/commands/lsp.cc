// ipav lsp: a language server for configurations.

#include <poll.h>
#include <unistd.h>

#include <CLI/App.hpp>
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "cli/command.h"
#include "cli/kept_running.h"
#include "cli/lsp/client.h"
#include "cli/lsp/framing.h"
#include "cli/lsp/jobs.h"
#include "cli/lsp/server.h"
#include "cli/lsp/uri.h"
#include "cli/options.h"
#include "cli/reading.h"
#include "cli/session/worker.h"
#include "cli/shared_model.h"
#include "host/base/file_descriptor.h"

namespace ipav::cli {

namespace {

constexpr char kLspNotes[] =
    "An editor starts it and talks to it on standard input and output "
    "(Language\n"
    "Server Protocol 3.17). The running configuration of a file is "
    "running.xml\n"
    "or running.json in its folder, or the setting \"running\" of the editor.\n"
    "\n"
    "Examples:\n"
    "  ipav lsp\n"
    "  ipav lsp --running /srv/router/running.xml\n"
    "\n"
    "Exit status: 0 the editor shut the server down, 1 it did not.";

struct LspOptions {
  Locations locations;
  std::string running;
  ReadingLimits limits;
};

class WorkerJob : public lsp::Job {
 public:
  WorkerJob(const session::Worker& worker, const session::Request& request)
      : job_(worker.Start(request)) {}

  int end() const override { return job_->end(); }
  session::Answer Collect() override { return job_->Collect(); }

 private:
  const std::unique_ptr<session::Job> job_;
};

class WorkerJobs : public lsp::Jobs {
 public:
  explicit WorkerJobs(const Locations& locations)
      : worker_(locations), model_(SharedModel(locations)) {}

  std::unique_ptr<lsp::Job> Start(const session::Request& request) override {
    return std::make_unique<WorkerJob>(worker_, request);
  }
  void Keep(const std::string& running) override {
    KeepRunning(model_, running);
  }

 private:
  const session::Worker worker_;
  const datastore::Model& model_;
};

// Reads what is there. False at the end.
bool ReadSome(lsp::Deframer* deframer) {
  std::array<char, std::size_t{1} << 16> buffer{};
  const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
  if (count < 0 && errno == EINTR) return true;
  if (count <= 0) return false;
  deframer->Add({buffer.data(), static_cast<std::size_t>(count)});
  return true;
}

// Waits for input or for the end of a command. Without a time limit, or only
// looks whether there is one.
std::vector<pollfd> Wait(const std::vector<int>& ends, bool only_look) {
  std::vector<pollfd> events = {{STDIN_FILENO, POLLIN, 0}};
  for (const int end : ends) events.push_back({end, POLLIN, 0});
  const int count = poll(events.data(), events.size(), only_look ? 0 : -1);
  if (count < 0) events.clear();  // by a signal
  return events;
}

// Serves until the client ends.
void Serve(lsp::Server* server) {
  lsp::Deframer deframer(lsp::kMaxMessage);
  lsp::Workspace& workspace = server->workspace();
  bool is_idle = true;  // nothing was received since the last Advance()
  while (!server->is_over()) {
    // 1. The input before all else: a newer text makes a verdict worthless.
    const std::vector<pollfd> events = Wait(workspace.Ends(), !is_idle);
    if (!events.empty() && events[0].revents != 0) {
      if (!ReadSome(&deframer)) return;
      while (const auto message = deframer.Next()) server->Receive(*message);
      is_idle = false;
      continue;
    }
    // 2. Commands that have ended, and new ones.
    std::vector<int> ends;
    for (const pollfd& event : events) {
      if (event.revents != 0) ends.push_back(event.fd);
    }
    workspace.Collect(ends);
    workspace.Advance();
    is_idle = true;
  }
}

ExitStatus RunLsp(const LspOptions& options) {
  WorkerJobs jobs(options.locations);
  lsp::Client client([](const std::string& message) {
    if (!base::WriteAll(STDOUT_FILENO, message)) {
      throw std::runtime_error("the editor cannot be written to");
    }
  });
  lsp::Settings settings;
  settings.running = options.running;
  settings.messages = lsp::FileUri(options.locations.messages);
  settings.max_text = options.limits.size;
  settings.max_jobs = std::max(1U, std::thread::hardware_concurrency());
  settings.limits = {
      "--timeout",
      std::to_string(options.limits.time / std::chrono::seconds(1)),
      "--max-input-size", std::to_string(options.limits.size >> 20)};
  lsp::Server server(&SharedModel(options.locations), &jobs, &client, settings);
  Serve(&server);
  // The protocol wants 1 without a shutdown.
  return server.was_shut_down() ? kAccepted : kRefused;
}

}  // namespace

Command AddLsp(CLI::App* app, const Locations& locations) {
  const auto options = std::make_shared<LspOptions>();
  options->locations = locations;
  CLI::App* command =
      app->add_subcommand("lsp", "Show verdicts in an editor while you type");
  command->footer(kLspNotes);
  AddFile(command, "--running",
          "Running configuration, XML or JSON (default: running.xml or "
          "running.json beside each file)",
          &options->running);
  AddLimits(command,
            "read a configuration, and for the plug-in to check a candidate",
            &options->limits);
  AddPluginAndYang(command, &options->locations);
  return {command, [options] { return RunLsp(*options); }, false};
}

}  // namespace ipav::cli
