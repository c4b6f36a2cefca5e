// A `tailf:validate` statement of the data model, as the YANG extension plug-in
// stores it in a compiled schema node (lysc_ext_instance::compiled) for the
// model. Shared by two binaries, so plain data only.
#ifndef IPAV_HOST_DATASTORE_VALIDATE_STATEMENT_H_
#define IPAV_HOST_DATASTORE_VALIDATE_STATEMENT_H_

#include <string>
#include <vector>

namespace ipav::datastore {

struct ValidateStatement {
  std::string opaque;  // empty if the statement has none
  bool has_opaque = false;
  bool call_once = false;
  int priority = 0;  // lower runs first
  // Location paths relative to the node, each prefix replaced by the name of
  // its module.
  std::vector<std::string> dependencies;
};

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_VALIDATE_STATEMENT_H_
