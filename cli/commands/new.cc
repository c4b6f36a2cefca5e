// ipav new: prints a first configuration.

#include <fmt/core.h>

#include <CLI/App.hpp>
#include <memory>
#include <string>

#include "cli/command.h"
#include "cli/options.h"
#include "cli/print_tree.h"
#include "cli/shared_model.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/input_file.h"
#include "host/datastore/model.h"

namespace ipav::cli {

namespace {

constexpr char kNewNotes[] =
    R"(This configuration is accepted. The XML has comments on what is
validated.

Examples:
  ipav new > router.xml && ipav check router.xml
  ipav new --format json > router.json)";

std::string StarterAsJson(const Locations& locations) {
  const datastore::Model& model = SharedModel(locations);
  return PrintTree(datastore::DataTree::FromFile(model, locations.starter),
                   LYD_JSON);
}

ExitStatus PrintNew(const Locations& locations, const std::string& format) {
  fmt::print("{}", format == "json"
                       ? StarterAsJson(locations)
                       : datastore::ReadInput(locations.starter,
                                              datastore::kMaxInputSize));
  return kAccepted;
}

}  // namespace

Command AddNew(CLI::App* app, const Locations& locations) {
  const auto format = std::make_shared<std::string>("xml");
  CLI::App* command =
      app->add_subcommand("new", "Print a first configuration to change");
  command->footer(kNewNotes);
  AddChoice(command, "--format", {"xml", "json"},
            "xml, with comments, or json, without", format.get());
  return {command, [=] { return PrintNew(locations, *format); }};
}

}  // namespace ipav::cli
