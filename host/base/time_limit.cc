#include "host/base/time_limit.h"

#include <algorithm>
#include <climits>

namespace ipav::base {

namespace {

constexpr int kMillisecondsPerSecond = 1000;

}  // namespace

std::string InWords(TimeLimit limit) {
  std::string number = std::to_string(limit.count() / kMillisecondsPerSecond);
  const auto rest = limit.count() % kMillisecondsPerSecond;
  if (rest != 0) {
    // Three digits after the point, without trailing zeros.
    number += "." + std::to_string(kMillisecondsPerSecond + rest).substr(1);
    number.erase(number.find_last_not_of('0') + 1);
  }
  return number + (number == "1" ? " second" : " seconds");
}

Countdown::Countdown(TimeLimit limit)
    : limit_(limit), start_(std::chrono::steady_clock::now()) {}

int Countdown::ForPoll() const {
  if (limit_ == kNoTimeLimit) return -1;
  const auto passed = std::chrono::steady_clock::now() - start_;
  // Rounded up: poll(2) must not return before the time is over.
  const auto left = std::chrono::ceil<TimeLimit>(limit_ - passed).count();
  return static_cast<int>(
      std::clamp<std::chrono::milliseconds::rep>(left, 0, INT_MAX));
}

}  // namespace ipav::base
