#include "host/base/installation.h"

#include <filesystem>

namespace ipav::base {

Installation FindInstallation() {
  namespace fs = std::filesystem;
  const fs::path prefix =
      fs::read_symlink("/proc/self/exe").parent_path().parent_path();
  // A build tree has lib, an installation may have lib/ARCHITECTURE.
  fs::path libraries = prefix / IPAV_LIBDIR;
  if (!fs::exists(libraries / "libip_app_validation.so")) {
    libraries = prefix / "lib";
  }
  return {libraries / "libip_app_validation.so",
          libraries / "libipav_yang_extension.so", prefix / "share"};
}

}  // namespace ipav::base
