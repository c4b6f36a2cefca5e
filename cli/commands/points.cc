// ipav points: lists where the data model uses validation points.

#include <fmt/core.h>

#include <CLI/App.hpp>
#include <memory>

#include "cli/command.h"
#include "cli/options.h"
#include "cli/shared_model.h"
#include "host/base/utf8.h"
#include "host/datastore/model.h"

namespace ipav::cli {

namespace {

constexpr char kPointsNotes[] = R"(Examples:
  ipav points
  ipav points --yang my-model)";

// In the order in which a commit runs them.
ExitStatus PrintPoints(const Locations& locations) {
  const datastore::Model& model = SharedModel(locations);
  for (const datastore::UseSite& site : model.use_sites()) {
    fmt::print("{}\n  point: {}\n  opaque: {}\n  call-once: {}\n", site.path,
               base::Printable(site.point),
               site.has_opaque ? base::Printable(site.opaque) : "(none)",
               site.call_once ? "true" : "false");
    if (site.priority != 0) fmt::print("  priority: {}\n", site.priority);
    if (site.dependencies.empty()) {
      fmt::print("  dependency: (none: runs at every commit)\n");
    }
    for (const datastore::Dependency& dependency : site.dependencies) {
      fmt::print("  dependency: {}\n", base::Printable(dependency.text));
    }
  }
  return kAccepted;
}

}  // namespace

Command AddPoints(CLI::App* app, const Locations& locations) {
  const auto values = std::make_shared<Locations>(locations);
  CLI::App* command = app->add_subcommand(
      "points", "List the validation points of the data model");
  command->footer(kPointsNotes);
  AddYang(command, values.get());
  return {command, [values] { return PrintPoints(*values); }};
}

}  // namespace ipav::cli
