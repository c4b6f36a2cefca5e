// An open document with what is known of its present text: the verdict, the
// fixes, and the changes against the running configuration.
#ifndef IPAV_CLI_LSP_OPEN_DOCUMENT_H_
#define IPAV_CLI_LSP_OPEN_DOCUMENT_H_

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "cli/lsp/document.h"
#include "cli/lsp/problem.h"
#include "cli/lsp/protocol.h"
#include "cli/report/device_report.h"
#include "cli/session/worker.h"

namespace ipav::cli::lsp {

// The command of a lens: judges the document again.
inline constexpr char kCheckCommand[] = "ipav.check";

class OpenDocument {
 public:
  // No text may have more than `max_text` bytes. `messages` is the URI of
  // docs/messages.md.
  OpenDocument(const std::string& uri, Version version, std::string text,
               std::size_t max_text, std::string messages);

  // The text that the client has now. Forgets the verdict.
  void Change(Version version, const std::vector<ContentChange>& changes);

  // What is known is not up to date, because a file has changed.
  void Forget();

  // The text is not known until the client sends all of it.
  void Lose(const std::string& reason);

  // The result of `ipav check --all --format json`, also with --suggest, and of
  // `ipav diff --format json`, for the present text.
  void TakeVerdict(const session::Answer& answer);
  void TakeFixes(const session::Answer& answer);
  void TakeChanges(const session::Answer& answer);

  const std::string& uri() const { return judged_.uri; }
  const std::string& name() const { return judged_.name; }
  const Document& document() const { return document_; }
  const std::string& running() const { return running_; }
  void set_running(std::string running, bool is_running) {
    running_ = std::move(running);
    is_running_ = is_running;
  }

  bool is_lost() const { return is_lost_; }
  bool is_judged() const { return is_judged_; }
  // Whether the plug-in judged the text.
  bool has_verdict() const;
  bool has_fixes() const { return fixes_.has_value(); }
  bool has_changes() const { return has_changes_; }

  // Whether a refusal has a node in the lines of that range.
  bool HasRefusalIn(const Range& range) const;

  Json Diagnostics() const;  // publishDiagnostics' parameters
  Json ActionsIn(const Range& range) const;
  Json Lenses() const;

  OpenDocument(const OpenDocument&) = delete;
  OpenDocument& operator=(const OpenDocument&) = delete;

 private:
  void Apply(const ContentChange& change);
  bool IsIn(const Problem& problem, const Range& range) const;
  Json ActionOf(const messages::Fix& fix, const Problem& problem) const;
  std::string VerdictInWords() const;
  std::string ChangesInWords() const;

  Document document_;
  Judged judged_;
  Version version_;
  const std::size_t max_text_;
  bool is_lost_ = false;     // then `document_` is empty
  std::string running_;      // file; empty: none
  bool is_running_ = false;  // is itself one

  // From the last text that could be read to its end, moved with the text.
  std::vector<Problem> problems_;
  std::optional<Problem> end_;  // of a text that is half typed

  bool is_judged_ = false;  // the members below are of the present text
  std::optional<report::DeviceReport> report_;
  std::optional<report::DeviceReport> fixes_;
  bool has_changes_ = false;
  std::optional<std::size_t> changes_;  // none if `ipav diff` failed
};

}  // namespace ipav::cli::lsp

#endif  // IPAV_CLI_LSP_OPEN_DOCUMENT_H_
