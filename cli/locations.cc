#include "cli/locations.h"

#include <filesystem>

namespace ipav::cli {

Locations FindLocations() {
  namespace fs = std::filesystem;
  const fs::path prefix =
      fs::read_symlink("/proc/self/exe").parent_path().parent_path();
  // A build tree has plain lib where an installation may have more.
  fs::path libraries = prefix / IPAV_LIBDIR;
  if (!fs::exists(libraries / "libip_app_validation.so")) {
    libraries = prefix / "lib";
  }
  const fs::path data = prefix / "share/ipav";
  return {libraries / "libip_app_validation.so",
          data / "yang",
          libraries / "libipav_yang_extension.so",
          data / "messages.md",
          data / "starter.xml",
          data / "netconf"};
}

}  // namespace ipav::cli
