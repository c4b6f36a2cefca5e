#include "host/confd/read.h"

#include "host/confd/confd_error.h"

namespace ipav::confd {

OwnedValue ReadLeaf(const Target& target) {
  if (target.schema->nodetype != LYS_LEAF) {
    throw ConfdError(CONFD_ERR_BADPATH, "not the path of a leaf");
  }
  if (target.node == nullptr) {
    throw ConfdError(CONFD_ERR_NOEXISTS, "no such element");
  }
  return ValueOf(*target.node);
}

OwnedValue ReadLeaf(const Target& target, confd_vtype type) {
  OwnedValue value = ReadLeaf(target);
  if (value->type != type) {
    throw ConfdError(CONFD_ERR_BADTYPE, "element has another type");
  }
  return value;
}

}  // namespace ipav::confd
