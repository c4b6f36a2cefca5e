#include "cli/report/json/json_times.h"

#include <chrono>
#include <cmath>
#include <ratio>

namespace ipav::cli::report {

namespace {

using base::Duration;
using commit::CommitTimes;
using commit::PointTimes;
using datastore::ReadingTimes;

double Seconds(Duration time) { return base::In<std::ratio<1>>(time); }

Duration DurationOf(const Json& json, const char* name) {
  const std::chrono::duration<double, Duration::period> time =
      std::chrono::duration<double>(json.at(name).get<double>());
  return Duration(std::llround(time.count()));
}

Json ToJson(const ReadingTimes& times) {
  return {{"text", Seconds(times.text)},
          {"parse", Seconds(times.parse)},
          {"validation", Seconds(times.validation)}};
}

ReadingTimes ReadingTimesOf(const Json& json) {
  return {DurationOf(json, "text"), DurationOf(json, "parse"),
          DurationOf(json, "validation")};
}

Json PointTimesToJson(const PointTimes& times) {
  Json json = Json::object();
  PutText(&json, "point", times.opaque);
  json["calls"] = times.calls;
  json["platformCalls"] = times.platform_calls;
  json["time"] = Seconds(times.time);
  return json;
}

PointTimes PointTimesOf(const Json& json) {
  return {TextOf(json, "point"), NumberOf(json, "calls"),
          NumberOf(json, "platformCalls"), DurationOf(json, "time")};
}

Json ToJson(const CommitTimes& times) {
  Json json = {{"child", Seconds(times.child)},
               {"loading", Seconds(times.loading)},
               {"planning", Seconds(times.planning)},
               {"points", Seconds(times.points)}};
  json["ofPoints"] = ArrayOf(times.of_points, PointTimesToJson);
  return json;
}

CommitTimes CommitTimesOf(const Json& json) {
  return {DurationOf(json, "child"), DurationOf(json, "loading"),
          DurationOf(json, "planning"), DurationOf(json, "points"),
          VectorOf(json.at("ofPoints"), PointTimesOf)};
}

}  // namespace

Json TimesToJson(const DeviceReport& device) {
  Json json = {{"candidate", ToJson(device.times->candidate)}};
  if (device.times->running) json["running"] = ToJson(*device.times->running);
  json["diff"] = Seconds(device.times->diff);
  json["commit"] = ToJson(device.outcome.times);
  if (device.restart) json["restart"] = Seconds(device.restart->time);
  return json;
}

void TimesFromJson(const Json& json, DeviceReport* device) {
  Times& times = device->times.emplace();
  times.candidate = ReadingTimesOf(json.at("candidate"));
  if (json.contains("running")) {
    times.running = ReadingTimesOf(json.at("running"));
  }
  times.diff = DurationOf(json, "diff");
  if (device->restart) device->restart->time = DurationOf(json, "restart");
  device->outcome.times = CommitTimesOf(json.at("commit"));
}

}  // namespace ipav::cli::report
