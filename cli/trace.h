// ipav check --trace: the platform calls of a plug-in on standard error, as
// they are made.
#ifndef IPAV_CLI_TRACE_H_
#define IPAV_CLI_TRACE_H_

#include <chrono>
#include <cstddef>
#include <string>

#include "host/base/file_descriptor.h"
#include "host/confd/tracer.h"

namespace ipav::cli {

// Writes each event at once and by itself, also from the child process that
// the plug-in runs in and whose standard error is another: what is written
// stays when that process crashes, and there is no bound on its size. A line
// begins with its end of line, so that one that a crash cuts off is ended by
// the next.
class TraceWriter : public confd::Tracer {
 public:
  // Throws std::system_error where there is no standard error.
  TraceWriter();

  // Around the trace of one candidate.
  void BeginFile(const std::string& file);
  void EndFile();

  void Begin(const std::string& what) override;
  void End(const std::string& answer, std::chrono::nanoseconds time) override;
  void Note(const std::string& what) override;

 private:
  void Write(const std::string& text) const;
  std::string NewLine() const;

  base::FileDescriptor output_;
  std::size_t depth_ = 0;
  bool is_open_ = false;  // the last line may go on with an answer
};

}  // namespace ipav::cli

#endif  // IPAV_CLI_TRACE_H_
