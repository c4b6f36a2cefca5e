// Which changes a refusal is about.
#ifndef IPAV_PLANNER_NAMED_ITEMS_H_
#define IPAV_PLANNER_NAMED_ITEMS_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <string>
#include <vector>

#include "messages/finding.h"
#include "planner/composer.h"
#include "planner/verdicts.h"

namespace ipav::planner {

// The paths of the culprits; that of the validated node if there are none.
std::vector<std::string> PathsOf(const messages::Finding& finding);

// The items, among these, at or above the nodes of the paths; if there are
// none, those below.
std::vector<std::size_t> ItemsAt(const std::vector<Item>& items,
                                 const State& among,
                                 const std::vector<std::string>& paths);

// The items, among these, that the refusals of a verdict name; or for each
// refusal only the last one: without one of its culprits, it may be gone
// already.
State ItemsNamed(const Verdict& verdict, const std::vector<Item>& items,
                 const State& among, bool only_last);

// The node that is taken away instead of a culprit: the whole row of a table,
// but only the leaf of an interface.
const lyd_node* NodeToTakeAway(const lyd_node* culprit);

}  // namespace ipav::planner

#endif  // IPAV_PLANNER_NAMED_ITEMS_H_
