// Positions by hash: what the readers merge by.

#include "src/lib/internal/hash_index.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

namespace ip_application::config_valid::internal {
namespace {

const auto kAny = [](std::uint32_t) { return true; };

TEST(HashIndexTest, AnEmptyOneFindsNothing) {
  EXPECT_EQ(HashIndex().Find(7, kAny), HashIndex::kNone);
}

TEST(HashIndexTest, FindsEachRecordAtItsPositionHoweverManyThereAre) {
  HashIndex index;
  for (std::size_t i = 0; i < 1000; ++i) {
    index.Reserve(i + 1);
    index.Add(i * 977);
  }
  EXPECT_EQ(index.size(), 1000U);
  for (std::size_t i = 0; i < 1000; ++i) {
    EXPECT_EQ(index.Find(i * 977, kAny), i);
  }
  EXPECT_EQ(index.Find(976, kAny), HashIndex::kNone);
}

TEST(HashIndexTest, RecordsOfOneHashAreToldApartByTheCaller) {
  HashIndex index;
  index.Reserve(100);
  for (int i = 0; i < 100; ++i) index.Add(5);
  for (std::uint32_t wanted = 0; wanted < 100; ++wanted) {
    EXPECT_EQ(index.Find(5, [&](auto at) { return at == wanted; }), wanted);
  }
  EXPECT_EQ(index.Find(5, [](auto) { return false; }), HashIndex::kNone);
}

TEST(HashIndexTest, AsksTheCallerOnlyAboutRecordsOfTheHash) {
  HashIndex index;
  index.Reserve(2);
  index.Add(1);
  index.Add(33);  // in the same place of a small table
  const auto is_second = [](std::uint32_t position) {
    EXPECT_EQ(position, 1U);
    return true;
  };
  EXPECT_EQ(index.Find(33, is_second), 1U);
}

TEST(HashIndexTest, GrowingKeepsWhatIsThere) {
  HashIndex index;
  index.Reserve(1);
  index.Add(42);
  index.Reserve(5000);
  EXPECT_EQ(index.Find(42, kAny), 0U);
}

}  // namespace
}  // namespace ip_application::config_valid::internal
