// One life of a plug-in, in the process that calls it: from its loading to its
// unloading, for one commit.
#ifndef IPAV_HOST_COMMIT_LIFE_H_
#define IPAV_HOST_COMMIT_LIFE_H_

#include <functional>
#include <optional>

#include "host/commit/child.h"
#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/diff.h"
#include "host/plugin/plugin.h"

namespace ipav::commit {

// The input of a commit. All are borrowed.
struct Configurations {
  std::function<const datastore::DataTree&()> running;
  const datastore::DataTree& candidate;
  const datastore::Diff& diff;
};

// Runs the validation points that the changes call, and reports each step.
// `loaded` is the plug-in of the options; if it is not given, it is loaded.
void RunLife(const Configurations& configurations, const Options& options,
             std::optional<plugin::Plugin> loaded, const Reporter& reporter);

}  // namespace ipav::commit

#endif  // IPAV_HOST_COMMIT_LIFE_H_
