// All sessions of a server and its datastores. The caller accepts the clients
// and waits for their messages. A Library must exist.
#ifndef IPAV_IPAVD_NETCONF_SERVICE_H_
#define IPAV_IPAVD_NETCONF_SERVICE_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <string>

#include "ipavd/netconf/call.h"
#include "ipavd/netconf/session.h"
#include "ipavd/store/datastores.h"
#include "ipavd/transport/descriptor_passing.h"

namespace ipav::netconf {

struct SessionLimits {
  std::size_t all = 0;
  std::size_t per_user = 0;  // of one SSH key, or of one user of the machine
};

class Service {
 public:
  // Borrows the message context and the datastores.
  Service(ly_ctx* context, store::Datastores* datastores,
          const SessionLimits& limits);
  ~Service() = default;
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  // Starts a session with a client that has sent its hello. Logs a refusal.
  // Above the limits there may be one more session on the UNIX socket, so that
  // its owner can always end others.
  void AddSession(transport::PassedConnection client);

  // Answers at most one message of each session. Does not wait. A child that
  // answers in place of the server does not return.
  void Poll();

  void EndAll();

  const Sessions& sessions() const { return sessions_; }

  // Whether there may be messages that poll(2) does not report.
  bool has_more() const { return has_more_; }

  // Whether a session has ended.
  bool has_ended() const { return has_ended_; }

  // Totals of all sessions, ended ones included.
  const Counters& counters() const { return environment_.counters; }

 private:
  std::string Objection(const transport::PassedConnection& client) const;
  [[noreturn]] static void EndChild(int events);
  void Answer(const Session& session, bool is_bad_rpc);
  void TakeAnswers();
  void Count(Session* session, int events);
  void End(Session* session, bool is_orderly);

  const SessionLimits limits_;
  Sessions sessions_;
  Environment environment_;
  store::SessionId extra_ = 0;  // the session above the limits; 0: none
  bool has_more_ = false;
  bool has_ended_ = false;
};

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_SERVICE_H_
