// A finding in words, for formats that have no members for its parts.
#ifndef IPAV_CLI_REPORT_FINDING_TEXT_H_
#define IPAV_CLI_REPORT_FINDING_TEXT_H_

#include <string>

#include "host/findings/finding.h"

namespace ipav::cli::report {

// "added", "changed", "removed", "unchanged".
const char* WordOf(findings::Novelty novelty);

// The operator's text, or words for a refusal without one.
std::string TextOf(const findings::Finding& finding);

// "FILE:LINE:COLUMN: address /config/... 10.0.0.1/24 (added)"
std::string InWords(const findings::Culprit& culprit);

// Heading in the list of messages, empty for a text that is not in it.
std::string LinkOf(const findings::Finding& finding);

// All of it, in lines.
std::string InWords(const findings::Finding& finding);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_FINDING_TEXT_H_
