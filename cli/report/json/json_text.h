// Texts of any bytes in JSON, which has those of UTF-8 only.
#ifndef IPAV_CLI_REPORT_JSON_JSON_TEXT_H_
#define IPAV_CLI_REPORT_JSON_JSON_TEXT_H_

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace ipav::cli::report {

using Json = nlohmann::ordered_json;  // members in the order of the schema

// A text that is no UTF-8 has its exact bytes beside it, in a member of its own
// name and "Hex".
void PutText(Json* object, const std::string& name, const std::string& text);
void PutUnlessEmpty(Json* object, const std::string& name,
                    const std::string& text);

// The exact bytes. The first throws std::exception where there is none.
std::string TextOf(const Json& object, const std::string& name);
std::string TextOrEmpty(const Json& object, const std::string& name);
std::optional<std::string> OptionalText(const Json& object,
                                        const std::string& name);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_JSON_JSON_TEXT_H_
