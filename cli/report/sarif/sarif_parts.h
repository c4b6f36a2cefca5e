// Objects of SARIF that do not depend on the run.
#ifndef IPAV_CLI_REPORT_SARIF_SARIF_PARTS_H_
#define IPAV_CLI_REPORT_SARIF_SARIF_PARTS_H_

#include <string>
#include <vector>

#include "cli/report/json/json_text.h"
#include "messages/finding.h"

namespace ipav::cli::report {

// A message's braces are placeholders unless doubled, and "[a](b)" is a link
// unless its brackets are escaped (SARIF 2.1.0, sections 3.11.5 and 3.11.6).
Json Message(const std::string& text);

// An artifactLocation.
Json Artifact(const std::string& file);

// Each fix has one change of that file.
Json Fixes(const std::vector<messages::Fix>& fixes, const std::string& file);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_SARIF_SARIF_PARTS_H_
