#include "host/datastore/use_site.h"

#include <cstddef>
#include <vector>

#include "host/datastore/input_error.h"
#include "host/datastore/validate_statement.h"

namespace ipav::datastore {

namespace {

// Splits a path at its slashes; an absolute one begins with an empty step.
std::vector<std::string> Steps(const std::string& path) {
  std::vector<std::string> steps(1);
  for (const char c : path) {
    if (c == '/') {
      steps.emplace_back();
    } else {
      steps.back() += c;
    }
  }
  return steps;
}

// One ".." of a path, from `*node` to its parent (null: the root); false if
// there is no parent, or after a name.
bool StepUp(const lysc_node** node, Dependency* dependency) {
  if (*node == nullptr || !dependency->steps.empty()) return false;
  *node = lysc_data_parent(*node);
  ++dependency->ups;
  return true;
}

// One name of a path, from `*node` to its child; false if there is no such
// child. Without a prefix, a child of the module `own` takes precedence.
bool StepDown(const Model& model, const lys_module& own,
              const std::string& step, const lysc_node** node,
              Dependency* dependency) {
  const lysc_node* parent = *node;
  const std::size_t colon = step.find(':');
  if (colon != std::string::npos) {
    *node =
        model.FindChild(parent, step.substr(0, colon), step.substr(colon + 1));
  } else {
    *node = model.FindChild(parent, own.name, step);
    if (*node == nullptr) *node = model.FindChild(parent, "", step);
  }
  dependency->steps.push_back(*node);
  return *node != nullptr;
}

// Resolves a path of `tailf:dependency`: "." and ".." first, then names.
Dependency Resolve(const Model& model, const lysc_node& from,
                   const std::string& text, const std::string& where) {
  Dependency dependency;
  dependency.text = text;
  dependency.absolute = text.front() == '/';
  const lysc_node* node = dependency.absolute ? nullptr : &from;
  // "a//b" is any b below a, and not a single node.
  bool known = text.find("//") == std::string::npos;
  for (const std::string& step : Steps(text)) {
    if (known && (step.empty() || step == ".")) continue;
    known = known && (step == ".." ? StepUp(&node, &dependency)
                                   : StepDown(model, *from.module, step, &node,
                                              &dependency));
    if (!known) {
      throw InputError(where, "dependency " + text + " of " + SchemaPath(from) +
                                  " names no node");
    }
  }
  return dependency;
}

}  // namespace

UseSite MakeUseSite(const Model& model, const lysc_node& node,
                    const lysc_ext_instance& extension,
                    const std::string& where) {
  const auto& statement =
      *static_cast<const ValidateStatement*>(extension.compiled);
  UseSite site;
  site.point = extension.argument;
  site.opaque = statement.opaque;
  site.has_opaque = statement.has_opaque;
  site.node = &node;
  site.path = SchemaPath(node);
  site.call_once = statement.call_once;
  site.priority = statement.priority;
  if (site.call_once && node.nodetype != LYS_LIST) {
    throw InputError(where, "call-once of " + site.path + ", which is no list");
  }
  for (const std::string& text : statement.dependencies) {
    site.dependencies.push_back(Resolve(model, node, text, where));
  }
  return site;
}

}  // namespace ipav::datastore
