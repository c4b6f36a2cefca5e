// Error in an input file.
#ifndef IPAV_HOST_DATASTORE_INPUT_ERROR_H_
#define IPAV_HOST_DATASTORE_INPUT_ERROR_H_

#include <stdexcept>
#include <string>

namespace ipav::datastore {

// what() is one line: "FILE:LINE: reason", or "FILE: reason" if no line is
// known.
class InputError : public std::runtime_error {
 public:
  InputError(const std::string& file, const std::string& reason)
      : std::runtime_error(file + ": " + reason) {}
  InputError(const std::string& file, unsigned long line,
             const std::string& reason)
      : std::runtime_error(file + ":" + std::to_string(line) + ": " + reason) {}
};

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_INPUT_ERROR_H_
