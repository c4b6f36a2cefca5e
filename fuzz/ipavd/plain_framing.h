// Framing of NETCONF (RFC 6242) in a stream that is there as a whole, which the
// reader of streams that come in pieces is held against.
#ifndef IPAV_FUZZ_IPAVD_PLAIN_FRAMING_H_
#define IPAV_FUZZ_IPAVD_PLAIN_FRAMING_H_

#include <cstddef>
#include <string>
#include <vector>

namespace ipav::fuzz {

struct Deframed {
  std::vector<std::string> messages;
  bool is_refused = false;  // behind them
  bool has_part = false;    // of another one, if it is not refused
  std::size_t end = 0;      // of the last message, its frame included
};

// Messages of at most `limit` bytes with "]]>]]>" behind each; not more than
// `count` of them.
Deframed PlainByMark(const std::string& stream, std::size_t limit,
                     std::size_t count = std::string::npos);

// Messages of chunks. A header that is none is refused when its line ends, or
// could be no longer.
Deframed PlainOfChunks(const std::string& stream, std::size_t limit);

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_IPAVD_PLAIN_FRAMING_H_
