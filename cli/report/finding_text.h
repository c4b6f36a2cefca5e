// A finding as text, for formats that have no members for its parts.
#ifndef IPAV_CLI_REPORT_FINDING_TEXT_H_
#define IPAV_CLI_REPORT_FINDING_TEXT_H_

#include <string>

#include "messages/finding.h"

namespace ipav::cli::report {

// "added", "changed", "removed", "unchanged".
const char* WordOf(datastore::Novelty novelty);

// The operator's text, or a text for a refusal without one.
std::string TextOf(const messages::Finding& finding);

// "FILE:LINE:COLUMN: address /config/... 10.0.0.1/24 (added)"
std::string InWords(const messages::Culprit& culprit);

// Heading in docs/messages.md; empty for a text that is not in it.
std::string LinkOf(const messages::Finding& finding);

// The whole finding, in lines.
std::string InWords(const messages::Finding& finding);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_FINDING_TEXT_H_
