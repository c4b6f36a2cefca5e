// The report as JSON, by the schema in docs/report.schema.json. It contains
// everything about a device, so that it can be read back.
#ifndef IPAV_CLI_REPORT_JSON_JSON_H_
#define IPAV_CLI_REPORT_JSON_JSON_H_

#include <cstdio>

#include "cli/report/device_report.h"
#include "cli/report/json/json_text.h"
#include "cli/report/run.h"
#include "cli/report/writer.h"

namespace ipav::cli::report {

// Only devices with times have them in the report.
Json ToJson(const DeviceReport& device);

// The run must be a shard.
Json ShardToJson(const Run& run);

// Throws std::exception for JSON that is not from ToJson().
DeviceReport FromJson(const Json& json);

// A report that was read back; only the listed devices.
struct ReadReport {
  Run run;
  std::vector<DeviceReport> devices;
};
ReadReport ReportFromJson(const Json& json);

// One line for each device.
class JsonWriter : public Writer {
 public:
  // Both are borrowed; the run is read at the end, its shard at the beginning.
  JsonWriter(std::FILE* out, const Run& run) : out_(out), run_(run) {}
  void Begin() override;
  void Add(const DeviceReport& device) override;
  void End() override;

 private:
  std::FILE* out_;
  const Run& run_;
  bool is_first_ = true;
};

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_JSON_JSON_H_
