// Judges the commits of a plan once more, as the files that a user would
// commit: each configuration is printed, read back and judged by a new life of
// the plug-in.
#ifndef IPAV_CLI_PLAN_REPLAY_H_
#define IPAV_CLI_PLAN_REPLAY_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/base/time_limit.h"
#include "host/datastore/diff.h"
#include "planner/composer.h"
#include "planner/search.h"

namespace ipav::cli::plan {

// A commit of a plan. The destructor of the JSON library may throw.
// NOLINTNEXTLINE(bugprone-exception-escape)
struct Step {
  std::size_t calls = 0;                // of validation points
  std::vector<std::string> lines;       // its changes, printable
  nlohmann::ordered_json changes;       // the same, as an array
  std::vector<std::size_t> taken_away;  // detours that begin
  std::vector<std::size_t> put_back;    // detours that end
};

// Receives each commit with the configuration after it.
using TakeCommit =
    std::function<void(std::size_t number, const std::string& configuration,
                       const datastore::Diff& diff)>;

struct ReplayOptions {
  std::string plugin;                         // file
  base::TimeLimit time = base::kNoTimeLimit;  // for all commits together
  LYD_FORMAT format = LYD_XML;                // of the files
};

// Throws std::runtime_error if a commit is refused now, if the last one does
// not lead to the configuration of its state, or when the time is over; and
// what commit::RunCommit() does.
std::vector<Step> Replay(const planner::Composer& composer,
                         const planner::Steps& states,
                         const ReplayOptions& options, const TakeCommit& take);

}  // namespace ipav::cli::plan

#endif  // IPAV_CLI_PLAN_REPLAY_H_
