// A file that appears whole or not at all: whoever looks sees what was there
// before, or all of the new text.
#ifndef IPAV_CLI_REPORT_WHOLE_FILE_H_
#define IPAV_CLI_REPORT_WHOLE_FILE_H_

#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>

namespace ipav::cli::report {

// what() is one line: "FILE: reason".
class WriteError : public std::runtime_error {
 public:
  WriteError(const std::string& file, const std::string& reason)
      : std::runtime_error(file + ": " + reason) {}
};

// Tells early what can be told: throws WriteError where the file stands for a
// device, or its folder for nothing that can be written into.
void ExpectWritable(const std::string& path);

// Lets `write` write into a file beside it, which then takes its place, and
// its permissions where it was there. Throws WriteError.
void WriteWhole(const std::string& path,
                const std::function<void(std::FILE*)>& write);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_WHOLE_FILE_H_
