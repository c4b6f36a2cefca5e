#include "ipavd/transport/ssh_stream.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <utility>

namespace ipav::transport {

namespace {

// The default of sshd(8).
constexpr unsigned kMaxRefusedKeys = 6;

constexpr int kFlushMilliseconds = 2000;

// Between the last reply and the end, unless the client ends first.
constexpr int kEndMilliseconds = 200;

// How long a client has to close a connection that ends.
constexpr std::chrono::milliseconds kLastWait(1000);

using Bind = base::CPtr<ssh_bind_struct, ssh_bind_free>;
using Event = base::CPtr<ssh_event_struct, ssh_event_free>;

// Reads until the client closes the connection. If the server is first, some
// clients report an error instead of the last reply and the exit status.
void AwaitEnd(int socket) {
  using std::chrono::steady_clock;
  const auto end = steady_clock::now() + kLastWait;
  std::array<char, 4096> rest{};
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - steady_clock::now());
    pollfd waiting{socket, POLLIN, 0};
    if (left.count() <= 0 ||
        poll(&waiting, 1, static_cast<int>(left.count())) <= 0 ||
        recv(socket, rest.data(), rest.size(), MSG_DONTWAIT) <= 0) {
      return;
    }
  }
}

}  // namespace

SshStream::SshStream(base::FileDescriptor socket, const Key& host_key,
                     const AuthorizedKeys& keys)
    : keys_(&keys), session_(ssh_new()) {
  ssh_set_log_level(SSH_LOG_NOLOG);
  // 1. The connection, which takes the host key and the socket.
  const Bind bind(ssh_bind_new());
  const bool no_files = false;
  ssh_bind_options_set(bind.get(), SSH_BIND_OPTIONS_PROCESS_CONFIG, &no_files);
  // It takes ownership of the copy.
  ssh_bind_options_set(bind.get(), SSH_BIND_OPTIONS_IMPORT_KEY,
                       ssh_key_dup(host_key.get()));
  const int fd = fcntl(socket.get(), F_DUPFD_CLOEXEC, 0);
  if (fd < 0 || ssh_bind_accept_fd(bind.get(), session_.get(), fd) != SSH_OK) {
    throw std::runtime_error("no SSH connection: " +
                             std::string(ssh_get_error(bind.get())));
  }
  // 2. The login and the request for the subsystem.
  SetCallbacks();
  Serve();
  ssh_set_blocking(session_.get(), 0);
  keys_ = nullptr;
}

SshStream::~SshStream() {
  // Unsent bytes may be the reply to a close-session.
  ssh_set_blocking(session_.get(), 1);
  ssh_blocking_flush(session_.get(), kFlushMilliseconds);
  // Some clients discard a reply that they read together with the end.
  const int socket = ssh_get_fd(session_.get());
  pollfd client{socket, POLLIN, 0};
  poll(&client, 1, kEndMilliseconds);
  ssh_channel_send_eof(channel_);
  ssh_channel_close(channel_);
  if (socket >= 0) AwaitEnd(socket);
  ssh_disconnect(session_.get());
}

void SshStream::SendExitStatus() {
  ssh_channel_request_send_exit_status(channel_, 0);
}

void SshStream::SetCallbacks() {
  ssh_callbacks_init(&server_callbacks_);
  server_callbacks_.userdata = this;
  server_callbacks_.auth_pubkey_function = OnKey;
  server_callbacks_.channel_open_request_session_function = OnOpen;
  ssh_set_server_callbacks(session_.get(), &server_callbacks_);
  ssh_callbacks_init(&channel_callbacks_);
  channel_callbacks_.userdata = this;
  channel_callbacks_.channel_subsystem_request_function = OnSubsystem;
  ssh_set_auth_methods(session_.get(), SSH_AUTH_METHOD_PUBLICKEY);
}

void SshStream::Serve() {
  if (ssh_handle_key_exchange(session_.get()) != SSH_OK) {
    throw std::runtime_error("no SSH: " +
                             std::string(ssh_get_error(session_.get())));
  }
  const Event event(ssh_event_new());
  ssh_event_add_session(event.get(), session_.get());
  while (!has_subsystem_) {
    const bool is_alive = ssh_event_dopoll(event.get(), -1) != SSH_ERROR &&
                          ssh_is_connected(session_.get()) == 1;
    if (!is_alive || refused_keys_ > kMaxRefusedKeys) {
      throw std::runtime_error(WhyNoLogin());
    }
  }
  ssh_event_remove_session(event.get(), session_.get());
}

std::string SshStream::WhyNoLogin() const {
  if (is_known_) return "did not ask for netconf";
  if (refused_keys_ == 0) return "did not log in";
  return "none of its keys is authorized, the last one is " + key_;
}

int SshStream::OnKey(ssh_session /*session*/, const char* user, ssh_key key,
                     char state, void* userdata) {
  auto& stream = *static_cast<SshStream*>(userdata);
  stream.key_ = Fingerprint(key);
  if (stream.keys_ == nullptr || !stream.keys_->Has(key)) {
    ++stream.refused_keys_;
    return SSH_AUTH_DENIED;
  }
  // A client first asks, without a signature, whether the key is accepted.
  if (state == SSH_PUBLICKEY_STATE_NONE) return SSH_AUTH_SUCCESS;
  if (state != SSH_PUBLICKEY_STATE_VALID) return SSH_AUTH_DENIED;
  stream.user_ = user;
  stream.is_known_ = true;
  return SSH_AUTH_SUCCESS;
}

ssh_channel SshStream::OnOpen(ssh_session session, void* userdata) {
  auto& stream = *static_cast<SshStream*>(userdata);
  // One session per connection.
  if (!stream.is_known_ || stream.channel_ != nullptr) return nullptr;
  stream.channel_ = ssh_channel_new(session);
  ssh_set_channel_callbacks(stream.channel_, &stream.channel_callbacks_);
  return stream.channel_;
}

int SshStream::OnSubsystem(ssh_session /*session*/, ssh_channel /*channel*/,
                           const char* name, void* userdata) {
  auto& stream = *static_cast<SshStream*>(userdata);
  if (std::string_view(name) != "netconf") return 1;
  stream.has_subsystem_ = true;
  return 0;
}

short SshStream::Events(bool reads, bool writes) const {
  // While the client's SSH window is full, only its window message helps; after
  // that, only room in the socket.
  const bool has_room = writes && ssh_channel_window_size(channel_) > 0;
  short events = reads || writes ? POLLIN : 0;
  if (HoldsBytes() || has_room) events = static_cast<short>(events | POLLOUT);
  return events;
}

bool SshStream::has_more() {
  const int there = ssh_channel_poll(channel_, 0);
  return there > 0 || there == SSH_EOF || there == SSH_ERROR;
}

std::optional<std::string> SshStream::Read() {
  std::string bytes(kReadSize, '\0');
  const int got = ssh_channel_read_nonblocking(
      channel_, bytes.data(), static_cast<std::uint32_t>(bytes.size()), 0);
  const bool is_over = ssh_channel_is_eof(channel_) != 0 ||
                       ssh_channel_is_open(channel_) == 0 ||
                       ssh_is_connected(session_.get()) == 0;
  if (got < 0 && got != SSH_AGAIN) return std::nullopt;
  if (got <= 0) return is_over ? std::nullopt : std::optional<std::string>("");
  bytes.resize(static_cast<std::size_t>(got));
  return bytes;
}

// Whether the library holds bytes that the socket has not taken yet.
bool SshStream::HoldsBytes() const {
  return (ssh_get_status(session_.get()) & SSH_WRITE_PENDING) != 0;
}

std::optional<std::size_t> SshStream::Write(std::string_view bytes) {
  // The library takes as much as the client's SSH window has room for, which
  // may be very much, and holds what the socket does not take.
  ssh_blocking_flush(session_.get(), 0);
  if (ssh_is_connected(session_.get()) == 0) return std::nullopt;
  if (HoldsBytes() || bytes.empty()) return 0;
  const auto size =
      static_cast<std::uint32_t>(std::min(bytes.size(), kReadSize));
  const int sent = ssh_channel_write(channel_, bytes.data(), size);
  if (sent == SSH_AGAIN) return 0;
  if (sent < 0 || ssh_is_connected(session_.get()) == 0) return std::nullopt;
  return static_cast<std::size_t>(sent);
}

}  // namespace ipav::transport
