#include "host/view/address_plan.h"

#include <arpa/inet.h>
#include <confd_lib.h>
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

namespace ipav::view {

namespace {

using datastore::DataTree;
using datastore::Model;
using datastore::Novelty;

constexpr unsigned kBitsOfOctet = 8;

int AddressFamily(Family family) {
  return family == Family::kIpv4 ? AF_INET : AF_INET6;
}

// Clears what is behind the first `length` bits.
void ClearHostBits(AddressOctets* octets, unsigned length) {
  for (unsigned i = 0; i < octets->size(); ++i) {
    const unsigned before = i * kBitsOfOctet;
    const unsigned kept =
        length <= before ? 0 : std::min(length - before, kBitsOfOctet);
    (*octets)[i] &= static_cast<std::uint8_t>(0xff00U >> kept);
  }
}

// Length of what both have in common, of all bits.
unsigned CommonBits(const AddressOctets& a, const AddressOctets& b) {
  unsigned bits = 0;
  for (std::size_t i = 0; i < a.size(); ++i, bits += kBitsOfOctet) {
    unsigned difference = a[i] ^ static_cast<unsigned>(b[i]);
    if (difference == 0) continue;
    for (; (difference & 0x80U) == 0; difference <<= 1U) ++bits;
    return bits;
  }
  return bits;
}

// "address/length"; none where it is no such text.
std::optional<Network> ReadNetwork(Family family, const std::string& text) {
  const std::size_t slash = text.find('/');
  if (slash == std::string::npos) return std::nullopt;
  Network network;
  network.family = family;
  const char* end = text.data() + text.size();
  const auto [stop, error] =
      std::from_chars(text.data() + slash + 1, end, network.length);
  if (error != std::errc() || stop != end) return std::nullopt;
  if (network.length > WidthOf(family)) return std::nullopt;
  if (inet_pton(AddressFamily(family), text.substr(0, slash).c_str(),
                network.first.data()) != 1) {
    return std::nullopt;
  }
  ClearHostBits(&network.first, network.length);
  return network;
}

std::string_view AddressOf(const Prefix& prefix) {
  const std::string_view text = prefix.text;
  return text.substr(0, text.find('/'));
}

std::optional<Family> FamilyOf(const lysc_node& schema) {
  if (schema.nodetype != LYS_LEAF) return std::nullopt;
  const auto& leaf = reinterpret_cast<const lysc_node_leaf&>(schema);
  switch (datastore::ValueTypeOf(*leaf.type)) {
    case C_IPV4_AND_PLEN:
      return Family::kIpv4;
    case C_IPV6_AND_PLEN:
      return Family::kIpv6;
    default:
      return std::nullopt;
  }
}

// --- Reading a configuration

// Every address below the entries of the lists in /config/interface.
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
      const std::optional<Family> family = FamilyOf(*node->schema);
      if (family.has_value()) {
        Add(*family, *node);
      } else {
        ReadBelow(*node);
      }
    }
  }

  void Add(Family family, const lyd_node& leaf) {
    Prefix prefix;
    prefix.text = lyd_get_value(&leaf);
    const std::optional<Network> network = ReadNetwork(family, prefix.text);
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

// The global and the management VRF are one address space by design.
std::string SpaceOf(const std::string& vrf) {
  return vrf == "mgmt" ? "global" : vrf;
}

std::vector<Space> SplitBySpace(std::vector<Prefix> prefixes) {
  std::map<std::pair<bool, std::string>, std::vector<Prefix>> by_vrf;
  for (Prefix& prefix : prefixes) {
    const std::string vrf = SpaceOf(prefix.vrf);
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
  return std::tie(a.family, a.first, a.length) ==
         std::tie(b.family, b.first, b.length);
}

bool operator<(const Network& a, const Network& b) {
  return std::tie(a.family, a.first, a.length) <
         std::tie(b.family, b.first, b.length);
}

bool Contains(const Network& outer, const Network& inner) {
  return outer.family == inner.family && outer.length <= inner.length &&
         CommonBits(outer.first, inner.first) >= outer.length;
}

Network CoverOf(const Network& a, const Network& b) {
  Network cover = a;
  cover.length = std::min({a.length, b.length, CommonBits(a.first, b.first)});
  ClearHostBits(&cover.first, cover.length);
  return cover;
}

std::string TextOf(const Network& network) {
  char text[INET6_ADDRSTRLEN] = "";
  inet_ntop(AddressFamily(network.family), network.first.data(), text,
            sizeof(text));
  return std::string(text) + '/' + std::to_string(network.length);
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
