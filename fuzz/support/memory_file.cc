#include "fuzz/support/memory_file.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "fuzz/support/finding.h"

namespace ipav::fuzz {

MemoryFile::MemoryFile()
    : descriptor_(memfd_create("input", MFD_CLOEXEC)),
      path_("/proc/self/fd/" + std::to_string(descriptor_)) {
  Require(descriptor_ >= 0, "no file in memory");
  // Only for its owner: some readers refuse a file that others may write.
  Require(fchmod(descriptor_, S_IRUSR | S_IWUSR) == 0, "a file for anybody");
}

MemoryFile::~MemoryFile() { close(descriptor_); }

void MemoryFile::Write(const std::string& text) const {
  Require(ftruncate(descriptor_, 0) == 0, "a file that cannot be emptied");
  const ssize_t written = pwrite(descriptor_, text.data(), text.size(), 0);
  Require(written == static_cast<ssize_t>(text.size()),
          "a file that cannot be written");
}

}  // namespace ipav::fuzz
