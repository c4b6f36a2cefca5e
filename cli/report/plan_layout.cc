#include "report/plan_layout.h"

#include <algorithm>

namespace ipav::cli::report {

namespace {

using view::Contains;
using view::Family;
using view::Network;
using view::Space;

// The widest network that is worth a picture, and the length from which on its
// parts are never far apart.
struct Scale {
  unsigned widest;
  unsigned together;
};
constexpr Scale kIpv4Scale = {8, 24};
constexpr Scale kIpv6Scale = {32, 64};

// Two halves are far apart when the one with more prefixes fills less than 1/16
// of the picture.
constexpr unsigned kFarBits = 4;

// Of more nests than that, none is cut off with only a few others: so many
// pictures of little would be harder to read than one that is not to scale.
constexpr std::size_t kManyNests = 96;
constexpr std::size_t kFewNests = 8;

const Scale& ScaleOf(Family family) {
  return family == Family::kIpv4 ? kIpv4Scale : kIpv6Scale;
}

bool BitAt(const Network& network, unsigned place) {
  return (network.first[place / 8] & (0x80U >> (place % 8))) != 0;
}

// Nests, and how they are joined into blocks.
class Cutter {
 public:
  explicit Cutter(const std::vector<Block>& nests) : nests_(nests) {}

  // Cuts nests_[begin, end), which are of one family.
  void Cut(std::size_t begin, std::size_t end) {
    const Network cover = CoverOf(begin, end);
    if (end - begin == 1) return Emit(cover, begin, end);
    // They are apart: each is longer than their cover, and by the next bit some
    // are in its lower half, some in its upper.
    std::size_t middle = begin + 1;
    while (!BitAt(nests_[middle].network, cover.length)) ++middle;
    if (!MustCut(cover, begin, middle, end)) return Emit(cover, begin, end);
    Cut(begin, middle);
    Cut(middle, end);
  }

  std::vector<Block> blocks;

 private:
  Network CoverOf(std::size_t begin, std::size_t end) const {
    return view::CoverOf(nests_[begin].network, nests_[end - 1].network);
  }

  bool MustCut(const Network& cover, std::size_t begin, std::size_t middle,
               std::size_t end) const {
    const Scale& scale = ScaleOf(cover.family);
    if (cover.length < scale.widest) return true;
    if (nests_[end - 1].end - nests_[begin].begin > kMaxBlockSize) return true;
    if (cover.length >= scale.together) return false;
    const std::size_t fewest = std::min(middle - begin, end - middle);
    if (nests_.size() > kManyNests && fewest < kFewNests) return false;
    return AreFarApart(cover, begin, middle, end);
  }

  bool AreFarApart(const Network& cover, std::size_t begin, std::size_t middle,
                   std::size_t end) const {
    const unsigned lower = CoverOf(begin, middle).length - cover.length;
    const unsigned upper = CoverOf(middle, end).length - cover.length;
    return (middle - begin >= end - middle ? lower : upper) > kFarBits;
  }

  void Emit(const Network& cover, std::size_t begin, std::size_t end) {
    blocks.push_back({cover, nests_[begin].begin, nests_[end - 1].end});
  }

  const std::vector<Block>& nests_;
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
  Cutter cutter(nests);
  std::size_t begin = 0;
  for (std::size_t end = 1; end <= nests.size(); ++end) {
    if (end < nests.size() &&
        nests[end].network.family == nests[begin].network.family) {
      continue;
    }
    cutter.Cut(begin, end);
    begin = end;
  }
  return cutter.blocks;
}

Extent ExtentOf(const Network& inner, const Network& outer) {
  Extent extent;
  for (unsigned place = outer.length; place < inner.length; ++place) {
    extent.size /= 2;
    if (BitAt(inner, place)) extent.begin += extent.size;
  }
  return extent;
}

}  // namespace ipav::cli::report
