// Counts memory allocations.
#ifndef IPAV_BENCH_ALLOCATIONS_H_
#define IPAV_BENCH_ALLOCATIONS_H_

#include <cstddef>

namespace ipav::bench {

// Calls of operator new since the program began.
std::size_t Allocations();

}  // namespace ipav::bench

#endif  // IPAV_BENCH_ALLOCATIONS_H_
