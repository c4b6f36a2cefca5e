#include "cli/lsp/features.h"

#include "cli/lsp/features/completion.h"
#include "cli/lsp/features/hover.h"
#include "cli/lsp/features/names.h"
#include "cli/lsp/features/symbols.h"
#include "host/base/bytes.h"
#include "messages/catalogue.h"

namespace ipav::cli::lsp {

namespace {

using features::Outline;

// ---- What the requests have in common --------------------------------------

// The format by the first character, or of an empty text by its name.
features::Format FormatOf(const OpenDocument& document) {
  const std::string& text = document.document().text();
  const std::size_t start = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
  const bool is_json = start == std::string::npos
                           ? base::EndsWith(document.uri(), ".json")
                           : text[start] == '{';
  return is_json ? features::Format::kJson : features::Format::kXml;
}

Outline OutlineOf(const Query& query) {
  return {query.document.document().text(), FormatOf(query.document),
          query.model};
}

std::size_t OffsetOf(const Query& query) {
  return query.document.document().OffsetOf(
      PositionOf(query.params.at("position")));
}

Json RangeOf(const Query& query, const Span& span) {
  return ToJson(query.document.document().RangeOf(span));
}

// {"range": ...} of each span.
Json RangesOf(const Query& query, const std::vector<Span>& spans) {
  return report::ArrayOf(spans, [&](const Span& span) {
    return Json{{"range", RangeOf(query, span)}};
  });
}

Json LocationsOf(const Query& query, const std::vector<Span>& spans) {
  Json locations = RangesOf(query, spans);
  for (Json& location : locations) location["uri"] = query.document.uri();
  return locations;
}

Json Markdown(const std::string& text) {
  return {{"kind", "markdown"}, {"value", text}};
}

// ---- Hover -----------------------------------------------------------------

// What is known of the messages that are shown in that line, each once.
std::string ExplanationsIn(const Query& query, std::size_t line) {
  const Json published = query.document.Diagnostics();
  std::string text;
  for (const Json& shown : published.at("diagnostics")) {
    const Range range = lsp::RangeOf(shown.at("range"));
    const auto* message = messages::FindMessage(shown.value("code", ""));
    if (message == nullptr || !HaveCommonLine(range, {{line}, {line}})) {
      continue;
    }
    const std::string explanation = features::Explanation(*message);
    if (text.find(explanation) != std::string::npos) continue;
    text += explanation + "\n\n---\n\n";
  }
  return text;
}

Json Hover(const Query& query) {
  const std::size_t offset = OffsetOf(query);
  const std::string explanations =
      ExplanationsIn(query, NumberOf(query.params.at("position").at("line")));
  const auto hover = features::HoverAt(OutlineOf(query), offset);
  if (!hover && explanations.empty()) return nullptr;
  Json result = {
      {"contents", Markdown(explanations + (hover ? hover->markdown : ""))}};
  if (hover) result["range"] = RangeOf(query, hover->span);
  return result;
}

// ---- Completion ------------------------------------------------------------

Json ItemOf(const Query& query, const features::Completion& completion,
            const Span& replaced, std::optional<std::size_t> comma) {
  // Two edits may not be at one place.
  const bool is_separate = comma && *comma < replaced.begin;
  const std::string text = (comma && !is_separate ? "," : "") + completion.text;
  Json item = {
      {"label", completion.label},
      {"kind", static_cast<int>(completion.kind)},
      {"filterText", completion.typed},
      {"insertTextFormat", query.client.has_snippets ? 2 : 1},
      {"insertTextMode", query.client.indents ? 2 : 1},
      {"textEdit", {{"range", RangeOf(query, replaced)}, {"newText", text}}}};
  if (!completion.detail.empty()) item["detail"] = completion.detail;
  if (!completion.markdown.empty()) {
    item["documentation"] = Markdown(completion.markdown);
  }
  if (is_separate) {
    const Json range = RangeOf(query, {*comma, *comma});
    item["additionalTextEdits"] =
        Json::array({{{"range", range}, {"newText", ","}}});
  }
  return item;
}

Json Complete(const Query& query) {
  const features::Completions completions =
      features::CompletionsAt(OutlineOf(query), OffsetOf(query), query.client);
  Json items = Json::array();
  for (const features::Completion& each : completions.items) {
    items.push_back(
        ItemOf(query, each, completions.replaced, completions.comma));
    // Editors sort by the alphabet: of equal length, so that 10 follows 9.
    std::string place = std::to_string(items.size());
    place.insert(0, 9 - std::min<std::size_t>(place.size(), 9), '0');
    items.back()["sortText"] = place;
  }
  return {{"isIncomplete", false}, {"items", std::move(items)}};
}

// ---- Names -----------------------------------------------------------------

Json Definition(const Query& query) {
  return LocationsOf(
      query, features::DefinitionsAt(OutlineOf(query), OffsetOf(query)));
}

Json References(const Query& query) {
  const bool with_definitions =
      query.params.at("context").at("includeDeclaration").get<bool>();
  return LocationsOf(query,
                     features::ReferencesAt(OutlineOf(query), OffsetOf(query),
                                            with_definitions));
}

Json Highlight(const Query& query) {
  return RangesOf(
      query, features::ReferencesAt(OutlineOf(query), OffsetOf(query), true));
}

Json PrepareRename(const Query& query) {
  const Span span = features::RenamedAt(OutlineOf(query), OffsetOf(query));
  return span.begin == span.end ? Json() : RangeOf(query, span);
}

Json Rename(const Query& query) {
  const auto name = query.params.at("newName").get<std::string>();
  const Json edits =
      report::ArrayOf(features::Rename(OutlineOf(query), OffsetOf(query), name),
                      [&](const source::Replacement& replacement) {
                        return Json{{"range", RangeOf(query, replacement.span)},
                                    {"newText", replacement.text}};
                      });
  return {{"changes", {{query.document.uri(), edits}}}};
}

// ---- Symbols ---------------------------------------------------------------

Json SymbolOf(const Query& query, const features::Symbol& symbol) {
  const bool is_group = symbol.kind == features::Symbol::Kind::kGroup;
  Json json = {{"name", symbol.name},
               {"kind", static_cast<int>(symbol.kind)},
               {"range", RangeOf(query, symbol.whole)},
               {"selectionRange", RangeOf(query, symbol.selection)}};
  if (!symbol.detail.empty()) json["detail"] = symbol.detail;
  if (!is_group) return json;
  json["children"] = report::ArrayOf(
      symbol.children,
      [&](const features::Symbol& child) { return SymbolOf(query, child); });
  return json;
}

Json Symbols(const Query& query) {
  return report::ArrayOf(
      features::SymbolsOf(OutlineOf(query)),
      [&](const features::Symbol& symbol) { return SymbolOf(query, symbol); });
}

}  // namespace

const std::vector<Feature>& Features() {
  static const Json kCompletion = {
      {"triggerCharacters", Json::array({"<", "/", "\"", ":"})}};
  static const Json kRename = {{"prepareProvider", true}};
  static const std::vector<Feature> features = {
      {"textDocument/hover", "hoverProvider", true, Hover},
      {"textDocument/completion", "completionProvider", kCompletion, Complete},
      {"textDocument/definition", "definitionProvider", true, Definition},
      {"textDocument/references", "referencesProvider", true, References},
      {"textDocument/documentHighlight", "documentHighlightProvider", true,
       Highlight},
      {"textDocument/documentSymbol", "documentSymbolProvider", true, Symbols},
      {"textDocument/prepareRename", "renameProvider", kRename, PrepareRename},
      {"textDocument/rename", "renameProvider", kRename, Rename},
  };
  return features;
}

}  // namespace ipav::cli::lsp
