// Finds the nodes that an error text is about. The names and numbers of the
// text are looked up in the configurations: a reading that they do not confirm
// is dropped. If more than one node matches, the note says so.
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

// The most nodes that are named for one role, such as new routes.
constexpr std::size_t kMaxNamed = 5;

// A refusal and both configurations, all borrowed.
struct Refusal {
  const DataView& running;
  const DataView& candidate;
  const datastore::Diff& diff;
  const std::string& path;  // of the validated node
  const Reading& reading;
  bool from_nothing = false;  // every node counts as set, also an unchanged one

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
struct CulpritNode {
  std::string role;
  const lyd_node* node;
  bool is_removed = false;
};

struct FoundCulprits {
  bool confirms = false;  // the configurations confirm the text
  std::vector<CulpritNode> nodes;
  std::string note;           // which nodes are missing, and why
  bool is_in_global = false;  // in the address space of global and mgmt
  bool is_total = false;      // too many of something; the nodes are new ones

  static FoundCulprits None(std::string why) {
    return {false, {}, std::move(why)};
  }
};

// Looks up the nodes for one reading of a text.
FoundCulprits FindCulprits(const Refusal& refusal);

// ---- By subject ------------------------------------------------------------

// Functions that look up the nodes of a refusal, by the rule of its message.
using CulpritSearches =
    std::map<std::string, FoundCulprits (*)(const Refusal&)>;

CulpritSearches InterfaceCulprits();
CulpritSearches OspfCulprits();
CulpritSearches RouteCulprits();

// ---- What they share -------------------------------------------------------

// Adds the nodes that the commit creates, at most kMaxNamed; the note says how
// many more there are.
void NameNew(const Refusal& refusal, const std::vector<const lyd_node*>& nodes,
             const char* role, FoundCulprits* culprits);

// Adds the leaf of that name in the candidate, or else the removed one of the
// running configuration, if there is one. A leaf that the commit does not
// change is added only if `even_unchanged`.
void AddLeaf(const Refusal& refusal, const lyd_node* candidate_parent,
             const char* leaf, const std::string& role, bool even_unchanged,
             FoundCulprits* culprits);

// The node of the running configuration that is the same instance as this node
// of the candidate; null if there is none.
const lyd_node* InRunning(const Refusal& refusal,
                          const lyd_node* candidate_node);

}  // namespace ipav::messages

#endif  // IPAV_MESSAGES_CULPRITS_H_
