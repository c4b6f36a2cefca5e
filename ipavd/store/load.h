// What a server finds in its state folder when it starts.
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
// There since the folder first had a running configuration: one that has none
// then has lost it.
inline constexpr const char* kVersionFile = "version";

struct Loaded {
  Configuration running;           // never null
  Configuration startup;           // null: there is none
  std::optional<Nodes> candidate;  // none: it is running
  std::vector<std::string> notices;
};

// Where a confirmed commit was not confirmed, running is what was before it;
// where there is no running.xml, it is startup.xml, and on the first start
// nothing. All that becomes running goes through the gate, as a change from
// nothing configured, and is on the disk when it returns.
//
// Throws StateError where a file is damaged, or missing, or refused, and then
// has written nothing but what it had accepted. A candidate is given up then.
Loaded Load(const CommitGate& gate, StateFolder* folder);

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_LOAD_H_
