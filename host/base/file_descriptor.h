// File descriptors.
#ifndef IPAV_HOST_BASE_FILE_DESCRIPTOR_H_
#define IPAV_HOST_BASE_FILE_DESCRIPTOR_H_

#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>

namespace ipav::base {

// Owns a file descriptor, and closes it in the destructor.
class FileDescriptor {
 public:
  explicit FileDescriptor(int fd = -1) : fd_(fd) {}
  ~FileDescriptor() { Close(); }
  FileDescriptor(FileDescriptor&& other) noexcept
      : fd_(std::exchange(other.fd_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      Close();
      fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  int get() const { return fd_; }  // -1: closed
  void Close() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
  }

 private:
  int fd_;
};

// Writes all bytes. False, with errno set, if it cannot.
inline bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(fd, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace ipav::base

#endif  // IPAV_HOST_BASE_FILE_DESCRIPTOR_H_
