#include "host/view/address_plan.h"

#include <arpa/inet.h>
#include <confd_lib.h>
#include <endian.h>
#include <libyang/libyang.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

#include "host/confd/path.h"
#include "host/datastore/model.h"
#include "nettypes/address_space.h"
#include "nettypes/ipv4.h"
#include "nettypes/ipv6.h"

namespace ipav::view {

namespace {

using datastore::DataTree;
using datastore::Model;
using datastore::Novelty;

std::string_view AddressOf(const Prefix& prefix) {
  const std::string_view text = prefix.text;
  return text.substr(0, text.find('/'));
}

bool IsAddressWithLength(const lysc_node& schema) {
  if (schema.nodetype != LYS_LEAF) return false;
  const auto& leaf = reinterpret_cast<const lysc_node_leaf&>(schema);
  const confd_vtype type = datastore::ValueTypeOf(*leaf.type);
  return type == C_IPV4_AND_PLEN || type == C_IPV6_AND_PLEN;
}

// --- Reading a configuration

// All addresses below the entries of the lists in /config/interface.
class Reader {
 public:
  std::vector<Prefix> Read(const DataTree& tree) {
    const Model& model = tree.model();
    const lysc_node* config = model.FindChild(nullptr, "", "config");
    if (config == nullptr) return {};
    const lysc_node* all = model.FindChild(config, "", "interface");
    const lyd_node* root = tree.Find(nullptr, *config);
    if (all == nullptr || root == nullptr) return {};
    const lyd_node* node = tree.FirstChild(tree.Find(root, *all));
    for (; node != nullptr; node = node->next) {
      if (node->schema->nodetype == LYS_LIST) ReadInterface(*node);
    }
    return std::move(prefixes_);
  }

 private:
  void ReadInterface(const lyd_node& entry) {
    interface_ = entry.schema->name;
    for (const std::string& key : datastore::KeysOf(&entry)) {
      interface_ += ' ' + key;
    }
    vrf_ = "global";
    const lyd_node* node = lyd_child(&entry);
    for (; node != nullptr; node = node->next) {
      if (std::string_view(node->schema->name) == "vrf") {
        vrf_ = lyd_get_value(node);
      }
    }
    ReadBelow(entry);
  }

  void ReadBelow(const lyd_node& parent) {
    const lyd_node* node = lyd_child(&parent);
    for (; node != nullptr; node = node->next) {
      if (IsAddressWithLength(*node->schema)) {
        Add(*node);
      } else {
        ReadBelow(*node);
      }
    }
  }

  void Add(const lyd_node& leaf) {
    Prefix prefix;
    prefix.text = lyd_get_value(&leaf);
    const std::optional<Network> network = ParseNetwork(prefix.text);
    if (!network.has_value()) return;
    prefix.network = *network;
    prefix.interface = interface_;
    prefix.vrf = vrf_;
    prefix.path =
        confd::PrintPath(lysc_is_key(leaf.schema) ? lyd_parent(&leaf) : &leaf);
    prefixes_.push_back(std::move(prefix));
  }

  std::vector<Prefix> prefixes_;
  std::string interface_;
  std::string vrf_;
};

// --- Against the running configuration

void CompareWith(const std::vector<Prefix>& running,
                 std::vector<Prefix>* prefixes) {
  std::map<std::string_view, const Prefix*> left;  // by path
  for (const Prefix& old : running) left.emplace(old.path, &old);
  for (Prefix& prefix : *prefixes) {
    const auto found = left.find(prefix.path);
    if (found == left.end()) {
      prefix.novelty = Novelty::kAdded;
      continue;
    }
    const Prefix& old = *found->second;
    left.erase(found);
    if (old.text == prefix.text && old.vrf == prefix.vrf) continue;
    prefix.novelty = Novelty::kChanged;
    if (old.text != prefix.text) prefix.before = old.text;
    if (old.vrf != prefix.vrf) {
      prefix.before +=
          (prefix.before.empty() ? "" : " ") + std::string("in VRF ") + old.vrf;
    }
  }
  for (const auto& [path, old] : left) {
    prefixes->push_back(*old);
    prefixes->back().novelty = Novelty::kRemoved;
  }
}

// --- Conflicts

bool MayNotMeet(const Prefix& a, const Prefix& b) {
  return a.interface != b.interface || AddressOf(a) == AddressOf(b);
}

// One sweep: the prefixes that contain the current one are on a stack.
void FindOverlaps(std::vector<Prefix>* prefixes) {
  std::vector<std::size_t> open;
  for (std::size_t i = 0; i < prefixes->size(); ++i) {
    Prefix& prefix = (*prefixes)[i];
    if (prefix.novelty == Novelty::kRemoved) continue;
    while (!open.empty() &&
           !Contains((*prefixes)[open.back()].network, prefix.network)) {
      open.pop_back();
    }
    const auto nearest = std::find_if(
        open.rbegin(), open.rend(),
        [&](std::size_t j) { return MayNotMeet((*prefixes)[j], prefix); });
    if (nearest != open.rend()) {
      prefix.overlaps.push_back(*nearest);
      (*prefixes)[*nearest].overlaps.push_back(i);
    }
    open.push_back(i);
  }
}

using FindingsByPath = std::map<std::string, std::vector<std::size_t>>;

// A finding may name the list entry that is an address, or its key.
FindingsByPath ByPath(const std::vector<std::vector<std::string>>& findings) {
  FindingsByPath by_path;
  for (std::size_t i = 0; i < findings.size(); ++i) {
    for (const std::string& path : findings[i]) {
      const std::string parent = path.substr(0, path.rfind('/'));
      for (const std::string& named : {path, parent}) {
        std::vector<std::size_t>& numbers = by_path[named];
        if (numbers.empty() || numbers.back() != i) numbers.push_back(i);
      }
    }
  }
  return by_path;
}

std::vector<Space> SplitBySpace(std::vector<Prefix> prefixes) {
  std::map<std::pair<bool, std::string>, std::vector<Prefix>> by_vrf;
  for (Prefix& prefix : prefixes) {
    const std::string vrf(nettypes::AddressSpaceOf(prefix.vrf));
    by_vrf[{vrf != "global", vrf}].push_back(std::move(prefix));
  }
  std::vector<Space> spaces;
  for (auto& [key, members] : by_vrf) {
    const auto& [is_other, vrf] = key;
    spaces.push_back(
        {is_other ? "VRF " + vrf : "VRFs global and mgmt", std::move(members)});
  }
  return spaces;
}

}  // namespace

bool operator==(const Network& a, const Network& b) {
  return a.family == b.family && a.block == b.block;
}

bool operator<(const Network& a, const Network& b) {
  return std::tie(a.family, a.block) < std::tie(b.family, b.block);
}

bool Contains(const Network& outer, const Network& inner) {
  return outer.family == inner.family &&
         nettypes::Contains(outer.block, inner.block);
}

Network CoverOf(const Network& a, const Network& b) {
  return {a.family, nettypes::CoverOf(a.block, b.block)};
}

std::string TextOf(const Network& network) {
  const nettypes::Network& block = network.block;
  const std::uint64_t words[] = {htobe64(block.high), htobe64(block.low)};
  char text[INET6_ADDRSTRLEN] = "";
  inet_ntop(network.family == Family::kIpv4 ? AF_INET : AF_INET6, words, text,
            sizeof(text));
  return std::string(text) + '/' + std::to_string(block.length);
}

std::optional<Network> ParseNetwork(const std::string& text) {
  const std::size_t slash = text.find('/');
  if (slash == std::string::npos) return std::nullopt;
  const std::string address = text.substr(0, slash);
  const char* end = text.data() + text.size();
  int length = 0;
  const auto [stop, error] =
      std::from_chars(text.data() + slash + 1, end, length);
  if (error != std::errc() || stop != end || length < 0) return std::nullopt;
  in_addr ipv4{};
  if (inet_pton(AF_INET, address.c_str(), &ipv4) == 1) {
    nettypes::IPv4AddrMask mask;
    mask.set_addr(ipv4.s_addr);
    mask.set_prefix_len(length);
    if (length > nettypes::IPv4AddrMask::kMaxPrefixLen) return std::nullopt;
    return Network{Family::kIpv4, nettypes::NetworkOf(mask)};
  }
  in6_addr ipv6{};
  if (inet_pton(AF_INET6, address.c_str(), &ipv6) != 1 ||
      length > nettypes::IPv6AddrMask::kMaxPrefixLen) {
    return std::nullopt;
  }
  return Network{Family::kIpv6,
                 nettypes::NetworkOf(nettypes::IPv6AddrMask(ipv6, length))};
}

AddressPlan PlanOf(const DataTree& running, const DataTree& candidate,
                   const std::vector<std::vector<std::string>>& findings) {
  std::vector<Prefix> prefixes = Reader().Read(candidate);
  CompareWith(Reader().Read(running), &prefixes);
  const FindingsByPath by_path = ByPath(findings);
  for (Prefix& prefix : prefixes) {
    const auto named = by_path.find(prefix.path);
    if (named != by_path.end()) prefix.findings = named->second;
  }

  AddressPlan plan{SplitBySpace(std::move(prefixes))};
  for (Space& space : plan.spaces) {
    std::sort(space.prefixes.begin(), space.prefixes.end(),
              [](const Prefix& a, const Prefix& b) {
                return std::tie(a.network, a.interface, a.text) <
                       std::tie(b.network, b.interface, b.text);
              });
    FindOverlaps(&space.prefixes);
  }
  return plan;
}

}  // namespace ipav::view
