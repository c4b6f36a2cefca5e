#include "tests/cli/report/sample_reports.h"

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace ipav::testing {

namespace {

using cli::report::DeviceReport;
using commit::Answer;
using commit::Verdict;
using datastore::Novelty;
using messages::Finding;
using messages::Place;
using namespace std::chrono_literals;

constexpr char kL3[] = "/config/interface/l3";
constexpr char kPoint[] = "ipv4_addr_validation";

Answer Yes(const std::string& point) {
  return {point, kL3, 0, std::nullopt, std::nullopt};
}

Answer No(const std::string& text) {
  return {kPoint, kL3, -1, text, std::nullopt};
}

cli::report::Times Timed(commit::CommitTimes* commit) {
  *commit = {120ms, 1ms, 7us, 90ms, {{kPoint, 2, 33, 80ms}, {"x", 1, 0, 1ns}}};
  const datastore::ReadingTimes running = {1ns, 0ns, 123456789ns};
  return {{3ms, 4ms, 5ms}, running, 60us};
}

}  // namespace

DeviceReport Accepted(const std::string& candidate) {
  DeviceReport report;
  report.candidate = candidate;
  report.outcome.answers = {Yes("intf_l3_name_validation"), Yes(kPoint)};
  report.outcome.planned = 2;
  report.outcome.calls = {{"maapi_exists", 7}, {"maapi_get_elem", 40}};
  return report;
}

DeviceReport BadInput(const std::string& candidate) {
  DeviceReport report;
  report.candidate = candidate;
  report.running = "running.xml";
  report.status = cli::kBadInput;
  report.input_errors = {candidate + ":3:7: Node \"frob\" not found",
                         candidate + ": another reason"};
  return report;
}

DeviceReport Refused(const std::string& candidate) {
  DeviceReport report;
  report.number = 7;
  report.candidate = candidate;
  report.running = "running.xml";
  report.seconds = 0.25;
  report.times = Timed(&report.outcome.times);
  report.status = cli::kRefused;
  report.outcome.verdict = Verdict::kRefused;
  const std::string text =
      "l3 a vrf global ipv4 address 10.0.0.1/24 overlaps with l3 b vrf global "
      "ipv4 address 10.0.0.2/24.";
  report.outcome.answers = {Yes("intf_l3_name_validation"), No(text)};
  report.outcome.planned = 5;
  Finding finding;
  finding.text = text;
  finding.point = kPoint;
  finding.path = kL3;
  finding.rule = "interface-overlap";
  finding.title = "Overlap";
  finding.advice = "Change one of them.";
  finding.anchor = "overlap";
  finding.culprits = {
      {"address", "/config/interface/l3{a}/ipv4/address/ip", "10.0.0.1/24",
       Novelty::kAdded,
       Place{candidate, 4, 13, 11, "  \xc3\xa4 <ip>    10.0.0.1/24</ip>"}},
      {"overlaps with", "/config/interface/l3{b}/ipv4/address/ip",
       "10.0.0.2/24", Novelty::kUnchanged,
       Place{candidate, 9, 5, 11, "<ip>10.0.0.2/24</ip>"}}};
  report.findings = {finding};
  return report;
}

DeviceReport PluginFailed(const std::string& candidate) {
  DeviceReport report;
  report.candidate = candidate;
  report.status = cli::kPluginFailed;
  report.outcome.verdict = Verdict::kPluginFailed;
  report.outcome.answers = {{"warns", kL3, -3, "think again", std::nullopt},
                            {"throws", kL3, 0, std::nullopt, "Invalid input"}};
  report.outcome.planned = 4;
  report.outcome.failure = "killed by signal: Aborted";
  report.outcome.failed_point = kPoint;
  report.outcome.failed_path = kL3;
  report.outcome.output = "validate.cc:7: Assertion `x' failed.\n";
  report.outcome.faults = {"out of sockets", "again"};
  report.outcome.left_open = {"2 cursors"};
  report.outcome.debug_lines = {"There is no path"};
  return report;
}

DeviceReport Odd() {
  DeviceReport report = Refused(kOddBytes + ".xml");
  report.running = kOddBytes;
  report.outcome.answers = {{kOddBytes, kOddBytes, -1, kOddBytes, std::nullopt},
                            {kPoint, kL3, 1, std::nullopt, kOddBytes}};
  report.outcome.output = kOddBytes;
  report.outcome.faults = {kOddBytes};
  report.outcome.debug_lines = {"", kOddBytes};
  Finding& finding = report.findings.front();
  finding.text = kOddBytes;
  finding.path = kOddBytes;
  finding.culprits.front().value = kOddBytes;
  finding.culprits.front().place->source_line = kOddBytes;
  finding.culprits.front().place->skipped = 7;
  finding.note = kOddBytes;
  report.advice = {kOddBytes, "a VRF"};
  finding.is_standing = true;
  finding.fixes = {{"F1.1", true, kOddBytes, {{2, 3, 4, 5, kOddBytes}}},
                   {"F1.2", false, "leave out {a}", {{1, 1, 1, 2, ""}}}};
  return report;
}

DeviceReport Restarted(const std::string& candidate) {
  DeviceReport report = Refused(candidate);
  cli::report::Restart& restart = report.restart.emplace();
  restart.time = 8ms;
  restart.planned = 28;
  restart.made = 27;
  Finding standing = report.findings.front();
  standing.text = "stands";
  standing.is_standing = true;
  Finding fresh = standing;
  fresh.text = "fresh";
  fresh.is_standing = false;
  Finding healed = fresh;
  healed.text = "healed";
  healed.culprits.front().place.reset();
  restart.faults = {{standing, report.findings.front(), fresh}, {healed}};
  return report;
}

std::vector<DeviceReport> SampleReports() {
  DeviceReport first = Accepted("f.xml");
  first.restart.emplace().is_change = true;
  DeviceReport crowded = Refused("g.xml");
  crowded.findings.push_back(crowded.findings.front());
  crowded.findings.back().is_behind = true;
  crowded.more_findings = "there are more findings";
  return {Accepted("a.xml"),
          Refused("b.xml"),
          BadInput("c.xml"),
          PluginFailed("d.xml"),
          Odd(),
          Restarted("e.xml"),
          first,
          crowded};
}

std::string Written(cli::report::Format format,
                    const std::vector<DeviceReport>& devices,
                    cli::report::Run run) {
  char* buffer = nullptr;
  std::size_t size = 0;
  std::FILE* out = open_memstream(&buffer, &size);
  {
    const auto writer = MakeWriter(format, out, run, {});
    writer->Begin();
    for (const DeviceReport& device : devices) {
      run.summary.Add(device.status);
      writer->Add(device);
    }
    writer->End();
  }
  std::fclose(out);
  const std::unique_ptr<char, decltype(&std::free)> owner(buffer, &std::free);
  return {buffer, size};
}

}  // namespace ipav::testing
