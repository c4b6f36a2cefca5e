#include "ipavd/store/nodes.h"

#include <new>

namespace ipav::store {

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

}  // namespace ipav::store
