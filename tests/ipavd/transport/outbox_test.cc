#include "ipavd/transport/outbox.h"

#include <gtest/gtest.h>

#include <string>

namespace ipav::transport {
namespace {

TEST(OutboxTest, GivesItsBytesInTheirOrder) {
  Outbox box;
  EXPECT_TRUE(box.empty());
  std::string added;
  std::string gone;
  for (std::size_t i = 0; i < 1000; ++i) {
    const std::string part = std::to_string(i) + ",";
    added += part;
    box.Add(part);
    const std::size_t count = i % 5;
    gone += box.rest().substr(0, count);
    box.Drop(count);
    EXPECT_EQ(box.size(), added.size() - gone.size());
  }
  gone += box.rest();
  box.Drop(box.size());
  EXPECT_TRUE(box.empty());
  EXPECT_EQ(gone, added);
}

TEST(OutboxTest, ForgetsWhatItIsToldTo) {
  Outbox box;
  box.Add("abcdef");
  box.Drop(1);
  box.Clear();
  EXPECT_TRUE(box.empty());
  box.Add("g");
  EXPECT_EQ(box.rest(), "g");
}

}  // namespace
}  // namespace ipav::transport
