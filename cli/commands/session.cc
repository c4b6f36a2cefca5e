// ipav session: runs the commands that it reads from standard input.

#include <poll.h>
#include <unistd.h>

#include <CLI/App.hpp>
#include <array>
#include <cerrno>
#include <cstddef>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "cli/command.h"
#include "cli/options.h"
#include "cli/reading.h"
#include "cli/report/json/json.h"
#include "cli/report/json/shallow_json.h"
#include "cli/session/edit_judge.h"
#include "cli/session/worker.h"
#include "host/base/file_descriptor.h"
#include "host/datastore/input_error.h"
#include "host/datastore/input_file.h"
#include "host/engine/edits.h"

namespace ipav::cli {

namespace {

using datastore::InputError;
using nlohmann::ordered_json;
using session::Answer;
using session::EditJudge;
using session::Job;
using session::Request;
using session::Worker;

constexpr char kSessionNotes[] =
    "Each line of standard input is a JSON object:\n"
    "  {\"id\": ID, \"arguments\": [\"check\", ...], \"texts\": {NAME: TEXT}}\n"
    "An ID is a string or a number. A text, if there are any, is what the\n"
    "command reads instead of the file of that name. A line may also ask for\n"
    "the verdict on edits of a running configuration:\n"
    "  {\"id\": ID, \"edits\": [{\"path\": PATH, \"value\": TEXT}, ...]}\n"
    "A path is one of ipav diff. An edit without a value deletes the node. "
    "The\n"
    "output is a device of the JSON report of ipav check --all, without\n"
    "positions and advice. The running configuration is that of --running, or\n"
    "of the last line with edits that had the member \"running\", the name of\n"
    "a file or of one of its texts. Each line is answered, in order, with a\n"
    "line:\n"
    "  {\"id\": ID, \"status\": STATUS, \"output\": TEXT, \"errors\": TEXT}\n"
    "A line that is not such an object is answered with status 2; the id is\n"
    "null if it has none. The session ends with its input.\n"
    "\n"
    "The data model is read once, at the start. The commands session and\n"
    "completion, and commands that read standard input, do not run.\n"
    "\n"
    "Examples:\n"
    "  ipav session < requests.jsonl > answers.jsonl\n"
    "  echo '{\"id\": 1, \"arguments\": [\"points\"]}' | ipav session\n"
    "  ipav session --running running.xml < edits.jsonl\n"
    "\n"
    "Exit status: 0 at the end of the input, 2 the data model or the command\n"
    "line is wrong.";

struct SessionOptions {
  Locations locations;
  std::string running;   // file; empty: none yet
  ReadingLimits limits;  // `time` is also the plug-in's for edits
};

constexpr std::size_t kMaxLine = std::size_t{128} << 20;

// Reads lines from standard input.
class LineReader {
 public:
  // The next line, without the rest of one that is too long; none at the end.
  std::optional<std::string> Next() {
    std::string line;
    for (;;) {
      const std::size_t end = buffer_.find('\n', at_);
      const bool is_whole = end != std::string::npos;
      const std::size_t count = is_whole ? end - at_ : std::string::npos;
      // One byte more than the limit shows that the line is too long.
      if (line.size() <= kMaxLine) line.append(buffer_, at_, count);
      at_ = is_whole ? end + 1 : buffer_.size();
      if (is_whole) return line;
      if (!Fill()) break;
    }
    if (line.empty()) return std::nullopt;
    return line;
  }

 private:
  // False at the end.
  bool Fill() {
    constexpr std::size_t kSize = 65536;
    buffer_.resize(kSize);
    ssize_t count = 0;
    do {
      count = read(STDIN_FILENO, buffer_.data(), buffer_.size());
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
      throw std::system_error(errno, std::generic_category(), "read");
    }
    buffer_.resize(static_cast<std::size_t>(count));
    at_ = 0;
    return count > 0;
  }

  std::string buffer_;
  std::size_t at_ = 0;
};

ordered_json Parse(const std::string& line) {
  if (line.size() > kMaxLine) {
    throw std::runtime_error("the request is longer than " +
                             std::to_string(kMaxLine) + " bytes");
  }
  ordered_json request = report::ParseShallow(line);
  if (!request.is_object()) {
    throw std::runtime_error("the request is not a JSON object");
  }
  const ordered_json id = request.value("id", ordered_json());
  if (!id.is_string() && !id.is_number() && !id.is_null()) {
    throw std::runtime_error("the id is neither a number nor a string");
  }
  return request;
}

std::vector<engine::Edit> EditsOf(const ordered_json& json) {
  std::vector<engine::Edit> edits;
  try {
    for (const auto& edit : json.get_ref<const ordered_json::array_t&>()) {
      edits.push_back({edit.at("path"), std::nullopt});
      if (edit.contains("value")) edits.back().value = edit.at("value");
    }
  } catch (const ordered_json::exception&) {
    throw std::runtime_error(
        "'edits' is a list of objects with the string 'path', which may have a "
        "string 'value'");
  }
  return edits;
}

Request RequestOf(const ordered_json& json) {
  Request request;
  try {
    json.at("arguments").get_to(request.arguments);
    if (json.contains("texts")) json.at("texts").get_to(request.texts);
  } catch (const ordered_json::exception&) {
    throw std::runtime_error(
        "a request has a list of strings 'arguments', and may have an object "
        "of strings 'texts'");
  }
  return request;
}

// False if nobody reads the answers any more.
bool AwaitEnd(const Job& job) {
  std::array<pollfd, 2> files = {
      {{job.end(), POLLIN, 0}, {STDOUT_FILENO, 0, 0}}};
  while (files.front().revents == 0) {
    if (files.back().revents != 0) return false;
    if (poll(files.data(), files.size(), -1) < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "poll");
    }
  }
  return true;
}

// Writes an answer. False if it cannot.
bool Reply(const ordered_json& id, const Answer& answer) {
  const ordered_json json = {{"id", id},
                             {"status", answer.status},
                             {"output", answer.output},
                             {"errors", answer.errors}};
  // The name of a file need not be UTF-8.
  const auto replace = ordered_json::error_handler_t::replace;
  return base::WriteAll(STDOUT_FILENO,
                        json.dump(-1, ' ', false, replace) + "\n");
}

std::string ErrorLine(const std::string& error) {
  return "ipav: " + error + "\n";
}

class Session {
 public:
  explicit Session(const SessionOptions& options)
      : options_(options), worker_(options.locations) {
    if (!options.running.empty()) SetRunning(options.running);
  }

  // Does what a line asks for. False if nobody reads the answer.
  bool Handle(const std::string& line) {
    ordered_json id;
    std::string errors;
    try {
      const ordered_json json = Parse(line);
      if (json.contains("id")) id = json.at("id");
      if (json.contains("edits")) return Reply(id, JudgeEdits(json));
      const std::unique_ptr<Job> job = worker_.Start(RequestOf(json));
      return AwaitEnd(*job) && Reply(id, job->Collect());
    } catch (const InputError& error) {
      for (const std::string& each : error.errors()) errors += ErrorLine(each);
    } catch (const std::exception& error) {
      errors = ErrorLine(error.what());
    }
    return Reply(id, {kBadInput, "", errors});
  }

 private:
  void SetRunning(const std::string& file) {
    judge_.reset();  // none if the file cannot be read
    judge_ =
        std::make_unique<EditJudge>(options_.locations, file, options_.limits);
  }

  void SetRunning(const ordered_json& json) {
    std::string file;
    datastore::Texts texts;
    try {
      json.at("running").get_to(file);
      if (json.contains("texts")) json.at("texts").get_to(texts);
    } catch (const ordered_json::exception&) {
      throw std::runtime_error(
          "'running' is a string, and 'texts' an object of strings");
    }
    datastore::ReadTextsInstead(std::move(texts));
    SetRunning(file);
  }

  Answer JudgeEdits(const ordered_json& json) {
    const std::vector<engine::Edit> edits = EditsOf(json.at("edits"));
    if (json.contains("running")) SetRunning(json);
    if (judge_ == nullptr) {
      throw std::runtime_error("edits need a session with --running");
    }
    const report::DeviceReport report = (*judge_)(edits);
    return {report.status, report::ToJson(report).dump(), ""};
  }

  const SessionOptions& options_;
  const Worker worker_;
  std::unique_ptr<EditJudge> judge_;
};

ExitStatus RunSession(const SessionOptions& options) {
  Session session(options);
  LineReader lines;
  while (const auto line = lines.Next()) {
    if (!session.Handle(*line)) {
      throw std::runtime_error("the answers cannot be written");
    }
  }
  return kAccepted;
}

}  // namespace

Command AddSession(CLI::App* app, const Locations& locations) {
  const auto options = std::make_shared<SessionOptions>();
  options->locations = locations;
  CLI::App* command = app->add_subcommand(
      "session", "Run the commands that standard input lists");
  command->footer(kSessionNotes);
  AddFile(command, "--running",
          "Running configuration, for requests with edits", &options->running);
  AddLimits(
      command,
      "read the running configuration, and for the plug-in to check edits",
      &options->limits);
  AddPluginAndYang(command, &options->locations);
  return {command, [options] { return RunSession(*options); }, false};
}

}  // namespace ipav::cli
