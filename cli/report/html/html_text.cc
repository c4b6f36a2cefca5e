#include "cli/report/html/html_text.h"

#include <fmt/args.h>
#include <fmt/core.h>

#include "host/base/utf8.h"

namespace ipav::cli::report {

namespace {

// U+0080 to U+009F are controls without a symbol; U+FFFE and U+FFFF are not
// characters.
bool IsUnshowable(char32_t number) {
  return (number >= 0x80 && number < 0xa0) || number == 0xfffe ||
         number == 0xffff;
}

// The symbols are in the same order in the block U+2400.
std::string SymbolOfControl(char32_t number) {
  const unsigned place = number == 0x7f ? 0x21U : number;
  return {'\xe2', '\x90', static_cast<char>(0x80U + place)};
}

// The text that replaces a character; empty if it is written unchanged.
std::string Replacement(char32_t number) {
  switch (number) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    case '\t':
    case '\n':
      return "";
    default:
      break;
  }
  if (number < 0x20 || number == 0x7f) return SymbolOfControl(number);
  if (base::ChangesDirection(number)) {
    return fmt::format("[U+{:04X}]", static_cast<unsigned>(number));
  }
  return IsUnshowable(number) ? base::kReplacementCharacter : "";
}

}  // namespace

std::string Escaped(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  while (!text.empty()) {
    const base::Utf8Character character = base::FirstCharacter(text);
    const std::size_t size = character.size;
    const std::string replacement = character.is_valid
                                        ? Replacement(character.number)
                                        : base::kReplacementCharacter;
    if (replacement.empty()) {
      escaped += text.substr(0, size);
    } else {
      escaped += replacement;
    }
    text.remove_prefix(size);
  }
  return escaped;
}

std::string Count(std::size_t number, const char* one, const char* many) {
  return fmt::format("{} {}", number, number == 1 ? one : many);
}

Html& Html::Fill(const char* literal, const std::vector<Html>& arguments) {
  fmt::dynamic_format_arg_store<fmt::format_context> texts;
  for (const Html& argument : arguments) texts.push_back(argument.page_);
  page_ += fmt::vformat(literal, texts);
  return *this;
}

Html& Html::Text(std::string_view text) {
  page_ += Escaped(text);
  return *this;
}

Html& Html::Path(std::string_view path) {
  std::size_t begin = 0;
  int keys = 0;  // a slash in a key belongs to a prefix
  for (std::size_t i = 1; i < path.size(); ++i) {
    if (path[i] == '{') ++keys;
    if (path[i] == '}') --keys;
    if (path[i] != '/' || keys != 0) continue;
    Text(path.substr(begin, i - begin)).Markup("<wbr />");
    begin = i;
  }
  return Text(path.substr(begin));
}

Html& Html::Number(std::size_t number) {
  page_ += std::to_string(number);
  return *this;
}

Html& Html::Share(double share) {
  page_ += fmt::format("{:.6g}%", share * 100);
  return *this;
}

Html& Html::Add(const Html& part) {
  page_ += part.page_;
  return *this;
}

}  // namespace ipav::cli::report
