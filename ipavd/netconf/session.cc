#include "ipavd/netconf/session.h"

#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <utility>

#include "ipavd/netconf/reply.h"
#include "ipavd/transport/reading_limit.h"

namespace ipav::netconf {

namespace {

bool HasHungUp(int connection) {
  pollfd entry{connection, 0, 0};
  return poll(&entry, 1, 0) > 0;
}

}  // namespace

Session::Session(transport::PassedConnection client, void* data)
    : client_(std::move(client)),
      output_(memfd_create("output", MFD_CLOEXEC)),
      login_time_(std::time(nullptr)) {
  // The hello of the client has already arrived: this does not wait.
  if (nc_accept_inout(fd(), output_.get(), client_.user.c_str(), &handle_) !=
      NC_MSG_HELLO) {
    throw std::runtime_error("a session cannot be made");
  }
  Send(TakeOutput());
  nc_session_set_data(handle_, data);
}

Session::~Session() {
  StopChild();
  StopReading();
  nc_session_free(handle_, nullptr);
}

void Session::Close() {
  nc_session_set_term_reason(handle_, NC_SESSION_TERM_CLOSED);
}

void Session::Kill(store::SessionId by) {
  if (has_child()) kill(child_, SIGKILL);
  nc_session_set_status(handle_, NC_STATUS_INVALID);
  nc_session_set_term_reason(handle_, NC_SESSION_TERM_KILLED);
  nc_session_set_killed_by(handle_, by);
}

std::string Session::TakeOutput() const {
  const off_t size = lseek(output_.get(), 0, SEEK_END);
  std::string bytes(static_cast<std::size_t>(std::max<off_t>(size, 0)), '\0');
  const ssize_t got = pread(output_.get(), bytes.data(), bytes.size(), 0);
  bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  static_cast<void>(ftruncate(output_.get(), 0) == 0);
  lseek(output_.get(), 0, SEEK_SET);
  return bytes;
}

void Session::Send(const std::string& bytes) const {
  // The next poll finds the end of the connection.
  static_cast<void>(base::WriteAll(fd(), bytes));
}

bool Session::AnswerInChild() {
  const pid_t server = getpid();
  child_ = fork();
  if (child_ < 0) {
    throw Refusal(store::MakeError(store::ErrorTag::kOperationFailed,
                                   "no process can be made"));
  }
  if (child_ > 0) return false;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != server) _exit(EXIT_FAILURE);
  dup2(fd(), output_.get());
  return true;
}

std::optional<Answered> Session::TakeAnswer() {
  if (!has_child()) return std::nullopt;
  const bool is_gone = HasHungUp(fd());
  if (is_gone) kill(child_, SIGKILL);
  int status = 0;
  if (waitpid(child_, &status, WNOHANG) != child_) return std::nullopt;
  child_ = -1;
  const auto answered = static_cast<Answered>(WEXITSTATUS(status));
  if (WIFEXITED(status) && answered < Answered::kNot) return answered;
  StopReading();
  shutdown(fd(), SHUT_RDWR);
  const bool is_killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  return is_gone || is_killed ? Answered::kStopped : Answered::kNot;
}

// Interrupts the relay if it reads a request just now.
void Session::StopReading() const {
  if (client_.relay > 0 && !HasHungUp(fd())) {
    kill(client_.relay, transport::kSessionEnded);
  }
}

void Session::StopChild() {
  if (!has_child()) return;
  kill(child_, SIGKILL);
  waitpid(child_, nullptr, 0);
  child_ = -1;
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
  for (const auto& session : sessions_) {
    if (session->id() == id) return session.get();
  }
  return nullptr;
}

Session* Sessions::Find(const nc_session* handle) const {
  for (const auto& session : sessions_) {
    if (session->handle() == handle) return session.get();
  }
  return nullptr;
}

void Sessions::SetPolled(const Session& session, bool is_polled) {
  if (!is_polled) {
    nc_ps_del_session(poll_set_, session.handle());
  } else if (nc_ps_add_session(poll_set_, session.handle()) != 0) {
    throw std::bad_alloc();
  }
}

void Sessions::Remove(const Session& session) {
  nc_ps_del_session(poll_set_, session.handle());
  sessions_.erase(std::find_if(
      sessions_.begin(), sessions_.end(),
      [&session](const auto& other) { return other.get() == &session; }));
}

}  // namespace ipav::netconf
