#include "store/state_folder.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace ipav::store {

int FileCalls::Open(const char* path, int flags, unsigned mode) {
  return open(path, flags, mode);
}

long FileCalls::Write(int fd, const void* bytes, std::size_t count) {
  return write(fd, bytes, count);
}

int FileCalls::Sync(int fd) { return fsync(fd); }

int FileCalls::Rename(const char* from, const char* to) {
  return std::rename(from, to);
}

int FileCalls::Unlink(const char* path) { return unlink(path); }

StateFolder::StateFolder(const std::string& path, FileCalls* calls)
    : path_(path), calls_(calls != nullptr ? calls : &own_calls_) {
  throw StateError(path, "cannot be used yet");
}

StateFolder::~StateFolder() = default;

}  // namespace ipav::store
