// A whole commit in this process: diff, plan and the calls of the plug-in.
#ifndef IPAV_FUZZ_SUPPORT_COMMIT_H_
#define IPAV_FUZZ_SUPPORT_COMMIT_H_

#include <vector>

#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"

namespace ipav::fuzz {

// Validates the candidate as `ipav check --all` does, but without the child
// process. An outcome that is not legal with data of the model, including an
// assertion, is a finding. Returns the refusals.
std::vector<commit::Answer> JudgeCommit(const datastore::DataTree& running,
                                        const datastore::DataTree& candidate);

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_COMMIT_H_
