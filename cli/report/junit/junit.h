// The report as JUnit XML, which CI systems show as tests: a suite for each
// device, a case for each validation call that was made.
#ifndef IPAV_CLI_REPORT_JUNIT_JUNIT_H_
#define IPAV_CLI_REPORT_JUNIT_JUNIT_H_

#include <libxml/xmlwriter.h>

#include <cstdio>

#include "cli/report/writer.h"
#include "host/base/c_ptr.h"

namespace ipav::cli::report {

class JunitWriter : public Writer {
 public:
  explicit JunitWriter(std::FILE* out);  // borrowed
  void Begin() override;
  void Add(const DeviceReport& device) override;
  void End() override;

 private:
  base::CPtr<xmlTextWriter, xmlFreeTextWriter> xml_;
};

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_JUNIT_JUNIT_H_
