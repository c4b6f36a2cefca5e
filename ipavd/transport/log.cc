#include "ipavd/transport/log.h"

#include <unistd.h>

#include <cstdlib>

namespace ipav::transport {

void Log(Severity severity, const std::string& text) {
  std::string line;
  if (std::getenv("JOURNAL_STREAM") != nullptr) {
    line = "<" + std::to_string(static_cast<int>(severity)) + ">";
  }
  line += "ipavd: ";
  for (const char c : text) {
    const bool is_control = static_cast<unsigned char>(c) < ' ' || c == '\x7f';
    line += is_control ? '?' : c;
  }
  line += '\n';
  // A failure cannot be reported anywhere.
  if (write(STDERR_FILENO, line.data(), line.size()) < 0) return;
}

}  // namespace ipav::transport
