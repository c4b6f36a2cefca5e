#include "fuzz/ipavd/temporary_folder.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "fuzz/support/finding.h"

namespace ipav::fuzz {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
  const fs::path memory = "/dev/shm";
  const fs::path parent =
      fs::is_directory(memory) ? memory : fs::temp_directory_path();
  path_ = parent / "ipav-fuzz-XXXXXX";
  Require(mkdtemp(path_.data()) != nullptr, "no temporary folder");
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

}  // namespace ipav::fuzz
