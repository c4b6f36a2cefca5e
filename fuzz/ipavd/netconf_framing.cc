// Splits streams of bytes, in any pieces, into NETCONF messages: with the
// deframer alone, and, after a client's hello, with the relay between client
// and server.
//
// Legal, for any pieces: the messages, in order, and the refusal of the whole
// stream at once. A message that is framed again gives the same message. The
// server gets the same messages in chunks, or those before a refusal as far as
// they were passed on. The client gets what the server sent, in the framing of
// its hello.
//
// Input: a line, and the stream after it. The line: "marks", "chunks" or
// "relay"; the largest size of a message; the number of repetitions of the
// stream; the sizes of the pieces, used in turns.

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/support/finding.h"
#include "fuzz/support/target.h"
#include "host/base/file_descriptor.h"
#include "ipavd/transport/byte_stream.h"
#include "ipavd/transport/relay.h"
#include "ipavd/transport/request.h"
#include "netconf/framing.h"
#include "netconf/hello.h"

namespace ipav::fuzz {

namespace {

using netconf::Deframer;
using netconf::Frame;
using netconf::Framing;
using netconf::FramingError;
using transport::ByteStream;

constexpr std::size_t kMaxLimit = 100000;
constexpr std::size_t kMaxRepeats = 100;
constexpr std::size_t kMaxStream = std::size_t{1} << 20;
constexpr std::size_t kMaxHello = std::size_t{64} << 10;

struct Input {
  std::string mode;
  std::size_t limit = 0;
  std::vector<std::size_t> pieces;
  std::string stream;
};

Input InputOf(const std::string& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  std::istringstream words(text.substr(0, end));
  Input input;
  std::size_t repeats = 0;
  words >> input.mode >> input.limit >> repeats;
  input.limit = std::min(input.limit, kMaxLimit);
  for (std::size_t size = 0; words >> size;) {
    input.pieces.push_back(std::clamp(size, std::size_t{1}, kMaxStream));
  }
  if (input.pieces.empty()) input.pieces = {kMaxStream};
  const std::string stream = text.substr(std::min(end + 1, text.size()));
  repeats = std::clamp(repeats, std::size_t{1}, kMaxRepeats);
  for (std::size_t i = 0; i < repeats && input.stream.size() < kMaxStream;
       ++i) {
    input.stream += stream;
  }
  return input;
}

// A stream in the pieces of an input.
class Pieces {
 public:
  explicit Pieces(const Input& input) : input_(input) {}

  // None at the end.
  std::optional<std::string> Next() {
    if (at_ >= input_.stream.size()) return std::nullopt;
    const std::size_t size = input_.pieces[number_++ % input_.pieces.size()];
    const std::string piece = input_.stream.substr(at_, size);
    at_ += size;
    return piece;
  }

 private:
  const Input& input_;
  std::size_t at_ = 0;
  std::size_t number_ = 0;
};

// ---- The framings ----------------------------------------------------------

struct Deframed {
  std::vector<std::string> messages;
  bool is_refused = false;  // after them
  bool has_part = false;    // of a further message

  // Whether all of the stream is messages.
  bool is_whole() const { return !is_refused && !has_part; }
};

Deframed Deframe(const Input& input, Framing framing) {
  Deframer deframer(input.limit);
  deframer.set_framing(framing);
  Deframed result;
  Pieces pieces(input);
  try {
    while (const auto piece = pieces.Next()) {
      deframer.Add(*piece);
      while (auto message = deframer.Next()) {
        result.messages.push_back(*std::move(message));
      }
    }
  } catch (const FramingError&) {
    result.is_refused = true;
  }
  result.has_part = !result.is_refused && deframer.has_part();
  return result;
}

Deframed DeframeAtOnce(const std::string& stream, std::size_t limit,
                       Framing framing) {
  return Deframe({"", limit, {kMaxStream + limit}, stream}, framing);
}

void CheckFraming(const Input& input, Framing framing) {
  const Deframed expected = DeframeAtOnce(input.stream, input.limit, framing);
  const Deframed found = Deframe(input, framing);
  Require(found.messages == expected.messages, "other messages");
  Require(found.is_refused == expected.is_refused,
          "a stream refused or taken wrongly");
  Require(found.has_part == expected.has_part,
          "an end within a message, or not");
  for (const std::string& message : expected.messages) {
    if (message.empty()) continue;
    const Deframed read =
        Deframe({"", message.size(), {1}, Frame(framing, message)}, framing);
    Require(read.is_whole() && read.messages.size() == 1 &&
                read.messages[0] == message,
            "a message that is not read back");
  }
}

// ---- The process between client and server ---------------------------------

// Always ready, so that nothing is waited for.
class ReadyStream : public ByteStream {
 public:
  int fd() const override { return fd_.get(); }
  short Events(bool reads, bool writes) const override {
    return static_cast<short>((reads ? POLLIN : 0) | (writes ? POLLOUT : 0));
  }

 private:
  base::FileDescriptor fd_{eventfd(1, EFD_CLOEXEC)};
};

class Client : public ReadyStream {
 public:
  explicit Client(const Input& input) : pieces_(input), sizes_(input.pieces) {}

  std::optional<std::string> Read() override { return pieces_.Next(); }

  std::optional<std::size_t> Write(std::string_view bytes) override {
    const std::size_t size =
        std::min(bytes.size(), sizes_[number_++ % sizes_.size()]);
    received += bytes.substr(0, size);
    return size;
  }

  std::string received;

 private:
  Pieces pieces_;
  const std::vector<std::size_t>& sizes_;
  std::size_t number_ = 0;
};

constexpr char kServerHello[] = "<hello/>";

// The server's reply to the message with that number.
std::string Reply(std::size_t number) {
  return "<rpc-reply>" + std::to_string(number) + "</rpc-reply>";
}

// Answers each whole message. Throws for wrong framing.
class Server : public ReadyStream {
 public:
  Server() { deframer_.set_framing(Framing::kChunked); }

  std::optional<std::string> Read() override {
    return std::exchange(to_send_, {});
  }

  std::optional<std::size_t> Write(std::string_view bytes) override {
    deframer_.Add(bytes);
    while (const auto message = deframer_.Next()) {
      to_send_ += Frame(Framing::kChunked, Reply(received.size()));
      received.push_back(*message);
    }
    return bytes.size();
  }

  bool has_part() const { return deframer_.has_part(); }

  std::vector<std::string> received;

 private:
  std::string to_send_ = Frame(Framing::kEndOfMessage, kServerHello);
  Deframer deframer_{std::string::npos};
};

struct Session {
  std::optional<Framing> framing;  // none: there was no hello
  Deframed stream;                 // after the hello
};

// The expected session for all bytes that a client sends.
Session SessionOf(const Input& input) {
  const std::size_t end = input.stream.find("]]>]]>");
  const std::string hello =
      input.stream.substr(0, end == std::string::npos ? end : end + 6);
  Session session;
  session.stream = DeframeAtOnce(hello, kMaxHello, Framing::kEndOfMessage);
  if (session.stream.messages.empty()) return session;
  try {
    session.framing = netconf::FramingAfter(
        transport::WithoutBlanksBefore(session.stream.messages[0]));
    session.stream = DeframeAtOnce(input.stream.substr(hello.size()),
                                   input.limit, *session.framing);
  } catch (const netconf::HelloError&) {
    session.stream = {{}, true, false};
  }
  return session;
}

void CheckRelay(const Input& input) {
  const auto& [framing, sent] = SessionOf(input);
  Client client(input);
  Server server;
  transport::Limits limits;
  limits.max_message = input.limit;
  limits.idle = base::kNoTimeLimit;
  const std::string reason = transport::Relay(&client, &server, limits).Run();
  Require(reason.empty() == sent.is_whole(), "a client dropped, or not");

  // 1. The server gets messages that the client sent, and nothing else.
  const std::size_t count = server.received.size();
  Require(sent.is_refused ? count <= sent.messages.size()
                          : count == sent.messages.size() && !server.has_part(),
          "another number of messages for the server");
  for (std::size_t i = 0; i < count; ++i) {
    const std::string_view message =
        transport::WithoutBlanksBefore(sent.messages[i]);
    Require(server.received[i] == transport::PrepareRequest(message),
            "another message for the server");
  }
  // 2. The client gets what the server sent, in its framing; if it is dropped,
  // the beginning.
  std::string expected = Frame(Framing::kEndOfMessage, kServerHello);
  for (std::size_t i = 0; framing.has_value() && i < count; ++i) {
    expected += Frame(*framing, Reply(i));
  }
  Require(sent.is_whole() ? client.received == expected
                          : expected.rfind(client.received, 0) == 0,
          "other answers for the client");
}

void Check(const Input& input) {
  if (input.mode == "marks") CheckFraming(input, Framing::kEndOfMessage);
  if (input.mode == "chunks") CheckFraming(input, Framing::kChunked);
  if (input.mode == "relay") CheckRelay(input);
}

}  // namespace

}  // namespace ipav::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ipav::fuzz::Check(ipav::fuzz::InputOf(std::string(data, data + size)));
  return 0;
}
