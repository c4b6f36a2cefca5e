#include "ipavd/store/configurations.h"

#include <utility>

namespace ipav::store {

namespace {

const lyd_node* TopOf(const Configuration& configuration) {
  return configuration == nullptr ? nullptr
                                  : configuration->FirstChild(nullptr);
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

Configurations::Configurations(Loaded&& loaded, StateFolder* folder)
    : folder_(*folder),
      running_(std::move(loaded.running)),
      startup_(std::move(loaded.startup)),
      candidate_(std::move(loaded.candidate)),
      notices_(std::move(loaded.notices)) {}

const lyd_node* Configurations::Tree(Datastore datastore) const {
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

bool Configurations::IsCandidateChanged() const {
  return candidate_.has_value() &&
         lyd_compare_siblings(candidate_->get(), TopOf(running_),
                              LYD_COMPARE_FULL_RECURSION) != LY_SUCCESS;
}

Result Configurations::SetCandidate(Nodes nodes) {
  const std::string text = TextOf(nodes.get());
  if (Result error = CheckSize(text, Datastore::kCandidate)) return error;
  return Store([&] {
    folder_.WriteLazily(kCandidateFile, text);
    candidate_ = std::move(nodes);
  });
}

Result Configurations::DropCandidate() {
  if (!candidate_.has_value()) return std::nullopt;
  return Store([&] {
    folder_.Remove(kCandidateFile);
    candidate_.reset();
  });
}

Result Configurations::SetStartup(const Configuration& configuration) {
  const std::string text = TextOf(TopOf(configuration));
  if (Result error = CheckSize(text, Datastore::kStartup)) return error;
  Result error = Store([&] { WriteStartup(configuration, text); });
  if (error.has_value()) {
    // The write may be partial: restore what clients are told.
    NoteError(Store([&] { WriteStartup(startup_, TextOf(TopOf(startup_))); }));
    return error;
  }
  startup_ = configuration;
  return std::nullopt;
}

void Configurations::WriteStartup(const Configuration& configuration,
                                  const std::string& text) {
  if (configuration == nullptr) {
    folder_.Remove(kStartupFile);
  } else {
    folder_.Write(kStartupFile, text);
  }
}

Result Configurations::SetRunning(const Configuration& configuration) {
  // A failing disk may have left a rollback file of an earlier commit, which
  // must not undo this change.
  if (rollback_ == nullptr) return WriteRunning(configuration, {kRollbackFile});
  return WriteRunning(configuration, {});
}

Result Configurations::Commit(const Configuration& configuration) {
  if (!candidate_.has_value() && rollback_ == nullptr) return std::nullopt;
  Result error = WriteRunning(configuration, {kRollbackFile, kCandidateFile});
  if (error.has_value()) return error;
  candidate_.reset();
  rollback_.reset();
  return std::nullopt;
}

Result Configurations::CommitForNow(const Configuration& configuration) {
  // 1. The rollback file first: it must be there whenever the server ends.
  const bool is_first = rollback_ == nullptr;
  const Configuration before = is_first ? running_ : rollback_;
  Result error;
  if (is_first) {
    error = Store([&] { folder_.Write(kRollbackFile, TextOf(TopOf(before))); });
  }
  // 2. Running.
  if (!error.has_value()) error = WriteRunning(configuration, {kCandidateFile});
  if (error.has_value()) {
    if (is_first) RemoveRollbackFile();
    return error;
  }
  candidate_.reset();
  rollback_ = before;
  return std::nullopt;
}

Result Configurations::RollBack() {
  Result error = WriteRunning(rollback_, {kRollbackFile});
  if (!error.has_value()) rollback_.reset();
  return error;
}

Result Configurations::RollBackAnyway() {
  Result error = WriteRunning(rollback_, {kRollbackFile});
  running_ = std::exchange(rollback_, nullptr);
  return error;
}

void Configurations::ForgetRollback() {
  RemoveRollbackFile();
  rollback_.reset();
}

void Configurations::RemoveRollbackFile() {
  NoteError(Store([&] { folder_.Remove(kRollbackFile); }));
}

std::vector<std::string> Configurations::TakeNotices() {
  return std::exchange(notices_, {});
}

void Configurations::NoteError(const Result& error) {
  if (error.has_value()) notices_.push_back(error->message);
}

// Whether the text may replace that datastore.
Result Configurations::CheckSize(const std::string& text,
                                 Datastore datastore) const {
  if (text.size() <= max_size_ ||
      text.size() <= TextOf(Tree(datastore)).size()) {
    return std::nullopt;
  }
  return MakeError(ErrorTag::kResourceDenied, "the configuration would have " +
                                                  std::to_string(text.size()) +
                                                  " bytes, the limit is " +
                                                  std::to_string(max_size_));
}

// Runs what writes to the folder.
Result Configurations::Store(const std::function<void()>& body) {
  try {
    body();
    return std::nullopt;
  } catch (const StateError& failure) {
    return MakeError(ErrorTag::kOperationFailed, failure.what());
  }
}

// Writes running.xml, removes `old_files`, and changes running in memory.
Result Configurations::WriteRunning(const Configuration& configuration,
                                    const std::vector<std::string>& old_files) {
  const std::string text = TextOf(TopOf(configuration));
  if (configuration != rollback_) {
    if (Result error = CheckSize(text, Datastore::kRunning)) return error;
  }
  Result error = Store([&] { folder_.Write(kRunningFile, text, old_files); });
  if (error.has_value()) {
    // The write may be partial. The next start must find what clients are told.
    NoteError(Store([&] { WriteAll(); }));
    return error;
  }
  running_ = configuration;
  return std::nullopt;
}

// Writes all files that WriteRunning() may have changed, as they are in memory.
void Configurations::WriteAll() {
  if (rollback_ != nullptr) {
    folder_.Write(kRollbackFile, TextOf(TopOf(rollback_)));
  }
  folder_.Write(kRunningFile, TextOf(TopOf(running_)));
  if (candidate_.has_value()) {
    folder_.WriteLazily(kCandidateFile, TextOf(candidate_->get()));
  }
}

}  // namespace ipav::store
