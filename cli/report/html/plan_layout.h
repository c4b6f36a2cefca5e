// The layout of the prefixes of an address space. Address spaces are sparse: a
// line from the first address to the last would be almost empty. A space is
// therefore divided into blocks, each drawn to a scale of its own.
#ifndef IPAV_CLI_REPORT_HTML_PLAN_LAYOUT_H_
#define IPAV_CLI_REPORT_HTML_PLAN_LAYOUT_H_

#include <cstddef>
#include <vector>

#include "host/view/address_plan.h"

namespace ipav::cli::report {

// Neighbours that are drawn together: space.prefixes[begin, end).
struct Block {
  view::Network network;  // that contains them all
  std::size_t begin = 0;
  std::size_t end = 0;
};

// A picture with more prefixes is divided if possible; prefixes that contain
// each other stay together.
constexpr std::size_t kMaxBlockSize = 48;

// Blocks of a space in the order of its prefixes. They contain all prefixes.
std::vector<Block> BlocksOf(const view::Space& space);

// The nests of a space: the longest runs of prefixes that the first of the run
// contains.
std::vector<Block> NestsOf(const view::Space& space);

// The position of `inner` in `outer`, which contains it, as shares of its
// length.
struct Extent {
  double begin = 0;
  double size = 1;
};
Extent ExtentOf(const view::Network& inner, const view::Network& outer);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_HTML_PLAN_LAYOUT_H_
