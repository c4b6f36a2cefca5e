#include "cli/lsp/open_document.h"

#include <fmt/core.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <string_view>
#include <utility>

#include "cli/lsp/uri.h"
#include "cli/report/json/json.h"

namespace ipav::cli::lsp {

namespace {

using report::DeviceReport;

// None if ipav could not make one.
std::optional<DeviceReport> ReportIn(const session::Answer& answer) {
  try {
    report::ReadReport report =
        report::ReportFromJson(Json::parse(answer.output));
    return std::move(report.devices.at(0));
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

// The part of a text that changes into another one; `after` becomes what is
// written there.
Span FindDifference(std::string_view before, std::string_view* after) {
  const auto [from, to] =
      std::mismatch(before.begin(), before.end(), after->begin(), after->end());
  const auto begin = static_cast<std::size_t>(from - before.begin());
  after->remove_prefix(begin);
  const std::string_view rest = before.substr(begin);
  const auto [last, ignored] =
      std::mismatch(rest.rbegin(), rest.rend(), after->rbegin(), after->rend());
  const auto same = static_cast<std::size_t>(last - rest.rbegin());
  after->remove_suffix(same);
  return {begin, before.size() - same};
}

std::string Counted(std::size_t count, const std::string& what) {
  return fmt::format("{} {}{}", count == 0 ? "no" : std::to_string(count), what,
                     count == 1 ? "" : "s");
}

Json EditOf(const messages::TextEdit& edit, const Document& document) {
  const Span span{document.OffsetOfPlace(edit.line, edit.column),
                  document.OffsetOfPlace(edit.end_line, edit.end_column)};
  return {{"range", ToJson(document.RangeOf(span))}, {"newText", edit.text}};
}

}  // namespace

OpenDocument::OpenDocument(const std::string& uri, Version version,
                           std::string text, std::size_t max_text,
                           std::string messages)
    : document_(""),
      judged_{document_, uri, PathOf(uri).value_or(uri), std::move(messages)},
      max_text_(max_text) {
  Change(version, {{std::nullopt, std::move(text)}});
}

// ---- The text ---------------------------------------------------------------

void OpenDocument::Change(Version version,
                          const std::vector<ContentChange>& changes) {
  version_ = version;
  for (const ContentChange& change : changes) Apply(change);
  Forget();
  is_judged_ = is_lost_;
}

void OpenDocument::Apply(const ContentChange& change) {
  // A part of a text that is not known changes nothing.
  if (is_lost_ && change.range) return;
  const std::string& before = document_.text();
  std::string_view text = change.text;
  const Span span = change.range ? document_.SpanOf(*change.range)
                                 : FindDifference(before, &text);
  const std::size_t rest = before.size() - (span.end - span.begin);
  if (rest + text.size() > max_text_) {
    // Not kept: the client would send each edit of it.
    return Lose(fmt::format("larger than {} MiB", max_text_ >> 20));
  }
  is_lost_ = false;
  // Problems move with the text, and go with that of their nodes.
  const auto left = std::remove_if(
      problems_.begin(), problems_.end(),
      [&](Problem& problem) { return !Move(span, text.size(), &problem); });
  problems_.erase(left, problems_.end());
  if (end_ && !Move(span, text.size(), &*end_)) end_.reset();
  document_.Replace(span, text);
}

void OpenDocument::Lose(const std::string& reason) {
  document_.Replace({0, document_.text().size()}, "");
  problems_ = {ProblemOfAll(document_, "not judged: " + reason)};
  end_.reset();
  Forget();
  is_judged_ = is_lost_ = true;
}

void OpenDocument::Forget() {
  is_judged_ = false;
  report_.reset();
  fixes_.reset();
  has_changes_ = false;
  changes_.reset();
}

// ---- What is known of it ----------------------------------------------------

void OpenDocument::TakeVerdict(const session::Answer& answer) {
  is_judged_ = true;
  report_ = ReportIn(answer);
  end_.reset();
  if (!report_) {
    problems_ = {ProblemOfAll(document_, "no verdict: " + answer.errors)};
    return;
  }
  if (report_->status == kBadInput) end_ = FindEnd(judged_);
  if (!end_) problems_ = ProblemsOf(*report_, judged_);
}

void OpenDocument::TakeFixes(const session::Answer& answer) {
  fixes_ = ReportIn(answer).value_or(DeviceReport());
}

void OpenDocument::TakeChanges(const session::Answer& answer) {
  has_changes_ = true;
  const Json json = Json::parse(answer.output, nullptr, false);
  if (json.is_object() && json.contains("changes")) {
    changes_ = json.at("changes").size();
  }
}

bool OpenDocument::has_verdict() const {
  return report_ && report_->status != kBadInput;
}

// ---- For the client ---------------------------------------------------------

bool OpenDocument::IsIn(const Problem& problem, const Range& range) const {
  const auto is_in = [&](const Span& span) {
    return HaveCommonLine(document_.RangeOf(span), range);
  };
  return is_in(problem.span) ||
         std::any_of(problem.related.begin(), problem.related.end(),
                     [&](const RelatedNode& node) {
                       return node.here && is_in(*node.here);
                     });
}

bool OpenDocument::HasRefusalIn(const Range& range) const {
  return std::any_of(problems_.begin(), problems_.end(),
                     [&](const Problem& problem) {
                       return problem.finding > 0 && IsIn(problem, range);
                     });
}

Json OpenDocument::Diagnostics() const {
  Json diagnostics = Json::array();
  for (const Problem& problem : problems_) {
    // What is behind the end of a half typed text may be something else now.
    if (end_ && problem.span.begin >= end_->span.begin) continue;
    diagnostics.push_back(DiagnosticOf(problem, judged_));
  }
  if (end_) diagnostics.push_back(DiagnosticOf(*end_, judged_));
  Json params = {{"uri", uri()}, {"diagnostics", std::move(diagnostics)}};
  if (version_) params["version"] = *version_;
  return params;
}

Json OpenDocument::ActionOf(const messages::Fix& fix,
                            const Problem& problem) const {
  const Json document = {{"uri", uri()},
                         {"version", version_ ? Json(*version_) : Json()}};
  const Json edits = report::ArrayOf(
      fix.edits,
      [&](const messages::TextEdit& edit) { return EditOf(edit, document_); });
  const Json change = {{"textDocument", document}, {"edits", edits}};
  return {{"title", fmt::format("{} ({})", fix.text,
                                fix.is_safe ? "safe" : "suggested")},
          {"kind", "quickfix"},
          {"isPreferred", fix.is_safe},
          {"diagnostics", Json::array({DiagnosticOf(problem, judged_)})},
          {"edit", {{"documentChanges", Json::array({change})}}}};
}

Json OpenDocument::ActionsIn(const Range& range) const {
  Json actions = Json::array();
  if (!fixes_) return actions;
  for (const Problem& problem : ProblemsOf(*fixes_, judged_)) {
    if (problem.finding == 0 || !IsIn(problem, range)) continue;
    const auto& fixes = fixes_->findings[problem.finding - 1].fixes;
    if (!fixes) continue;
    for (const messages::Fix& fix : *fixes) {
      actions.push_back(ActionOf(fix, problem));
    }
  }
  return actions;
}

std::string OpenDocument::VerdictInWords() const {
  const commit::Outcome& outcome = report_->outcome;
  // Equal ones are shown once.
  const std::vector<Problem> problems = ProblemsOf(*report_, judged_);
  const auto count = static_cast<std::size_t>(std::count_if(
      problems.begin(), problems.end(),
      [](const Problem& each) { return each.severity == Severity::kError; }));
  switch (report_->status) {
    case kAccepted:
      return fmt::format("accepted ({} of {} validation calls)",
                         outcome.answers.size(), outcome.planned);
    case kRefused:
      return "refused: " + Counted(count, "finding");
    case kBadInput:
      return "not judged: " + Counted(count, "error");
    case kPluginFailed:
      break;
  }
  return "not judged: the plug-in failed";
}

std::string OpenDocument::ChangesInWords() const {
  if (is_running_) return "this is the running configuration";
  if (running_.empty()) return "no running configuration";
  return Counted(*changes_, "change") + " against " +
         std::filesystem::path(running_).filename().string();
}

Json OpenDocument::Lenses() const {
  Json lenses = Json::array();
  if (!report_) return lenses;
  const auto add = [&](const std::string& title) {
    const Json command = {{"title", title},
                          {"command", kCheckCommand},
                          {"arguments", Json::array({uri()})}};
    lenses.push_back(Json{{"range", ToJson(Range())}, {"command", command}});
  };
  add(VerdictInWords());
  if (running_.empty() || changes_) add(ChangesInWords());
  return lenses;
}

}  // namespace ipav::cli::lsp
