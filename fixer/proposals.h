// Ways out of a refusal that can be guessed from its message, the nodes that it
// names, and both configurations. They are not judged yet.
#ifndef IPAV_FIXER_PROPOSALS_H_
#define IPAV_FIXER_PROPOSALS_H_

#include <libyang/libyang.h>

#include <map>
#include <string>
#include <vector>

#include "fixer/edits.h"
#include "messages/data_view.h"
#include "messages/finding.h"

namespace ipav::fixer {

struct Proposal {
  bool is_safe = false;  // the configuration means the same afterwards
  std::string text;      // one line: what is changed
  std::vector<Edit> edits;
};
using Proposals = std::vector<Proposal>;

// A refusal and both configurations, all borrowed.
struct Subject {
  const messages::Finding& finding;
  const messages::DataView& running;
  const messages::DataView& candidate;
};

// The best first. None if there is nothing to guess.
Proposals Propose(const Subject& subject);

// ---- By subject ------------------------------------------------------------

// Functions that make the proposals, by the rule of the message.
using Proposers = std::map<std::string, Proposals (*)(const Subject&)>;

Proposers InterfaceProposers();
Proposers OspfProposers();
Proposers RouteProposers();
Proposers TimerProposers();

// ---- What they share -------------------------------------------------------

Edit Set(const lyd_node* leaf, std::string value);
Edit Add(const lyd_node* parent, std::string name, std::string value);
Edit Remove(const lyd_node* node);

// The first culprit with that role; null if there is none.
const messages::Culprit* WithRole(const Subject& subject, const char* role);
// Its node of the candidate; null if there is none.
const lyd_node* NodeWithRole(const Subject& subject, const char* role);

using messages::EntryOf;

// The entry of an interface that the node is in; null if it is in none.
const lyd_node* InterfaceOf(const lyd_node* node);
bool IsLoopback(const lyd_node* interface);
// "l3 users"
std::string NameOf(const lyd_node* interface, const char* separator = " ");

// All entries of the lists of interfaces.
std::vector<const lyd_node*> InterfacesOf(const messages::DataView& view);

// The edits that remove a static route.
void RemoveRoute(const messages::DataView& view, const lyd_node* route,
                 std::vector<Edit>* edits);
std::vector<const lyd_node*> RoutesOf(const messages::DataView& view);
// The VRF of a route.
std::string VrfOfRoute(const messages::DataView& view, const lyd_node* route);
// The address in a leaf such as "0a:01:00:00".
std::string AddressOfOctets(const lyd_node* leaf);

// Gives the address of a leaf to the next free host of its subnet.
void ProposeFreeHost(const Subject& subject, const lyd_node* leaf,
                     bool is_upwards, Proposals* proposals);

}  // namespace ipav::fixer

#endif  // IPAV_FIXER_PROPOSALS_H_
