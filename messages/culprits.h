// Which nodes a text is about. The text gives names and numbers, and the data
// decide: a reading that they do not confirm is dropped, and where more than
// one node fits, the note says so instead of a guess.
#ifndef IPAV_MESSAGES_CULPRITS_H_
#define IPAV_MESSAGES_CULPRITS_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "host/datastore/diff.h"
#include "messages/data_view.h"
#include "messages/match.h"

namespace ipav::messages {

// At most so many nodes of one role (as new routes) are named.
constexpr std::size_t kMaxNamed = 5;

// A refusal, and where to look.
struct Case {
  const DataView& running;
  const DataView& candidate;
  const datastore::Diff& diff;
  const std::string& path;  // of the node that was judged
  const Reading& reading;

  // "ipv4" or "ipv6", as the text is about.
  const char* Family() const {
    return reading.text->key == "ipv6" ? "ipv6" : "ipv4";
  }
  const std::string& Field(const char* name) const {
    return reading.Field(name);
  }
  bool IsNew(const lyd_node* candidate_node) const;
  bool IsUnchanged(const lyd_node* candidate_node) const;
};

// A node of the candidate, or a removed one of the running configuration.
struct Suspect {
  std::string role;
  const lyd_node* node;
  bool is_removed = false;
};

struct Evidence {
  bool confirms = false;  // the data show what the text says
  std::vector<Suspect> suspects;
  std::string note;  // what is missing among them, or why there are none

  static Evidence None(std::string why) { return {false, {}, std::move(why)}; }
};

// What the data show for one reading of a text.
Evidence Investigate(const Case& refusal);

// ---- By subject ------------------------------------------------------------

// What looks up the nodes of a refusal, by the id of its message.
using Investigators = std::map<std::string, Evidence (*)(const Case&)>;

Investigators InterfaceCulprits();
Investigators OspfCulprits();
Investigators RouteCulprits();
Investigators TimerCulprits();

// ---- What they share -------------------------------------------------------

// Names the new ones among the nodes, at most kMaxNamed; the note says how many
// more there are.
void NameNew(const Case& refusal, const std::vector<const lyd_node*>& nodes,
             const char* role, Evidence* evidence);

// Adds the leaf of that name, as it is or as it was removed; nothing where
// neither configuration has it.
void SuspectLeaf(const Case& refusal, const lyd_node* candidate_parent,
                 const char* leaf, const std::string& role, bool even_unchanged,
                 Evidence* evidence);

// The node of the running configuration that is the same instance as this one
// of the candidate; null where there is none.
const lyd_node* InRunning(const Case& refusal, const lyd_node* candidate_node);

}  // namespace ipav::messages

#endif  // IPAV_MESSAGES_CULPRITS_H_
