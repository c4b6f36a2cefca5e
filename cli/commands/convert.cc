#include "cli/commands/convert.h"

#include <cstdint>
#include <cstdio>
#include <stdexcept>

#include "cli/report/output_file.h"
#include "host/base/c_ptr.h"
#include "host/datastore/model.h"

namespace ipav::cli {

namespace {

LYD_FORMAT TargetOf(const ConvertOptions& options, LYD_FORMAT source) {
  if (options.to.empty()) return source == LYD_XML ? LYD_JSON : LYD_XML;
  return options.to == "xml" ? LYD_XML : LYD_JSON;
}

std::string Print(const lyd_node* node, LYD_FORMAT format,
                  std::uint32_t options) {
  char* printed = nullptr;
  const LY_ERR error = lyd_print_mem(&printed, node, format, options);
  const base::CText owned(printed);
  if (error != LY_SUCCESS) {
    throw std::runtime_error("the configuration cannot be printed");
  }
  return printed == nullptr ? "" : printed;
}

// No element at all is no XML: an empty configuration is empty containers.
std::string PrintEmptyContainers(const datastore::DataTree& tree) {
  std::string text;
  for (const lyd_node* node = tree.FirstChild(nullptr); node != nullptr;
       node = node->next) {
    const bool is_state = (node->schema->flags & LYS_CONFIG_R) != 0;
    if (!is_state) text += Print(node, LYD_XML, LYD_PRINT_KEEPEMPTYCONT);
  }
  return text;
}

// A reader of XML takes a bare carriage return for the end of a line (XML 1.0,
// section 2.11), and libyang prints it bare.
std::string WithEscapedReturns(const std::string& xml) {
  std::string text;
  for (const char c : xml) {
    if (c == '\r') {
      text += "&#xD;";
    } else {
      text += c;
    }
  }
  return text;
}

}  // namespace

ExitStatus Convert(const Locations& locations, const ConvertOptions& options) {
  const datastore::Model model(locations.yang_dir, locations.yang_extension);
  const auto tree = ReadTree(model, options.file, options.limits);
  const std::string text = PrintTree(tree, TargetOf(options, tree.format()));

  report::OutputFile output(options.output, "configuration");
  static_cast<void>(std::fwrite(text.data(), 1, text.size(), output.stream()));
  output.Commit();
  return kAccepted;
}

std::string PrintTree(const datastore::DataTree& tree, LYD_FORMAT format) {
  std::string text =
      Print(tree.FirstChild(nullptr), format, LYD_PRINT_WITHSIBLINGS);
  if (format != LYD_XML) return text;
  if (text.empty()) text = PrintEmptyContainers(tree);
  return WithEscapedReturns(text);
}

}  // namespace ipav::cli
