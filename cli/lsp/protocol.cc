#include "cli/lsp/protocol.h"

namespace ipav::cli::lsp {

Version VersionOf(const Json& document) {
  const Json version = document.value("version", Json());
  if (!version.is_number_integer()) return std::nullopt;
  return version.get<std::int64_t>();
}

std::size_t NumberOf(const Json& json) {
  if (!json.is_number_unsigned()) {
    throw RequestError(kInvalidParams, "not an unsigned number");
  }
  return json.get<std::uint32_t>();
}

Position PositionOf(const Json& json) {
  return {NumberOf(json.at("line")), NumberOf(json.at("character"))};
}

Range RangeOf(const Json& json) {
  return {PositionOf(json.at("start")), PositionOf(json.at("end"))};
}

ContentChange ContentChangeOf(const Json& json) {
  ContentChange change;
  change.text = json.at("text").get<std::string>();
  if (json.contains("range")) change.range = RangeOf(json.at("range"));
  return change;
}

Json ToJson(const Position& position) {
  return {{"line", position.line}, {"character", position.character}};
}

Json ToJson(const Range& range) {
  return {{"start", ToJson(range.start)}, {"end", ToJson(range.end)}};
}

Json ToJson(const Location& location) {
  return {{"uri", location.uri}, {"range", ToJson(location.range)}};
}

}  // namespace ipav::cli::lsp
