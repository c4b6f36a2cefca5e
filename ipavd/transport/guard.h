// Stands between one client and the server, in a process of its own: nothing
// but whole messages of a bearable size reach the server, which therefore never
// waits for a client. What the client must not do ends the connection, and
// nothing else.
#ifndef IPAV_SERVER_TRANSPORT_GUARD_H_
#define IPAV_SERVER_TRANSPORT_GUARD_H_

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "host/base/time_limit.h"
#include "ipavd/transport/byte_stream.h"
#include "ipavd/transport/outbox.h"
#include "netconf/framing.h"

namespace ipav::transport {

struct Limits {
  std::size_t max_message = std::size_t{16} << 20;  // bytes
  // From the connection to the client's hello, the login included.
  base::TimeLimit hello = std::chrono::seconds(20);
  // Without a whole message of the client and without one on its way to it.
  base::TimeLimit idle = std::chrono::seconds(600);  // 0: no limit
};

class Guard {
 public:
  // Both are borrowed. The server speaks NETCONF 1.1 behind its hello, and has
  // the client's hello.
  Guard(ByteStream* client, ByteStream* server, const Limits& limits);

  // Carries messages until one of both sides ends it. Returns why the client
  // was dropped; empty when it was not.
  std::string Run();

 private:
  // One wait for whatever comes first; false when it lasted too long.
  bool Wait();
  int TimeLeft() const;
  void ReadClient();
  void ReadServer();
  void WriteClient();
  void WriteServer();
  void FromClient(std::string_view message);
  void FromServer(std::string_view message);
  void Restart();

  bool is_over() const;

  ByteStream& client_;
  ByteStream& server_;
  const Limits limits_;
  netconf::Deframer from_client_;
  netconf::Deframer from_server_;
  Outbox to_client_;
  Outbox to_server_;
  // Of what the client gets; known when its hello has come.
  std::optional<netconf::Framing> framing_;
  bool has_server_hello_ = false;
  std::size_t unanswered_ = 0;  // messages that the server has
  bool client_ended_ = false;
  bool server_ended_ = false;
  std::chrono::steady_clock::time_point last_sign_;  // of the client's life
};

}  // namespace ipav::transport

#endif  // IPAV_SERVER_TRANSPORT_GUARD_H_
