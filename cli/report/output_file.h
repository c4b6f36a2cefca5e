// The output of a report or a configuration: standard output, or a file that is
// written whole or not at all.
#ifndef IPAV_CLI_REPORT_OUTPUT_FILE_H_
#define IPAV_CLI_REPORT_OUTPUT_FILE_H_

#include <sys/types.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace ipav::cli::report {

class OutputFile {
 public:
  // `path` is empty or `-` for standard output. A pipe, /dev/stdout or the like
  // is written to directly. A regular file is replaced at the end by a new file
  // in its folder. The new file has no name before, so that a killed program
  // leaves none. Throws std::runtime_error, with `what` in its text, if this is
  // impossible.
  explicit OutputFile(std::string path, const char* what = "report");
  ~OutputFile();  // without Commit(), the file stays as it was
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  std::FILE* stream() const { return stream_; }

  // Throws std::runtime_error if a write has failed so far.
  void Check() const;

  // Call it once, after the last byte. Throws std::runtime_error.
  void Commit();

 private:
  void OpenBesideTarget();
  void NameBesideTarget();
  [[noreturn]] void Fail(int error) const;

  std::string path_;  // as given
  const char* what_;
  std::string target_;     // to be replaced; empty: written to directly
  std::string temporary_;  // beside it; empty: the new file has no name yet
  std::FILE* stream_ = stdout;
};

// Whether it is standard output.
bool IsStandardOutput(const std::string& path);

// Throws std::runtime_error if the file of an output is also an input or
// another output, under any name. Ignores empty names, standard output and
// files that are not regular.
void RefuseToReplace(const std::string& output,
                     const std::vector<std::string>& others);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_OUTPUT_FILE_H_
