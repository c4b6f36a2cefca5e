#include "host/source/faults.h"

namespace ipav::source {

Examined::Examined(const ly_ctx* the_context,
                   const datastore::InputText& the_text)
    : context(the_context),
      text(the_text),
      is_xml(text.format == LYD_XML),
      finder(&tree, is_xml),
      fragments(text.bytes, is_xml, &tree) {
  (is_xml ? ReadXml : ReadJson)(text.bytes, text.start, &tree);
  // Without the ends of all nodes, nothing can be examined.
  for (std::size_t i = 1; i < tree.size(); ++i) {
    if (tree[static_cast<SourceTree::Node>(i)].end == 0) tree = SourceTree();
  }
}

}  // namespace ipav::source
