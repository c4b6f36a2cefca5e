// Talks to the language server as an editor does, with any messages.
//
// Legal: each request with an id is answered once, also if it waits for a
// verdict; each message of the server is one of the protocol, and no range in
// it ends before its start.
//
// Input: lines. One that begins with "!" is the output of the next command that
// ends, another one a message. A text that begins with "Content" is a stream.

#include <sys/eventfd.h>

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "cli/lsp/client.h"
#include "cli/lsp/framing.h"
#include "cli/lsp/jobs.h"
#include "cli/lsp/server.h"
#include "fuzz/support/configurations.h"
#include "fuzz/support/finding.h"
#include "fuzz/support/target.h"
#include "host/base/file_descriptor.h"

namespace ipav::fuzz {

namespace {

using cli::lsp::Json;

constexpr std::size_t kMaxMessage = std::size_t{1} << 20;
constexpr std::size_t kMaxText = 4096;

// ---- Commands that end at once
// -----------------------------------------------

class DoneJob : public cli::lsp::Job {
 public:
  explicit DoneJob(std::string output) : output_(std::move(output)) {}

  int end() const override { return end_.get(); }
  cli::session::Answer Collect() override { return {0, output_, "no output"}; }

 private:
  base::FileDescriptor end_{eventfd(1, EFD_CLOEXEC)};
  std::string output_;
};

class DoneJobs : public cli::lsp::Jobs {
 public:
  std::unique_ptr<cli::lsp::Job> Start(
      const cli::session::Request& /*request*/) override {
    std::string output;
    if (!outputs.empty()) {
      output = outputs.front();
      outputs.pop_front();
    }
    return std::make_unique<DoneJob>(std::move(output));
  }

  void Keep(const std::string& /*running*/) override {}

  std::deque<std::string> outputs;
};

// ---- What the server may say
// ---------------------------------------------------

bool IsBefore(const Json& a, const Json& b) {
  return std::make_pair(a.at("line"), a.at("character")) <
         std::make_pair(b.at("line"), b.at("character"));
}

// Also in all that it contains.
void CheckRanges(const Json& json) {
  if (!json.is_structured()) return;
  if (json.contains("start") && json.contains("end")) {
    Require(!IsBefore(json.at("end"), json.at("start")),
            "a range that ends before its start");
  }
  for (const Json& member : json) CheckRanges(member);
}

class Editor {
 public:
  // A message of the server.
  void Take(const std::string& bytes) {
    cli::lsp::Deframer deframer(bytes.size());
    deframer.Add(bytes);
    const auto message = deframer.Next();
    Require(message && !deframer.Next(), "not one whole message");
    const Json json = Json::parse(message->content, nullptr, false);
    Require(json.is_object() && json.value("jsonrpc", "") == "2.0",
            "a message that is not JSON-RPC");
    CheckRanges(json);
    const bool is_answer = json.contains("result") || json.contains("error");
    if (is_answer && !json.at("id").is_null()) --open_[json.at("id").dump()];
  }

  // A message to the server.
  void Note(const std::string& content) {
    const Json json = Json::parse(content, nullptr, false);
    if (!json.is_object() || !json.contains("id")) return;
    const Json& id = json.at("id");
    if (!id.is_string() && !id.is_number_integer()) return;
    if (json.contains("method") && json.at("method").is_string()) {
      ++open_[id.dump()];
    }
  }

  void CheckAnswers() const {
    for (const auto& [id, count] : open_) {
      Require(count == 0, "a request without an answer, or with two");
    }
  }

 private:
  std::map<std::string, int> open_;  // requests without an answer, by id
};

// ---- A session
// -----------------------------------------------------------------

class Session {
 public:
  Session()
      : client_([this](const std::string& bytes) { editor_.Take(bytes); }),
        server_(&ProjectModel(), &jobs_, &client_, Settings()) {}

  void Receive(const cli::lsp::Message& message) {
    if (server_.is_over()) return;
    if (!message.is_too_large) editor_.Note(message.content);
    server_.Receive(message);
    // A client may send the next message before a verdict, or after it.
    if (message.content.size() % 2 == 0) Settle();
  }

  void AddOutput(std::string output) {
    jobs_.outputs.push_back(std::move(output));
  }

  void End() {
    Settle();
    editor_.CheckAnswers();
  }

 private:
  static cli::lsp::Settings Settings() {
    cli::lsp::Settings settings;
    settings.max_text = kMaxText;
    settings.messages = "file:///messages.md";
    return settings;
  }

  // Until nothing is left to be done.
  void Settle() {
    cli::lsp::Workspace& workspace = server_.workspace();
    workspace.Advance();
    while (!workspace.Ends().empty()) {
      workspace.Collect(workspace.Ends());
      workspace.Advance();
    }
  }

  Editor editor_;
  DoneJobs jobs_;
  cli::lsp::Client client_;
  cli::lsp::Server server_;
};

void RunStream(const std::string& stream, Session* session) {
  cli::lsp::Deframer deframer(kMaxMessage);
  try {
    for (std::size_t at = 0; at < stream.size(); at += 7) {
      deframer.Add(std::string_view{stream}.substr(at, 7));
      while (const auto message = deframer.Next()) session->Receive(*message);
    }
  } catch (const cli::lsp::FramingError&) {
    return;
  }
}

void RunLines(const std::string& text, Session* session) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind('!', 0) == 0) {
      session->AddOutput(line.substr(1));
    } else {
      session->Receive({line, false});
    }
  }
}

}  // namespace

}  // namespace ipav::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  ipav::fuzz::Session session;
  if (text.rfind("Content", 0) == 0) {
    ipav::fuzz::RunStream(text, &session);
  } else {
    ipav::fuzz::RunLines(text, &session);
  }
  session.End();
  return 0;
}
