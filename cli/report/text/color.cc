#include "cli/report/text/color.h"

#include <unistd.h>

#include <cstdlib>

namespace ipav::cli::report {

bool WantsColor(const std::string& when, std::FILE* out) {
  if (when != "auto") return when == "always";
  const char* no_color = std::getenv("NO_COLOR");
  if (no_color != nullptr && *no_color != '\0') return false;
  const char* terminal = std::getenv("TERM");
  if (terminal == nullptr || std::string(terminal) == "dumb") return false;
  return out != nullptr && isatty(fileno(out)) != 0;
}

}  // namespace ipav::cli::report
