#include "ipavd/netconf/service.h"

#include <nc_server.h>
#include <unistd.h>

#include <ctime>
#include <exception>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include "host/datastore/libyang_error.h"
#include "ipavd/netconf/reply.h"
#include "ipavd/transport/log.h"
#include "netconf/framing.h"

namespace ipav::netconf {

namespace {

using datastore::Between;
using store::ErrorTag;
using store::ErrorType;
using store::RpcError;
using transport::Log;
using transport::PassedConnection;
using transport::Severity;

bool IsSameUser(const PassedConnection& one, const PassedConnection& other) {
  return one.transport == other.transport &&
         (one.key.empty() ? one.user == other.user : one.key == other.key);
}

bool IsLeaf(const ly_ctx* context, const std::string& path) {
  const lysc_node* node = lys_find_path(context, nullptr, path.c_str(), 0);
  return node != nullptr && (node->nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0;
}

// What the YANG library says of an input is only in its texts.
RpcError ErrorOf(const ly_ctx* context, const ly_err_item& item) {
  const std::string text = item.msg;
  const std::string path =
      Between(item.path == nullptr ? "" : item.path, "Data location \"", "\"");
  const std::string unknown =
      Between(text, "Node \"", "\" not found as a child of ");
  if (item.vecode == LYVE_REFERENCE && path.empty()) {
    return MakeError(ErrorTag::kOperationNotSupported, text,
                     ErrorType::kProtocol);
  }
  if (!unknown.empty()) {
    return MakeError(ErrorTag::kUnknownElement, text, ErrorType::kProtocol,
                     {{"bad-element", unknown}});
  }
  if (item.vecode == LYVE_DATA && IsLeaf(context, path)) {
    return MakeError(ErrorTag::kInvalidValue, text, ErrorType::kProtocol);
  }
  return MakeError(ErrorTag::kOperationFailed, text);
}

// The reply of the NETCONF library to a request that the YANG library refuses
// before its operation is called always has the tag operation-failed and the
// last text. Returns it with the tag of RFC 6241 and the first text, from the
// errors that are recorded in the context; unchanged if there are none, or it
// is another reply.
std::string WithReason(const ly_ctx* context, const std::string& reply) {
  const ly_err_item* item = ly_err_first(context);
  Deframer deframer(std::numeric_limits<std::size_t>::max());
  deframer.set_framing(Framing::kChunked);
  deframer.Add(reply);
  const auto message = deframer.Next();
  if (item == nullptr || !message.has_value()) return reply;
  constexpr std::string_view kEnd = "</rpc-error>";
  const std::size_t begin = message->find("<rpc-error>");
  const std::size_t end = message->find(kEnd);
  if (begin == std::string::npos || end == std::string::npos) return reply;
  std::string changed(*message);
  changed.replace(begin, end + kEnd.size() - begin,
                  TextOf(context, ErrorOf(context, *item)));
  return Frame(Framing::kChunked, changed);
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
