// ipav check --trace: writes the platform calls of a plug-in to standard error
// as they are made.
#ifndef IPAV_CLI_CHECK_TRACE_H_
#define IPAV_CLI_CHECK_TRACE_H_

#include <chrono>
#include <cstddef>
#include <string>

#include "host/base/file_descriptor.h"
#include "host/confd/tracer.h"

namespace ipav::cli::check {

// Writes each event at once with one write(2), also from the child process that
// the plug-in runs in and whose own standard error is redirected. So nothing is
// lost when that process crashes, and nothing is buffered. A line starts with
// the line end of the one before, which a crash may have cut off.
class TraceWriter : public confd::Tracer {
 public:
  // Throws std::system_error when standard error is closed.
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
  bool is_open_ = false;  // the last line may be continued with an answer
};

}  // namespace ipav::cli::check

#endif  // IPAV_CLI_CHECK_TRACE_H_
