// The content of a report on a device besides its findings. It is made from
// both configurations, but keeps neither.
#ifndef IPAV_CLI_REPORT_HTML_DEVICE_VIEW_H_
#define IPAV_CLI_REPORT_HTML_DEVICE_VIEW_H_

#include <vector>

#include "host/view/address_plan.h"
#include "host/view/change_list.h"

namespace ipav::cli::report {

struct DeviceView {
  std::vector<view::ChangeLine> changes;
  view::AddressPlan plan;
};

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_HTML_DEVICE_VIEW_H_
