// The command lines of the subcommands that judge nothing.

#include <CLI/App.hpp>
#include <memory>
#include <string>

#include "cli/command_line/command.h"
#include "cli/command_line/shared_options.h"
#include "cli/command_line/types.h"
#include "cli/commands/completion.h"
#include "cli/commands/convert.h"
#include "cli/commands/diff.h"
#include "cli/commands/explain.h"
#include "cli/commands/new.h"
#include "cli/commands/points.h"

namespace ipav::cli::command_line {

namespace {

constexpr char kReading[] = "read a configuration";

constexpr char kPointsNotes[] =
    "Examples:\n"
    "  ipav points\n"
    "  ipav points --yang my-model";

constexpr char kDiffNotes[] =
    "A line begins with + for what is added, - for what is deleted, ~ for a\n"
    "changed value. An added or deleted list entry is one line with the "
    "number\n"
    "of its leaves; --full lists these, too. Then come the calls that a "
    "commit\n"
    "makes, in its order, each with the nodes that changed and fire it.\n"
    "\n"
    "Examples:\n"
    "  ipav diff running.xml candidate.xml\n"
    "  ipav diff --format json running.json candidate.json\n"
    "\n"
    "Exit status: 0 both could be read, changed or not; 2 one could not.";

constexpr char kExplainNotes[] =
    "A text is the one that an operator saw, interfaces and addresses filled\n"
    "in; a rule is named by its heading or as findings and SARIF name it.\n"
    "Without a topic, the validation points and rules are listed.\n"
    "\n"
    "Examples:\n"
    "  ipav explain ipv4_addr_validation\n"
    "  ipav explain overlap\n"
    "  ipav explain interface-overlap\n"
    "  ipav explain 'l3 a has duplicated IPv4 address 10.0.0.1'\n"
    "  ipav check --running running.xml candidate.xml | ipav explain -\n"
    "\n"
    "Exit status: 0 explained, 2 a topic is unknown.";

constexpr char kConvertNotes[] =
    "The data stays as it is: the order of list entries, and what is written\n"
    "though it is the default. Lost are comments, blanks between elements, "
    "XML\n"
    "prefixes and the form of a value that has several, such as 007 for 7.\n"
    "\n"
    "Examples:\n"
    "  ipav convert candidate.xml\n"
    "  ipav convert candidate.json --to xml --output candidate.xml\n"
    "\n"
    "Exit status: 0 converted; 2 the file cannot be read or written.";

constexpr char kNewNotes[] =
    "The configuration is accepted as it is. In XML a comment stands beside\n"
    "what a validation point looks at.\n"
    "\n"
    "Examples:\n"
    "  ipav new > router.xml && ipav check router.xml\n"
    "  ipav new --format json > router.json";

constexpr char kCompletionNotes[] =
    "A package has put the scripts in their places. Without one, in the\n"
    "start file of the shell:\n"
    "\n"
    "Examples:\n"
    "  source <(ipav completion bash)\n"
    "  source <(ipav completion zsh)\n"
    "  ipav completion fish | source";

// What the options of one subcommand write into.
template <typename Options>
struct Values {
  Locations locations;
  Options options;
  Limits limits;
};

template <typename Options>
std::shared_ptr<Values<Options>> MakeValues(const Locations& locations) {
  return std::make_shared<Values<Options>>(
      Values<Options>{locations, Options(), Limits()});
}

}  // namespace

Command AddPoints(CLI::App* app, const Locations& locations) {
  const auto values = std::make_shared<Locations>(locations);
  CLI::App* points = app->add_subcommand(
      "points", "List the use sites of validation points in the model");
  points->footer(kPointsNotes);
  AddYang(points, values.get());
  return {points, [values] { return ListPoints(*values); }};
}

Command AddDiff(CLI::App* app, const Locations& locations) {
  const auto values = MakeValues<DiffOptions>(locations);
  DiffOptions& options = values->options;
  CLI::App* diff = app->add_subcommand(
      "diff", "Show what a candidate changes and which points that fires");
  diff->footer(kDiffNotes);
  diff->add_option("running", options.running,
                   "Running configuration, XML or JSON")
      ->type_name(kFile)
      ->required();
  diff->add_option("candidate", options.candidate,
                   "Configuration to compare, XML or JSON")
      ->type_name(kFile)
      ->required();
  diff->add_flag("--full", options.full,
                 "List the leaves of added and deleted list entries, too");
  AddChoice(diff, "--format", &options.format, {"text", "json"},
            "text or json");
  AddLimits(diff, kReading, &values->limits);
  AddYang(diff, &values->locations);
  return {diff, [values] {
            values->limits.ApplyTo(&values->options.limits);
            return PrintDiff(values->locations, values->options);
          }};
}

Command AddExplain(CLI::App* app, const Locations& locations) {
  const auto values = MakeValues<ExplainOptions>(locations);
  CLI::App* explain = app->add_subcommand(
      "explain", "Explain a validation point, a rule or a text");
  explain->footer(kExplainNotes);
  explain
      ->add_option(
          "topic", values->options.topics,
          "Name of a point or a rule, or a text; '-' for texts from standard "
          "input, one a line, such as the output of ipav check")
      ->type_name(kTopic);
  AddYang(explain, &values->locations);
  return {explain,
          [values] { return Explain(values->locations, values->options); }};
}

Command AddConvert(CLI::App* app, const Locations& locations) {
  const auto values = MakeValues<ConvertOptions>(locations);
  ConvertOptions& options = values->options;
  CLI::App* convert = app->add_subcommand(
      "convert", "Write a configuration in the other format, XML or JSON");
  convert->footer(kConvertNotes);
  convert
      ->add_option("file", options.file,
                   "Configuration to convert, XML or JSON")
      ->type_name(kFile)
      ->required();
  AddChoice(convert, "--to", &options.to, {"xml", "json"},
            "xml or json (default: what the file is not)");
  convert
      ->add_option("--output", options.output,
                   "File to write (default: standard output)")
      ->type_name(kFile);
  AddLimits(convert, kReading, &values->limits);
  AddYang(convert, &values->locations);
  return {convert, [values] {
            values->limits.ApplyTo(&values->options.limits);
            return Convert(values->locations, values->options);
          }};
}

Command AddNew(CLI::App* app, const Locations& locations) {
  const auto values = MakeValues<NewOptions>(locations);
  CLI::App* command =
      app->add_subcommand("new", "Print a first configuration to change");
  command->footer(kNewNotes);
  AddChoice(command, "--format", &values->options.format, {"xml", "json"},
            "xml, with comments, or json, which has none");
  return {command,
          [values] { return PrintNew(values->locations, values->options); }};
}

Command AddCompletion(CLI::App* app, const Locations& locations) {
  const auto shell = std::make_shared<std::string>();
  CLI::App* command = app->add_subcommand(
      "completion", "Print the script by which a shell completes ipav");
  command->footer(kCompletionNotes);
  AddChoice(command, "shell", shell.get(), {"bash", "zsh", "fish"},
            "Shell that the script is for")
      ->required();
  return {command, [=] { return PrintCompletion(locations, *app, *shell); }};
}

}  // namespace ipav::cli::command_line
