// Time limits, on the monotonic clock.
#ifndef IPAV_HOST_BASE_TIME_LIMIT_H_
#define IPAV_HOST_BASE_TIME_LIMIT_H_

#include <chrono>
#include <exception>
#include <string>

namespace ipav::base {

using TimeLimit = std::chrono::milliseconds;

constexpr TimeLimit kNoTimeLimit{0};

// "1 second", "60 seconds", "0.25 seconds".
std::string InWords(TimeLimit limit);

// Measures a time limit from the construction on.
class Countdown {
 public:
  explicit Countdown(TimeLimit limit);

  // The remaining milliseconds for poll(2): -1 without a limit, 0 if it is
  // over.
  int ForPoll() const;

 private:
  TimeLimit limit_;
  std::chrono::steady_clock::time_point start_;
};

// A search ended before its result was known.
class TimeOver : public std::exception {
 public:
  const char* what() const noexcept override { return "time limit reached"; }
};

}  // namespace ipav::base

#endif  // IPAV_HOST_BASE_TIME_LIMIT_H_
