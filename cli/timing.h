// What ipav check --timing tells. On standard error: standard output stays what
// it is without.
#ifndef IPAV_CLI_TIMING_H_
#define IPAV_CLI_TIMING_H_

#include <string>

#include "base/stopwatch.h"
#include "commit/commit.h"
#include "datastore/data_tree.h"

namespace ipav::cli {

// One line, "timing: WHAT: 1.234 ms".
void PrintTime(const std::string& what, base::Duration time);

// A line for each part, in the order in which they were done.
void PrintTimes(const std::string& file, const datastore::ReadingTimes& times);
void PrintTimes(const std::string& file, const commit::CommitTimes& times);

}  // namespace ipav::cli

#endif  // IPAV_CLI_TIMING_H_
