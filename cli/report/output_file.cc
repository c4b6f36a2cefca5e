#include "cli/report/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "host/datastore/input_file.h"

namespace ipav::cli::report {

namespace {

// The file at the end of a chain of links, so that a link remains a link.
std::string BehindLinks(const std::string& path) {
  std::error_code error;
  const std::filesystem::path target =
      std::filesystem::weakly_canonical(path, error);
  return error ? path : target.string();
}

// Permissions of a usual new file.
mode_t NewMode() {
  constexpr mode_t kAll = 0666;
  const mode_t mask = umask(0);
  umask(mask);
  return kAll & ~mask;
}

// Standard input may be a regular file.
std::string NameInFileSystem(const std::string& input) {
  return input == datastore::kStandardInput ? "/dev/stdin" : input;
}

}  // namespace

bool IsStandardOutput(const std::string& path) {
  return path.empty() || path == "-";
}

void RefuseToReplace(const std::string& output,
                     const std::vector<std::string>& others) {
  std::error_code error;
  if (IsStandardOutput(output) ||
      (std::filesystem::exists(output, error) &&
       !std::filesystem::is_regular_file(output, error))) {
    return;
  }
  const std::string target = BehindLinks(output);
  for (const std::string& other : others) {
    if (other.empty()) continue;
    const std::string file = NameInFileSystem(other);
    if (BehindLinks(file) != target &&
        !std::filesystem::equivalent(file, output, error)) {
      continue;
    }
    std::string text = output;
    text.append(": would be replaced, and is needed as ").append(other);
    throw std::runtime_error(text);
  }
}

void OutputFile::Fail(int error) const {
  std::string text = path_.empty() ? "" : path_ + ": ";
  text.append("the ").append(what_).append(" cannot be written");
  if (!path_.empty() && error != 0) {
    text += ": " + std::generic_category().message(error);
  }
  throw std::runtime_error(text);
}

OutputFile::OutputFile(std::string path, const char* what)
    : path_(IsStandardOutput(path) ? "" : std::move(path)), what_(what) {
  if (path_.empty()) return;
  struct stat status {};
  const bool exists = stat(path_.c_str(), &status) == 0;
  if (exists && S_ISDIR(status.st_mode)) Fail(EISDIR);
  if (exists && !S_ISREG(status.st_mode)) {
    stream_ = std::fopen(path_.c_str(), "w");
    if (stream_ == nullptr) Fail(errno);
    return;
  }
  target_ = BehindLinks(path_);
  OpenBesideTarget();
  constexpr mode_t kPermissions = 07777;
  const mode_t mode = exists ? status.st_mode & kPermissions : NewMode();
  static_cast<void>(fchmod(fileno(stream_), mode));  // our file: it cannot fail
}

void OutputFile::OpenBesideTarget() {
  std::string folder = std::filesystem::path(target_).parent_path();
  if (folder.empty()) folder = ".";
  int fd = open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, NewMode());
  if (fd < 0 && (errno == EOPNOTSUPP || errno == EISDIR)) {
    // Some file systems have no files without a name.
    temporary_ = target_ + ".XXXXXX";
    fd = mkostemp(temporary_.data(), O_CLOEXEC);
    if (fd < 0) temporary_.clear();
  }
  if (fd < 0) Fail(errno);
  stream_ = fdopen(fd, "w");
}

// Only a file with a name can be renamed to the target.
void OutputFile::NameBesideTarget() {
  if (!temporary_.empty()) return;
  const std::string file = "/proc/self/fd/" + std::to_string(fileno(stream_));
  temporary_ = target_ + "." + std::to_string(getpid());
  unlink(temporary_.c_str());  // of a process that has ended
  if (linkat(AT_FDCWD, file.c_str(), AT_FDCWD, temporary_.c_str(),
             AT_SYMLINK_FOLLOW) != 0) {
    const int error = errno;
    temporary_.clear();
    Fail(error);
  }
}

OutputFile::~OutputFile() {
  if (stream_ != nullptr && stream_ != stdout) {
    static_cast<void>(std::fclose(stream_));
  }
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

void OutputFile::Check() const {
  if (std::ferror(stream_) != 0) Fail(0);
}

void OutputFile::Commit() {
  Check();
  if (std::fflush(stream_) != 0) Fail(errno);
  if (stream_ == stdout) return;
  if (!target_.empty()) {
    // Otherwise a crash of the system may leave an empty file with that name.
    if (fsync(fileno(stream_)) != 0) Fail(errno);
    NameBesideTarget();
  }
  if (std::fclose(std::exchange(stream_, nullptr)) != 0) Fail(errno);
  if (target_.empty()) return;
  if (std::rename(temporary_.c_str(), target_.c_str()) != 0) Fail(errno);
  temporary_.clear();
}

}  // namespace ipav::cli::report
