// Turns signals into bytes in a pipe, for loops with poll(2).
#ifndef IPAV_IPAVD_TRANSPORT_SIGNALS_H_
#define IPAV_IPAVD_TRANSPORT_SIGNALS_H_

#include <array>
#include <vector>

#include "host/base/file_descriptor.h"

namespace ipav::transport {

// A process has at most one.
class Signals {
 public:
  // Catches these from now on. Throws std::system_error.
  explicit Signals(std::vector<int> numbers);
  // Restores the default actions. A forked child must do so at once.
  ~Signals();
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  int fd() const { return read_end_.get(); }

  // The signals since the last call, in their order.
  std::vector<int> Take() const;

 private:
  Signals(std::vector<int> numbers, const std::array<int, 2>& fds);

  std::vector<int> numbers_;
  base::FileDescriptor read_end_;
  base::FileDescriptor write_end_;
};

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_SIGNALS_H_
