#include "netconf/server.h"

#include <nc_server.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <stdexcept>
#include <utility>
#include <vector>

#include "netconf/dispatch.h"
#include "transport/log.h"

namespace ipav::netconf {

namespace {

using transport::Log;
using transport::Severity;

// What the library has to say, which is of no use without its sources.
void Ignore(const nc_session* /*session*/, NC_VERB_LEVEL /*level*/,
            const char* /*text*/) {}

char* CopyContentId(void* context) {
  return strdup(ContentId(static_cast<const ly_ctx*>(context)).c_str());
}

void StartLibrary(ly_ctx* context) {
  nc_set_print_clb_session(Ignore);
  RegisterOperations(context);
  if (nc_server_init(context) != 0) {
    throw std::runtime_error("the NETCONF library does not start");
  }
  // Besides, report-all and trim: the library takes the numbers of the modes
  // for bits, and finds both in that of report-all.
  nc_server_set_capab_withdefaults(NC_WD_EXPLICIT, NC_WD_ALL);
  nc_server_set_content_id_clb(CopyContentId, context, nullptr);
}

}  // namespace

Server::Server(const datastore::Model& model, const ServerOptions& options,
               store::Datastores* datastores, transport::Doorman* doorman)
    : options_(options),
      context_(MakeMessageContext(model, options.yang_dir)),
      doorman_(*doorman),
      environment_{
          context_.get(), *datastores, sessions_, std::time(nullptr), {}} {
  StartLibrary(context_.get());
}

Server::~Server() { nc_server_destroy(); }

void Server::Run(const transport::Signals& signals) {
  LogNotices();
  while (!is_over_) {
    Wait(signals);
    HandleSignals(signals);
    if (is_over_) break;
    environment_.datastores.CheckTime();
    LetIn();
    PollSessions();
    LogNotices();
  }
  while (!sessions_.all().empty()) End(sessions_.all().back().get(), true);
  LogNotices();
}

void Server::Wait(const transport::Signals& signals) {
  std::vector<pollfd> fds{{signals.fd(), POLLIN, 0},
                          {doorman_.control(), POLLIN, 0}};
  for (const auto& session : sessions_.all()) {
    fds.push_back({session->fd(), POLLIN, 0});
  }
  poll(fds.data(), fds.size(), has_more_ ? 0 : TimeToWait());
}

// To the next confirmed commit that is taken back, in milliseconds.
int Server::TimeToWait() const {
  using std::chrono::milliseconds;
  const auto deadline = environment_.datastores.Deadline();
  if (!deadline.has_value()) return -1;
  const auto left = std::chrono::ceil<milliseconds>(
      *deadline - std::chrono::steady_clock::now());
  return static_cast<int>(
      std::clamp(left, milliseconds(0), milliseconds(INT_MAX)).count());
}

void Server::HandleSignals(const transport::Signals& signals) {
  for (const int number : signals.Take()) {
    if (number == SIGTERM || number == SIGINT) is_over_ = true;
    if (number == SIGHUP) doorman_.Reload();
  }
  if (!is_over_ && !doorman_.is_alive()) {
    throw std::runtime_error("the process that lets clients in has ended");
  }
}

void Server::LetIn() {
  auto client = transport::ReceiveIntroduction(doorman_.control());
  if (!client.has_value()) return;
  const std::string name = client->transport + " " + client->user +
                           (client->host.empty() ? "" : "@" + client->host);
  if (sessions_.all().size() >= options_.max_sessions) {
    Log(Severity::kWarning, "session of " + name + " refused: there are " +
                                std::to_string(options_.max_sessions));
    return;
  }
  try {
    const Session& session = sessions_.Add(std::move(*client), &environment_);
    Log(Severity::kInfo,
        "session " + std::to_string(session.id()) + " began: " + name);
  } catch (const std::exception& error) {
    Log(Severity::kWarning, name + ": " + error.what());
  }
}

void Server::PollSessions() {
  has_more_ = false;
  // Each at most once, so that none keeps clients and signals waiting.
  for (std::size_t i = sessions_.all().size(); i > 0; --i) {
    nc_session* handle = nullptr;
    const int events = nc_ps_poll(sessions_.poll_set(), 0, &handle);
    if ((events & (NC_PSPOLL_TIMEOUT | NC_PSPOLL_NOSESSIONS)) != 0) return;
    has_more_ = true;
    Session* session = sessions_.Find(handle);
    if (session == nullptr) return;
    Count(session, events);
    if ((events & (NC_PSPOLL_SESSION_TERM | NC_PSPOLL_ERROR)) != 0) {
      End(session, (events & NC_PSPOLL_SESSION_ERROR) == 0);
    }
  }
}

void Server::Count(Session* session, int events) {
  for (Counters* counters : {&session->counters, &environment_.counters}) {
    if ((events & NC_PSPOLL_RPC) != 0) ++counters->in_rpcs;
    if ((events & NC_PSPOLL_BAD_RPC) != 0) ++counters->in_bad_rpcs;
    if ((events & NC_PSPOLL_REPLY_ERROR) != 0) ++counters->out_rpc_errors;
  }
}

void Server::End(Session* session, bool is_orderly) {
  const store::SessionId id = session->id();
  sessions_.Remove(*session);
  environment_.datastores.SessionEnded(id);
  Log(Severity::kInfo, "session " + std::to_string(id) +
                           (is_orderly ? " ended" : " was cut off"));
  if (options_.once) is_over_ = true;
}

void Server::LogNotices() {
  for (const std::string& notice : environment_.datastores.TakeNotices()) {
    Log(Severity::kNotice, notice);
  }
}

}  // namespace ipav::netconf
