// Makes the outcome of a commit from the report on its child process.
#ifndef IPAV_HOST_COMMIT_OUTCOME_READER_H_
#define IPAV_HOST_COMMIT_OUTCOME_READER_H_

#include "host/base/time_limit.h"
#include "host/commit/child.h"
#include "host/commit/commit.h"

namespace ipav::commit {

// `time_limit` is the limit that the child had, for the text about it. Throws
// plugin::PluginError if the child could not load the plug-in.
Outcome ReadOutcome(const ChildReport& report, base::TimeLimit time_limit);

}  // namespace ipav::commit

#endif  // IPAV_HOST_COMMIT_OUTCOME_READER_H_
