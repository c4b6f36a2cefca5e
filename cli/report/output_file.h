// Where a report or a configuration goes: standard output, or a file that is
// there whole or not at all.
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
  // `path` is empty for standard output. What is no regular file, as a pipe or
  // /dev/stdout, is written to as it is; any other is replaced at the end by a
  // new file of its folder, which has no name before: a program that is killed
  // leaves none. Throws std::runtime_error when that cannot be, which says so
  // of `what`.
  explicit OutputFile(std::string path, const char* what = "report");
  ~OutputFile();  // without Commit(), the file stays as it was
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  std::FILE* stream() const { return stream_; }

  // Throws std::runtime_error when something could not be written so far.
  void Check() const;

  // Once, behind the last byte. Throws std::runtime_error.
  void Commit();

 private:
  void OpenBesideTarget();
  void NameBesideTarget();
  [[noreturn]] void Fail(int error) const;

  std::string path_;  // as it was named
  const char* what_;
  std::string target_;     // to be replaced; empty: written to as it is
  std::string temporary_;  // beside it; empty: the new file has no name yet
  std::FILE* stream_ = stdout;
};

// Throws std::runtime_error where the file of an output is one that is read, or
// that of another output; by what names does not matter. Empty is no file, and
// what is no regular file has room for all.
void RefuseToReplace(const std::string& output,
                     const std::vector<std::string>& others);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_OUTPUT_FILE_H_
