#include "cli/report/text/text.h"

#include <confd_lib.h>
#include <fmt/color.h>
#include <fmt/core.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

#include "cli/report/finding_text.h"
#include "cli/report/restart_findings.h"
#include "cli/report/text/source_lines.h"
#include "cli/report/text/terminal.h"
#include "host/base/utf8.h"
#include "host/commit/commit.h"
#include "messages/finder.h"
#include "messages/finding.h"

namespace ipav::cli::report {

namespace {

using commit::Answer;
using commit::Outcome;
using datastore::Novelty;
using messages::Culprit;
using messages::Finding;
using messages::Place;

// Indexed by ExitStatus.
constexpr std::array<const char*, 4> kVerdictTexts = {
    "accepted", "refused", "not judged, bad input",
    "not judged, the plug-in failed"};

// Prints the report of one device.
class Printer {
 public:
  Printer(std::FILE* out, const TextOptions& options)
      : out_(out), options_(options) {}

  void Print(const DeviceReport& device) {
    const Outcome& outcome = device.outcome;
    if (device.status == kBadInput) return PrintBadInput(device);
    PrintVerdict(device);
    PrintAnswers(device);
    if (!device.more_findings.empty()) Print("  {}\n", device.more_findings);
    PrintRestart(device);
    if (!outcome.failure.empty()) PrintFailure(outcome);
    PrintLines("the plug-in wrote", outcome.output);
    for (const std::string& advice : device.advice) {
      PrintLines("advice", advice);
    }
    for (const std::string& fault : outcome.faults) {
      PrintLines("warning", fault);
    }
    for (const std::string& what : outcome.left_open) {
      Print("  warning: the plug-in left {} open\n", what);
    }
    if (options_.verbose) PrintDetails(outcome);
  }

 private:
  template <typename... Arguments>
  void Print(fmt::format_string<Arguments...> format,
             Arguments&&... arguments) const {
    fmt::print(out_, format, std::forward<Arguments>(arguments)...);
  }

  // The text in that style, or unchanged without colours.
  std::string Styled(fmt::text_style style, const std::string& text) const {
    return options_.color ? fmt::format(style, "{}", text) : text;
  }

  std::string StyledVerdict(const DeviceReport& device) const {
    const bool accepted = device.status == kAccepted;
    const fmt::text_style style =
        fmt::emphasis::bold |
        fg(accepted ? fmt::terminal_color::green : fmt::terminal_color::red);
    return Styled(style, kVerdictTexts.at(device.status));
  }

  void PrintBadInput(const DeviceReport& device) const {
    Print("{}: {}\n", base::Printable(device.candidate), StyledVerdict(device));
    for (const std::string& error : device.input_errors) {
      Print("  {}\n", base::Printable(error));
    }
  }

  void PrintVerdict(const DeviceReport& device) const {
    const Outcome& outcome = device.outcome;
    Print("{}: {} ({} of {} validation calls made{})\n",
          base::Printable(device.candidate), StyledVerdict(device),
          outcome.answers.size(), outcome.planned, RestartCalls(device));
  }

  // Each refusal with its finding and those behind it.
  void PrintAnswers(const DeviceReport& device) const {
    auto finding = device.findings.begin();
    for (const Answer& answer : device.outcome.answers) {
      const bool silent = answer.result == CONFD_OK && !answer.exception;
      if (!silent || options_.all) PrintAnswer(answer);
      if (messages::IsRefusal(answer) && finding != device.findings.end()) {
        PrintFinding(*finding++);
      }
      for (; finding != device.findings.end() && finding->is_behind;
           ++finding) {
        PrintRefusal(TextOf(*finding));
        PrintPlace(finding->point, finding->path);
        PrintFinding(*finding);
      }
    }
  }

  void PrintPlace(const std::string& point, const std::string& path) const {
    Print("  validation point: {}\n  data path: {}\n", base::Printable(point),
          base::Printable(path));
  }

  // The operator's text is printed on lines of its own.
  void PrintAnswer(const Answer& answer) const {
    if (answer.exception.has_value()) {
      Print("the plug-in threw an exception: {}\n",
            PrintableLines(*answer.exception));
    } else if (answer.result == CONFD_OK) {
      Print("(accepted)\n");
    } else if (Accepts(answer)) {
      Print("(accepted with a warning)\n{}\n",
            OperatorText(answer.text.value_or("(without a text)"), out_));
    } else {
      PrintRefusal(answer.text.value_or("(refused without a text)"));
    }
    PrintPlace(answer.opaque, answer.path);
    if (!Accepts(answer) && !answer.exception && answer.result != CONFD_ERR) {
      Print("  result: {}, taken for a refusal\n", answer.result);
    }
  }

  void PrintRefusal(const std::string& text) const {
    Print("{}\n", Styled(fmt::emphasis::bold, OperatorText(text, out_)));
  }

  void PrintRestart(const DeviceReport& device) const {
    std::optional<RestartState> listed;
    for (RestartFinding& each : RestartFindings(device)) {
      if (listed != each.state) Print("{}:\n", HeadingOf(each.state));
      listed = each.state;
      PrintRefusal(TextOf(each.finding));
      PrintPlace(each.finding.point, each.finding.path);
      if (each.is_of_change) {
        Print("  see above: the change is refused for it, too\n");
        continue;
      }
      if (each.state == RestartState::kHealed) each.finding.rule.clear();
      PrintFinding(each.finding);
    }
  }

  void PrintFinding(const Finding& finding) const {
    for (const Culprit& culprit : finding.culprits) PrintCulprit(culprit);
    if (finding.is_standing) Print("  {}\n", kStanding);
    if (finding.is_behind) Print("  {}\n", kBehind);
    if (!finding.note.empty()) {
      Print("  note: {}\n", base::Printable(finding.note));
    }
    if (!finding.rule.empty()) {
      Print("  what to do: {}\n  see docs/messages.md#{}\n", finding.advice,
            finding.anchor);
    }
    PrintFixes(finding);
  }

  void PrintFixes(const Finding& finding) const {
    if (!finding.fixes) return;
    if (finding.fixes->empty()) Print("  {}\n", kNoFix);
    for (const messages::Fix& fix : *finding.fixes) {
      Print("  {}\n", base::Printable(InWords(fix)));
    }
  }

  void PrintCulprit(const Culprit& culprit) const {
    const std::string role = base::Printable(culprit.role);
    const char* novelty = WordOf(culprit.novelty);
    if (!culprit.place) {
      Print("  {}: {}, {}\n", base::Printable(culprit.path), role, novelty);
      return;
    }
    const Place& place = *culprit.place;
    Print("  {}: {}, {}\n",
          Styled(fmt::emphasis::bold,
                 fmt::format("{}:{}:{}", base::Printable(place.file),
                             place.line, place.column)),
          role, novelty);
    const ShownLine line = ShowLine(place);
    const bool is_new = culprit.novelty != Novelty::kUnchanged;
    const fmt::text_style style =
        fmt::emphasis::bold |
        fg(is_new ? fmt::terminal_color::red : fmt::terminal_color::cyan);
    const std::string number = fmt::format("{:>5}", place.line);
    Print("  {} | {}\n  {:{}} | {:{}}{}\n", number, line.text, "",
          number.size(), "", line.indent,
          Styled(style, "^" + std::string(line.length - 1, '~')));
  }

  void PrintFailure(const Outcome& outcome) const {
    Print("the plug-in failed: {}\n", PrintableLines(outcome.failure));
    if (!outcome.failed_path.empty()) {
      PrintPlace(outcome.failed_point, outcome.failed_path);
    }
  }

  // Prints each line of a text after a label.
  void PrintLines(const char* label, const std::string& text) const {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      Print("  {}: {}\n", label, base::Printable(line));
    }
  }

  void PrintDetails(const Outcome& outcome) const {
    for (const std::string& line : outcome.debug_lines) {
      PrintLines("debug", line);
    }
    std::uint64_t total = 0;
    for (const auto& [name, count] : outcome.calls) {
      Print("  platform call: {} {}\n", name, count);
      total += count;
    }
    Print("  platform calls: {}\n", total);
  }

  std::FILE* out_;
  const TextOptions& options_;
};

}  // namespace

void TextWriter::Add(const DeviceReport& device) {
  Printer(out_, options_).Print(device);
}

}  // namespace ipav::cli::report
