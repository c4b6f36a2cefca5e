// ipav explain: what a validation point tests, or what a text means, from
// docs/messages.md and the data model.
#ifndef IPAV_CLI_COMMANDS_EXPLAIN_H_
#define IPAV_CLI_COMMANDS_EXPLAIN_H_

#include <string>
#include <vector>

#include "cli/exit_status.h"
#include "cli/locations.h"

namespace ipav::cli {

struct ExplainOptions {
  // Names of points, rules, texts; "-": texts from standard input. None: the
  // list of points and rules.
  std::vector<std::string> topics;
};

// kBadInput where a topic is unknown; the others are explained all the same.
// Throws datastore::InputError.
ExitStatus Explain(const Locations& locations, const ExplainOptions& options);

// The names of all points and rules. Throws datastore::InputError.
std::vector<std::string> TopicNames(const Locations& locations);

}  // namespace ipav::cli

#endif  // IPAV_CLI_COMMANDS_EXPLAIN_H_
