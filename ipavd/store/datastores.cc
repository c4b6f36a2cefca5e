#include "ipavd/store/datastores.h"

#include <utility>

#include "ipavd/store/load.h"

namespace ipav::store {

namespace {

constexpr const char* kCommitIs = "the confirmed commit ";

std::size_t IndexOf(Datastore datastore) {
  return static_cast<std::size_t>(datastore);
}

RpcError MakeError(ErrorTag tag, const std::string& message) {
  RpcError error;
  error.tag = tag;
  error.message = message;
  return error;
}

RpcError Failed(const std::string& message) {
  return MakeError(ErrorTag::kOperationFailed, message);
}

RpcError LockDenied(SessionId holder, const std::string& message) {
  RpcError error = MakeError(ErrorTag::kLockDenied, message);
  error.type = ErrorType::kProtocol;
  error.info = {{"session-id", std::to_string(holder)}};
  return error;
}

RpcError NotSupported(const std::string& message) {
  RpcError error = MakeError(ErrorTag::kOperationNotSupported, message);
  error.type = ErrorType::kProtocol;
  return error;
}

std::string Quote(const std::string& text) { return "\"" + text + "\""; }

const lyd_node* TopOf(const Configuration& configuration) {
  return configuration == nullptr ? nullptr
                                  : configuration->FirstChild(nullptr);
}

// The datastore that a client named as a source.
std::optional<Datastore> NamedIn(const Source& source) {
  const auto* config = std::get_if<InlineConfig>(&source);
  return config != nullptr ? config->copy_of : std::get<Datastore>(source);
}

// And not with other default values.
bool IsRunningAsItIs(const Source& source) {
  const auto* datastore = std::get_if<Datastore>(&source);
  return datastore != nullptr && *datastore == Datastore::kRunning;
}

// The content of an element config that is no edit.
Edited ParseInline(const datastore::Model& model, const InlineConfig& config) {
  EditRules rules;
  rules.allows_operations = false;
  return EditConfig(model, nullptr, config.xml, rules);
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
    : gate_(std::move(gate)), folder_(*folder), now_(std::move(now)) {
  if (now_ == nullptr) now_ = std::chrono::steady_clock::now;
  Loaded loaded = Load(gate_, folder);
  running_ = std::move(loaded.running);
  startup_ = std::move(loaded.startup);
  candidate_ = std::move(loaded.candidate);
  notices_ = std::move(loaded.notices);
}

const lyd_node* Datastores::Tree(Datastore datastore) const {
  switch (datastore) {
    case Datastore::kCandidate:
      return candidate_.has_value() ? candidate_->get() : TopOf(running_);
    case Datastore::kStartup:
      return TopOf(startup_);
    case Datastore::kRunning:
      break;
  }
  return TopOf(running_);
}

// Whether a session must leave a datastore alone.
Result Datastores::CheckLock(SessionId session, Datastore datastore) const {
  const std::optional<LockState>& lock = LockOf(datastore);
  if (!lock.has_value() || lock->session == session) return std::nullopt;
  return MakeError(ErrorTag::kInUse, std::string(NameOf(datastore)) +
                                         " is locked by session " +
                                         std::to_string(lock->session));
}

std::vector<RpcError> Datastores::Edit(SessionId session,
                                       const EditRequest& request) {
  // 1. Whether it may be edited at all.
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

  // 3. What it leaves.
  if (Result error = SetEdited(request, std::move(edited.nodes))) {
    edited.errors.push_back(*std::move(error));
  }
  return edited.errors;
}

// Tests and sets what an edit leaves, as far as the request asks for either.
Result Datastores::SetEdited(const EditRequest& request, Nodes nodes) {
  if (request.target == Datastore::kCandidate &&
      request.test_option == TestOption::kSet) {
    return SetCandidate(std::move(nodes));
  }
  const Judgement judgement = gate_.Judge(running_, Copy(nodes.get()));
  if (judgement.error.has_value() ||
      request.test_option == TestOption::kTestOnly) {
    return judgement.error;
  }
  return request.target == Datastore::kCandidate
             ? SetCandidate(std::move(nodes))
             : SetRunning(judgement.configuration, StaleFiles());
}

Result Datastores::CopyConfig(SessionId session, const Source& source,
                              Datastore target) {
  // 1. From where to where.
  if (NamedIn(source) == target) {
    return MakeError(ErrorTag::kInvalidValue,
                     std::string(NameOf(target)) + " is source and target");
  }
  if (Result error = CheckLock(session, target)) return error;

  // 2. What.
  Nodes nodes;
  if (Result error = TakeSource(source, &nodes)) return error;
  switch (target) {
    case Datastore::kCandidate:
      return IsRunningAsItIs(source) ? DropCandidate()
                                     : SetCandidate(std::move(nodes));
    case Datastore::kStartup: {
      const Judgement complete = gate_.Complete(std::move(nodes));
      return complete.error.has_value() ? complete.error
                                        : SetStartup(complete.configuration);
    }
    case Datastore::kRunning:
      break;
  }
  const Judgement judgement = gate_.Judge(running_, std::move(nodes));
  if (judgement.error.has_value()) return judgement.error;
  return SetRunning(judgement.configuration, StaleFiles());
}

// The nodes of a source, which are then the caller's.
Result Datastores::TakeSource(const Source& source, Nodes* nodes) const {
  if (NamedIn(source) == Datastore::kStartup && startup_ == nullptr) {
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
  if (startup_ == nullptr) {
    return MakeError(ErrorTag::kDataMissing,
                     "there is no startup configuration");
  }
  return SetStartup({});
}

Result Datastores::Validate(const Source& source) const {
  Nodes nodes;
  if (Result error = TakeSource(source, &nodes)) return error;
  // Running and startup are what the next start loads, with nothing before it.
  const auto* datastore = std::get_if<Datastore>(&source);
  const bool is_loaded =
      datastore != nullptr && *datastore != Datastore::kCandidate;
  return gate_.Judge(is_loaded ? nullptr : running_, std::move(nodes)).error;
}

Result Datastores::Commit(SessionId session, const CommitRequest& request) {
  // 1. Whether the session may.
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
      gate_.Judge(running_, Copy(Tree(Datastore::kCandidate)));
  if (judgement.error.has_value()) return judgement.error;

  // 3. Running.
  return request.confirmed
             ? CommitForNow(session, request, judgement.configuration)
             : CommitForGood(judgement.configuration);
}

// Whether a session may confirm, follow up or cancel what waits, if anything.
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
  // The way back comes first: whenever the server ends, it is there.
  Pending pending;
  pending.session = session;
  pending.persist = request.persist;
  pending.deadline = now_() + request.timeout;
  if (pending_.has_value()) {
    pending.before = pending_->before;
    if (!pending.persist.has_value()) pending.persist = pending_->persist;
  } else {
    pending.before = running_;
    Result error =
        Store([&] { folder_.Write(kRollbackFile, TextOf(TopOf(running_))); });
    if (error.has_value()) {
      ForgetRollback();
      return error;
    }
  }
  Result error = SetRunning(configuration, {kCandidateFile});
  if (error.has_value()) {
    if (!pending_.has_value()) ForgetRollback();
    return error;
  }
  candidate_.reset();
  pending_ = std::move(pending);
  return std::nullopt;
}

// Nothing is to be taken back, since nothing was done.
void Datastores::ForgetRollback() {
  const Result error = Store([&] { folder_.Remove(kRollbackFile); });
  if (error.has_value()) notices_.push_back(error->message);
}

Result Datastores::CommitForGood(const Configuration& configuration) {
  if (!candidate_.has_value() && !pending_.has_value()) return std::nullopt;
  Result error = SetRunning(configuration, {kRollbackFile, kCandidateFile});
  if (error.has_value()) return error;
  candidate_.reset();
  pending_.reset();
  return std::nullopt;
}

Result Datastores::CancelCommit(SessionId session,
                                const std::optional<std::string>& persist_id) {
  if (!pending_.has_value() && !persist_id.has_value()) {
    return Failed("no confirmed commit waits");
  }
  if (Result error = CheckLock(session, Datastore::kRunning)) return error;
  if (Result error = CheckPending(session, persist_id)) return error;
  return TakeBack();
}

// As at a start: rules on changes would forbid many a way back.
Result Datastores::JudgeWayBack() const {
  return gate_.Judge(nullptr, pending_->before);
}

// Running is as it was before the confirmed commit, or, with an error, not.
Result Datastores::TakeBack() {
  if (Result error = JudgeWayBack()) return error;
  Result error = SetRunning(pending_->before, {kRollbackFile});
  if (!error.has_value()) pending_.reset();
  return error;
}

// The same where there is nobody to tell. It is over then, in any case.
void Datastores::TakeBackFor(const std::string& reason) {
  if (const Result error = JudgeWayBack()) {
    notices_.push_back(kCommitIs + ("stays, although " + reason + ": ") +
                       error->message);
    ForgetRollback();
    pending_.reset();
    return;
  }
  const Result error = SetRunning(pending_->before, {kRollbackFile});
  // A disk that fails keeps what to go back to, for the next start to do so.
  running_ = pending_->before;
  pending_.reset();
  notices_.push_back(kCommitIs + ("is taken back: " + reason));
  if (error.has_value()) notices_.push_back(error->message);
}

Result Datastores::DiscardChanges(SessionId session) {
  if (Result error = CheckLock(session, Datastore::kCandidate)) return error;
  return DropCandidate();
}

Result Datastores::Lock(SessionId session, Datastore datastore) {
  const std::optional<LockState>& lock = LockOf(datastore);
  if (lock.has_value()) {
    return LockDenied(lock->session, std::string(NameOf(datastore)) +
                                         " is locked by session " +
                                         std::to_string(lock->session));
  }
  if (datastore == Datastore::kCandidate && IsCandidateChanged()) {
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
  const Result error = DropCandidate();
  if (error.has_value()) notices_.push_back(error->message);
}

void Datastores::SessionEnded(SessionId session) {
  if (pending_.has_value() && pending_->session == session) {
    if (pending_->persist.has_value()) {
      pending_->session = 0;
    } else {
      TakeBackFor("session " + std::to_string(session) + " ended");
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
    TakeBackFor("it was not confirmed in time");
  }
}

std::vector<std::string> Datastores::TakeNotices() {
  return std::exchange(notices_, {});
}

// Whether the candidate is more than a copy of running.
bool Datastores::IsCandidateChanged() const {
  return candidate_.has_value() &&
         lyd_compare_siblings(candidate_->get(), TopOf(running_),
                              LYD_COMPARE_FULL_RECURSION) != LY_SUCCESS;
}

// What a failing disk may have left of an earlier operation, and what must not
// undo a later one.
std::vector<std::string> Datastores::StaleFiles() const {
  if (pending_.has_value()) return {};
  return {kRollbackFile};
}

// Runs what writes to the folder.
Result Datastores::Store(const std::function<void()>& body) {
  try {
    body();
    return std::nullopt;
  } catch (const StateError& error) {
    return Failed(error.what());
  }
}

Result Datastores::SetCandidate(Nodes nodes) {
  return Store([&] {
    folder_.WriteLazily(kCandidateFile, TextOf(nodes.get()));
    candidate_ = std::move(nodes);
  });
}

Result Datastores::DropCandidate() {
  if (!candidate_.has_value()) return std::nullopt;
  return Store([&] {
    folder_.Remove(kCandidateFile);
    candidate_.reset();
  });
}

// Null: there is none from now on.
Result Datastores::SetStartup(const Configuration& configuration) {
  Result error = Store([&] { WriteStartup(configuration); });
  if (error.has_value()) {
    // As for running: it must be what is told.
    const Result undone = Store([&] { WriteStartup(startup_); });
    if (undone.has_value()) notices_.push_back(undone->message);
    return error;
  }
  startup_ = configuration;
  return std::nullopt;
}

void Datastores::WriteStartup(const Configuration& configuration) {
  if (configuration == nullptr) {
    folder_.Remove(kStartupFile);
  } else {
    folder_.Write(kStartupFile, TextOf(TopOf(configuration)));
  }
}

// What the gate has accepted becomes running, on the disk first; `old_files`
// go with the change.
Result Datastores::SetRunning(const Configuration& configuration,
                              const std::vector<std::string>& old_files) {
  Result error = Store([&] {
    folder_.WriteAndRemove(kRunningFile, TextOf(TopOf(configuration)),
                           old_files);
  });
  if (!error.has_value()) {
    running_ = configuration;
    return std::nullopt;
  }
  // Nobody knows how far it came. What is told must be what the next start
  // finds.
  const Result undone = Store([&] { WriteAll(); });
  if (undone.has_value()) notices_.push_back(undone->message);
  return error;
}

// All that may have been changed, as it is in memory.
void Datastores::WriteAll() {
  if (pending_.has_value()) {
    folder_.Write(kRollbackFile, TextOf(TopOf(pending_->before)));
  }
  folder_.Write(kRunningFile, TextOf(TopOf(running_)));
  if (candidate_.has_value()) {
    folder_.WriteLazily(kCandidateFile, TextOf(candidate_->get()));
  }
}

}  // namespace ipav::store
