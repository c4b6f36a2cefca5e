#include "cli/lsp/framing.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <system_error>
#include <utility>

namespace ipav::cli::lsp {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kHeaderEnd = "\r\n\r\n";
constexpr std::string_view kLength = "content-length:";
constexpr std::size_t kMaxHeader = 4096;
constexpr std::size_t kMaxKept = 4096;  // of a content that is too large

// The size in a line "Content-Length: N"; none for another header field.
std::optional<std::size_t> LengthIn(std::string_view line) {
  if (line.size() < kLength.size() ||
      strncasecmp(line.data(), kLength.data(), kLength.size()) != 0) {
    return std::nullopt;
  }
  line.remove_prefix(kLength.size());
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  std::size_t length = 0;
  const char* end = line.data() + line.size();
  const auto [rest, error] = std::from_chars(line.data(), end, length);
  if (error != std::errc() || rest != end) {
    throw FramingError("the Content-Length of a message is not a number");
  }
  return length;
}

std::size_t LengthInHeader(std::string_view header) {
  std::optional<std::size_t> length;
  while (!header.empty()) {
    const std::size_t end = std::min(header.find(kLineEnd), header.size());
    if (const auto found = LengthIn(header.substr(0, end))) length = found;
    header.remove_prefix(std::min(end + kLineEnd.size(), header.size()));
  }
  if (!length) throw FramingError("a message has no Content-Length");
  return *length;
}

}  // namespace

std::string Frame(std::string_view content) {
  std::string message = "Content-Length: " + std::to_string(content.size());
  message += kHeaderEnd;
  message += content;
  return message;
}

void Deframer::Add(std::string_view bytes) {
  if (size_ && *size_ > max_message_) {
    const std::size_t part = std::min(bytes.size(), *size_ - dropped_);
    dropped_ += part;
    head_ += bytes.substr(0, std::min(part, kMaxKept - head_.size()));
    bytes.remove_prefix(part);
  }
  bytes_ += bytes;
}

bool Deframer::ReadHeader() {
  const std::size_t end = bytes_.find(kHeaderEnd);
  if (std::min(end, bytes_.size()) > kMaxHeader) {
    throw FramingError("the header of a message is too long");
  }
  if (end == std::string::npos) return false;
  size_ = LengthInHeader(std::string_view{bytes_}.substr(0, end));
  // What follows is added again, as it may have to be dropped.
  const std::string rest = bytes_.substr(end + kHeaderEnd.size());
  bytes_.clear();
  dropped_ = 0;
  Add(rest);
  return true;
}

std::optional<Message> Deframer::Next() {
  if (!size_ && !ReadHeader()) return std::nullopt;
  const bool is_too_large = *size_ > max_message_;
  if ((is_too_large ? dropped_ : bytes_.size()) < *size_) return std::nullopt;
  Message message{std::exchange(head_, ""), is_too_large};
  if (!is_too_large) {
    std::string rest = bytes_.substr(*size_);
    bytes_.resize(*size_);
    message.content = std::exchange(bytes_, std::move(rest));
  }
  size_.reset();
  return message;
}

}  // namespace ipav::cli::lsp
