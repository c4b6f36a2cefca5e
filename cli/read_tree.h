// Reads a configuration that the command line names.
#ifndef IPAV_CLI_READ_TREE_H_
#define IPAV_CLI_READ_TREE_H_

#include <chrono>
#include <cstddef>
#include <string>

#include "host/base/time_limit.h"
#include "host/datastore/data_tree.h"

namespace ipav::cli {

struct ReadingLimits {
  base::TimeLimit time = std::chrono::seconds(60);
  std::size_t size = datastore::kMaxInputSize;  // bytes
};

// Throws datastore::InputError; a file that takes too long ends the program.
datastore::DataTree ReadTree(const datastore::Model& model,
                             const std::string& file,
                             const ReadingLimits& limits);

}  // namespace ipav::cli

#endif  // IPAV_CLI_READ_TREE_H_
