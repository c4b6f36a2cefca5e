// Reads one configuration by the names of its nodes. A name that the data model
// does not have is an absent node. The tree is borrowed.
#ifndef IPAV_MESSAGES_DATA_VIEW_H_
#define IPAV_MESSAGES_DATA_VIEW_H_

#include <libyang/libyang.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "host/datastore/data_tree.h"

namespace ipav::messages {

class DataView {
 public:
  explicit DataView(const datastore::DataTree& tree) : tree_(&tree) {}

  // The node at the end of the path `names` below `from` (null: the root),
  // which leads through containers only; null when there is none.
  const lyd_node* At(const lyd_node* from,
                     std::initializer_list<const char*> names) const;

  // The child of that name; null when there is none, or no parent.
  const lyd_node* Child(const lyd_node* parent, const char* name) const {
    return parent == nullptr ? nullptr : At(parent, {name});
  }

  // The leaf of that name in an entry; the entry when there is none.
  const lyd_node* LeafOrEntry(const lyd_node* entry, const char* name) const {
    const lyd_node* leaf = At(entry, {name});
    return leaf == nullptr ? entry : leaf;
  }

  std::vector<const lyd_node*> Entries(const lyd_node* parent,
                                       const char* list) const;
  const lyd_node* Entry(const lyd_node* parent, const char* list,
                        const std::vector<std::string>& keys) const;

  // The node at a path as confd::PrintPath() writes it; null when there is
  // none.
  const lyd_node* AtPath(const std::string& path) const;

 private:
  const lysc_node* SchemaOf(const lyd_node* parent, const char* name) const;

  const datastore::DataTree* tree_;
};

// The canonical value of a leaf; "" for any other node and for null.
std::string TextOf(const lyd_node* leaf);

// The entry of a list that the node is in; null if it is in none.
const lyd_node* EntryOf(const lyd_node* node);

// ---- Interfaces ------------------------------------------------------------

struct InterfaceName {
  std::string kind;  // l3, loopback, mgmt
  std::string name;
};

// Splits "l3 core1", the form of error texts, or "l3-core1", the form of
// tables.
InterfaceName SplitName(const std::string& text, char separator = ' ');

// The entry of an interface, null when there is none.
const lyd_node* FindInterface(const DataView& view, const InterfaceName& name);

// Its VRF; "global" if it names none.
std::string VrfOf(const DataView& view, const lyd_node* interface);

// Advice on VRFs whose names look special and are not: the rules know only the
// exact names global and mgmt. One line for each such name of an interface's
// VRF or of the table of VRFs, in alphabetical order.
std::vector<std::string> AdviceOnVrfNames(const datastore::DataTree& tree);

// The leaves of its addresses, the primary one first; none for no interface.
// `family` is ipv4 or ipv6.
std::vector<const lyd_node*> AddressesOf(const DataView& view,
                                         const lyd_node* interface,
                                         const char* family);

// The leaf of that address with its prefix length, null when there is none.
const lyd_node* FindAddress(const DataView& view, const lyd_node* interface,
                            const char* family, const std::string& prefix);

// The interface index of a VLAN, as tables have it: "1204" for "204".
std::string IfIndexOfVlan(const std::string& vlan);

// The address of a prefix: "10.1.1.1" for "10.1.1.1/24".
std::string WithoutLength(const std::string& prefix);

// The address of octets such as "0a:01:00:00", cut or filled with zeros to its
// family's size.
std::string AddressOfOctets(const std::string& text, int family);
// The same; up to four octets are an IPv4 address.
std::string AddressOfOctets(const std::string& text);

}  // namespace ipav::messages

#endif  // IPAV_MESSAGES_DATA_VIEW_H_
