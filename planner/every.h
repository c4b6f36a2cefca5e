// Finds the violations that a refused commit does not report, because a
// validation point reports only its first one.
#ifndef IPAV_PLANNER_EVERY_H_
#define IPAV_PLANNER_EVERY_H_

#include <cstddef>
#include <string>
#include <vector>

#include "host/base/time_limit.h"
#include "host/commit/commit.h"
#include "messages/finder.h"
#include "messages/finding.h"

namespace ipav::planner {

struct EveryOptions {
  std::string plugin;                         // file
  std::size_t limit = 100;                    // findings of one device
  base::TimeLimit time = base::kNoTimeLimit;  // of the whole search
};

struct EveryFinding {
  // Those of the commit and, after each, those that hide behind it, in the
  // order in which they appear when one after the other is corrected.
  std::vector<messages::Finding> findings;
  std::string more;  // why there are more, or may be; empty: these are all
};

// The outcome is that of the commit, with all of its calls. The nodes that a
// violation names are taken away in a copy of the candidate, and the same calls
// are made again, until every pair of nodes was judged. A finding has a text of
// the plug-in, and the candidate itself confirms it. Throws
// plugin::PluginError.
EveryFinding FindEvery(const messages::Configuration& running,
                       const messages::Configuration& candidate,
                       const commit::Outcome& outcome,
                       const EveryOptions& options);

}  // namespace ipav::planner

#endif  // IPAV_PLANNER_EVERY_H_
