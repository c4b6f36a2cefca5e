#include "ipavd/netconf/session.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace ipav::netconf {

Session::Session(transport::PassedConnection client, void* data)
    : client_(std::move(client)), login_time_(std::time(nullptr)) {
  // The hello of the client has already arrived: this does not wait.
  if (nc_accept_inout(fd(), fd(), client_.user.c_str(), &handle_) !=
      NC_MSG_HELLO) {
    throw std::runtime_error("a session cannot be made");
  }
  nc_session_set_data(handle_, data);
}

Session::~Session() { nc_session_free(handle_, nullptr); }

void Session::Close() {
  nc_session_set_term_reason(handle_, NC_SESSION_TERM_CLOSED);
}

void Session::Kill(store::SessionId by) {
  nc_session_set_status(handle_, NC_STATUS_INVALID);
  nc_session_set_term_reason(handle_, NC_SESSION_TERM_KILLED);
  nc_session_set_killed_by(handle_, by);
}

Sessions::Sessions() : poll_set_(nc_ps_new()) {}

Sessions::~Sessions() {
  while (!sessions_.empty()) Remove(*sessions_.back());
  nc_ps_free(poll_set_);
}

Session& Sessions::Add(transport::PassedConnection client, void* data) {
  auto session = std::make_unique<Session>(std::move(client), data);
  if (nc_ps_add_session(poll_set_, session->handle()) != 0) {
    throw std::runtime_error("a session cannot be kept");
  }
  return *sessions_.emplace_back(std::move(session));
}

Session* Sessions::Find(store::SessionId id) const {
  const auto found =
      std::find_if(sessions_.begin(), sessions_.end(),
                   [id](const auto& session) { return session->id() == id; });
  return found == sessions_.end() ? nullptr : found->get();
}

Session* Sessions::Find(const nc_session* handle) const {
  const auto found = std::find_if(
      sessions_.begin(), sessions_.end(),
      [handle](const auto& session) { return session->handle() == handle; });
  return found == sessions_.end() ? nullptr : found->get();
}

void Sessions::Remove(const Session& session) {
  nc_ps_del_session(poll_set_, session.handle());
  sessions_.erase(std::find_if(
      sessions_.begin(), sessions_.end(),
      [&session](const auto& other) { return other.get() == &session; }));
}

}  // namespace ipav::netconf
