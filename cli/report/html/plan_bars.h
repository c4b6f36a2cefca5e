// Bars of the address plan: SVG, drawn to the scale of a block.
#ifndef IPAV_CLI_REPORT_HTML_PLAN_BARS_H_
#define IPAV_CLI_REPORT_HTML_PLAN_BARS_H_

#include <string>

#include "cli/report/html/html_text.h"
#include "cli/report/html/plan_layout.h"
#include "host/view/address_plan.h"

namespace ipav::cli::report {

// "new", "removed", "changed, was 10.0.0.1/24"; empty for an unchanged prefix.
std::string ChangeText(const view::Prefix& prefix);

// The interface, with its VRF if the space has two.
std::string OwnerOf(const view::Prefix& prefix);

// All prefixes of a block in one picture.
void AddStrip(const view::Space& space, const Block& block, Html* html);

// One prefix in the picture of a network.
void AddRowBar(const view::Prefix& prefix, const view::Network& network,
               Html* html);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_HTML_PLAN_BARS_H_
