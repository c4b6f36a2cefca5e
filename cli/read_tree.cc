#include "cli/read_tree.h"

#include "cli/reading_time.h"

namespace ipav::cli {

datastore::DataTree ReadTree(const datastore::Model& model,
                             const std::string& file,
                             const ReadingLimits& limits) {
  const ReadingTime time(file, limits.time);
  return datastore::DataTree::FromFile(model, file, limits.size);
}

}  // namespace ipav::cli
