#include "cli/fleet/fleet.h"

#include <sched.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "cli/fleet/progress.h"
#include "host/plugin/plugin.h"

namespace ipav::cli::fleet {

namespace {

using report::Json;

// Members of what a job's process sends: its message, the exception that it
// threw, or the reason why the plug-in cannot be loaded.
constexpr char kMessage[] = "message";
constexpr char kFailure[] = "failure";
constexpr char kNoPlugin[] = "noPlugin";

// The number of processors that this program may use.
std::size_t Processors() {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  if (sched_getaffinity(0, sizeof(processors), &processors) != 0) return 1;
  return static_cast<std::size_t>(std::max(CPU_COUNT(&processors), 1));
}

void SendText(const char* member, const std::string& text,
              const Sender& sender) {
  Json json;
  report::PutText(&json, member, text);
  sender.Send(json.dump());
}

// In the device's process. Returns its exit status.
int RunJob(const Job& job, std::size_t number, const Sender& sender) {
  try {
    const JobResult result = job(number, sender);
    sender.Send(MessageOf(result.message));
    return result.status;
  } catch (const plugin::PluginError& error) {
    SendText(kNoPlugin, error.what(), sender);
    return kBadInput;
  } catch (const std::exception& error) {
    SendText(kFailure, error.what(), sender);
    return kPluginFailed;
  }
}

std::string HowItEnded(const Pool::Result& result) {
  if (result.timed_out) return "it took several times its time limit";
  if (WIFSIGNALED(result.wait_status)) {
    return std::string("killed by signal: ") +
           strsignal(WTERMSIG(result.wait_status));
  }
  return "it ended with status " +
         std::to_string(WEXITSTATUS(result.wait_status));
}

// A process that was killed may have sent an incomplete message.
void Take(std::size_t number, const Pool::Result& result,
          const TakeMessage& take) {
  const Json sent = Json::parse(result.text, nullptr, false);
  if (sent.is_discarded()) {
    take(number, {},
         "the device's process gave no report, " + HowItEnded(result));
  } else if (sent.contains(kNoPlugin)) {
    throw std::runtime_error(report::TextOf(sent, kNoPlugin));
  } else if (sent.contains(kFailure)) {
    take(number, {}, report::TextOf(sent, kFailure));
  } else {
    take(number, sent.at(kMessage), "");
  }
}

}  // namespace

bool IsFleet(const std::vector<std::string>& names,
             const FleetOptions& options) {
  const auto is_folder = [](const std::string& name) {
    std::error_code error;
    return std::filesystem::is_directory(name, error);
  };
  return options.jobs > 0 || options.shard ||
         std::any_of(names.begin(), names.end(), is_folder);
}

std::string MessageOf(const Json& message) {
  return Json({{kMessage, message}}).dump();
}

void RunFleet(std::size_t count, const char* what, const FleetOptions& options,
              const Job& job, const TakeMessage& take) {
  Progress progress(count, what, !options.is_quiet);
  const auto run = [&](std::size_t number, const Sender& sender) {
    return RunJob(job, number, sender);
  };
  const std::size_t jobs = options.jobs > 0 ? options.jobs : Processors();
  Pool pool(count, {jobs, options.time_limit * options.time_limits}, run,
            &progress);
  for (std::size_t i = 0; i < count; ++i) {
    const Pool::Result result = pool.Next();
    progress.Clear();
    Take(i, result, take);
  }
}

}  // namespace ipav::cli::fleet
