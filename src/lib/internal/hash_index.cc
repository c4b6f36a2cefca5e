#include "src/lib/internal/hash_index.h"

#include <algorithm>

namespace ip_application::config_valid::internal {

namespace {

constexpr std::size_t kFirstSlots = 32;

}  // namespace

void HashIndex::Reserve(std::size_t count) {
  std::size_t wanted = std::max(slots_.size(), kFirstSlots);
  while (wanted < count * 2) wanted *= 2;
  if (wanted == slots_.size()) return;

  std::vector<Slot> larger(wanted);
  for (const Slot& slot : slots_) {
    if (slot.position != kNone) Insert(slot, &larger);
  }
  slots_.swap(larger);
}

void HashIndex::Add(std::size_t hash) noexcept {
  Insert({static_cast<std::uint32_t>(hash), size_}, &slots_);
  ++size_;
}

void HashIndex::Insert(const Slot& slot, std::vector<Slot>* slots) noexcept {
  const std::size_t last = slots->size() - 1;
  std::size_t at = slot.hash & last;
  while ((*slots)[at].position != kNone) at = (at + 1) & last;
  (*slots)[at] = slot;
}

}  // namespace ip_application::config_valid::internal
