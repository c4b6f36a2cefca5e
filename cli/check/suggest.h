// Adds to the findings of a refused commit the ways out that hold.
#ifndef IPAV_CLI_CHECK_SUGGEST_H_
#define IPAV_CLI_CHECK_SUGGEST_H_

#include <string>
#include <vector>

#include "host/base/time_limit.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/input_text.h"
#include "messages/finding.h"

namespace ipav::cli::check {

// The candidate was read from that text. When the time is over, the findings
// that are left have no fixes, and a note. Throws plugin::PluginError.
void AddFixes(const datastore::DataTree& running,
              const datastore::DataTree& candidate,
              const datastore::InputText& text, const std::string& plugin,
              base::TimeLimit time, std::vector<messages::Finding>* findings);

}  // namespace ipav::cli::check

#endif  // IPAV_CLI_CHECK_SUGGEST_H_
