// Inputs of validation calls: key paths, and valid configurations of which a
// test changes one thing.
#ifndef IPAV_TESTS_SUPPORT_BUILDERS_H_
#define IPAV_TESTS_SUPPORT_BUILDERS_H_

#include <confd_lib.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "value.h"

namespace ipav::testing {

class FakePlatform;

// A key path, written from the root and stored leaf first. The pointer of
// get() is good until the object is changed, copied or destroyed.
class KeyPath {
 public:
  KeyPath& Node(const std::string& name) { return Element({Tag(TagOf(name))}); }
  KeyPath& Keys(std::vector<Value> keys) { return Element(std::move(keys)); }
  KeyPath& Key(Value key) { return Element({std::move(key)}); }

  // One element of any kind, also of a kind that the daemon never makes there.
  KeyPath& Element(std::vector<Value> row);

  // Replaces the element at the index v[index] of the stored path.
  KeyPath& Replace(std::size_t index, Value value);

  confd_hkeypath_t* get();
  std::string text() const;  // as a path text

 private:
  std::vector<std::vector<Value>> rows_;  // root first
  confd_hkeypath_t stored_{};
};

// The router-advertisement timers of one interface: what both rules accept.
struct RaConfig {
  std::string kind = "l3";
  std::string name = "core1";
  std::optional<std::uint16_t> max_interval = 600;
  std::optional<std::uint16_t> min_interval = 200;
  std::optional<std::uint16_t> lifetime = 1800;

  std::string container() const;  // path text, ends in a slash
  KeyPath keypath() const;        // of the validation point
  void StoreIn(FakePlatform& platform) const;
};

}  // namespace ipav::testing

#endif  // IPAV_TESTS_SUPPORT_BUILDERS_H_
