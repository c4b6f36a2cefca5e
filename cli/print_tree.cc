#include "cli/print_tree.h"

#include <stdexcept>

#include "host/base/c_ptr.h"

namespace ipav::cli {

namespace {

// A file without any element is not XML: an empty configuration is printed as
// empty containers.
std::string PrintEmptyContainers(const datastore::DataTree& tree) {
  std::string text;
  for (const lyd_node* node = tree.FirstChild(nullptr); node != nullptr;
       node = node->next) {
    const bool is_state = (node->schema->flags & LYS_CONFIG_R) != 0;
    if (!is_state) text += Print(node, LYD_XML, LYD_PRINT_KEEPEMPTYCONT);
  }
  return text;
}

// A reader of XML takes an unescaped carriage return for a line end (XML 1.0,
// section 2.11), and libyang does not escape it.
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

std::string PrintTree(const datastore::DataTree& tree, LYD_FORMAT format) {
  std::string text =
      Print(tree.FirstChild(nullptr), format, LYD_PRINT_WITHSIBLINGS);
  if (format != LYD_XML) return text;
  if (text.empty()) text = PrintEmptyContainers(tree);
  return WithEscapedReturns(text);
}

}  // namespace ipav::cli
