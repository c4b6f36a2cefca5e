// The changes of a commit as a NETCONF operation.
#ifndef IPAV_CLI_PLAN_EDIT_CONFIG_H_
#define IPAV_CLI_PLAN_EDIT_CONFIG_H_

#include <string>

#include "host/datastore/diff.h"

namespace ipav::cli::plan {

// An <edit-config> of the candidate (RFC 6241, section 7.2), to be put into an
// <rpc>. New and changed nodes are replaced, deleted ones removed.
std::string EditConfig(const datastore::Diff& diff);

}  // namespace ipav::cli::plan

#endif  // IPAV_CLI_PLAN_EDIT_CONFIG_H_
