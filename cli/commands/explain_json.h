// Topics of ipav explain in JSON.
#ifndef IPAV_CLI_COMMANDS_EXPLAIN_JSON_H_
#define IPAV_CLI_COMMANDS_EXPLAIN_JSON_H_

#include <nlohmann/json.hpp>
#include <string>

#include "cli/locations.h"

namespace ipav::cli {

// A validation point, a rule, or a text with its rule and its readings; null
// for an unknown topic.
nlohmann::ordered_json ExplainAsJson(const Locations& locations,
                                     const std::string& topic);

}  // namespace ipav::cli

#endif  // IPAV_CLI_COMMANDS_EXPLAIN_JSON_H_
