// The model's rules for names, addresses and static routes.

#include "tests/model/plain_model.h"

namespace ipav::model {

namespace {

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

bool IsGlobalOrMgmt(const std::string& vrf) {
  return vrf == "global" || vrf == "mgmt";
}

}  // namespace

bool PlainModel::NamesHold() {
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
  return holds;
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

  // The first one that is both, by VRF and prefix.
  const Route* first = nullptr;
  for (const Route& hole : routes) {
    if (!IsZero(hole.next_hop)) continue;
    for (const Route& route : routes) {
      if (route.vrf != hole.vrf || !(route.network == hole.network)) continue;
      if (IsZero(route.next_hop)) continue;
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
