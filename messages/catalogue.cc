#include "messages/catalogue.h"

#include <algorithm>
#include <string_view>

namespace ipav::messages {

namespace {

constexpr std::size_t kMaxReadings = 16;

// Places that are tried before the search is given up: an odd name must not
// cost more than its finding is worth.
constexpr std::size_t kMaxTrials = 10000;

constexpr char kName[] = "intf_l3_name_validation";
constexpr char kVrf[] = "intf_vrf_validation";
constexpr char kIpv4[] = "ipv4_addr_validation";
constexpr char kIpv4Ospf[] = "ipv4_addr_prot_cross_validation";
constexpr char kIpv4Route[] = "ipv4_addr_route_validation";
constexpr char kIpv6[] = "ipv6_addr_validation";
constexpr char kIpv6Route[] = "ipv6_addr_route_validation";
constexpr char kOutput[] = "static_route_l3_intf_validation";
constexpr char kVlan[] = "lower_layer_prot_cross_validation";
constexpr char kInterval[] = "validate_ipv6_nd_ra_interval";
constexpr char kLifetime[] = "validate_ipv6_nd_ra_lifetime";

void AddInterfaceMessages(std::vector<Message>* messages) {
  messages->insert(
      messages->end(),
      {{"l3-too-many",
        "Too many l3 interfaces",
        "too-many-l3-interfaces",
        "Remove some; exactly 256 l3 interfaces are fine.",
        {kName},
        {"too many 'interface l3', <count> configured, at most <limit> must be "
         "configured"}},
       {"l3-name-too-long",
        "Name too long",
        "name-too-long",
        "Shorten the name to 60 bytes; a letter beyond ASCII takes several.",
        {kName},
        {"L3 interface name <name> is too long (maximum length: <limit> "
         "characters)"}},
       {"l3-name-too-short",
        "Name too short",
        "name-too-short",
        "Give the interface a name of at least one character.",
        {kName},
        {"L3 interface name <name> is too short (minimum length: <limit> "
         "character)"}},
       {"l3-name-characters",
        "Characters of a name",
        "characters-of-a-name",
        "Rename the interface with the characters 0-9, a-z, A-Z, _ and - "
        "alone.",
        {kName},
        {"L3 interface name <name> contains invalid characters (allowed "
         "characters: 0-9, a-z, A-Z, _, -)"}}});
}

void AddAddressMessages(std::vector<Message>* messages) {
  messages->insert(
      messages->end(),
      {{"address-is-network",
        "Network address",
        "network-address",
        "Take an address of the subnet that a host may have, such as the next "
        "one.",
        {kIpv4, kVrf},
        {"<interface> ipv4 address <prefix> cannot be configured as network "
         "address."}},
       {"address-is-broadcast",
        "Broadcast address",
        "broadcast-address",
        "Take another address of the subnet: the last one reaches all of its "
        "hosts.",
        {kIpv4, kVrf},
        {"<interface> ipv4 address <prefix> cannot be configured as broadcast "
         "address."}},
       {"address-twice",
        "One address twice",
        "one-address-twice",
        "Remove one of the two. They are one address, whatever their prefix "
        "lengths.",
        {kIpv4, kIpv6, kVrf},
        {"<interface> has duplicated IPv4 address <address>",
         "<interface> has duplicated IPv6 address <address>"}},
       {"interface-overlap",
        "Overlap",
        "overlap",
        "Change one of the two addresses, narrow its prefix, or move one "
        "interface to another VRF. The VRFs global and mgmt are one address "
        "space.",
        {kIpv4, kIpv6, kVrf},
        {"<interface> vrf <vrf> ipv4 address <prefix> overlaps with "
         "<other-interface> vrf <other-vrf> ipv4 address <other-prefix>.",
         "<interface> ipv6 address <prefix> overlaps with <other-interface> "
         "ipv6 address <other-prefix>."}},
       {"interface-not-judged",
        "An interface that is not judged",
        "an-interface-that-is-not-judged",
        "Put the data model right: this validation point sits where it can "
        "judge no interface.",
        {kIpv4, kIpv6, kInterval, kLifetime},
        {"invalid interface being handled by IP-App validation"}}});
}

void AddRouteMessages(std::vector<Message>* messages) {
  messages->insert(
      messages->end(),
      {{"route-next-hop-is-own",
        "Next hop is an own address",
        "next-hop-is-an-own-address",
        "Take the neighbour's address as the next hop, or give the interface "
        "another address.",
        {kIpv4, kIpv6, kIpv4Route, kIpv6Route, kVrf},
        {"<interface> ipv4 address <prefix> and static route <route-prefix> "
         "next-hop <address> cannot have address conflict.",
         "<interface> ipv6 address <prefix> and static route <route-prefix> "
         "next-hop <address> cannot have address conflict."}},
       {"route-too-many",
        "Too many static routes",
        "too-many-static-routes",
        "Remove static routes: there is room for 1000 of IPv4, and one of IPv6 "
        "takes the room of two.",
        {kIpv4Route, kIpv6Route},
        {"The maximum number of available static routes was exceeded."}},
       {"route-black-hole-and-next-hop",
        "Black hole with a next hop",
        "black-hole-with-a-next-hop",
        "Remove one of the two routes: a prefix is discarded or sent on.",
        {kIpv4Route, kIpv6Route},
        {"Prefix <prefix> cannot be black-hole and have next-hop at the same "
         "time"}},
       {"route-output-without-vlan",
        "Output interface without lower layer",
        "output-interface-without-lower-layer",
        "Keep or set lower-layer-if vlan of the interface, or remove the route "
        "first.",
        {kOutput},
        {"<interface> is being used by a static route. Lower-layer-if cannot "
         "be removed from this interface"}}});
}

void AddOspfMessages(std::vector<Message>* messages) {
  messages->insert(
      messages->end(),
      {{"ospf-address-removed",
        "Address changed or removed",
        "address-changed-or-removed",
        "Put the address back with its prefix length, or take the interface "
        "out of the OSPFv2 process first.",
        {kIpv4Ospf},
        {"<prefix> cannot be modified nor deleted, it is assigned to router "
         "ospf <process> vrf <vrf> area <number> (<area>)"}},
       {"ospf-address-added",
        "Address added",
        "address-added",
        "Remove the address, or take the interface out of the OSPFv2 process "
        "and assign it anew.",
        {kIpv4Ospf},
        {"<prefix> cannot be added after interface is assigned to router ospf "
         "<process> vrf <vrf> area <number> (<area>)"}},
       {"ospf-vrf-differs",
        "Another VRF than its process",
        "another-vrf-than-its-process",
        "Leave the interface in the VRF of its OSPFv2 process, or take it out "
        "of the process first.",
        {kVrf},
        {"<interface> vrf <vrf> and router ospf <process> vrf <process-vrf> "
         "cannot be associated with divergent VRF"}},
       {"ospfv3-vrf-set",
        "VRF under OSPFv3",
        "vrf-under-ospfv3",
        "Take the interface out of OSPFv3 before you set its VRF.",
        {kVrf},
        {"<interface> is configured in OSPFv3 and cannot be associated with a "
         "VRF"}},
       {"ospfv3-vlan-changed",
        "VLAN under OSPFv3",
        "vlan-under-ospfv3",
        "Keep the VLAN, or take the interface out of OSPFv3 first.",
        {kVlan},
        {"vlan <vlan> cannot be changed, it is assigned to router ospfv3 "
         "<router> area <number> (<area>)"}}});
}

void AddTimerMessages(std::vector<Message>* messages) {
  messages->insert(
      messages->end(),
      {{"ra-min-interval",
        "Minimum interval",
        "minimum-interval",
        "Lower min-interval to at most three quarters of max-interval, or "
        "raise max-interval.",
        {kInterval},
        {"Minimum interval must be no greater than maximum interval * 0.75"}},
       {"ra-lifetime",
        "Router lifetime",
        "router-lifetime",
        "Raise lifetime above max-interval, or set it to 0 for a router that "
        "is no default router.",
        {kLifetime},
        {"Lifetime must be greater than maximum router advertisement "
         "interval"}},
       {"ra-timer-missing",
        "A timer is missing",
        "a-timer-is-missing",
        "Set max-interval, min-interval and lifetime, or none of them; mgmt "
        "interfaces need no lifetime.",
        {kInterval, kLifetime},
        {"fail to get maximum router advertisement interval value",
         "fail to get minimum router advertisement interval value",
         "fail to get router advertisement lifetime value"}}});
}

void AddPluginMessages(std::vector<Message>* messages) {
  messages->push_back(
      {"plugin-not-started",
       "The plug-in itself",
       "the-plug-in-itself",
       "Mend the host: it must call lib_init before any validation point.",
       {kName, kVrf, kIpv4, kIpv4Ospf, kIpv4Route, kIpv6, kIpv6Route, kOutput,
        kVlan, kInterval, kLifetime},
       {"Lib context is null!"}});
}

// ---- Reading a text --------------------------------------------------------

bool StartsWith(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

bool HasOnly(std::string_view text, std::string_view characters) {
  return !text.empty() &&
         text.find_first_not_of(characters) == std::string_view::npos;
}

// Whether a field of that name can hold the text. What an operator names holds
// anything.
bool CanHold(std::string_view field, std::string_view text) {
  constexpr std::string_view kDigits = "0123456789";
  const std::size_t hyphen = field.rfind('-');
  if (hyphen != std::string_view::npos) field.remove_prefix(hyphen + 1);
  if (field == "name" || field == "vrf") return true;
  if (field == "interface") {
    return StartsWith(text, "l3 ") || StartsWith(text, "loopback ") ||
           StartsWith(text, "mgmt ");
  }
  if (field == "prefix") {
    return HasOnly(text, "0123456789abcdefABCDEF.:/-") &&
           text.find('/') != std::string_view::npos;
  }
  if (field == "address" || field == "area") {
    return HasOnly(text, "0123456789abcdefABCDEF.:");
  }
  return HasOnly(StartsWith(text, "-") ? text.substr(1) : text, kDigits);
}

// A pattern taken apart: literals[0] names[0] literals[1] ... literals[n].
struct Pieces {
  explicit Pieces(std::string_view pattern) {
    std::size_t begin = 0;
    for (std::size_t open = pattern.find('<'); open != std::string_view::npos;
         open = pattern.find('<', begin)) {
      const std::size_t close = pattern.find('>', open);
      literals.push_back(pattern.substr(begin, open - begin));
      names.push_back(pattern.substr(open + 1, close - open - 1));
      begin = close + 1;
    }
    literals.push_back(pattern.substr(begin));
  }

  std::vector<std::string_view> literals;
  std::vector<std::string_view> names;
};

// Finds every way to fill the fields of one pattern.
class Search {
 public:
  Search(std::string_view text, std::string_view pattern)
      : text_(text), pieces_(pattern) {}

  std::vector<std::vector<std::string_view>> Run() {
    if (!StartsWith(text_, pieces_.literals.front())) return {};
    const std::size_t at = pieces_.literals.front().size();
    if (!pieces_.names.empty()) {
      Fill(at);
    } else if (at == text_.size()) {
      found_.emplace_back();
    }
    return found_;
  }

  const std::vector<std::string_view>& names() const { return pieces_.names; }

 private:
  // The next field begins there.
  void Fill(std::size_t begin) {
    const std::size_t field = filled_.size();
    const std::string_view literal = pieces_.literals[field + 1];
    if (field + 1 == pieces_.names.size()) {
      if (text_.size() < begin + literal.size()) return;
      const std::size_t end = text_.size() - literal.size();
      if (text_.substr(end) == literal) Take(begin, end);
      return;
    }
    for (std::size_t end = text_.find(literal, begin);
         end != std::string_view::npos && trials_ < kMaxTrials;
         end = text_.find(literal, end + 1)) {
      Take(begin, end);
    }
  }

  void Take(std::size_t begin, std::size_t end) {
    ++trials_;
    const std::size_t field = filled_.size();
    const std::string_view value = text_.substr(begin, end - begin);
    if (!CanHold(pieces_.names[field], value)) return;
    filled_.push_back(value);
    if (filled_.size() == pieces_.names.size()) {
      if (found_.size() < kMaxReadings) found_.push_back(filled_);
    } else {
      Fill(end + pieces_.literals[field + 1].size());
    }
    filled_.pop_back();
  }

  std::string_view text_;
  Pieces pieces_;
  std::size_t trials_ = 0;
  std::vector<std::string_view> filled_;
  std::vector<std::vector<std::string_view>> found_;
};

void ReadAs(const Message& message, std::size_t pattern,
            const std::string& text, std::vector<Reading>* readings) {
  Search search(text, message.patterns[pattern]);
  for (const std::vector<std::string_view>& values : search.Run()) {
    if (readings->size() == kMaxReadings) return;
    Reading reading{&message, pattern, {}};
    for (std::size_t i = 0; i < values.size(); ++i) {
      reading.fields.emplace(search.names()[i], values[i]);
    }
    readings->push_back(std::move(reading));
  }
}

}  // namespace

const std::vector<Message>& Messages() {
  static const std::vector<Message> messages = [] {
    std::vector<Message> all;
    AddInterfaceMessages(&all);
    AddAddressMessages(&all);
    AddRouteMessages(&all);
    AddOspfMessages(&all);
    AddTimerMessages(&all);
    AddPluginMessages(&all);
    return all;
  }();
  return messages;
}

const Message* FindMessage(const std::string& rule) {
  const auto found =
      std::find_if(Messages().begin(), Messages().end(),
                   [&](const Message& one) { return one.rule == rule; });
  return found == Messages().end() ? nullptr : &*found;
}

std::vector<Reading> ReadText(const std::string& text) {
  std::vector<Reading> readings;
  for (const Message& message : Messages()) {
    for (std::size_t i = 0; i < message.patterns.size(); ++i) {
      ReadAs(message, i, text, &readings);
    }
  }
  return readings;
}

}  // namespace ipav::messages
