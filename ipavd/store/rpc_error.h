// Why an operation was refused: an rpc-error of RFC 6241 (section 4.3) with the
// severity "error".
#ifndef IPAV_IPAVD_STORE_RPC_ERROR_H_
#define IPAV_IPAVD_STORE_RPC_ERROR_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace ipav::store {

// The types of RFC 6241 that the server uses.
enum class ErrorType : std::uint8_t { kRpc, kProtocol, kApplication };

// The tags of RFC 6241 (appendix A) that operations on datastores use.
enum class ErrorTag : std::uint8_t {
  kInUse,
  kResourceDenied,
  kInvalidValue,
  kMissingAttribute,
  kBadAttribute,
  kUnknownAttribute,
  kMissingElement,
  kBadElement,
  kUnknownElement,
  kUnknownNamespace,
  kLockDenied,
  kDataExists,
  kDataMissing,
  kOperationNotSupported,
  kOperationFailed
};

using ErrorInfo = std::vector<std::pair<std::string, std::string>>;

struct RpcError {
  ErrorType type = ErrorType::kApplication;
  ErrorTag tag = ErrorTag::kOperationFailed;
  std::string app_tag;  // empty: none
  // Of the node, as libyang writes paths: "/module:top/list[key='a']/leaf",
  // each name with its module where it is not that of its parent. Empty: none.
  std::string path;
  std::string message;
  // Names and texts of the elements of error-info: "session-id" for
  // kLockDenied, "bad-attribute", "bad-element" and "bad-namespace" for the
  // tags that ask for them.
  ErrorInfo info;
  bool is_plugin_failure = false;  // the plug-in gave no verdict
};

// An error without app_tag and path.
inline RpcError MakeError(ErrorTag tag, const std::string& message,
                          ErrorType type = ErrorType::kApplication,
                          ErrorInfo info = {}) {
  return {type, tag, "", "", message, std::move(info)};
}

// For the log: "text (point, at /path)".
inline std::string InWords(const RpcError& error) {
  std::string where = error.app_tag;
  if (!error.path.empty()) {
    where += (where.empty() ? "at " : ", at ") + error.path;
  }
  return where.empty() ? error.message : error.message + " (" + where + ")";
}

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_RPC_ERROR_H_
