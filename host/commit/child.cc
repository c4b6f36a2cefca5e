#include "host/commit/child.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <system_error>
#include <utility>

#include "host/commit/supervisor.h"

namespace ipav::commit {

namespace {

using base::FileDescriptor;
using base::TimeLimit;

std::system_error SystemError(int error, const char* call) {
  return {error, std::generic_category(), call};
}

std::system_error SystemError(const char* call) {
  return SystemError(errno, call);
}

struct Pipe {
  FileDescriptor read_end;
  FileDescriptor write_end;
};

// The same open file under a number above those of the standard files. If the
// host has closed a standard file, a pipe would get its number and be
// overwritten.
FileDescriptor AboveStandardFiles(const FileDescriptor& file) {
  const int copy = fcntl(file.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (copy < 0) throw SystemError("fcntl");
  return FileDescriptor(copy);
}

Pipe MakePipe() {
  std::array<int, 2> fds{};
  if (pipe(fds.data()) != 0) throw SystemError("pipe");
  const FileDescriptor read_end(fds[0]);
  const FileDescriptor write_end(fds[1]);
  return {AboveStandardFiles(read_end), AboveStandardFiles(write_end)};
}

// A length or a count as sent over the pipe; both ends are the same program.
std::string EncodeNumber(std::size_t number) {
  const auto value = static_cast<std::uint32_t>(number);
  std::string bytes(sizeof(value), '\0');
  std::memcpy(bytes.data(), &value, sizeof(value));
  return bytes;
}

std::string Encoded(const Message& message) {
  std::string bytes(1, message.kind);
  bytes += EncodeNumber(message.texts.size());
  for (const std::string& text : message.texts) {
    bytes += EncodeNumber(text.size()) + text;
  }
  return bytes;
}

// Parses messages from the bytes that were read from the pipe.
class Decoder {
 public:
  explicit Decoder(const std::string& bytes) : bytes_(bytes) {}

  // False at the end, also in the middle of a truncated message.
  bool Next(Message* message) {
    if (at_ >= bytes_.size()) return false;
    message->kind = bytes_[at_++];
    message->texts.clear();
    std::uint32_t count = 0;
    if (!Number(&count)) return false;
    for (; count > 0; --count) {
      std::uint32_t length = 0;
      if (!Number(&length) || bytes_.size() - at_ < length) return false;
      message->texts.push_back(bytes_.substr(at_, length));
      at_ += length;
    }
    return true;
  }

 private:
  bool Number(std::uint32_t* number) {
    if (bytes_.size() - at_ < sizeof(*number)) return false;
    std::memcpy(number, bytes_.data() + at_, sizeof(*number));
    at_ += sizeof(*number);
    return true;
  }

  const std::string& bytes_;
  std::size_t at_ = 0;
};

struct Connection {
  FileDescriptor host;
  FileDescriptor server;
};

Connection MakeConnection() {
  std::array<int, 2> fds{};
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, fds.data()) != 0) {
    throw SystemError("socketpair");
  }
  const FileDescriptor host(fds[0]);
  const FileDescriptor server(fds[1]);
  return {AboveStandardFiles(host), AboveStandardFiles(server)};
}

// Sends the output of the children to the host. It is unbuffered, so that
// output before a crash is not lost.
void RedirectOutput(const FileDescriptor& output) {
  dup2(output.get(), STDOUT_FILENO);
  dup2(output.get(), STDERR_FILENO);
  static_cast<void>(std::setvbuf(stdout, nullptr, _IONBF, 0));
}

// The capacity of a pipe.
constexpr std::size_t kReadSize = 65536;

// What most children take, in milliseconds.
constexpr int kShortLife = 5;

// What the host reads of one pipe, or of the supervisor.
struct Inlet {
  const FileDescriptor& file;
  std::size_t max_size;
  std::string bytes;

  bool is_full() const { return bytes.size() == max_size; }
};

// All that the host reads of a child and its supervisor.
class Inlets {
 public:
  Inlets(const FileDescriptor& message_pipe, const FileDescriptor& output_pipe,
         const FileDescriptor& control)
      : messages{message_pipe, kMaxMessages, ""},
        output{output_pipe, kMaxOutput, ""},
        end{control, sizeof(ChildEnd), ""} {
    for (std::size_t i = 0; i < open_.size(); ++i) {
      open_.at(i) = {inlets_.at(i)->file.get(), POLLIN, 0};
    }
  }

  // Waits a moment for the end only: each wake-up of the host costs the child
  // time, and most children have ended by then. What they write fits the pipes,
  // or waits for us.
  void AwaitShortLife() {
    static_cast<void>(poll(&open_.back(), 1, kShortLife));
  }

  // Reads what there is. Waits for it, at most so many milliseconds (-1: as
  // long as it takes). False if there was nothing.
  bool Read(int milliseconds) {
    const int ready = poll(open_.data(), open_.size(), milliseconds);
    if (ready < 0 && errno != EINTR) throw SystemError("poll");
    for (std::size_t i = 0; ready > 0 && i < open_.size(); ++i) {
      ReadSome(&open_.at(i), inlets_.at(i));
    }
    return ready != 0;
  }

  // Whether the child has ended, or the supervisor.
  bool have_end() const { return open_.back().fd < 0; }

  Inlet messages;
  Inlet output;
  Inlet end;

 private:
  // Keeps what there is room for. The file is not read any more at its end, and
  // that of the supervisor when it has answered.
  void ReadSome(pollfd* entry, Inlet* inlet) {
    if (entry->fd < 0 || entry->revents == 0) return;
    const ssize_t count = read(entry->fd, buffer_.data(), buffer_.size());
    if (count > 0) {
      const std::size_t room = inlet->max_size - inlet->bytes.size();
      inlet->bytes.append(buffer_.data(),
                          std::min(room, static_cast<std::size_t>(count)));
    } else if (count == 0 || errno != EINTR) {
      entry->fd = -1;
    }
    if (inlet == &end && end.is_full()) entry->fd = -1;
  }

  std::array<Inlet*, 3> inlets_ = {&messages, &output, &end};
  std::array<pollfd, 3> open_{};
  std::string buffer_ = std::string(kReadSize, '\0');
};

// What the supervisor sent. If it was killed before it reported, its own status
// replaces the child's.
ChildEnd EndOf(const std::string& bytes) {
  ChildEnd end{0, SIGKILL, 0};
  if (bytes.size() == sizeof(end)) {
    std::memcpy(&end, bytes.data(), sizeof(end));
  }
  if (end.error != 0) throw SystemError(end.error, "fork");
  return end;
}

// How much longer than for its child a server is waited for: it may hang in
// what it does to warm up.
constexpr TimeLimit kGrace{1000};

}  // namespace

struct ForkServer::Received {
  std::string messages;
  std::string output;
  std::string end;
  bool too_much;  // the child wrote more than there is room for
};

void Reporter::Send(const Message& message) const {
  // It fails if the parent has ended.
  static_cast<void>(base::WriteAll(fd_, Encoded(message)));
}

void Reporter::SendAll(const std::vector<Message>& messages) const {
  std::string bytes;
  for (const Message& message : messages) bytes += Encoded(message);
  static_cast<void>(base::WriteAll(fd_, bytes));
}

ForkServer::ForkServer(Body body, std::function<void()> warm_up)
    : body_(std::move(body)), warm_up_(std::move(warm_up)) {}

ForkServer::~ForkServer() {
  if (server_ >= 0) static_cast<void>(Stop());
}

void ForkServer::Start() {
  Connection control = MakeConnection();
  Pipe messages = MakePipe();
  Pipe output = MakePipe();
  // Otherwise a child would print the content of our buffers a second time.
  static_cast<void>(std::fflush(nullptr));
  server_ = fork();
  if (server_ < 0) throw SystemError("fork");
  if (server_ == 0) {
    control.host.Close();
    messages.read_end.Close();
    output.read_end.Close();
    RedirectOutput(output.write_end);
    const auto body = [&](const std::string& request) {
      body_(request, Reporter(messages.write_end.get()));
      static_cast<void>(std::fflush(nullptr));
    };
    BecomeSupervisor(control.server.get(), {body, warm_up_});
  }
  control_ = std::move(control.host);
  messages_ = std::move(messages.read_end);
  output_ = std::move(output.read_end);
}

// Ends the server, which has no child now. Returns its status.
int ForkServer::Stop() {
  control_.Close();
  // The pipe is cut off when the server ends.
  pollfd server_end = {messages_.get(), 0, 0};
  const int grace = static_cast<int>(kGrace.count());
  if (poll(&server_end, 1, grace) == 0) kill(server_, SIGKILL);
  messages_.Close();
  output_.Close();
  int wait_status = SIGKILL;
  while (waitpid(server_, &wait_status, 0) < 0 && errno == EINTR) {
  }
  server_ = -1;
  return wait_status;
}

ForkServer::Received ForkServer::Receive(TimeLimit limit) {
  const bool is_limited = limit != base::kNoTimeLimit;
  const base::Countdown countdown(is_limited ? limit + kGrace : limit);
  Inlets inlets(messages_, output_, control_);
  const auto is_full = [&] {
    return inlets.messages.is_full() || inlets.output.is_full();
  };
  bool too_much = false;
  // 1. Most children end soon.
  inlets.AwaitShortLife();
  // 2. Until the child has ended, or the server.
  while (!inlets.have_end()) {
    if (!inlets.Read(countdown.ForPoll())) kill(server_, SIGKILL);
    if (!too_much && is_full()) {
      too_much = true;
      shutdown(control_.get(), SHUT_WR);  // kills the child
    }
  }
  // 3. What is on its way. A process that was not killed may keep the pipes
  // open.
  while (inlets.Read(0)) {
  }
  too_much = too_much || is_full();
  return {std::move(inlets.messages.bytes), std::move(inlets.output.bytes),
          std::move(inlets.end.bytes), too_much};
}

ChildReport ForkServer::Run(const std::string& request, TimeLimit limit) {
  if (server_ < 0) Start();
  SendRequest(control_.get(), request, limit);
  Received received = Receive(limit);
  ChildEnd end = EndOf(received.end);
  const bool reported = received.end.size() == sizeof(end);
  if (!reported || received.too_much) {
    const int status = Stop();
    if (!reported) end.wait_status = status;
  }
  ChildReport report{
      {}, std::move(received.output), end.wait_status, Stopped::kNot};
  if (end.timed_out != 0) report.stopped = Stopped::kTimeLimit;
  if (received.too_much) report.stopped = Stopped::kOutputLimit;
  Decoder decoder(received.messages);
  for (Message message{}; decoder.Next(&message);) {
    report.messages.push_back(message);
  }
  return report;
}

ChildReport RunInChild(const std::function<void(const Reporter&)>& body,
                       TimeLimit limit) {
  ForkServer server(
      [&](const std::string&, const Reporter& reporter) { body(reporter); });
  return server.Run("", limit);
}

}  // namespace ipav::commit
