#include "timing.h"

#include <fmt/core.h>

#include <chrono>
#include <cstdio>

namespace ipav::cli {

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

void PrintPoint(const std::string& file, const commit::PointTimes& point) {
  fmt::print(stderr,
             "timing: {}: {}: {} call{}, {} platform calls, {:.3f} ms\n", file,
             point.opaque, point.calls, point.calls == 1 ? "" : "s",
             point.platform_calls, Milliseconds(point.time).count());
}

}  // namespace

void PrintTime(const std::string& what, base::Duration time) {
  fmt::print(stderr, "timing: {}: {:.3f} ms\n", what,
             Milliseconds(time).count());
}

void PrintTimes(const std::string& file, const datastore::ReadingTimes& times) {
  PrintTime(file + ": text", times.text);
  PrintTime(file + ": parse", times.parse);
  PrintTime(file + ": YANG validation", times.validation);
}

void PrintTimes(const std::string& file, const commit::CommitTimes& times) {
  PrintTime(file + ": child process", times.child);
  PrintTime(file + ":   plug-in loaded", times.loading);
  PrintTime(file + ":   calls planned", times.planning);
  PrintTime(file + ":   points, with lib_init and lib_finish", times.points);
  for (const commit::PointTimes& point : times.of_points) {
    PrintPoint(file, point);
  }
}

}  // namespace ipav::cli
