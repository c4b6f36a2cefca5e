#include "cli/report/html/plan_html.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <set>
#include <utility>
#include <vector>

#include "cli/report/html/plan_bars.h"
#include "cli/report/html/plan_layout.h"
#include "messages/finding.h"

namespace ipav::cli::report {

namespace {

using datastore::Novelty;
using view::AddressPlan;
using view::Family;
using view::Network;
using view::Prefix;
using view::Space;

// A space with at most kOpenPrefixes is shown open. A larger one shows its
// conflicts and at most kChangedBlocks blocks with changes.
constexpr std::size_t kOpenPrefixes = 16;
constexpr std::size_t kChangedBlocks = 12;

// Further conflicts are in a closed list.
constexpr std::size_t kShownConflicts = 40;

// So are further prefixes of one conflict, and further overlaps of one prefix.
constexpr std::size_t kShownRows = 12;
constexpr std::size_t kShownOverlaps = 4;

// Further spaces without conflicts and changes are in a closed list.
constexpr std::size_t kQuietSpaces = 8;

struct Totals {
  std::size_t of_family[2] = {0, 0};
  std::size_t conflicts = 0;
  std::size_t changes = 0;
};

Totals TotalsOf(const Space& space, std::size_t begin, std::size_t end) {
  Totals totals;
  for (std::size_t i = begin; i < end; ++i) {
    const Prefix& prefix = space.prefixes[i];
    ++totals.of_family[prefix.network.family == Family::kIpv4 ? 0 : 1];
    if (prefix.InConflict()) ++totals.conflicts;
    if (prefix.novelty != Novelty::kUnchanged) ++totals.changes;
  }
  return totals;
}

// --- Conflicts

// Prefixes in conflict that contain each other.
struct Conflict {
  Network network;
  std::vector<std::size_t> rows;
};

std::vector<Conflict> ConflictsOf(const Space& space) {
  std::vector<Conflict> conflicts;
  for (const Block& nest : NestsOf(space)) {
    Conflict conflict{nest.network, {}};
    for (std::size_t i = nest.begin; i < nest.end; ++i) {
      if (space.prefixes[i].InConflict()) conflict.rows.push_back(i);
    }
    if (!conflict.rows.empty()) conflicts.push_back(std::move(conflict));
  }
  return conflicts;
}

// Splits rows into shown and hidden ones, both in their order: those that a
// finding names or the change added come first.
std::pair<std::vector<std::size_t>, std::vector<std::size_t>> SplitRows(
    const Space& space, const std::vector<std::size_t>& rows) {
  std::vector<std::size_t> shown = rows;
  std::stable_partition(shown.begin(), shown.end(), [&](std::size_t row) {
    const Prefix& prefix = space.prefixes[row];
    return !prefix.findings.empty() || prefix.novelty != Novelty::kUnchanged;
  });
  if (shown.size() > kShownRows) shown.resize(kShownRows);
  std::sort(shown.begin(), shown.end());
  std::vector<std::size_t> left;
  std::set_difference(rows.begin(), rows.end(), shown.begin(), shown.end(),
                      std::back_inserter(left));
  return {shown, left};
}

// --- The page

// Draws the spaces of one device.
class PlanWriter {
 public:
  PlanWriter(std::string id, Html* html) : id_(std::move(id)), html_(*html) {}

  void Add(const AddressPlan& plan) {
    std::vector<const Space*> in_conflict;
    std::vector<const Space*> changed;
    std::vector<const Space*> quiet;
    std::vector<const Space*> more;
    for (const Space& space : plan.spaces) {
      const Totals totals = TotalsOf(space, 0, space.prefixes.size());
      if (totals.conflicts > 0) {
        in_conflict.push_back(&space);
      } else if (totals.changes > 0) {
        changed.push_back(&space);
      } else {
        (quiet.size() < kQuietSpaces ? quiet : more).push_back(&space);
      }
    }
    AddSpaces(in_conflict);
    AddSpaces(changed);
    AddSpaces(quiet);
    if (more.empty()) return;
    html_.Markup(
        "<details class=\"more\"><summary>{} without conflict or change"
        "</summary>\n",
        Count(more.size(), "more address space", "more address spaces"));
    AddSpaces(more);
    html_.Markup("</details>\n");
  }

 private:
  // The link of a finding leads to the first row that it names.
  void AddAnchors(const Prefix& prefix) {
    for (const std::size_t finding : prefix.findings) {
      if (!anchored_.insert(finding).second) continue;
      html_.Markup("<span id=\"{}-f{}-plan\"></span>", id_, finding + 1);
    }
  }

  void AddConflictText(const Space& space, const Prefix& prefix) {
    const std::size_t shown = std::min(prefix.overlaps.size(), kShownOverlaps);
    for (std::size_t i = 0; i < shown; ++i) {
      const Prefix& with = space.prefixes[prefix.overlaps[i]];
      html_.Markup("<span class=\"why\">overlaps with {} {}</span>",
                   OwnerOf(with), with.text);
    }
    if (shown < prefix.overlaps.size()) {
      html_.Markup("<span class=\"why\">and with {}</span>",
                   Count(prefix.overlaps.size() - shown, "other", "others"));
    }
    for (const std::size_t finding : prefix.findings) {
      html_.Markup(
          R"(<a class="why" href="#{0}-f{1}">named by finding {1}</a>)", id_,
          finding + 1);
    }
  }

  void AddBadges(const Prefix& prefix) {
    if (prefix.InConflict()) {
      html_.Markup(" <span class=\"badge conflict\">conflict</span>");
    }
    if (prefix.novelty == Novelty::kUnchanged) return;
    html_.Markup(" <span class=\"badge {}\">{}</span>",
                 prefix.novelty == Novelty::kRemoved ? "removed" : "new",
                 ChangeText(prefix));
  }

  void AddRow(const Space& space, const Prefix& prefix, const Network& network,
              bool with_anchors) {
    html_.Markup("<tr><th scope=\"row\">");
    if (with_anchors) AddAnchors(prefix);
    html_.Markup("{}</th><td>{}", prefix.text, OwnerOf(prefix));
    AddBadges(prefix);
    if (with_anchors) AddConflictText(space, prefix);
    html_.Markup("</td><td class=\"place\">");
    AddRowBar(prefix, network, &html_);
    html_.Markup("</td></tr>\n");
  }

  void AddTable(const Space& space, const std::vector<std::size_t>& rows,
                const Network& network, bool with_anchors) {
    html_.Markup(
        "<table class=\"plan\"><caption class=\"unseen\">Prefixes in {} of {}"
        "</caption><colgroup><col class=\"prefix\" /><col />"
        "<col class=\"place\" /></colgroup><thead><tr>"
        "<th scope=\"col\"><span class=\"unseen\">Prefix</span></th>"
        "<th scope=\"col\"><span class=\"unseen\">Interface and state</span>"
        "</th><th scope=\"col\"><span class=\"unseen\">Position in the block"
        "</span></th></tr></thead>\n<tbody>\n",
        view::TextOf(network), space.name);
    for (const std::size_t row : rows) {
      AddRow(space, space.prefixes[row], network, with_anchors);
    }
    html_.Markup("</tbody></table>\n");
  }

  // --- Blocks

  void AddFacts(const Totals& totals) {
    if (totals.conflicts > 0) {
      html_.Markup(" <span class=\"badge conflict\">{} in conflict</span>",
                   totals.conflicts);
    }
    if (totals.changes > 0) {
      html_.Markup(" <span class=\"badge new\">{} changed</span>",
                   totals.changes);
    }
  }

  void AddConflict(const Space& space, const Conflict& conflict) {
    html_.Markup("<div class=\"clash\"><h5>Conflict in {}</h5>\n",
                 view::TextOf(conflict.network));
    const auto [shown, left] = SplitRows(space, conflict.rows);
    AddTable(space, shown, conflict.network, true);
    if (!left.empty()) {
      html_.Markup(
          "<details class=\"more\"><summary>{} of this conflict</summary>\n",
          Count(left.size(), "more prefix", "more prefixes"));
      AddTable(space, left, conflict.network, true);
      html_.Markup("</details>\n");
    }
    html_.Markup("</div>\n");
  }

  // The prefixes in conflict, apart from the others.
  void AddConflicts(const Space& space) {
    const std::vector<Conflict> conflicts = ConflictsOf(space);
    const std::size_t shown = std::min(conflicts.size(), kShownConflicts);
    for (std::size_t i = 0; i < shown; ++i) AddConflict(space, conflicts[i]);
    if (shown == conflicts.size()) return;
    html_.Markup(
        "<details class=\"more\"><summary>{}</summary>\n",
        Count(conflicts.size() - shown, "more conflict", "more conflicts"));
    for (std::size_t i = shown; i < conflicts.size(); ++i) {
      AddConflict(space, conflicts[i]);
    }
    html_.Markup("</details>\n");
  }

  // Changes without conflict. A small space is open anyway.
  void AddChanges(const Space& space, const std::vector<Block>& blocks) {
    std::size_t shown = 0;
    std::size_t left = 0;
    for (const Block& block : blocks) {
      std::vector<std::size_t> rows;
      for (std::size_t i = block.begin; i < block.end; ++i) {
        const Prefix& prefix = space.prefixes[i];
        const bool changed = prefix.novelty != Novelty::kUnchanged;
        if (changed && !prefix.InConflict()) rows.push_back(i);
      }
      if (rows.empty()) continue;
      if (++shown > kChangedBlocks) {
        left += rows.size();
        continue;
      }
      html_.Markup("<div class=\"changed\"><h5>Changed in {}</h5>\n",
                   view::TextOf(block.network));
      AddTable(space, rows, block.network, false);
      html_.Markup("</div>\n");
    }
    if (left == 0) return;
    html_.Markup("<p class=\"note\">{} more in the blocks below.</p>\n",
                 Count(left, "change", "changes"));
  }

  // A block of one prefix needs neither scale nor table.
  void AddSingle(const Prefix& prefix) {
    html_.Markup(R"(<div class="block"><span class="network">{}</span> {})",
                 prefix.text, OwnerOf(prefix));
    AddBadges(prefix);
    AddRowBar(prefix, prefix.network, &html_);
    html_.Markup("</div>\n");
  }

  void AddBlock(const Space& space, const Block& block, bool is_open) {
    const std::size_t size = block.end - block.begin;
    if (size == 1) return AddSingle(space.prefixes[block.begin]);
    html_.Markup(
        "<details class=\"block{}{}\"{}><summary><span class=\"network\">{}"
        "</span> <span class=\"count\">{}</span>",
        size > 2 ? " some" : "", size > 8 ? " many" : "",
        is_open ? Html().Markup(" open=\"open\"") : Html(),
        view::TextOf(block.network), Count(size, "prefix", "prefixes"));
    AddFacts(TotalsOf(space, block.begin, block.end));
    AddStrip(space, block, &html_);
    html_.Markup("</summary>\n");
    std::vector<std::size_t> rows(size);
    for (std::size_t i = 0; i < size; ++i) rows[i] = block.begin + i;
    AddTable(space, rows, block.network, false);
    html_.Markup("</details>\n");
  }

  void AddBand(const Space& space, const Block* begin, const Block* end) {
    const bool is_open = space.prefixes.size() <= kOpenPrefixes;
    html_.Markup("<div class=\"band\">\n");
    for (; begin != end; ++begin) AddBlock(space, *begin, is_open);
    html_.Markup("</div>\n");
  }

  // One for each family; a small space has room for both in one.
  void AddBands(const Space& space, const std::vector<Block>& blocks) {
    const Block* begin = blocks.data();
    const Block* end = begin + blocks.size();
    const Block* ipv6 = std::find_if(begin, end, [](const Block& block) {
      return block.network.family == Family::kIpv6;
    });
    if (ipv6 == begin || ipv6 == end ||
        space.prefixes.size() <= kOpenPrefixes) {
      return AddBand(space, begin, end);
    }
    html_.Markup("<h5>IPv4</h5>\n");
    AddBand(space, begin, ipv6);
    html_.Markup("<h5>IPv6</h5>\n");
    AddBand(space, ipv6, end);
  }

  // --- Spaces

  void AddSpace(const Space& space) {
    const Totals totals = TotalsOf(space, 0, space.prefixes.size());
    ++spaces_;
    html_.Markup(
        "<section class=\"space\" aria-labelledby=\"{0}-s{1}\">\n"
        "<h4 id=\"{0}-s{1}\">{2}</h4>\n<p class=\"facts\">{3} IPv4 and {4}",
        id_, spaces_, space.name, totals.of_family[0],
        Count(totals.of_family[1], "IPv6 prefix", "IPv6 prefixes"));
    AddFacts(totals);
    html_.Markup("</p>\n");
    AddConflicts(space);
    const std::vector<Block> blocks = BlocksOf(space);
    if (space.prefixes.size() > kOpenPrefixes) AddChanges(space, blocks);
    AddBands(space, blocks);
    html_.Markup("</section>\n");
  }

  void AddSpaces(const std::vector<const Space*>& spaces) {
    for (const Space* space : spaces) AddSpace(*space);
  }

  const std::string id_;
  Html& html_;
  std::size_t spaces_ = 0;          // so far
  std::set<std::size_t> anchored_;  // findings with a row
};

void AddLegend(Html* html) {
  html->Markup(
      "<p class=\"legend\">Each block is drawn to a scale of its own, from its "
      "first address to its last. "
      "<span class=\"key kept\">configured</span> "
      "<span class=\"key new\">new or changed</span> "
      "<span class=\"key removed\">removed</span> "
      "<span class=\"key conflict\">in conflict</span></p>\n");
}

}  // namespace

void AddPlan(const AddressPlan& plan, const std::string& id, Html* html) {
  if (plan.spaces.empty()) {
    html->Markup("<p>No interface has an address.</p>\n");
    return;
  }
  AddLegend(html);
  PlanWriter(id, html).Add(plan);
}

}  // namespace ipav::cli::report
