// Texts of any bytes in JSON, which only allows UTF-8, and whole numbers.
#ifndef IPAV_CLI_REPORT_JSON_JSON_TEXT_H_
#define IPAV_CLI_REPORT_JSON_JSON_TEXT_H_

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace ipav::cli::report {

using Json = nlohmann::ordered_json;  // members in the order of the schema

// A text that is not UTF-8 also has its exact bytes, in a member with "Hex"
// appended to the name.
void PutText(Json* object, const std::string& name, const std::string& text);
void PutUnlessEmpty(Json* object, const std::string& name,
                    const std::string& text);

// An array, unless there are no lines. Each line is an object with a text, so
// that it may also have its bytes.
void PutLines(Json* object, const std::string& name,
              const std::vector<std::string>& lines);
// The lines of PutLines().
std::vector<std::string> LinesOf(const Json& object, const std::string& name);

// The results of `convert` for each of the values.
template <typename T, typename Convert>
Json ArrayOf(const std::vector<T>& values, const Convert& convert) {
  Json array = Json::array();
  for (const T& value : values) array.push_back(convert(value));
  return array;
}

// The results of `convert` for each entry of an array.
template <typename Convert>
auto VectorOf(const Json& array, const Convert& convert) {
  std::vector<decltype(convert(array))> values;
  for (const Json& entry : array) values.push_back(convert(entry));
  return values;
}

// The exact bytes. The first function throws std::exception if there are none.
std::string TextOf(const Json& object, const std::string& name);
std::string TextOrEmpty(const Json& object, const std::string& name);
std::optional<std::string> OptionalText(const Json& object,
                                        const std::string& name);

// Both throw std::exception if there is none, or another value; the second one
// also if it is negative.
std::int64_t IntegerOf(const Json& object, const std::string& name);
std::size_t NumberOf(const Json& object, const std::string& name);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_JSON_JSON_TEXT_H_
