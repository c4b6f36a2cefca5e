// Finds records by key without walking them.
//
// An open-addressed hash table of positions: records stay where they are and
// in their order, and keep their keys; the table has a hash and a position of
// each, and asks its caller whether a record is the wanted one. A look-up
// costs one or two comparisons however many records there are, an addition
// the same, and the table doubles in place of an allocation per record.
#ifndef IPAV_SRC_LIB_INTERNAL_HASH_INDEX_H_
#define IPAV_SRC_LIB_INTERNAL_HASH_INDEX_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ip_application::config_valid::internal {

class HashIndex {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  // Up to so many records are walked in less time than a key is hashed.
  static constexpr std::size_t kFew = 16;

  // Position of the record of that hash for which `is_wanted(position)` holds,
  // or kNone.
  template <typename IsWanted>
  std::uint32_t Find(std::size_t hash, IsWanted is_wanted) const {
    if (slots_.empty()) return kNone;
    const auto wanted = static_cast<std::uint32_t>(hash);
    for (std::size_t at = wanted & mask();; at = (at + 1) & mask()) {
      const Slot& slot = slots_[at];
      if (slot.position == kNone) return kNone;
      if (slot.hash == wanted && is_wanted(slot.position)) {
        return slot.position;
      }
    }
  }

  std::size_t size() const { return size_; }

  // Makes room for so many records, so that an Add() of them cannot fail.
  void Reserve(std::size_t count);

  // Adds the next record: the first one's position is 0. Its key must not be
  // there yet.
  void Add(std::size_t hash) noexcept;

 private:
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t position = kNone;  // kNone: free
  };

  std::size_t mask() const { return slots_.size() - 1; }
  static void Insert(const Slot& slot, std::vector<Slot>* slots) noexcept;

  std::vector<Slot> slots_;  // a power of two, at most half of them taken
  std::uint32_t size_ = 0;
};

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_HASH_INDEX_H_
