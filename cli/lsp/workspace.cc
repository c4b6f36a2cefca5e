#include "cli/lsp/workspace.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <system_error>

namespace ipav::cli::lsp {

namespace {

namespace fs = std::filesystem;

bool Exists(const fs::path& path) {
  std::error_code error;
  return fs::exists(path, error);
}

fs::path SettledRunning(const Settings& settings) {
  return (fs::path(settings.root) / settings.running).lexically_normal();
}

}  // namespace

// ---- Documents --------------------------------------------------------------

void Workspace::Open(const std::string& uri, Version version,
                     const std::string& text) {
  Close(uri);  // a client may open it twice
  const auto [slot, is_new] = documents_.try_emplace(
      uri, uri, version, text, settings_.max_text, settings_.messages);
  InvalidateReadersOf(slot->second.name());
  if (slot->second.is_judged()) Publish(slot->second);
}

void Workspace::Change(const std::string& uri, Version version,
                       const std::vector<ContentChange>& changes) {
  const auto found = documents_.find(uri);
  if (found == documents_.end()) return;
  OpenDocument& document = found->second;
  active_ = uri;
  Invalidate(&document);
  document.Change(version, changes);
  InvalidateReadersOf(document.name());
  if (document.is_judged()) Publish(document);
}

void Workspace::Close(const std::string& uri) {
  const auto found = documents_.find(uri);
  if (found == documents_.end()) return;
  Invalidate(&found->second);
  const std::string name = found->second.name();
  documents_.erase(found);
  FailHeld([&](const Held& held) { return held.uri == uri; }, kContentModified);
  client_.Notify("textDocument/publishDiagnostics",
                 {{"uri", uri}, {"diagnostics", Json::array()}});
  InvalidateReadersOf(name);
}

void Workspace::Lose(std::string message) {
  // Some clients escape the slashes of a URI.
  message.erase(std::remove(message.begin(), message.end(), '\\'),
                message.end());
  if (message.find("textDocument/didOpen") != std::string::npos) return;
  const auto is_named = [&](const auto& each) {
    return message.find('"' + each.first + '"') != std::string::npos;
  };
  const bool is_one =
      std::any_of(documents_.begin(), documents_.end(), is_named);
  for (auto& each : documents_) {
    if (is_one && !is_named(each)) continue;
    Invalidate(&each.second);
    each.second.Lose("a change is too large; open the document again");
    InvalidateReadersOf(each.second.name());
    Publish(each.second);
  }
}

void Workspace::CheckAgain(const std::string& uri) {
  const auto found = documents_.find(uri);
  if (found == documents_.end()) return;
  Invalidate(&found->second);
  InvalidateReadersOf(found->second.name());
}

void Workspace::CheckAllAgain() {
  for (auto& [uri, document] : documents_) Invalidate(&document);
}

const OpenDocument* Workspace::Find(const std::string& uri) const {
  const auto found = documents_.find(uri);
  return found == documents_.end() ? nullptr : &found->second;
}

const OpenDocument* Workspace::FindFile(const std::string& name) const {
  const auto found = std::find_if(
      documents_.begin(), documents_.end(),
      [&](const auto& each) { return each.second.name() == name; });
  return found == documents_.end() ? nullptr : &found->second;
}

bool Workspace::IsRunning(const OpenDocument& document) const {
  return settings_.running.empty()
             ? fs::path(document.name()).stem() == "running"
             : document.name() == SettledRunning(settings_);
}

// The setting, else running.xml or running.json beside the file; first the one
// of the same format. A running configuration is judged on its own.
std::string Workspace::RunningOf(const OpenDocument& document) const {
  if (IsRunning(document)) return "";
  if (!settings_.running.empty()) return SettledRunning(settings_);
  const fs::path file = document.name();
  if (!file.is_absolute()) return "";
  std::string same_format = file.extension();
  for (const std::string& ending :
       {same_format, std::string(".xml"), std::string(".json")}) {
    if (ending != ".xml" && ending != ".json") continue;
    const fs::path running = file.parent_path() / ("running" + ending);
    if (FindFile(running) != nullptr || Exists(running)) return running;
  }
  return "";
}

// What is being found out about it is of no use any more.
void Workspace::Invalidate(OpenDocument* document) {
  const std::string& uri = document->uri();
  for (const Purpose purpose :
       {Purpose::kVerdict, Purpose::kFixes, Purpose::kChanges}) {
    running_.erase({uri, purpose});
  }
  document->Forget();
  // Their ranges are of the former text. Lenses have none.
  FailHeld(
      [&](const Held& held) {
        return held.uri == uri && held.kind == Held::Kind::kActions;
      },
      kContentModified);
}

void Workspace::InvalidateReadersOf(const std::string& file) {
  for (auto& [uri, document] : documents_) {
    if (document.name() == file) continue;
    if (document.running() == file || RunningOf(document) == file) {
      Invalidate(&document);
    }
  }
}

void Workspace::Publish(const OpenDocument& document) {
  client_.Notify("textDocument/publishDiagnostics", document.Diagnostics());
}

// ---- Held requests ----------------------------------------------------------

void Workspace::Hold(Held request) { held_.push_back(std::move(request)); }

template <typename Condition>
void Workspace::FailHeld(const Condition& condition, ErrorCode code) {
  std::vector<Held> requests;
  std::vector<Held> others;
  for (Held& held : held_) {
    (condition(held) ? requests : others).push_back(std::move(held));
  }
  held_ = std::move(others);
  for (const Held& held : requests) {
    client_.Fail(
        held.id, code,
        code == kRequestCancelled ? "cancelled" : "the document was changed");
  }
}

void Workspace::Cancel(const Json& id) {
  FailHeld([&](const Held& held) { return held.id == id; }, kRequestCancelled);
}

// Whether it could be answered.
bool Workspace::Answer(const Held& request) {
  const OpenDocument* document = Find(request.uri);
  if (document == nullptr) {
    client_.Reply(request.id, nullptr);
    return true;
  }
  if (!document->is_judged()) return false;
  if (request.kind == Held::Kind::kLenses) {
    if (Wants(*document, Purpose::kChanges)) return false;
    client_.Reply(request.id, document->Lenses());
    return true;
  }
  if (Wants(*document, Purpose::kFixes)) return false;
  client_.Reply(request.id, document->ActionsIn(request.range));
  return true;
}

// ---- Commands ---------------------------------------------------------------

// Whether this is to be found out. Fixes and changes are only looked for when
// they are asked for, and after the verdict.
bool Workspace::Wants(const OpenDocument& document, Purpose purpose) const {
  if (purpose == Purpose::kVerdict) return !document.is_judged();
  if (!document.has_verdict()) return false;
  const auto is_waiting = [&](const Held& held) {
    if (held.uri != document.uri()) return false;
    if (purpose == Purpose::kChanges) {
      return held.kind == Held::Kind::kLenses && !document.has_changes() &&
             !document.running().empty();
    }
    return held.kind == Held::Kind::kActions && !document.has_fixes() &&
           document.HasRefusalIn(held.range);
  };
  return std::any_of(held_.begin(), held_.end(), is_waiting);
}

void Workspace::Start(OpenDocument* document, Purpose purpose) {
  if (running_.count({document->uri(), purpose}) > 0) return;
  if (running_.size() >= settings_.max_jobs) return;
  // 1. The command.
  if (purpose == Purpose::kVerdict) {
    document->set_running(RunningOf(*document), IsRunning(*document));
  }
  const std::string& running = document->running();
  std::vector<std::string> words = {"check", "--all"};
  if (purpose == Purpose::kChanges) {
    words = {"diff", running};
  } else if (!running.empty()) {
    words.insert(words.end(), {"--running", running});
  }
  if (purpose == Purpose::kFixes) words.emplace_back("--suggest");
  words.insert(words.end(), settings_.limits.begin(), settings_.limits.end());
  words.insert(words.end(), {"--format", "json", document->name()});
  // 2. The texts of open documents.
  session::Request request{std::move(words), {}};
  request.texts[document->name()] = document->document().text();
  const OpenDocument* open = FindFile(running);
  if (open != nullptr && !open->is_lost())
    request.texts[running] = open->document().text();
  // 3. A process that cannot be started gives no verdict.
  const Task task{document->uri(), purpose};
  try {
    running_[task] = jobs_.Start(request);
  } catch (const std::exception& error) {
    running_.erase(task);
    Take(task, {kPluginFailed, "", error.what()});
  }
}

void Workspace::StartAll(OpenDocument* document) {
  for (const Purpose purpose :
       {Purpose::kVerdict, Purpose::kFixes, Purpose::kChanges}) {
    if (Wants(*document, purpose)) Start(document, purpose);
  }
}

void Workspace::Advance() {
  const auto active = documents_.find(active_);
  if (active != documents_.end()) StartAll(&active->second);
  for (auto& [uri, document] : documents_) StartAll(&document);
  const auto left =
      std::remove_if(held_.begin(), held_.end(),
                     [&](const Held& held) { return Answer(held); });
  held_.erase(left, held_.end());
}

std::vector<int> Workspace::Ends() const {
  std::vector<int> ends;
  for (const auto& [task, job] : running_) ends.push_back(job->end());
  return ends;
}

void Workspace::Collect(const std::vector<int>& ends) {
  std::vector<std::pair<Task, std::unique_ptr<Job>>> ended;
  for (auto& [task, job] : running_) {
    if (std::find(ends.begin(), ends.end(), job->end()) != ends.end()) {
      ended.emplace_back(task, std::move(job));
    }
  }
  for (auto& [task, job] : ended) {
    running_.erase(task);
    try {
      Take(task, job->Collect());
    } catch (const std::exception& error) {
      Take(task, {kPluginFailed, "", error.what()});
    }
  }
}

void Workspace::Take(const Task& task, const session::Answer& answer) {
  OpenDocument& document = documents_.at(task.first);
  switch (task.second) {
    case Purpose::kVerdict:
      document.TakeVerdict(answer);
      Publish(document);
      RefreshLenses(document);
      KeepRunningOf(document);
      break;
    case Purpose::kFixes:
      document.TakeFixes(answer);
      break;
    case Purpose::kChanges:
      document.TakeChanges(answer);
      break;
  }
}

// The next text is compared with it, too.
void Workspace::KeepRunningOf(const OpenDocument& document) {
  const std::string& running = document.running();
  if (document.has_verdict() && document.uri() == active_ && !running.empty() &&
      FindFile(running) == nullptr) {
    jobs_.Keep(running);
  }
}

// Lenses that wait for the verdict are new anyway.
void Workspace::RefreshLenses(const OpenDocument& document) {
  const bool is_held =
      std::any_of(held_.begin(), held_.end(), [&](const Held& held) {
        return held.kind == Held::Kind::kLenses && held.uri == document.uri();
      });
  if (is_held || !settings_.refreshes_lenses) return;
  client_.Request("workspace/codeLens/refresh", nullptr);
}

}  // namespace ipav::cli::lsp
