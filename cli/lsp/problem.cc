#include "cli/lsp/problem.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "cli/lsp/features/names.h"
#include "cli/lsp/uri.h"
#include "cli/report/finding_text.h"
#include "host/base/utf8.h"
#include "host/datastore/input_error.h"
#include "host/datastore/input_text.h"
#include "host/datastore/well_formed.h"

namespace ipav::cli::lsp {

namespace {

using messages::Culprit;
using messages::Finding;
using messages::Place;
using report::DeviceReport;

constexpr char kOspfv2Rows[] = "ospf-interface-l3";

// ---- Places -----------------------------------------------------------------

Span SpanOf(const Document& document, const Place& place) {
  return {document.OffsetOfPlace(place.line, place.column),
          document.OffsetOfPlace(place.line, place.column + place.length)};
}

// A position in a line of another file.
Position PositionIn(const Place& place, std::size_t column) {
  const std::size_t characters = column - std::min(column, place.skipped + 1);
  const std::string_view before =
      base::FirstCharacters(place.source_line, characters);
  const Position in_line = Document(before).PositionOf(before.size());
  return {place.line - 1, place.skipped + in_line.character};
}

Location LocationOf(const Place& place) {
  return {FileUri(std::filesystem::absolute(place.file)),
          {PositionIn(place, place.column),
           PositionIn(place, place.column + place.length)}};
}

// ---- Errors of the input ----------------------------------------------------

// Takes a number and the colon after it from the front of a text.
std::size_t TakeNumber(std::string_view* text) {
  std::size_t number = 0;
  const auto [rest, error] =
      std::from_chars(text->data(), text->data() + text->size(), number);
  const auto size = static_cast<std::size_t>(rest - text->data());
  if (error != std::errc() || size == text->size() || *rest != ':') return 0;
  text->remove_prefix(size + 1);
  return number;
}

// The error "FILE:LINE:COLUMN: reason"; also "FILE: reason" or of another file.
Problem ProblemOfInput(const std::string& error, const Judged& judged) {
  const Document& document = judged.document;
  if (error.rfind(judged.name + ":", 0) != 0) {
    return ProblemOfAll(document, error);
  }
  std::string_view rest = error;
  rest.remove_prefix(judged.name.size() + 1);
  const std::size_t line = TakeNumber(&rest);
  const std::size_t column = TakeNumber(&rest);
  rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
  Problem problem = ProblemOfAll(document, std::string(rest));
  if (line == 0) return problem;
  const std::size_t begin = document.OffsetOfPlace(line, column);
  // To the end of the word.
  const std::size_t end =
      document.text().find_first_of(" \t\r\n<>\"/=,", begin + 1);
  problem.span = {begin, std::min(end, document.text().size())};
  return problem;
}

// ---- Findings ---------------------------------------------------------------

RelatedNode RelatedNodeOf(const Culprit& culprit, const Judged& judged) {
  RelatedNode related;
  related.text = fmt::format("{}: {}{}{} ({})", culprit.role, culprit.path,
                             culprit.value.empty() ? "" : " ", culprit.value,
                             report::WordOf(culprit.novelty));
  related.is_altered = culprit.novelty != datastore::Novelty::kUnchanged;
  if (!culprit.place) return related;
  if (culprit.place->file == judged.name) {
    related.here = SpanOf(judged.document, *culprit.place);
  } else {
    related.elsewhere = LocationOf(*culprit.place);
    related.file = std::filesystem::path(culprit.place->file).filename();
  }
  return related;
}

Problem ProblemOf(const Finding& finding, const Judged& judged) {
  Problem problem = ProblemOfAll(judged.document, report::TextOf(finding));
  problem.code = report::RuleIdOf(finding);
  if (!finding.anchor.empty() && !judged.messages.empty()) {
    problem.href = judged.messages + "#" + finding.anchor;
  }
  // The first node of the document that the change alters is marked, else the
  // first one. The others are related.
  std::vector<RelatedNode>& nodes = problem.related;
  for (const Culprit& culprit : finding.culprits) {
    nodes.push_back(RelatedNodeOf(culprit, judged));
  }
  const auto rank = [](const RelatedNode& node) {
    return !node.here ? 2 : node.is_altered ? 0 : 1;
  };
  const auto marked = std::min_element(
      nodes.begin(), nodes.end(), [&](const auto& node, const auto& other) {
        return rank(node) < rank(other);
      });
  if (marked == nodes.end() || !marked->here) {
    problem.text += "\ndata path: " + finding.path;
  } else {
    problem.span = *marked->here;
    nodes.erase(marked);
  }
  if (!finding.note.empty()) problem.text += "\nnote: " + finding.note;
  return problem;
}

// Several points may report one fault.
bool IsSame(const Problem& a, const Problem& b) {
  return a.text == b.text && a.span.begin == b.span.begin;
}

void Add(Problem problem, std::vector<Problem>* problems) {
  const auto same = std::find_if(
      problems->begin(), problems->end(),
      [&](const Problem& other) { return IsSame(other, problem); });
  if (same == problems->end()) problems->push_back(std::move(problem));
}

// The value in `<name>value</name>` or `"name": "value"`; none if the name is
// that of another node, which has children.
std::optional<Span> ValueBehind(std::string_view text, const Span& name) {
  const char before = text[name.begin - 1];
  const char after = name.end < text.size() ? text[name.end] : '\0';
  if (before == '<' && after == '>') {
    const std::size_t end = text.find('<', name.end);
    if (end == std::string_view::npos || text.substr(end, 2) != "</") return {};
    return Span{name.end + 1, end};
  }
  if (before != '"' || after != '"') return {};
  const std::size_t quote = text.find_first_not_of(" \t\r\n:", name.end + 1);
  if (quote == std::string_view::npos || text[quote] != '"') return {};
  const std::size_t end = text.find('"', quote + 1);
  if (end == std::string_view::npos) return {};
  return Span{quote + 1, end};
}

// The first leaf of that name, with its value, that is not an IPv4 address.
std::optional<Span> FindNoAddress(std::string_view text,
                                  std::string_view name) {
  std::size_t at = text.find(kOspfv2Rows);
  while (at < text.size()) {
    at = text.find(name, at + 1);
    if (at == std::string_view::npos) break;
    const auto value = ValueBehind(text, {at, at + name.size()});
    if (!value) continue;
    const std::string written(
        text.substr(value->begin, value->end - value->begin));
    if (!features::IsDottedQuad(written)) return Span{at, value->end};
  }
  return std::nullopt;
}

// The rules read two leaves of OSPFv2 as addresses, and throw an exception at
// another text. The model does not check them, and the exception does not name
// them.
void PlaceException(const Document& document, Problem* problem) {
  for (const char* name : {"area", "address"}) {
    const std::optional<Span> span = FindNoAddress(document.text(), name);
    if (!span) continue;
    problem->span = *span;
    problem->text += std::string("\nnote: the ") + name + " of this row of " +
                     kOspfv2Rows + " is not an IPv4 address";
    return;
  }
}

void AddFailure(const DeviceReport& report, const Judged& judged,
                std::vector<Problem>* problems) {
  const commit::Outcome& outcome = report.outcome;
  Problem problem = ProblemOfAll(
      judged.document, "the plug-in failed: " + (outcome.failure.empty()
                                                     ? "it threw an exception"
                                                     : outcome.failure));
  std::set<std::string> exceptions;  // each with the first path only
  for (const commit::Answer& answer : outcome.answers) {
    if (!answer.exception || !exceptions.insert(*answer.exception).second) {
      continue;
    }
    problem.text += "\n" + *answer.exception + "\ndata path: " + answer.path;
  }
  if (!exceptions.empty()) PlaceException(judged.document, &problem);
  if (!outcome.failed_path.empty()) {
    problem.text += fmt::format("\nvalidation point: {}\ndata path: {}",
                                outcome.failed_point, outcome.failed_path);
  }
  Add(std::move(problem), problems);
}

}  // namespace

Problem ProblemOfAll(const Document& document, const std::string& text,
                     Severity severity) {
  Problem problem;
  problem.span = document.SpanOf({{0, 0}, {0, UINT32_MAX}});
  problem.severity = severity;
  problem.text = text;
  return problem;
}

std::vector<Problem> ProblemsOf(const DeviceReport& report,
                                const Judged& judged) {
  std::vector<Problem> problems;
  for (const std::string& error : report.input_errors) {
    Add(ProblemOfInput(error, judged), &problems);
  }
  for (std::size_t i = 0; i < report.findings.size(); ++i) {
    Problem problem = ProblemOf(report.findings[i], judged);
    problem.finding = i + 1;
    Add(std::move(problem), &problems);
  }
  if (report.status == kPluginFailed) AddFailure(report, judged, &problems);
  for (const std::string& advice : report.advice) {
    Add(ProblemOfAll(judged.document, advice, Severity::kInformation),
        &problems);
  }
  return problems;
}

std::optional<Problem> FindEnd(const Judged& judged) {
  try {
    const datastore::InputText text =
        datastore::CheckText(judged.name, judged.document.text());
    if (text.format == LYD_XML && !datastore::IsPlainXml(text.data())) {
      datastore::RequireWellFormed(text);
    }
    return std::nullopt;
  } catch (const datastore::InputError& error) {
    Problem problem = ProblemOfInput(error.errors().front(), judged);
    problem.text =
        "not judged, as the text cannot be read beyond this place: " +
        problem.text;
    return problem;
  }
}

bool Move(const Span& replaced, std::size_t size, Problem* problem) {
  std::vector<Span*> nodes = {&problem->span};
  for (RelatedNode& related : problem->related) {
    if (related.here) nodes.push_back(&*related.here);
  }
  return std::all_of(nodes.begin(), nodes.end(), [&](Span* node) {
    if (node->end < replaced.begin) return true;
    if (node->begin <= replaced.end) return false;
    for (std::size_t* end : {&node->begin, &node->end}) {
      *end = *end - replaced.end + replaced.begin + size;
    }
    return true;
  });
}

Json DiagnosticOf(const Problem& problem, const Judged& judged) {
  const Document& document = judged.document;
  std::string message = problem.text;
  Json nodes = Json::array();
  for (const RelatedNode& related : problem.related) {
    message += "\n" + related.text;
    std::optional<Location> location = related.elsewhere;
    if (related.here) {
      location = {judged.uri, document.RangeOf(*related.here)};
    }
    if (!location) continue;
    // For editors that do not show related information.
    message += fmt::format(", {}line {}",
                           related.file.empty() ? "" : related.file + " ",
                           location->range.start.line + 1);
    nodes.push_back(
        Json{{"location", ToJson(*location)}, {"message", related.text}});
  }
  Json json = {{"range", ToJson(document.RangeOf(problem.span))},
               {"severity", static_cast<int>(problem.severity)},
               {"source", "ipav"},
               {"message", message}};
  if (!problem.code.empty()) json["code"] = problem.code;
  if (!problem.href.empty()) json["codeDescription"] = {{"href", problem.href}};
  if (!nodes.empty()) json["relatedInformation"] = std::move(nodes);
  return json;
}

}  // namespace ipav::cli::lsp
