#include "cli/commands/new.h"

#include <fmt/core.h>

#include "cli/commands/convert.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/input_file.h"
#include "host/datastore/model.h"

namespace ipav::cli {

namespace {

using datastore::DataTree;
using datastore::Model;

std::string AsJson(const Locations& locations) {
  const Model model(locations.yang_dir, locations.yang_extension);
  return PrintTree(DataTree::FromFile(model, locations.starter), LYD_JSON);
}

}  // namespace

ExitStatus PrintNew(const Locations& locations, const NewOptions& options) {
  fmt::print("{}", options.format == "json"
                       ? AsJson(locations)
                       : datastore::ReadInput(locations.starter,
                                              datastore::kMaxInputSize));
  return kAccepted;
}

}  // namespace ipav::cli
