#include "cli/report/sarif/sarif_parts.h"

#include <fmt/core.h>
#include <libxml/uri.h>

#include <new>
#include <utility>

#include "cli/report/finding_text.h"
#include "host/base/c_ptr.h"
#include "host/base/utf8.h"

namespace ipav::cli::report {

namespace {

// xmlFree is a macro or a variable.
void FreeXmlText(xmlChar* text) { xmlFree(text); }

// A file name as a URI reference: relative names stay relative.
std::string UriOf(const std::string& file) {
  const base::CPtr<xmlChar, FreeXmlText> escaped(
      xmlURIEscapeStr(reinterpret_cast<const xmlChar*>(file.c_str()),
                      reinterpret_cast<const xmlChar*>("/")));
  if (escaped == nullptr) throw std::bad_alloc();
  const std::string uri = reinterpret_cast<const char*>(escaped.get());
  return uri.rfind('/', 0) == 0 ? "file://" + uri : uri;
}

Json FixToSarif(const messages::Fix& fix, const std::string& file) {
  Json replacements = Json::array();
  for (const messages::TextEdit& edit : fix.edits) {
    Json replacement = {{"deletedRegion",
                         {{"startLine", edit.line},
                          {"startColumn", edit.column},
                          {"endLine", edit.end_line},
                          {"endColumn", edit.end_column}}}};
    if (!edit.text.empty()) {
      replacement["insertedContent"] = {{"text", base::ToUtf8(edit.text)}};
    }
    replacements.push_back(std::move(replacement));
  }
  const Json change = {{"artifactLocation", Artifact(file)},
                       {"replacements", replacements}};
  return {{"description", Message(InWords(fix))},
          {"artifactChanges", Json::array({change})}};
}

}  // namespace

Json Message(const std::string& text) {
  const std::string readable = base::ToUtf8(text);
  const bool has_links = readable.find("](") != std::string::npos;
  std::string escaped;
  for (const char c : readable) {
    if (c == '{' || c == '}') escaped += c;
    if (has_links && (c == '[' || c == ']')) escaped += '\\';
    escaped += c;
  }
  return {{"text", escaped}};
}

Json Artifact(const std::string& file) { return {{"uri", UriOf(file)}}; }

Json Fixes(const std::vector<messages::Fix>& fixes, const std::string& file) {
  return ArrayOf(
      fixes, [&](const messages::Fix& fix) { return FixToSarif(fix, file); });
}

}  // namespace ipav::cli::report
