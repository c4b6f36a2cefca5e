#include "cli/commands/points.h"

#include <fmt/core.h>

#include "host/datastore/model.h"

namespace ipav::cli {

ExitStatus ListPoints(const Locations& locations) {
  const datastore::Model model(locations.yang_dir, locations.yang_extension);
  for (const datastore::UseSite& site : model.use_sites()) {
    fmt::print("{}\n  point: {}\n  opaque: {}\n  call-once: {}\n", site.path,
               site.point, site.has_opaque ? site.opaque : "(none)",
               site.call_once ? "true" : "false");
    if (site.priority != 0) fmt::print("  priority: {}\n", site.priority);
    if (site.dependencies.empty()) {
      fmt::print("  dependency: (none: runs at every commit)\n");
    }
    for (const datastore::Dependency& dependency : site.dependencies) {
      fmt::print("  dependency: {}\n", dependency.text);
    }
  }
  return kAccepted;
}

}  // namespace ipav::cli
