// Splits streams of bytes, in any pieces, into NETCONF messages: with the
// framings alone, and, after a client's hello, with the relay between client
// and server.
//
// Legal, for any pieces: the messages, in order, that a simple reader finds in
// the whole stream, and a refusal where it finds invalid framing or a message
// that is too large. The server gets the same messages in chunks, or those
// before a refusal as far as they were passed on. The client gets what the
// server sent, in the framing of its hello.
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

#include "fuzz/ipavd/plain_framing.h"
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

using base::FileDescriptor;
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

void RequireSame(const Deframed& found, const Deframed& expected) {
  Require(found.messages == expected.messages, "other messages");
  Require(found.is_refused == expected.is_refused,
          "a stream refused or taken wrongly");
  Require(found.is_refused || found.has_part == expected.has_part,
          "an end within a message, or not");
}

Deframed InPieces(const Input& input, Framing framing) {
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
  result.has_part = deframer.has_part();
  return result;
}

void CheckFraming(const Input& input, Framing framing) {
  const Deframed expected = framing == Framing::kChunked
                                ? PlainOfChunks(input.stream, input.limit)
                                : PlainByMark(input.stream, input.limit);
  RequireSame(InPieces(input, framing), expected);
  for (const std::string& message : expected.messages) {
    if (message.empty()) continue;
    Input again{"", message.size(), {1}, Frame(framing, message)};
    // A message of chunks may hold a mark.
    const Deframed read = InPieces(again, framing);
    Require(!read.is_refused && read.messages.size() == 1 &&
                read.messages[0] == message,
            "a message that is not read back");
  }
}

// ---- The process between client and server ---------------------------------

// Always ready, so that nothing is waited for.
class ReadyStream : public ByteStream {
 public:
  ReadyStream() : fd_(eventfd(1, EFD_CLOEXEC)) {}

  int fd() const override { return fd_.get(); }
  short Events(bool reads, bool writes) const override {
    return static_cast<short>((reads ? POLLIN : 0) | (writes ? POLLOUT : 0));
  }

 private:
  FileDescriptor fd_;
};

class Client : public ReadyStream {
 public:
  explicit Client(const Input& input) : pieces_(input), sizes_(input.pieces) {}

  // It stays for some answers.
  std::optional<std::string> Read() override {
    auto piece = pieces_.Next();
    if (!piece.has_value() && patience_-- > 0) return "";
    return piece;
  }

  std::optional<std::size_t> Write(std::string_view bytes) override {
    const std::size_t size =
        std::min(bytes.size(), sizes_[number_++ % sizes_.size()]);
    received_ += bytes.substr(0, size);
    return size;
  }

  const std::string& received() const { return received_; }

 private:
  Pieces pieces_;
  const std::vector<std::size_t>& sizes_;
  std::size_t number_ = 0;
  int patience_ = 50;
  std::string received_;
};

constexpr char kServerHello[] = "<hello/>";

// What the server says to its message of that number.
std::string Reply(std::size_t number) {
  return "<rpc-reply>" + std::to_string(number) + "</rpc-reply>";
}

// Answers each message that it has whole.
class Server : public ReadyStream {
 public:
  std::optional<std::string> Read() override {
    return std::exchange(to_send_, {});
  }

  std::optional<std::size_t> Write(std::string_view bytes) override {
    received_ += bytes;
    const std::size_t whole =
        PlainOfChunks(received_, std::string::npos).messages.size();
    for (; answered_ < whole; ++answered_) {
      to_send_ += Frame(Framing::kChunked, Reply(answered_));
    }
    return bytes.size();
  }

  Deframed received() const {
    return PlainOfChunks(received_, std::string::npos);
  }

  std::size_t answered() const { return answered_; }

 private:
  std::string to_send_ = Frame(Framing::kEndOfMessage, kServerHello);
  std::string received_;
  std::size_t answered_ = 0;
};

struct Session {
  std::optional<Framing> framing;  // none: there was no hello
  Deframed stream;                 // behind the hello
};

// What a plain reader makes of all that a client sends.
Session PlainSession(const Input& input) {
  Session session;
  const Deframed hello = PlainByMark(input.stream, kMaxHello, 1);
  if (hello.messages.empty()) {
    session.stream = hello;
    return session;
  }
  try {
    session.framing = netconf::FramingAfter(hello.messages[0]);
  } catch (const netconf::HelloError&) {
    session.stream.is_refused = true;
    return session;
  }
  const std::string rest = input.stream.substr(hello.end);
  session.stream = session.framing == Framing::kChunked
                       ? PlainOfChunks(rest, input.limit)
                       : PlainByMark(rest, input.limit);
  return session;
}

// The server gets messages that the client sent, and nothing else.
void RequireSentOn(const Deframed& received, const Deframed& sent) {
  Require(!received.is_refused && (!received.has_part || sent.is_refused),
          "no framing towards the server");
  Require(
      received.messages.size() <= sent.messages.size() &&
          (sent.is_refused || received.messages.size() == sent.messages.size()),
      "another number of messages for the server");
  for (std::size_t i = 0; i < received.messages.size(); ++i) {
    const Deframed expected = PlainOfChunks(
        transport::FrameRequest(sent.messages[i]), std::string::npos);
    Require(expected.messages.size() == 1 &&
                received.messages[i] == expected.messages[0],
            "another message for the server");
  }
}

// The client gets what the server said, as far as it went, in its framing.
void RequireAnswers(const std::string& received, std::size_t answered,
                    const std::optional<Framing>& framing) {
  std::string expected = Frame(Framing::kEndOfMessage, kServerHello);
  for (std::size_t i = 0; framing.has_value() && i < answered; ++i) {
    expected += Frame(*framing, Reply(i));
  }
  Require(expected.rfind(received, 0) == 0, "other answers for the client");
}

void CheckRelay(const Input& input) {
  const Session expected = PlainSession(input);
  Client client(input);
  Server server;
  transport::Limits limits;
  limits.max_message = input.limit;
  limits.idle = base::kNoTimeLimit;
  const std::string reason = transport::Relay(&client, &server, limits).Run();
  Require(reason.empty() ==
              !(expected.stream.is_refused || expected.stream.has_part),
          "a client dropped, or not");
  const Deframed sent = expected.framing ? expected.stream : Deframed{};
  Deframed bounded = sent;
  bounded.is_refused = expected.stream.is_refused;
  RequireSentOn(server.received(), bounded);
  RequireAnswers(client.received(), server.answered(), expected.framing);
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
