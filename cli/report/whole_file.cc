#include "report/whole_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

namespace ipav::cli::report {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const std::string& path) {
  throw WriteError(path, std::strerror(errno));
}

// What a link leads to is written, not the link.
fs::path TargetOf(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) return path;
  if (!fs::is_regular_file(status)) {
    // Its place must not be taken, least of all that of /dev/null.
    throw WriteError(path, "is no regular file");
  }
  return fs::canonical(path);
}

fs::path FolderOf(const fs::path& file) {
  return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

mode_t PermissionsFor(const fs::path& target) {
  struct stat status {};
  if (stat(target.c_str(), &status) == 0) return status.st_mode & 07777U;
  const mode_t mask = umask(0);
  umask(mask);
  return 0666U & ~mask;
}

// Gone with the object unless it took its place.
class Temporary {
 public:
  explicit Temporary(const fs::path& target)
      : target_(target), name_(FolderOf(target) / ".ipav-XXXXXX") {
    const int descriptor = mkstemp(name_.data());
    if (descriptor < 0) Fail(target_);
    file_ = fdopen(descriptor, "w");
    if (file_ == nullptr) Fail(target_);
  }
  ~Temporary() {
    if (file_ != nullptr) static_cast<void>(std::fclose(file_));
    if (!name_.empty()) unlink(name_.c_str());
  }
  Temporary(const Temporary&) = delete;
  Temporary& operator=(const Temporary&) = delete;

  std::FILE* file() const { return file_; }

  void TakePlace() {
    if (std::fflush(file_) != 0 || std::ferror(file_) != 0 ||
        fchmod(fileno(file_), PermissionsFor(target_)) != 0 ||
        fsync(fileno(file_)) != 0 ||
        rename(name_.c_str(), target_.c_str()) != 0) {
      Fail(target_);
    }
    name_.clear();
  }

 private:
  const fs::path target_;
  std::string name_;
  std::FILE* file_ = nullptr;
};

}  // namespace

void ExpectWritable(const std::string& path) {
  if (path.empty()) throw WriteError("the report", "has no name");
  if (access(FolderOf(TargetOf(path)).c_str(), W_OK | X_OK) != 0) Fail(path);
}

void WriteWhole(const std::string& path,
                const std::function<void(std::FILE*)>& write) {
  Temporary temporary(TargetOf(path));
  write(temporary.file());
  temporary.TakePlace();
}

}  // namespace ipav::cli::report
