// One page of all devices. It has no script, no external style, font or image,
// and its content security policy forbids all requests.
#ifndef IPAV_CLI_REPORT_HTML_HTML_H_
#define IPAV_CLI_REPORT_HTML_HTML_H_

#include <cstddef>
#include <cstdio>
#include <string>

#include "cli/report/device_report.h"
#include "cli/report/html/html_text.h"
#include "cli/report/output_file.h"
#include "host/base/c_ptr.h"

namespace ipav::cli::report {

// The sections of the devices are collected in a file without a name, so that a
// fleet needs no more memory than one device. Only the line of each device in
// the list is kept in memory.
class HtmlWriter {
 public:
  // Opens the file of the page, as OutputFile does. Throws std::runtime_error
  // if it is already known that writing will fail.
  explicit HtmlWriter(std::string file);

  // Adds a device with its section; one without has no changes and no plan.
  void Add(const DeviceReport& device);

  // Throws std::runtime_error if the page cannot be written.
  void End();

 private:
  Html Head() const;

  OutputFile output_;
  base::CPtr<std::FILE, std::fclose> sections_;
  Html list_;  // rows
  std::size_t devices_ = 0;
  std::size_t by_status_[4] = {0, 0, 0, 0};
  std::string last_;  // candidate
};

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_HTML_HTML_H_
