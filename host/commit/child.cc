#include "commit/child.h"

#include <fcntl.h>
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

// The same open file under a number that is no standard file's: where the host
// has closed one of these, a pipe would take its place and be overwritten.
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

// What `body` throws must not go on as a second host: hence noexcept.
[[noreturn]] void RunChild(
    pid_t parent, const Pipe& line, const Pipe& output,
    const std::function<void(const Reporter&)>& body) noexcept {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);  // it went before the line above
  const rlimit no_core{0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  dup2(output.write_end.get(), STDOUT_FILENO);
  dup2(output.write_end.get(), STDERR_FILENO);
  // What is printed is out, also when a crash follows.
  static_cast<void>(std::setvbuf(stdout, nullptr, _IONBF, 0));

  body(Reporter(line.write_end.get()));
  // Not exit(): what is registered for the end of the program is the parent's.
  static_cast<void>(std::fflush(nullptr));
  _exit(0);
}

// How often to look whether the child has ended, in milliseconds.
constexpr int kLookAfterChild = 50;

// Whether the child has ended, by waitpid(2) with these options.
bool HasEnded(pid_t child, int options, int* wait_status) {
  for (;;) {
    const pid_t ended = waitpid(child, wait_status, options);
    if (ended >= 0) return ended == child;
    if (errno != EINTR) throw SystemError("waitpid");
  }
}

// Takes what a pipe holds; closes the entry at its end.
void ReadSome(pollfd* pipe, std::string* bytes) {
  if (pipe->fd < 0 || pipe->revents == 0) return;
  std::array<char, 65536> buffer{};
  const ssize_t count = read(pipe->fd, buffer.data(), buffer.size());
  if (count > 0) {
    bytes->append(buffer.data(), static_cast<std::size_t>(count));
  } else if (count == 0 || errno != EINTR) {
    pipe->fd = -1;
  }
}

// Reads both pipes until the child has closed them, or has ended and left them
// open to a process of its own. Returns the child's status.
int Drain(pid_t child, int line, int output, std::string* line_bytes,
          std::string* output_bytes) {
  std::array<pollfd, 2> open = {{{line, POLLIN, 0}, {output, POLLIN, 0}}};
  int wait_status = 0;
  bool ended = false;
  while (open[0].fd >= 0 || open[1].fd >= 0) {
    const int ready =
        poll(open.data(), open.size(), ended ? 0 : kLookAfterChild);
    if (ready < 0 && errno != EINTR) throw SystemError("poll");
    if (ready < 0) continue;
    if (ready == 0 && ended) break;
    if (ready == 0) ended = HasEnded(child, WNOHANG, &wait_status);
    ReadSome(&open.front(), line_bytes);
    ReadSome(&open.back(), output_bytes);
  }
  if (!ended) HasEnded(child, 0, &wait_status);
  return wait_status;
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
  report.wait_status = Drain(child, line.read_end.get(), output.read_end.get(),
                             &bytes, &report.output);

  Decoder decoder(bytes);
  for (Message message{}; decoder.Next(&message);) {
    report.messages.push_back(message);
  }
  return report;
}

}  // namespace ipav::commit
