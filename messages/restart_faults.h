// What a device refuses when it loads a configuration from nothing, as after a
// restart: the faults of a candidate compared with those of the running
// configuration that it would replace.
//
// Texts do not suffice to compare them. A validation point reports only its
// first fault, so that a fault hides others, and an order of names or a count
// may differ. Each fault is therefore looked for in both configurations. Only
// texts that are not understood are compared as texts.
#ifndef IPAV_MESSAGES_RESTART_FAULTS_H_
#define IPAV_MESSAGES_RESTART_FAULTS_H_

#include <vector>

#include "host/commit/commit.h"
#include "messages/finder.h"
#include "messages/finding.h"

namespace ipav::messages {

struct RestartFaults {
  // Those of the candidate. If the running configuration has one as well, it is
  // standing. Standing ones that another fault of the candidate hides are last.
  std::vector<Finding> findings;
  // Those that only the running configuration has. The novelty of a culprit is
  // what the change did to it.
  std::vector<Finding> healed;
};

// The outcomes are those of both configurations, each judged from nothing with
// all of its validation points.
RestartFaults CompareRestarts(const Configuration& running,
                              const commit::Outcome& of_running,
                              const Configuration& candidate,
                              const commit::Outcome& of_candidate);

}  // namespace ipav::messages

#endif  // IPAV_MESSAGES_RESTART_FAULTS_H_
