#include "ipavd/store/nodes.h"

#include <cstddef>
#include <new>

#include "host/base/c_ptr.h"
#include "host/confd/confd_error.h"
#include "host/confd/path.h"

namespace ipav::store {

namespace {

// A string literal of XPath 1.0, which cannot contain both quotes.
std::string XPathLiteral(const std::string& text) {
  const char quote = text.find('\'') == std::string::npos ? '\'' : '"';
  return quote + text + quote;
}

std::string StepTo(const lysc_node* parent, const lysc_node& node,
                   const std::vector<std::string>& keys) {
  std::string step = "/";
  if (parent == nullptr || parent->module != node.module) {
    step += std::string(node.module->name) + ":";
  }
  step += node.name;
  if (keys.empty()) return step;
  if (node.nodetype == LYS_LEAFLIST)
    return step + "[.=" + XPathLiteral(keys[0]) + "]";
  const auto& leaves = datastore::Model::FactsOf(node).keys;
  for (std::size_t i = 0; i < leaves.size() && i < keys.size(); ++i) {
    step +=
        std::string("[") + leaves[i]->name + "=" + XPathLiteral(keys[i]) + "]";
  }
  return step;
}

}  // namespace

Nodes Copy(const lyd_node* nodes) {
  lyd_node* copy = nullptr;
  if (nodes != nullptr &&
      lyd_dup_siblings(nodes, nullptr, LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS,
                       &copy) != LY_SUCCESS) {
    throw std::bad_alloc();
  }
  return Nodes(copy);
}

std::string TextOf(const lyd_node* nodes, std::uint32_t options) {
  if (nodes == nullptr) return "";
  char* text = nullptr;
  if (lyd_print_mem(&text, nodes, LYD_XML, options | LYD_PRINT_WITHSIBLINGS) !=
      LY_SUCCESS) {
    throw std::bad_alloc();
  }
  const base::CText owner(text);
  return text == nullptr ? "" : text;
}

std::string PathOf(const lyd_node* node) {
  if (node == nullptr) return "";
  const base::CText text(lyd_path(node, LYD_PATH_STD, nullptr, 0));
  return text == nullptr ? "" : text.get();
}

std::string PathOf(const lyd_node* parent, const lysc_node& child,
                   const std::vector<std::string>& keys) {
  return PathOf(parent) +
         StepTo(parent == nullptr ? nullptr : parent->schema, child, keys);
}

std::string PathOf(const datastore::Model& model, const std::string& text) {
  try {
    const std::vector<confd::PathStep> steps = confd::ParsePath(text);
    const std::vector<const lysc_node*> nodes =
        confd::ResolveSchema(model, steps);
    std::string path;
    const lysc_node* parent = nullptr;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      path += StepTo(parent, *nodes[i], steps[i].keys);
      parent = nodes[i];
    }
    return path;
  } catch (const confd::ConfdError&) {
    return "";
  }
}

}  // namespace ipav::store
