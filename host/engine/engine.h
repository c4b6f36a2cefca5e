// Verdicts on one change of a running configuration after the other: all that
// does not depend on the change is ready, in a process that waits.
#ifndef IPAV_HOST_ENGINE_ENGINE_H_
#define IPAV_HOST_ENGINE_ENGINE_H_

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/commit/child.h"
#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "host/engine/edits.h"
#include "host/plugin/plugin.h"

namespace ipav::engine {

class Engine {
 public:
  // The running configuration is borrowed. It must not change.
  Engine(const datastore::DataTree& running, commit::Options options);
  ~Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  // The outcome of a commit of the running configuration with these edits, as
  // commit::RunCommit() gives it: one life of the plug-in in a process of its
  // own, but that the plug-in is loaded once, after it did no harm. Throws
  // EditError, and plugin::PluginError if the file is not a plug-in.
  commit::Outcome Judge(const std::vector<Edit>& edits);

 private:
  commit::Outcome Ask(const std::string& request);
  void Live(const std::string& request, const commit::Reporter& reporter);

  const datastore::DataTree& running_;
  const commit::Options options_;
  datastore::DataTree base_;              // a copy for the edits
  std::optional<plugin::Plugin> plugin_;  // in the server only
  std::unique_ptr<commit::ForkServer> server_;
};

}  // namespace ipav::engine

#endif  // IPAV_HOST_ENGINE_ENGINE_H_
