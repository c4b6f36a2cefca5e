// ipav convert: writes a configuration in the other of its two formats.

#include <libyang/libyang.h>

#include <CLI/App.hpp>
#include <cstdio>
#include <memory>
#include <string>

#include "cli/command.h"
#include "cli/options.h"
#include "cli/print_tree.h"
#include "cli/report/output_file.h"
#include "cli/shared_model.h"
#include "host/datastore/model.h"

namespace ipav::cli {

namespace {

constexpr char kConvertNotes[] =
    R"(The data does not change: the order of list entries and explicit default
values are kept. Comments, blanks between elements, XML prefixes and the
form of a value that has several, such as 007 for 7, are lost.

Examples:
  ipav convert candidate.xml
  ipav convert candidate.json --to xml --output candidate.xml

Exit status: 0 converted; 2 the file cannot be read or written.)";

struct ConvertOptions {
  Locations locations;
  std::string file;
  std::string to;      // xml or json; empty: the format that the file is not in
  std::string output;  // as of OutputFile
  ReadingLimits limits;
};

LYD_FORMAT TargetOf(const ConvertOptions& options, LYD_FORMAT source) {
  if (options.to.empty()) return source == LYD_XML ? LYD_JSON : LYD_XML;
  return options.to == "xml" ? LYD_XML : LYD_JSON;
}

ExitStatus Convert(const ConvertOptions& options) {
  const datastore::Model& model = SharedModel(options.locations);
  const auto tree = ReadTree(model, options.file, options.limits);
  const std::string text = PrintTree(tree, TargetOf(options, tree.format()));

  report::OutputFile output(options.output, "configuration");
  static_cast<void>(std::fwrite(text.data(), 1, text.size(), output.stream()));
  output.Commit();
  return kAccepted;
}

}  // namespace

Command AddConvert(CLI::App* app, const Locations& locations) {
  const auto options = std::make_shared<ConvertOptions>();
  options->locations = locations;
  CLI::App* command = app->add_subcommand(
      "convert", "Convert a configuration from XML to JSON or back");
  command->footer(kConvertNotes);
  AddInput(command, "file", "Configuration to convert, XML or JSON",
           &options->file)
      ->required();
  AddChoice(command, "--to", {"xml", "json"},
            "xml or json (default: the format that the file does not have)",
            &options->to);
  AddFile(command, "--output", "File to write (default: -, standard output)",
          &options->output);
  AddLimits(command, "read a configuration", &options->limits);
  AddYang(command, &options->locations);
  return {command, [options] { return Convert(*options); }};
}

}  // namespace ipav::cli
