#include "cli/report/html/device_html.h"

#include <confd_lib.h>

#include <algorithm>
#include <cctype>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/report/finding_text.h"
#include "cli/report/html/plan_html.h"
#include "cli/report/restart_findings.h"
#include "host/base/utf8.h"

namespace ipav::cli::report {

namespace {

using commit::Answer;
using datastore::Novelty;
using messages::Culprit;
using messages::Finding;
using messages::Place;
using view::ChangeLine;

// A longer list of changes is closed.
constexpr std::size_t kShownChanges = 25;

// Characters of a source line that are shown on either side of the mark: a
// configuration may be one line.
constexpr std::size_t kCharactersAround = 80;

// The class of a node's state.
const char* ClassOf(Novelty novelty) {
  if (novelty == Novelty::kRemoved) return " removed";
  return novelty == Novelty::kUnchanged ? "" : " new";
}

Html Badge(Novelty novelty) {
  return Html().Markup("<span class=\"badge{}\">{}</span>", ClassOf(novelty),
                       WordOf(novelty));
}

void AddRow(const char* name, const std::string& value, Html* html) {
  if (value.empty()) return;
  html->Markup("<dt>{}</dt><dd>{}</dd>\n", name, value);
}

void AddCodeRow(const char* name, const std::string& value, Html* html) {
  if (value.empty()) return;
  html->Markup("<dt>{}</dt><dd><code>{}</code></dd>\n", name,
               Html().Path(value));
}

void AddNote(const std::string& note, Html* html) {
  if (note.empty()) return;
  html->Markup("<p class=\"note\">{}</p>\n", note);
}

// --- Source lines

std::size_t CharactersOf(std::string_view text) {
  std::size_t characters = 0;
  for (; !text.empty(); ++characters) {
    text.remove_prefix(base::FirstCharacter(text).size);
  }
  return characters;
}

void AddSourceLine(const Place& place, Html* html) {
  const std::string_view line = place.source_line;
  const std::size_t column = std::max(place.column, place.skipped + 1);
  std::string_view before =
      base::FirstCharacters(line, column - 1 - place.skipped);
  const std::string_view rest = line.substr(before.size());
  const std::string_view marked = base::FirstCharacters(rest, place.length);
  const std::string_view after = rest.substr(marked.size());

  // The indentation is removed: it needs space in a narrow window, and the
  // column is shown anyway.
  before.remove_prefix(
      std::min(before.find_first_not_of(" \t"), before.size()));
  const std::size_t left = CharactersOf(before);
  if (left > kCharactersAround) {
    before.remove_prefix(
        base::FirstCharacters(before, left - kCharactersAround).size());
  }
  const bool cut = left > kCharactersAround || place.skipped > 0;
  const std::string_view shown =
      base::FirstCharacters(after, kCharactersAround);
  html->Markup(
      "<pre><span class=\"line\">{}</span><code>{}{}<mark>{}</mark>{}{}"
      "</code></pre>\n",
      place.line, cut ? "…" : "", before, marked, shown,
      shown.size() < after.size() ? "…" : "");
}

// --- Findings

void AddSide(const Culprit& culprit, Html* html) {
  html->Markup(R"(<li class="side"><p class="role"><strong>{}</strong> )",
               culprit.role.empty() ? "node" : culprit.role);
  if (!culprit.value.empty()) {
    html->Markup("<code class=\"value\">{}</code> ", culprit.value);
  }
  html->Markup("{}</p>\n<p class=\"path\"><code>{}</code></p>\n",
               Badge(culprit.novelty), Html().Path(culprit.path));
  if (culprit.place.has_value()) {
    const Place& place = *culprit.place;
    html->Markup("<p class=\"file\">{}:{}:{}</p>\n", place.file, place.line,
                 place.column);
    AddSourceLine(place, html);
  } else {
    html->Markup("<p class=\"file\">Not written in a file of its own.</p>\n");
  }
  html->Markup("</li>\n");
}

bool NamesAnAddress(const DeviceView* view, std::size_t finding) {
  if (view == nullptr) return false;
  for (const view::Space& space : view->plan.spaces) {
    for (const view::Prefix& prefix : space.prefixes) {
      if (std::find(prefix.findings.begin(), prefix.findings.end(), finding) !=
          prefix.findings.end()) {
        return true;
      }
    }
  }
  return false;
}

void AddFinding(const Finding& finding, const std::string& id, bool in_plan,
                Html* html) {
  html->Markup(
      R"(<article class="finding" id="{0}" aria-labelledby="{0}-text">
<h4 class="text" id="{0}-text">{1}</h4>
)",
      id, finding.text);
  if (!finding.culprits.empty()) {
    html->Markup("<ul class=\"sides\">\n");
    for (const Culprit& culprit : finding.culprits) AddSide(culprit, html);
    html->Markup("</ul>\n");
  }
  if (finding.is_standing) AddNote(kStanding, html);
  if (finding.is_behind) AddNote(kBehind, html);
  AddNote(finding.note, html);
  html->Markup("<dl>\n");
  AddRow("What to do", finding.advice, html);
  if (finding.fixes && finding.fixes->empty()) AddRow("Fix", kNoFix, html);
  for (const messages::Fix& fix :
       finding.fixes.value_or(std::vector<messages::Fix>())) {
    const std::string name =
        "Fix " + fix.id + (fix.is_safe ? " (safe)" : " (suggested)");
    AddRow(name.c_str(), fix.text, html);
  }
  AddRow("Rule", finding.title, html);
  AddCodeRow("Validation point", finding.point, html);
  AddCodeRow("Data path", finding.path, html);
  AddCodeRow("Read more", LinkOf(finding), html);
  html->Markup("</dl>\n");
  if (in_plan) {
    html->Markup("<p><a href=\"#{}-plan\">Show in the address plan</a></p>\n",
                 id);
  }
  html->Markup("</article>\n");
}

void AddFindings(const DeviceReport& device, const DeviceView* view,
                 const std::string& id, Html* html) {
  if (device.findings.empty()) return;
  html->Markup("<h3>Findings</h3>\n");
  for (std::size_t i = 0; i < device.findings.size(); ++i) {
    AddFinding(device.findings[i], id + "-f" + std::to_string(i + 1),
               NamesAnAddress(view, i), html);
  }
  AddNote(device.more_findings, html);
}

void AddRestart(const DeviceReport& device, const DeviceView* view,
                const std::string& id, Html* html) {
  std::size_t number = device.findings.size();
  std::optional<RestartState> listed;
  for (RestartFinding& each : RestartFindings(device)) {
    if (listed != each.state) {
      std::string heading = HeadingOf(each.state);
      heading.front() = static_cast<char>(std::toupper(heading.front()));
      html->Markup("<h3>{}</h3>\n", heading);
    }
    listed = each.state;
    if (each.is_of_change) {
      each.finding.culprits.clear();
      each.finding.note = "The change is refused for it, too: see above.";
    }
    if (each.is_of_change || each.state == RestartState::kHealed) {
      each.finding.advice.clear();
    }
    AddFinding(each.finding, id + "-f" + std::to_string(number + 1),
               NamesAnAddress(view, number), html);
    ++number;
  }
}

// --- What else was said

void AddRemarks(const DeviceReport& device, Html* html) {
  const commit::Outcome& outcome = device.outcome;
  Html items;
  for (const std::string& advice : device.advice) {
    items.Markup("<li>{}</li>\n", advice);
  }
  for (const Answer& answer : outcome.answers) {
    if (!Accepts(answer) || answer.result == CONFD_OK) continue;
    items.Markup("<li>{} <code>{}</code> <code>{}</code></li>\n",
                 answer.text.value_or("(without a text)"), answer.opaque,
                 Html().Path(answer.path));
  }
  for (const std::string& fault : outcome.faults) {
    items.Markup("<li>{}</li>\n", fault);
  }
  for (const std::string& what : outcome.left_open) {
    items.Markup("<li>The plug-in left {} open.</li>\n", what);
  }
  if (!outcome.output.empty()) {
    items.Markup("<li>The plug-in wrote: {}</li>\n", outcome.output);
  }
  if (items.size() == 0) return;
  html->Markup("<h3>Warnings</h3>\n<ul class=\"warnings\">\n{}</ul>\n", items);
}

void AddFailure(const commit::Outcome& outcome, Html* html) {
  html->Markup("<h3>Failure of the plug-in</h3>\n");
  const auto add = [&](const std::string& text, const std::string& point,
                       const std::string& path) {
    html->Markup("<p class=\"text\">{}</p>\n<dl>\n", text);
    AddCodeRow("Validation point", point, html);
    AddCodeRow("Data path", path, html);
    html->Markup("</dl>\n");
  };
  for (const Answer& answer : outcome.answers) {
    if (answer.exception) add(*answer.exception, answer.opaque, answer.path);
  }
  if (outcome.failure.empty()) return;
  add(outcome.failure, outcome.failed_point, outcome.failed_path);
}

// --- Changes

void AddChangeTable(const std::vector<ChangeLine>& changes, Html* html) {
  html->Markup(
      "<table class=\"changes\"><caption class=\"unseen\">Changes from the "
      "running configuration to the candidate</caption><thead><tr>"
      "<th scope=\"col\">Node</th><th scope=\"col\">Values, "
      "<del>running</del> and <ins>candidate</ins></th></tr></thead>\n<tbody>"
      "\n");
  for (const ChangeLine& change : changes) {
    html->Markup("<tr><th scope=\"row\">{} <code>{}</code></th><td>",
                 Badge(change.novelty), Html().Path(change.path));
    for (const std::string& value : change.before) {
      html->Markup("<del>{}</del>", value);
    }
    for (const std::string& value : change.after) {
      html->Markup("<ins>{}</ins>", value);
    }
    html->Markup("</td></tr>\n");
  }
  html->Markup("</tbody></table>\n");
}

void AddChanges(const DeviceReport& device,
                const std::vector<ChangeLine>& changes, Html* html) {
  html->Markup("<h3>What changed</h3>\n");
  if (changes.empty()) {
    html->Markup("<p>Nothing.</p>\n");
    return;
  }
  const bool is_first = device.running.empty();
  if (!is_first && changes.size() <= kShownChanges) {
    AddChangeTable(changes, html);
    return;
  }
  html->Markup("<details class=\"more\"><summary>{}{}</summary>\n",
               Count(changes.size(), "change", "changes"),
               is_first ? ", since nothing was configured" : "");
  AddChangeTable(changes, html);
  html->Markup("</details>\n");
}

// --- The device

void AddHead(const DeviceReport& device, const std::string& id, Html* html) {
  html->Markup("<h2 id=\"{}-name\">", id);
  AddVerdict(device.status, kPageVerdicts, html);
  html->Markup(" {}</h2>\n<p class=\"facts\">", device.candidate);
  if (device.running.empty()) {
    html->Markup("Judged as a first configuration.");
  } else {
    html->Markup("Judged against <code>{}</code>.", device.running);
  }
  if (device.status != kBadInput) {
    html->Markup(" {} of {} validation calls made{}.",
                 device.outcome.answers.size(), device.outcome.planned,
                 RestartCalls(device));
  }
  html->Markup("</p>\n");
}

}  // namespace

void AddVerdict(ExitStatus status, const PageVerdicts& words, Html* html) {
  html->Markup("<span class=\"verdict {}\">{}</span>",
               status > kRefused ? "failed" : kPageVerdicts.at(status),
               words.at(status));
}

void AddRefusal(const DeviceReport& device, const DeviceView* view,
                const std::string& id, Html* html) {
  if (device.status == kBadInput) {
    for (const std::string& error : device.input_errors) {
      html->Markup("<p class=\"text\">{}</p>\n", error);
    }
  }
  if (device.status == kPluginFailed) AddFailure(device.outcome, html);
  AddFindings(device, view, id, html);
  AddRestart(device, view, id, html);
}

Html DeviceSection(const DeviceReport& device, const DeviceView* view) {
  const std::string id = "d" + std::to_string(device.number);
  Html html;
  html.Markup(
      "<section class=\"device\" id=\"{0}\" aria-labelledby=\"{0}-name\">\n",
      id);
  AddHead(device, id, &html);
  AddRefusal(device, view, id, &html);
  AddRemarks(device, &html);
  if (view != nullptr) {
    AddChanges(device, view->changes, &html);
    html.Markup("<h3>Address plan</h3>\n");
    AddPlan(view->plan, id, &html);
  }
  html.Markup("</section>\n");
  return html;
}

}  // namespace ipav::cli::report
