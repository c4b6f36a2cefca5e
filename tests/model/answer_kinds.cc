#include "tests/model/answer_kinds.h"

#include <algorithm>
#include <ostream>

namespace ipav::model {

namespace {

// The kinds of texts, by pieces that no other kind has. No name contains such a
// piece: none has a blank followed by one of these words.
struct TextKind {
  const char* name;
  std::vector<std::string> pieces;
};

const std::vector<TextKind>& TextKinds() {
  static const std::vector<TextKind> kinds = {
      {"network address", {" cannot be configured as network address."}},
      {"broadcast address", {" cannot be configured as broadcast address."}},
      {"duplicated IPv4 address", {" has duplicated IPv4 address "}},
      {"duplicated IPv6 address", {" has duplicated IPv6 address "}},
      {"IPv4 next hop", {" ipv4 address ", " next-hop "}},
      {"IPv6 next hop", {" ipv6 address ", " next-hop "}},
      {"IPv4 overlap with l3", {" ipv4 ", " overlaps with l3 "}},
      {"IPv4 overlap with loopback", {" ipv4 ", " overlaps with loopback "}},
      {"IPv4 overlap with mgmt", {" ipv4 ", " overlaps with mgmt "}},
      {"IPv6 overlap with l3", {" ipv6 ", " overlaps with l3 "}},
      {"IPv6 overlap with loopback", {" ipv6 ", " overlaps with loopback "}},
      {"IPv6 overlap with mgmt", {" ipv6 ", " overlaps with mgmt "}},
      {"too many l3", {"too many 'interface l3', "}},
      {"name too long", {" is too long "}},
      {"name too short", {" is too short "}},
      {"characters of a name", {" contains invalid characters "}},
      {"unknown kind of interface", {"invalid interface being handled"}},
      {"route limit", {"The maximum number of available static routes"}},
      {"IPv4 black hole", {"Prefix ", ".", " cannot be black-hole "}},
      {"IPv6 black hole", {"Prefix ", ":", " cannot be black-hole "}},
      {"output interface", {" is being used by a static route."}},
      {"removed address", {" cannot be modified nor deleted, "}},
      {"added address", {" cannot be added after interface is assigned "}},
      {"divergent VRF of loopback", {"loopback ", " with divergent VRF"}},
      {"divergent VRF of l3", {"l3 ", " with divergent VRF"}},
      {"loopback in OSPFv3", {"loopback ", " is configured in OSPFv3 "}},
      {"l3 in OSPFv3", {"l3 ", " is configured in OSPFv3 "}},
      {"VLAN in OSPFv3", {"vlan ", " is assigned to router ospfv3 "}},
      {"VLAN of router -1", {"vlan ", " router ospfv3 -1 "}},
      {"no maximum", {"fail to get maximum router advertisement"}},
      {"no minimum", {"fail to get minimum router advertisement"}},
      {"no lifetime", {"fail to get router advertisement lifetime"}},
      {"minimum too large", {"Minimum interval must be no greater "}},
      {"lifetime too small", {"Lifetime must be greater than "}},
  };
  return kinds;
}

// The kinds of answers that must occur for each validation point; "" is an
// unknown point, "rule" a rule that is called directly.
struct PointKinds {
  const char* point;
  std::vector<const char*> kinds;
};

const std::vector<PointKinds>& AllPointKinds() {
  static const std::vector<PointKinds> points = {
      {"", {"refused without a text"}},
      {"rule",
       {"accepted", "left by a short name", "IPv4 next hop", "IPv6 next hop",
        "route limit", "IPv4 black hole", "IPv6 black hole",
        "output interface"}},
      {"intf_l3_name_validation",
       {"accepted", "too many l3", "name too long", "name too short",
        "characters of a name"}},
      {"intf_vrf_validation",
       {"accepted", "left by a short name", "left by no number",
        "left by a number too large", "left by no address", "network address",
        "broadcast address", "duplicated IPv4 address", "IPv4 next hop",
        "IPv4 overlap with l3", "IPv4 overlap with loopback",
        "IPv4 overlap with mgmt", "divergent VRF of l3",
        "divergent VRF of loopback", "l3 in OSPFv3", "loopback in OSPFv3"}},
      {"ipv4_addr_validation",
       {"accepted", "left by a short name", "network address",
        "broadcast address", "duplicated IPv4 address", "IPv4 next hop",
        "IPv4 overlap with l3", "IPv4 overlap with loopback",
        "IPv4 overlap with mgmt", "unknown kind of interface"}},
      {"ipv4_addr_prot_cross_validation",
       {"accepted", "left by no number", "left by a number too large",
        "left by no address", "removed address", "added address"}},
      {"ipv4_addr_route_validation",
       {"accepted", "left by a short name", "IPv4 next hop", "route limit",
        "IPv4 black hole"}},
      {"ipv6_addr_validation",
       {"accepted", "left by a short name", "duplicated IPv6 address",
        "IPv6 next hop", "IPv6 overlap with l3", "IPv6 overlap with loopback",
        "IPv6 overlap with mgmt", "unknown kind of interface"}},
      {"ipv6_addr_route_validation",
       {"accepted", "left by a short name", "IPv4 next hop", "IPv6 next hop",
        "route limit", "IPv4 black hole", "IPv6 black hole"}},
      {"validate_ipv6_nd_ra_interval",
       {"accepted", "skipped", "unknown kind of interface", "no maximum",
        "no minimum", "minimum too large"}},
      {"validate_ipv6_nd_ra_lifetime",
       {"accepted", "skipped", "unknown kind of interface", "no maximum",
        "no lifetime", "lifetime too small"}},
      {"static_route_l3_intf_validation",
       {"accepted", "left by a short name", "output interface"}},
      {"lower_layer_prot_cross_validation",
       {"accepted", "VLAN in OSPFv3", "VLAN of router -1"}},
  };
  return points;
}

// Beginnings of log lines that must occur; and kinds that need more than one
// answer.
constexpr const char* kLogLines[] = {
    "There is no path for ",
    "The maximum number of available static routes was exceeded!",
    "Failed to get IPv4 netmask from process ID ",
    "Failed to get process ID from compound ID ",
    "Failed to get VRF name from compound ID ",
};
constexpr char kEarlierRead[] = "decided by an earlier read";
constexpr char kOspfReadAgain[] = "OSPFv2 table read again";

bool BeginsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

std::string PointOf(const Call& call) {
  if (call.action != Action::kValidate) return "rule";
  for (const PointKinds& point : AllPointKinds()) {
    const bool is_named = *point.point != '\0';
    if (is_named && BeginsWith(call.opaque, point.point)) return point.point;
  }
  return "";
}

std::string KindOf(const Exception exception) {
  switch (exception) {
    case Exception::kNone:
      return "";
    case Exception::kShortName:
      return "left by a short name";
    case Exception::kNoNumber:
      return "left by no number";
    case Exception::kNumberTooLarge:
      return "left by a number too large";
    case Exception::kNoAddress:
      return "left by no address";
  }
  return "";
}

std::string KindOf(const std::string& text) {
  std::string kind = "unknown text: " + text;
  for (const TextKind& known : TextKinds()) {
    const bool has_all = std::all_of(
        known.pieces.begin(), known.pieces.end(), [&](const auto& piece) {
          return text.find(piece) != std::string::npos;
        });
    if (has_all) kind = known.name;  // the last one is the closest
  }
  return kind;
}

std::string KindOf(const Answer& answer) {
  if (answer.exception != Exception::kNone) return KindOf(answer.exception);
  if (answer.verdict != 0) {
    return answer.text ? KindOf(*answer.text) : "refused without a text";
  }
  const bool is_skipped =
      !answer.log.empty() && BeginsWith(answer.log.back(), kLogLines[0]);
  return is_skipped ? "skipped" : "accepted";
}

}  // namespace

AnswerTally::AnswerTally() {
  for (const auto& [point, kinds] : AllPointKinds()) {
    for (const char* kind : kinds) {
      counts_[std::string(point) + ": " + kind] = 0;
    }
  }
  for (const char* line : kLogLines) counts_[std::string("log: ") + line] = 0;
  counts_[kEarlierRead] = 0;
  counts_[kOspfReadAgain] = 0;
}

void AnswerTally::Count(const Call& call, const Answer& answer) {
  ++counts_[PointOf(call) + ": " + KindOf(answer)];
  for (const std::string& line : answer.log) {
    for (const char* known : kLogLines) {
      if (BeginsWith(line, known)) ++counts_[std::string("log: ") + known];
    }
  }
}

void AnswerTally::CountDecidedByEarlierRead() { ++counts_[kEarlierRead]; }

void AnswerTally::CountOspfReadAgain() { ++counts_[kOspfReadAgain]; }

void AnswerTally::Print(std::ostream& out) const {
  out << lives_ << " lives, answers by point and kind:\n";
  for (const auto& [kind, count] : counts_) {
    out << "  " << count << '\t' << kind << '\n';
  }
}

std::vector<std::string> AnswerTally::Missing() const {
  std::vector<std::string> missing;
  for (const auto& [kind, count] : counts_) {
    if (count == 0) missing.push_back(kind);
  }
  return missing;
}

std::vector<std::string> AnswerTally::Unknown() const {
  const AnswerTally known;
  std::vector<std::string> unknown;
  for (const auto& [kind, count] : counts_) {
    if (known.counts_.count(kind) == 0) unknown.push_back(kind);
  }
  return unknown;
}

}  // namespace ipav::model
