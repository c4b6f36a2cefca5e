#include "plain_model.h"

#include <arpa/inet.h>

#include <algorithm>

namespace ipav::model {

namespace {

constexpr char kInvalidInterface[] =
    "invalid interface being handled by IP-App validation";

bool IsZero(const Octets& address) {
  return std::all_of(address.begin(), address.end(),
                     [](std::uint8_t octet) { return octet == 0; });
}

// Bit 0 is the first one.
bool Bit(const Octets& address, std::int32_t bit) {
  const auto at = static_cast<std::size_t>(bit);
  return ((address[at / 8] >> (7 - at % 8)) & 1) != 0;
}

std::int32_t Width(const Octets& address) {
  return static_cast<std::int32_t>(address.size() * 8);
}

bool PrefixesOverlap(const Prefix& a, const Prefix& b) {
  for (std::int32_t bit = 0; bit < Width(a.address); ++bit) {
    if (bit >= a.length || bit >= b.length) return true;
    if (Bit(a.address, bit) != Bit(b.address, bit)) return false;
  }
  return true;
}

bool HostBitsAreAll(bool value, const Prefix& prefix) {
  for (std::int32_t bit = prefix.length; bit < Width(prefix.address); ++bit) {
    if (Bit(prefix.address, bit) != value) return false;
  }
  return true;
}

bool Less(const Prefix& a, const Prefix& b) {
  if (a.address != b.address) return a.address < b.address;
  return a.length < b.length;
}

// The octets that a family takes of those that a row holds.
Octets Cut(const Octets& octets, int family) {
  const std::size_t size = family == 4 ? 4 : 16;
  Octets cut = octets;
  cut.resize(size);
  return cut;
}

bool BeginsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

std::string NameOf(const TextLeaf& leaf, const std::string& when_unreadable) {
  if (!leaf.exists) return "global";
  return leaf.text.value_or(when_unreadable);
}

bool IsGlobalOrMgmt(const std::string& vrf) {
  return vrf == "global" || vrf == "mgmt";
}

}  // namespace

bool operator==(const Prefix& a, const Prefix& b) {
  return a.address == b.address && a.length == b.length;
}

bool operator==(const Answer& a, const Answer& b) {
  const bool verdicts_agree = a.out_of_range || a.verdict == b.verdict;
  return a.out_of_range == b.out_of_range && verdicts_agree &&
         a.text == b.text && a.faults == b.faults && a.log == b.log;
}

std::string AddressText(const Octets& address) {
  char text[INET6_ADDRSTRLEN] = "";
  const int family = address.size() == 4 ? AF_INET : AF_INET6;
  return inet_ntop(family, address.data(), text, sizeof(text));
}

std::string PrefixText(const Prefix& prefix) {
  return AddressText(prefix.address) + "/" + std::to_string(prefix.length);
}

// ---- Calls -----------------------------------------------------------------

Answer PlainModel::Run(const Call& call, const Configuration& current) {
  current_ = &current;
  rule_text_.clear();
  answer_ = {};
  switch (call.action) {
    case Action::kValidate:
      Validate(call);
      return answer_;
    case Action::kReadRoutes:
      answer_.out_of_range = !ReadRoutes(call.family);
      return answer_;
    case Action::kMerge:
      MergeL3s();
      return answer_;
    case Action::kRouteRules:
      answer_.verdict = RouteRules() ? 0 : -1;
      break;
    case Action::kNextHopRule:
      answer_.verdict = NextHopRule() ? 0 : -1;
      break;
    case Action::kLimitRule:
      answer_.verdict = LimitRule() ? 0 : -1;
      break;
    case Action::kBlackHoleRule:
      answer_.verdict = BlackHoleRule() ? 0 : -1;
      break;
    case Action::kOutputRule:
      answer_.verdict = OutputRule() ? 0 : -1;
      break;
  }
  if (answer_.verdict != 0) answer_.text = rule_text_;
  return answer_;
}

void PlainModel::Validate(const Call& call) {
  if (BeginsWith(call.opaque, "intf_l3_name_validation")) {
    ValidateNames();
  } else if (BeginsWith(call.opaque, "ipv4_addr_validation")) {
    ValidateAddresses(call.target, 4);
  } else if (BeginsWith(call.opaque, "ipv6_addr_validation")) {
    ValidateAddresses(call.target, 6);
  } else {
    answer_.verdict = -1;
  }
}

bool PlainModel::Refuse(const std::string& text) {
  rule_text_ = text;
  return false;
}

void PlainModel::ValidateNames() {
  ReadL3(4);
  const std::size_t count = l3_.records.size();
  bool holds = true;
  if (count > 256) {
    holds = Refuse("too many 'interface l3', " + std::to_string(count) +
                   " configured, at most 256 must be configured");
  }
  for (std::size_t i = 0; holds && i < count; ++i) {
    const std::string& name = l3_.records[i].name;
    const std::string part = name.substr(name.find(' ') + 1);
    const std::string start = "L3 interface name " + part;
    const std::string allowed =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-";
    if (part.size() > 60) {
      holds = Refuse(start + " is too long (maximum length: 60 characters)");
    } else if (part.empty()) {
      holds = Refuse(start + " is too short (minimum length: 1 character)");
    } else if (part.find_first_not_of(allowed) != std::string::npos) {
      holds = Refuse(start +
                     " contains invalid characters (allowed characters: 0-9, "
                     "a-z, A-Z, _, -)");
    }
  }
  if (holds) return;
  answer_.verdict = -1;
  answer_.text = rule_text_;
}

void PlainModel::ValidateAddresses(Target target, int family) {
  const Reader* changed = ReaderOf(target);
  if (changed == nullptr) {
    answer_.verdict = -1;
    answer_.text = kInvalidInterface;
    return;
  }
  ReadL3(family);
  ReadLoopback(family);
  ReadMgmt(family);
  if (!ReadRoutes(family)) {
    answer_.out_of_range = true;
    return;
  }
  if (AddressesHold(*changed, family)) return;
  answer_.verdict = -1;
  answer_.text = rule_text_;
}

bool PlainModel::AddressesHold(const Reader& changed, int family) {
  for (std::size_t i = 0; i < changed.records.size(); ++i) {
    const Record& record = changed.records[i];
    if (family == 4 && !IsUsable(record)) return false;
    if (HasDuplicate(record, family)) return false;
    for (std::size_t j = i + 1; j < changed.records.size(); ++j) {
      if (Overlap(record, changed.records[j], family)) return false;
    }
    if (IsNextHop(record, family)) return false;
  }
  for (const Reader* others : AllReaders()) {
    if (others == &changed) continue;
    for (const Record& other : others->records) {
      for (const Record& record : changed.records) {
        if (Overlap(record, other, family)) return false;
      }
    }
  }
  return true;
}

const PlainModel::Reader* PlainModel::ReaderOf(Target target) const {
  if (target == Target::kL3) return &l3_;
  if (target == Target::kLoopback) return &lo_;
  if (target == Target::kMgmt) return &mgmt_;
  return nullptr;
}

// ---- Reading ---------------------------------------------------------------

void PlainModel::ReadL3(int family) {
  bool& read = family == 4 ? l3_.ipv4_read : l3_.ipv6_read;
  if (read) return;
  for (const InterfaceEntry& entry : current_->l3) {
    Record record;
    if (family == 4) {
      if (entry.primary && !IsZero(entry.primary->address)) {
        record.ipv4.push_back(*entry.primary);
      }
      AppendEntries(entry.ipv4, "IPv4", &record.ipv4);
    } else {
      AppendEntries(entry.ipv6, "IPv6", &record.ipv6);
    }
    record.has_lower_layer = entry.vlan.value_or(0) != 0;
    record.vrf = NameOf(entry.vrf, "");
    record.name = "l3 " + entry.key;
    Merge(record, &l3_);
  }
  read = true;
}

void PlainModel::ReadLoopback(int family) {
  bool& read = family == 4 ? lo_.ipv4_read : lo_.ipv6_read;
  if (read) return;
  for (const InterfaceEntry& entry : current_->loopback) {
    Record record;
    if (family == 4) AppendEntries(entry.ipv4, "IPv4", &record.ipv4);
    if (family == 6) AppendEntries(entry.ipv6, "IPv6", &record.ipv6);
    record.vrf = NameOf(entry.vrf, "");
    record.name = "loopback " + entry.key;
    Merge(record, &lo_);
  }
  read = true;
}

void PlainModel::ReadMgmt(int family) {
  bool& read = family == 4 ? mgmt_.ipv4_read : mgmt_.ipv6_read;
  if (read) return;
  for (const InterfaceEntry& entry : current_->mgmt) {
    Record record;
    if (family == 4) {
      if (entry.primary && !IsZero(entry.primary->address)) {
        record.ipv4.push_back(*entry.primary);
      } else {
        ReportMissing("IPv4", entry.key);
      }
    } else {
      AppendEntries(entry.ipv6, "IPv6", &record.ipv6);
    }
    record.vrf = NameOf(entry.vrf, "");
    record.name = "mgmt " + entry.key;
    Merge(record, &mgmt_);
  }
  read = true;
}

void PlainModel::AppendEntries(const std::vector<AddressEntry>& entries,
                               const std::string& family_word,
                               std::vector<Prefix>* prefixes) {
  for (const AddressEntry& entry : entries) {
    if (entry.ip && !IsZero(entry.ip->address)) {
      prefixes->push_back(*entry.ip);
    } else {
      ReportMissing(family_word, entry.key);
    }
  }
}

void PlainModel::ReportMissing(const std::string& family_word,
                               const std::string& key) {
  answer_.faults.push_back("Unspecified " + family_word + " address for key '" +
                           key + "'");
}

void PlainModel::MergeL3s() {
  for (const InterfaceEntry& entry : current_->l3) {
    Record record;
    record.name = "l3 " + entry.key;
    record.vrf = "merged";
    if (entry.primary) record.ipv4.push_back(*entry.primary);
    for (const AddressEntry& address : entry.ipv6) {
      if (address.ip) record.ipv6.push_back(*address.ip);
    }
    Merge(record, &l3_);
  }
}

void PlainModel::Merge(const Record& record, Reader* reader) {
  for (Record& known : reader->records) {
    if (known.name != record.name) continue;
    if (known.ipv4.empty() && !record.ipv4.empty()) {
      known.ipv4 = record.ipv4;
      return;
    }
    if (known.ipv6.empty() && !record.ipv6.empty()) known.ipv6 = record.ipv6;
    return;
  }
  reader->records.push_back(record);
}

bool PlainModel::ReadRoutes(int family) {
  if (family != 4 && family != 6) return true;
  bool& read = family == 4 ? ipv4_routes_read_ : ipv6_routes_read_;
  if (read) return true;
  read = ReadRows(family);
  return read;
}

bool PlainModel::ReadRows(int family) {
  ipv4_count_ = 0;
  ipv6_count_ = 0;
  for (const RouteRow& row : current_->routes) {
    for (unsigned i = 0; i < row.times; ++i) {
      bool too_short = false;
      const std::string output = OutputOf(row, &too_short);
      if (too_short) return false;

      if (row.type == 1) ++ipv4_count_;
      if (row.type == 2) ++ipv6_count_;
      if ((row.type == 1) != (family == 4)) continue;
      if ((row.type == 2) != (family == 6)) continue;
      const Route route = {VrfOfId(row.vrf),
                           {Cut(row.destination, family), row.length},
                           Cut(row.next_hop, family),
                           output};
      (family == 4 ? ipv4_routes_ : ipv6_routes_).push_back(route);
    }
  }
  return true;
}

std::string PlainModel::VrfOfId(std::uint32_t id) const {
  for (const VrfIndexRow& row : current_->vrfs) {
    if (row.index == id) return NameOf(row.name, "global");
  }
  return "global";
}

std::string PlainModel::OutputOf(const RouteRow& row, bool* too_short) const {
  for (const OutputRow& output : current_->outputs) {
    if (output.vrf != row.vrf || output.length != row.length ||
        output.destination != row.destination ||
        output.next_hop != row.next_hop) {
      continue;
    }
    std::string name = output.interface_name;
    *too_short = name.size() < 2;
    if (name.size() == 2) name += ' ';
    if (name.size() > 2) name[2] = ' ';
    return name;
  }
  return "";
}

// ---- Rules of the addresses ------------------------------------------------

const std::vector<Prefix>& PlainModel::AddressesOf(const Record& record,
                                                   int family) {
  return family == 4 ? record.ipv4 : record.ipv6;
}

bool PlainModel::IsUsable(const Record& record) {
  for (const Prefix& prefix : record.ipv4) {
    if (prefix.length > 30) continue;
    const std::string start = record.name + " ipv4 address " +
                              PrefixText(prefix) + " cannot be configured as ";
    if (HostBitsAreAll(false, prefix)) {
      return Refuse(start + "network address.");
    }
    if (HostBitsAreAll(true, prefix)) {
      return Refuse(start + "broadcast address.");
    }
  }
  return true;
}

bool PlainModel::HasDuplicate(const Record& record, int family) {
  const std::vector<Prefix>& prefixes = AddressesOf(record, family);
  const std::string words = family == 4 ? " has duplicated IPv4 address "
                                        : " has duplicated IPv6 address ";
  for (std::size_t i = 0; i < prefixes.size(); ++i) {
    for (std::size_t j = i + 1; j < prefixes.size(); ++j) {
      if (prefixes[i].address != prefixes[j].address) continue;
      return !Refuse(record.name + words + AddressText(prefixes[i].address));
    }
  }
  return false;
}

bool PlainModel::Overlap(const Record& a, const Record& b, int family) {
  const bool one_space =
      a.vrf == b.vrf || (IsGlobalOrMgmt(a.vrf) && IsGlobalOrMgmt(b.vrf));
  if (!one_space) return false;
  for (const Prefix& of_a : AddressesOf(a, family)) {
    for (const Prefix& of_b : AddressesOf(b, family)) {
      if (!PrefixesOverlap(of_a, of_b)) continue;
      if (family == 4) {
        return !Refuse(a.name + " vrf " + a.vrf + " ipv4 address " +
                       PrefixText(of_a) + " overlaps with " + b.name + " vrf " +
                       b.vrf + " ipv4 address " + PrefixText(of_b) + ".");
      }
      return !Refuse(a.name + " ipv6 address " + PrefixText(of_a) +
                     " overlaps with " + b.name + " ipv6 address " +
                     PrefixText(of_b) + ".");
    }
  }
  return false;
}

bool PlainModel::IsNextHop(const Record& record, int family) {
  const std::string word = family == 4 ? " ipv4 address " : " ipv6 address ";
  for (const Prefix& prefix : AddressesOf(record, family)) {
    for (const Route& route : family == 4 ? ipv4_routes_ : ipv6_routes_) {
      if (IsZero(route.next_hop)) continue;  // a black hole
      if (route.vrf != record.vrf || route.next_hop != prefix.address) continue;
      return !Refuse(record.name + word + PrefixText(prefix) +
                     " and static route " + PrefixText(route.network) +
                     " next-hop " + AddressText(route.next_hop) +
                     " cannot have address conflict.");
    }
  }
  return false;
}

// ---- Rules of the static routes --------------------------------------------

bool PlainModel::RouteRules() {
  const bool next_hops_hold = NextHopRule();
  const bool limit_holds = LimitRule();
  const bool black_holes_hold = BlackHoleRule();
  return next_hops_hold && limit_holds && black_holes_hold;
}

bool PlainModel::NextHopRule() {
  for (const Reader* reader : AllReaders()) {
    for (const Record& record : reader->records) {
      if (ipv4_routes_read_) {
        if (IsNextHop(record, 4)) return false;
      } else if (ipv6_routes_read_) {
        if (IsNextHop(record, 6)) return false;
      }
    }
  }
  return true;
}

bool PlainModel::LimitRule() {
  if (ipv4_count_ + 2 * ipv6_count_ <= 1000) return true;
  answer_.log.push_back(
      "The maximum number of available static routes was exceeded! IPv4 static "
      "routes = " +
      std::to_string(ipv4_count_) +
      "; IPv6 static routes = " + std::to_string(ipv6_count_) + ";");
  return Refuse("The maximum number of available static routes was exceeded.");
}

bool PlainModel::BlackHoleRule() {
  if (!ipv4_routes_read_ && !ipv6_routes_read_) return true;
  const std::vector<Route>& routes =
      ipv4_routes_read_ ? ipv4_routes_ : ipv6_routes_;

  // By VRF and prefix, the first one that is both.
  const Route* first = nullptr;
  for (const Route& hole : routes) {
    if (!IsZero(hole.next_hop)) continue;
    for (const Route& route : routes) {
      if (IsZero(route.next_hop)) continue;
      if (route.vrf != hole.vrf || !(route.network == hole.network)) continue;
      const bool is_earlier =
          first == nullptr || route.vrf < first->vrf ||
          (route.vrf == first->vrf && Less(route.network, first->network));
      if (is_earlier) first = &route;
    }
  }
  if (first == nullptr) return true;
  return Refuse("Prefix " + PrefixText(first->network) +
                " cannot be black-hole and have next-hop at the same time");
}

bool PlainModel::OutputRule() {
  for (const Reader* reader : AllReaders()) {
    for (const Record& record : reader->records) {
      if (record.has_lower_layer) continue;
      for (const auto* routes : {&ipv4_routes_, &ipv6_routes_}) {
        for (const Route& route : *routes) {
          if (IsZero(route.next_hop) || route.output != record.name) continue;
          return Refuse(record.name +
                        " is being used by a static route. Lower-layer-if "
                        "cannot be removed from this interface");
        }
      }
    }
  }
  return true;
}

}  // namespace ipav::model
