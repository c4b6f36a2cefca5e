// Measures durations on the monotonic clock.
#ifndef IPAV_HOST_BASE_STOPWATCH_H_
#define IPAV_HOST_BASE_STOPWATCH_H_

#include <chrono>

namespace ipav::base {

using Duration = std::chrono::nanoseconds;

// A duration as a number of another unit, such as std::milli.
template <typename Unit>
double In(Duration time) {
  return std::chrono::duration<double, Unit>(time).count();
}

class Stopwatch {
 public:
  Stopwatch() : start_(Clock::now()) {}

  // The time since the construction or the last lap.
  Duration Lap() {
    const Clock::time_point start = start_;
    start_ = Clock::now();
    return std::chrono::duration_cast<Duration>(start_ - start);
  }

 private:
  using Clock = std::chrono::steady_clock;

  Clock::time_point start_;
};

}  // namespace ipav::base

#endif  // IPAV_HOST_BASE_STOPWATCH_H_
