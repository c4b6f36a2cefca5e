#include "host/base/time_limit.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <thread>

namespace {

using ipav::base::Countdown;
using ipav::base::InWords;
using ipav::base::kNoTimeLimit;
using ipav::base::TimeLimit;

TEST(TimeLimit, IsPutInWordsOfSeconds) {
  EXPECT_EQ(InWords(TimeLimit(1000)), "1 second");
  EXPECT_EQ(InWords(TimeLimit(2000)), "2 seconds");
  EXPECT_EQ(InWords(TimeLimit(60000)), "60 seconds");
  EXPECT_EQ(InWords(TimeLimit(100)), "0.1 seconds");
  EXPECT_EQ(InWords(TimeLimit(1)), "0.001 seconds");
  EXPECT_EQ(InWords(TimeLimit(1050)), "1.05 seconds");
  EXPECT_EQ(InWords(TimeLimit(10000)), "10 seconds");
}

TEST(Countdown, WithoutALimitWaitsForEver) {
  EXPECT_EQ(Countdown(kNoTimeLimit).ForPoll(), -1);
}

TEST(Countdown, RunsDownToNothingAndNotToForEver) {
  const int left = Countdown(TimeLimit(60000)).ForPoll();
  EXPECT_GT(left, 0);
  EXPECT_LE(left, 60000);
  const Countdown countdown(TimeLimit(10));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(countdown.ForPoll(), 0);
}

TEST(Countdown, OfALongTimeIsTheLongestThatPollTakes) {
  EXPECT_EQ(Countdown(std::chrono::hours(24 * 365)).ForPoll(), INT_MAX);
}

}  // namespace
