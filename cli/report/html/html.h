// One page of all devices. It has no script, no external style, font or image,
// and its content security policy forbids all requests.
#ifndef IPAV_CLI_REPORT_HTML_HTML_H_
#define IPAV_CLI_REPORT_HTML_HTML_H_

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/report/device_report.h"
#include "cli/report/html/device_html.h"
#include "cli/report/html/html_text.h"
#include "cli/report/output_file.h"
#include "host/base/c_ptr.h"

namespace ipav::cli::report {

// The words of a page about one kind of report.
struct PageWords {
  const char* title;     // "Validation report"
  const char* device;    // "candidate"
  const char* devices;   // "candidates"
  const char* heading;   // "Candidate"
  const char* headings;  // "Candidates"
  const char* problem;   // "First finding"
  PageVerdicts verdicts;
};

extern const PageWords kCheckPage;

// A device on the page.
struct PageEntry {
  std::size_t number;
  std::string name;
  ExitStatus status;
  std::vector<std::string> problems;
  std::string section;
};

// What is wrong with the device, but not what the change heals.
std::vector<std::string> ProblemsOf(const DeviceReport& device);

// An entry without a section has no changes and no plan.
PageEntry EntryOf(const DeviceReport& device);

// The sections of the devices are collected in a file without a name, so that a
// fleet needs no more memory than one device. Only the line of each device in
// the list is kept in memory.
class HtmlWriter {
 public:
  // Opens the file of the page, as OutputFile does. Throws std::runtime_error
  // if it is already known that writing will fail.
  HtmlWriter(std::string file, const PageWords& words);

  void Add(const PageEntry& device);

  // Throws std::runtime_error if the page cannot be written.
  void End();

 private:
  Html Head() const;

  const PageWords& words_;
  OutputFile output_;
  base::CPtr<std::FILE, std::fclose> sections_;
  Html list_;  // rows
  std::size_t devices_ = 0;
  std::size_t by_status_[4] = {0, 0, 0, 0};
  std::string last_;  // device
};

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_HTML_HTML_H_
