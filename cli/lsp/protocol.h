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

inline bool HaveCommonLine(const Range& a, const Range& b) {
  return a.start.line <= b.end.line && b.start.line <= a.end.line;
}

struct Location {
  std::string uri;
  Range range;
};

enum class Severity { kError = 1, kWarning = 2, kInformation = 3 };

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

Json ToJson(const Position& position);
Json ToJson(const Range& range);
Json ToJson(const Location& location);

}  // namespace ipav::cli::lsp

#endif  // IPAV_CLI_LSP_PROTOCOL_H_
