#include "netconf/framing.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <system_error>
#include <utility>

namespace ipav::netconf {

namespace {

constexpr std::string_view kMark = "]]>]]>";
constexpr std::string_view kChunkStart = "\n#";
constexpr std::string_view kEndOfChunks = "\n##\n";
constexpr std::size_t kMaxHeader = sizeof("\n#4294967295\n") - 1;

// A chunk's length: no sign, no leading zero, no zero, at most 4294967295.
std::size_t ChunkLength(std::string_view digits) {
  std::uint32_t length = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, length);
  if (error != std::errc() || stop != end || digits.front() == '0') {
    throw FramingError("malformed length of a chunk");
  }
  return length;
}

}  // namespace

std::string Frame(Framing framing, std::string_view message) {
  std::string framed;
  framed.reserve(message.size() + kMaxHeader + kEndOfChunks.size());
  if (framing == Framing::kEndOfMessage) {
    framed.append(message).append(kMark);
    return framed;
  }
  framed.append(kChunkStart)
      .append(std::to_string(message.size()))
      .append(1, '\n');
  framed.append(message).append(kEndOfChunks);
  return framed;
}

void Deframer::CheckSize(std::size_t size) const {
  if (size > max_message_) {
    throw FramingError("a message of more than " +
                       std::to_string(max_message_) + " bytes");
  }
}

void Deframer::Add(std::string_view bytes) {
  // Erases only here, and not for each chunk: a chunk may have a single byte.
  bytes_.erase(0, std::exchange(taken_, 0));
  bytes_.append(bytes);
}

std::string Deframer::Take(std::size_t count) {
  std::string taken(rest().substr(0, count));
  taken_ += count;
  return taken;
}

std::optional<std::string> Deframer::Next() {
  return framing_ == Framing::kEndOfMessage ? NextByMark() : NextOfChunks();
}

std::optional<std::string> Deframer::NextByMark() {
  const std::size_t end = rest().find(kMark, searched_);
  if (end == std::string_view::npos) {
    // The mark may have arrived in part.
    searched_ = rest().size() - std::min(rest().size(), kMark.size() - 1);
    CheckSize(searched_);
    return std::nullopt;
  }
  CheckSize(end);
  std::string message = Take(end);
  taken_ += kMark.size();
  searched_ = 0;
  return message;
}

std::optional<std::string> Deframer::NextOfChunks() {
  while (chunk_left_ > 0 || ReadHeader()) {
    if (is_whole_) {
      is_whole_ = false;
      return std::exchange(message_, {});
    }
    const std::size_t there = std::min(chunk_left_, rest().size());
    message_.append(Take(there));
    chunk_left_ -= there;
    if (chunk_left_ > 0) return std::nullopt;
  }
  return std::nullopt;
}

// Reads the header of a chunk or the end of the chunks. False if it has not
// arrived completely.
bool Deframer::ReadHeader() {
  // 1. Errors that the first bytes show.
  const std::string_view bytes = rest();
  const std::size_t known = std::min(bytes.size(), kChunkStart.size());
  if (bytes.substr(0, known) != kChunkStart.substr(0, known)) {
    throw FramingError("no chunk where one must begin");
  }
  const std::size_t end = bytes.find('\n', 1);
  if (end == std::string_view::npos) {
    if (bytes.size() >= kMaxHeader) {
      throw FramingError("malformed length of a chunk");
    }
    return false;
  }
  // 2. The end of the message, or the length of a chunk.
  const std::string_view header = bytes.substr(0, end + 1);
  if (header == kEndOfChunks) {
    if (message_.empty()) throw FramingError("a message without a chunk");
    is_whole_ = true;
  } else {
    chunk_left_ = ChunkLength(header.substr(2, header.size() - 3));
    CheckSize(message_.size() + chunk_left_);
  }
  taken_ += header.size();
  return true;
}

}  // namespace ipav::netconf
