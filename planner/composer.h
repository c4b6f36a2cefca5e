// Makes configurations between two others: the running configuration with some
// of the changes that lead to the goal.
#ifndef IPAV_PLANNER_COMPOSER_H_
#define IPAV_PLANNER_COMPOSER_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/datastore/data_tree.h"
#include "host/datastore/diff.h"

namespace ipav::planner {

// Something that a commit can do alone: a leaf that gets another value, a node
// that is created or deleted, or the first half of a detour.
struct Item {
  const datastore::Change* change;  // null: a detour
  // A detour takes away this node of the running configuration, which the goal
  // has as well; a later commit puts it back. Else null.
  const lyd_node* detour;
  std::string path;
};

// A configuration, by what differs from the running one: the numbers of the
// changes that are made and of the detours that are taken.
using State = std::set<std::size_t>;

// A configuration, or why the model refuses it.
struct Composed {
  std::unique_ptr<const datastore::DataTree> owned;  // null: given, or refused
  const datastore::DataTree* tree = nullptr;         // null: refused
  std::string error;                                 // the model's reason
  std::string error_path;  // of the node that it refuses; may be empty
};

class Composer {
 public:
  // The trees are borrowed, and must have the same model.
  Composer(const datastore::DataTree& running, const datastore::DataTree& goal);
  Composer(const Composer&) = delete;
  Composer& operator=(const Composer&) = delete;

  const datastore::DataTree& running() const { return running_; }
  const datastore::DataTree& goal_tree() const { return goal_; }
  const std::vector<Item>& items() const { return items_; }
  bool IsDetour(std::size_t item) const {
    return items_[item].detour != nullptr;
  }

  // All changes, no detour.
  State goal() const;

  // The detour that takes away this node of the running configuration.
  std::size_t DetourOf(const lyd_node& node);

  // New entries of a list ordered by the user come last until the goal is
  // reached.
  std::shared_ptr<const Composed> Compose(const State& state) const;

 private:
  void AddItems(const std::vector<datastore::Change>& changes);

  const datastore::DataTree& running_;
  const datastore::DataTree& goal_;
  datastore::Diff diff_;
  std::vector<Item> items_;
  std::size_t change_count_ = 0;
  std::map<const lyd_node*, std::size_t> detours_;
};

}  // namespace ipav::planner

#endif  // IPAV_PLANNER_COMPOSER_H_
