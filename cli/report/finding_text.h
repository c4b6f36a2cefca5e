// A finding as text, for report formats that have no fields for its parts.
#ifndef IPAV_CLI_REPORT_FINDING_TEXT_H_
#define IPAV_CLI_REPORT_FINDING_TEXT_H_

#include <array>
#include <cstddef>
#include <string>

#include "messages/finding.h"

namespace ipav::cli::report {

// Indexed by datastore::Novelty.
inline constexpr std::array<const char*, 4> kNovelties = {"unchanged", "added",
                                                          "changed", "removed"};
inline const char* WordOf(datastore::Novelty novelty) {
  return kNovelties.at(static_cast<std::size_t>(novelty));
}

// What is said of a finding that the commit did not cause.
inline constexpr char kStanding[] =
    "not caused by this change: the fault was there before";

// What is said of a finding that the commit does not report yet.
inline constexpr char kBehind[] =
    "behind another finding of this point: a commit reports it once that one "
    "is "
    "corrected";

// What is said of a finding without a way out.
inline constexpr char kNoFix[] = "no fix that can be guessed";

// "fix F1.2 (suggested): set ..."
std::string InWords(const messages::Fix& fix);

// The operator's text, or a text for a refusal without one.
std::string TextOf(const messages::Finding& finding);

// "FILE:LINE:COLUMN: address /config/... 10.0.0.1/24 (added)"
std::string InWords(const messages::Culprit& culprit);

// Identifier of the rule; for an unknown text, the validation point.
const std::string& RuleIdOf(const messages::Finding& finding);

// Heading in docs/messages.md; empty for a text that is not in it.
std::string LinkOf(const messages::Finding& finding);

// The whole finding, in lines.
std::string InWords(const messages::Finding& finding);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_FINDING_TEXT_H_
