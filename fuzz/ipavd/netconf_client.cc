#include "fuzz/ipavd/netconf_client.h"

#include <sys/socket.h>

#include <array>
#include <limits>
#include <optional>

#include "fuzz/ipavd/netconf_reply.h"
#include "fuzz/support/finding.h"
#include "ipavd/transport/request.h"
#include "netconf/framing.h"
#include "netconf/hello.h"

namespace ipav::fuzz {

using netconf::Deframer;
using netconf::Framing;

NetconfClient::NetconfClient() {
  std::array<int, 2> ends{};
  Require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0,
          "no connection");
  end_ = base::FileDescriptor(ends[0]);
  server_end_ = base::FileDescriptor(ends[1]);
  const std::string hello =
      Frame(Framing::kEndOfMessage, netconf::ClientHello());
  Require(send(end_.get(), hello.data(), hello.size(), MSG_NOSIGNAL) ==
              static_cast<ssize_t>(hello.size()),
          "a hello that cannot be sent");
  reader_ = std::thread([this] { ReadAll(); });
}

NetconfClient::~NetconfClient() {
  server_end_.Close();
  if (reader_.joinable()) reader_.join();
}

void NetconfClient::ReadAll() {
  std::array<char, 1U << 14> bytes{};
  ssize_t got = 0;
  while ((got = recv(end_.get(), bytes.data(), bytes.size(), 0)) > 0) {
    received_.append(bytes.data(), static_cast<std::size_t>(got));
  }
}

bool NetconfClient::Send(const std::string& message) {
  const std::string framed = transport::FrameRequest(message);
  ++sent_;
  return send(end_.get(), framed.data(), framed.size(), MSG_NOSIGNAL) ==
         static_cast<ssize_t>(framed.size());
}

void NetconfClient::Leave() { shutdown(end_.get(), SHUT_WR); }

void NetconfClient::CheckReplies() {
  reader_.join();
  Deframer deframer(std::numeric_limits<std::size_t>::max());
  deframer.Add(received_);
  try {
    Require(deframer.Next().has_value(), "no hello of the server");
    deframer.set_framing(Framing::kChunked);
    std::size_t replies = 0;
    while (const auto reply = deframer.Next()) {
      RequireLegalReply(*reply);
      ++replies;
    }
    Require(!deframer.has_part(), "a reply without an end");
    Require(replies <= sent_, "more replies than messages");
  } catch (const netconf::FramingError& error) {
    Finding(std::string("replies in no framing: ") + error.what());
  }
}

}  // namespace ipav::fuzz
