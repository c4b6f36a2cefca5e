// Framing of NETCONF (RFC 6242) in a complete stream. The reader of streams
// that come in pieces is compared with it.
#ifndef IPAV_FUZZ_IPAVD_PLAIN_FRAMING_H_
#define IPAV_FUZZ_IPAVD_PLAIN_FRAMING_H_

#include <cstddef>
#include <string>
#include <vector>

namespace ipav::fuzz {

struct Deframed {
  std::vector<std::string> messages;
  bool is_refused = false;  // after them
  bool has_part = false;    // of a further message that is not refused
  std::size_t end = 0;      // of the last message, its frame included
};

// Messages of at most `limit` bytes with "]]>]]>" after each; at most `count`
// of them.
Deframed PlainByMark(const std::string& stream, std::size_t limit,
                     std::size_t count = std::string::npos);

// Messages of chunks. An invalid header is refused when its line ends, or
// exceeds the longest valid header.
Deframed PlainOfChunks(const std::string& stream, std::size_t limit);

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_IPAVD_PLAIN_FRAMING_H_
