#include "cli/report/finding_text.h"

#include <fmt/core.h>

namespace ipav::cli::report {

using messages::Culprit;
using messages::Finding;

std::string TextOf(const Finding& finding) {
  return finding.text.empty() ? "(refused without a text)" : finding.text;
}

const std::string& RuleIdOf(const Finding& finding) {
  return finding.rule.empty() ? finding.point : finding.rule;
}

std::string LinkOf(const Finding& finding) {
  return finding.anchor.empty() ? "" : "docs/messages.md#" + finding.anchor;
}

std::string InWords(const Culprit& culprit) {
  std::string text;
  if (culprit.place) {
    text = fmt::format("{}:{}:{}: ", culprit.place->file, culprit.place->line,
                       culprit.place->column);
  }
  text += culprit.role + " " + culprit.path;
  if (!culprit.value.empty()) text += " " + culprit.value;
  return text + " (" + WordOf(culprit.novelty) + ")";
}

std::string InWords(const messages::Fix& fix) {
  return fmt::format("fix {} ({}): {}", fix.id,
                     fix.is_safe ? "safe" : "suggested", fix.text);
}

std::string InWords(const Finding& finding) {
  std::string text = fmt::format("{}\nvalidation point: {}\ndata path: {}\n",
                                 TextOf(finding), finding.point, finding.path);
  for (const Culprit& culprit : finding.culprits) {
    text += InWords(culprit) + "\n";
  }
  if (finding.is_standing) text += std::string(kStanding) + "\n";
  if (finding.is_behind) text += std::string(kBehind) + "\n";
  for (const std::string& line :
       {finding.note, finding.advice, LinkOf(finding)}) {
    if (!line.empty()) text += line + "\n";
  }
  if (!finding.fixes) return text;
  for (const messages::Fix& fix : *finding.fixes) text += InWords(fix) + "\n";
  return finding.fixes->empty() ? text + kNoFix + "\n" : text;
}

}  // namespace ipav::cli::report
