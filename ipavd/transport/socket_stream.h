// A byte stream over a socket.
#ifndef IPAV_IPAVD_TRANSPORT_SOCKET_STREAM_H_
#define IPAV_IPAVD_TRANSPORT_SOCKET_STREAM_H_

#include <utility>

#include "host/base/file_descriptor.h"
#include "ipavd/transport/byte_stream.h"

namespace ipav::transport {

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

#endif  // IPAV_IPAVD_TRANSPORT_SOCKET_STREAM_H_
