// Fixtures of the tests of the datastores: a small model, and the state of a
// server whose plug-in does what the opaque text of a validation point says.
#ifndef TESTS_SERVER_STORE_STORE_FIXTURES_H_
#define TESTS_SERVER_STORE_STORE_FIXTURES_H_

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ipavd/store/datastores.h"
#include "tests/host/fixtures.h"

namespace ipav::store {

inline std::string PluginFile(const std::string& name) {
  return std::string(IPAV_TEST_PLUGINS) + "/" + name + ".so";
}

// Leaves a, b and c have no validation point; each of the others up to silent
// has one.
inline const host_test::TestModel& SmallModel() {
  static const host_test::TestModel kModel(R"(
    container top {
      leaf a { type string; }
      leaf b { type string; }
      leaf c { type uint8; default "7"; }
      leaf refuse { type string;
        tailf:validate test_set { tailf:opaque "refuse";
                                  tailf:dependency "."; } }
      leaf hang { type string;
        tailf:validate test_set { tailf:opaque "hang";
                                  tailf:dependency "."; } }
      leaf die { type string;
        tailf:validate test_set { tailf:opaque "print-and-abort";
                                  tailf:dependency "."; } }
      leaf throw { type string;
        tailf:validate test_set { tailf:opaque "throw";
                                  tailf:dependency "."; } }
      leaf silent { type string;
        tailf:validate test_set { tailf:opaque "refuse-silently";
                                  tailf:dependency "."; } }
      leaf must { type string; must "../a"; }
      leaf ref { type leafref { path "../b"; } }
      list l { key "k"; unique "u"; leaf k { type string; }
               leaf u { type string; }
               leaf point { type string;
                 tailf:validate test_set { tailf:opaque "refuse";
                                           tailf:dependency "."; } } }
    })");
  return kModel;
}

// NS, NC: and YANG stand for declarations of namespaces.
inline std::string Xml(std::string xml) {
  const std::vector<std::pair<std::string, std::string>> shorts = {
      {" NS", " xmlns=\"urn:m\""},
      {" NC:",
       " xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
       "nc:operation="},
      {" YANG", " xmlns:yang=\"urn:ietf:params:xml:ns:yang:1\""}};
  for (const auto& [mark, text] : shorts) {
    for (std::size_t at = 0; (at = xml.find(mark, at)) != std::string::npos;
         at += text.size()) {
      xml.replace(at, mark.size(), text);
    }
  }
  return xml;
}

// One line, without namespaces.
inline std::string Print(const lyd_node* nodes) {
  std::string text = TextOf(nodes);
  std::string line;
  bool at_start = true;
  for (const char c : text) {
    if (c == '\n') {
      at_start = true;
    } else if (!at_start || c != ' ') {
      line += c;
      at_start = false;
    }
  }
  for (std::size_t at = 0;
       (at = line.find(" xmlns=\"urn:m\"")) != std::string::npos;) {
    line.erase(at, 14);
  }
  return line;
}

// Runs a body in a process of its own and returns its wait status. A child made
// by _Fork() keeps what a server closes in its children.
inline int InChild(const std::function<void()>& body, pid_t (*make)() = &fork) {
  const pid_t child = make();
  if (child == 0) {
    body();
    _exit(0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return status;
}

// As RFC 6241 writes it.
inline std::string NameOf(ErrorTag tag) {
  constexpr std::array kNames = {"in-use",          "resource-denied",
                                 "invalid-value",   "missing-attribute",
                                 "bad-attribute",   "unknown-attribute",
                                 "missing-element", "bad-element",
                                 "unknown-element", "unknown-namespace",
                                 "lock-denied",     "data-exists",
                                 "data-missing",    "operation-not-supported",
                                 "operation-failed"};
  return kNames.at(static_cast<std::size_t>(tag));
}

// "tag path {element of error-info=text}: message"; empty for no error.
inline std::string Text(const Result& error) {
  if (!error.has_value()) return "";
  std::string text = NameOf(error->tag);
  if (!error->path.empty()) text += " " + error->path;
  for (const auto& [element, value] : error->info) {
    text += " {" + element + "=" + value + "}";
  }
  return text + ": " + error->message;
}

// Each on a line of its own.
inline std::string Text(const std::vector<RpcError>& errors) {
  std::string text;
  for (const RpcError& error : errors) {
    text += (text.empty() ? "" : "\n") + Text(error);
  }
  return text;
}

inline CommitRequest Confirmed(std::chrono::seconds timeout = kConfirmTimeout) {
  CommitRequest request;
  request.confirmed = true;
  request.timeout = timeout;
  return request;
}

// The system calls, each after a hook.
class HookedCalls : public FileCalls {
 public:
  // Receives the name of the call. If it returns false, the call fails without
  // being made.
  std::function<bool(const std::string& call)> hook = [](const auto&) {
    return true;
  };

  int Open(const char* path, int flags, unsigned mode) override {
    return hook("open") ? FileCalls::Open(path, flags, mode) : -1;
  }
  long Write(int fd, const void* bytes, std::size_t count) override {
    if (hook("write")) return FileCalls::Write(fd, bytes, count);
    // Some bytes may have been written.
    static_cast<void>(FileCalls::Write(fd, bytes, count / 2));
    errno = ENOSPC;
    return -1;
  }
  int Sync(int fd) override {
    struct stat status {};
    EXPECT_EQ(fstat(fd, &status), 0);
    const bool is_folder = S_ISDIR(status.st_mode);
    return hook(is_folder ? "sync-folder" : "sync-file") ? FileCalls::Sync(fd)
                                                         : -1;
  }
  int Rename(const char* from, const char* to) override {
    return hook("rename") ? FileCalls::Rename(from, to) : -1;
  }
  int Unlink(const char* path) override {
    return hook("unlink") ? FileCalls::Unlink(path) : -1;
  }
};

// Fails, or kills the process, at call `number` from now on, and at the next
// ones of `times`.
class Failures : public HookedCalls {
 public:
  Failures() {
    hook = [this](const auto&) { return !Fails(); };
  }

  void FailAt(int number, int times = 1) {
    first_ = calls_ + number;
    times_ = times;
  }
  void KillAt(int number) {
    kills_ = true;
    FailAt(number);
  }
  void Stop() { FailAt(0, 0); }
  bool has_failed() const { return calls_ > first_; }

 private:
  bool Fails() {
    const int number = calls_++;
    if (number < first_ || number >= first_ + times_) return false;
    if (kills_) raise(SIGKILL);
    errno = ENOSPC;
    return true;
  }

  int calls_ = 0;
  int first_ = 0;
  int times_ = 0;
  bool kills_ = false;
};

// The parameters of a server.
struct Setting {
  const datastore::Model& model = *SmallModel();
  std::string plugin = PluginFile("obeys_opaque");
  base::TimeLimit limit = std::chrono::seconds(60);
  std::string startup;  // startup.xml at the first start, if not empty
  FileCalls* calls = nullptr;
};

// The state of one server, which may be restarted. A confirmed commit ends by
// Pass() and CheckTime().
class Server {
 public:
  explicit Server(Setting setting = {}) : setting_(std::move(setting)) {
    UsePlugin(setting_.plugin);
    if (!setting_.startup.empty()) {
      std::filesystem::create_directory(path());
      dir_.Write("state/startup.xml", setting_.startup);
    }
    Start();
  }
  explicit Server(FileCalls* calls)
      : Server(Setting{*SmallModel(), PluginFile("obeys_opaque"),
                       std::chrono::seconds(60), "", calls}) {}

  // Ends it like a kill, as far as a test in one process can.
  void Stop() {
    datastores_.reset();
    folder_.reset();
  }

  void Start() {
    folder_ = std::make_unique<StateFolder>(path(), setting_.calls);
    datastores_ = std::make_unique<Datastores>(
        CommitGate(setting_.model, {link(), setting_.limit}), folder_.get(),
        [this] { return now_; });
  }

  void Restart() {
    Stop();
    Start();
  }

  // Takes effect at the next commit.
  void UsePlugin(const std::string& file) const {
    std::filesystem::remove(link());
    std::filesystem::create_symlink(file, link());
  }

  Datastores& operator*() { return *datastores_; }
  Datastores* operator->() { return datastores_.get(); }
  StateFolder& folder() { return *folder_; }

  std::string path() const { return dir_.path() + "/state"; }

  void Pass(std::chrono::seconds time) { now_ += time; }

  std::string In(Datastore datastore) const {
    return Print(datastores_->Tree(datastore));
  }
  std::string running() const { return In(Datastore::kRunning); }
  std::string candidate() const { return In(Datastore::kCandidate); }
  std::string startup() const { return In(Datastore::kStartup); }

  // Edits the candidate, with success.
  void Edit(const std::string& config, SessionId session = 1) {
    EditRequest request;
    request.config = Xml(config);
    EXPECT_EQ(Text(datastores_->Edit(session, request)), "");
  }

  // Edits the candidate and commits it, with success.
  void Commit(const std::string& config, const CommitRequest& request = {}) {
    Edit(config);
    EXPECT_EQ(Text(datastores_->Commit(1, request)), "");
  }

  // The notices since the last call, one per line.
  std::string Notices() {
    std::string text;
    for (const std::string& notice : datastores_->TakeNotices()) {
      text += notice + "\n";
    }
    return text;
  }

  // Why the server does not start. It is stopped then.
  std::string StartError() {
    try {
      Restart();
    } catch (const StateError& error) {
      Stop();
      return error.what();
    }
    ADD_FAILURE() << "it starts";
    return "";
  }

  bool Has(const std::string& file) const {
    return folder_->Read(file).has_value();
  }

 private:
  std::string link() const { return dir_.path() + "/plugin.so"; }

  const Setting setting_;
  host_test::TempDir dir_;
  TimePoint now_{};
  std::unique_ptr<StateFolder> folder_;
  std::unique_ptr<Datastores> datastores_;
};

}  // namespace ipav::store

#endif  // TESTS_SERVER_STORE_STORE_FIXTURES_H_
