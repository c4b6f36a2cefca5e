#include "ipavd/store/state_folder.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include "host/base/bytes.h"
#include "host/base/trusted_path.h"
#include "host/datastore/input_file.h"

namespace ipav::store {

namespace {

using base::FileDescriptor;

constexpr unsigned kOwnFolder = 0700;
constexpr unsigned kOwnFile = 0600;

// How the first line of a file begins.
constexpr std::string_view kMark = "<!-- ipav datastore: ";

std::string ErrorText() { return std::generic_category().message(errno); }

// The descriptors of the folders and locks of this process. A child closes
// them: a child that outlived the server would otherwise block the next server,
// and processes that are confined could reach the folder.
std::vector<int>& OwnDescriptors() {
  static auto& descriptors = *new std::vector<int>;
  return descriptors;
}

void CloseInChild() {
  for (const int descriptor : OwnDescriptors()) close(descriptor);
}

void KeepFromChildren(int descriptor) {
  static std::once_flag once;
  std::call_once(once, [] { pthread_atfork(nullptr, nullptr, CloseInChild); });
  OwnDescriptors().push_back(descriptor);
}

void ForgetDescriptor(int descriptor) {
  std::vector<int>& all = OwnDescriptors();
  all.erase(std::remove(all.begin(), all.end(), descriptor), all.end());
}

std::string FirstLine(const std::string& text) {
  std::array<char, 128> line{};
  static_cast<void>(std::snprintf(line.data(), line.size(),
                                  "%zu bytes, checksum %016" PRIx64 " -->\n",
                                  text.size(), base::StableHash(text)));
  return std::string(kMark) + line.data();
}

FileDescriptor OpenFolder(const std::string& path) {
  return FileDescriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

// The folder that a path is in.
std::string ParentOf(const std::string& path) {
  const std::size_t end = path.find_last_not_of('/');
  const std::size_t slash =
      end == std::string::npos ? end : path.find_last_of('/', end);
  if (slash == std::string::npos) return ".";
  return path.substr(0, std::max<std::size_t>(slash, 1));
}

// False with errno set.
bool MakeFolder(const std::string& path) {
  if (mkdir(path.c_str(), kOwnFolder) != 0) return errno == EEXIST;
  const FileDescriptor parent = OpenFolder(ParentOf(path));
  return parent.get() >= 0 && fsync(parent.get()) == 0;
}

// The same. Throws StateError if others may change the folder.
bool MakeOwnFolder(const std::string& path) {
  if (!MakeFolder(path)) return false;
  const std::string fault = base::WhyOthersMayChange(path);
  if (!fault.empty()) throw StateError(path, fault);
  return true;
}

// The process that wrote its number into the lock file.
std::string OwnerOf(int lock) {
  std::array<char, 32> pid{};
  const ssize_t count = pread(lock, pid.data(), pid.size() - 1, 0);
  const long number = count > 0 ? std::strtol(pid.data(), nullptr, 10) : 0;
  return number > 0 ? ", process " + std::to_string(number) : "";
}

// Retries for a short time: a child of a killed server may not have closed its
// copy of the lock yet, and another server may be about to end. False with
// errno set.
bool LocksInTime(int lock) {
  constexpr int kTries = 10;
  constexpr std::chrono::milliseconds kPause(50);
  for (int i = 1; flock(lock, LOCK_EX | LOCK_NB) != 0; ++i) {
    if (errno != EWOULDBLOCK || i == kTries) return false;
    std::this_thread::sleep_for(kPause);
  }
  return true;
}

void WriteOwner(int lock) {
  const std::string pid = std::to_string(getpid()) + "\n";
  // Only for a message: the lock holds without it.
  static_cast<void>(ftruncate(lock, 0) == 0 &&
                    pwrite(lock, pid.data(), pid.size(), 0) > 0);
}

}  // namespace

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
    : path_(path),
      calls_(calls != nullptr ? calls : &own_calls_),
      is_made_(MakeOwnFolder(path)),
      folder_(OpenFolder(path)),
      lock_(open(FileOf("lock").c_str(),
                 O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY,
                 kOwnFile)) {
  if (!is_made_ || folder_.get() < 0 || lock_.get() < 0) {
    throw StateError(path, "cannot keep the datastores: " + ErrorText());
  }
  Lock();
}

StateFolder::~StateFolder() {
  ForgetDescriptor(folder_.get());
  ForgetDescriptor(lock_.get());
  // Also unlocks it in a child that has not closed its copy yet.
  static_cast<void>(flock(lock_.get(), LOCK_UN));
}

void StateFolder::Lock() {
  if (!LocksInTime(lock_.get())) {
    throw StateError(path_,
                     errno == EWOULDBLOCK
                         ? "is in use by another server" + OwnerOf(lock_.get())
                         : "cannot be locked: " + ErrorText());
  }
  KeepFromChildren(folder_.get());
  KeepFromChildren(lock_.get());
  WriteOwner(lock_.get());
}

std::string StateFolder::FileOf(const std::string& name) const {
  return path_ + "/" + name;
}

std::optional<std::string> StateFolder::ReadBytes(
    const std::string& file) const {
  struct stat status {};
  if (lstat(file.c_str(), &status) != 0) {
    if (errno == ENOENT) return std::nullopt;
    throw StateError(file, "cannot be read: " + ErrorText());
  }
  if (!S_ISREG(status.st_mode)) throw StateError(file, "is no regular file");
  try {
    return datastore::ReadInput(file, std::numeric_limits<int>::max());
  } catch (const datastore::InputError& error) {
    throw StateError(error.what());
  }
}

std::optional<std::string> StateFolder::Read(const std::string& name) const {
  const std::optional<std::string> bytes = ReadBytes(FileOf(name));
  if (!bytes.has_value()) return std::nullopt;
  const std::size_t end = bytes->find('\n');
  if (end != std::string::npos) {
    std::string text = bytes->substr(end + 1);
    if (bytes->compare(0, end + 1, FirstLine(text)) == 0) return text;
  }
  throw StateError(FileOf(name),
                   "is damaged, or was changed by hand: its first line does "
                   "not match the rest");
}

std::optional<std::string> StateFolder::ReadOfAnyone(
    const std::string& name) const {
  std::optional<std::string> bytes = ReadBytes(FileOf(name));
  if (!bytes.has_value()) return std::nullopt;
  if (bytes->compare(0, kMark.size(), kMark) == 0) return Read(name);
  // An empty file was more likely truncated than written on purpose.
  if (bytes->find_first_not_of(" \t\r\n") == std::string::npos) {
    throw StateError(FileOf(name), "is damaged: it is empty");
  }
  return bytes;
}

void StateFolder::Write(const std::string& name, const std::string& text,
                        const std::vector<std::string>& old_names) {
  Replace(name, text, true);
  for (const std::string& old_name : old_names) Unlink(old_name);
  SyncFolder();
}

void StateFolder::WriteLazily(const std::string& name,
                              const std::string& text) {
  Replace(name, text, false);
}

void StateFolder::Remove(const std::string& name) {
  Unlink(name);
  SyncFolder();
}

void StateFolder::Replace(const std::string& name, const std::string& text,
                          bool sync) {
  const std::string file = FileOf(name);
  const std::string other = file + ".new";
  if (WriteFile(other, FirstLine(text) + text, sync) &&
      calls_->Rename(other.c_str(), file.c_str()) == 0) {
    return;
  }
  const std::string reason = ErrorText();
  // Frees the space for the next try.
  static_cast<void>(calls_->Unlink(other.c_str()));
  throw StateError(file, "cannot be written: " + reason);
}

// False with errno set.
bool StateFolder::WriteFile(const std::string& file, const std::string& bytes,
                            bool sync) {
  const FileDescriptor out(calls_->Open(
      file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW,
      kOwnFile));
  if (out.get() < 0) return false;
  for (std::size_t done = 0; done < bytes.size();) {
    const long count =
        calls_->Write(out.get(), bytes.data() + done, bytes.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    done += static_cast<std::size_t>(count);
  }
  return !sync || calls_->Sync(out.get()) == 0;
}

void StateFolder::Unlink(const std::string& name) {
  const std::string file = FileOf(name);
  if (calls_->Unlink(file.c_str()) != 0 && errno != ENOENT) {
    throw StateError(file, "cannot be removed: " + ErrorText());
  }
}

void StateFolder::SyncFolder() {
  if (calls_->Sync(folder_.get()) != 0) {
    throw StateError(path_, "cannot be brought to the disk: " + ErrorText());
  }
}

}  // namespace ipav::store
