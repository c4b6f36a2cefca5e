#include "store/datastores.h"

#include <utility>

namespace ipav::store {

namespace {

RpcError NotYet() {
  RpcError error;
  error.tag = ErrorTag::kOperationNotSupported;
  return error;
}

}  // namespace

const char* NameOf(Datastore datastore) {
  switch (datastore) {
    case Datastore::kRunning:
      return "running";
    case Datastore::kCandidate:
      return "candidate";
    case Datastore::kStartup:
      break;
  }
  return "startup";
}

Datastores::Datastores(CommitGate gate, StateFolder* folder,
                       std::function<TimePoint()> now)
    : gate_(std::move(gate)), folder_(folder), now_(std::move(now)) {}

const lyd_node* Datastores::Tree(Datastore) const { return nullptr; }
std::vector<RpcError> Datastores::Edit(SessionId, const EditRequest&) {
  return {NotYet()};
}
Result Datastores::CopyConfig(SessionId, const Source&, Datastore) {
  return NotYet();
}
Result Datastores::DeleteConfig(SessionId, Datastore) { return NotYet(); }
Result Datastores::Validate(const Source&) const { return NotYet(); }
Result Datastores::Commit(SessionId, const CommitRequest&) { return NotYet(); }
Result Datastores::CancelCommit(SessionId, const std::optional<std::string>&) {
  return NotYet();
}
Result Datastores::DiscardChanges(SessionId) { return NotYet(); }
Result Datastores::Lock(SessionId, Datastore) { return NotYet(); }
Result Datastores::Unlock(SessionId, Datastore) { return NotYet(); }
void Datastores::SessionEnded(SessionId) {}
const std::optional<Datastores::LockState>& Datastores::LockOf(
    Datastore datastore) const {
  return locks_.at(static_cast<std::size_t>(datastore));
}
std::optional<TimePoint> Datastores::Deadline() const { return std::nullopt; }
void Datastores::CheckTime() {}
std::vector<std::string> Datastores::TakeNotices() {
  return std::exchange(notices_, {});
}

}  // namespace ipav::store
