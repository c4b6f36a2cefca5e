#include "ipavd/transport/log.h"

#include <unistd.h>

#include <cstdlib>

#include "host/base/utf8.h"

namespace ipav::transport {

void Log(Severity severity, const std::string& text) {
  std::string line;
  if (std::getenv("JOURNAL_STREAM") != nullptr) {
    line = "<" + std::to_string(static_cast<int>(severity)) + ">";
  }
  line += "ipavd: " + base::Printable(text) + "\n";
  // A failure cannot be reported anywhere.
  if (write(STDERR_FILENO, line.data(), line.size()) < 0) return;
}

}  // namespace ipav::transport
