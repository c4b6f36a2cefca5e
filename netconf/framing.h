// Messages out of a stream of bytes and back, as RFC 6242 frames them, whatever
// the stream is carried by.
#ifndef IPAV_NETCONF_FRAMING_H_
#define IPAV_NETCONF_FRAMING_H_

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ipav::netconf {

enum class Framing {
  kEndOfMessage,  // NETCONF 1.0, and every hello: "]]>]]>" behind a message
  kChunked,       // NETCONF 1.1: "\n#LENGTH\n" before a chunk, "\n##\n" last
};

// Chunks cannot carry an empty message.
std::string Frame(Framing framing, std::string_view message);

// What came is no framing, or is too long. Nobody knows where the next message
// begins: the stream is of no more use.
class FramingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Takes bytes as they come and gives whole messages.
class Deframer {
 public:
  // No message may be larger than that.
  explicit Deframer(std::size_t max_message) : max_message_(max_message) {}

  // Of what was not yet given by Next().
  void set_framing(Framing framing) { framing_ = framing; }
  void set_max_message(std::size_t size) { max_message_ = size; }

  void Add(std::string_view bytes);

  // The next message, if it came in whole. Throws FramingError.
  std::optional<std::string> Next();

  // Whether part of a message came that Next() did not give.
  bool has_part() const {
    return !rest().empty() || !message_.empty() || chunk_left_ > 0;
  }

 private:
  std::optional<std::string> NextByMark();
  std::optional<std::string> NextOfChunks();
  bool ReadHeader();
  void CheckSize(std::size_t size) const;

  // What of the bytes is not yet part of a message.
  std::string_view rest() const {
    return std::string_view{bytes_}.substr(taken_);
  }
  std::string Take(std::size_t count);

  Framing framing_ = Framing::kEndOfMessage;
  std::size_t max_message_;
  std::string bytes_;
  std::size_t taken_ = 0;       // of them
  std::size_t searched_ = 0;    // of the rest, for a mark
  std::string message_;         // its chunks so far
  std::size_t chunk_left_ = 0;  // bytes of the chunk that are to come
  bool is_whole_ = false;       // the end of chunks came
};

}  // namespace ipav::netconf

#endif  // IPAV_NETCONF_FRAMING_H_
