// How much memory the process takes, by operator new alone. Linked in, it
// replaces the operators of the whole program.
#ifndef IPAV_FUZZ_IPAVD_ALLOCATIONS_H_
#define IPAV_FUZZ_IPAVD_ALLOCATIONS_H_

#include <cstddef>

namespace ipav::fuzz {

// The most that was taken at a time since the object was made, less what was
// taken then. One at a time.
class AllocationPeak {
 public:
  AllocationPeak();

  std::size_t bytes() const;

 private:
  std::size_t before_;
};

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_IPAVD_ALLOCATIONS_H_
