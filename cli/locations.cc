#include "cli/locations.h"

#include "host/base/installation.h"

namespace ipav::cli {

Locations FindLocations() {
  const base::Installation found = base::FindInstallation();
  const std::string data = found.share + "/ipav";
  return {found.plugin, data + "/yang", found.yang_extension,
          data + "/starter.xml"};
}

}  // namespace ipav::cli
