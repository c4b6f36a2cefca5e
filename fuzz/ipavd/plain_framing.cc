#include "fuzz/ipavd/plain_framing.h"

#include <algorithm>
#include <cstdint>
#include <optional>

namespace ipav::fuzz {

namespace {

constexpr char kMark[] = "]]>]]>";
constexpr std::size_t kMarkSize = sizeof(kMark) - 1;
constexpr std::size_t kLongestHeader = sizeof("\n#4294967295\n") - 1;

// The number that the digits write; none where it is no length of a chunk.
std::optional<std::uint64_t> LengthOf(const std::string& digits) {
  if (digits.empty() || digits.size() > 10 || digits[0] == '0' ||
      digits.find_first_not_of("0123456789") != std::string::npos) {
    return std::nullopt;
  }
  const std::uint64_t length = std::stoull(digits);
  if (length > UINT32_MAX) return std::nullopt;
  return length;
}

enum class Kind { kPart, kNone, kEnd, kChunk };

struct Header {
  Kind kind;
  std::size_t size = 0;
  std::uint64_t length = 0;
};

Header HeaderOf(const std::string& rest) {
  for (std::size_t i = 0; i < std::min<std::size_t>(rest.size(), 2); ++i) {
    if (rest[i] != "\n#"[i]) return {Kind::kNone};
  }
  const std::size_t end = rest.substr(0, kLongestHeader).find('\n', 2);
  if (end == std::string::npos) {
    return {rest.size() < kLongestHeader ? Kind::kPart : Kind::kNone};
  }
  const std::string line = rest.substr(2, end - 2);
  if (line == "#") return {Kind::kEnd, end + 1};
  const std::optional<std::uint64_t> length = LengthOf(line);
  if (!length.has_value()) return {Kind::kNone};
  return {Kind::kChunk, end + 1, *length};
}

}  // namespace

Deframed PlainByMark(const std::string& stream, std::size_t limit,
                     std::size_t count) {
  Deframed result;
  while (result.messages.size() < count) {
    const std::size_t mark = stream.find(kMark, result.end);
    if (mark == std::string::npos) {
      // Its last bytes may begin a mark.
      const std::size_t rest = stream.size() - result.end;
      result.is_refused = rest >= limit + kMarkSize;
      result.has_part = rest > 0;
      return result;
    }
    if (mark - result.end > limit) {
      result.is_refused = true;
      return result;
    }
    result.messages.push_back(stream.substr(result.end, mark - result.end));
    result.end = mark + kMarkSize;
  }
  return result;
}

Deframed PlainOfChunks(const std::string& stream, std::size_t limit) {
  Deframed result;
  std::string message;
  std::size_t at = 0;
  while (at < stream.size()) {
    const Header header = HeaderOf(stream.substr(at, kLongestHeader));
    at += header.size;
    if (header.kind == Kind::kPart) break;
    if (header.kind == Kind::kNone ||
        (header.kind == Kind::kEnd && message.empty()) ||
        (header.kind == Kind::kChunk &&
         message.size() + header.length > limit)) {
      result.is_refused = true;
      return result;
    }
    if (header.kind == Kind::kChunk) {
      const std::string chunk = stream.substr(at, header.length);
      message += chunk;
      at += chunk.size();
    } else {
      result.messages.push_back(message);
      message.clear();
      result.end = at;
    }
  }
  result.has_part = result.end < stream.size();
  return result;
}

}  // namespace ipav::fuzz
