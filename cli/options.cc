#include "cli/options.h"

#include <CLI/Error.hpp>
#include <CLI/TypeTools.hpp>
#include <CLI/Validators.hpp>
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <utility>

#include "host/datastore/input_file.h"

namespace ipav::cli {

namespace {

using datastore::kStandardInput;

constexpr char kIsEmpty[] = "the value is empty";

// As CLI::IsMember, with a shorter error text.
CLI::Validator IsFormat() {
  const auto why_not = [](const std::string& name) -> std::string {
    if (report::FormatsByName().count(name) > 0) return "";
    return name + " is not text, json, sarif or junit";
  };
  return {why_not, "{text,json,sarif,junit}", "format"};
}

// Parses "I/N", where I is from 1 to N.
report::Shard ParseShard(const std::string& text) {
  report::Shard shard{0, 0};
  const std::size_t slash = text.find('/');
  if (slash == std::string::npos || text.find('-') != std::string::npos ||
      !CLI::detail::lexical_cast(text.substr(0, slash), shard.number) ||
      !CLI::detail::lexical_cast(text.substr(slash + 1), shard.of) ||
      shard.number < 1 || shard.number > shard.of) {
    throw CLI::ValidationError("--shard", text + " is not I/N, 1/N to N/N");
  }
  return shard;
}

CLI::Option* ReadsStandardInput(CLI::Option* option) {
  const auto name = [](const std::string& file) -> std::string {
    return file == "-" ? kStandardInput : file;
  };
  return option->type_name(kFile)->transform(name);
}

}  // namespace

CLI::Option* AddChoice(CLI::App* command, const std::string& name,
                       std::vector<std::string> words,
                       const std::string& description, std::string* value) {
  CLI::Option* option = command->add_option(name, *value, description);
  if (!value->empty()) option->capture_default_str();
  return option->check(CLI::IsMember(std::move(words)));
}

CLI::Option* AddFile(CLI::App* command, const std::string& name,
                     const std::string& description, std::string* file) {
  return command->add_option(name, *file, description)->type_name(kFile);
}

CLI::Option* AddInput(CLI::App* command, const std::string& name,
                      const std::string& description, std::string* file) {
  return ReadsStandardInput(AddFile(command, name, description, file));
}

CLI::Option* AddInputs(CLI::App* command, const std::string& name,
                       const std::string& description,
                       std::vector<std::string>* files) {
  return ReadsStandardInput(command->add_option(name, *files, description));
}

void RequireNames(const CLI::App& command) {
  for (const CLI::Option* option : command.get_options()) {
    const std::string type = option->get_type_name();
    if (type != kFile && type != kFolder) continue;
    const std::vector<std::string>& names = option->results();
    if (std::find(names.begin(), names.end(), "") == names.end()) continue;
    throw CLI::ValidationError(option->get_name(), kIsEmpty);
  }
}

void RequireValues(const std::vector<std::string>& arguments) {
  for (const std::string& argument : arguments) {
    if (argument == "--") return;
    if (argument.rfind("--", 0) != 0) continue;
    const std::string name = argument.substr(0, argument.size() - 1);
    if (argument == name + '=' && name.find('=') == std::string::npos) {
      throw CLI::ValidationError(name, kIsEmpty);
    }
  }
}

void RefuseSeveralReaders(const CLI::App& command) {
  std::ptrdiff_t count = 0;
  for (const CLI::Option* option : command.get_options()) {
    const std::vector<std::string>& values = option->results();
    count += std::count(values.begin(), values.end(), kStandardInput);
  }
  if (count < 2) return;
  throw CLI::ValidationError("- (standard input) can be given only once");
}

void AddLimits(CLI::App* command, const std::string& of_what,
               ReadingLimits* limits) {
  const auto set_time = [limits](unsigned seconds) {
    limits->time = std::chrono::seconds(seconds);
  };
  const auto set_size = [limits](unsigned mebibytes) {
    limits->size = std::size_t{mebibytes} << 20;
  };
  command
      ->add_option_function<unsigned>(
          "--timeout", set_time, "Seconds to " + of_what + " (0: no limit)")
      ->default_str(std::to_string(limits->time / std::chrono::seconds(1)))
      ->check(CLI::Range(0U, kMaxSeconds));
  command
      ->add_option_function<unsigned>(
          "--max-input-size", set_size,
          "Largest file to read, in MiB; a configuration needs up to 70 times "
          "its size in memory")
      ->default_str(std::to_string(limits->size >> 20))
      ->check(CLI::Range(1U, kMaxMebibytes));
}

void AddYang(CLI::App* command, Locations* locations) {
  command->add_option("--yang", locations->yang_dir, "Folder of the data model")
      ->type_name(kFolder)
      ->capture_default_str();
}

void AddPluginAndYang(CLI::App* command, Locations* locations) {
  AddFile(command, "--plugin", "Validation plug-in to run", &locations->plugin)
      ->capture_default_str();
  AddYang(command, locations);
}

void AddReport(CLI::App* command, report::ReportOptions* options) {
  const auto set_format = [options](const std::string& name) {
    options->format = report::FormatsByName().at(name);
  };
  command
      ->add_option_function<std::string>(
          "--format", set_format,
          "Report as text, json, sarif or junit (default: text)")
      ->type_name("TEXT")
      ->check(IsFormat());
  AddFile(command, "--output",
          "File for the report, replaced only when complete (default: -, "
          "standard output)",
          &options->output);
}

void AddFailedOnly(CLI::App* command, report::ReportOptions* options) {
  command->add_flag("--failed-only", options->failed_only,
                    "Omit accepted devices");
}

void AddFleet(CLI::App* command, fleet::FleetOptions* options) {
  constexpr unsigned kMaxJobs = 256;  // two files each, of the usual 1024
  command
      ->add_option("-j,--jobs", options->jobs,
                   "Devices to judge at a time (default: the number of "
                   "processors)")
      ->check(CLI::Range(1U, kMaxJobs));
  const auto set_shard = [options](const std::string& text) {
    options->shard = ParseShard(text);
  };
  command
      ->add_option_function<std::string>(
          "--shard", set_shard,
          "Take every N-th device of the list, starting with the I-th")
      ->type_name("I/N");
  command->add_flag("-q,--quiet", options->is_quiet, "Show no progress line");
}

}  // namespace ipav::cli
