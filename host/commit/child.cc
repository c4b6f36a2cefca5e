#include "host/commit/child.h"

#include <fcntl.h>
#include <poll.h>
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

#include "host/base/file_descriptor.h"
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

// The pipes between the host and the child.
struct Lines {
  Pipe messages;
  Pipe output;
  Pipe lifeline;  // the host closes it to kill the child
  Pipe end;       // the supervisor's ChildEnd
};

// Each process closes the ends that belong to the other.
void KeepHostEnds(Lines* lines) {
  lines->messages.write_end.Close();
  lines->output.write_end.Close();
  lines->lifeline.read_end.Close();
  lines->end.write_end.Close();
}

void KeepChildEnds(Lines* lines) {
  lines->messages.read_end.Close();
  lines->output.read_end.Close();
  lines->lifeline.write_end.Close();
  lines->end.read_end.Close();
}

// Sends the child's output to the host. It is unbuffered, so that output before
// a crash is not lost.
void RedirectOutput(const FileDescriptor& output) {
  dup2(output.get(), STDOUT_FILENO);
  dup2(output.get(), STDERR_FILENO);
  static_cast<void>(std::setvbuf(stdout, nullptr, _IONBF, 0));
}

// The capacity of a pipe.
constexpr std::size_t kReadSize = 65536;

// One of the pipes that the host reads.
struct Inlet {
  const FileDescriptor& pipe;
  std::size_t max_size;
  std::string bytes;
};

// Reads a pipe, and keeps what there is room for; disables the entry at the
// end.
void ReadSome(pollfd* entry, Inlet* inlet, std::string* buffer) {
  if (entry->fd < 0 || entry->revents == 0) return;
  const ssize_t count = read(entry->fd, buffer->data(), buffer->size());
  if (count > 0) {
    const std::size_t room = inlet->max_size - inlet->bytes.size();
    inlet->bytes.append(buffer->data(),
                        std::min(room, static_cast<std::size_t>(count)));
  } else if (count == 0 || errno != EINTR) {
    entry->fd = -1;
  }
}

struct Received {
  std::string messages;
  std::string output;
  std::string end;
  bool too_much;  // the child wrote more than there is room for
};

// Reads all pipes until the supervisor has ended. A process that it could not
// kill may keep the other ends open.
Received Receive(Lines* lines) {
  std::array<Inlet, 3> inlets = {{{lines->messages.read_end, kMaxMessages, ""},
                                  {lines->output.read_end, kMaxOutput, ""},
                                  {lines->end.read_end, sizeof(ChildEnd), ""}}};
  std::array<pollfd, 3> open{};
  for (std::size_t i = 0; i < open.size(); ++i) {
    open.at(i) = {inlets.at(i).pipe.get(), POLLIN, 0};
  }
  const auto is_open = [](const pollfd& entry) { return entry.fd >= 0; };
  std::string buffer(kReadSize, '\0');
  bool too_much = false;
  while (std::any_of(open.begin(), open.end(), is_open)) {
    const bool ended = !is_open(open.back());
    const int ready = poll(open.data(), open.size(), ended ? 0 : -1);
    if (ready < 0 && errno != EINTR) throw SystemError("poll");
    if (ready == 0) break;
    for (std::size_t i = 0; ready > 0 && i < open.size(); ++i) {
      ReadSome(&open.at(i), &inlets.at(i), &buffer);
    }
    too_much = inlets[0].bytes.size() == kMaxMessages ||
               inlets[1].bytes.size() == kMaxOutput;
    if (too_much) lines->lifeline.write_end.Close();
  }
  return {std::move(inlets[0].bytes), std::move(inlets[1].bytes),
          std::move(inlets[2].bytes), too_much};
}

// Waits for the supervisor. Returns its status, which replaces the child's if
// the supervisor was killed before it reported.
int WaitFor(pid_t supervisor) {
  int wait_status = SIGKILL;
  while (waitpid(supervisor, &wait_status, 0) < 0 && errno == EINTR) {
  }
  return wait_status;
}

ChildEnd EndOf(const std::string& bytes, int status_of_supervisor) {
  ChildEnd end{0, status_of_supervisor, 0};
  if (bytes.size() == sizeof(end)) {
    std::memcpy(&end, bytes.data(), sizeof(end));
  }
  if (end.error != 0) throw SystemError(end.error, "fork");
  return end;
}

Stopped WhyStopped(const Received& received, const ChildEnd& end) {
  if (received.too_much) return Stopped::kOutputLimit;
  return end.timed_out != 0 ? Stopped::kTimeLimit : Stopped::kNot;
}

}  // namespace

void Reporter::Hold(const Message& message) const {
  held_ += message.kind;
  held_ += EncodeNumber(message.texts.size());
  for (const std::string& text : message.texts) {
    held_ += EncodeNumber(text.size());
    held_ += text;
  }
}

void Reporter::Send(const Message& message) const {
  Hold(message);
  // It fails if the parent has ended.
  static_cast<void>(base::WriteAll(fd_, std::exchange(held_, {})));
}

ChildReport RunInChild(const std::function<void(const Reporter&)>& body,
                       TimeLimit limit) {
  Lines lines = {MakePipe(), MakePipe(), MakePipe(), MakePipe()};
  // Otherwise the child would print the content of our buffers a second time.
  static_cast<void>(std::fflush(nullptr));
  const pid_t supervisor = fork();
  if (supervisor < 0) throw SystemError("fork");
  if (supervisor == 0) {
    KeepChildEnds(&lines);
    BecomeSupervisor(lines.lifeline.read_end.get(), lines.end.write_end.get(),
                     limit, [&] {
                       RedirectOutput(lines.output.write_end);
                       body(Reporter(lines.messages.write_end.get()));
                       static_cast<void>(std::fflush(nullptr));
                     });
  }

  KeepHostEnds(&lines);
  Received received = Receive(&lines);
  const ChildEnd end = EndOf(received.end, WaitFor(supervisor));
  ChildReport report{{},
                     std::move(received.output),
                     end.wait_status,
                     WhyStopped(received, end)};
  Decoder decoder(received.messages);
  for (Message message{}; decoder.Next(&message);) {
    report.messages.push_back(message);
  }
  return report;
}

}  // namespace ipav::commit
