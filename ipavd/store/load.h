// Loads the state folder when a server starts.
#ifndef IPAV_IPAVD_STORE_LOAD_H_
#define IPAV_IPAVD_STORE_LOAD_H_

#include <optional>
#include <string>
#include <vector>

#include "ipavd/store/commit_gate.h"
#include "ipavd/store/nodes.h"
#include "ipavd/store/state_folder.h"

namespace ipav::store {

// The files of a state folder.
inline constexpr const char* kRunningFile = "running.xml";
inline constexpr const char* kStartupFile = "startup.xml";
inline constexpr const char* kCandidateFile = "candidate.xml";
// The running configuration before a confirmed commit that is not confirmed.
inline constexpr const char* kRollbackFile = "rollback.xml";
// Exists since the folder first had a running configuration. If running.xml is
// missing then, it was lost.
inline constexpr const char* kVersionFile = "version";

struct Loaded {
  Configuration running;           // never null
  Configuration startup;           // null: there is none
  std::optional<Nodes> candidate;  // none: same as running
  std::vector<std::string> notices;
};

// Running is rollback.xml if a confirmed commit was not confirmed; else
// running.xml; if that is missing, startup.xml; and empty on the first start.
// The gate validates it as a change from an empty configuration. It is on the
// disk when the function returns.
//
// Throws StateError if a file is damaged, missing or refused, or if the plug-in
// fails, and then has written only what it had accepted. A damaged candidate is
// discarded.
Loaded Load(const CommitGate& gate, StateFolder* folder);

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_LOAD_H_
