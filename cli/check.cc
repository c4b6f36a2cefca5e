#include "check.h"

#include <confd_lib.h>
#include <fmt/core.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "commit/commit.h"
#include "datastore/data_tree.h"
#include "datastore/diff.h"
#include "datastore/model.h"
#include "findings/finding.h"
#include "reading_time.h"
#include "report/html.h"

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

// The operator's text stands alone on its line, byte for byte as the plug-in
// set it, also where it is no UTF-8 or has more than one line.
void PrintAnswer(const Answer& answer) {
  if (answer.exception.has_value()) {
    fmt::print("the plug-in threw an exception: {}\n", *answer.exception);
  } else if (answer.result == CONFD_OK) {
    fmt::print("(accepted)\n");
  } else if (Accepts(answer)) {
    fmt::print("(accepted with a warning)\n{}\n",
               answer.text.value_or("(without a text)"));
  } else {
    fmt::print("{}\n", answer.text.value_or("(refused without a text)"));
  }
  PrintPlace(answer.opaque, answer.path);
  if (!Accepts(answer) && !answer.exception && answer.result != CONFD_ERR) {
    fmt::print("  result: {}, taken for a refusal\n", answer.result);
  }
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
    const bool silent = answer.result == CONFD_OK && !answer.exception;
    if (!silent || options.all) PrintAnswer(answer);
  }
  if (!outcome.failure.empty()) PrintFailure(outcome);
  PrintLines("the plug-in wrote", outcome.output);
  for (const std::string& fault : outcome.faults) PrintLines("warning", fault);
  for (const std::string& what : outcome.left_open) {
    fmt::print("  warning: the plug-in left {} open\n", what);
  }
  if (options.verbose) PrintDetails(outcome);
}

std::vector<findings::Finding> FindingsOf(const Outcome& outcome) {
  std::vector<findings::Finding> findings;
  for (const Answer& answer : outcome.answers) {
    if (Accepts(answer) || answer.exception.has_value()) continue;
    findings::Finding finding;
    finding.text = answer.text.value_or("(refused without a text)");
    finding.point = answer.opaque;
    finding.path = answer.path;
    findings.push_back(std::move(finding));
  }
  return findings;
}

void AddToPage(const DataTree& running, const DataTree& candidate,
               const report::DeviceReport& device, report::HtmlWriter* page) {
  const datastore::Diff diff(running, candidate);
  page->Add(device, {view::ListChanges(diff),
                     view::PlanOf(running, candidate, device.findings)});
}

DataTree Read(const Model& model, const std::string& file,
              const CheckOptions& options) {
  const ReadingTime time(file, options.time_limit);
  return DataTree::FromFile(model, file, options.max_input_size);
}

}  // namespace

ExitStatus Check(const Locations& locations, const CheckOptions& options) {
  std::unique_ptr<report::HtmlWriter> page;
  if (!options.page.empty()) {
    page = std::make_unique<report::HtmlWriter>(options.page);
  }
  const Model model(locations.yang_dir, locations.yang_extension);
  const DataTree running = options.running.empty()
                               ? DataTree::Empty(model)
                               : Read(model, options.running, options);
  // All of them first: bad input is told of before any verdict.
  std::vector<DataTree> candidates;
  for (const std::string& file : options.candidates) {
    candidates.push_back(Read(model, file, options));
  }

  ExitStatus worst = kAccepted;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    const Outcome outcome =
        commit::RunCommit(running, candidates[i],
                          {locations.plugin, options.all, options.time_limit});
    PrintReport(options.candidates[i], outcome, options);
    const ExitStatus status = StatusOf(outcome.verdict);
    worst = std::max(worst, status);
    if (page == nullptr) continue;
    report::DeviceReport device;
    device.running = options.running;
    device.candidate = options.candidates[i];
    device.status = status;
    device.findings = FindingsOf(outcome);
    device.outcome = outcome;
    AddToPage(running, candidates[i], device, page.get());
  }
  if (page != nullptr) page->End();
  return worst;
}

}  // namespace ipav::cli
