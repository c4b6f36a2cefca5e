// Owns a file descriptor, and closes it in the destructor.
#ifndef IPAV_HOST_BASE_FILE_DESCRIPTOR_H_
#define IPAV_HOST_BASE_FILE_DESCRIPTOR_H_

#include <unistd.h>

#include <utility>

namespace ipav::base {

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

}  // namespace ipav::base

#endif  // IPAV_HOST_BASE_FILE_DESCRIPTOR_H_
