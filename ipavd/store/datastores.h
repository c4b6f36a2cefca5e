// The datastores running, candidate and startup of one server (RFC 6241): what
// is in them, who locks them, and how one comes into another.
//
// In memory as trees, and in a state folder as XML: running.xml, startup.xml,
// candidate.xml while the candidate is not running, and rollback.xml while a
// confirmed commit waits for its confirmation. An operation that is answered
// with no error is on the disk; edits of the candidate outlive the process, but
// not always the power.
//
// Nothing gets into running but through the commit gate. One thread at a time.
// The model and the folder are borrowed.
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
#include "ipavd/store/edit_config.h"
#include "ipavd/store/rpc_error.h"
#include "ipavd/store/state_folder.h"

namespace ipav::store {

using SessionId = std::uint32_t;  // from 1
using TimePoint = std::chrono::steady_clock::time_point;

enum class Datastore : std::uint8_t { kRunning, kCandidate, kStartup };

inline constexpr std::size_t kDatastores = 3;

// As in get-config: "running".
const char* NameOf(Datastore datastore);

// The content of an element config, in XML.
struct InlineConfig {
  std::string xml;
  // What a client named where it is a copy, say with default values.
  std::optional<Datastore> copy_of = std::nullopt;
};

using Source = std::variant<Datastore, InlineConfig>;

enum class TestOption : std::uint8_t {
  kSet,          // no test but of the edit itself
  kTestThenSet,  // set only what validate accepts
  kTestOnly      // what kTestThenSet says, and nothing is set
};

enum class ErrorOption : std::uint8_t {
  kStop,  // as kRollback: an edit with an error changes nothing
  kContinue,
  kRollback
};

struct EditRequest {
  Datastore target = Datastore::kCandidate;
  Operation default_operation = Operation::kMerge;
  // What a client that does not say gets: a candidate may well be wrong until
  // it is committed. An edit of running is always tested.
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

using Result = std::optional<RpcError>;  // none: it is done

class Datastores {
 public:
  // Loads what the folder has, running through the gate. A confirmed commit
  // that was waiting when the last server ended is taken back. Throws
  // StateError, and changes nothing, where a file is missing or damaged, or the
  // gate refuses it; the text tells what can be done. `now` may be null: the
  // clock.
  Datastores(CommitGate gate, StateFolder* folder,
             std::function<TimePoint()> now = nullptr);
  Datastores(const Datastores&) = delete;
  Datastores& operator=(const Datastores&) = delete;

  // Top nodes, with default nodes marked as such; null for none. Valid until
  // the next call that is not const.
  const lyd_node* Tree(Datastore datastore) const;

  // Errors in the order of the edit; none: it is done. Only kContinue has more
  // than one, and does what it can besides.
  std::vector<RpcError> Edit(SessionId session, const EditRequest& request);

  Result CopyConfig(SessionId session, const Source& source, Datastore target);

  // Of startup, which then is empty; of nothing else.
  Result DeleteConfig(SessionId session, Datastore target);

  Result Validate(const Source& source) const;

  Result Commit(SessionId session, const CommitRequest& request = {});
  Result CancelCommit(SessionId session,
                      const std::optional<std::string>& persist_id = {});
  Result DiscardChanges(SessionId session);

  Result Lock(SessionId session, Datastore datastore);
  Result Unlock(SessionId session, Datastore datastore);

  // Releases the session's locks, with the changes of a candidate that it had
  // locked, and takes its confirmed commit back unless that is persistent.
  void SessionEnded(SessionId session);

  // Since when and by whom a datastore is locked, for monitoring.
  struct LockState {
    SessionId session;
    std::chrono::system_clock::time_point since;
  };
  const std::optional<LockState>& LockOf(Datastore datastore) const;

  // When CheckTime() is to be called next; none: whenever.
  std::optional<TimePoint> Deadline() const;

  // Takes back a confirmed commit whose time is over.
  void CheckTime();

  // What the server's operator should read, a line each, since the last call:
  // what was rebuilt or given up at the start, confirmed commits taken back.
  std::vector<std::string> TakeNotices();

 private:
  // A commit that is taken back unless it is confirmed in time.
  struct Pending {
    SessionId session;  // 0: that has ended
    std::optional<std::string> persist;
    TimePoint deadline;
    Configuration before;
  };

  const datastore::Model& model() const { return gate_.model(); }

  Result CheckLock(SessionId session, Datastore datastore) const;
  Result CheckPending(SessionId session,
                      const std::optional<std::string>& persist_id) const;
  Result TakeSource(const Source& source, Nodes* nodes) const;
  bool IsCandidateChanged() const;

  Result SetEdited(const EditRequest& request, Nodes nodes);
  Result CommitForNow(SessionId session, const CommitRequest& request,
                      const Configuration& configuration);
  Result CommitForGood(const Configuration& configuration);
  Result JudgeWayBack() const;
  Result TakeBack();
  void TakeBackFor(const std::string& reason);
  void ForgetRollback();
  void Release(Datastore datastore);

  static Result Store(const std::function<void()>& body);
  Result SetCandidate(Nodes nodes);
  Result DropCandidate();
  Result SetStartup(const Configuration& configuration);
  void WriteStartup(const Configuration& configuration);
  Result SetRunning(const Configuration& configuration,
                    const std::vector<std::string>& old_files);
  std::vector<std::string> StaleFiles() const;
  void WriteAll();

  CommitGate gate_;
  StateFolder& folder_;
  std::function<TimePoint()> now_;
  Configuration running_;
  Configuration startup_;           // null: there is none
  std::optional<Nodes> candidate_;  // none: it is running
  std::array<std::optional<LockState>, kDatastores> locks_;
  std::optional<Pending> pending_;
  std::vector<std::string> notices_;
};

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_DATASTORES_H_
