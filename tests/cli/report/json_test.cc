// Reports as JSON, and read back.
#include "cli/report/json/json.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <exception>
#include <string>
#include <tuple>
#include <vector>

#include "tests/cli/report/sample_reports.h"

namespace ipav::testing {

namespace {

using cli::report::DeviceReport;
using cli::report::FromJson;
using cli::report::Json;
using cli::report::ReadReport;
using cli::report::ReportFromJson;
using cli::report::Restart;
using cli::report::Shard;
using cli::report::ToJson;
using commit::Answer;
using commit::CommitTimes;
using commit::Outcome;
using datastore::ReadingTimes;
using messages::Culprit;
using messages::Finding;
using messages::Place;

auto Fields(const Answer& answer) {
  return std::tie(answer.opaque, answer.path, answer.result, answer.text,
                  answer.exception);
}

void ExpectEqual(const Outcome& actual, const Outcome& expected) {
  EXPECT_EQ(actual.verdict, expected.verdict);
  ASSERT_EQ(actual.answers.size(), expected.answers.size());
  for (std::size_t i = 0; i < actual.answers.size(); ++i) {
    EXPECT_EQ(Fields(actual.answers[i]), Fields(expected.answers[i])) << i;
  }
  EXPECT_EQ(actual.planned, expected.planned);
  EXPECT_EQ(actual.failure, expected.failure);
  EXPECT_EQ(actual.failed_point, expected.failed_point);
  EXPECT_EQ(actual.failed_path, expected.failed_path);
  EXPECT_EQ(actual.output, expected.output);
  EXPECT_EQ(actual.faults, expected.faults);
  EXPECT_EQ(actual.left_open, expected.left_open);
  EXPECT_EQ(actual.debug_lines, expected.debug_lines);
  EXPECT_EQ(actual.calls, expected.calls);
}

auto Fields(const Place& place) {
  return std::tie(place.file, place.line, place.column, place.length,
                  place.source_line, place.skipped);
}

void ExpectEqual(const Culprit& actual, const Culprit& expected) {
  EXPECT_EQ(actual.role, expected.role);
  EXPECT_EQ(actual.path, expected.path);
  EXPECT_EQ(actual.value, expected.value);
  EXPECT_EQ(actual.novelty, expected.novelty);
  ASSERT_EQ(actual.place.has_value(), expected.place.has_value());
  if (actual.place) {
    EXPECT_EQ(Fields(*actual.place), Fields(*expected.place));
  }
}

auto Fields(const messages::Fix& fix) {
  return std::tie(fix.id, fix.is_safe, fix.text);
}

auto Fields(const messages::TextEdit& edit) {
  return std::tie(edit.line, edit.column, edit.end_line, edit.end_column,
                  edit.text);
}

auto Texts(const Finding& finding) {
  return std::tie(finding.text, finding.point, finding.path, finding.rule,
                  finding.title, finding.advice, finding.anchor, finding.note,
                  finding.is_standing, finding.is_behind);
}

void ExpectEqual(const Finding& actual, const Finding& expected) {
  EXPECT_EQ(Texts(actual), Texts(expected));
  ASSERT_EQ(actual.culprits.size(), expected.culprits.size());
  for (std::size_t i = 0; i < actual.culprits.size(); ++i) {
    ExpectEqual(actual.culprits[i], expected.culprits[i]);
  }
  ASSERT_EQ(actual.fixes.has_value(), expected.fixes.has_value());
  if (!expected.fixes) return;
  ASSERT_EQ(actual.fixes->size(), expected.fixes->size());
  for (std::size_t i = 0; i < expected.fixes->size(); ++i) {
    const messages::Fix& fix = (*actual.fixes)[i];
    const messages::Fix& wanted = (*expected.fixes)[i];
    EXPECT_EQ(Fields(fix), Fields(wanted));
    ASSERT_EQ(fix.edits.size(), 1U);
    EXPECT_EQ(Fields(fix.edits[0]), Fields(wanted.edits[0]));
  }
}

void ExpectEqual(const std::vector<Finding>& actual,
                 const std::vector<Finding>& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i) {
    ExpectEqual(actual[i], expected[i]);
  }
}

void ExpectEqual(const Restart& actual, const Restart& expected) {
  EXPECT_EQ(actual.is_change, expected.is_change);
  EXPECT_EQ(actual.planned, expected.planned);
  EXPECT_EQ(actual.made, expected.made);
  EXPECT_EQ(actual.time, expected.time);
  ExpectEqual(actual.faults.findings, expected.faults.findings);
  ExpectEqual(actual.faults.healed, expected.faults.healed);
}

void ExpectEqual(const ReadingTimes& actual, const ReadingTimes& expected) {
  EXPECT_EQ(actual.text, expected.text);
  EXPECT_EQ(actual.parse, expected.parse);
  EXPECT_EQ(actual.validation, expected.validation);
}

void ExpectEqual(const CommitTimes& actual, const CommitTimes& expected) {
  EXPECT_EQ(actual.child, expected.child);
  EXPECT_EQ(actual.loading, expected.loading);
  EXPECT_EQ(actual.planning, expected.planning);
  EXPECT_EQ(actual.points, expected.points);
  ASSERT_EQ(actual.of_points.size(), expected.of_points.size());
  for (std::size_t i = 0; i < actual.of_points.size(); ++i) {
    const commit::PointTimes& point = expected.of_points[i];
    EXPECT_EQ(actual.of_points[i].opaque, point.opaque);
    EXPECT_EQ(actual.of_points[i].calls, point.calls);
    EXPECT_EQ(actual.of_points[i].platform_calls, point.platform_calls);
    EXPECT_EQ(actual.of_points[i].time, point.time);
  }
}

void ExpectEqual(const DeviceReport& actual, const DeviceReport& expected) {
  EXPECT_EQ(actual.number, expected.number);
  EXPECT_EQ(actual.running, expected.running);
  EXPECT_EQ(actual.candidate, expected.candidate);
  EXPECT_EQ(actual.status, expected.status);
  EXPECT_EQ(actual.input_errors, expected.input_errors);
  EXPECT_EQ(actual.advice, expected.advice);
  EXPECT_EQ(actual.seconds, expected.seconds);
  ASSERT_EQ(actual.times.has_value(), expected.times.has_value());
  if (expected.times) {
    ExpectEqual(actual.times->candidate, expected.times->candidate);
    ASSERT_EQ(actual.times->running.has_value(),
              expected.times->running.has_value());
    if (expected.times->running) {
      ExpectEqual(*actual.times->running, *expected.times->running);
    }
    EXPECT_EQ(actual.times->diff, expected.times->diff);
    ExpectEqual(actual.outcome.times, expected.outcome.times);
  }
  ExpectEqual(actual.outcome, expected.outcome);
  ExpectEqual(actual.findings, expected.findings);
  EXPECT_EQ(actual.more_findings, expected.more_findings);
  ASSERT_EQ(actual.restart.has_value(), expected.restart.has_value());
  if (expected.restart) ExpectEqual(*actual.restart, *expected.restart);
}

TEST(JsonReport, EveryNoveltyIsReadBack) {
  using datastore::Novelty;
  for (const Novelty novelty : {Novelty::kUnchanged, Novelty::kAdded,
                                Novelty::kChanged, Novelty::kRemoved}) {
    DeviceReport device = Refused("a.xml");
    device.findings.front().culprits.front().novelty = novelty;
    device.findings.front().culprits.front().place.reset();
    ExpectEqual(FromJson(ToJson(device)), device);
  }
}

TEST(JsonReport, AnOddTextIsReadableAndHasItsBytesBesideIt) {
  const Json finding = ToJson(Odd()).at("findings").at(0);
  const std::string readable = finding.at("text");
  const std::size_t odd = kOddBytes.find('\xff');
  EXPECT_EQ(readable.substr(0, odd + 3),
            kOddBytes.substr(0, odd) + "\xef\xbf\xbd");
  EXPECT_EQ(
      finding.at("textHex"),
      "6f6e650a74776f0d09746162207b7d205b785d203c2622273e201b5b33316d726564"
      "0700ffc32820eda08020c3a920efbfbe");
  EXPECT_FALSE(finding.contains("pointHex"));
}

TEST(JsonReport, WhatADeviceDoesNotHaveIsAbsent) {
  const Json json = ToJson(Accepted("a.xml"));
  for (const char* name :
       {"number", "running", "seconds", "times", "inputErrors", "failure",
        "restart", "pluginOutput", "faults", "leftOpen", "debugLines"}) {
    EXPECT_FALSE(json.contains(name)) << name;
  }
  EXPECT_EQ(json.at("findings"), Json::array());
}

TEST(JsonReport, OfSomethingElseIsRefused) {
  const Json good = ToJson(PluginFailed("a.xml"));
  for (const char* name : {"candidate", "verdict", "findings", "answers",
                           "validationCalls", "platformCalls"}) {
    Json bad = good;
    bad.erase(name);
    EXPECT_THROW(FromJson(bad), std::exception) << name;
  }
  Json bad = good;
  bad["verdict"] = "maybe";
  EXPECT_THROW(FromJson(bad), std::exception);
  bad = good;
  bad["candidateHex"] = "no hex";
  EXPECT_THROW(FromJson(bad), std::exception);
  EXPECT_THROW(FromJson(Json::array()), std::exception);
  for (const Json& number : {Json(4e119), Json(1.5), Json(-1), Json("1")}) {
    bad = good;
    bad["number"] = number;
    EXPECT_THROW(FromJson(bad), std::exception) << number;
  }
}

constexpr auto kJson = cli::report::Format::kJson;

TEST(JsonReport, OfARunIsReadBack) {
  const std::vector<DeviceReport> devices = SampleReports();
  const ReadReport report =
      ReportFromJson(Json::parse(Written(kJson, devices)));
  ASSERT_EQ(report.devices.size(), devices.size());
  for (std::size_t i = 0; i < devices.size(); ++i) {
    ExpectEqual(report.devices[i], devices[i]);
  }
  EXPECT_EQ(report.run.summary.devices(), 8U);
  EXPECT_EQ(report.run.summary.Of(cli::kAccepted), 2U);
  EXPECT_EQ(report.run.summary.Of(cli::kRefused), 4U);
  EXPECT_EQ(report.run.summary.Of(cli::kBadInput), 1U);
  EXPECT_EQ(report.run.summary.Of(cli::kPluginFailed), 1U);
  EXPECT_EQ(report.run.summary.worst_status(), cli::kPluginFailed);
  EXPECT_FALSE(report.run.shard.has_value());
}

TEST(JsonReport, OfAnEmptyShardIsReadBack) {
  cli::report::Run run;
  run.shard = Shard{3, 4};
  run.list_size = 2;
  const ReadReport report =
      ReportFromJson(Json::parse(Written(kJson, {}, run)));
  EXPECT_TRUE(report.devices.empty());
  ASSERT_TRUE(report.run.shard.has_value());
  EXPECT_EQ(report.run.shard->number, 3U);
  EXPECT_EQ(report.run.shard->of, 4U);
  EXPECT_EQ(report.run.list_size, 2U);
}

TEST(JsonReport, HasOneLineForEachDevice) {
  const std::string text = Written(kJson, SampleReports());
  EXPECT_NE(text.find("\"devices\": [\n{\"candidate\":\"a.xml\","),
            std::string::npos);
  EXPECT_NE(text.find("},\n{\"number\":7,\"candidate\":\"b.xml\","),
            std::string::npos);
}

}  // namespace

}  // namespace ipav::testing
