// Collects the errors of an edit, in its order.
#ifndef IPAV_IPAVD_STORE_EDIT_ERRORS_H_
#define IPAV_IPAVD_STORE_EDIT_ERRORS_H_

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "ipavd/store/rpc_error.h"

namespace ipav::store {

class EditErrors {
 public:
  // The edit ends with so many.
  static constexpr std::size_t kMax = 100;
  // Bytes. A longer path, which quotes long keys, is left out, and a longer
  // message is cut off.
  static constexpr std::size_t kLongestText = 4096;

  bool empty() const { return errors_.empty(); }
  bool is_full() const { return errors_.size() >= kMax; }

  // Both return false, for the caller to return.
  bool Add(RpcError error, const std::string& path) {
    error.path = path.size() > kLongestText ? "" : path;
    if (error.message.size() > kLongestText) {
      error.message.resize(kLongestText);
    }
    errors_.push_back(std::move(error));
    return false;
  }
  bool Add(ErrorTag tag, const std::string& path, const std::string& message) {
    return Add(MakeError(tag, message), path);
  }

  // The error is about the element `name`. More of error-info may be added to
  // what it returns.
  RpcError& AddForElement(ErrorTag tag, const std::string& path,
                          const std::string& name, const std::string& message) {
    Add(tag, path, message);
    errors_.back().info = {{"bad-element", name}};
    return errors_.back();
  }

  std::vector<RpcError> Take() { return std::move(errors_); }

 private:
  std::vector<RpcError> errors_;
};

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_EDIT_ERRORS_H_
