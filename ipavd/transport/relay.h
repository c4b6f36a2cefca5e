// Relays messages between one client and the server, in a process of its own.
// It passes whole messages of limited size only, so that the server never waits
// for a client. A client that breaks the rules loses its connection; others do
// not notice.
#ifndef IPAV_IPAVD_TRANSPORT_RELAY_H_
#define IPAV_IPAVD_TRANSPORT_RELAY_H_

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "host/base/time_limit.h"
#include "ipavd/transport/byte_stream.h"
#include "ipavd/transport/outbox.h"
#include "netconf/framing.h"

namespace ipav::transport {

// Reads a request like the server, and ignores its errors.
using RequestReader = std::function<void(const std::string& request)>;

struct Limits {
  std::size_t max_message = std::size_t{16} << 20;   // bytes
  base::TimeLimit login = std::chrono::seconds(10);  // over SSH
  base::TimeLimit hello = std::chrono::seconds(20);  // after the login
  // Without a whole message in either direction.
  base::TimeLimit idle = std::chrono::seconds(600);  // 0: no limit
  // To read the last replies after the server has ended the session; one second
  // more for each 128 KiB.
  base::TimeLimit last_replies = std::chrono::seconds(5);
};

class Relay {
 public:
  // Borrows both streams. The server speaks NETCONF 1.1 after its hello, and
  // has received a hello of ours. The reader tries each request: one that the
  // YANG library does not survive ends this process, and not the server.
  Relay(ByteStream* client, ByteStream* server, const Limits& limits,
        RequestReader reader = nullptr);

  // Relays until the server ends, the client goes, or the client has ended and
  // has got the replies to everything that it sent. Returns why the client was
  // dropped; empty when it was not.
  std::string Run();

  // Whether the client has sent a hello that is right.
  bool has_hello() const { return framing_.has_value(); }

 private:
  // Waits for the next event and handles it. False when the time is over.
  bool Wait();
  int TimeLeft() const;
  void ReadClient();
  void ReadServer();
  void WriteClient();
  void WriteServer();
  void PassRequests();
  void FromClient(std::string_view message);
  void FromServer(std::string_view message);
  void NoteActivity();

  bool is_over() const;

  ByteStream& client_;
  ByteStream& server_;
  const Limits limits_;
  const RequestReader reader_;
  netconf::Deframer from_client_;
  netconf::Deframer from_server_;
  Outbox to_client_;
  Outbox to_server_;
  // Framing of the client, known after its hello.
  std::optional<netconf::Framing> framing_;
  bool has_server_hello_ = false;
  std::size_t unanswered_ = 0;  // messages that the server has not answered yet
  bool has_waiting_ = false;    // there may be a message to pass on
  bool client_ended_ = false;   // sends no more
  bool client_is_gone_ = false;  // reads no more
  bool server_ended_ = false;
  base::TimeLimit last_replies_{};  // from then on
  // When the last whole message or reply went through.
  std::chrono::steady_clock::time_point last_activity_;
};

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_RELAY_H_
