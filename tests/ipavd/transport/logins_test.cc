#include "ipavd/transport/logins.h"

#include <gtest/gtest.h>

namespace ipav::transport {
namespace {

// How many of the random numbers from 0 to 99 are refused.
unsigned RefusedPercent(const Logins& logins) {
  unsigned refused = 0;
  for (unsigned percent = 0; percent < 100; ++percent) {
    if (logins.Refuses(percent)) ++refused;
  }
  return refused;
}

TEST(LoginsTest, AreRefusedWithAProbabilityThatGrowsWithTheirNumber) {
  Logins logins({10, 30, 60, 100});
  pid_t process = 0;
  for (const auto& [count, percent] :
       {std::pair(9, 0U), std::pair(10, 30U), std::pair(35, 65U),
        std::pair(59, 98U), std::pair(60, 100U)}) {
    while (process < count) logins.Begin(++process, "");
    EXPECT_EQ(RefusedPercent(logins), percent) << count;
  }
  logins.End(1000);  // none of them
  EXPECT_EQ(RefusedPercent(logins), 100U);
  for (; process > 9; --process) logins.End(process);
  EXPECT_EQ(RefusedPercent(logins), 0U);
}

TEST(LoginsTest, OfOneSourceAreReplacedInTheirOrder) {
  Logins logins({10, 30, 60, 2});
  logins.Begin(1, "a");
  logins.Begin(2, "b");
  EXPECT_EQ(logins.OldestOfFull("a"), std::nullopt);
  logins.Begin(3, "a");
  EXPECT_EQ(logins.OldestOfFull("a"), 1);
  EXPECT_EQ(logins.OldestOfFull("b"), std::nullopt);
  logins.End(1);
  EXPECT_EQ(logins.OldestOfFull("a"), std::nullopt);
  logins.Begin(4, "a");
  EXPECT_EQ(logins.OldestOfFull("a"), 3);
}

}  // namespace
}  // namespace ipav::transport
