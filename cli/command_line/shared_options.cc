#include "cli/command_line/shared_options.h"

#include <CLI/Validators.hpp>
#include <chrono>
#include <cstddef>
#include <utility>

#include "cli/command_line/types.h"

namespace ipav::cli::command_line {

namespace {

// As CLI::IsMember, with a text of its own.
CLI::Validator IsFormat() {
  const auto why_not = [](const std::string& name) -> std::string {
    if (report::FormatsByName().count(name) > 0) return "";
    return name + " is not text, json, sarif or junit";
  };
  return {why_not, "{text,json,sarif,junit}", "format"};
}

}  // namespace

CLI::Option* AddChoice(CLI::App* command, const std::string& name,
                       std::string* value, std::vector<std::string> words,
                       const std::string& description) {
  CLI::Option* option = command->add_option(name, *value, description);
  if (!value->empty()) option->capture_default_str();
  return option->check(CLI::IsMember(std::move(words)));
}

void Limits::ApplyTo(CheckOptions* options) const {
  options->time_limit = std::chrono::seconds(seconds);
  options->max_input_size = std::size_t{mebibytes} << 20;
}

void Limits::ApplyTo(ReadingLimits* reading) const {
  reading->time = std::chrono::seconds(seconds);
  reading->size = std::size_t{mebibytes} << 20;
}

void AddLimits(CLI::App* command, const std::string& of_what, Limits* limits) {
  command
      ->add_option("--timeout", limits->seconds,
                   "Seconds to " + of_what + " (0: no limit)")
      ->capture_default_str()
      ->check(CLI::Range(0U, kMaxSeconds));
  command
      ->add_option("--max-input-size", limits->mebibytes,
                   "Largest configuration to read, in MiB; it takes up to 70 "
                   "times its size in memory")
      ->capture_default_str()
      ->check(CLI::Range(1U, kMaxMebibytes));
}

void AddPlugin(CLI::App* command, Locations* locations) {
  command
      ->add_option("--plugin", locations->plugin, "Validation plug-in to run")
      ->type_name(kFile)
      ->capture_default_str();
}

void AddYang(CLI::App* command, Locations* locations) {
  command->add_option("--yang", locations->yang_dir, "Folder of the data model")
      ->type_name(kFolder)
      ->capture_default_str();
}

void AddReport(CLI::App* command, report::ReportOptions* options) {
  command
      ->add_option_function<std::string>(
          "--format",
          [options](const std::string& name) {
            options->format = report::FormatsByName().at(name);
          },
          "Report as text, json, sarif or junit (default: text)")
      ->type_name("TEXT")
      ->check(IsFormat());
  command
      ->add_option("--output", options->output,
                   "File for the report, replaced when it is whole "
                   "(default: standard output)")
      ->type_name(kFile);
  command->add_flag("--failed-only", options->failed_only,
                    "List no device that was accepted");
}

}  // namespace ipav::cli::command_line
