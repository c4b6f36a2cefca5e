#include "cli/plan/plan_output.h"

#include <fmt/core.h>

#include <cstdio>

#include "cli/plan/plan_report.h"
#include "cli/report/json/json.h"
#include "cli/report/text/terminal.h"

namespace ipav::cli::plan {

namespace {

using report::Json;
using report::Run;
using report::Summary;

void Print(const std::string& text) {
  static_cast<void>(std::fputs(text.c_str(), stdout));
}

Json ToJson(const Summary& summary) {
  return {{"devices", summary.devices()},
          {"reached", summary.Of(kAccepted)},
          {"notReached", summary.Of(kRefused)},
          {"badInput", summary.Of(kBadInput)},
          {"pluginFailed", summary.Of(kPluginFailed)},
          {"status", summary.worst_status()}};
}

std::string SummaryLine(const Run& run) {
  const Summary& summary = run.summary;
  return DevicesInWords(run, summary.devices()) +
         fmt::format("{} reached, {} not reached, {} bad input, {} failed\n",
                     summary.Of(kAccepted), summary.Of(kRefused),
                     summary.Of(kBadInput), summary.Of(kPluginFailed));
}

}  // namespace

PlanOutput::PlanOutput(const OutputOptions& options, Run* run)
    : options_(options), run_(*run) {
  if (!options_.is_json || options_.is_one) return;
  fmt::print("{{\n\"format\": \"ipav plans\",\n\"version\": {},\n",
             kPlanVersion);
  if (run_.shard) fmt::print("\"shard\": {},\n", ShardToJson(run_).dump());
  Print("\"devices\": [");
}

void PlanOutput::Add(const DevicePlan& plan) {
  run_.summary.Add(plan.status);
  if (options_.failed_only && plan.status == kAccepted) return;
  if (options_.is_json) {
    AddJson(plan);
  } else {
    Print(is_first_ ? "" : "\n");
    Print(report::OperatorText(plan.text, stdout));
  }
  is_first_ = false;
  static_cast<void>(std::fflush(stdout));  // main() detects errors
}

void PlanOutput::AddJson(const DevicePlan& plan) const {
  if (options_.is_one) return Print(PlanDocument(plan.json));
  Json device = {{"number", plan.number}};
  device.update(plan.json);
  Print(is_first_ ? "\n" : ",\n");
  Print(device.dump(-1, ' ', false, Json::error_handler_t::replace));
}

void PlanOutput::End() {
  if (options_.is_json && !options_.is_one) {
    fmt::print("\n],\n\"summary\": {}\n}}\n", ToJson(run_.summary).dump());
  } else if (!options_.is_json && options_.has_summary) {
    Print(is_first_ ? "" : "\n");
    Print(SummaryLine(run_));
  }
}

}  // namespace ipav::cli::plan
