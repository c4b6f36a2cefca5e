// All sessions of a server over its datastores, whoever brings the clients and
// waits for them. A Library must be there.
#ifndef IPAV_IPAVD_NETCONF_SERVICE_H_
#define IPAV_IPAVD_NETCONF_SERVICE_H_

#include <libyang/libyang.h>

#include <cstddef>

#include "ipavd/netconf/call.h"
#include "ipavd/netconf/session.h"
#include "ipavd/store/datastores.h"
#include "ipavd/transport/descriptor_passing.h"

namespace ipav::netconf {

class Service {
 public:
  // The context, of messages, and the datastores are borrowed.
  Service(ly_ctx* context, store::Datastores* datastores,
          std::size_t max_sessions);
  ~Service() = default;
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  // Begins a session, whose client has sent its hello. The log tells of one
  // that is refused.
  void AddSession(transport::PassedConnection client);

  // Answers what has come, at most one message of each session. Waits for none.
  void Poll();

  void EndAll();

  const Sessions& sessions() const { return sessions_; }

  // Whether there may be messages that poll(2) does not tell of.
  bool has_more() const { return has_more_; }

  // Whether a session has ended.
  bool has_ended() const { return has_ended_; }

  // Of all sessions that there were.
  const Counters& counters() const { return environment_.counters; }

 private:
  void Count(Session* session, int events);
  void End(Session* session, bool is_orderly);

  const std::size_t max_sessions_;
  Sessions sessions_;
  Environment environment_;
  bool has_more_ = false;
  bool has_ended_ = false;
};

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_SERVICE_H_
