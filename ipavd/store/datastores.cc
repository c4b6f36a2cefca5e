#include "ipavd/store/datastores.h"

#include <utility>

#include "ipavd/store/load.h"

namespace ipav::store {

namespace {

constexpr const char* kCommitIs = "the confirmed commit ";

std::size_t IndexOf(Datastore datastore) {
  return static_cast<std::size_t>(datastore);
}

RpcError Failed(const std::string& message) {
  return MakeError(ErrorTag::kOperationFailed, message);
}

RpcError LockDenied(SessionId holder, const std::string& message) {
  return MakeError(ErrorTag::kLockDenied, message, ErrorType::kProtocol,
                   {{"session-id", std::to_string(holder)}});
}

RpcError NotSupported(const std::string& message) {
  return MakeError(ErrorTag::kOperationNotSupported, message,
                   ErrorType::kProtocol);
}

std::string Quote(const std::string& text) { return "\"" + text + "\""; }

// The datastore that a client named as the source.
std::optional<Datastore> NamedIn(const Source& source) {
  const auto* config = std::get_if<InlineConfig>(&source);
  return config != nullptr ? config->copy_of : std::get<Datastore>(source);
}

// Whether the source is running, and not a copy with default values.
bool IsRunningAsItIs(const Source& source) {
  const auto* datastore = std::get_if<Datastore>(&source);
  return datastore != nullptr && *datastore == Datastore::kRunning;
}

// Parses the content of an element config that is not an edit.
Edited ParseInline(const datastore::Model& model, const InlineConfig& config) {
  EditRules rules;
  rules.allows_operations = false;
  return EditConfig(model, nullptr, config.xml, rules);
}

}  // namespace

Datastores::Datastores(CommitGate gate, StateFolder* folder,
                       std::function<TimePoint()> now)
    : gate_(std::move(gate)),
      now_(std::move(now)),
      configurations_(Load(gate_, folder), folder) {
  if (now_ == nullptr) now_ = std::chrono::steady_clock::now;
}

const lyd_node* Datastores::Tree(Datastore datastore) const {
  return configurations_.Tree(datastore);
}

// An error when another session has locked the datastore.
Result Datastores::CheckLock(SessionId session, Datastore datastore) const {
  const std::optional<LockState>& lock = LockOf(datastore);
  if (!lock.has_value() || lock->session == session) return std::nullopt;
  return MakeError(ErrorTag::kInUse, std::string(NameOf(datastore)) +
                                         " is locked by session " +
                                         std::to_string(lock->session));
}

std::vector<RpcError> Datastores::Edit(SessionId session,
                                       const EditRequest& request) {
  // 1. Whether it may be edited.
  if (request.target == Datastore::kStartup) {
    return {NotSupported("startup is not edited, but copied to")};
  }
  if (Result error = CheckLock(session, request.target)) return {*error};

  // 2. The edit itself.
  EditRules rules;
  rules.default_operation = request.default_operation;
  rules.on_error = request.error_option == ErrorOption::kContinue
                       ? OnError::kContinue
                       : OnError::kUndo;
  Edited edited =
      EditConfig(model(), Tree(request.target), request.config, rules);
  if (!edited.errors.empty() && rules.on_error == OnError::kUndo) {
    return edited.errors;
  }

  // 3. The result.
  if (Result error = SetEdited(session, request, std::move(edited.nodes))) {
    edited.errors.push_back(*std::move(error));
  }
  return edited.errors;
}

// Tests and sets the result of an edit, as the request says.
Result Datastores::SetEdited(SessionId session, const EditRequest& request,
                             Nodes nodes) {
  if (request.target == Datastore::kCandidate &&
      request.test_option == TestOption::kSet) {
    return configurations_.SetCandidate(std::move(nodes));
  }
  const Judgement judgement =
      gate_.Judge(configurations_.running(), Copy(nodes.get()));
  if (judgement.error.has_value() ||
      request.test_option == TestOption::kTestOnly) {
    return judgement.error;
  }
  return request.target == Datastore::kCandidate
             ? configurations_.SetCandidate(std::move(nodes))
             : SetRunning(session, judgement.configuration);
}

// Changes running other than by a commit.
Result Datastores::SetRunning(SessionId session,
                              const Configuration& configuration) {
  Result error = configurations_.SetRunning(configuration);
  if (!error.has_value() && pending_.has_value()) {
    configurations_.AddNotice(
        "session " + std::to_string(session) +
        " changed running, which is lost if the confirmed commit that waits is "
        "taken back");
  }
  return error;
}

Result Datastores::CopyConfig(SessionId session, const Source& source,
                              Datastore target) {
  // 1. Source and target.
  if (NamedIn(source) == target) {
    return MakeError(ErrorTag::kInvalidValue,
                     std::string(NameOf(target)) + " is source and target");
  }
  if (Result error = CheckLock(session, target)) return error;

  // 2. The configuration.
  Nodes nodes;
  if (Result error = TakeSource(source, &nodes)) return error;
  switch (target) {
    case Datastore::kCandidate:
      return IsRunningAsItIs(source)
                 ? configurations_.DropCandidate()
                 : configurations_.SetCandidate(std::move(nodes));
    case Datastore::kStartup: {
      const Judgement complete = gate_.Complete(std::move(nodes));
      return complete.error.has_value()
                 ? complete.error
                 : configurations_.SetStartup(complete.configuration);
    }
    case Datastore::kRunning:
      break;
  }
  const Judgement judgement =
      gate_.Judge(configurations_.running(), std::move(nodes));
  if (judgement.error.has_value()) return judgement.error;
  return SetRunning(session, judgement.configuration);
}

// Copies the nodes of a source.
Result Datastores::TakeSource(const Source& source, Nodes* nodes) const {
  if (NamedIn(source) == Datastore::kStartup &&
      !configurations_.has_startup()) {
    return MakeError(ErrorTag::kDataMissing,
                     "there is no startup configuration");
  }
  if (const auto* config = std::get_if<InlineConfig>(&source)) {
    Edited parsed = ParseInline(model(), *config);
    if (!parsed.errors.empty()) return parsed.errors[0];
    *nodes = std::move(parsed.nodes);
    return std::nullopt;
  }
  *nodes = Copy(Tree(std::get<Datastore>(source)));
  return std::nullopt;
}

Result Datastores::DeleteConfig(SessionId session, Datastore target) {
  if (target != Datastore::kStartup) {
    return NotSupported(std::string(NameOf(target)) + " cannot be deleted");
  }
  if (Result error = CheckLock(session, target)) return error;
  if (!configurations_.has_startup()) {
    return MakeError(ErrorTag::kDataMissing,
                     "there is no startup configuration");
  }
  return configurations_.SetStartup({});
}

Result Datastores::Validate(const Source& source) const {
  Nodes nodes;
  if (Result error = TakeSource(source, &nodes)) return error;
  // The next start loads running and startup, when nothing is configured yet.
  const auto* datastore = std::get_if<Datastore>(&source);
  const bool is_loaded =
      datastore != nullptr && *datastore != Datastore::kCandidate;
  return gate_
      .Judge(is_loaded ? nullptr : configurations_.running(), std::move(nodes))
      .error;
}

Result Datastores::Commit(SessionId session, const CommitRequest& request) {
  // 1. Whether the session may commit.
  for (const Datastore used : {Datastore::kRunning, Datastore::kCandidate}) {
    if (Result error = CheckLock(session, used)) return error;
  }
  if (Result error = CheckPending(session, request.persist_id)) return error;
  if (request.confirmed && request.timeout < std::chrono::seconds(1)) {
    return MakeError(ErrorTag::kInvalidValue,
                     "a confirmed commit needs time to be confirmed");
  }

  // 2. The gate.
  const Judgement judgement =
      gate_.Judge(configurations_.running(), Copy(Tree(Datastore::kCandidate)));
  if (judgement.error.has_value()) return judgement.error;

  // 3. Running.
  return request.confirmed
             ? CommitForNow(session, request, judgement.configuration)
             : CommitForGood(judgement.configuration);
}

// An error when the session may not confirm, follow up or cancel the confirmed
// commit that waits, if any.
Result Datastores::CheckPending(
    SessionId session, const std::optional<std::string>& persist_id) const {
  if (!pending_.has_value()) {
    if (!persist_id.has_value()) return std::nullopt;
    return MakeError(
        ErrorTag::kInvalidValue,
        "no confirmed commit waits for persist-id " + Quote(*persist_id));
  }
  if (pending_->persist != persist_id) {
    return MakeError(
        ErrorTag::kInvalidValue,
        persist_id.has_value()
            ? "the confirmed commit that waits has no persist-id " +
                  Quote(*persist_id)
            : "a confirmed commit waits that needs its persist-id");
  }
  if (!persist_id.has_value() && pending_->session != session) {
    return MakeError(ErrorTag::kInUse, "a confirmed commit of session " +
                                           std::to_string(pending_->session) +
                                           " waits");
  }
  return std::nullopt;
}

Result Datastores::CommitForNow(SessionId session, const CommitRequest& request,
                                const Configuration& configuration) {
  Pending pending{session, request.persist, now_() + request.timeout};
  if (pending_.has_value() && !pending.persist.has_value()) {
    pending.persist = pending_->persist;
  }
  Result error = configurations_.CommitForNow(configuration);
  if (!error.has_value()) pending_ = std::move(pending);
  return error;
}

Result Datastores::CommitForGood(const Configuration& configuration) {
  Result error = configurations_.Commit(configuration);
  if (!error.has_value()) pending_.reset();
  return error;
}

Result Datastores::CancelCommit(SessionId session,
                                const std::optional<std::string>& persist_id) {
  if (!pending_.has_value() && !persist_id.has_value()) {
    return Failed("no confirmed commit waits");
  }
  if (Result error = CheckLock(session, Datastore::kRunning)) return error;
  if (Result error = CheckPending(session, persist_id)) return error;
  return RollBack();
}

// Validates the rollback as a change from an empty configuration, as at a
// start: rules about changes would refuse many rollbacks.
Result Datastores::JudgeRollback() const {
  return gate_.Judge(nullptr, configurations_.rollback());
}

// Ends the confirmed commit. After an error it is still pending.
Result Datastores::RollBack() {
  if (Result error = JudgeRollback()) return error;
  Result error = configurations_.RollBack();
  if (!error.has_value()) pending_.reset();
  return error;
}

// The same if no client waits for the result. The confirmed commit ends even
// after an error, which becomes a notice.
void Datastores::RollBackFor(const std::string& reason) {
  pending_.reset();
  if (const Result error = JudgeRollback()) {
    configurations_.AddNotice(kCommitIs + ("stays, although " + reason + ": ") +
                              error->message);
    configurations_.ForgetRollback();
    return;
  }
  const Result error = configurations_.RollBackAnyway();
  configurations_.AddNotice(kCommitIs + ("is taken back: " + reason));
  if (error.has_value()) configurations_.AddNotice(error->message);
}

Result Datastores::DiscardChanges(SessionId session) {
  if (Result error = CheckLock(session, Datastore::kCandidate)) return error;
  return configurations_.DropCandidate();
}

Result Datastores::Lock(SessionId session, Datastore datastore) {
  const std::optional<LockState>& lock = LockOf(datastore);
  if (lock.has_value()) {
    return LockDenied(lock->session, std::string(NameOf(datastore)) +
                                         " is locked by session " +
                                         std::to_string(lock->session));
  }
  if (datastore == Datastore::kCandidate &&
      configurations_.IsCandidateChanged()) {
    return LockDenied(
        0, "candidate has changes that are neither committed nor discarded");
  }
  if (datastore == Datastore::kRunning && pending_.has_value() &&
      pending_->session != session) {
    return LockDenied(pending_->session,
                      "a confirmed commit of another session waits");
  }
  locks_.at(IndexOf(datastore)) = {session, std::chrono::system_clock::now()};
  return std::nullopt;
}

Result Datastores::Unlock(SessionId session, Datastore datastore) {
  if (!LockOf(datastore).has_value()) {
    return Failed(std::string(NameOf(datastore)) + " is not locked");
  }
  if (const Result error = CheckLock(session, datastore)) {
    return Failed(error->message);
  }
  Release(datastore);
  return std::nullopt;
}

void Datastores::Release(Datastore datastore) {
  locks_.at(IndexOf(datastore)).reset();
  // RFC 6241, section 8.3.5.2.
  if (datastore != Datastore::kCandidate) return;
  const Result error = configurations_.DropCandidate();
  if (error.has_value()) configurations_.AddNotice(error->message);
}

void Datastores::SessionEnded(SessionId session) {
  if (pending_.has_value() && pending_->session == session) {
    if (pending_->persist.has_value()) {
      pending_->session = 0;
    } else {
      RollBackFor("session " + std::to_string(session) + " ended");
    }
  }
  for (const Datastore datastore :
       {Datastore::kRunning, Datastore::kCandidate, Datastore::kStartup}) {
    const std::optional<LockState>& lock = LockOf(datastore);
    if (lock.has_value() && lock->session == session) Release(datastore);
  }
}

const std::optional<Datastores::LockState>& Datastores::LockOf(
    Datastore datastore) const {
  return locks_.at(IndexOf(datastore));
}

std::optional<TimePoint> Datastores::Deadline() const {
  if (!pending_.has_value()) return std::nullopt;
  return pending_->deadline;
}

void Datastores::CheckTime() {
  if (pending_.has_value() && now_() >= pending_->deadline) {
    RollBackFor("it was not confirmed in time");
  }
}

std::vector<std::string> Datastores::TakeNotices() {
  return configurations_.TakeNotices();
}

}  // namespace ipav::store
