// A connection, as a non-blocking stream of bytes.
#ifndef IPAV_IPAVD_TRANSPORT_BYTE_STREAM_H_
#define IPAV_IPAVD_TRANSPORT_BYTE_STREAM_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "host/base/file_descriptor.h"

namespace ipav::transport {

class ByteStream {
 public:
  ByteStream() = default;
  ByteStream(const ByteStream&) = delete;
  ByteStream& operator=(const ByteStream&) = delete;
  virtual ~ByteStream() = default;

  virtual int fd() const = 0;

  // The events of poll(2) to wait for in order to read or write.
  virtual short Events(bool reads, bool writes) const = 0;

  // Whether there are bytes to read that poll(2) does not report.
  virtual bool has_more() { return false; }

  // The bytes that are there, at most kReadSize, maybe none; no value at the
  // end of the stream.
  virtual std::optional<std::string> Read() = 0;

  // Returns how many bytes were taken; no value when the other side has gone.
  // If Events() asks for POLLOUT, the stream may hold some of them: also call
  // it when there are no more.
  virtual std::optional<std::size_t> Write(std::string_view bytes) = 0;
};

// Most bytes that one Read() returns.
constexpr std::size_t kReadSize = std::size_t{64} << 10;

// A byte stream over a socket.
class SocketStream : public ByteStream {
 public:
  explicit SocketStream(base::FileDescriptor socket)
      : socket_(std::move(socket)) {}

  int fd() const override { return socket_.get(); }
  short Events(bool reads, bool writes) const override;
  std::optional<std::string> Read() override;
  std::optional<std::size_t> Write(std::string_view bytes) override;

 private:
  base::FileDescriptor socket_;
};

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_BYTE_STREAM_H_
