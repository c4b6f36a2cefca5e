// One client's session, and all there are.
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

// What RFC 6022 counts, of a session or of all.
struct Counters {
  std::uint32_t in_rpcs = 0;
  std::uint32_t in_bad_rpcs = 0;
  std::uint32_t out_rpc_errors = 0;
};

class Session {
 public:
  // The greeting of a client that was introduced. Throws std::runtime_error.
  // Borrowed as long as the session: the data of the library's session.
  Session(transport::PassedConnection client, void* data);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  store::SessionId id() const { return nc_session_get_id(handle_); }
  int fd() const { return client_.connection.get(); }
  nc_session* handle() const { return handle_; }
  const transport::PassedConnection& client() const { return client_; }
  std::time_t login_time() const { return login_time_; }

  // From the next poll on it is over, with an answer under way before.
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

  // Throws std::runtime_error where there is no greeting.
  Session& Add(transport::PassedConnection client, void* data);

  // Null where there is none.
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
