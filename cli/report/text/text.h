// The report for people.
#ifndef IPAV_CLI_REPORT_TEXT_TEXT_H_
#define IPAV_CLI_REPORT_TEXT_TEXT_H_

#include <cstdio>

#include "cli/report/writer.h"

namespace ipav::cli::report {

struct TextOptions {
  bool all = false;      // the answer of every point
  bool verbose = false;  // debug lines and platform calls as well
  bool color = false;
};

class TextWriter : public Writer {
 public:
  TextWriter(std::FILE* out, const TextOptions& options)
      : out_(out), options_(options) {}
  void Add(const DeviceReport& device) override;

 private:
  std::FILE* out_;  // borrowed
  TextOptions options_;
};

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_TEXT_TEXT_H_
