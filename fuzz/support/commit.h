// A whole commit in this process: diff, plan and the calls of the plug-in.
#ifndef IPAV_FUZZ_SUPPORT_COMMIT_H_
#define IPAV_FUZZ_SUPPORT_COMMIT_H_

#include <vector>

#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"

namespace ipav::fuzz {

// Judges the candidate as `ipav check --all` does, but for the child process.
// What the plug-in may not do with data of the model, an assertion included, is
// a finding. Returns the refusals.
std::vector<commit::Answer> JudgeCommit(const datastore::DataTree& running,
                                        const datastore::DataTree& candidate);

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_COMMIT_H_
