#include "cli/changed_lines.h"

#include <fmt/core.h>

#include <algorithm>

#include "host/base/utf8.h"
#include "host/confd/path.h"

namespace ipav::cli {

namespace {

using datastore::Change;
using datastore::IsLeaf;
using nlohmann::ordered_json;

bool IsDefault(const lyd_node& node) { return (node.flags & LYD_DEFAULT) != 0; }

bool IsOneSided(const Change& change) {
  return change.before == nullptr || change.after == nullptr;
}

bool IsKey(const Change& change) {
  const lysc_node* schema = change.schema;
  return lysc_is_key(schema);
}

// A default value, which is created and deleted with its parent.
bool IsImplicit(const Change& change) {
  return IsLeaf(*change.schema) && IsOneSided(change) &&
         IsDefault(*change.Node());
}

// Number of leaves at or below a change that are written in a file.
std::size_t CountLeaves(const Change& change) {
  if (IsLeaf(*change.schema)) return IsImplicit(change) ? 0 : 1;
  std::size_t count = 0;
  for (const Change& child : change.children) count += CountLeaves(child);
  return count;
}

// The same below a list entry, without its keys, which its path shows.
std::size_t CountLeavesOf(const Change& entry) {
  const auto keys =
      std::count_if(entry.children.begin(), entry.children.end(), IsKey);
  return CountLeaves(entry) - static_cast<std::size_t>(keys);
}

class Lister {
 public:
  explicit Lister(bool full) : full_(full) {}

  std::vector<ChangedLine> List(const std::vector<Change>& changes) {
    for (const Change& change : changes) Add(change);
    return std::move(lines_);
  }

  std::vector<ChangedLine> ListOne(const Change& change) {
    Add(change);
    return std::move(lines_);
  }

 private:
  void Add(const Change& change) {
    if (IsKey(change) || IsImplicit(change)) return;
    if (change.schema->nodetype == LYS_LIST && IsOneSided(change)) {
      lines_.push_back({&change, CountLeavesOf(change)});
      if (!full_) return;
    } else if (change.children.empty()) {
      lines_.push_back({&change, std::nullopt});
    }
    for (const Change& child : change.children) Add(child);
  }

  const bool full_;
  std::vector<ChangedLine> lines_;
};

const char* WordOf(const Change& change) {
  if (change.before == nullptr) return "added";
  return change.after == nullptr ? "deleted" : "changed";
}

char SignOf(const Change& change) {
  if (change.before == nullptr) return '+';
  return change.after == nullptr ? '-' : '~';
}

std::string ValueText(const lyd_node& leaf) {
  return base::QuotedIfNeeded(lyd_get_value(&leaf)) +
         (IsDefault(leaf) ? " (default)" : "");
}

}  // namespace

std::vector<ChangedLine> ListLines(const std::vector<Change>& changes,
                                   bool full) {
  return Lister(full).List(changes);
}

std::vector<ChangedLine> ListLine(const Change& change) {
  return Lister(false).ListOne(change);
}

std::string InWords(const ChangedLine& line) {
  const Change& change = *line.change;
  std::string text =
      fmt::format("{} {}", SignOf(change),
                  base::Printable(confd::PrintPath(change.Node())));
  if (line.leaves.value_or(0) != 0) {
    return text + fmt::format(" ({} {})", *line.leaves,
                              *line.leaves == 1 ? "leaf" : "leaves");
  }
  if (!IsLeaf(*change.schema)) return text;
  text += ": ";
  if (change.before != nullptr) text += ValueText(*change.before);
  if (change.before != nullptr && change.after != nullptr) text += " -> ";
  if (change.after != nullptr) text += ValueText(*change.after);
  return text;
}

ordered_json JsonOf(const ChangedLine& line) {
  const Change& change = *line.change;
  ordered_json json = {{"change", WordOf(change)},
                       {"path", confd::PrintPath(change.Node())}};
  if (line.leaves.has_value()) json["leaves"] = *line.leaves;
  if (!IsLeaf(*change.schema)) return json;
  if (change.before != nullptr) json["old"] = lyd_get_value(change.before);
  if (change.after != nullptr) json["new"] = lyd_get_value(change.after);
  return json;
}

}  // namespace ipav::cli
