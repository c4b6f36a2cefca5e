#include "tests/faults/allocations.h"

#include <cstdlib>
#include <functional>
#include <new>
#include <unordered_set>

#include "tests/support/side.h"

namespace ipav::faults {

namespace {

using testing::Side;
using testing::SideScope;

// Book-keeping that does not allocate through the functions that it serves.
template <typename T>
struct MallocAllocator {
  using value_type = T;
  MallocAllocator() = default;
  template <typename U>
  explicit MallocAllocator(const MallocAllocator<U>& /*other*/) {}
  T* allocate(std::size_t count) {
    // NOLINTNEXTLINE(bugprone-sizeof-expression): T may well be a pointer.
    return static_cast<T*>(std::malloc(count * sizeof(T)));
  }
  void deallocate(T* memory, std::size_t /*count*/) { std::free(memory); }
};
template <typename T, typename U>
bool operator==(const MallocAllocator<T>& /*a*/,
                const MallocAllocator<U>& /*b*/) {
  return true;
}

using Addresses = std::unordered_set<void*, std::hash<void*>, std::equal_to<>,
                                     MallocAllocator<void*>>;

unsigned calls_until_failure = 0;  // 0: none fails
bool failed = false;
bool ran_out = false;

// Lives as long as the process: memory is freed to its very end.
Addresses& Live() {
  alignas(Addresses) static unsigned char storage[sizeof(Addresses)];
  static auto* const addresses = new (storage) Addresses;
  return *addresses;
}

void* Allocate(std::size_t size) {
  const bool is_counted = SideScope::running() == Side::kPlugIn;
  if (is_counted && calls_until_failure > 0 && --calls_until_failure == 0) {
    failed = true;
    throw std::bad_alloc();
  }
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  if (is_counted) Live().insert(memory);
  return memory;
}

void Free(void* memory) {
  if (memory == nullptr) return;
  Live().erase(memory);
  std::free(memory);
}

}  // namespace

void FailAllocation(unsigned number) {
  calls_until_failure = number;
  failed = false;
  ran_out = false;
}

bool AllocationFailed() { return failed; }

bool RanOutOfMemory() { return ran_out; }

void NoteRanOutOfMemory() { ran_out = true; }

std::size_t LiveAllocations() { return Live().size(); }

}  // namespace ipav::faults

// The arrays' and the others end up in these.
void* operator new(std::size_t size) { return ipav::faults::Allocate(size); }

void operator delete(void* memory) noexcept { ipav::faults::Free(memory); }

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  ipav::faults::Free(memory);
}
