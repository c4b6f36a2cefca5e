#include "cli/wrapped_text.h"

#include <fmt/core.h>

#include <sstream>

namespace ipav::cli {

void PrintWrapped(const std::string& first, const std::string& text) {
  const std::string indent(first.size(), ' ');
  std::string line = first;
  bool is_empty = true;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (!is_empty && line.size() + 1 + word.size() > kTextColumns) {
      fmt::print("{}\n", line);
      line = indent;
      is_empty = true;
    }
    line += (is_empty ? "" : " ") + word;
    is_empty = false;
  }
  fmt::print("{}\n", line);
}

void PrintParagraphs(const std::vector<std::string>& paragraphs) {
  for (const std::string& paragraph : paragraphs) {
    fmt::print("\n");
    PrintWrapped("  ", paragraph);
  }
}

}  // namespace ipav::cli
