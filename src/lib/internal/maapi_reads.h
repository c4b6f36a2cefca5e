// Reads of the transaction by path that the snapshot's readers and the VRF walk
// share. What is missing or cannot be read is the default.
#ifndef IPAV_SRC_LIB_INTERNAL_MAAPI_READS_H_
#define IPAV_SRC_LIB_INTERNAL_MAAPI_READS_H_

#include <confd_maapi.h>
#include <nettypes/ipv4.h>
#include <nettypes/ipv6.h>

#include <cstddef>
#include <cstring>
#include <list>
#include <string>

#include "src/lib/internal/maapi_owners.h"

namespace ip_application::config_valid::internal {

// An address-with-prefix-length leaf. Default: 0.0.0.0/0, ::/0.
nettypes::IPv4AddrMask ReadIpv4Mask(int sock, int thandle,
                                    const std::string& path);
nettypes::IPv6AddrMask ReadIpv6Mask(int sock, int thandle,
                                    const std::string& path);

// A key as text of at most `kSize` - 1 bytes.
template <std::size_t kSize>
struct KeyText {
  explicit KeyText(const confd_value_t& key) {
    text[0] = '\0';  // what a key that cannot be printed gives
    static_cast<void>(confd_pp_value(text, sizeof(text), &key));
  }
  char text[kSize];
};

// Calls `visit` with each entry of a list, in the order of the database.
template <typename Visit>
void ForEachEntry(int sock, int thandle, const std::string& path, Visit visit) {
  if (maapi_exists(sock, thandle, "%s", path.c_str()) != 1) return;

  MaapiCursor cursor(sock, thandle, path);
  for (const maapi_cursor& row : cursor) visit(row);
}

// Texts of keys in one piece of memory, in their order. No text holds a NUL.
class KeyTexts {
 public:
  void Clear() {
    texts_.clear();
    count_ = 0;
  }
  void Add(const char* key) {
    texts_.append(key, std::strlen(key) + 1);
    ++count_;
  }
  std::size_t size() const { return count_; }

  // `for (const char* key : keys)`.
  class Iterator {
   public:
    explicit Iterator(const char* at) : at_(at) {}
    const char* operator*() const { return at_; }
    Iterator& operator++() {
      at_ += std::strlen(at_) + 1;
      return *this;
    }
    bool operator!=(const Iterator& other) const { return at_ != other.at_; }

   private:
    const char* at_;
  };

  Iterator begin() const { return Iterator(texts_.data()); }
  Iterator end() const { return Iterator(texts_.data() + texts_.size()); }

 private:
  std::string texts_;  // each with its NUL
  std::size_t count_ = 0;
};

// The first keys of each entry of a list, in the order of the database, each as
// text of at most `kSize` - 1 bytes, in place of what `keys` held.
template <std::size_t kSize>
void ReadKeyTexts(int sock, int thandle, const std::string& path,
                  unsigned int key_count, KeyTexts* keys) {
  keys->Clear();
  ForEachEntry(sock, thandle, path, [&](const maapi_cursor& row) {
    for (unsigned int i = 0; i < key_count; ++i) {
      keys->Add(KeyText<kSize>(row.keys[i]).text);
    }
  });
}

// The first key of each entry as a text of its own.
template <std::size_t kSize>
std::list<std::string> ReadFirstKeys(int sock, int thandle,
                                     const std::string& path) {
  KeyTexts keys;
  ReadKeyTexts<kSize>(sock, thandle, path, 1, &keys);
  std::list<std::string> texts;
  for (const char* key : keys) texts.emplace_back(key);
  return texts;
}

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_MAAPI_READS_H_
