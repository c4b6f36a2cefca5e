#include "check.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstddef>
#include <vector>

#include "commit/commit.h"
#include "datastore/data_tree.h"
#include "datastore/model.h"

namespace ipav::cli {

namespace {

using commit::Answer;
using commit::Outcome;
using commit::Verdict;
using datastore::DataTree;
using datastore::Model;

ExitStatus StatusOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::kAccepted:
      return kAccepted;
    case Verdict::kRefused:
      return kRefused;
    case Verdict::kPluginFailed:
      break;
  }
  return kPluginFailed;
}

const char* WordOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::kAccepted:
      return "accepted";
    case Verdict::kRefused:
      return "refused";
    case Verdict::kPluginFailed:
      break;
  }
  return "not judged, the plug-in failed";
}

void PrintPlace(const std::string& point, const std::string& path) {
  fmt::print("  validation point: {}\n  data path: {}\n", point, path);
}

// The operator's text stands alone on its line, as the plug-in set it.
void PrintAnswer(const Answer& answer) {
  if (answer.exception.has_value()) {
    fmt::print("the plug-in threw an exception: {}\n", *answer.exception);
  } else if (answer.result == 0) {
    fmt::print("(accepted)\n");
  } else {
    fmt::print("{}\n", answer.text.value_or("(refused without a text)"));
  }
  PrintPlace(answer.opaque, answer.path);
}

void PrintFailure(const Outcome& outcome) {
  fmt::print("the plug-in failed: {}\n", outcome.failure);
  if (!outcome.failed_path.empty()) {
    PrintPlace(outcome.failed_point, outcome.failed_path);
  }
}

// Each line of a text behind a label.
void PrintLines(const char* label, const std::string& text) {
  std::size_t begin = 0;
  while (begin < text.size()) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    fmt::print("  {}: {}\n", label, text.substr(begin, end - begin));
    begin = end + 1;
  }
}

void PrintDetails(const Outcome& outcome) {
  for (const std::string& line : outcome.debug_lines) {
    PrintLines("debug", line);
  }
  std::uint64_t total = 0;
  for (const auto& [name, count] : outcome.calls) {
    fmt::print("  platform call: {} {}\n", name, count);
    total += count;
  }
  fmt::print("  platform calls: {}\n", total);
}

void PrintReport(const std::string& file, const Outcome& outcome,
                 const CheckOptions& options) {
  fmt::print("{}: {} ({} of {} validation calls made)\n", file,
             WordOf(outcome.verdict), outcome.answers.size(), outcome.planned);
  for (const Answer& answer : outcome.answers) {
    const bool accepted = answer.result == 0 && !answer.exception.has_value();
    if (!accepted || options.all) PrintAnswer(answer);
  }
  if (!outcome.failure.empty()) PrintFailure(outcome);
  PrintLines("the plug-in wrote", outcome.output);
  for (const std::string& fault : outcome.faults) PrintLines("warning", fault);
  if (options.verbose) PrintDetails(outcome);
}

}  // namespace

ExitStatus Check(const Locations& locations, const CheckOptions& options) {
  const Model model(locations.yang_dir, locations.yang_extension);
  const DataTree running = options.running.empty()
                               ? DataTree::Empty(model)
                               : DataTree::FromFile(model, options.running);
  // All of them first: bad input is told of before any verdict.
  std::vector<DataTree> candidates;
  for (const std::string& file : options.candidates) {
    candidates.push_back(DataTree::FromFile(model, file));
  }

  ExitStatus worst = kAccepted;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    const Outcome outcome = commit::RunCommit(running, candidates[i],
                                              {locations.plugin, options.all});
    PrintReport(options.candidates[i], outcome, options);
    worst = std::max(worst, StatusOf(outcome.verdict));
  }
  return worst;
}

}  // namespace ipav::cli
