// What is wrong with a document, by bytes of its text, so that it stays in its
// place while the text is edited.
#ifndef IPAV_CLI_LSP_PROBLEM_H_
#define IPAV_CLI_LSP_PROBLEM_H_

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "cli/lsp/document.h"
#include "cli/lsp/protocol.h"
#include "cli/report/device_report.h"

namespace ipav::cli::lsp {

// A document as it is judged.
struct Judged {
  const Document& document;
  std::string uri;
  std::string name;      // of its file, as ipav gets it
  std::string messages;  // URI of docs/messages.md
};

// Another node that a problem is about.
struct RelatedNode {
  std::string text;          // "overlaps with: /config/... (unchanged)"
  std::optional<Span> here;  // in this document
  bool is_altered = false;   // by the change
  std::optional<Location> elsewhere;
  std::string file;  // of that other place
};

struct Problem {
  Span span;
  Severity severity = Severity::kError;
  std::string code;
  std::string href;
  std::string text;
  std::vector<RelatedNode> related;
  std::size_t finding = 0;  // its number in the report, from 1; 0: none
};

// A problem of the document as a whole, shown at its first line.
Problem ProblemOfAll(const Document& document, const std::string& text,
                     Severity severity = Severity::kError);

// What a report says of a document: errors of the input, refusals, the failure
// of the plug-in, and advice.
std::vector<Problem> ProblemsOf(const report::DeviceReport& report,
                                const Judged& judged);

// Why the text cannot be read to its end; none if it can.
std::optional<Problem> FindEnd(const Judged& judged);

// Moves a problem with the text when a part is replaced by `size` bytes. False
// if that changes the text of one of its nodes, which may correct it.
bool Move(const Span& replaced, std::size_t size, Problem* problem);

// The `Diagnostic` of the protocol.
Json DiagnosticOf(const Problem& problem, const Judged& judged);

}  // namespace ipav::cli::lsp

#endif  // IPAV_CLI_LSP_PROBLEM_H_
