#include "fuzz/ipavd/allocations.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> taken{0};
std::atomic<std::size_t> peak{0};

void* Take(std::size_t size) noexcept {
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) return nullptr;
  const std::size_t now = taken += malloc_usable_size(memory);
  if (now > peak) peak = now;
  return memory;
}

void* TakeOrThrow(std::size_t size) {
  void* memory = Take(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void Give(void* memory) noexcept {
  if (memory == nullptr) return;
  taken -= malloc_usable_size(memory);
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return TakeOrThrow(size); }
void* operator new[](std::size_t size) { return TakeOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Take(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return Take(size);
}
void operator delete(void* memory) noexcept { Give(memory); }
void operator delete[](void* memory) noexcept { Give(memory); }
void operator delete(void* memory, std::size_t) noexcept { Give(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Give(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  Give(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  Give(memory);
}

namespace ipav::fuzz {

AllocationPeak::AllocationPeak() : before_(taken) { peak = before_; }

std::size_t AllocationPeak::bytes() const { return peak - before_; }

}  // namespace ipav::fuzz
