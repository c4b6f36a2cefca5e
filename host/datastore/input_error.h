// Error in an input file.
#ifndef IPAV_HOST_DATASTORE_INPUT_ERROR_H_
#define IPAV_HOST_DATASTORE_INPUT_ERROR_H_

#include <stdexcept>
#include <string>

namespace ipav::datastore {

// what() is one line: "FILE:LINE:COLUMN: reason", or "FILE: reason" if no place
// is known.
class InputError : public std::runtime_error {
 public:
  InputError(const std::string& file, const std::string& reason)
      : std::runtime_error(file + ": " + reason) {}
  InputError(const std::string& file, unsigned long line,
             const std::string& reason)
      : std::runtime_error(file + ":" + std::to_string(line) + ": " + reason) {}
  InputError(const std::string& file, unsigned long line, unsigned long column,
             const std::string& reason)
      : InputError(file + ":" + std::to_string(line), column, reason) {}
};

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_INPUT_ERROR_H_
