#include "cli/report/html/plan_layout.h"

#include <algorithm>

namespace ipav::cli::report {

namespace {

using view::Contains;
using view::Family;
using view::Network;
using view::Space;

// The widest network that is drawn as one picture, and the prefix length from
// which its parts are never far apart.
struct Scale {
  unsigned widest;
  unsigned together;
};
constexpr Scale kIpv4Scale = {8, 24};
constexpr Scale kIpv6Scale = {32, 64};

// Two halves are far apart when the one with more nests fills less than 1/16 of
// the picture.
constexpr unsigned kFarBits = 4;

// Parts that are far apart are separated if each then has at least this many
// nests. Among a few nests, each may have its own picture. For many nests, so
// many pictures would be harder to read than a picture that is not to scale.
std::size_t WorthAPicture(std::size_t nests) {
  if (nests <= 16) return 1;
  return nests <= 96 ? 4 : 8;
}

const Scale& ScaleOf(Family family) {
  return family == Family::kIpv4 ? kIpv4Scale : kIpv6Scale;
}

// Joins the nests of one family, neighbours first, while their picture remains
// readable.
class Joiner {
 public:
  Joiner(const std::vector<Block>& nests, std::size_t begin, std::size_t end)
      : nests_(nests), worth_(WorthAPicture(end - begin)) {
    Join(begin, end);
  }

  std::vector<Block> blocks;

 private:
  // Appends the blocks of nests_[begin, end). True when they are one.
  bool Join(std::size_t begin, std::size_t end) {
    const Block whole = BlockOf(begin, end);
    if (end - begin == 1) {
      blocks.push_back(whole);
      return true;
    }
    // The nests are disjoint, and each is longer than the block that contains
    // all. The next bit divides them between its lower and its upper half.
    std::size_t middle = begin + 1;
    while (!BitAt(nests_[middle].network.block, whole.network.block.length))
      ++middle;
    const bool lower_is_one = Join(begin, middle);
    const bool upper_is_one = Join(middle, end);
    if (!lower_is_one || !upper_is_one ||
        IsUnreadable(whole, begin, middle, end)) {
      return false;
    }
    blocks.pop_back();
    blocks.back() = whole;
    return true;
  }

  bool IsUnreadable(const Block& whole, std::size_t begin, std::size_t middle,
                    std::size_t end) const {
    const unsigned length = whole.network.block.length;
    const Scale& scale = ScaleOf(whole.network.family);
    if (length < scale.widest) return true;
    if (whole.end - whole.begin > kMaxBlockSize) return true;
    if (length >= scale.together) return false;
    const bool lower_is_more = middle - begin >= end - middle;
    const Block more =
        lower_is_more ? BlockOf(begin, middle) : BlockOf(middle, end);
    return more.network.block.length > length + kFarBits &&
           std::max(middle - begin, end - middle) >= worth_;
  }

  Block BlockOf(std::size_t begin, std::size_t end) const {
    return {view::CoverOf(nests_[begin].network, nests_[end - 1].network),
            nests_[begin].begin, nests_[end - 1].end};
  }

  const std::vector<Block>& nests_;
  const std::size_t worth_;
};

}  // namespace

std::vector<Block> NestsOf(const Space& space) {
  std::vector<Block> nests;
  for (std::size_t i = 0; i < space.prefixes.size(); ++i) {
    const Network& network = space.prefixes[i].network;
    if (nests.empty() || !Contains(nests.back().network, network)) {
      nests.push_back({network, i, i});
    }
    nests.back().end = i + 1;
  }
  return nests;
}

std::vector<Block> BlocksOf(const Space& space) {
  const std::vector<Block> nests = NestsOf(space);
  std::vector<Block> blocks;
  std::size_t begin = 0;
  for (std::size_t end = 1; end <= nests.size(); ++end) {
    if (end < nests.size() &&
        nests[end].network.family == nests[begin].network.family) {
      continue;
    }
    const Joiner joiner(nests, begin, end);
    blocks.insert(blocks.end(), joiner.blocks.begin(), joiner.blocks.end());
    begin = end;
  }
  return blocks;
}

Extent ExtentOf(const Network& inner, const Network& outer) {
  Extent extent;
  for (unsigned bit = outer.block.length; bit < inner.block.length; ++bit) {
    extent.size /= 2;
    if (BitAt(inner.block, bit)) extent.begin += extent.size;
  }
  return extent;
}

}  // namespace ipav::cli::report
