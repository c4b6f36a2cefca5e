// Bytes that are still to be sent.
#ifndef IPAV_IPAVD_TRANSPORT_OUTBOX_H_
#define IPAV_IPAVD_TRANSPORT_OUTBOX_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace ipav::transport {

class Outbox {
 public:
  bool empty() const { return size() == 0; }
  std::size_t size() const { return bytes_.size() - gone_; }

  // Valid until the next change.
  std::string_view rest() const {
    return std::string_view{bytes_}.substr(gone_);
  }

  void Add(std::string bytes) {
    if (empty()) {
      bytes_ = std::move(bytes);
      gone_ = 0;
    } else {
      bytes_.append(bytes);
    }
  }

  // The first `count` bytes were sent. The rest is moved to the front when it
  // is the smaller part, so that a byte is moved once at most, on average.
  void Drop(std::size_t count) {
    gone_ += count;
    if (gone_ < bytes_.size() / 2) return;
    bytes_.erase(0, gone_);
    gone_ = 0;
  }

  void Clear() {
    bytes_.clear();
    gone_ = 0;
  }

 private:
  std::string bytes_;
  std::size_t gone_ = 0;  // bytes that were sent
};

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_OUTBOX_H_
