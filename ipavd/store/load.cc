#include "ipavd/store/load.h"

#include <utility>

#include "ipavd/store/edit_config.h"

namespace ipav::store {

namespace {

constexpr const char* kVersion = "1\n";

// Removes byte order mark, blanks and XML declaration from the start of a file.
std::string WithoutDeclaration(const std::string& text) {
  const std::size_t begin = text.find_first_not_of("\xef\xbb\xbf \t\r\n");
  if (begin == std::string::npos) return "";
  const std::string rest = text.substr(begin);
  const std::size_t end = rest.find("?>");
  const bool has_declaration = rest.compare(0, 5, "<?xml") == 0;
  return has_declaration && end != std::string::npos ? rest.substr(end + 2)
                                                     : rest;
}

class Loader {
 public:
  Loader(const CommitGate& gate, StateFolder* folder)
      : gate_(gate), folder_(*folder) {}

  Loaded Run() {
    // 1. Read all files before any of them is changed.
    CheckVersion();
    const std::optional<std::string> rollback = Read(kRollbackFile);
    const std::optional<std::string> running = Read(kRunningFile);
    const std::optional<std::string> startup = Read(kStartupFile);
    if (startup.has_value()) {
      loaded_.startup = Complete(kStartupFile, WithoutDeclaration(*startup));
    }
    // 2. Load running from the files that exist.
    if (!RollBack(rollback)) {
      if (running.has_value()) {
        UseRunning(*running);
      } else {
        MakeRunning();
      }
    }
    if (rollback.has_value()) folder_.Remove(kRollbackFile);
    // 3. Load the candidate, and mark the folder.
    ReadCandidate();
    if (!is_known_) folder_.Write(kVersionFile, kVersion);
    return std::move(loaded_);
  }

 private:
  void Notice(const std::string& name, const std::string& text) {
    loaded_.notices.push_back(folder_.FileOf(name) + ": " + text);
  }

  void CheckVersion() {
    const std::optional<std::string> version = Read(kVersionFile);
    is_known_ = version.has_value();
    if (is_known_ && *version != kVersion) {
      throw StateError(folder_.FileOf(kVersionFile),
                       "is of a later ipav, which has another format");
    }
  }

  // What an operator can do about a damaged file.
  std::string Advice(const std::string& name) const {
    const std::string startup = folder_.FileOf(kStartupFile);
    if (name == kRunningFile) {
      return "; put a copy of it back, or, to start with another "
             "configuration, move it away and put that in " +
             startup;
    }
    if (name == kRollbackFile) {
      return "; put a copy of it back, or, to keep the confirmed commit that "
             "it would undo, move it away";
    }
    return "; put a copy of it back, or move it away";
  }

  std::optional<std::string> Read(const std::string& name) const {
    try {
      return name == kStartupFile ? folder_.ReadOfAnyone(name)
                                  : folder_.Read(name);
    } catch (const StateError& error) {
      throw StateError(error.what() + Advice(name));
    }
  }

  Edited Parse(const std::string& text) const {
    EditRules rules;
    rules.allows_operations = false;
    return EditConfig(gate_.model(), nullptr, text, rules);
  }

  Configuration Complete(const std::string& name,
                         const std::string& text) const {
    Edited parsed = Parse(text);
    if (!parsed.errors.empty()) Refuse(name, parsed.errors[0]);
    Judgement judgement = gate_.Complete(std::move(parsed.nodes));
    if (judgement.error.has_value()) Refuse(name, *judgement.error);
    return judgement.configuration;
  }

  [[noreturn]] void Refuse(const std::string& name,
                           const RpcError& error) const {
    throw StateError(folder_.FileOf(name),
                     "is refused: " + InWords(error) + Advice(name));
  }

  // Asks the plug-in. Throws StateError if it gives no verdict, which is not
  // the fault of a file.
  std::optional<RpcError> Judge(const Configuration& configuration) const {
    std::optional<RpcError> error = gate_.Judge(nullptr, configuration);
    if (error.has_value() && error->is_plugin_failure) {
      throw StateError(folder_.path(),
                       "cannot be loaded: " + InWords(*error) +
                           "; its files are unchanged and need no repair: "
                           "start again when the plug-in works");
    }
    return error;
  }

  // Restores running from before a confirmed commit. False if it did not.
  bool RollBack(const std::optional<std::string>& rollback) {
    if (!rollback.has_value()) return false;
    Configuration before = Complete(kRollbackFile, *rollback);
    const std::optional<RpcError> error = Judge(before);
    if (error.has_value()) {
      Notice(kRollbackFile,
             "is refused and given up, and the confirmed commit behind it "
             "stays: " +
                 InWords(*error));
      return false;
    }
    folder_.Write(kRunningFile, *rollback);
    Notice(kRunningFile,
           "a confirmed commit was not confirmed before the server ended, and "
           "is taken back");
    loaded_.running = std::move(before);
    return true;
  }

  void UseRunning(const std::string& text) {
    loaded_.running = Complete(kRunningFile, text);
    const std::optional<RpcError> error = Judge(loaded_.running);
    if (error.has_value()) Refuse(kRunningFile, *error);
  }

  // Makes running from startup; in a new folder without startup it is empty.
  void MakeRunning() {
    const bool is_new = !is_known_ && loaded_.startup == nullptr;
    if (loaded_.startup == nullptr && !is_new) {
      throw StateError(folder_.FileOf(kRunningFile),
                       "is missing; put it back, or put a configuration to "
                       "start with in " +
                           folder_.FileOf(kStartupFile));
    }
    loaded_.running =
        is_new ? gate_.Complete(nullptr).configuration : loaded_.startup;
    const std::optional<RpcError> error = Judge(loaded_.running);
    if (error.has_value()) {
      Refuse(is_new ? kRunningFile : kStartupFile, *error);
    }
    folder_.Write(kRunningFile, TextOf(loaded_.running->FirstChild(nullptr)));
    Notice(kRunningFile, is_new ? "is new: nothing is configured yet"
                                : "was not there; it is startup.xml now");
  }

  // A damaged candidate is discarded: it is not guaranteed to be kept.
  void ReadCandidate() {
    try {
      const std::optional<std::string> text = folder_.Read(kCandidateFile);
      if (!text.has_value()) return;
      Edited parsed = Parse(*text);
      if (parsed.errors.empty()) {
        loaded_.candidate = std::move(parsed.nodes);
      } else {
        Notice(kCandidateFile, "is given up: " + InWords(parsed.errors[0]));
      }
    } catch (const StateError& error) {
      loaded_.notices.push_back(std::string(error.what()) + "; it is given up");
    }
  }

  const CommitGate& gate_;
  StateFolder& folder_;
  bool is_known_ = false;
  Loaded loaded_;
};

}  // namespace

Loaded Load(const CommitGate& gate, StateFolder* folder) {
  return Loader(gate, folder).Run();
}

}  // namespace ipav::store
