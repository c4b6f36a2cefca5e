#include "cli/commands/diff.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

#include "host/base/utf8.h"
#include "host/commit/plan.h"
#include "host/confd/path.h"
#include "host/datastore/diff.h"
#include "host/datastore/model.h"

namespace ipav::cli {

namespace {

using commit::Cause;
using commit::PointCall;
using datastore::Change;
using datastore::Dependency;
using datastore::Diff;
using nlohmann::ordered_json;

bool IsLeaf(const lysc_node& schema) {
  return (schema.nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0;
}

bool IsDefault(const lyd_node& node) { return (node.flags & LYD_DEFAULT) != 0; }

// Never null: what is in neither configuration is no change.
const lyd_node* NodeOf(const Change& change) {
  return change.after != nullptr ? change.after : change.before;
}

bool IsOneSided(const Change& change) {
  return change.before == nullptr || change.after == nullptr;
}

bool IsKey(const Change& change) {
  const lysc_node* schema = change.schema;
  return lysc_is_key(schema);
}

// What nobody wrote: it comes and goes with its parent.
bool IsImplicit(const Change& change) {
  return IsLeaf(*change.schema) && IsOneSided(change) &&
         IsDefault(*NodeOf(change));
}

// How many leaves somebody wrote at or below a change.
std::size_t CountLeaves(const Change& change) {
  if (IsLeaf(*change.schema)) return IsImplicit(change) ? 0 : 1;
  std::size_t count = 0;
  for (const Change& child : change.children) count += CountLeaves(child);
  return count;
}

// The same below a list entry: its own keys stand in its path already.
std::size_t CountLeavesOf(const Change& entry) {
  const auto keys =
      std::count_if(entry.children.begin(), entry.children.end(), IsKey);
  return CountLeaves(entry) - static_cast<std::size_t>(keys);
}

// One line of the list.
struct Line {
  const Change* change;
  std::optional<std::size_t> leaves;  // of a list entry
};

class Lister {
 public:
  explicit Lister(bool full) : full_(full) {}

  std::vector<Line> List(const std::vector<Change>& changes) {
    for (const Change& change : changes) Add(change);
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
  std::vector<Line> lines_;
};

const char* WordOf(const Change& change) {
  if (change.before == nullptr) return "added";
  return change.after == nullptr ? "deleted" : "changed";
}

char SignOf(const Change& change) {
  if (change.before == nullptr) return '+';
  return change.after == nullptr ? '-' : '~';
}

// A value as it stands on its line; in quotes where it would not be seen whole,
// or would be more than text to a terminal.
std::string Printable(const std::string& value) {
  const bool is_plain = !value.empty() && value.front() != ' ' &&
                        value.back() != ' ' && value.front() != '"' &&
                        base::IsPrintable(value);
  return is_plain ? value : base::Quoted(value);
}

std::string ValueText(const lyd_node& leaf) {
  return Printable(lyd_get_value(&leaf)) +
         (IsDefault(leaf) ? " (default)" : "");
}

void PrintLine(const Line& line) {
  const Change& change = *line.change;
  fmt::print("{} {}", SignOf(change), confd::PrintPath(NodeOf(change)));
  if (line.leaves.value_or(0) != 0) {
    fmt::print(" ({} {})", *line.leaves, *line.leaves == 1 ? "leaf" : "leaves");
  } else if (IsLeaf(*change.schema)) {
    fmt::print(": ");
    if (change.before != nullptr) fmt::print("{}", ValueText(*change.before));
    if (change.before != nullptr && change.after != nullptr) {
      fmt::print(" -> ");
    }
    if (change.after != nullptr) fmt::print("{}", ValueText(*change.after));
  }
  fmt::print("\n");
}

// The nodes that a dependency names, from the root, without keys.
std::string PathOf(const PointCall& call, const Dependency& dependency) {
  if (!dependency.steps.empty()) {
    return datastore::SchemaPath(*dependency.steps.back());
  }
  const lysc_node* node = call.site->node;
  for (std::size_t i = 0; i < dependency.ups && node != nullptr; ++i) {
    node = lysc_data_parent(node);
  }
  return node == nullptr ? "/" : datastore::SchemaPath(*node);
}

// What changed, for which a call is made; nothing for one that every commit
// makes.
std::vector<std::string> CausesOf(const Diff& diff, const PointCall& call) {
  const Cause cause = commit::CauseOf(diff, call);
  std::vector<std::string> paths;
  if (cause.by_itself) paths.push_back(call.site->path);
  for (const Dependency* dependency : cause.dependencies) {
    const std::string path = PathOf(call, *dependency);
    if (std::find(paths.begin(), paths.end(), path) == paths.end()) {
      paths.push_back(path);
    }
  }
  return paths;
}

std::string Counted(std::size_t count, const char* what) {
  if (count == 0) return fmt::format("no {}s", what);
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

void PrintText(const Diff& diff, const std::vector<Line>& lines,
               const std::vector<PointCall>& calls) {
  fmt::print("{}\n", Counted(lines.size(), "change"));
  for (const Line& line : lines) PrintLine(line);
  fmt::print("\n{}\n", Counted(calls.size(), "validation call"));
  for (const PointCall& call : calls) {
    fmt::print("{}\n  data path: {}\n", call.site->opaque,
               commit::PathOf(call));
    const std::vector<std::string> causes = CausesOf(diff, call);
    if (causes.empty()) fmt::print("  runs at every commit\n");
    for (const std::string& cause : causes) {
      fmt::print("  changed: {}\n", cause);
    }
  }
}

ordered_json JsonOf(const Line& line) {
  const Change& change = *line.change;
  ordered_json json = {{"change", WordOf(change)},
                       {"path", confd::PrintPath(NodeOf(change))}};
  if (line.leaves.has_value()) json["leaves"] = *line.leaves;
  if (!IsLeaf(*change.schema)) return json;
  if (change.before != nullptr) json["old"] = lyd_get_value(change.before);
  if (change.after != nullptr) json["new"] = lyd_get_value(change.after);
  return json;
}

void PrintJson(const DiffOptions& options, const Diff& diff,
               const std::vector<Line>& lines,
               const std::vector<PointCall>& calls) {
  ordered_json json = {{"running", options.running},
                       {"candidate", options.candidate},
                       {"changes", ordered_json::array()},
                       {"calls", ordered_json::array()}};
  for (const Line& line : lines) json["changes"].push_back(JsonOf(line));
  for (const PointCall& call : calls) {
    json["calls"].push_back({{"point", call.site->opaque},
                             {"path", commit::PathOf(call)},
                             {"changed", CausesOf(diff, call)}});
  }
  // The name of a file may be no UTF-8.
  fmt::print("{}\n",
             json.dump(2, ' ', false, ordered_json::error_handler_t::replace));
}

}  // namespace

ExitStatus PrintDiff(const Locations& locations, const DiffOptions& options) {
  const datastore::Model model(locations.yang_dir, locations.yang_extension);
  const auto running = ReadTree(model, options.running, options.limits);
  const auto candidate = ReadTree(model, options.candidate, options.limits);

  const Diff diff(running, candidate);
  const std::vector<Line> lines = Lister(options.full).List(diff.top());
  const std::vector<PointCall> calls = commit::PlanCalls(candidate, diff);
  if (options.format == "json") {
    PrintJson(options, diff, lines, calls);
  } else {
    PrintText(diff, lines, calls);
  }
  return kAccepted;
}

}  // namespace ipav::cli
