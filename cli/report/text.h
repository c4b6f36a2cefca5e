// The report for people at a terminal.
#ifndef IPAV_CLI_REPORT_TEXT_H_
#define IPAV_CLI_REPORT_TEXT_H_

#include <cstdio>

#include "report/writer.h"

namespace ipav::cli::report {

struct TextOptions {
  bool all = false;      // list the answer of every point
  bool verbose = false;  // debug lines and platform calls as well
};

class TextWriter : public Writer {
 public:
  TextWriter(std::FILE* out, const TextOptions& options)
      : out_(out), options_(options) {}
  void Add(const DeviceReport& device) override;

 private:
  void AddOutcome(const DeviceReport& device);
  void AddAnswer(const commit::Answer& answer);
  void AddFailure(const commit::Outcome& outcome);
  void AddPlace(const std::string& point, const std::string& path);
  void AddLines(const char* label, const std::string& text);
  void AddDetails(const commit::Outcome& outcome);

  std::FILE* out_;  // borrowed
  TextOptions options_;
};

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_TEXT_H_
