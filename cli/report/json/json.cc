#include "cli/report/json/json.h"

#include <fmt/core.h>

#include <array>
#include <stdexcept>
#include <utility>

#include "cli/report/finding_text.h"
#include "cli/report/json/json_text.h"
#include "cli/report/json/json_times.h"

namespace ipav::cli::report {

namespace {

using commit::Answer;
using commit::Outcome;
using commit::Verdict;
using datastore::Novelty;
using messages::Culprit;
using messages::Finding;
using messages::Place;

constexpr char kFormat[] = "ipav report";
constexpr int kVersion = 1;

// Indexed by ExitStatus.
constexpr std::array<const char*, 4> kVerdicts = {"accepted", "refused",
                                                  "badInput", "pluginFailed"};

template <typename Enum>
Enum FromName(const std::array<const char*, 4>& names,
              const std::string& name) {
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names.at(i) == name) return static_cast<Enum>(i);
  }
  throw std::runtime_error("unknown word \"" + name + "\"");
}

Json AnswerToJson(const Answer& answer) {
  Json json = Json::object();
  PutText(&json, "point", answer.opaque);
  PutText(&json, "path", answer.path);
  json["accepted"] = Accepts(answer);
  json["result"] = answer.result;
  if (answer.text) PutText(&json, "text", *answer.text);
  if (answer.exception) PutText(&json, "exception", *answer.exception);
  return json;
}

Answer AnswerOf(const Json& json) {
  return {TextOf(json, "point"), TextOf(json, "path"),
          static_cast<std::int32_t>(IntegerOf(json, "result")),
          OptionalText(json, "text"), OptionalText(json, "exception")};
}

Json ToJson(const Place& place) {
  Json json = Json::object();
  PutText(&json, "file", place.file);
  json["line"] = place.line;
  json["column"] = place.column;
  json["length"] = place.length;
  PutText(&json, "sourceLine", place.source_line);
  json["skipped"] = place.skipped;
  return json;
}

Place PlaceOf(const Json& json) {
  return {TextOf(json, "file"),       NumberOf(json, "line"),
          NumberOf(json, "column"),   NumberOf(json, "length"),
          TextOf(json, "sourceLine"), NumberOf(json, "skipped")};
}

Json CulpritToJson(const Culprit& culprit) {
  Json json = Json::object();
  PutText(&json, "role", culprit.role);
  PutText(&json, "path", culprit.path);
  PutUnlessEmpty(&json, "value", culprit.value);
  json["novelty"] = WordOf(culprit.novelty);
  if (culprit.place) json["place"] = ToJson(*culprit.place);
  return json;
}

Culprit CulpritOf(const Json& json) {
  Culprit culprit{
      TextOf(json, "role"), TextOf(json, "path"), TextOrEmpty(json, "value"),
      FromName<Novelty>(kNovelties, json.at("novelty").get<std::string>()),
      std::nullopt};
  if (json.contains("place")) culprit.place = PlaceOf(json.at("place"));
  return culprit;
}

Json EditToJson(const messages::TextEdit& edit) {
  Json json = {{"line", edit.line},
               {"column", edit.column},
               {"endLine", edit.end_line},
               {"endColumn", edit.end_column}};
  PutText(&json, "text", edit.text);
  return json;
}

messages::TextEdit EditOf(const Json& json) {
  return {NumberOf(json, "line"), NumberOf(json, "column"),
          NumberOf(json, "endLine"), NumberOf(json, "endColumn"),
          TextOf(json, "text")};
}

Json FixToJson(const messages::Fix& fix) {
  Json json = {{"id", fix.id}, {"safe", fix.is_safe}};
  PutText(&json, "text", fix.text);
  json["edits"] = ArrayOf(fix.edits, EditToJson);
  return json;
}

messages::Fix FixOf(const Json& json) {
  return {TextOf(json, "id"), json.at("safe").get<bool>(), TextOf(json, "text"),
          VectorOf(json.at("edits"), EditOf)};
}

Json FindingToJson(const Finding& finding) {
  Json json = Json::object();
  PutText(&json, "text", finding.text);
  PutText(&json, "point", finding.point);
  PutText(&json, "path", finding.path);
  PutUnlessEmpty(&json, "rule", finding.rule);
  PutUnlessEmpty(&json, "title", finding.title);
  PutUnlessEmpty(&json, "advice", finding.advice);
  PutUnlessEmpty(&json, "anchor", finding.anchor);
  json["culprits"] = ArrayOf(finding.culprits, CulpritToJson);
  PutUnlessEmpty(&json, "note", finding.note);
  if (finding.is_standing) json["standing"] = true;
  if (finding.is_behind) json["behind"] = true;
  if (finding.fixes) json["fixes"] = ArrayOf(*finding.fixes, FixToJson);
  return json;
}

Finding FindingOf(const Json& json) {
  return {TextOf(json, "text"),
          TextOf(json, "point"),
          TextOf(json, "path"),
          TextOrEmpty(json, "rule"),
          TextOrEmpty(json, "title"),
          TextOrEmpty(json, "advice"),
          TextOrEmpty(json, "anchor"),
          VectorOf(json.at("culprits"), CulpritOf),
          TextOrEmpty(json, "note"),
          json.value("standing", false),
          json.value("behind", false),
          json.contains("fixes")
              ? std::make_optional(VectorOf(json.at("fixes"), FixOf))
              : std::nullopt};
}

void PutCalls(Json* json, std::size_t planned, std::size_t made) {
  (*json)["validationCalls"] = {{"planned", planned}, {"made", made}};
}

Json RestartToJson(const Restart& restart) {
  if (restart.is_change) return {{"sameAsChange", true}};
  Json json = Json::object();
  PutCalls(&json, restart.planned, restart.made);
  json["findings"] = ArrayOf(restart.faults.findings, FindingToJson);
  json["healed"] = ArrayOf(restart.faults.healed, FindingToJson);
  return json;
}

Restart RestartOf(const Json& json) {
  Restart restart;
  restart.is_change = json.value("sameAsChange", false);
  if (restart.is_change) return restart;
  restart.planned = NumberOf(json.at("validationCalls"), "planned");
  restart.made = NumberOf(json.at("validationCalls"), "made");
  restart.faults = {VectorOf(json.at("findings"), FindingOf),
                    VectorOf(json.at("healed"), FindingOf)};
  return restart;
}

void PutFailure(Json* json, const Outcome& outcome) {
  if (outcome.failure.empty()) return;
  Json& failure = (*json)["failure"] = Json::object();
  PutText(&failure, "reason", outcome.failure);
  if (outcome.failed_path.empty()) return;
  PutText(&failure, "point", outcome.failed_point);
  PutText(&failure, "path", outcome.failed_path);
}

void PutOutcome(Json* json, const Outcome& outcome) {
  PutCalls(json, outcome.planned, outcome.answers.size());
  (*json)["answers"] = ArrayOf(outcome.answers, AnswerToJson);
  PutFailure(json, outcome);
  PutUnlessEmpty(json, "pluginOutput", outcome.output);
  PutLines(json, "faults", outcome.faults);
  PutLines(json, "leftOpen", outcome.left_open);
  PutLines(json, "debugLines", outcome.debug_lines);
  Json& calls = (*json)["platformCalls"] = Json::object();
  for (const auto& [name, count] : outcome.calls) calls[name] = count;
}

Verdict VerdictOf(ExitStatus status) {
  if (status == kRefused) return Verdict::kRefused;
  return status == kPluginFailed ? Verdict::kPluginFailed : Verdict::kAccepted;
}

Outcome OutcomeOf(const Json& json) {
  Outcome outcome;
  outcome.answers = VectorOf(json.at("answers"), AnswerOf);
  outcome.planned = NumberOf(json.at("validationCalls"), "planned");
  if (json.contains("failure")) {
    const Json& failure = json.at("failure");
    outcome.failure = TextOf(failure, "reason");
    outcome.failed_point = TextOrEmpty(failure, "point");
    outcome.failed_path = TextOrEmpty(failure, "path");
  }
  outcome.output = TextOrEmpty(json, "pluginOutput");
  outcome.faults = LinesOf(json, "faults");
  outcome.left_open = LinesOf(json, "leftOpen");
  outcome.debug_lines = LinesOf(json, "debugLines");
  const Json& calls = json.at("platformCalls");
  for (const auto& call : calls.items()) {
    outcome.calls[call.key()] = NumberOf(calls, call.key());
  }
  return outcome;
}

// The number of devices of each verdict, and of all.
Json ToJson(const Summary& summary) {
  Json json = {{"devices", summary.devices()}};
  for (std::size_t i = 0; i < kVerdicts.size(); ++i) {
    json[kVerdicts.at(i)] = summary.Of(static_cast<ExitStatus>(i));
  }
  json["status"] = static_cast<int>(summary.worst_status());
  return json;
}

Summary SummaryOf(const Json& json) {
  Summary summary;
  for (std::size_t i = 0; i < kVerdicts.size(); ++i) {
    summary.Add(static_cast<ExitStatus>(i), NumberOf(json, kVerdicts.at(i)));
  }
  const auto status = NumberOf(json, "status");
  if (status >= kVerdicts.size()) throw std::runtime_error("unknown status");
  summary.Raise(static_cast<ExitStatus>(status));
  return summary;
}

}  // namespace

Json ToJson(const DeviceReport& device) {
  Json json = Json::object();
  if (device.number > 0) json["number"] = device.number;
  PutText(&json, "candidate", device.candidate);
  PutUnlessEmpty(&json, "running", device.running);
  json["verdict"] = kVerdicts.at(static_cast<std::size_t>(device.status));
  if (device.seconds > 0) json["seconds"] = device.seconds;
  if (device.times) json["times"] = TimesToJson(device);
  if (device.status == kBadInput) {
    PutLines(&json, "inputErrors", device.input_errors);
    return json;
  }
  json["findings"] = ArrayOf(device.findings, FindingToJson);
  PutUnlessEmpty(&json, "moreFindings", device.more_findings);
  if (device.restart) json["restart"] = RestartToJson(*device.restart);
  PutLines(&json, "advice", device.advice);
  PutOutcome(&json, device.outcome);
  return json;
}

Json ShardToJson(const Run& run) {
  return {{"number", run.shard->number},
          {"of", run.shard->of},
          {"listSize", run.list_size}};
}

DeviceReport FromJson(const Json& json) {
  DeviceReport device;
  if (json.contains("number")) device.number = NumberOf(json, "number");
  device.candidate = TextOf(json, "candidate");
  device.running = TextOrEmpty(json, "running");
  device.status =
      FromName<ExitStatus>(kVerdicts, json.at("verdict").get<std::string>());
  device.seconds = json.value("seconds", 0.0);
  if (device.status == kBadInput) {
    device.input_errors = LinesOf(json, "inputErrors");
    if (device.input_errors.empty()) {
      throw std::runtime_error("bad input without an error");
    }
    return device;
  }
  device.findings = VectorOf(json.at("findings"), FindingOf);
  device.more_findings = TextOrEmpty(json, "moreFindings");
  if (json.contains("restart")) device.restart = RestartOf(json.at("restart"));
  device.advice = LinesOf(json, "advice");
  device.outcome = OutcomeOf(json);
  device.outcome.verdict = VerdictOf(device.status);
  if (json.contains("times")) TimesFromJson(json.at("times"), &device);
  return device;
}

ReadReport ReportFromJson(const Json& json) {
  if (json.at("format") != kFormat || json.at("version") != kVersion) {
    throw std::runtime_error("of another format or version");
  }
  ReadReport report;
  report.run.summary = SummaryOf(json.at("summary"));
  report.run.list_size = report.run.summary.devices();
  if (json.contains("shard")) {
    const Json& shard = json.at("shard");
    report.run.shard = {NumberOf(shard, "number"), NumberOf(shard, "of")};
    report.run.list_size = NumberOf(shard, "listSize");
  }
  report.devices = VectorOf(json.at("devices"), FromJson);
  return report;
}

void JsonWriter::Begin() {
  const Json tool = {{"name", "ipav"}, {"version", IPAV_VERSION}};
  fmt::print(out_, "{{\n\"format\": {},\n\"version\": {},\n\"tool\": {},\n",
             Json(kFormat).dump(), kVersion, tool.dump());
  if (run_.shard) {
    fmt::print(out_, "\"shard\": {},\n", ShardToJson(run_).dump());
  }
  fmt::print(out_, "\"devices\": [");
}

void JsonWriter::Add(const DeviceReport& device) {
  fmt::print(out_, "{}\n{}", is_first_ ? "" : ",", ToJson(device).dump());
  is_first_ = false;
}

void JsonWriter::End() {
  fmt::print(out_, "\n],\n\"summary\": {}\n}}\n", ToJson(run_.summary).dump());
}

}  // namespace ipav::cli::report
