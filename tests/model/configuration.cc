#include "tests/model/configuration.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <ostream>
#include <stdexcept>

namespace ipav::model {

bool operator==(const Prefix& a, const Prefix& b) {
  return a.address == b.address && a.length == b.length;
}

Octets AddressOf(const std::string& text) {
  const bool is_ipv6 = text.find(':') != std::string::npos;
  Octets octets(is_ipv6 ? 16 : 4);
  const int family = is_ipv6 ? AF_INET6 : AF_INET;
  if (inet_pton(family, text.c_str(), octets.data()) != 1) {
    throw std::invalid_argument(text);
  }
  return octets;
}

Prefix PrefixOf(const std::string& text) {
  const std::size_t slash = text.find('/');
  return {AddressOf(text.substr(0, slash)), std::stoi(text.substr(slash + 1))};
}

std::string AddressText(const Octets& address) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  const int family = address.size() == 4 ? AF_INET : AF_INET6;
  return inet_ntop(family, address.data(), text.data(), text.size());
}

std::string PrefixText(const Prefix& prefix) {
  return AddressText(prefix.address) + "/" + std::to_string(prefix.length);
}

bool IsZero(const Octets& address) {
  return std::all_of(address.begin(), address.end(),
                     [](std::uint8_t octet) { return octet == 0; });
}

Place PlaceOf(const std::string& text) {
  Place place;
  for (const char c : text) {
    if (c == '/' || c == '{') {
      place.push_back({"", c == '{'});
    } else if (c != '}') {
      place.back().text += c;
    }
  }
  return place;
}

std::string PlaceText(const Place& place) {
  std::string text;
  for (const PathElement& element : place) {
    text += element.is_key ? "{" + element.text + "}" : "/" + element.text;
  }
  return text;
}

bool IsAddressable(const std::string& key) {
  return !key.empty() && key.find(' ') == std::string::npos;
}

// ---- Printing --------------------------------------------------------------

namespace {

std::string Shown(const std::string& text) { return '"' + text + '"'; }

std::string Shown(const Prefix& prefix) { return PrefixText(prefix); }

template <typename Number>
std::string Shown(Number number) {
  return std::to_string(number);
}

template <typename T>
std::string Shown(const std::optional<T>& value) {
  return value ? Shown(*value) : "-";
}

template <typename T>
std::string Shown(const Leaf<T>& leaf) {
  if (!leaf.exists) return "-";
  return leaf.value ? Shown(*leaf.value) : "unreadable";
}

void Print(std::ostream& out, const char* kind,
           const std::vector<InterfaceEntry>& entries) {
  for (const InterfaceEntry& entry : entries) {
    out << "  " << kind << ' ' << Shown(entry.key)
        << " vrf=" << Shown(entry.vrf) << " vlan=" << Shown(entry.vlan)
        << " primary=" << Shown(entry.primary);
    for (const auto* list : {&entry.ipv4, &entry.ipv6}) {
      out << (list == &entry.ipv4 ? " ipv4=[" : " ipv6=[");
      for (const AddressEntry& address : *list) out << ' ' << Shown(address.ip);
      out << " ]";
    }
    out << " max=" << Shown(entry.timers.max_interval)
        << " min=" << Shown(entry.timers.min_interval)
        << " lifetime=" << Shown(entry.timers.lifetime) << '\n';
  }
}

void PrintRoutes(std::ostream& out, const Configuration& configuration) {
  for (const RouteRow& row : configuration.routes) {
    out << "  route vrf=" << row.vrf << " type=" << row.type << ' '
        << PrefixText({row.destination, row.length}) << " via "
        << AddressText(row.next_hop) << " times=" << row.times << '\n';
  }
  for (const OutputRow& row : configuration.outputs) {
    out << "  output vrf=" << row.vrf << ' '
        << PrefixText({row.destination, row.length}) << " via "
        << AddressText(row.next_hop) << " is " << Shown(row.interface_name)
        << '\n';
  }
  for (const VrfIndexRow& row : configuration.vrfs) {
    out << "  vrf " << row.index << " is " << Shown(row.name) << '\n';
  }
}

void PrintOspf(std::ostream& out, const Configuration& configuration) {
  for (const Ospfv2Row& row : configuration.ospfv2) {
    out << "  ospfv2 " << Shown(row.compound_id) << ' ' << Shown(row.area)
        << ' ' << Shown(row.interface_key) << ' ' << Shown(row.address)
        << " netmask=" << Shown(row.netmask) << '\n';
  }
  for (const ProcessRow& row : configuration.processes) {
    out << "  process of " << row.compound_id << " is " << Shown(row.process_id)
        << " vrf=" << Shown(row.vrf) << '\n';
  }
  for (const Ospfv3Row& row : configuration.ospfv3) {
    out << "  ospfv3 " << row.router << ' ' << AddressText(row.area) << ' '
        << Shown(row.interface_key) << " index=" << Shown(row.if_index)
        << " name=" << Shown(row.if_name) << '\n';
  }
}

void PrintChanges(std::ostream& out, const std::vector<Change>& changes) {
  constexpr std::array kNames = {"created", "deleted", "modified", "set"};
  for (const Change& change : changes) {
    out << "  change " << PlaceText(change.node) << ' '
        << kNames.at(static_cast<std::size_t>(change.operation)) << ' '
        << Shown(change.new_value) << '\n';
  }
}

}  // namespace

std::ostream& operator<<(std::ostream& out,
                         const Configuration& configuration) {
  Print(out, "l3", configuration.l3);
  Print(out, "loopback", configuration.loopback);
  Print(out, "mgmt", configuration.mgmt);
  for (const RunningVlan& running : configuration.running) {
    out << "  running l3 " << Shown(running.key) << " vlan=" << running.vlan
        << '\n';
  }
  PrintRoutes(out, configuration);
  PrintOspf(out, configuration);
  PrintChanges(out, configuration.changes);
  return out;
}

}  // namespace ipav::model
