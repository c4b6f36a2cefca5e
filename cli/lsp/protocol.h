// Types of the Language Server Protocol, version 3.17, as plain structs. Only
// the members that this server reads or writes.
#ifndef IPAV_CLI_LSP_PROTOCOL_H_
#define IPAV_CLI_LSP_PROTOCOL_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/report/json/json_text.h"

namespace ipav::cli::lsp {

using report::Json;

enum ErrorCode {
  kParseError = -32700,
  kInvalidRequest = -32600,
  kMethodNotFound = -32601,
  kInvalidParams = -32602,
  kServerNotInitialized = -32002,
  kRequestFailed = -32803,
  kContentModified = -32801,
  kRequestCancelled = -32800,
};

// The answer to a request that fails.
class RequestError : public std::runtime_error {
 public:
  RequestError(ErrorCode code, const std::string& reason)
      : std::runtime_error(reason), code_(code) {}
  ErrorCode code() const { return code_; }

 private:
  ErrorCode code_;
};

// The version of a document, if the client numbers its texts.
using Version = std::optional<std::int64_t>;

struct Position {
  std::size_t line = 0;
  std::size_t character = 0;  // UTF-16 code units
};

struct Range {
  Position start;
  Position end;
};

struct Location {
  std::string uri;
  Range range;
};

struct RelatedInformation {
  Location location;
  std::string message;
};

enum class Severity { kError = 1, kWarning = 2, kInformation = 3 };

struct Diagnostic {
  Range range;
  Severity severity = Severity::kError;
  std::string code;  // empty: none
  std::string href;  // of the code's description; empty: none
  std::string message;
  std::vector<RelatedInformation> related;
};

struct TextEdit {
  Range range;
  std::string new_text;
};

struct CodeAction {
  std::string title;
  bool is_preferred = false;
  Diagnostic diagnostic;  // that it corrects
  std::string uri;        // of the document that it edits
  Version version;        // of that document
  std::vector<TextEdit> edits;
};

struct Command {
  std::string title;
  std::string command;
  Json arguments = Json::array();
};

struct CodeLens {
  Range range;
  Command command;
};

// A change of a document; without a range, its whole text.
struct ContentChange {
  std::optional<Range> range;
  std::string text;
};

// Throw RequestError and std::exception for other JSON.
Version VersionOf(const Json& document);  // its member
std::size_t NumberOf(const Json& json);   // a `uinteger`
Range RangeOf(const Json& json);
Position PositionOf(const Json& json);
ContentChange ContentChangeOf(const Json& json);

Json ToJson(const Version& version);
Json ToJson(const Position& position);
Json ToJson(const Range& range);
Json ToJson(const Location& location);
Json ToJson(const Diagnostic& diagnostic);
Json ToJson(const CodeAction& action);
Json ToJson(const CodeLens& lens);

// The array of all.
template <typename T>
Json ToJson(const std::vector<T>& values) {
  return report::ArrayOf(values, [](const T& value) { return ToJson(value); });
}

}  // namespace ipav::cli::lsp

#endif  // IPAV_CLI_LSP_PROTOCOL_H_
