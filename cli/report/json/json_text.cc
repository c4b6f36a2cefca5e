#include "cli/report/json/json_text.h"

#include <stdexcept>

#include "host/base/bytes.h"
#include "host/base/utf8.h"

namespace ipav::cli::report {

void PutText(Json* object, const std::string& name, const std::string& text) {
  const std::string readable = base::ToUtf8(text);
  (*object)[name] = readable;
  if (readable != text) (*object)[name + "Hex"] = base::ToHex(text);
}

void PutUnlessEmpty(Json* object, const std::string& name,
                    const std::string& text) {
  if (!text.empty()) PutText(object, name, text);
}

void PutLines(Json* object, const std::string& name,
              const std::vector<std::string>& lines) {
  if (lines.empty()) return;
  (*object)[name] = ArrayOf(lines, [](const std::string& line) {
    Json entry = Json::object();
    PutText(&entry, "text", line);
    return entry;
  });
}

std::string TextOf(const Json& object, const std::string& name) {
  const auto hex = object.find(name + "Hex");
  return hex != object.end() ? base::FromHex(hex->get<std::string>())
                             : object.at(name).get<std::string>();
}

std::string TextOrEmpty(const Json& object, const std::string& name) {
  return object.contains(name) ? TextOf(object, name) : "";
}

std::optional<std::string> OptionalText(const Json& object,
                                        const std::string& name) {
  if (!object.contains(name)) return std::nullopt;
  return TextOf(object, name);
}

std::vector<std::string> LinesOf(const Json& object, const std::string& name) {
  if (!object.contains(name)) return {};
  return VectorOf(object.at(name),
                  [](const Json& entry) { return TextOf(entry, "text"); });
}

std::int64_t IntegerOf(const Json& object, const std::string& name) {
  const Json& number = object.at(name);
  if (!number.is_number_integer()) {
    throw std::runtime_error(name + " is not a whole number");
  }
  return number.get<std::int64_t>();
}

std::size_t NumberOf(const Json& object, const std::string& name) {
  const std::int64_t number = IntegerOf(object, name);
  if (number < 0) throw std::runtime_error(name + " is negative");
  return static_cast<std::size_t>(number);
}

}  // namespace ipav::cli::report
