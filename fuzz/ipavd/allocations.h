// Counts the memory that operator new allocates. Linking this file replaces the
// operators of the whole program.
#ifndef IPAV_FUZZ_IPAVD_ALLOCATIONS_H_
#define IPAV_FUZZ_IPAVD_ALLOCATIONS_H_

#include <cstddef>

namespace ipav::fuzz {

// The peak of the allocated memory since the object was made, less the memory
// allocated at that time. At most one object at a time.
class AllocationPeak {
 public:
  AllocationPeak();

  std::size_t bytes() const;

 private:
  std::size_t before_;
};

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_IPAVD_ALLOCATIONS_H_
