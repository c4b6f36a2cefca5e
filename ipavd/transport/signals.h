// Signals as bytes in a pipe, for loops around poll(2).
#ifndef IPAV_SERVER_TRANSPORT_SIGNALS_H_
#define IPAV_SERVER_TRANSPORT_SIGNALS_H_

#include <array>
#include <vector>

#include "host/base/file_descriptor.h"

namespace ipav::transport {

// One in a process.
class Signals {
 public:
  // Catches these from now on. Throws std::system_error.
  explicit Signals(std::vector<int> numbers);
  // Gives them their default meaning, as a child that was forked must at once.
  ~Signals();
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  int fd() const { return read_end_.get(); }

  // Those that came since, in their order.
  std::vector<int> Take() const;

 private:
  Signals(std::vector<int> numbers, const std::array<int, 2>& fds);

  std::vector<int> numbers_;
  base::FileDescriptor read_end_;
  base::FileDescriptor write_end_;
};

}  // namespace ipav::transport

#endif  // IPAV_SERVER_TRANSPORT_SIGNALS_H_
