// The configurations of one server, in memory and in its state folder:
// running.xml, startup.xml, candidate.xml while the candidate differs from
// running, and rollback.xml while a confirmed commit is pending.
//
// A change that returns no error is on the disk; only the candidate may be lost
// when the power fails. After an error everything is as before. It does not
// validate what becomes running.
#ifndef IPAV_IPAVD_STORE_CONFIGURATIONS_H_
#define IPAV_IPAVD_STORE_CONFIGURATIONS_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "ipavd/store/commit_gate.h"
#include "ipavd/store/load.h"
#include "ipavd/store/nodes.h"
#include "ipavd/store/rpc_error.h"
#include "ipavd/store/state_folder.h"

namespace ipav::store {

enum class Datastore : std::uint8_t { kRunning, kCandidate, kStartup };

// As in get-config: "running".
const char* NameOf(Datastore datastore);

using Result = std::optional<RpcError>;  // none: success

class Configurations {
 public:
  // Takes over the loaded configurations; the folder is borrowed.
  Configurations(Loaded&& loaded, StateFolder* folder);

  // A larger configuration is refused from now on, except by a rollback, and
  // unless it replaces one that is at least as large. In bytes of its file; no
  // limit at first.
  void set_max_size(std::size_t size) { max_size_ = size; }

  // Top nodes, with default nodes marked as such; null for none. Valid until
  // the next change.
  const lyd_node* Tree(Datastore datastore) const;

  const Configuration& running() const { return running_; }
  bool has_startup() const { return startup_ != nullptr; }

  // The running configuration before the pending confirmed commit; null when
  // none is pending.
  const Configuration& rollback() const { return rollback_; }

  // Whether candidate differs from running.
  bool IsCandidateChanged() const;

  Result SetCandidate(Nodes nodes);
  Result DropCandidate();  // it equals running again

  // Null deletes it.
  Result SetStartup(const Configuration& configuration);

  // Replaces running. The candidate stays.
  Result SetRunning(const Configuration& configuration);

  // Commit the candidate: Commit() permanently, which also confirms a pending
  // commit, CommitForNow() until RollBack().
  Result Commit(const Configuration& configuration);
  Result CommitForNow(const Configuration& configuration);

  // Ends the pending confirmed commit: running is the rollback configuration
  // again.
  Result RollBack();

  // The same in memory even when it returns an error. Then the next start rolls
  // back on the disk.
  Result RollBackAnyway();

  // Ends the pending confirmed commit, and does not change running.
  void ForgetRollback();

  // Messages for the operator, one line each: those since the last call.
  void AddNotice(const std::string& line) { notices_.push_back(line); }
  std::vector<std::string> TakeNotices();

 private:
  Result CheckSize(const std::string& text, Datastore datastore) const;
  static Result Store(const std::function<void()>& body);
  Result WriteRunning(const Configuration& configuration,
                      const std::vector<std::string>& old_files);
  void WriteStartup(const Configuration& configuration,
                    const std::string& text);
  void WriteAll();
  void RemoveRollbackFile();
  void NoteError(const Result& error);

  StateFolder& folder_;
  std::size_t max_size_ = std::numeric_limits<std::size_t>::max();
  Configuration running_;
  Configuration startup_;           // null: there is none
  Configuration rollback_;          // null: no confirmed commit is pending
  std::optional<Nodes> candidate_;  // none: same as running
  std::vector<std::string> notices_;
};

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_CONFIGURATIONS_H_
