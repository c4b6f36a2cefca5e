// ipav diff: shows what a candidate changes, and which validation points run.

#include "host/datastore/diff.h"

#include <fmt/core.h>

#include <CLI/App.hpp>
#include <algorithm>
#include <cstddef>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "cli/changed_lines.h"
#include "cli/command.h"
#include "cli/options.h"
#include "cli/shared_model.h"
#include "host/base/utf8.h"
#include "host/commit/plan.h"
#include "host/confd/path.h"
#include "host/datastore/model.h"

namespace ipav::cli {

namespace {

using commit::Cause;
using commit::PointCall;
using datastore::Dependency;
using datastore::Diff;
using nlohmann::ordered_json;

constexpr char kDiffNotes[] =
    R"(A line begins with + for an added node, - for a deleted one, ~ for a
changed value. An added or deleted list entry is one line with the
number of its leaves; --full lists the leaves, too. The validation calls
of the commit follow in their order, each with the changed nodes that
cause it.

Examples:
  ipav diff running.xml candidate.xml
  ipav diff --format json running.json candidate.json

Exit status: 0 both files were read; 2 one could not be read.)";

struct DiffOptions {
  Locations locations;
  std::string running;
  std::string candidate;
  bool full = false;  // list the leaves of added and deleted list entries, too
  std::string format = "text";  // or json
  ReadingLimits limits;
};

// The changed nodes that fire a call; none for a call that every commit makes.
std::vector<std::string> CausesOf(const Diff& diff, const PointCall& call) {
  const Cause cause = commit::CauseOf(diff, call);
  std::vector<std::string> paths;
  if (cause.by_itself) paths.push_back(call.site->path);
  for (const Dependency* dependency : cause.dependencies) {
    const std::string path = datastore::SchemaPath(*call.site, *dependency);
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

void PrintText(const Diff& diff, const std::vector<ChangedLine>& lines,
               const std::vector<PointCall>& calls) {
  fmt::print("{}\n", Counted(lines.size(), "change"));
  for (const ChangedLine& line : lines) fmt::print("{}\n", InWords(line));
  fmt::print("\n{}\n", Counted(calls.size(), "validation call"));
  for (const PointCall& call : calls) {
    fmt::print("{}\n  data path: {}\n", base::Printable(call.site->opaque),
               base::Printable(commit::PathOf(call)));
    const std::vector<std::string> causes = CausesOf(diff, call);
    if (causes.empty()) fmt::print("  runs at every commit\n");
    for (const std::string& cause : causes) {
      fmt::print("  changed: {}\n", cause);
    }
  }
}

void PrintJson(const DiffOptions& options, const Diff& diff,
               const std::vector<ChangedLine>& lines,
               const std::vector<PointCall>& calls) {
  ordered_json json = {{"running", options.running},
                       {"candidate", options.candidate},
                       {"changes", ordered_json::array()},
                       {"calls", ordered_json::array()}};
  for (const ChangedLine& line : lines) json["changes"].push_back(JsonOf(line));
  for (const PointCall& call : calls) {
    json["calls"].push_back({{"point", call.site->opaque},
                             {"path", commit::PathOf(call)},
                             {"changed", CausesOf(diff, call)}});
  }
  // The name of a file need not be UTF-8.
  fmt::print("{}\n",
             json.dump(2, ' ', false, ordered_json::error_handler_t::replace));
}

ExitStatus PrintDiff(const DiffOptions& options) {
  const datastore::Model& model = SharedModel(options.locations);
  const auto running = ReadTree(model, options.running, options.limits);
  const auto candidate = ReadTree(model, options.candidate, options.limits);

  const Diff diff(running, candidate);
  const std::vector<ChangedLine> lines = ListLines(diff.top(), options.full);
  const std::vector<PointCall> calls = commit::PlanCalls(candidate, diff);
  if (options.format == "json") {
    PrintJson(options, diff, lines, calls);
  } else {
    PrintText(diff, lines, calls);
  }
  return kAccepted;
}

}  // namespace

Command AddDiff(CLI::App* app, const Locations& locations) {
  const auto options = std::make_shared<DiffOptions>();
  options->locations = locations;
  CLI::App* command = app->add_subcommand(
      "diff", "Show what a candidate changes and which points run");
  command->footer(kDiffNotes);
  AddInput(command, "running", "Running configuration, XML or JSON",
           &options->running)
      ->required();
  AddInput(command, "candidate", "Configuration to compare, XML or JSON",
           &options->candidate)
      ->required();
  command->add_flag("--full", options->full,
                    "Also list the leaves of added and deleted list entries");
  AddChoice(command, "--format", {"text", "json"}, "text or json",
            &options->format);
  AddLimits(command, "read a configuration", &options->limits);
  AddYang(command, &options->locations);
  return {command, [options] { return PrintDiff(*options); }};
}

}  // namespace ipav::cli
