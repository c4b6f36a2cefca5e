// The session of one client, and the list of all sessions. A request that may
// take long is answered by a child process, which has a copy of everything; the
// server meanwhile serves the other sessions.
#ifndef IPAV_IPAVD_NETCONF_SESSION_H_
#define IPAV_IPAVD_NETCONF_SESSION_H_

#include <nc_server.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/base/file_descriptor.h"
#include "ipavd/store/datastores.h"
#include "ipavd/transport/descriptor_passing.h"

namespace ipav::netconf {

// The counters of RFC 6022, of one session or of all.
struct Counters {
  std::uint32_t in_rpcs = 0;
  std::uint32_t in_bad_rpcs = 0;
  std::uint32_t out_rpc_errors = 0;
};

// Those of the server only.
struct Totals : Counters {
  std::uint32_t in_bad_hellos = 0;
  std::uint32_t in_sessions = 0;
  std::uint32_t dropped_sessions = 0;
};

// How the child process that answered a request ended. The first three are its
// exit status; kStopped: it was killed, or its client has gone.
enum class Answered : std::uint8_t { kWithData, kWithError, kNot, kStopped };

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

  // Takes the bytes that the library has written for the client. They are not
  // sent until Send() is called.
  std::string TakeOutput() const;
  void Send(const std::string& bytes) const;

  // Forks a child that answers the request that is being handled. Returns true
  // in the child, where the library writes to the client from now on. What it
  // writes in the server is not the reply. Throws Refusal.
  bool AnswerInChild();

  // Whether this process is that child.
  bool is_child() const { return child_ == 0; }

  // Whether there is such a child. Its session must not be polled.
  bool has_child() const { return child_ > 0; }

  // How the child ended, once; no value while there is none or it runs. A
  // child whose client has gone is killed. After kNot and kStopped the session
  // ends at the next poll: a part of the reply may have been sent.
  std::optional<Answered> TakeAnswer();

  Counters counters;
  bool lacks_hello = false;  // the one of its client is wrong or missing

 private:
  void StopReading() const;
  void StopChild();

  transport::PassedConnection client_;
  base::FileDescriptor output_;  // a file in memory that the library writes to
  pid_t child_ = -1;
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

  // Whether the poll set contains the session, which it does at first.
  void SetPolled(const Session& session, bool is_polled);

  const std::vector<std::unique_ptr<Session>>& all() const { return sessions_; }
  nc_pollsession* poll_set() const { return poll_set_; }

 private:
  nc_pollsession* poll_set_;
  std::vector<std::unique_ptr<Session>> sessions_;
};

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_SESSION_H_
