// Replaces the server's log, which writes to standard error.
#include <string>

#include "fuzz/support/finding.h"
#include "ipavd/transport/log.h"

namespace ipav::transport {

void Log(Severity severity, const std::string& text) {
  if (severity == Severity::kError) fuzz::Finding("the server logs: " + text);
}

}  // namespace ipav::transport
