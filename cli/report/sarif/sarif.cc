#include "cli/report/sarif/sarif.h"

#include <fmt/core.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/report/finding_text.h"
#include "cli/report/json/json_text.h"
#include "cli/report/restart_findings.h"
#include "cli/report/sarif/sarif_parts.h"
#include "host/base/bytes.h"
#include "host/base/utf8.h"
#include "messages/catalogue.h"

namespace ipav::cli::report {

namespace {

using commit::Answer;
using commit::Outcome;
using datastore::Novelty;
using messages::Culprit;
using messages::Finding;
using messages::Place;

constexpr char kSchema[] =
    "https://docs.oasis-open.org/sarif/sarif/v2.1.0/os/schemas/"
    "sarif-schema-2.1.0.json";

// Identifiers of notifications.
constexpr char kInputId[] = "bad-input";
constexpr char kPluginId[] = "plug-in-failed";
constexpr char kAdviceId[] = "advice";
constexpr char kMoreId[] = "more-findings";

std::string Marked(const Place& place) {
  const std::string line = base::ToUtf8(place.source_line);
  const std::size_t begin =
      base::FirstCharacters(line, place.column - 1 - place.skipped).size();
  const std::string_view rest = std::string_view{line}.substr(begin);
  return std::string{base::FirstCharacters(rest, place.length)};
}

Json PhysicalLocation(const Place& place) {
  return {{"artifactLocation", Artifact(place.file)},
          {"region",
           {{"startLine", place.line},
            {"startColumn", place.column},
            {"endColumn", place.column + place.length},
            {"snippet", {{"text", Marked(place)}}}}},
          {"contextRegion",
           {{"startLine", place.line},
            {"snippet", {{"text", base::ToUtf8(place.source_line)}}}}}};
}

Json LogicalLocations(const std::string& path) {
  const Json location = {{"fullyQualifiedName", base::ToUtf8(path)},
                         {"kind", "member"}};
  return Json::array({location});
}

// Without a position, at least the file is known.
Json LocationOf(const Culprit& culprit, const std::string& file) {
  const Json physical = culprit.place
                            ? PhysicalLocation(*culprit.place)
                            : Json({{"artifactLocation", Artifact(file)}});
  std::string text = culprit.role;
  if (!culprit.value.empty()) text += " " + culprit.value;
  return {{"physicalLocation", physical},
          {"logicalLocations", LogicalLocations(culprit.path)},
          {"message", Message(text)}};
}

// A fingerprint that does not change when lines above a finding change.
std::string FingerprintOf(const Finding& finding, const std::string& file) {
  std::string text =
      file + '\n' + finding.rule + '\n' + finding.text + '\n' + finding.path;
  for (const Culprit& culprit : finding.culprits) text += '\n' + culprit.path;
  return fmt::format("{:016x}", base::StableHash(text));
}

// The advice for all findings of the rule, and a link to its explanation.
Json HelpOf(const Finding& finding) {
  const messages::Message* message = messages::FindMessage(finding.rule);
  std::string text =
      message != nullptr ? message->advice : base::ToUtf8(finding.advice);
  std::string markdown = text;
  const std::string link = LinkOf(finding);
  if (!link.empty()) {
    text += "\n" + link;
    markdown += "\n\n[" + link + "](" + link + ")";
  }
  return {{"text", text}, {"markdown", markdown}};
}

Json RuleOf(const Finding& finding) {
  Json rule = {{"id", base::ToUtf8(RuleIdOf(finding))}};
  if (!finding.title.empty()) {
    rule["shortDescription"] = {{"text", base::ToUtf8(finding.title)}};
  }
  if (!finding.advice.empty()) rule["help"] = HelpOf(finding);
  rule["defaultConfiguration"] = {{"level", "error"}};
  return rule;
}

// A finding is new if the candidate changed one of its culprits.
std::optional<std::string> BaselineState(const DeviceReport& device,
                                         const Finding& finding) {
  if (finding.is_standing) return "unchanged";
  const bool is_new =
      !device.running.empty() &&
      std::any_of(finding.culprits.begin(), finding.culprits.end(),
                  [](const Culprit& culprit) {
                    return culprit.novelty != Novelty::kUnchanged;
                  });
  return is_new ? std::optional<std::string>("new") : std::nullopt;
}

std::string MessageOf(const Finding& finding) {
  return TextOf(finding) +
         (finding.is_standing ? std::string("\n") + kStanding : "") +
         (finding.is_behind ? std::string("\n") + kBehind : "");
}

// The culprit at which the finding is shown: the first that the candidate
// changed and that has a position in a file.
std::size_t MainCulprit(const Finding& finding) {
  const auto& culprits = finding.culprits;
  const auto find = [&](const auto& wanted) {
    return std::find_if(culprits.begin(), culprits.end(), wanted);
  };
  auto found = find([](const Culprit& culprit) {
    return culprit.place && culprit.novelty != Novelty::kUnchanged;
  });
  if (found == culprits.end()) {
    found = find([](const Culprit& c) { return c.place.has_value(); });
  }
  if (found == culprits.end()) found = culprits.begin();
  return static_cast<std::size_t>(found - culprits.begin());
}

// Location of a file.
Json LocationOf(const std::string& file) {
  return {{"physicalLocation", {{"artifactLocation", Artifact(file)}}}};
}

Json LocationOf(const std::string& file, const std::string& path) {
  Json location = LocationOf(file);
  if (!path.empty()) location["logicalLocations"] = LogicalLocations(path);
  return location;
}

void PutLocations(const std::string& file, const Finding& finding,
                  Json* result) {
  if (finding.culprits.empty()) {
    (*result)["locations"] = Json::array({LocationOf(file, finding.path)});
    return;
  }
  const std::size_t main = MainCulprit(finding);
  Json related = Json::array();
  for (std::size_t i = 0; i < finding.culprits.size(); ++i) {
    Json location = LocationOf(finding.culprits[i], file);
    if (i == main) {
      (*result)["locations"] = Json::array({std::move(location)});
    } else {
      location["id"] = related.size() + 1;
      related.push_back(std::move(location));
    }
  }
  if (!related.empty()) (*result)["relatedLocations"] = related;
}

// The exact text, and details that are not in the message.
Json PropertiesOf(const Finding& finding) {
  Json properties;
  PutText(&properties, "text", finding.text);
  properties["validationPoint"] = base::ToUtf8(finding.point);
  properties["dataPath"] = base::ToUtf8(finding.path);
  if (finding.is_standing) properties["standing"] = true;
  if (finding.is_behind) properties["behind"] = true;
  if (!finding.note.empty()) properties["note"] = base::ToUtf8(finding.note);
  return properties;
}

Json ResultOf(const DeviceReport& device, const Finding& finding,
              const std::string& file) {
  Json result = {{"ruleId", base::ToUtf8(RuleIdOf(finding))},
                 {"level", "error"},
                 {"message", Message(MessageOf(finding))}};
  PutLocations(file, finding, &result);
  result["partialFingerprints"] = {
      {"ipavFinding/v1", FingerprintOf(finding, device.candidate)}};
  result["properties"] = PropertiesOf(finding);
  const auto state = BaselineState(device, finding);
  if (state) result["baselineState"] = *state;
  if (finding.fixes && !finding.fixes->empty()) {
    result["fixes"] = Fixes(*finding.fixes, device.candidate);
  }
  return result;
}

// The running configuration is the baseline of what is judged after a restart.
// A standing fault refuses nothing by itself.
Json ResultOf(const DeviceReport& device, const RestartFinding& restart) {
  struct Words {
    const char* level;
    const char* baseline_state;
  };
  constexpr Words kWords[] = {// by RestartState
                              {"error", "new"},
                              {"warning", "unchanged"},
                              {"note", "absent"}};
  const Words& words = kWords[static_cast<std::size_t>(restart.state)];
  const bool is_healed = restart.state == RestartState::kHealed;
  Json result = ResultOf(device, restart.finding,
                         is_healed ? device.running : device.candidate);
  result["level"] = words.level;
  result["baselineState"] = words.baseline_state;
  result["message"] =
      Message(TextOf(restart.finding) + "\n" + HeadingOf(restart.state));
  result["properties"]["afterRestart"] = true;
  return result;
}

// The numbers in "FILE:LINE:COLUMN: reason", as far as they are there.
std::vector<std::size_t> PlaceOf(const std::string& error,
                                 const std::string& file) {
  std::vector<std::size_t> numbers;
  if (file.empty() || error.rfind(file + ":", 0) != 0) return numbers;
  std::size_t begin = file.size() + 1;
  while (numbers.size() < 2) {
    const std::size_t end = error.find_first_not_of("0123456789", begin);
    constexpr std::size_t kMaxDigits = 9;  // enough, and no overflow
    if (end == begin || end == std::string::npos || error[end] != ':' ||
        end - begin > kMaxDigits) {
      break;
    }
    numbers.push_back(std::stoul(error.substr(begin, end - begin)));
    begin = end + 1;
  }
  return numbers;
}

Json LocationOfInputError(const DeviceReport& device,
                          const std::string& error) {
  const bool is_of_running = !PlaceOf(error, device.running).empty();
  const std::string& file = is_of_running ? device.running : device.candidate;
  const std::vector<std::size_t> numbers = PlaceOf(error, file);
  Json location = LocationOf(file);
  if (numbers.empty()) return location;
  Json region = {{"startLine", numbers[0]}};
  if (numbers.size() > 1) {
    region["startColumn"] = numbers[1];
    region["endColumn"] = numbers[1] + 1;
  }
  location["physicalLocation"]["region"] = region;
  return location;
}

Json Notification(const char* id, const std::string& text, Json location,
                  const char* level = "error") {
  return {{"descriptor", {{"id", id}}},
          {"level", level},
          {"message", Message(text)},
          {"locations", Json::array({std::move(location)})}};
}

Json Driver(const Json& rules) {
  const Json notifications = {
      {{"id", kInputId},
       {"shortDescription", {{"text", "A configuration that is none"}}}},
      {{"id", kPluginId},
       {"shortDescription", {{"text", "The plug-in gave no verdict"}}}},
      {{"id", kMoreId},
       {"shortDescription", {{"text", "Findings that are not listed"}}}},
      {{"id", kAdviceId},
       {"shortDescription", {{"text", "Advice on the configuration"}}}}};
  return {{"name", "ipav"},
          {"version", IPAV_VERSION},
          {"rules", rules},
          {"notifications", notifications}};
}

}  // namespace

void SarifWriter::Begin() {
  fmt::print(out_,
             "{{\n\"$schema\": {},\n\"version\": \"2.1.0\",\n\"runs\": [{{\n"
             "\"columnKind\": \"unicodeCodePoints\",\n\"results\": [",
             Json(kSchema).dump());
}

void SarifWriter::AddResult(Json result, Json rule) {
  const auto [entry, is_new] =
      index_.emplace(rule.at("id").get<std::string>(), rules_.size());
  if (is_new) rules_.push_back(std::move(rule));
  result["ruleIndex"] = entry->second;
  fmt::print(out_, "{}\n{}", is_first_ ? "" : ",", result.dump());
  is_first_ = false;
}

void SarifWriter::AddFindings(const DeviceReport& device) {
  for (const Finding& finding : device.findings) {
    AddResult(ResultOf(device, finding, device.candidate), RuleOf(finding));
  }
  for (const RestartFinding& restart : RestartFindings(device)) {
    if (restart.is_of_change) continue;
    AddResult(ResultOf(device, restart), RuleOf(restart.finding));
  }
}

void SarifWriter::AddWarnings(const DeviceReport& device) {
  for (const Answer& answer : device.outcome.answers) {
    if (!Accepts(answer) || answer.result == 0) continue;
    Finding finding;
    finding.text = answer.text.value_or("(a warning without a text)");
    finding.point = answer.opaque;
    finding.path = answer.path;
    Json result = ResultOf(device, finding, device.candidate);
    result["level"] = "warning";
    AddResult(std::move(result), RuleOf(finding));
  }
}

void SarifWriter::NotifyOfFailures(const DeviceReport& device) {
  const auto notify = [&](const std::string& text, const std::string& path) {
    notifications_.push_back(
        Notification(kPluginId, text, LocationOf(device.candidate, path)));
  };
  const Outcome& outcome = device.outcome;
  if (!outcome.failure.empty()) {
    notify("the plug-in failed: " + outcome.failure, outcome.failed_path);
  }
  for (const Answer& answer : outcome.answers) {
    if (!answer.exception) continue;
    notify("the plug-in threw an exception: " + *answer.exception, answer.path);
  }
}

void SarifWriter::Add(const DeviceReport& device) {
  if (device.status == kBadInput) {
    for (const std::string& error : device.input_errors) {
      notifications_.push_back(
          Notification(kInputId, error, LocationOfInputError(device, error)));
    }
    return;
  }
  AddFindings(device);
  AddWarnings(device);
  NotifyOfFailures(device);
  const auto note = [&](const char* id, const std::string& text) {
    notifications_.push_back(
        Notification(id, text, LocationOf(device.candidate), "note"));
  };
  if (!device.more_findings.empty()) note(kMoreId, device.more_findings);
  for (const std::string& advice : device.advice) note(kAdviceId, advice);
}

void SarifWriter::End() {
  const ExitStatus status = run_.summary.worst_status();
  const Json invocation = {{"executionSuccessful", status <= kRefused},
                           {"exitCode", static_cast<int>(status)},
                           {"toolExecutionNotifications", notifications_}};
  fmt::print(out_, "\n],\n\"tool\": {},\n\"invocations\": [{}]\n}}]\n}}\n",
             Json({{"driver", Driver(rules_)}}).dump(), invocation.dump());
}

}  // namespace ipav::cli::report
