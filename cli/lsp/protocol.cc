#include "cli/lsp/protocol.h"

namespace ipav::cli::lsp {

namespace {

Json ToJson(const RelatedInformation& related) {
  return {{"location", lsp::ToJson(related.location)},
          {"message", related.message}};
}

Json ToJson(const TextEdit& edit) {
  return {{"range", lsp::ToJson(edit.range)}, {"newText", edit.new_text}};
}

}  // namespace

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

Json ToJson(const Version& version) {
  return version ? Json(*version) : Json();
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

Json ToJson(const Diagnostic& diagnostic) {
  Json json = {{"range", ToJson(diagnostic.range)},
               {"severity", static_cast<int>(diagnostic.severity)},
               {"source", "ipav"},
               {"message", diagnostic.message}};
  if (!diagnostic.code.empty()) json["code"] = diagnostic.code;
  if (!diagnostic.href.empty()) {
    json["codeDescription"] = {{"href", diagnostic.href}};
  }
  if (!diagnostic.related.empty()) {
    json["relatedInformation"] = report::ArrayOf(
        diagnostic.related,
        [](const RelatedInformation& related) { return ToJson(related); });
  }
  return json;
}

Json ToJson(const CodeAction& action) {
  const Json edits = report::ArrayOf(
      action.edits, [](const TextEdit& edit) { return ToJson(edit); });
  const Json document = {{"uri", action.uri},
                         {"version", ToJson(action.version)}};
  Json change = {{"textDocument", document}, {"edits", edits}};
  return {{"title", action.title},
          {"kind", "quickfix"},
          {"isPreferred", action.is_preferred},
          {"diagnostics", Json::array({ToJson(action.diagnostic)})},
          {"edit", {{"documentChanges", Json::array({std::move(change)})}}}};
}

Json ToJson(const CodeLens& lens) {
  return {{"range", ToJson(lens.range)},
          {"command",
           {{"title", lens.command.title},
            {"command", lens.command.command},
            {"arguments", lens.command.arguments}}}};
}

}  // namespace ipav::cli::lsp
