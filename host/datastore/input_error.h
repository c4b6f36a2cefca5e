// Errors in an input file.
#ifndef IPAV_HOST_DATASTORE_INPUT_ERROR_H_
#define IPAV_HOST_DATASTORE_INPUT_ERROR_H_

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace ipav::datastore {

// Each error is one line: "FILE:LINE:COLUMN: reason", or "FILE: reason" if no
// place is known. what() has all of them, with line ends between them.
class InputError : public std::runtime_error {
 public:
  InputError(const std::string& file, const std::string& reason)
      : InputError(std::vector<std::string>{file + ": " + reason}) {}
  InputError(const std::string& file, unsigned long line,
             const std::string& reason)
      : InputError(file + ":" + std::to_string(line), reason) {}
  InputError(const std::string& file, unsigned long line, unsigned long column,
             const std::string& reason)
      : InputError(file + ":" + std::to_string(line), column, reason) {}

  // At least one.
  explicit InputError(std::vector<std::string> errors)
      : std::runtime_error(Join(errors)), errors_(std::move(errors)) {}

  const std::vector<std::string>& errors() const { return errors_; }

 private:
  static std::string Join(const std::vector<std::string>& errors) {
    std::string text;
    for (const std::string& error : errors) {
      text += (text.empty() ? "" : "\n") + error;
    }
    return text;
  }

  std::vector<std::string> errors_;
};

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_INPUT_ERROR_H_
