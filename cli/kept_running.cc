#include "cli/kept_running.h"

#include <sys/stat.h>

#include <array>
#include <cstddef>
#include <memory>
#include <utility>

#include "host/datastore/input_error.h"
#include "host/datastore/input_file.h"
#include "host/datastore/input_text.h"

namespace ipav::cli {

namespace {

constexpr std::size_t kMaxKept = std::size_t{16} << 20;

// What differs after a change of a file; all zero if there is no such file.
using Stamp = std::array<std::uint64_t, 5>;

Stamp StampOf(const std::string& file) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  return {status.st_dev, status.st_ino,
          static_cast<std::uint64_t>(status.st_size),
          static_cast<std::uint64_t>(status.st_mtim.tv_sec),
          static_cast<std::uint64_t>(status.st_mtim.tv_nsec)};
}

struct Kept {
  std::string file;
  Stamp stamp;
  datastore::Running running;
};

// Leaked on purpose: a child process exits with its copy.
std::unique_ptr<Kept>& TheKept() {
  static auto& kept = *new std::unique_ptr<Kept>;
  return kept;
}

}  // namespace

void KeepRunning(const datastore::Model& model, const std::string& file) {
  if (KeptRunning(file) != nullptr) return;
  TheKept().reset();
  const Stamp stamp = StampOf(file);
  if (stamp == Stamp{}) return;
  try {
    auto kept = std::make_unique<Kept>(
        Kept{file, stamp, {model, datastore::ReadText(file, kMaxKept), {}}});
    static_cast<void>(kept->running.Tree());
    TheKept() = std::move(kept);
  } catch (const datastore::InputError&) {
    // The command that needs it will say so.
  }
}

const datastore::Running* KeptRunning(const std::string& file) {
  const Kept* kept = TheKept().get();
  const bool is_valid = kept != nullptr && kept->file == file &&
                        !datastore::IsText(file) &&
                        kept->stamp == StampOf(file);
  return is_valid ? &kept->running : nullptr;
}

}  // namespace ipav::cli
