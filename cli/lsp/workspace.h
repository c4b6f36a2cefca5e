// The open documents, the commands that judge them, and the requests that wait
// for a verdict.
#ifndef IPAV_CLI_LSP_WORKSPACE_H_
#define IPAV_CLI_LSP_WORKSPACE_H_

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/lsp/client.h"
#include "cli/lsp/jobs.h"
#include "cli/lsp/open_document.h"
#include "cli/lsp/protocol.h"
#include "host/datastore/input_file.h"

namespace ipav::cli::lsp {

struct Settings {
  std::string running;   // file; empty: the one beside the document, if any
  std::string root;      // folder for a relative name; may be empty
  std::string messages;  // URI of docs/messages.md
  std::size_t max_text = datastore::kMaxInputSize;  // bytes of a document
  std::vector<std::string> limits;  // options of ipav check and ipav diff
  std::size_t max_jobs = 1;         // commands that run at once
  bool refreshes_lenses = false;    // the client can ask for them again
};

// A request that is answered when the verdict is known.
struct Held {
  enum class Kind { kActions, kLenses };

  Json id;
  Kind kind = Kind::kActions;
  std::string uri;
  Range range;  // of kActions
};

class Workspace {
 public:
  // Both are borrowed.
  Workspace(Jobs* jobs, Client* client) : jobs_(*jobs), client_(*client) {}

  Settings& settings() { return settings_; }

  void Open(const std::string& uri, Version version, const std::string& text);
  void Change(const std::string& uri, Version version,
              const std::vector<ContentChange>& changes);
  void Close(const std::string& uri);
  // A message was dropped, which may have changed a document. Its first bytes
  // mostly name the document.
  void Lose(std::string message);

  // Judges again, because files or settings may have changed.
  void CheckAgain(const std::string& uri);
  void CheckAllAgain();

  void Hold(Held request);
  // The request fails as cancelled, if it is held.
  void Cancel(const Json& id);

  // Null for a document that is not open.
  const OpenDocument* Find(const std::string& uri) const;

  // Starts what is to be found out, and answers what is known. To be called
  // when no message of the client is left.
  void Advance();

  // Descriptors that are readable when a command has ended.
  std::vector<int> Ends() const;
  // Takes the results of the commands that end there.
  void Collect(const std::vector<int>& ends);

 private:
  enum class Purpose { kVerdict, kFixes, kChanges };
  using Task = std::pair<std::string, Purpose>;  // of the document's URI

  const OpenDocument* FindFile(const std::string& name) const;
  bool IsRunning(const OpenDocument& document) const;
  std::string RunningOf(const OpenDocument& document) const;
  void Invalidate(OpenDocument* document);
  void InvalidateReadersOf(const std::string& file);
  bool Wants(const OpenDocument& document, Purpose purpose) const;
  void StartAll(OpenDocument* document);
  void Start(OpenDocument* document, Purpose purpose);
  void Take(const Task& task, const session::Answer& answer);
  void Publish(const OpenDocument& document);
  void KeepRunningOf(const OpenDocument& document);
  void RefreshLenses(const OpenDocument& document);
  bool Answer(const Held& request);
  template <typename Condition>
  void FailHeld(const Condition& condition, ErrorCode code);

  Jobs& jobs_;
  Client& client_;
  Settings settings_;
  std::map<std::string, OpenDocument> documents_;  // by URI
  std::string active_;  // URI of the one that changed last: judged first
  std::map<Task, std::unique_ptr<Job>> running_;
  std::vector<Held> held_;
};

}  // namespace ipav::cli::lsp

#endif  // IPAV_CLI_LSP_WORKSPACE_H_
