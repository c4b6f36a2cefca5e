// The session of one client, and the list of all sessions.
#ifndef IPAV_IPAVD_NETCONF_SESSION_H_
#define IPAV_IPAVD_NETCONF_SESSION_H_

#include <nc_server.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "ipavd/store/datastores.h"
#include "ipavd/transport/descriptor_passing.h"

namespace ipav::netconf {

// The counters of RFC 6022, of one session or of all.
struct Counters {
  std::uint32_t in_rpcs = 0;
  std::uint32_t in_bad_rpcs = 0;
  std::uint32_t out_rpc_errors = 0;
};

class Session {
 public:
  // Exchanges hellos with the client. Throws std::runtime_error. `data` is
  // given to the callbacks of the library, and borrowed as long as the session
  // lives.
  Session(transport::PassedConnection client, void* data);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  store::SessionId id() const { return nc_session_get_id(handle_); }
  int fd() const { return client_.connection.get(); }
  nc_session* handle() const { return handle_; }
  const transport::PassedConnection& client() const { return client_; }
  std::time_t login_time() const { return login_time_; }

  // The session ends at the next poll, after its reply was sent.
  void Close();
  void Kill(store::SessionId by);

  Counters counters;

 private:
  transport::PassedConnection client_;
  nc_session* handle_ = nullptr;
  std::time_t login_time_;
};

class Sessions {
 public:
  Sessions();
  ~Sessions();
  Sessions(const Sessions&) = delete;
  Sessions& operator=(const Sessions&) = delete;

  // Throws std::runtime_error when the exchange of hellos fails.
  Session& Add(transport::PassedConnection client, void* data);

  // Null if there is no such session.
  Session* Find(store::SessionId id) const;
  Session* Find(const nc_session* handle) const;

  void Remove(const Session& session);

  const std::vector<std::unique_ptr<Session>>& all() const { return sessions_; }
  nc_pollsession* poll_set() const { return poll_set_; }

 private:
  nc_pollsession* poll_set_;
  std::vector<std::unique_ptr<Session>> sessions_;
};

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_SESSION_H_
