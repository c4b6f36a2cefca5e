// A connection to a client, as a stream of bytes that never waits.
#ifndef IPAV_SERVER_TRANSPORT_BYTE_STREAM_H_
#define IPAV_SERVER_TRANSPORT_BYTE_STREAM_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ipav::transport {

class ByteStream {
 public:
  ByteStream() = default;
  ByteStream(const ByteStream&) = delete;
  ByteStream& operator=(const ByteStream&) = delete;
  virtual ~ByteStream() = default;

  virtual int fd() const = 0;

  // What to wait for with poll(2), for somebody who wants to read or write.
  virtual short Events(bool reads, bool writes) const = 0;

  // Whether something is there to read that poll(2) does not tell of.
  virtual bool has_more() { return false; }

  // What is there, some 64 KiB at most, maybe nothing; no value at the end.
  virtual std::optional<std::string> Read() = 0;

  // How much of it went; no value where nobody reads any more.
  virtual std::optional<std::size_t> Write(std::string_view bytes) = 0;
};

// What one Read() gives at most.
constexpr std::size_t kReadSize = std::size_t{64} << 10;

}  // namespace ipav::transport

#endif  // IPAV_SERVER_TRANSPORT_BYTE_STREAM_H_
