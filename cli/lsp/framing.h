// Splits the stream of a client into messages, and frames messages, as the base
// protocol of the Language Server Protocol says.
#ifndef IPAV_CLI_LSP_FRAMING_H_
#define IPAV_CLI_LSP_FRAMING_H_

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ipav::cli::lsp {

std::string Frame(std::string_view content);

// The header is wrong: it is unknown where the next message begins.
class FramingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Message {
  std::string content;
  bool is_too_large = false;  // then only its first 4 KiB are kept
};

// Turns bytes, in pieces of any size, into whole messages.
class Deframer {
 public:
  // A larger message is read and dropped.
  explicit Deframer(std::size_t max_message) : max_message_(max_message) {}

  void Add(std::string_view bytes);

  // The next message, if all of it is there. Throws FramingError.
  std::optional<Message> Next();

 private:
  bool ReadHeader();

  const std::size_t max_message_;
  std::string bytes_;                // not part of a message yet
  std::optional<std::size_t> size_;  // of the content, after its header
  std::size_t dropped_ = 0;          // bytes of a content that is too large
  std::string head_;                 // of that content
};

}  // namespace ipav::cli::lsp

#endif  // IPAV_CLI_LSP_FRAMING_H_
