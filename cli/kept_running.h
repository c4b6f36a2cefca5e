// A running configuration that stays in memory for the commands that a process
// forks, so that they need not read it again.
#ifndef IPAV_CLI_KEPT_RUNNING_H_
#define IPAV_CLI_KEPT_RUNNING_H_

#include <string>

#include "host/datastore/model.h"
#include "host/datastore/transaction.h"

namespace ipav::cli {

// Reads the file and drops the one before, unless it is kept already. Keeps
// nothing if it is larger than 16 MiB or the model, which is borrowed, refuses
// it. To be called when another process has read it in time.
void KeepRunning(const datastore::Model& model, const std::string& file);

// Null if that file is not kept, or has changed since.
const datastore::Running* KeptRunning(const std::string& file);

}  // namespace ipav::cli

#endif  // IPAV_CLI_KEPT_RUNNING_H_
