#include "cli/plan/plan_page.h"

#include <algorithm>
#include <utility>

#include "cli/report/html/device_html.h"
#include "cli/report/html/html_text.h"

namespace ipav::cli::plan {

namespace {

using planner::Composer;
using planner::Constraint;
using report::Html;

// A longer list of changes is closed.
constexpr std::size_t kShownChanges = 25;

void AddHead(const std::string& id, const std::string& goal, ExitStatus status,
             Html* html) {
  html->Markup(R"(<section class="device" id=")").Text(id);
  html->Markup("\" aria-labelledby=\"").Text(id).Markup("-name\">\n<h2 id=\"");
  html->Text(id).Markup("-name\">");
  AddVerdict(status, kPlanPage.verdicts, html);
  html->Markup(" ").Text(goal).Markup("</h2>\n");
}

// The lines begin with the sign of the change.
void AddLines(const std::vector<std::string>& lines, Html* html) {
  const bool is_long = lines.size() > kShownChanges;
  if (is_long) {
    html->Markup("<details class=\"more\"><summary>");
    html->Text(report::Count(lines.size(), "change", "changes"));
    html->Markup("</summary>\n");
  }
  html->Markup("<ul class=\"lines\">\n");
  for (const std::string& line : lines) {
    html->Markup("<li class=\"");
    html->Text(line[0] == '+' ? "new" : line[0] == '-' ? "removed" : "kept");
    html->Markup("\"><code>").Path(line).Markup("</code></li>\n");
  }
  html->Markup("</ul>\n");
  if (is_long) html->Markup("</details>\n");
}

void AddList(const char* heading, const std::vector<std::size_t>& items,
             const Composer& composer, Html* html) {
  if (items.empty()) return;
  html->Markup("<h3>").Text(heading).Markup("</h3>\n");
  AddLines(LinesOf(items, composer), html);
}

// --- What is refused

void AddCores(const PlanReport& report, const Composer& composer,
              const std::string& id, Html* html) {
  std::size_t number = 0;
  for (const Core& core : report.cores) {
    const std::string core_id = id + "-r" + std::to_string(++number);
    html->Markup("<section class=\"core\">\n<h3>Refused in any order");
    html->Text(core.is_smallest ? "" : ", maybe not all of them needed for it");
    html->Markup("</h3>\n");
    AddLines(LinesOf(core.items, composer), html);
    html->Markup("<p class=\"facts\">Judged: ").Text(core.refusal.candidate);
    html->Markup(".</p>\n");
    AddRefusal(core.refusal, nullptr, core_id, html);
    html->Markup("</section>\n");
  }
  if (report.unexamined == 0) return;
  html->Markup("<p class=\"note\">").Text("And ");
  html->Text(Counted(report.unexamined, "change")).Text(", not examined.");
  html->Markup("</p>\n");
}

// --- The commits

// The brackets beside the commits: those in one column do not overlap.
class Columns {
 public:
  // The column, from 2, of a bracket from one commit to a later one.
  std::size_t Take(std::size_t from, std::size_t to) {
    auto free = std::find_if(ends_.begin(), ends_.end(),
                             [&](std::size_t end) { return end < from; });
    if (free == ends_.end()) free = ends_.insert(free, 0);
    *free = to;
    return static_cast<std::size_t>(free - ends_.begin()) + 2;
  }

 private:
  std::vector<std::size_t> ends_;
};

// A commit is in every second row of the grid; the reasons are between them.
std::size_t RowOf(std::size_t commit) { return 2 * commit - 1; }

void AddDetourNotes(const std::vector<Detour>& detours, std::size_t commit,
                    Html* html) {
  for (std::size_t i = 0; i < detours.size(); ++i) {
    const Detour& detour = detours[i];
    if (detour.away != commit && detour.back != commit) continue;
    html->Markup(R"(<p class="detour"><span class="badge removed">detour )");
    html->Number(i + 1).Markup("</span> ");
    html->Text(detour.away == commit ? "takes away " : "puts back ");
    html->Markup("<code>").Path(detour.path).Markup("</code>");
    if (detour.away == commit) {
      html->Markup(" until commit ").Number(detour.back);
      html->Markup("; until then ").Text(detour.effect);
    }
    html->Markup(".</p>\n");
  }
}

void AddConstraints(const PlanReport& report, std::size_t commit, Html* html) {
  Html items;
  for (const Constraint& constraint : report.constraints) {
    if (constraint.commit != commit) continue;
    items.Markup("<li>Commit ").Number(commit + 1);
    items.Text(constraint.is_of_order ? " is refused before commit "
                                      : " is refused together with commit ");
    items.Number(commit).Markup(":");
    for (const std::string& text : constraint.refusals) {
      items.Markup(" <span class=\"text\">").Text(text).Markup("</span>");
    }
    items.Markup("</li>\n");
  }
  if (items.size() == 0) return;
  html->Markup(R"(<ul class="between" style="grid-row: )");
  html->Number(RowOf(commit) + 1).Markup("\">\n").Add(items);
  html->Markup("</ul>\n");
}

void AddBrackets(const std::vector<Detour>& detours, Html* html) {
  Columns columns;
  for (std::size_t i = 0; i < detours.size(); ++i) {
    const Detour& detour = detours[i];
    html->Markup(R"(<div class="bracket" aria-hidden="true" style=")");
    html->Markup("grid-row: ").Number(RowOf(detour.away)).Markup(" / ");
    html->Number(RowOf(detour.back) + 1).Markup("; grid-column: ");
    html->Number(columns.Take(detour.away, detour.back)).Markup("\">");
    html->Number(i + 1).Markup("</div>\n");
  }
}

void AddCommits(const PlanReport& report, const Composer& composer,
                const std::string& id, Html* html) {
  if (report.steps.empty()) return;
  const std::vector<Detour> detours = DetoursOf(report, composer);
  html->Markup("<h3>").Text(report.reached ? "Commits" : "What can be made");
  html->Markup("</h3>\n<div class=\"steps\">\n");
  for (std::size_t commit = 1; commit <= report.steps.size(); ++commit) {
    const Step& step = report.steps[commit - 1];
    html->Markup(R"(<article class="step" id=")").Text(id).Markup("-c");
    html->Number(commit).Markup("\" style=\"grid-row: ").Number(RowOf(commit));
    html->Markup("\">\n<h4>Commit ").Number(commit);
    html->Markup(" <span class=\"count\">accepted, ");
    html->Text(Counted(step.calls, "validation call"));
    html->Markup("</span></h4>\n");
    AddLines(step.lines, html);
    AddDetourNotes(detours, commit, html);
    html->Markup("</article>\n");
    AddConstraints(report, commit, html);
  }
  AddBrackets(detours, html);
  html->Markup("</div>\n");
}

}  // namespace

const report::PageWords kPlanPage = {
    "Plan report",
    "goal",
    "goals",
    "Goal",
    "Goals",
    "First refusal",
    {"reached", "not reached", "bad input", "failed"}};

std::string SectionWithoutPlan(const report::PageEntry& device) {
  Html html;
  AddHead("d" + std::to_string(device.number), device.name, device.status,
          &html);
  for (const std::string& problem : device.problems) {
    html.Markup("<p class=\"text\">").Text(problem).Markup("</p>\n");
  }
  html.Markup("</section>\n");
  return html.str();
}

std::string PlanSection(std::size_t number, const PlanReport& report,
                        const Composer& composer) {
  const std::string id = "d" + std::to_string(number);
  Html html;
  AddHead(id, report.goal, StatusOf(report), &html);
  html.Markup("<p class=\"facts\">");
  if (report.running.empty()) {
    html.Markup("From an empty configuration: ");
  } else {
    html.Markup("From <code>").Text(report.running).Markup("</code>: ");
  }
  html.Text(ResultOf(report)).Markup(".</p>\n");
  if (!report.one_commit.empty()) {
    html.Markup("<p>In one commit it is refused: <span class=\"text\">");
    html.Text(report.one_commit).Markup("</span></p>\n");
  }
  if (!report.failure.empty()) {
    html.Markup("<p>The plug-in failed: <span class=\"text\">");
    html.Text(report.failure).Markup("</span></p>\n");
  }
  AddCores(report, composer, id, &html);
  if (!report.steps.empty()) {
    AddList("Left out", report.left_out, composer, &html);
    AddList("Deleted, although what may replace it is left out",
            report.unreplaced, composer, &html);
  }
  AddCommits(report, composer, id, &html);
  html.Markup("</section>\n");
  return html.str();
}

std::vector<std::string> ProblemsOf(const PlanReport& report) {
  std::vector<std::string> problems;
  for (const Core& core : report.cores) {
    for (const std::string& text : report::ProblemsOf(core.refusal)) {
      if (!text.empty()) problems.push_back(text);
    }
  }
  if (problems.empty() && !report.reached) problems = {ResultOf(report)};
  return problems;
}

}  // namespace ipav::cli::plan
