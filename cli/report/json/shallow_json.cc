#include "cli/report/json/shallow_json.h"

#include <cstddef>

namespace ipav::cli::report {

namespace {

// Exact for JSON. A callback of the parser would be slow: after each object, it
// searches all of the array around it.
bool IsDeep(const std::string& text) {
  constexpr int kDeepest = 128;
  int depth = 0;
  bool is_string = false;
  for (std::size_t i = 0; i < text.size() && depth <= kDeepest; ++i) {
    const char each = text[i];
    if (each == '"') {
      is_string = !is_string;
    } else if (is_string) {
      if (each == '\\') ++i;
    } else if (each == '[' || each == '{') {
      ++depth;
    } else if (each == ']' || each == '}') {
      --depth;
    }
  }
  return depth > kDeepest;
}

}  // namespace

Json ParseShallow(const std::string& text) {
  Json json(Json::value_t::discarded);
  if (!IsDeep(text)) json = Json::parse(text, nullptr, false);
  return json;
}

}  // namespace ipav::cli::report
