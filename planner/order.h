// Why the commits of a plan are in their order.
#ifndef IPAV_PLANNER_ORDER_H_
#define IPAV_PLANNER_ORDER_H_

#include <cstddef>
#include <string>
#include <vector>

#include "planner/search.h"
#include "planner/verdicts.h"

namespace ipav::planner {

// What is refused about a commit and the next one.
struct Constraint {
  std::size_t commit;                 // the first of the two, from 1
  bool is_of_order;                   // the second before the first; else both
                                      // as one commit
  std::vector<std::string> refusals;  // texts of the points or of the model
};

// In the order of the commits. Ends early at the limits of the verdicts.
// `as_one` is about both as one commit, too.
std::vector<Constraint> FindConstraints(Verdicts* verdicts, const Steps& steps,
                                        bool as_one);

}  // namespace ipav::planner

#endif  // IPAV_PLANNER_ORDER_H_
