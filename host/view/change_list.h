// The changes of a transaction as a list for people.
#ifndef IPAV_HOST_VIEW_CHANGE_LIST_H_
#define IPAV_HOST_VIEW_CHANGE_LIST_H_

#include <string>
#include <vector>

#include "host/datastore/diff.h"

namespace ipav::view {

// A leaf with a new value, or the topmost node that was added or removed.
struct ChangeLine {
  datastore::Novelty novelty = datastore::Novelty::kChanged;
  std::string path;
  // The old and the new content: the value of a leaf, or the leaves below a
  // list entry or container, one "PATH VALUE" each. Keys are left out, since
  // the path has them, and so are implicit defaults.
  std::vector<std::string> before;
  std::vector<std::string> after;
};

// In the order of the diff.
std::vector<ChangeLine> ListChanges(const datastore::Diff& diff);

}  // namespace ipav::view

#endif  // IPAV_HOST_VIEW_CHANGE_LIST_H_
