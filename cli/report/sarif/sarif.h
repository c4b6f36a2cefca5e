// The report as SARIF 2.1.0, which code hosting sites show beside the lines of
// a change: a result for each refusal and each warning of a validation point.
#ifndef IPAV_CLI_REPORT_SARIF_SARIF_H_
#define IPAV_CLI_REPORT_SARIF_SARIF_H_

#include <cstddef>
#include <cstdio>
#include <map>
#include <string>

#include "cli/report/json/json.h"
#include "cli/report/run.h"
#include "cli/report/writer.h"

namespace ipav::cli::report {

class SarifWriter : public Writer {
 public:
  // Both are borrowed; the run is read at the end.
  SarifWriter(std::FILE* out, const Run& run) : out_(out), run_(run) {}
  void Begin() override;
  void Add(const DeviceReport& device) override;
  // Properties of the run come after the results, because they are not known
  // earlier.
  void End() override;

 private:
  void AddFindings(const DeviceReport& device);
  void AddWarnings(const DeviceReport& device);
  void AddResult(Json result, Json rule);
  void NotifyOfFailures(const DeviceReport& device);

  std::FILE* out_;
  const Run& run_;
  bool is_first_ = true;
  Json rules_ = Json::array();                // used by results
  std::map<std::string, std::size_t> index_;  // index of each in rules_
  Json notifications_ = Json::array();        // for devices without a verdict
};

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_SARIF_SARIF_H_
