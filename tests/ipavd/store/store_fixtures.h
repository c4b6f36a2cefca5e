// What the tests of the datastores share: a server's state on a small model,
// whose plug-in does what a leaf's validation point says.
#ifndef TESTS_SERVER_STORE_STORE_FIXTURES_H_
#define TESTS_SERVER_STORE_STORE_FIXTURES_H_

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ipavd/store/datastores.h"
#include "tests/host/fixtures.h"

namespace store_test {

inline std::string PluginFile(const std::string& name) {
  return std::string(IPAV_TEST_PLUGINS) + "/" + name + ".so";
}

// Leaves a, b and c are anybody's; a commit that changes the others meets their
// validation points.
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
  std::string text = ipav::store::TextOf(nodes);
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

// Runs a body in a process of its own and returns its wait status.
inline int InChild(const std::function<void()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    body();
    _exit(0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return status;
}

// As RFC 6241 writes it.
inline std::string NameOf(ipav::store::ErrorTag tag) {
  constexpr std::array kNames = {"in-use",
                                 "invalid-value",
                                 "missing-attribute",
                                 "bad-attribute",
                                 "unknown-attribute",
                                 "missing-element",
                                 "bad-element",
                                 "unknown-element",
                                 "unknown-namespace",
                                 "lock-denied",
                                 "data-exists",
                                 "data-missing",
                                 "operation-not-supported",
                                 "operation-failed"};
  return kNames.at(static_cast<std::size_t>(tag));
}

// "tag path {element of error-info=text}: message"; empty for no error.
inline std::string Text(const ipav::store::Result& error) {
  if (!error.has_value()) return "";
  std::string text = NameOf(error->tag);
  if (!error->path.empty()) text += " " + error->path;
  for (const auto& [element, value] : error->info) {
    text += " {" + element + "=" + value + "}";
  }
  return text + ": " + error->message;
}

// Each on a line of its own.
inline std::string Text(const std::vector<ipav::store::RpcError>& errors) {
  std::string text;
  for (const ipav::store::RpcError& error : errors) {
    text += (text.empty() ? "" : "\n") + Text(error);
  }
  return text;
}

// The state of one server, which may be restarted.
class Server {
 public:
  explicit Server(const std::string& plugin = "obeys_opaque",
                  ipav::store::FileCalls* calls = nullptr)
      : plugin_(PluginFile(plugin)), calls_(calls) {
    Start();
  }

  // Ends it as a kill would, as far as a test in one process can.
  void Stop() {
    datastores_.reset();
    folder_.reset();
  }

  void Start() {
    folder_ = std::make_unique<ipav::store::StateFolder>(path(), calls_);
    datastores_ = std::make_unique<ipav::store::Datastores>(
        ipav::store::CommitGate(*SmallModel(),
                                {plugin_, std::chrono::milliseconds(500)}),
        folder_.get(), [this] { return now_; });
  }

  void Restart() {
    Stop();
    Start();
  }

  // From the next start on.
  void UsePlugin(const std::string& plugin) { plugin_ = PluginFile(plugin); }

  ipav::store::Datastores& operator*() { return *datastores_; }
  ipav::store::Datastores* operator->() { return datastores_.get(); }
  ipav::store::StateFolder& folder() { return *folder_; }

  std::string path() const { return dir_.path() + "/state"; }

  void Pass(std::chrono::seconds time) { now_ += time; }

  std::string In(ipav::store::Datastore datastore) const {
    return Print(datastores_->Tree(datastore));
  }
  std::string running() const { return In(ipav::store::Datastore::kRunning); }
  std::string candidate() const {
    return In(ipav::store::Datastore::kCandidate);
  }
  std::string startup() const { return In(ipav::store::Datastore::kStartup); }

  // Edits the candidate, with success.
  void Edit(const std::string& config, ipav::store::SessionId session = 1) {
    ipav::store::EditRequest request;
    request.config = Xml(config);
    EXPECT_EQ(Text(datastores_->Edit(session, request)), "");
  }

  // Edits the candidate and commits it, with success.
  void Commit(const std::string& config,
              const ipav::store::CommitRequest& request = {}) {
    Edit(config);
    EXPECT_EQ(Text(datastores_->Commit(1, request)), "");
  }

  // What was noticed since the last call, each on a line of its own.
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
    } catch (const ipav::store::StateError& error) {
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
  host_test::TempDir dir_;
  std::string plugin_;
  ipav::store::FileCalls* calls_;
  ipav::store::TimePoint now_{};
  std::unique_ptr<ipav::store::StateFolder> folder_;
  std::unique_ptr<ipav::store::Datastores> datastores_;
};

}  // namespace store_test

#endif  // TESTS_SERVER_STORE_STORE_FIXTURES_H_
