#include "fuzz/ipavd/netconf_server.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "fuzz/support/commit.h"
#include "fuzz/support/configurations.h"
#include "fuzz/support/finding.h"
#include "host/datastore/libyang_error.h"
#include "ipavd/netconf/library.h"
#include "ipavd/netconf/message_context.h"
#include "ipavd/transport/log.h"

namespace ipav::transport {

// Replaces the server's log, which writes to standard error.
void Log(Severity severity, const std::string& text) {
  if (severity == Severity::kError) fuzz::Finding("the server logs: " + text);
}

}  // namespace ipav::transport

namespace ipav::fuzz {

namespace fs = std::filesystem;

namespace {

using store::Datastore;

constexpr std::size_t kMaxSessions = 3;

ly_ctx* Context() {
  static const netconf::MessageContext kContext =
      netconf::MakeMessageContext(ProjectModel(), IPAV_FUZZ_NETCONF_YANG_DIR);
  static const netconf::Library kLibrary(kContext.get());
  return kContext.get();
}

// In memory if the system has such a file system.
std::string MakeFolder() {
  const fs::path memory = "/dev/shm";
  const fs::path parent =
      fs::is_directory(memory) ? memory : fs::temp_directory_path();
  std::string path = parent / "ipav-fuzz-XXXXXX";
  Require(mkdtemp(path.data()) != nullptr, "no temporary folder");
  return path;
}

// "$1" stands for the number of the first client's session, and so on: numbers
// of sessions depend on the inputs before.
void InsertSessions(const std::map<std::size_t, NetconfClient>& clients,
                    std::string* message) {
  for (const auto& [number, client] : clients) {
    const std::string mark = "$" + std::to_string(number);
    for (std::size_t at = 0;
         (at = message->find(mark, at)) != std::string::npos;) {
      message->replace(at, mark.size(), std::to_string(client.session));
    }
  }
}

}  // namespace

NetconfServer::NetconfServer() : folder_(MakeFolder()) {
  store::StateFolder(folder_).Write("startup.xml", SmallConfigurationText());
  Start();
  first_ = texts_;
  has_changed_ = false;
}

NetconfServer::~NetconfServer() {
  EndSessions();
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

void NetconfServer::Start() {
  store::GateOptions options;
  options.engine = [this](const auto& running, const auto& candidate) {
    return Judge(running, candidate);
  };
  ly_ctx* context = Context();
  state_ = std::make_unique<store::StateFolder>(folder_);
  trusts_ = true;
  datastores_ = std::make_unique<store::Datastores>(
      store::CommitGate(ProjectModel(), options), state_.get(),
      [this] { return now_; });
  trusts_ = false;
  service_ = std::make_unique<netconf::Service>(
      context, datastores_.get(),
      netconf::SessionLimits{kMaxSessions, kMaxSessions});
  Check();
}

void NetconfServer::EndSessions() {
  service_->EndAll();
  for (auto& [number, client] : clients_) client.CheckReplies();
  clients_.clear();
}

bool NetconfServer::IsAsNew() {
  EndSessions();
  Check();
  if (has_changed_ || datastores_->Deadline().has_value()) return false;
  accepted_ = {first_[0]};
  return true;
}

// Runs the plug-in in this process.
commit::Outcome NetconfServer::Judge(const datastore::DataTree& running,
                                     const datastore::DataTree& candidate) {
  commit::Outcome outcome;
  if (!trusts_) outcome.answers = JudgeCommit(running, candidate);
  if (outcome.answers.empty()) {
    accepted_.insert(store::TextOf(candidate.FirstChild(nullptr)));
  } else {
    outcome.verdict = commit::Verdict::kRefused;
  }
  return outcome;
}

NetconfClient& NetconfServer::Client(std::size_t number) {
  const auto [entry, is_new] = clients_.try_emplace(number);
  NetconfClient& client = entry->second;
  if (!is_new) return client;
  service_->AddSession({"unix", "fuzz", "", "", client.TakeServerEnd()});
  Require(service_->sessions().all().size() <= kMaxSessions,
          "too many sessions");
  if (!service_->sessions().all().empty()) {
    client.session = service_->sessions().all().back()->id();
  }
  return client;
}

// Running, candidate and startup.
NetconfServer::Texts NetconfServer::Print() const {
  const lyd_node* running = datastores_->Tree(Datastore::kRunning);
  const lyd_node* candidate = datastores_->Tree(Datastore::kCandidate);
  Texts texts{store::TextOf(running)};
  texts.push_back(candidate == running ? texts[0] : store::TextOf(candidate));
  texts.push_back(store::TextOf(datastores_->Tree(Datastore::kStartup)));
  return texts;
}

void NetconfServer::Poll() {
  const auto& sessions = service_->sessions().all();
  do {
    service_->Poll();
  } while (service_->has_more() ||
           std::any_of(sessions.begin(), sessions.end(),
                       [](const auto& each) { return each->has_child(); }));
}

void NetconfServer::Check() {
  texts_ = Print();
  has_changed_ = has_changed_ || texts_ != first_;
  Require(accepted_.count(texts_[0]) != 0, "running was accepted by nobody");
  Require(ly_err_first(Context()) == nullptr, "errors pile up");
  static_cast<void>(datastores_->TakeNotices());
}

void NetconfServer::Receive(std::size_t client, std::string message) {
  NetconfClient& sender = Client(client);
  InsertSessions(clients_, &message);
  const Texts before = texts_;
  const std::size_t sessions = service_->sessions().all().size();
  const std::uint32_t errors = service_->counters().out_rpc_errors;
  static_cast<void>(sender.Send(message));
  Poll();
  const bool is_refused = service_->counters().out_rpc_errors != errors;
  // A session that ends may take back what it had changed.
  const bool is_same_session = service_->sessions().all().size() == sessions;
  const bool may_go_on = message.find("continue-on-error") != std::string::npos;
  Check();
  if (is_refused && is_same_session && !may_go_on) {
    Require(texts_ == before, "a refused operation changes something");
  }
}

void NetconfServer::CutOff(std::size_t client) {
  const auto found = clients_.find(client);
  if (found == clients_.end()) return;
  found->second.Leave();
  Poll();
  found->second.CheckReplies();
  clients_.erase(found);
  Check();
}

void NetconfServer::PassTime(std::chrono::seconds time) {
  now_ += time;
  datastores_->CheckTime();
  Check();
}

void NetconfServer::Restart() {
  EndSessions();
  // A pending confirmed commit is rolled back.
  const bool is_pending = datastores_->Deadline().has_value();
  const Texts before = Print();
  service_.reset();
  datastores_.reset();
  state_.reset();
  Start();
  if (!is_pending) Require(texts_ == before, "a start finds something else");
}

}  // namespace ipav::fuzz
