#include "cli/report/comparison.h"

#include <confd_lib.h>
#include <fmt/core.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "cli/report/json/json.h"
#include "cli/report/json/json_text.h"
#include "host/base/utf8.h"
#include "host/commit/commit.h"
#include "messages/finding.h"

namespace ipav::cli::report {

namespace {

using commit::Answer;
using messages::Finding;

// Indexed by ExitStatus.
constexpr std::array<const char*, 4> kJudgements = {
    "accepted", "refused", "not judged (bad input)",
    "not judged (the plug-in failed)"};

// What both versions say about a validation call, or about the device; then the
// path is empty.
struct Row {
  std::string point;
  std::string path;
  std::optional<std::string> older;  // in words; none: it says nothing
  std::optional<std::string> newer;
  bool differs = false;
};

bool AnyDiffers(const std::vector<Row>& rows) {
  return std::any_of(rows.begin(), rows.end(),
                     [](const Row& row) { return row.differs; });
}

bool IsJudged(const DeviceReport& device) { return device.status < kBadInput; }

// --- The rows of a device

// All that a version says about a device, in the form of answers.
std::vector<Answer> StatementsOf(const DeviceReport& device) {
  const commit::Outcome& outcome = device.outcome;
  std::vector<Answer> statements = outcome.answers;
  const auto add = [&](const std::string& point, const std::string& text) {
    statements.push_back(
        {point, outcome.failed_path, CONFD_ERR, text, std::nullopt});
  };
  if (!device.input_errors.empty()) {
    add("input errors",
        fmt::format("{}", fmt::join(device.input_errors, "\n")));
  }
  if (!outcome.failure.empty()) {
    add(outcome.failed_path.empty() ? "failure" : outcome.failed_point,
        "the plug-in failed: " + outcome.failure);
  }
  return statements;
}

std::string AnswerInWords(const Answer& answer) {
  const std::string text = answer.text.value_or("");
  if (answer.exception) {
    return "the plug-in threw an exception: " + *answer.exception;
  }
  if (answer.result == CONFD_ERR) {
    return text.empty() ? "(refused without a text)" : text;
  }
  std::string words = fmt::format("(refused with result {})", answer.result);
  if (Accepts(answer)) words = "(accepted with a warning)";
  if (answer.result == CONFD_OK) words = "(accepted)";
  return text.empty() ? words : words + " " + text;
}

bool IsOfSameCall(const Answer& a, const Answer& b) {
  return a.opaque == b.opaque && a.path == b.path;
}

// One of the two may be null; `any` is the other one.
Row RowOf(const Answer& any, const Answer* older, const Answer* newer) {
  Row row{any.opaque, any.path, std::nullopt, std::nullopt, true};
  if (older != nullptr) row.older = AnswerInWords(*older);
  if (newer != nullptr) row.newer = AnswerInWords(*newer);
  row.differs = older == nullptr || newer == nullptr ||
                older->result != newer->result ||
                older->exception != newer->exception ||
                older->text.value_or("") != newer->text.value_or("");
  return row;
}

// In the order of the older version; what only the newer one says comes last.
// If not `is_complete`, because a version made only some of the calls, nothing
// follows from an acceptance by the other one alone.
std::vector<Row> PairUp(const std::vector<Answer>& older,
                        const std::vector<Answer>& newer, bool is_complete) {
  std::multimap<std::pair<std::string, std::string>, const Answer*> rest;
  for (const Answer& answer : newer) {
    rest.emplace(std::pair(answer.opaque, answer.path), &answer);
  }
  std::vector<Row> rows;
  for (const Answer& answer : older) {
    const auto found = rest.lower_bound({answer.opaque, answer.path});
    if (found != rest.end() && IsOfSameCall(*found->second, answer)) {
      rows.push_back(RowOf(answer, &answer, found->second));
      rest.erase(found);
    } else if (is_complete || !Accepts(answer)) {
      rows.push_back(RowOf(answer, &answer, nullptr));
    }
  }
  for (const auto& [place, answer] : rest) {
    if (is_complete || !Accepts(*answer)) {
      rows.push_back(RowOf(*answer, nullptr, answer));
    }
  }
  return rows;
}

std::vector<Row> RowsOf(const DeviceReport& older, const DeviceReport& newer) {
  const std::vector<Answer> before = StatementsOf(older);
  const std::vector<Answer> after = StatementsOf(newer);
  const bool is_complete = IsJudged(older) && IsJudged(newer);
  std::vector<Row> rows = PairUp(before, after, is_complete);
  if (!is_complete || AnyDiffers(rows)) return rows;
  // The first refusal ends a commit on a router: in another order, the operator
  // may read another text.
  const auto [first, second] =
      std::mismatch(before.begin(), before.end(), after.begin(), IsOfSameCall);
  if (first != before.end()) {
    rows.push_back({"order of the calls", "", first->opaque + " " + first->path,
                    second->opaque + " " + second->path, true});
  }
  return rows;
}

// --- Text

// Each line of what a version says, after the label.
std::string Labelled(const std::string& label, const Row& row,
                     const std::optional<std::string>& words) {
  if (!words) return label + (row.path.empty() ? "(none)\n" : "(not called)\n");
  std::string lines;
  for (std::size_t begin = 0; begin <= words->size();) {
    const std::size_t end = std::min(words->find('\n', begin), words->size());
    lines +=
        label + base::QuotedIfNeeded(words->substr(begin, end - begin)) + "\n";
    begin = end + 1;
  }
  return lines;
}

void PrintDevice(const DeviceReport& older, const DeviceReport& newer,
                 const std::vector<Row>& rows, std::FILE* out) {
  const char* before = kJudgements.at(older.status);
  const char* after = kJudgements.at(newer.status);
  fmt::print(out, "{}: ", base::Printable(older.candidate));
  if (older.status == newer.status) {
    fmt::print(out, "{} by both versions, with different answers\n", before);
  } else {
    fmt::print(out, "{} by the old version, {} by the new one\n", before,
               after);
  }
  for (const Row& row : rows) {
    if (!row.differs) continue;
    const std::string point = base::Printable(row.point);
    if (row.path.empty()) {
      fmt::print(out, "  {}\n", point);
    } else {
      fmt::print(out, "  validation point: {}\n  data path: {}\n", point,
                 base::Printable(row.path));
    }
    fmt::print(out, "{}{}", Labelled("  old: ", row, row.older),
               Labelled("  new: ", row, row.newer));
  }
}

// --- JSON, by the schema in docs/comparison.schema.json

Json VersionToJson(const Version& version) {
  Json json = Json::object();
  PutText(&json, "plugin", version.plugin);
  PutText(&json, "yang", version.yang_dir);
  return json;
}

Json DeviceToJson(const DeviceReport& older, const DeviceReport& newer,
                  const std::vector<Row>& rows) {
  Json json = Json::object();
  PutText(&json, "candidate", older.candidate);
  Json& differences = json["differences"] = Json::array();
  for (const Row& row : rows) {
    if (!row.differs) continue;
    Json& entry = differences.emplace_back(Json::object());
    PutText(&entry, "point", row.point);
    PutUnlessEmpty(&entry, "path", row.path);
    if (row.older) PutText(&entry, "old", *row.older);
    if (row.newer) PutText(&entry, "new", *row.newer);
  }
  json["old"] = ToJson(older);
  json["new"] = ToJson(newer);
  return json;
}

// --- SARIF and JUnit

// A report in which each difference is a refusal, and what both versions say is
// an acceptance.
DeviceReport AsRefusals(const DeviceReport& older, const DeviceReport& newer,
                        const std::vector<Row>& rows) {
  DeviceReport report;
  report.number = older.number;
  report.candidate = older.candidate;
  report.running = older.running;
  report.status = AnyDiffers(rows) ? kRefused : kAccepted;
  report.outcome.planned = rows.size();
  for (const Row& row : rows) {
    if (!row.differs) {
      report.outcome.answers.push_back(
          {row.point, row.path, CONFD_OK, row.older, std::nullopt});
      continue;
    }
    Finding& difference = report.findings.emplace_back();
    difference.text =
        Labelled("old: ", row, row.older) + Labelled("new: ", row, row.newer);
    difference.text.pop_back();  // the last line end
    difference.rule = difference.point = row.point;
    difference.path = row.path;
    // It is shown where the new version finds a fault, else the old one.
    for (const DeviceReport* device : {&newer, &older}) {
      for (const Finding& finding : device->findings) {
        if (finding.point == row.point && finding.path == row.path &&
            difference.culprits.empty()) {
          difference.culprits = finding.culprits;
        }
      }
    }
    report.outcome.answers.push_back(
        {row.point, row.path, CONFD_ERR, difference.text, std::nullopt});
  }
  return report;
}

}  // namespace

ComparisonOutput::ComparisonOutput(const ReportOptions& options,
                                   Versions versions, const Run& run)
    : format_(options.format),
      versions_(std::move(versions)),
      run_(run),
      file_(options.output),
      writer_(MakeWriter(format_, file_.stream(), run_, TextOptions{})) {}

void ComparisonOutput::BeginOnce() {
  if (std::exchange(has_begun_, true)) return;
  if (format_ != Format::kJson) return writer_->Begin();
  Json head = {{"format", "ipav comparison"},
               {"version", 1},
               {"tool", {{"name", "ipav"}, {"version", IPAV_VERSION}}},
               {"old", VersionToJson(versions_.older)},
               {"new", VersionToJson(versions_.newer)}};
  if (run_.shard) head["shard"] = ShardToJson(run_);
  std::string text = head.dump();
  text.pop_back();  // the end of the object
  fmt::print(file_.stream(), "{},\n\"devices\": [", text);
}

void ComparisonOutput::Add(const DeviceReport& older,
                           const DeviceReport& newer) {
  BeginOnce();
  // 1. Count the device.
  const std::vector<Row> rows = RowsOf(older, newer);
  ExitStatus status = IsJudged(older) ? kAccepted : older.status;
  if (AnyDiffers(rows)) status = kRefused;
  run_.summary.Add(status);
  if (older.status != newer.status) ++other_verdict_;
  // 2. List it if it is not the same.
  if (format_ == Format::kJson) {
    if (status != kAccepted) {
      fmt::print(file_.stream(), "{}\n{}",
                 std::exchange(is_first_, false) ? "" : ",",
                 DeviceToJson(older, newer, rows).dump());
    }
  } else if (status >= kBadInput) {
    writer_->Add(older);  // it has no findings
  } else if (format_ != Format::kText) {
    writer_->Add(AsRefusals(older, newer, rows));
  } else if (status == kRefused) {
    PrintDevice(older, newer, rows, file_.stream());
  }
  static_cast<void>(std::fflush(file_.stream()));
  file_.Check();
}

ExitStatus ComparisonOutput::End() {
  BeginOnce();
  const Summary counts = run_.summary;
  const std::size_t different = counts.Of(kRefused);
  // A difference is the answer, also if other devices are not judged.
  run_.summary = Summary();
  run_.summary.Raise(different > 0 ? kRefused : counts.worst_status());
  const ExitStatus status = run_.summary.worst_status();
  if (format_ == Format::kJson) {
    const Json summary = {{"devices", counts.devices()},
                          {"same", counts.Of(kAccepted)},
                          {"different", different},
                          {"otherVerdict", other_verdict_},
                          {"badInput", counts.Of(kBadInput)},
                          {"pluginFailed", counts.Of(kPluginFailed)},
                          {"status", static_cast<int>(status)}};
    fmt::print(file_.stream(), "\n],\n\"summary\": {}\n}}\n", summary.dump());
  } else {
    writer_->End();
  }
  if (format_ == Format::kText) {
    fmt::print(
        file_.stream(),
        "{}{} the same, {} different ({} with another verdict), {} bad input, "
        "{} failed\n",
        DevicesInWords(run_, counts.devices()), counts.Of(kAccepted), different,
        other_verdict_, counts.Of(kBadInput), counts.Of(kPluginFailed));
  }
  writer_.reset();  // it borrows the file
  file_.Commit();
  return status;
}

}  // namespace ipav::cli::report
