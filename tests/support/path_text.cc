#include "tests/support/path_text.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdio>
#include <stdexcept>

namespace ipav::testing {

namespace {

bool IsNameCharacter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' ||
         c == '-' || c == '.';
}

// Reads a path text from the front. Each Take...() returns no value, or false,
// if the text does not continue as required.
class PathReader {
 public:
  explicit PathReader(std::string_view text) : text_(text) {}

  bool AtEnd() const { return at_ == text_.size(); }

  bool Take(char c) {
    if (AtEnd() || text_[at_] != c) return false;
    ++at_;
    return true;
  }

  std::optional<PathStep> TakeStep() {
    if (!Take('/')) return std::nullopt;
    PathStep step;
    step.name = TakeName();
    if (!step.name.empty() && Take(':')) step.name = TakeName();
    if (step.name.empty()) return std::nullopt;
    if (Take('{') && !TakeKeys(&step.keys)) return std::nullopt;
    return step;
  }

 private:
  std::string TakeName() {
    const std::size_t start = at_;
    while (!AtEnd() && IsNameCharacter(text_[at_])) ++at_;
    return std::string(text_.substr(start, at_ - start));
  }

  void SkipBlanks() {
    while (Take(' ')) {
    }
  }

  bool TakeKeys(std::vector<std::string>* keys) {
    for (SkipBlanks(); !Take('}'); SkipBlanks()) {
      const auto key = Take('"') ? TakeQuotedKey() : TakeBareKey();
      if (!key) return false;
      keys->push_back(*key);
    }
    return !keys->empty();
  }

  std::optional<std::string> TakeQuotedKey() {
    std::string key;
    while (!Take('"')) {
      Take('\\');
      if (AtEnd()) return std::nullopt;
      key += text_[at_++];
    }
    return key;
  }

  std::optional<std::string> TakeBareKey() {
    const std::size_t start = at_;
    at_ = std::min(text_.find_first_of(" {}", start), text_.size());
    if (AtEnd() || at_ == start) return std::nullopt;
    return std::string(text_.substr(start, at_ - start));
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

std::string KeyText(const std::string& key) {
  if (!key.empty() && key.find_first_of(" {}\"\\") == std::string::npos) {
    return key;
  }
  std::string quoted = "\"";
  for (const char c : key) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

}  // namespace

std::optional<std::string> FormatPath(const char* format, va_list args) {
  std::string text;
  for (const char* at = format; *at != '\0'; ++at) {
    if (*at != '%') {
      text += *at;
      continue;
    }
    switch (*++at) {
      case 's':
        text += va_arg(args, const char*);
        break;
      case 'd':
        text += std::to_string(va_arg(args, int));
        break;
      case 'u':
        text += std::to_string(va_arg(args, unsigned));
        break;
      default:
        return std::nullopt;
    }
  }
  return text;
}

std::string FormatText(const char* format, va_list args) {
  va_list again;
  va_copy(again, args);
  const int size = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  std::vector<char> text(static_cast<std::size_t>(size) + 1);
  std::vsnprintf(text.data(), text.size(), format, args);
  return text.data();
}

std::optional<Path> ParsePath(std::string_view text) {
  PathReader reader(text);
  Path path;
  while (!reader.AtEnd()) {
    auto step = reader.TakeStep();
    if (!step) return std::nullopt;
    path.push_back(std::move(*step));
  }
  if (path.empty()) return std::nullopt;
  return path;
}

std::string PathText(const Path& path) {
  std::string text;
  for (const PathStep& step : path) {
    text += '/' + step.name;
    if (step.keys.empty()) continue;
    char separator = '{';
    for (const std::string& key : step.keys) {
      text += separator + KeyText(key);
      separator = ' ';
    }
    text += '}';
  }
  return text;
}

std::string NormalPath(std::string_view text) {
  const auto path = ParsePath(text);
  if (!path) {
    throw std::invalid_argument("malformed path: " + std::string(text));
  }
  return PathText(*path);
}

std::string SchemaText(const Path& path) {
  std::string text;
  for (const PathStep& step : path) text += '/' + step.name;
  return text;
}

bool IsAtOrBelow(const Path& node, const Path& top) {
  if (node.size() < top.size()) return false;
  return std::equal(
      top.begin(), top.end(), node.begin(),
      [](const PathStep& of_top, const PathStep& of_node) {
        return of_top.name == of_node.name &&
               (of_top.keys.empty() || of_top.keys == of_node.keys);
      });
}

}  // namespace ipav::testing
