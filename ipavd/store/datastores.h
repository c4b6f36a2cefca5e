// The datastores running, candidate and startup of one server (RFC 6241): the
// operations on them, their locks, and confirmed commits.
//
// Nothing becomes running without the commit gate. Not thread-safe. The model
// and the folder are borrowed.
#ifndef IPAV_IPAVD_STORE_DATASTORES_H_
#define IPAV_IPAVD_STORE_DATASTORES_H_

#include <libyang/libyang.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/datastore/model.h"
#include "ipavd/store/commit_gate.h"
#include "ipavd/store/configurations.h"
#include "ipavd/store/edit_config.h"
#include "ipavd/store/rpc_error.h"
#include "ipavd/store/state_folder.h"

namespace ipav::store {

using SessionId = std::uint32_t;  // from 1
using TimePoint = std::chrono::steady_clock::time_point;

inline constexpr std::size_t kDatastores = 3;

// The content of an element config, in XML.
struct InlineConfig {
  std::string xml;
  // The datastore that it is a copy of, if any, such as one with default
  // values.
  std::optional<Datastore> copy_of = std::nullopt;
};

using Source = std::variant<Datastore, InlineConfig>;

enum class TestOption : std::uint8_t {
  kSet,          // test only the edit itself
  kTestThenSet,  // set the result if validate accepts it
  kTestOnly      // test as kTestThenSet does, and set nothing
};

enum class ErrorOption : std::uint8_t {
  kStop,  // same as kRollback: an edit with an error changes nothing
  kContinue,
  kRollback
};

struct EditRequest {
  Datastore target = Datastore::kCandidate;
  Operation default_operation = Operation::kMerge;
  // By default, a candidate may be invalid until it is committed. An edit of
  // running is always tested.
  TestOption test_option = TestOption::kSet;
  ErrorOption error_option = ErrorOption::kStop;
  std::string config;  // content of the element config, in XML
};

inline constexpr std::chrono::seconds kConfirmTimeout{600};

struct CommitRequest {
  bool confirmed = false;
  std::chrono::seconds timeout = kConfirmTimeout;  // confirmed only
  std::optional<std::string> persist;              // confirmed only
  std::optional<std::string> persist_id;
};

class Datastores {
 public:
  // Loads the folder, running through the gate. Rolls back a confirmed commit
  // that was pending when the last server ended. Throws StateError, and changes
  // nothing, when a file is missing or damaged, or the gate refuses it; the
  // text says what can be done. A null `now` means the monotonic clock.
  Datastores(CommitGate gate, StateFolder* folder,
             std::function<TimePoint()> now = nullptr);
  Datastores(const Datastores&) = delete;
  Datastores& operator=(const Datastores&) = delete;

  // See Configurations.
  void set_max_size(std::size_t size) { configurations_.set_max_size(size); }

  // Top nodes, with default nodes marked as such; null for none. Valid until
  // the next call that is not const.
  const lyd_node* Tree(Datastore datastore) const;

  // Returns the errors in the order of the edit; none: success. Only with
  // kContinue there may be several, and the rest of the edit is done.
  std::vector<RpcError> Edit(SessionId session, const EditRequest& request);

  Result CopyConfig(SessionId session, const Source& source, Datastore target);

  // Only startup can be deleted.
  Result DeleteConfig(SessionId session, Datastore target);

  Result Validate(const Source& source) const;

  Result Commit(SessionId session, const CommitRequest& request = {});
  Result CancelCommit(SessionId session,
                      const std::optional<std::string>& persist_id = {});
  Result DiscardChanges(SessionId session);

  Result Lock(SessionId session, Datastore datastore);
  Result Unlock(SessionId session, Datastore datastore);

  // Releases the locks of the session, drops the changes of a candidate that it
  // had locked, and rolls back its confirmed commit unless that is persistent.
  void SessionEnded(SessionId session);

  // The session that has locked a datastore, and since when.
  struct LockState {
    SessionId session;
    std::chrono::system_clock::time_point since;
  };
  const std::optional<LockState>& LockOf(Datastore datastore) const;

  // When CheckTime() must be called next, if at all.
  std::optional<TimePoint> Deadline() const;

  // Rolls back a confirmed commit whose time is over.
  void CheckTime();

  // Messages for the operator since the last call, one line each: about files
  // that were rebuilt or given up at the start, and about rollbacks.
  std::vector<std::string> TakeNotices();

 private:
  // A commit that is rolled back unless it is confirmed in time.
  struct Pending {
    SessionId session;  // 0: that has ended
    std::optional<std::string> persist;
    TimePoint deadline;
  };

  const datastore::Model& model() const { return gate_.model(); }

  Result CheckLock(SessionId session, Datastore datastore) const;
  Result CheckPending(SessionId session,
                      const std::optional<std::string>& persist_id) const;
  Result TakeSource(const Source& source, Nodes* nodes) const;

  Result SetEdited(SessionId session, const EditRequest& request, Nodes nodes);
  Result SetRunning(SessionId session, const Configuration& configuration);
  Result CommitForNow(SessionId session, const CommitRequest& request,
                      const Configuration& configuration);
  Result CommitForGood(const Configuration& configuration);
  Result JudgeRollback() const;
  Result RollBack();
  void RollBackFor(const std::string& reason);
  void Release(Datastore datastore);

  CommitGate gate_;
  std::function<TimePoint()> now_;
  Configurations configurations_;
  std::array<std::optional<LockState>, kDatastores> locks_;
  std::optional<Pending> pending_;
};

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_DATASTORES_H_
