#include "commands/new.h"

#include <fmt/core.h>

#include "commands/convert.h"
#include "datastore/data_tree.h"
#include "datastore/input_file.h"
#include "datastore/model.h"

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
