// Why a goal cannot be reached: the smallest sets of changes that are refused
// in any order.
#ifndef IPAV_PLANNER_CORE_H_
#define IPAV_PLANNER_CORE_H_

#include <cstddef>
#include <vector>

#include "planner/composer.h"
#include "planner/verdicts.h"

namespace ipav::planner {

// A set of changes that no plan makes.
struct Core {
  State changes;
  // Without any one of its changes, the set has a plan. False if it took too
  // many verdicts to find such a set, or if the changes depend on others.
  bool is_smallest = true;
};

constexpr std::size_t kMostCores = 10;

struct Obstacles {
  State made;  // a largest set of changes that has a plan
  // Each change that is not made is in one, up to kMostCores.
  std::vector<Core> cores;
  std::size_t unexamined = 0;  // changes that are not made for this limit
};

// Why a search for the goal ended at that state. Throws LimitReached.
Obstacles FindObstacles(Verdicts* verdicts, const State& goal,
                        const State& reached);

}  // namespace ipav::planner

#endif  // IPAV_PLANNER_CORE_H_
