// A format of reports. Each device is written when it is added, so that a fleet
// needs no more memory than one device.
#ifndef IPAV_CLI_REPORT_WRITER_H_
#define IPAV_CLI_REPORT_WRITER_H_

#include "cli/report/device_report.h"

namespace ipav::cli::report {

class Writer {
 public:
  virtual ~Writer() = default;
  virtual void Begin() {}
  virtual void Add(const DeviceReport& device) = 0;
  // Call it once, after the last device.
  virtual void End() {}
};

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_WRITER_H_
