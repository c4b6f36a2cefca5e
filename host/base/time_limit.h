// How long something may take, on the monotonic clock.
#ifndef IPAV_HOST_BASE_TIME_LIMIT_H_
#define IPAV_HOST_BASE_TIME_LIMIT_H_

#include <chrono>
#include <string>

namespace ipav::base {

using TimeLimit = std::chrono::milliseconds;

constexpr TimeLimit kNoTimeLimit{0};

// "1 second", "60 seconds", "0.25 seconds".
std::string InWords(TimeLimit limit);

// A time limit that runs from its making on.
class Countdown {
 public:
  explicit Countdown(TimeLimit limit);

  // What is left in milliseconds, as poll(2) takes it: -1 for ever, 0 nothing.
  int ForPoll() const;

 private:
  TimeLimit limit_;
  std::chrono::steady_clock::time_point start_;
};

}  // namespace ipav::base

#endif  // IPAV_HOST_BASE_TIME_LIMIT_H_
