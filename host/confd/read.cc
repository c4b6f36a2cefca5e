#include "confd/read.h"

#include <utility>

#include "confd/confd_error.h"
#include "confd/path.h"

namespace ipav::confd {

OwnedValue ReadLeaf(const datastore::DataTree& tree, const char* format,
                    va_list args) {
  const Target target = Resolve(tree, ParsePath(FormatPath(format, args)));
  if (target.schema->nodetype != LYS_LEAF) {
    throw ConfdError(CONFD_ERR_BADPATH, "not the path of a leaf");
  }
  if (target.node == nullptr) {
    throw ConfdError(CONFD_ERR_NOEXISTS, "no such element");
  }
  return ValueOf(*target.node);
}

OwnedValue ReadLeaf(const datastore::DataTree& tree, confd_vtype type,
                    const char* format, va_list args) {
  OwnedValue value = ReadLeaf(tree, format, args);
  if (value->type != type) {
    throw ConfdError(CONFD_ERR_BADTYPE, "element has another type");
  }
  return value;
}

}  // namespace ipav::confd
