// The model's readers: the records that each reader of the plug-in makes from
// the configuration.

#include "tests/model/plain_model.h"

namespace ipav::model {

namespace {

// The octets of a row that the family uses.
Octets Cut(const Octets& octets, int family) {
  const std::size_t size = family == 4 ? 4 : 16;
  Octets cut = octets;
  cut.resize(size);
  return cut;
}

std::string NameOf(const Leaf<std::string>& leaf,
                   const std::string& when_unreadable) {
  if (!leaf.exists) return "global";
  return leaf.value.value_or(when_unreadable);
}

}  // namespace

const PlainModel::Reader* PlainModel::ReaderOf(const std::string& list) const {
  if (list == "l3") return &l3_;
  if (list == "loopback") return &lo_;
  if (list == "mgmt") return &mgmt_;
  return nullptr;
}

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
      if (too_short) {
        answer_.exception = Exception::kShortName;
        return false;
      }

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

}  // namespace ipav::model
