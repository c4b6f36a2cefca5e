#include "cli/report/text/terminal.h"

#include <unistd.h>

#include <cstdlib>

#include "host/base/utf8.h"

namespace ipav::cli::report {

bool WantsColor(const std::string& when, std::FILE* out) {
  if (when != "auto") return when == "always";
  const char* no_color = std::getenv("NO_COLOR");
  if (no_color != nullptr && *no_color != '\0') return false;
  const char* terminal = std::getenv("TERM");
  if (terminal == nullptr || std::string(terminal) == "dumb") return false;
  return out != nullptr && isatty(fileno(out)) != 0;
}

std::string PrintableLines(std::string_view text) {
  std::string lines;
  for (std::size_t end = text.find('\n'); end != std::string_view::npos;
       end = text.find('\n')) {
    lines += base::Printable(text.substr(0, end)) + '\n';
    text.remove_prefix(end + 1);
  }
  return lines + base::Printable(text);
}

std::string OperatorText(const std::string& text, std::FILE* out) {
  return isatty(fileno(out)) != 0 ? PrintableLines(text) : text;
}

}  // namespace ipav::cli::report
