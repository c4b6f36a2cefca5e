#include "host/source/input_errors.h"

#include <algorithm>
#include <string>
#include <vector>

#include "host/datastore/constraints.h"
#include "host/datastore/libyang_error.h"
#include "host/datastore/libyang_ptr.h"
#include "host/source/faults.h"

namespace ipav::source {

namespace {

using datastore::ErrorAt;
using datastore::InputError;
using datastore::InputText;
using datastore::Nodes;
using datastore::PositionAt;

// Removes text from what is beside the elements of a node: other steps ignore
// it. The root has no schema.
void CheckGap(Span gap, const lysc_node* schema, Examined* text) {
  const std::size_t at = SkipToContent(text->text.bytes, gap);
  if (at >= gap.end) return;
  text->faults.push_back(
      {at, schema == nullptr ? "Text outside of the elements."
                             : std::string("Text in \"") + schema->name +
                                   "\", which only holds other elements."});
  text->fragments.Remove(Span{at, gap.end});
}

// XML: text beside elements.
void FindStrayText(SourceTree::Node parent, const lysc_node* schema,
                   Examined* text) {
  const SourceTree& tree = text->tree;
  const std::string_view bytes = text->text.bytes;
  const bool is_root = schema == nullptr;
  std::size_t begin = is_root ? text->text.start : tree[parent].head.end;
  for (SourceTree::Node node = tree[parent].first_child;
       node != SourceTree::kNone; node = tree[node].next) {
    CheckGap({begin, tree[node].head.begin}, schema, text);
    begin = tree[node].end;
    const lysc_node* inner = text->SchemaOf(schema, node);
    const bool has_children = inner != nullptr &&
                              lysc_node_child(inner) != nullptr &&
                              tree[node].first_child != SourceTree::kNone;
    if (has_children) FindStrayText(node, inner, text);
  }
  const std::size_t end =
      is_root ? bytes.size() : bytes.rfind('<', tree[parent].end - 1);
  CheckGap({begin, end}, schema, text);
}

// Step 3: constraints between nodes. Of the nodes that the first steps removed,
// nothing is said.
void FindViolations(Examined* text) {
  // 1. The tree of what is left.
  const ly_ctx* context = text->context;
  lyd_node* first = nullptr;
  if (lyd_parse_data_mem(context,
                         text->fragments.text().c_str() + text->text.start,
                         text->text.format, LYD_PARSE_STRICT | LYD_PARSE_ONLY,
                         0, &first) != LY_SUCCESS) {
    return;
  }
  static_cast<void>(lyd_new_implicit_all(&first, context, 0, nullptr));
  const Nodes tree(first);
  // 2. Each violation at its node, or at the nearest one that is in the text.
  for (const datastore::Violation& violation :
       datastore::FindViolations(context, tree.get(), text->unread)) {
    const lyd_node* node = violation.node;
    SourceTree::Node found = text->finder.Find(node);
    while (found == SourceTree::kNone) {
      node = lyd_parent(node);
      found = text->finder.Find(node);
    }
    text->faults.push_back({node == nullptr
                                ? text->text.start
                                : text->PlaceOf(found, *node->schema),
                            violation.reason});
  }
}

// The first error in libyang's words, at the line that it tells.
InputError LibraryError(const ly_ctx* context, const InputText& text) {
  datastore::ClearErrors(context);
  lyd_node* first = nullptr;
  static_cast<void>(lyd_parse_data_mem(context, text.data().data(), text.format,
                                       LYD_PARSE_STRICT, 0, &first));
  const Nodes owner(first);
  return datastore::FirstError(context, text.path,
                               PositionAt(text.bytes, text.start).line - 1);
}

}  // namespace

InputError FindInputErrors(const datastore::Model& model,
                           const InputText& text) {
  // 1. The nodes that cannot be read, then what is wrong with the others.
  Examined examined(model.context(), text);
  if (examined.is_xml &&
      examined.tree[SourceTree::kRoot].first_child != SourceTree::kNone) {
    FindStrayText(SourceTree::kRoot, nullptr, &examined);
  }
  FindUnreadable(&examined);
  if (examined.faults.size() <= kMaxErrors) {
    FindDuplicates(&examined);
    FindViolations(&examined);
  }
  // 2. Errors that only libyang knows.
  std::vector<Fault>& faults = examined.faults;
  if (faults.empty()) return LibraryError(model.context(), text);
  // 3. All in the order of the text.
  std::stable_sort(faults.begin(), faults.end(),
                   [](const Fault& a, const Fault& b) { return a.at < b.at; });
  std::vector<std::string> errors;
  for (const Fault& fault : faults) {
    if (errors.size() == kMaxErrors) break;
    errors.emplace_back(
        ErrorAt(text.path, text.bytes, fault.at, fault.reason).what());
  }
  if (faults.size() > kMaxErrors) {
    errors.push_back(text.path + ": more than " + std::to_string(kMaxErrors) +
                     " errors, the others are not listed");
  }
  return InputError(std::move(errors));
}

}  // namespace ipav::source
