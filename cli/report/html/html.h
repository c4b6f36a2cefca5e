// One page of all devices, which needs nothing but itself: no script, no style,
// font or image from elsewhere, and the browser is told to ask for none.
#ifndef IPAV_CLI_REPORT_HTML_HTML_H_
#define IPAV_CLI_REPORT_HTML_HTML_H_

#include <cstddef>
#include <cstdio>
#include <string>

#include "cli/report/device_report.h"
#include "cli/report/html/device_html.h"
#include "cli/report/html/device_view.h"
#include "cli/report/html/html_text.h"
#include "cli/report/output_file.h"
#include "cli/report/writer.h"
#include "host/base/c_ptr.h"

namespace ipav::cli::report {

// The devices wait in a file without a name, so that a fleet needs no more
// memory than one device; what is kept of each is its line in the list.
class HtmlWriter : public Writer {
 public:
  // Where the page goes, as of OutputFile. Throws std::runtime_error where it
  // can be seen now that this will fail.
  explicit HtmlWriter(std::string file);

  // Without what changed and without a plan.
  void Add(const DeviceReport& device) override;
  void Add(const DeviceReport& device, const DeviceView& view);
  // With a section that was made elsewhere, under a number that no other has.
  void AddSection(const DeviceReport& device, std::size_t number,
                  const std::string& section);

  // Throws std::runtime_error when the page cannot be written.
  void End() override;

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
