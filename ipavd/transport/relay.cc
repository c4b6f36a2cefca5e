#include "ipavd/transport/relay.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "host/base/utf8.h"
#include "ipavd/transport/reading_limit.h"
#include "ipavd/transport/request.h"
#include "netconf/hello.h"

namespace ipav::transport {

namespace {

using netconf::Frame;
using netconf::Framing;
using netconf::FramingAfter;
using netconf::FramingError;
using netconf::HelloError;

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr std::size_t kMaxHello = std::size_t{64} << 10;

// The client's next request waits while more bytes of replies are not read, or
// so many requests are not answered. Thus the relay holds a few replies, and
// can read all that the server sends: the server waits for no client.
constexpr std::size_t kMaxUnread = std::size_t{1} << 20;
constexpr std::size_t kMaxUnanswered = 4;

// Bytes in a second, of the last replies: a line of 1 Mbit/s.
constexpr std::size_t kSlowestReading = std::size_t{128} << 10;

constexpr short kGone = POLLHUP | POLLERR | POLLNVAL;

// Whether the other side has closed its socket, and not only its direction.
bool HasHungUp(int socket) {
  pollfd state{socket, 0, 0};
  return poll(&state, 1, 0) != 0;
}

}  // namespace

Relay::Relay(ByteStream* client, ByteStream* server, const Limits& limits,
             RequestReader reader)
    : client_(*client),
      server_(*server),
      limits_(limits),
      reader_(std::move(reader)),
      from_client_(kMaxHello),
      from_server_(std::numeric_limits<std::size_t>::max()),
      last_activity_(steady_clock::now()) {}

void Relay::NoteActivity() { last_activity_ = steady_clock::now(); }

std::string Relay::Run() {
  try {
    while (!is_over()) {
      if (!Wait()) {
        return framing_ ? "nothing came or went for too long"
                        : "no hello in time";
      }
    }
  } catch (const FramingError& error) {
    return error.what();
  } catch (const HelloError& error) {
    return error.what();
  }
  if (server_ended_ && !has_server_hello_) return "got no session";
  const bool in_message = client_ended_ && from_client_.has_part();
  return in_message ? "ended within a message" : "";
}

bool Relay::is_over() const {
  if (server_ended_) return client_is_gone_ || to_client_.empty();
  if (client_is_gone_) return client_ended_ && to_server_.empty();
  return client_ended_ && !has_waiting_ && to_server_.empty() &&
         has_server_hello_ && unanswered_ == 0 && to_client_.empty();
}

// Milliseconds for poll(2).
int Relay::TimeLeft() const {
  milliseconds limit = limits_.idle;
  if (server_ended_) {
    limit = last_replies_;
  } else if (!framing_) {
    limit = limits_.hello;
  } else if (unanswered_ > 0 || limit == base::kNoTimeLimit) {
    return -1;
  }
  const auto gone =
      duration_cast<milliseconds>(steady_clock::now() - last_activity_);
  return static_cast<int>(std::max(limit - gone, milliseconds(0)).count());
}

bool Relay::Wait() {
  // 1. Wait. The client is not read while the server has not taken everything,
  // nor after the server has ended the session.
  const bool reads_client =
      to_server_.empty() && !has_waiting_ && !server_ended_ && !client_ended_;
  const bool has_more = reads_client && client_.has_more();
  std::array<pollfd, 2> fds{
      {{client_ended_ && client_is_gone_ ? -1 : client_.fd(),
        client_.Events(reads_client, !to_client_.empty()), 0},
       {server_ended_ ? -1 : server_.fd(),
        server_.Events(true, !to_server_.empty()), 0}}};
  if (poll(fds.data(), fds.size(), has_more ? 0 : TimeLeft()) == 0 &&
      !has_more) {
    return false;
  }

  // 2. Handle all events. A client that has gone may have left data to read.
  const int client = fds[0].revents;
  const int server = fds[1].revents;
  if ((server & (POLLIN | kGone)) != 0) ReadServer();
  if (has_more || (reads_client && (client & POLLIN) != 0) ||
      (client & kGone) != 0) {
    ReadClient();
  }
  if (!to_client_.empty() || (client & POLLOUT) != 0) WriteClient();
  PassRequests();
  if (!to_server_.empty()) WriteServer();
  // A client that sends byte by byte runs into the limit as well.
  return TimeLeft() != 0;
}

void Relay::ReadClient() {
  const std::optional<std::string> bytes = client_.Read();
  if (!bytes.has_value()) {
    client_ended_ = true;
    client_is_gone_ = client_is_gone_ || HasHungUp(client_.fd());
    return;
  }
  if (server_ended_) return;
  from_client_.Add(*bytes);
  has_waiting_ = true;
}

void Relay::PassRequests() {
  // All requests of a client that is gone are carried out, too.
  while (has_waiting_ && !server_ended_ &&
         (client_is_gone_ ||
          (unanswered_ < kMaxUnanswered && to_client_.size() <= kMaxUnread))) {
    const auto message = from_client_.Next();
    has_waiting_ = message.has_value();
    if (has_waiting_) FromClient(WithoutBlanksBefore(*message));
  }
}

void Relay::FromClient(std::string_view message) {
  NoteActivity();
  const ReadingLimit limit(message.size());
  if (framing_.has_value()) {
    const std::string request = PrepareRequest(message);
    if (reader_ != nullptr) reader_(request);
    to_server_.Add(Frame(Framing::kChunked, request));
    ++unanswered_;
    return;
  }
  // The server has received a hello of ours instead.
  framing_ = FramingAfter(message);
  from_client_.set_framing(*framing_);
  from_client_.set_max_message(limits_.max_message);
}

void Relay::ReadServer() {
  const std::optional<std::string> bytes = server_.Read();
  if (!bytes.has_value()) {
    server_ended_ = true;
    last_replies_ = limits_.last_replies +
                    std::chrono::seconds(to_client_.size() / kSlowestReading);
    NoteActivity();
    return;
  }
  from_server_.Add(*bytes);
  while (const auto message = from_server_.Next()) FromServer(*message);
}

void Relay::FromServer(std::string_view message) {
  if (!has_server_hello_) {
    has_server_hello_ = true;
    from_server_.set_framing(Framing::kChunked);
    to_client_.Add(Frame(Framing::kEndOfMessage, message));
    return;
  }
  NoteActivity();
  const Framing framing = framing_.value_or(Framing::kChunked);
  // The library may cut the text that it quotes within a character.
  const bool has_error = message.find("<rpc-error") != std::string_view::npos;
  to_client_.Add(has_error
                     ? Frame(framing, base::ToXmlText(std::string(message)))
                     : Frame(framing, message));
  if (unanswered_ > 0) --unanswered_;
}

void Relay::WriteClient() {
  const std::optional<std::size_t> gone = client_.Write(to_client_.rest());
  if (!gone.has_value()) {
    // It may have sent requests before. Reading finds their end.
    client_is_gone_ = true;
    to_client_.Clear();
    return;
  }
  if (*gone > 0 && framing_.has_value() && !server_ended_) NoteActivity();
  to_client_.Drop(*gone);
}

void Relay::WriteServer() {
  const std::optional<std::size_t> gone = server_.Write(to_server_.rest());
  if (!gone.has_value()) {
    // The server has ended the session, but may have answered before. Reading
    // finds its end.
    to_server_.Clear();
    return;
  }
  to_server_.Drop(*gone);
}

}  // namespace ipav::transport
