#include "report/text.h"

#include <confd_lib.h>
#include <fmt/core.h>

#include <algorithm>
#include <cstddef>

namespace ipav::cli::report {

namespace {

using commit::Answer;
using commit::Outcome;

const char* WordOf(ExitStatus status) {
  switch (status) {
    case kAccepted:
      return "accepted";
    case kRefused:
      return "refused";
    case kBadInput:
      return "not judged, bad input";
    case kPluginFailed:
      break;
  }
  return "not judged, the plug-in failed";
}

}  // namespace

void TextWriter::AddPlace(const std::string& point, const std::string& path) {
  fmt::print(out_, "  validation point: {}\n  data path: {}\n", point, path);
}

// The operator's text stands alone on its line, byte for byte as the plug-in
// set it, also where it is no UTF-8 or has more than one line.
void TextWriter::AddAnswer(const Answer& answer) {
  if (answer.exception.has_value()) {
    fmt::print(out_, "the plug-in threw an exception: {}\n", *answer.exception);
  } else if (answer.result == CONFD_OK) {
    fmt::print(out_, "(accepted)\n");
  } else if (Accepts(answer)) {
    fmt::print(out_, "(accepted with a warning)\n{}\n",
               answer.text.value_or("(without a text)"));
  } else {
    fmt::print(out_, "{}\n", answer.text.value_or("(refused without a text)"));
  }
  AddPlace(answer.opaque, answer.path);
  if (!Accepts(answer) && !answer.exception && answer.result != CONFD_ERR) {
    fmt::print(out_, "  result: {}, taken for a refusal\n", answer.result);
  }
}

void TextWriter::AddFailure(const Outcome& outcome) {
  fmt::print(out_, "the plug-in failed: {}\n", outcome.failure);
  if (!outcome.failed_path.empty()) {
    AddPlace(outcome.failed_point, outcome.failed_path);
  }
}

// Each line of a text behind a label.
void TextWriter::AddLines(const char* label, const std::string& text) {
  std::size_t begin = 0;
  while (begin < text.size()) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    fmt::print(out_, "  {}: {}\n", label, text.substr(begin, end - begin));
    begin = end + 1;
  }
}

void TextWriter::AddDetails(const Outcome& outcome) {
  for (const std::string& line : outcome.debug_lines) {
    AddLines("debug", line);
  }
  std::uint64_t total = 0;
  for (const auto& [name, count] : outcome.calls) {
    fmt::print(out_, "  platform call: {} {}\n", name, count);
    total += count;
  }
  fmt::print(out_, "  platform calls: {}\n", total);
}

void TextWriter::AddOutcome(const DeviceReport& device) {
  const Outcome& outcome = device.outcome;
  fmt::print(out_, "{}: {} ({} of {} validation calls made)\n",
             device.candidate, WordOf(device.status), outcome.answers.size(),
             outcome.planned);
  for (const Answer& answer : outcome.answers) {
    const bool silent = answer.result == CONFD_OK && !answer.exception;
    if (!silent || options_.all) AddAnswer(answer);
  }
  if (!outcome.failure.empty()) AddFailure(outcome);
  AddLines("the plug-in wrote", outcome.output);
  for (const std::string& fault : outcome.faults) AddLines("warning", fault);
  for (const std::string& what : outcome.left_open) {
    fmt::print(out_, "  warning: the plug-in left {} open\n", what);
  }
  if (options_.verbose) AddDetails(outcome);
}

void TextWriter::Add(const DeviceReport& device) {
  if (device.status != kBadInput) {
    AddOutcome(device);
    return;
  }
  fmt::print(out_, "{}: {}\n  {}\n", device.candidate, WordOf(device.status),
             device.input_error);
}

}  // namespace ipav::cli::report
