#include "ipavd/transport/relay.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <utility>

#include "host/base/file_descriptor.h"
#include "ipavd/transport/byte_stream.h"
#include "netconf/hello.h"

namespace ipav::transport {
namespace {

using netconf::ClientHello;
using netconf::Frame;
using netconf::Framing;

using base::FileDescriptor;
using std::chrono::milliseconds;

constexpr char kServerHello[] = "<hello/>";

Limits HelloWithin(base::TimeLimit time) {
  Limits limits;
  limits.hello = time;
  return limits;
}

Limits IdleFor(base::TimeLimit time) {
  Limits limits;
  limits.idle = time;
  return limits;
}

Limits LastRepliesWithin(base::TimeLimit time) {
  Limits limits;
  limits.last_replies = time;
  return limits;
}

// A relay with a client and a server that the test plays.
class RelayTest : public ::testing::Test {
 protected:
  void Start(const Limits& limits) {
    reason_ = std::async(std::launch::async, [this, limits] {
      SocketStream client(std::move(relays_client_));
      SocketStream server(std::move(relays_server_));
      return Relay(&client, &server, limits).Run();
    });
  }

  void SetUp() override {
    Connect(&client_, &relays_client_);
    Connect(&server_, &relays_server_);
  }

  static void Connect(FileDescriptor* one, FileDescriptor* other) {
    std::array<int, 2> fds{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds.data()), 0);
    *one = FileDescriptor(fds[0]);
    *other = FileDescriptor(fds[1]);
  }

  static void Send(const FileDescriptor& to, const std::string& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
      const ssize_t count = send(to.get(), bytes.data() + sent,
                                 bytes.size() - sent, MSG_NOSIGNAL);
      if (count <= 0) return;
      sent += static_cast<std::size_t>(count);
    }
  }

  // What comes, up to that many bytes, or to the end.
  static std::string Receive(const FileDescriptor& from, std::size_t size) {
    std::string bytes;
    while (bytes.size() < size) {
      std::array<char, 4096> part{};
      const ssize_t count = recv(from.get(), part.data(),
                                 std::min(part.size(), size - bytes.size()), 0);
      if (count <= 0) break;
      bytes.append(part.data(), static_cast<std::size_t>(count));
    }
    return bytes;
  }

  static void ExpectReceived(const FileDescriptor& from,
                             const std::string& bytes) {
    EXPECT_EQ(Receive(from, bytes.size()), bytes);
  }

  // Starts, and passes the hellos of both sides. The bytes of `more` come with
  // the hello of the client.
  void Greet(const std::string& client_hello, const Limits& limits = {},
             const std::string& more = "") {
    Start(limits);
    const std::string hello = Frame(Framing::kEndOfMessage, kServerHello);
    Send(server_, hello);
    ExpectReceived(client_, hello);
    Send(client_, Frame(Framing::kEndOfMessage, client_hello) + more);
  }

  void ExpectEnd() {
    client_.Close();
    EXPECT_EQ(reason_.get(), "");
  }

  // The server replies, ends the session, and both reach the client.
  void ExpectLastReply() {
    const std::string reply = Frame(Framing::kChunked, "<ok>");
    Send(server_, reply);
    server_.Close();
    ExpectReceived(client_, reply);
    EXPECT_EQ(Receive(client_, 1), "");
    EXPECT_EQ(reason_.get(), "");
  }

  // Sends byte by byte, until the relay ends.
  void SendSlowly() {
    for (int i = 0; i < 100; ++i) {
      Send(client_, "<");
      if (reason_.wait_for(milliseconds(5)) == std::future_status::ready) break;
    }
  }

  FileDescriptor client_;
  FileDescriptor server_;
  FileDescriptor relays_client_;
  FileDescriptor relays_server_;
  std::future<std::string> reason_;
};

constexpr char kOldHello[] =
    "<hello xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\"><capabilities>"
    "<capability>urn:ietf:params:netconf:base:1.0</capability>"
    "</capabilities></hello>";

TEST_F(RelayTest, CarriesMessagesOfBothSides) {
  Greet(ClientHello());
  Send(client_, "\n#1\n<\n#5\nrpc/>\n##\n");
  ExpectReceived(server_, "\n#6\n<rpc/>\n##\n");
  Send(server_, "\n#7\n<reply/\n#1\n>\n##\n");
  ExpectReceived(client_, "\n#8\n<reply/>\n##\n");
  ExpectEnd();
}

TEST_F(RelayTest, TranslatesForAClientOfNetconf10) {
  Greet(kOldHello);
  Send(client_, "]]>]]><!-- nothing -->]]>]]><rpc/>]]>]]>");
  // Malformed messages are replaced by a short one.
  ExpectReceived(server_, "\n#1\n<\n##\n\n#1\n<\n##\n\n#6\n<rpc/>\n##\n");
  Send(server_, "\n#7\n<reply>\n##\n");
  ExpectReceived(client_, "<reply>]]>]]>");
  // The library may cut the text that it quotes within a character.
  Send(server_, Frame(Framing::kChunked, "<rpc-error>ab\xc3</rpc-error>\n"));
  ExpectReceived(client_, "<rpc-error>ab\xef\xbf\xbd</rpc-error>\n]]>]]>");
  ExpectEnd();
}

TEST_F(RelayTest, CarriesMessagesMuchLargerThanABuffer) {
  Greet(ClientHello());
  const std::string message = "<rpc>" + std::string(3000000, 'x') + "</rpc>";
  const std::string framed = Frame(Framing::kChunked, message);
  std::thread sender([&] { Send(client_, framed); });
  EXPECT_TRUE(Receive(server_, framed.size()) == framed);
  sender.join();
  sender = std::thread([&] { Send(server_, framed); });
  EXPECT_TRUE(Receive(client_, framed.size()) == framed);
  sender.join();
  ExpectEnd();
}

TEST_F(RelayTest, GivesTheLastReplyBeforeItEndsWithTheServer) {
  Greet(ClientHello());
  Send(client_, Frame(Framing::kChunked, "<close-session/>"));
  ExpectLastReply();
}

TEST_F(RelayTest, GivesALargeLastReplyToASlowClient) {
  Greet(ClientHello(), LastRepliesWithin(milliseconds(50)));
  const std::string reply = Frame(Framing::kChunked, std::string(900000, 'x'));
  Send(server_, reply);
  server_.Close();
  EXPECT_EQ(reason_.wait_for(milliseconds(300)), std::future_status::timeout);
  EXPECT_TRUE(Receive(client_, reply.size() + 1) == reply);
  EXPECT_EQ(reason_.get(), "");
}

TEST_F(RelayTest, DropsAClientThatReadsTheLastReplyTooSlowly) {
  const int small = 1;
  setsockopt(relays_client_.get(), SOL_SOCKET, SO_SNDBUF, &small,
             sizeof(small));
  Greet(ClientHello(), LastRepliesWithin(milliseconds(100)));
  Send(server_, Frame(Framing::kChunked, std::string(120000, 'x')));
  server_.Close();
  while (reason_.wait_for(milliseconds(5)) == std::future_status::timeout) {
    if (Receive(client_, 1000).empty()) break;
  }
  EXPECT_EQ(reason_.get(), "nothing came or went for too long");
}

TEST_F(RelayTest, GivesTheLastReplyOfAServerThatReadsNoMore) {
  Greet(ClientHello());
  ASSERT_EQ(shutdown(server_.get(), SHUT_RD), 0);
  Send(client_, Frame(Framing::kChunked, "<get/>"));
  EXPECT_EQ(reason_.wait_for(milliseconds(100)), std::future_status::timeout);
  ExpectLastReply();
}

TEST_F(RelayTest, GivesTheRepliesToAClientThatSendsNoMore) {
  Greet(ClientHello());
  const std::string message = Frame(Framing::kChunked, "<get/>");
  for (int i = 0; i < 6; ++i) Send(client_, message);
  ASSERT_EQ(shutdown(client_.get(), SHUT_WR), 0);
  for (int i = 0; i < 6; ++i) {
    ExpectReceived(server_, message);
    EXPECT_EQ(reason_.wait_for(milliseconds(50)), std::future_status::timeout);
    Send(server_, message);
    ExpectReceived(client_, message);
  }
  EXPECT_EQ(Receive(client_, 1), "");
  EXPECT_EQ(reason_.get(), "");
}

TEST_F(RelayTest, PassesOnAllThatAClientSentWhoDidNotReadItsReply) {
  Greet(ClientHello());
  const std::string message = Frame(Framing::kChunked, "<get/>");
  const std::string large =
      Frame(Framing::kChunked, "<get>" + std::string(40000, 'x') + "</get>");
  // 1. The relay waits to write a reply, and reads only one request more.
  Send(client_, message);
  ExpectReceived(server_, message);
  Send(server_, Frame(Framing::kChunked, std::string(5000000, 'x')));
  Send(client_, message);
  EXPECT_EQ(reason_.wait_for(milliseconds(50)), std::future_status::timeout);
  // 2. The rest of them takes several reads.
  for (int i = 0; i < 3; ++i) Send(client_, large);
  client_.Close();
  ExpectReceived(server_, message);
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(Receive(server_, large.size()) == large);
  }
  EXPECT_EQ(reason_.get(), "");
}

TEST_F(RelayTest, PassesNoRequestWhileTheClientHasMuchToRead) {
  Greet(ClientHello());
  const std::string message = Frame(Framing::kChunked, "<get/>");
  const std::string reply = Frame(Framing::kChunked, std::string(5000000, 'x'));
  for (int i = 0; i < 5; ++i) Send(client_, message);
  for (int i = 0; i < 4; ++i) ExpectReceived(server_, message);
  pollfd more{server_.get(), POLLIN, 0};
  EXPECT_EQ(poll(&more, 1, 50), 0) << "four are not answered";
  Send(server_, reply);  // does not wait for the client
  EXPECT_EQ(poll(&more, 1, 50), 0) << "the reply is not read";
  EXPECT_TRUE(Receive(client_, reply.size()) == reply);
  ExpectReceived(server_, message);
  ExpectEnd();
}

TEST_F(RelayTest, DropsAClientThatGetsNoSession) {
  Start({});
  server_.Close();
  EXPECT_EQ(reason_.get(), "got no session");
}

TEST_F(RelayTest, TakesBlanksBeforeAMessage) {
  Greet("\n" + ClientHello());
  Send(client_, Frame(Framing::kChunked, " \t\r\n<?xml version='1.0'?><a/>"));
  ExpectReceived(server_,
                 Frame(Framing::kChunked, "<?xml version='1.0'?><a/>"));
  ExpectEnd();
}

TEST_F(RelayTest, DropsAClientWhoseHelloIsTooSlow) {
  Start(HelloWithin(milliseconds(100)));
  SendSlowly();
  EXPECT_EQ(reason_.get(), "no hello in time");
}

TEST_F(RelayTest, DropsAClientThatSendsAMessageTooSlowly) {
  Greet(ClientHello(), IdleFor(milliseconds(100)));
  Send(client_, "\n#100000\n");
  SendSlowly();
  EXPECT_EQ(reason_.get(), "nothing came or went for too long");
}

TEST_F(RelayTest, DropsAClientThatDoesNotReadItsReplies) {
  Greet(ClientHello(), IdleFor(milliseconds(100)));
  Send(client_, Frame(Framing::kChunked, "<get/>"));
  Send(server_, Frame(Framing::kChunked, std::string(5000000, 'x')));
  EXPECT_EQ(reason_.get(), "nothing came or went for too long");
}

TEST_F(RelayTest, WaitsForTheServerAsLongAsItTakes) {
  Greet(ClientHello(), IdleFor(milliseconds(50)),
        Frame(Framing::kChunked, "<commit/>"));
  EXPECT_EQ(reason_.wait_for(milliseconds(300)), std::future_status::timeout);
  const std::string reply = Frame(Framing::kChunked, "<ok>");
  Send(server_, reply);
  ExpectReceived(client_, reply);
  EXPECT_EQ(reason_.get(), "nothing came or went for too long");
}

TEST_F(RelayTest, ReportsAClientThatEndsWithinAMessage) {
  Greet(ClientHello());
  Send(client_, "\n#100\n<rpc");
  client_.Close();
  EXPECT_EQ(reason_.get(), "ended within a message");
}

struct Dropped {
  Limits limits;
  bool is_greeted;
  std::string sent;
  const char* reason;
};

class RelayDropsTest : public RelayTest,
                       public ::testing::WithParamInterface<Dropped> {};

TEST_P(RelayDropsTest, AClientForAReason) {
  if (GetParam().is_greeted) {
    Greet(ClientHello(), GetParam().limits);
  } else {
    Start(GetParam().limits);
  }
  Send(client_, GetParam().sent);
  EXPECT_EQ(reason_.get(), GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(
    Messages, RelayDropsTest,
    ::testing::Values(
        Dropped{{},
                false,
                std::string(100000, ' '),
                "a message of more than 65536 bytes"},
        Dropped{{1000}, true, "\n#1001\n", "a message of more than 1000 bytes"},
        Dropped{{}, true, "<rpc/>]]>]]>", "no chunk where one must begin"}));

}  // namespace
}  // namespace ipav::transport
