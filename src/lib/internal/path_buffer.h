// Paths that begin alike, in one piece of memory.
#ifndef IPAV_SRC_LIB_INTERNAL_PATH_BUFFER_H_
#define IPAV_SRC_LIB_INTERNAL_PATH_BUFFER_H_

#include <cstddef>
#include <string>

namespace ip_application::config_valid::internal {

// The entries of a list, and what lies below them: a path is good until the
// next one is asked for.
class EntryPaths {
 public:
  // Takes up a list, and gives up the one before.
  void Start(const std::string& list) {
    // Room for a key and a leaf in most cases.
    text_.reserve(list.size() + 64);
    text_.assign(list).push_back('{');
    key_at_ = text_.size();
  }

  // Takes up an entry.
  void Enter(const char* key) {
    text_.resize(key_at_);
    text_.append(key).push_back('}');
    end_ = text_.size();
  }

  // The path of what lies below the entry: "/vrf".
  const std::string& Below(const char* suffix) {
    text_.resize(end_);
    return text_.append(suffix);
  }

 private:
  std::string text_;
  std::size_t key_at_ = 0;
  std::size_t end_ = 0;
};

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_PATH_BUFFER_H_
