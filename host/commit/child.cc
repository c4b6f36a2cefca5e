#include "commit/child.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <system_error>
#include <utility>

namespace ipav::commit {

namespace {

std::system_error SystemError(const char* call) {
  return {errno, std::generic_category(), call};
}

class FileDescriptor {
 public:
  explicit FileDescriptor(int fd = -1) : fd_(fd) {}
  ~FileDescriptor() { Close(); }
  FileDescriptor(FileDescriptor&& other) noexcept
      : fd_(std::exchange(other.fd_, -1)) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  FileDescriptor& operator=(FileDescriptor&&) = delete;

  int get() const { return fd_; }
  void Close() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
  }

 private:
  int fd_;
};

struct Pipe {
  FileDescriptor read_end;
  FileDescriptor write_end;
};

Pipe MakePipe() {
  std::array<int, 2> fds{};
  if (pipe(fds.data()) != 0) throw SystemError("pipe");
  return {FileDescriptor(fds[0]), FileDescriptor(fds[1])};
}

// A length or a count on the line; both ends are the same program.
std::string Encode(std::size_t number) {
  const auto value = static_cast<std::uint32_t>(number);
  std::string bytes(sizeof(value), '\0');
  std::memcpy(bytes.data(), &value, sizeof(value));
  return bytes;
}

// Takes messages off the bytes that came over the line.
class Decoder {
 public:
  explicit Decoder(const std::string& bytes) : bytes_(bytes) {}

  // False at the end, also in the middle of a message cut off.
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

[[noreturn]] void RunChild(pid_t parent, const Pipe& line, const Pipe& output,
                           const std::function<void(const Reporter&)>& body) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);  // it went before the line above
  const rlimit no_core{0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  dup2(output.write_end.get(), STDOUT_FILENO);
  dup2(output.write_end.get(), STDERR_FILENO);

  body(Reporter(line.write_end.get()));
  // Not exit(): what is registered for the end of the program is the parent's.
  static_cast<void>(std::fflush(nullptr));
  _exit(0);
}

// Appends what has come through a pipe; false at its end.
bool ReadSome(int fd, std::string* bytes) {
  std::array<char, 65536> buffer{};
  const ssize_t count = read(fd, buffer.data(), buffer.size());
  if (count < 0) return errno == EINTR;
  bytes->append(buffer.data(), static_cast<std::size_t>(count));
  return count > 0;
}

// Reads both pipes until the child has closed them.
void Drain(int line, int output, std::string* line_bytes,
           std::string* output_bytes) {
  // poll(2) passes over negative descriptors.
  std::array<pollfd, 2> open = {{{line, POLLIN, 0}, {output, POLLIN, 0}}};
  const std::array<std::string*, 2> bytes = {line_bytes, output_bytes};
  while (open[0].fd >= 0 || open[1].fd >= 0) {
    if (poll(open.data(), open.size(), -1) < 0) {
      if (errno == EINTR) continue;
      throw SystemError("poll");
    }
    for (std::size_t i = 0; i < open.size(); ++i) {
      const bool is_ready = open[i].fd >= 0 && open[i].revents != 0;
      if (is_ready && !ReadSome(open[i].fd, bytes[i])) open[i].fd = -1;
    }
  }
}

}  // namespace

void Reporter::Send(const Message& message) const {
  std::string bytes(1, message.kind);
  bytes += Encode(message.texts.size());
  for (const std::string& text : message.texts) {
    bytes += Encode(text.size());
    bytes += text;
  }
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t count = write(fd_, bytes.data() + sent, bytes.size() - sent);
    if (count < 0 && errno != EINTR) return;  // the parent is gone
    if (count > 0) sent += static_cast<std::size_t>(count);
  }
}

ChildReport RunInChild(const std::function<void(const Reporter&)>& body) {
  Pipe line = MakePipe();
  Pipe output = MakePipe();
  // Else the child would print once more what is still in our buffers.
  static_cast<void>(std::fflush(nullptr));
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child < 0) throw SystemError("fork");
  if (child == 0) RunChild(parent, line, output, body);

  line.write_end.Close();
  output.write_end.Close();
  ChildReport report{};
  std::string bytes;
  Drain(line.read_end.get(), output.read_end.get(), &bytes, &report.output);
  while (waitpid(child, &report.wait_status, 0) < 0) {
    if (errno != EINTR) throw SystemError("waitpid");
  }

  Decoder decoder(bytes);
  for (Message message{}; decoder.Next(&message);) {
    report.messages.push_back(message);
  }
  return report;
}

}  // namespace ipav::commit
