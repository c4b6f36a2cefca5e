// What a report shows of a device beside its findings. It takes both
// configurations to make, and none to keep.
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
