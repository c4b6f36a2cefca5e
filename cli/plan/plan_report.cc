#include "cli/plan/plan_report.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <new>
#include <string_view>
#include <utility>

#include "cli/changed_lines.h"
#include "cli/report/json/json.h"
#include "cli/report/text/text.h"
#include "host/base/c_ptr.h"
#include "host/base/utf8.h"

namespace ipav::cli::plan {

namespace {

using nlohmann::ordered_json;
using planner::Composer;
using planner::Item;

// At most this many changes of a set that is refused are printed.
constexpr std::size_t kMostLines = 20;

// What is missing while a node is away, by the list that holds it.
const char* EffectOf(const Item& detour) {
  constexpr std::array<std::pair<std::string_view, const char*>, 7> kEffects = {
      {{"ospf-interface-l3",
        "OSPFv2 loses this address of the interface, and "
        "adjacencies over it go down"},
       {"ospfv3-interface-l3",
        "the OSPFv3 adjacencies of the interface go "
        "down"},
       {"rtmStaticRtEntry", "the route is missing"},
       {"rtmStaticRtEntry-global", "the route is missing"},
       {"l3", "the interface, or this part of it, is missing"},
       {"loopback", "the interface, or this part of it, is missing"},
       {"mgmt", "the interface, or this part of it, is missing"}}};
  for (const lyd_node* node = detour.detour; node != nullptr;
       node = lyd_parent(node)) {
    const auto* found = std::find_if(
        kEffects.begin(), kEffects.end(),
        [&](const auto& effect) { return effect.first == node->schema->name; });
    if (found != kEffects.end()) return found->second;
  }
  return "this part of the configuration is missing";
}

std::vector<ChangedLine> ChangesOf(const std::vector<std::size_t>& items,
                                   const Composer& composer) {
  std::vector<ChangedLine> lines;
  for (const std::size_t item : items) {
    // A change is one line, or none if it has no leaf but defaults.
    const std::vector<ChangedLine> line =
        ListLine(*composer.items()[item].change);
    lines.insert(lines.end(), line.begin(), line.end());
  }
  return lines;
}

// The first commit after that one which puts the node back.
std::size_t FindBack(const std::vector<Step>& steps, std::size_t away,
                     std::size_t item) {
  for (std::size_t i = away; i < steps.size(); ++i) {
    const std::vector<std::size_t>& back = steps[i].put_back;
    if (std::find(back.begin(), back.end(), item) != back.end()) return i + 1;
  }
  return 0;
}

// Says whether the number of commits is proven to be the smallest.
const char* CertaintyOf(const PlanReport& report) {
  if (report.each) return "as many as possible";
  return report.proven ? "fewest" : "fewest found";
}

class TextReport {
 public:
  TextReport(const PlanReport& report, const Composer& composer, std::FILE* out)
      : report_(report), composer_(composer), out_(out) {}

  void Print() const {
    PrintResult();
    if (report_.reached) return PrintSteps();
    for (const Core& core : report_.cores) PrintCore(core);
    if (report_.unexamined > 0) {
      fmt::print(out_, "\nand {} more, not examined after {} sets\n",
                 Counted(report_.unexamined, "change"), report_.cores.size());
    }
    if (!report_.failure.empty()) {
      fmt::print(out_, "\nthe plug-in failed: {}\n",
                 base::Printable(report_.failure));
    }
    if (report_.steps.empty()) return;
    fmt::print(out_, "\nleft out:\n");
    PrintChanges(report_.left_out, report_.left_out.size());
    if (!report_.unreplaced.empty()) {
      fmt::print(out_, "deleted, although what may replace it is left out:\n");
      PrintChanges(report_.unreplaced, report_.unreplaced.size());
    }
    fmt::print(out_, "\nthe other changes can be made with {}:\n",
               Counted(report_.steps.size(), "commit"));
    PrintSteps();
  }

 private:
  void PrintResult() const {
    fmt::print(out_, "{}: {}\n", base::Printable(report_.goal),
               ResultOf(report_));
    if (!report_.one_commit.empty()) {
      fmt::print(out_, "in one commit it is refused:\n{}\n",
                 report_.one_commit);
    }
  }

  void PrintChanges(const std::vector<std::size_t>& items,
                    std::size_t most) const {
    const std::vector<std::string> lines = LinesOf(items, composer_);
    const std::size_t shown = std::min(lines.size(), most);
    for (std::size_t i = 0; i < shown; ++i) {
      fmt::print(out_, "  {}\n", lines[i]);
    }
    if (shown < lines.size()) {
      fmt::print(out_, "  and {} more\n", lines.size() - shown);
    }
  }

  void PrintCore(const Core& core) const {
    fmt::print(out_, "\nrefused in any order{}:\n",
               core.is_smallest ? "" : ", maybe not all of them needed for it");
    PrintChanges(core.items, kMostLines);
    report::TextWriter(out_, {}).Add(core.refusal);
  }

  void PrintSteps() const {
    const std::vector<Detour> detours = DetoursOf(report_, composer_);
    for (std::size_t i = 0; i < report_.steps.size(); ++i) {
      const Step& step = report_.steps[i];
      fmt::print(out_, "\ncommit {}: accepted ({})\n", i + 1,
                 Counted(step.calls, "validation call"));
      for (const std::string& line : step.lines)
        fmt::print(out_, "  {}\n", line);
      for (const Detour& detour : detours) {
        if (detour.away == i + 1) PrintDetour(detour);
      }
    }
  }

  void PrintDetour(const Detour& detour) const {
    fmt::print(out_, "  detour: {}\n", base::Printable(detour.path));
    fmt::print(out_, "    comes back with commit {}; until then {}\n",
               detour.back, detour.effect);
  }

  const PlanReport& report_;
  const Composer& composer_;
  std::FILE* out_;
};

ordered_json ToJson(const Detour& detour) {
  ordered_json json;
  report::PutText(&json, "path", detour.path);
  json["away"] = detour.away;
  json["back"] = detour.back;
  json["effect"] = detour.effect;
  return json;
}

ordered_json ChangesToJson(const std::vector<std::size_t>& items,
                           const Composer& composer) {
  ordered_json json = ordered_json::array();
  for (const ChangedLine& line : ChangesOf(items, composer)) {
    json.push_back(JsonOf(line));
  }
  return json;
}

}  // namespace

ExitStatus StatusOf(const PlanReport& report) {
  if (report.reached) return kAccepted;
  return report.failure.empty() ? kRefused : kPluginFailed;
}

std::vector<Detour> DetoursOf(const PlanReport& report,
                              const Composer& composer) {
  std::vector<Detour> detours;
  for (std::size_t i = 0; i < report.steps.size(); ++i) {
    for (const std::size_t number : report.steps[i].taken_away) {
      const Item& item = composer.items()[number];
      detours.push_back({item.path, i + 1,
                         FindBack(report.steps, i + 1, number),
                         EffectOf(item)});
    }
  }
  return detours;
}

std::string Counted(std::size_t count, const char* what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

std::string ResultOf(const PlanReport& report) {
  const std::string verdicts = Counted(report.verdicts, "verdict");
  if (report.reached && report.steps.empty()) return "nothing to do";
  if (report.reached) {
    return fmt::format("{} ({}, {})", Counted(report.steps.size(), "commit"),
                       CertaintyOf(report), verdicts);
  }
  const bool is_only = report.left_out.size() == 1 && report.steps.empty();
  const char* reason = report.is_limited
                           ? "no plan found before the search ended at "
                             "--timeout or --verdicts"
                       : is_only       ? "its only change is refused"
                       : report.proven ? "no order of its changes is accepted"
                                       : "no plan found";
  return fmt::format("{} ({})", reason, verdicts);
}

std::vector<std::string> LinesOf(const std::vector<std::size_t>& items,
                                 const Composer& composer) {
  std::vector<std::string> lines;
  for (const ChangedLine& line : ChangesOf(items, composer)) {
    lines.push_back(InWords(line));
  }
  return lines;
}

std::string InWords(const PlanReport& report, const Composer& composer) {
  char* text = nullptr;
  std::size_t size = 0;
  base::CPtr<std::FILE, std::fclose> out(open_memstream(&text, &size));
  if (out == nullptr) throw std::bad_alloc();
  TextReport(report, composer, out.get()).Print();
  out.reset();  // sets `text`
  const base::CText owned(text);
  return {text, size};
}

ordered_json ToJson(const PlanReport& report, const Composer& composer) {
  ordered_json json;
  report::PutUnlessEmpty(&json, "running", report.running);
  report::PutText(&json, "goal", report.goal);
  json["result"] = ResultOf(report);
  json["reached"] = report.reached;
  json["proven"] = report.proven;
  json["complete"] = !report.is_limited;
  json["verdicts"] = report.verdicts;
  json["seconds"] = report.seconds;
  report::PutUnlessEmpty(&json, "failure", report.failure);
  report::PutUnlessEmpty(&json, "oneCommit", report.one_commit);
  json["commits"] = ordered_json::array();
  for (const Step& step : report.steps) {
    json["commits"].push_back(
        {{"calls", step.calls}, {"changes", step.changes}});
  }
  json["detours"] =
      report::ArrayOf(DetoursOf(report, composer),
                      [](const Detour& detour) { return ToJson(detour); });
  json["refused"] = report::ArrayOf(report.cores, [&](const Core& core) {
    return ordered_json{{"smallest", core.is_smallest},
                        {"changes", ChangesToJson(core.items, composer)},
                        {"refusal", report::ToJson(core.refusal)}};
  });
  if (report.unexamined > 0) json["unexamined"] = report.unexamined;
  json["leftOut"] = ChangesToJson(report.left_out, composer);
  json["unreplaced"] = ChangesToJson(report.unreplaced, composer);
  return json;
}

}  // namespace ipav::cli::plan
