#include "messages/data_view.h"

#include <arpa/inet.h>
#include <ids/limid.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <utility>

#include "host/confd/confd_error.h"
#include "host/confd/path.h"
#include "host/datastore/model.h"

namespace ipav::messages {

namespace {

bool LooksSpecial(const std::string& name) {
  if (name == "global" || name == "mgmt") return false;
  std::string lower = name;
  std::transform(
      lower.begin(), lower.end(), lower.begin(),
      [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower == "global" || lower == "mgmt" || lower == "default" ||
         lower == "management";
}

}  // namespace

const lysc_node* DataView::SchemaOf(const lyd_node* parent,
                                    const char* name) const {
  return tree_->model().FindChild(parent == nullptr ? nullptr : parent->schema,
                                  "", name);
}

const lyd_node* DataView::At(const lyd_node* from,
                             std::initializer_list<const char*> names) const {
  const lyd_node* node = from;
  for (const char* name : names) {
    const lysc_node* schema = SchemaOf(node, name);
    node = schema == nullptr ? nullptr : tree_->Find(node, *schema);
    if (node == nullptr) return nullptr;
  }
  return node;
}

std::vector<const lyd_node*> DataView::Entries(const lyd_node* parent,
                                               const char* list) const {
  const lysc_node* schema = SchemaOf(parent, list);
  if (schema == nullptr) return {};
  return tree_->Entries(parent, *schema);
}

const lyd_node* DataView::Entry(const lyd_node* parent, const char* list,
                                const std::vector<std::string>& keys) const {
  const lysc_node* schema = SchemaOf(parent, list);
  if (schema == nullptr || schema->nodetype != LYS_LIST) return nullptr;
  return tree_->FindEntry(parent, *schema, keys);
}

const lyd_node* DataView::AtPath(const std::string& path) const {
  try {
    return confd::Resolve(*tree_, confd::ParsePath(path)).node;
  } catch (const confd::ConfdError&) {
    return nullptr;  // a path of another data model
  }
}

std::string TextOf(const lyd_node* leaf) {
  if (leaf == nullptr ||
      (leaf->schema->nodetype & (LYS_LEAF | LYS_LEAFLIST)) == 0) {
    return "";
  }
  return datastore::CanonicalText(*leaf->schema, lyd_get_value(leaf));
}

InterfaceName SplitName(const std::string& text, char separator) {
  const std::size_t end = std::min(text.find(separator), text.size());
  return {text.substr(0, end), end < text.size() ? text.substr(end + 1) : ""};
}

const lyd_node* FindInterface(const DataView& view, const InterfaceName& name) {
  return view.Entry(view.At(nullptr, {"config", "interface"}),
                    name.kind.c_str(), {name.name});
}

std::string VrfOf(const DataView& view, const lyd_node* interface) {
  const lyd_node* vrf = view.At(interface, {"vrf"});
  return vrf == nullptr ? "global" : TextOf(vrf);
}

std::vector<std::string> AdviceOnVrfNames(const datastore::DataTree& tree) {
  const DataView view(tree);
  std::set<std::string> names;
  const auto take = [&](const lyd_node* parent, const char* list,
                        const char* leaf) {
    for (const lyd_node* entry : view.Entries(parent, list)) {
      std::string name = TextOf(view.At(entry, {leaf}));
      if (LooksSpecial(name)) names.insert(std::move(name));
    }
  };
  const lyd_node* interfaces = view.At(nullptr, {"config", "interface"});
  for (const char* kind : {"l3", "loopback", "mgmt"}) {
    take(interfaces, kind, "vrf");
  }
  take(view.At(nullptr, {"internal", "vrf-config"}), "indexTOstring", "vname");

  std::vector<std::string> advice;
  advice.reserve(names.size());
  for (const std::string& name : names) {
    advice.push_back("VRF " + name +
                     " is an address space of its own: only the exact names "
                     "global and mgmt are special");
  }
  return advice;
}

std::vector<const lyd_node*> AddressesOf(const DataView& view,
                                         const lyd_node* interface,
                                         const char* family) {
  std::vector<const lyd_node*> leaves;
  const auto add = [&](const lyd_node* parent) {
    const lyd_node* ip = view.Child(parent, "ip");
    if (ip != nullptr) leaves.push_back(ip);
  };
  const lyd_node* container = view.Child(interface, family);
  if (container == nullptr) return leaves;
  // A list of them, or a container of the primary one and the others.
  for (const lyd_node* address : view.Entries(container, "address")) {
    add(address);
    if (address->schema->nodetype == LYS_LIST) continue;
    for (const lyd_node* other : view.Entries(address, "secondary")) add(other);
  }
  return leaves;
}

const lyd_node* FindAddress(const DataView& view, const lyd_node* interface,
                            const char* family, const std::string& prefix) {
  for (const lyd_node* leaf : AddressesOf(view, interface, family)) {
    if (TextOf(leaf) == prefix) return leaf;
  }
  return nullptr;
}

std::string AddressOfOctets(const std::string& text, int family) {
  unsigned char octets[sizeof(in6_addr)] = {};
  for (std::size_t i = 0; i < sizeof(octets) && 3 * i + 2 <= text.size(); ++i) {
    const char* begin = text.data() + 3 * i;
    static_cast<void>(std::from_chars(begin, begin + 2, octets[i], 16));
  }
  char printed[INET6_ADDRSTRLEN] = "";
  static_cast<void>(inet_ntop(family, octets, printed, sizeof(printed)));
  return printed;
}

std::string AddressOfOctets(const std::string& text) {
  constexpr std::size_t kIpv4Size = sizeof("00:00:00:00") - 1;
  return AddressOfOctets(text, text.size() <= kIpv4Size ? AF_INET : AF_INET6);
}

const lyd_node* EntryOf(const lyd_node* node) {
  while (node != nullptr && node->schema->nodetype != LYS_LIST) {
    node = lyd_parent(node);
  }
  return node;
}

std::string IfIndexOfVlan(const std::string& vlan) {
  limid_t limid = 0;
  std::uint32_t ifindex = 0;
  static_cast<void>(limid_l3_vlan_from_components(
      &limid,
      static_cast<std::int32_t>(std::strtol(vlan.c_str(), nullptr, 10))));
  static_cast<void>(limid_to_ifindex(limid, &ifindex));
  return std::to_string(ifindex);
}

std::string WithoutLength(const std::string& prefix) {
  return prefix.substr(0, prefix.find('/'));
}

}  // namespace ipav::messages
