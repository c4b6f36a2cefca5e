#include "judge.h"

#include <chrono>
#include <cstdio>
#include <utility>
#include <vector>

#include "commit/commit.h"
#include "datastore/input_error.h"
#include "reading_time.h"

namespace ipav::cli {

namespace {

using commit::Answer;
using commit::Outcome;
using commit::Verdict;
using datastore::DataTree;
using datastore::InputError;
using datastore::Model;
using findings::Finding;
using report::DeviceReport;

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

// One for each refusal.
std::vector<Finding> FindingsOf(const Outcome& outcome) {
  std::vector<Finding> findings;
  for (const Answer& answer : outcome.answers) {
    if (Accepts(answer) || answer.exception) continue;
    Finding finding;
    finding.text = answer.text.value_or("");
    finding.point = answer.opaque;
    finding.path = answer.path;
    findings.push_back(std::move(finding));
  }
  return findings;
}

DataTree Read(const Model& model, const std::string& file,
              const CheckOptions& options, const ReadingTime::Over& over) {
  const ReadingTime time(file, options.time_limit, over);
  return DataTree::FromFile(model, file, options.max_input_size);
}

DeviceReport ReportOn(const Device& device) {
  DeviceReport report;
  report.number = device.number;
  report.candidate = device.candidate;
  report.running = device.running;
  return report;
}

}  // namespace

DeviceReport BadInput(const Device& device, const std::string& error) {
  DeviceReport report = ReportOn(device);
  report.status = kBadInput;
  report.input_error = error;
  return report;
}

DeviceReport Failed(const Device& device, const std::string& reason) {
  DeviceReport report = ReportOn(device);
  report.status = kPluginFailed;
  report.outcome.verdict = Verdict::kPluginFailed;
  report.outcome.failure = reason;
  return report;
}

DataTree ReadInTime(const Model& model, const std::string& file,
                    const CheckOptions& options) {
  return Read(model, file, options, [](const std::string& line) {
    static_cast<void>(std::fprintf(stderr, "ipav: %s\n", line.c_str()));
  });
}

DeviceReport Judge::Commit(const Device& device,
                           const TimeOver& time_over) const {
  const auto over = [&](const std::string& line) {
    time_over(BadInput(device, line));
  };
  const auto commit = [&](const DataTree& running) {
    const DataTree candidate = Read(model_, device.candidate, options_, over);
    return commit::RunCommit(
        running, candidate,
        {locations_.plugin, options_.all, options_.time_limit});
  };
  DeviceReport report = ReportOn(device);
  report.outcome = device.running == running_.file
                       ? commit(running_.tree)
                       : commit(Read(model_, device.running, options_, over));
  report.status = StatusOf(report.outcome.verdict);
  report.findings = FindingsOf(report.outcome);
  return report;
}

DeviceReport Judge::operator()(const Device& device,
                               const TimeOver& time_over) const {
  const auto start = std::chrono::steady_clock::now();
  if (!device.problem.empty()) return BadInput(device, device.problem);
  try {
    DeviceReport report = Commit(device, time_over);
    const std::chrono::duration<double> time =
        std::chrono::steady_clock::now() - start;
    if (options_.timing) report.seconds = time.count();
    return report;
  } catch (const InputError& error) {
    return BadInput(device, error.what());
  }
}

}  // namespace ipav::cli
