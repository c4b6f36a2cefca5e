#include "cli/report/html/plan_layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using ipav::cli::report::Block;
using ipav::cli::report::BlocksOf;
using ipav::cli::report::Extent;
using ipav::cli::report::ExtentOf;
using ipav::cli::report::kMaxBlockSize;
using ipav::cli::report::NestsOf;
using ipav::view::Contains;
using ipav::view::Network;
using ipav::view::Space;
using ipav::view::TextOf;

Network N(const std::string& text) {
  return ipav::view::ParseNetwork(text).value();
}

Space SpaceOf(const std::vector<std::string>& texts) {
  Space space;
  for (const std::string& text : texts) {
    space.prefixes.emplace_back();
    space.prefixes.back().network = N(text);
  }
  std::sort(space.prefixes.begin(), space.prefixes.end(),
            [](const auto& a, const auto& b) { return a.network < b.network; });
  return space;
}

// "network: number of prefixes"
std::vector<std::string> Describe(const std::vector<Block>& blocks) {
  std::vector<std::string> texts;
  for (const Block& block : blocks) {
    texts.push_back(TextOf(block.network) + ": " +
                    std::to_string(block.end - block.begin));
  }
  return texts;
}

using Texts = std::vector<std::string>;

TEST(ExtentOf, IsWhereANetworkLiesInAnother) {
  const Extent second_quarter = ExtentOf(N("10.0.64.0/18"), N("10.0.0.0/16"));
  EXPECT_EQ(second_quarter.begin, 0.25);
  EXPECT_EQ(second_quarter.size, 0.25);
  const Extent itself = ExtentOf(N("2001:db8::/64"), N("2001:db8::/64"));
  EXPECT_EQ(itself.begin, 0);
  EXPECT_EQ(itself.size, 1);
  const Extent last = ExtentOf(N("2001:db8:ffff::/48"), N("2001:db8::/32"));
  EXPECT_EQ(last.begin, 65535 / 65536.0);
  EXPECT_EQ(last.size, 1 / 65536.0);
}

TEST(NestsOf, JoinsWhatLiesInOneAnother) {
  const Space space = SpaceOf({"10.0.0.0/16", "10.0.1.0/24", "10.0.1.128/25",
                               "10.1.0.0/24", "10.1.0.0/24", "10.1.1.0/24"});
  EXPECT_EQ(Describe(NestsOf(space)),
            (Texts{"10.0.0.0/16: 3", "10.1.0.0/24: 2", "10.1.1.0/24: 1"}));
}

TEST(BlocksOf, OfNothingIsNothing) { EXPECT_TRUE(BlocksOf(Space()).empty()); }

TEST(BlocksOf, DrawsNeighboursTogether) {
  EXPECT_EQ(Describe(BlocksOf(
                SpaceOf({"10.0.0.0/24", "10.0.1.0/24", "10.0.3.0/24"}))),
            Texts{"10.0.0.0/22: 3"});
}

TEST(BlocksOf, DrawsFamiliesApart) {
  EXPECT_EQ(Describe(BlocksOf(SpaceOf({"32.1.13.0/24", "2001:db8::/32"}))),
            (Texts{"32.1.13.0/24: 1", "2001:db8::/32: 1"}));
}

TEST(BlocksOf, DrawsNetworksThatAreFarApartEachToItsScale) {
  EXPECT_EQ(
      Describe(BlocksOf(SpaceOf({"10.0.0.0/24", "10.0.1.0/24", "10.200.0.0/24",
                                 "172.16.0.0/24", "2001:db8:1::/64",
                                 "2001:db8:1:1::/64", "2001:db8:ffff::/64"}))),
      (Texts{"10.0.0.0/23: 2", "10.200.0.0/24: 1", "172.16.0.0/24: 1",
             "2001:db8:1::/63: 2", "2001:db8:ffff::/64: 1"}));
}

TEST(BlocksOf, KeepsAPictureReadableHoweverManyThereAre) {
  Texts texts;
  for (int i = 0; i < 3000; ++i) {
    texts.push_back("10." + std::to_string(i / 256) + "." +
                    std::to_string(i % 256) + ".0/24");
  }
  const Space space = SpaceOf(texts);
  const std::vector<Block> blocks = BlocksOf(space);
  EXPECT_LE(blocks.size(), 3000 / (kMaxBlockSize / 2) + 1);
  for (const Block& block : blocks) {
    EXPECT_LE(block.end - block.begin, kMaxBlockSize);
  }
}

// Four sites that lie as evenly as they are small.
TEST(BlocksOf, DrawsLumpsEachToItsScale) {
  Texts texts;
  for (const char* site : {"0", "1", "2", "3"}) {
    for (int i = 0; i < 8; ++i) {
      texts.push_back(std::string("2001:db8:") + site + ":" +
                      std::to_string(i) + "::/64");
    }
  }
  EXPECT_EQ(Describe(BlocksOf(SpaceOf(texts))),
            (Texts{"2001:db8::/61: 8", "2001:db8:1::/61: 8",
                   "2001:db8:2::/61: 8", "2001:db8:3::/61: 8"}));
}

TEST(BlocksOf, CutsNoThousandPicturesOfOnePrefix) {
  Texts texts;
  for (int i = 0; i < 1000; ++i) {  // far from each other
    texts.push_back("10." + std::to_string(i / 4) + "." +
                    std::to_string(i % 4 * 64) + ".1/32");
  }
  EXPECT_LE(BlocksOf(SpaceOf(texts)).size(), 1000U / 12);
}

TEST(BlocksOf, NeverCutsWhatLiesInOneAnother) {
  Texts texts = {"10.0.0.0/8"};
  for (int i = 0; i < 200; ++i) {
    texts.push_back("10." + std::to_string(i) + ".0.0/16");
  }
  EXPECT_EQ(Describe(BlocksOf(SpaceOf(texts))), Texts{"10.0.0.0/8: 201"});
}

TEST(BlocksOf, HoldsEveryPrefixOnceInsideOfItsNetwork) {
  Texts texts;
  unsigned number = 1;
  for (int i = 0; i < 700; ++i) {
    number = number * 1103515245U + 12345U;
    const unsigned length = 8 + number / 65536 % 25;
    const unsigned mask = ~0U << (32 - length);
    const unsigned first = (number * 2654435761U) & mask;
    texts.push_back(std::to_string(first >> 24) + "." +
                    std::to_string(first >> 16 & 255) + "." +
                    std::to_string(first >> 8 & 255) + "." +
                    std::to_string(first & 255) + "/" + std::to_string(length));
  }
  const Space space = SpaceOf(texts);
  std::size_t next = 0;
  for (const Block& block : BlocksOf(space)) {
    EXPECT_EQ(block.begin, next);
    next = block.end;
    for (std::size_t i = block.begin; i < block.end; ++i) {
      EXPECT_TRUE(Contains(block.network, space.prefixes[i].network));
    }
  }
  EXPECT_EQ(next, space.prefixes.size());
}

}  // namespace
