// Where the prefixes of an address space are drawn. Address spaces are sparse:
// a line from the first address to the last would be empty but for a few dots.
// So a space is cut into blocks, each drawn to a scale of its own.
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

// A picture of more than that many is cut where it can be; prefixes that lie in
// each other stay together.
constexpr std::size_t kMaxBlockSize = 48;

// Blocks of a space in the order of its prefixes, which they hold all of.
std::vector<Block> BlocksOf(const view::Space& space);

// Largest runs of prefixes that lie in the first of them.
std::vector<Block> NestsOf(const view::Space& space);

// Where `inner` lies in `outer`, which contains it: shares of its length.
struct Extent {
  double begin = 0;
  double size = 1;
};
Extent ExtentOf(const view::Network& inner, const view::Network& outer);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_HTML_PLAN_LAYOUT_H_
