#include "cli/check/timing.h"

#include <fmt/core.h>

#include <cstdio>
#include <ratio>

#include "host/base/utf8.h"

namespace ipav::cli::check {

namespace {

void PrintTimes(const std::string& file, const datastore::ReadingTimes& times) {
  PrintTime(file + ": text", times.text);
  PrintTime(file + ": parse", times.parse);
  PrintTime(file + ": YANG validation", times.validation);
}

void PrintPoint(const std::string& file, const commit::PointTimes& point) {
  fmt::print(stderr,
             "timing: {}: {}: {} call{}, {} platform calls, {:.3f} ms\n",
             base::Printable(file), base::Printable(point.opaque), point.calls,
             point.calls == 1 ? "" : "s", point.platform_calls,
             base::In<std::milli>(point.time));
}

}  // namespace

void PrintTime(const std::string& what, base::Duration time) {
  fmt::print(stderr, "timing: {}: {:.3f} ms\n", base::Printable(what),
             base::In<std::milli>(time));
}

void PrintTimes(const report::DeviceReport& device) {
  const std::string& file = device.candidate;
  PrintTimes(file, device.times->candidate);
  PrintTime(file + ": diff", device.times->diff);
  if (device.times->running) PrintTimes(device.running, *device.times->running);
  const commit::CommitTimes& commit = device.outcome.times;
  PrintTime(file + ": child process", commit.child);
  PrintTime(file + ":   plug-in loaded", commit.loading);
  PrintTime(file + ":   calls planned", commit.planning);
  PrintTime(file + ":   points, with lib_init and lib_finish", commit.points);
  for (const commit::PointTimes& point : commit.of_points) {
    PrintPoint(file, point);
  }
  if (device.restart)
    PrintTime(file + ": after a restart", device.restart->time);
}

}  // namespace ipav::cli::check
