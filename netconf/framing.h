// Splits a stream of bytes into messages, and frames messages, as RFC 6242
// says. It does not matter what carries the stream.
#ifndef IPAV_NETCONF_FRAMING_H_
#define IPAV_NETCONF_FRAMING_H_

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ipav::netconf {

enum class Framing {
  kEndOfMessage,  // NETCONF 1.0, and every hello: "]]>]]>" after a message
  kChunked,       // NETCONF 1.1: "\n#LENGTH\n" before a chunk, "\n##\n" last
};

// Chunks cannot carry an empty message.
std::string Frame(Framing framing, std::string_view message);

// The framing is wrong, or a message is too long. The stream cannot be used any
// more, since it is unknown where the next message begins.
class FramingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Turns bytes, in pieces of any size, into whole messages.
class Deframer {
 public:
  // No message may be larger than `max_message` bytes.
  explicit Deframer(std::size_t max_message) : max_message_(max_message) {}

  // Both apply to all bytes that Next() has not returned yet.
  void set_framing(Framing framing) { framing_ = framing; }
  void set_max_message(std::size_t size) { max_message_ = size; }

  void Add(std::string_view bytes);

  // The next message, if all of it is there. Throws FramingError.
  std::optional<std::string> Next();

  // Whether there are bytes of a message that is not complete. Blanks after a
  // message, such as the last newline of a file, are not part of another one.
  bool has_part() const {
    return rest().find_first_not_of(" \t\r\n") != std::string_view::npos ||
           !message_.empty() || chunk_left_ > 0;
  }

 private:
  std::optional<std::string> NextByMark();
  std::optional<std::string> NextOfChunks();
  bool ReadHeader();
  void CheckSize(std::size_t size) const;

  // The bytes that are not part of a message yet.
  std::string_view rest() const {
    return std::string_view{bytes_}.substr(taken_);
  }
  std::string Take(std::size_t count);

  Framing framing_ = Framing::kEndOfMessage;
  std::size_t max_message_;
  std::string bytes_;
  std::size_t taken_ = 0;       // bytes that were consumed
  std::size_t searched_ = 0;    // bytes of the rest without a mark
  std::string message_;         // content of its chunks so far
  std::size_t chunk_left_ = 0;  // bytes of the chunk that are still missing
  bool is_whole_ = false;       // the end of the chunks was read
};

}  // namespace ipav::netconf

#endif  // IPAV_NETCONF_FRAMING_H_
