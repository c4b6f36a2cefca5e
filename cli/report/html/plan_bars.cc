#include "cli/report/html/plan_bars.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace ipav::cli::report {

namespace {

using datastore::Novelty;
using view::Network;
using view::Prefix;
using view::Space;

// A bar with at least this share of its block has room for its name.
constexpr double kNamedShare = 0.24;

// Pixels: the picture of a block, and the vertical offset of a nested prefix.
constexpr std::size_t kStripHeight = 32;
constexpr std::size_t kStepOfDepth = 6;
constexpr std::size_t kMaxDepth = 3;

// The tooltip of a bar.
std::string NameOf(const Prefix& prefix) {
  std::string name = prefix.text + " " + OwnerOf(prefix);
  const std::string change = ChangeText(prefix);
  if (!change.empty()) name += ", " + change;
  if (prefix.InConflict()) name += ", in conflict";
  return name;
}

// The state of a prefix as CSS classes.
std::string ClassesOf(const Prefix& prefix) {
  std::string classes = prefix.InConflict() ? "bar conflict" : "bar";
  if (prefix.novelty == Novelty::kRemoved) return classes + " removed";
  return prefix.novelty == Novelty::kUnchanged ? classes : classes + " new";
}

Html Position(const Extent& extent) {
  // Half a pixel of a wide window, so that the smallest bar is visible.
  return Html().Markup(R"(x="{}" width="{}")", Html().Share(extent.begin),
                       Html().Share(std::max(extent.size, 0.0005)));
}

// One prefix in the picture of a block; `depth` others are around it.
void AddBar(const Prefix& prefix, const Network& block, std::size_t depth,
            bool has_room, Html* html) {
  const Extent extent = ExtentOf(prefix.network, block);
  const std::size_t y = std::min(depth, kMaxDepth) * kStepOfDepth;
  html->Markup(
      "<svg {} y=\"{}\" height=\"{}\" overflow=\"visible\"><title>{}</title>"
      "<rect class=\"{}\" width=\"100%\" height=\"100%\" /></svg>",
      Position(extent), y, kStripHeight - y, NameOf(prefix), ClassesOf(prefix));
  // Names are not readable over the hatching of conflicts.
  if (!has_room || prefix.InConflict() || extent.size < kNamedShare) return;
  // Not a text element of SVG, which would not be clipped to its bar.
  html->Markup(
      "<foreignObject class=\"name\" {} height=\"100%\" aria-hidden=\"true\">"
      "<div>{}</div></foreignObject>",
      Position(extent), prefix.interface);
}

// Whether nothing is drawn on top of the prefix.
bool IsOnTop(const Space& space, const Block& block, std::size_t i) {
  return i + 1 == block.end || !view::Contains(space.prefixes[i].network,
                                               space.prefixes[i + 1].network);
}

}  // namespace

std::string ChangeText(const Prefix& prefix) {
  switch (prefix.novelty) {
    case Novelty::kAdded:
      return "new";
    case Novelty::kRemoved:
      return "removed";
    case Novelty::kChanged:
      return "changed, was " + prefix.before;
    case Novelty::kUnchanged:
      break;
  }
  return "";
}

std::string OwnerOf(const Prefix& prefix) {
  // Only this space has two VRFs.
  return prefix.vrf == "mgmt" ? prefix.interface + " (VRF mgmt)"
                              : prefix.interface;
}

// Those in conflict are drawn last, so that no neighbour covers the edge of a
// narrow one.
void AddStrip(const Space& space, const Block& block, Html* html) {
  html->Markup(R"(<svg class="strip" role="img" aria-label="Map of {}">)",
               view::TextOf(block.network));
  Html in_conflict;
  std::vector<const Network*> around;
  for (std::size_t i = block.begin; i < block.end; ++i) {
    const Prefix& prefix = space.prefixes[i];
    while (!around.empty() && !view::Contains(*around.back(), prefix.network)) {
      around.pop_back();
    }
    AddBar(prefix, block.network, around.size(), IsOnTop(space, block, i),
           prefix.InConflict() ? &in_conflict : html);
    around.push_back(&prefix.network);
  }
  html->Add(in_conflict).Markup("</svg>");
}

// The bar of a row has no name: the row contains it.
void AddRowBar(const Prefix& prefix, const Network& network, Html* html) {
  html->Markup(
      "<svg class=\"track\" aria-hidden=\"true\"><rect class=\"{}\" {} "
      "height=\"100%\" /></svg>",
      ClassesOf(prefix), Position(ExtentOf(prefix.network, network)));
}

}  // namespace ipav::cli::report
