// lib_init() when memory runs out: the allocation functions of this executable
// count, and fail at the call that a test names.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <new>

#include "include/validate.h"

namespace {

int live_allocations = 0;
int calls_until_failure = 0;  // 0: none fails

}  // namespace

void* operator new(std::size_t size) {
  if (calls_until_failure > 0 && --calls_until_failure == 0) {
    throw std::bad_alloc();
  }
  void* memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  ++live_allocations;
  return memory;
}

void operator delete(void* memory) noexcept {
  if (memory == nullptr) return;
  --live_allocations;
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  operator delete(memory);
}

namespace {

enum class Outcome { kStored, kThrew };

// lib_init() with its `number`th allocation failing.
Outcome InitWithFailure(int number, void** context) {
  calls_until_failure = number;
  try {
    lib_init(context);
    calls_until_failure = 0;
    return Outcome::kStored;
  } catch (const std::bad_alloc&) {
    calls_until_failure = 0;
    return Outcome::kThrew;
  }
}

TEST(AllocationFailureTest, LeavesLibInitAsBadAllocAndLeaksNothing) {
  void* context = nullptr;
  int number = 1;
  for (;; ++number) {
    const int before = live_allocations;
    const Outcome outcome = InitWithFailure(number, &context);
    const int after = live_allocations;
    if (outcome == Outcome::kStored) break;
    EXPECT_EQ(after, before) << "allocation " << number;
    EXPECT_EQ(context, nullptr) << "allocation " << number;
  }
  // At the least the snapshot and its static-route reader are allocated.
  EXPECT_GE(number, 3);
  lib_finish(&context);
}

TEST(AllocationFailureTest, LibFinishGivesBackAllThatLibInitTook) {
  void* context = nullptr;
  const int before = live_allocations;
  lib_init(&context);
  const int between = live_allocations;
  lib_finish(&context);
  const int after = live_allocations;
  EXPECT_GT(between, before);
  EXPECT_EQ(after, before);
}

}  // namespace
