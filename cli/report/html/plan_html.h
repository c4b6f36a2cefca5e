// The address plan: blocks of addresses in their order, each drawn as a row of
// bars to scale that opens into a table with one row per prefix.
#ifndef IPAV_CLI_REPORT_HTML_PLAN_HTML_H_
#define IPAV_CLI_REPORT_HTML_PLAN_HTML_H_

#include <string>

#include "cli/report/html/html_text.h"
#include "host/view/address_plan.h"

namespace ipav::cli::report {

// `id` is the prefix of all identifiers of the device on the page. Those of its
// findings are `id` + "-f" + a number from 1. If a finding names an address,
// the row has the same identifier with "-plan" appended.
void AddPlan(const view::AddressPlan& plan, const std::string& id, Html* html);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_HTML_PLAN_HTML_H_
