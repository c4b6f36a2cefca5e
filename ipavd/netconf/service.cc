#include "ipavd/netconf/service.h"

#include <nc_server.h>
#include <unistd.h>

#include <ctime>
#include <exception>
#include <string>
#include <utility>

#include "host/datastore/libyang_error.h"
#include "ipavd/netconf/bad_request.h"
#include "ipavd/transport/log.h"

namespace ipav::netconf {

using transport::Log;
using transport::PassedConnection;
using transport::Severity;

namespace {

bool IsSameUser(const PassedConnection& one, const PassedConnection& other) {
  return one.transport == other.transport &&
         (one.key.empty() ? one.user == other.user : one.key == other.key);
}

}  // namespace

Service::Service(ly_ctx* context, store::Datastores* datastores,
                 const SessionLimits& limits)
    : limits_(limits),
      environment_{context, *datastores, sessions_, std::time(nullptr), {}} {}

// Why there may be no session with the client within the limits; empty if there
// may.
std::string Service::Objection(const PassedConnection& client) const {
  std::size_t all = 0;
  std::size_t of_user = 0;
  for (const auto& session : sessions_.all()) {
    if (session->id() == extra_) continue;
    ++all;
    if (IsSameUser(session->client(), client)) ++of_user;
  }
  if (all >= limits_.all) return "there are " + std::to_string(all);
  if (of_user < limits_.per_user) return "";
  return "its user has " + std::to_string(of_user);
}

void Service::AddSession(PassedConnection client) {
  const std::string name = NameOf(client);
  const std::string objection = Objection(client);
  const bool is_extra =
      !objection.empty() && client.transport == "unix" && extra_ == 0;
  if (!objection.empty() && !is_extra) {
    Log(Severity::kWarning, "session of " + name + " refused: " + objection);
    return;
  }
  try {
    ++environment_.counters.in_sessions;
    const Session& session = sessions_.Add(std::move(client), &environment_);
    if (is_extra) extra_ = session.id();
    Log(Severity::kInfo,
        "session " + std::to_string(session.id()) + " began: " + name);
  } catch (const std::exception& error) {
    Log(Severity::kWarning, name + ": " + error.what());
  }
}

void Service::Poll() {
  has_more_ = false;
  TakeAnswers();
  // At most one message of each session, so that no session delays other
  // clients and signals.
  for (std::size_t i = sessions_.all().size(); i > 0; --i) {
    nc_session* handle = nullptr;
    datastore::ClearErrors(environment_.context);
    const int events = nc_ps_poll(sessions_.poll_set(), 0, &handle);
    if ((events & (NC_PSPOLL_TIMEOUT | NC_PSPOLL_NOSESSIONS)) != 0) return;
    has_more_ = true;
    Session* session = sessions_.Find(handle);
    if (session == nullptr) return;
    if (session->is_child()) EndChild(events);
    Count(session, events);
    Answer(*session, (events & NC_PSPOLL_BAD_RPC) != 0);
    // The library records errors in messages, and never removes them.
    datastore::ClearErrors(environment_.context);
    if ((events & (NC_PSPOLL_SESSION_TERM | NC_PSPOLL_ERROR)) != 0) {
      constexpr int kCutOff = NC_PSPOLL_SESSION_ERROR | NC_PSPOLL_ERROR;
      End(session, (events & kCutOff) == 0);
    }
  }
}

// Ends this process, which has answered a request in place of the server.
void Service::EndChild(int events) {
  Answered answered = Answered::kWithData;
  if ((events & NC_PSPOLL_REPLY_ERROR) != 0) answered = Answered::kWithError;
  if ((events & NC_PSPOLL_ERROR) != 0) answered = Answered::kNot;
  _exit(static_cast<int>(answered));
}

// Sends what the library has written for the client, unless a child answers.
void Service::Answer(const Session& session, bool is_bad_rpc) {
  std::string output = session.TakeOutput();
  if (session.has_child()) return sessions_.SetPolled(session, false);
  if (is_bad_rpc) output = WithReason(environment_.context, output);
  session.Send(output);
}

void Service::TakeAnswers() {
  for (const auto& session : sessions_.all()) {
    const auto answered = session->TakeAnswer();
    if (!answered.has_value()) continue;
    if (answered == Answered::kWithError) {
      Count(session.get(), NC_PSPOLL_REPLY_ERROR);
    }
    if (answered == Answered::kNot) {
      Log(Severity::kError, "session " + std::to_string(session->id()) +
                                ": the process that answers it failed");
    }
    sessions_.SetPolled(*session, true);
  }
}

void Service::EndAll() {
  while (!sessions_.all().empty()) End(sessions_.all().back().get(), true);
}

void Service::Count(Session* session, int events) {
  if (session->lacks_hello) return;  // its only request is the server's own
  Counters* const all = &environment_.counters;
  for (Counters* counters : {&session->counters, all}) {
    if ((events & NC_PSPOLL_RPC) != 0) ++counters->in_rpcs;
    if ((events & NC_PSPOLL_BAD_RPC) != 0) ++counters->in_bad_rpcs;
    if ((events & NC_PSPOLL_REPLY_ERROR) != 0) ++counters->out_rpc_errors;
  }
}

void Service::End(Session* session, bool is_orderly) {
  const store::SessionId id = session->id();
  Totals& totals = environment_.counters;
  if (session->lacks_hello) {
    ++totals.in_bad_hellos;
  } else if (!is_orderly) {
    ++totals.dropped_sessions;
  }
  sessions_.Remove(*session);
  environment_.datastores.SessionEnded(id);
  Log(Severity::kInfo, "session " + std::to_string(id) +
                           (is_orderly ? " ended" : " was cut off"));
  if (id == extra_) extra_ = 0;
  has_ended_ = true;
}

}  // namespace ipav::netconf
