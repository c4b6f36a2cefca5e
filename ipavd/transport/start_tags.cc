#include "ipavd/transport/start_tags.h"

namespace ipav::transport {

namespace {

bool BeginsAt(std::string_view text, std::size_t at, std::string_view word) {
  return text.compare(at, word.size(), word) == 0;
}

// Where the text goes on after the next `mark`.
std::size_t After(std::string_view text, std::size_t at,
                  std::string_view mark) {
  const std::size_t found = text.find(mark, at);
  return found == std::string_view::npos ? text.size() : found + mark.size();
}

struct Tag {
  std::size_t end;
  std::size_t attributes = 0;
};

Tag ReadTag(std::string_view text, std::size_t begin) {
  Tag tag{begin};
  while (tag.end < text.size()) {
    const char byte = text[tag.end++];
    if (byte == '>') break;
    if (byte == '=') ++tag.attributes;
    if (byte == '"' || byte == '\'') {
      tag.end = After(text, tag.end, std::string_view(&byte, 1));
    }
  }
  return tag;
}

}  // namespace

bool HasLargeTag(std::string_view message) {
  bool is_root = true;
  std::size_t at = 0;
  while ((at = message.find('<', at)) != std::string_view::npos) {
    if (BeginsAt(message, at, "<!--")) {
      at = After(message, at + 4, "-->");
    } else if (BeginsAt(message, at, "<![CDATA[")) {
      at = After(message, at, "]]>");
    } else if (BeginsAt(message, at, "<?")) {
      at = After(message, at, "?>");
    } else {
      const Tag tag = ReadTag(message, at);
      if (tag.attributes > kMaxAttributes) return true;
      if (is_root && tag.end - at > kMaxRootTag) return true;
      is_root = false;
      at = tag.end;
    }
  }
  return false;
}

}  // namespace ipav::transport
