#include "tests/model/plain_model.h"

#include <array>
#include <ostream>

namespace ipav::model {

namespace {

constexpr char kInvalidInterface[] =
    "invalid interface being handled by IP-App validation";

bool BeginsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

}  // namespace

std::string ElementOf(const Place& place, std::size_t from_leaf) {
  if (from_leaf >= place.size()) return "";
  return place[place.size() - 1 - from_leaf].text;
}

bool operator==(const Answer& a, const Answer& b) {
  const bool verdicts_agree =
      a.exception != Exception::kNone || a.verdict == b.verdict;
  return a.exception == b.exception && verdicts_agree && a.text == b.text &&
         a.format == b.format && a.faults == b.faults && a.log == b.log;
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
      ReadRoutes(call.family);
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
  const std::string& opaque = call.opaque;
  if (BeginsWith(opaque, "intf_l3_name_validation")) {
    ValidateNames();
  } else if (BeginsWith(opaque, "intf_vrf_validation")) {
    ValidateVrfs(call.place);
  } else if (BeginsWith(opaque, "ipv4_addr_validation")) {
    ValidateAddresses(call.place, 4);
  } else if (BeginsWith(opaque, "ipv4_addr_prot_cross_validation")) {
    ValidateOspfAddresses();
  } else if (BeginsWith(opaque, "ipv4_addr_route_validation")) {
    ValidateRoutes(4);
  } else if (BeginsWith(opaque, "ipv6_addr_validation")) {
    ValidateAddresses(call.place, 6);
  } else if (BeginsWith(opaque, "ipv6_addr_route_validation")) {
    ValidateRoutes(6);
  } else if (BeginsWith(opaque, "validate_ipv6_nd_ra_interval")) {
    ValidateTimers(call.place, Timer::kMinInterval);
  } else if (BeginsWith(opaque, "validate_ipv6_nd_ra_lifetime")) {
    ValidateTimers(call.place, Timer::kLifetime);
  } else if (BeginsWith(opaque, "static_route_l3_intf_validation")) {
    ValidateOutputs();
  } else if (BeginsWith(opaque, "lower_layer_prot_cross_validation")) {
    ValidateVlan(call.place);
  } else {
    answer_.verdict = -1;
  }
}

bool PlainModel::Refuse(const std::string& text) {
  rule_text_ = text;
  return false;
}

void PlainModel::Report(bool holds) {
  if (!holds) Reject("%s", rule_text_);
}

void PlainModel::Reject(const std::string& format, const std::string& text) {
  answer_.verdict = -1;
  answer_.text = text;
  answer_.format = format;
}

void PlainModel::ValidateNames() {
  ReadL3(4);
  Report(NamesHold());
}

void PlainModel::ValidateAddresses(const Place& place, int family) {
  const Reader* changed = ReaderOf(ElementOf(place, 0));
  if (changed == nullptr) return Reject("%s", kInvalidInterface);
  ReadL3(family);
  ReadLoopback(family);
  ReadMgmt(family);
  if (!ReadRoutes(family)) return;
  Report(AddressesHold(*changed, family));
}

void PlainModel::ValidateRoutes(int family) {
  ReadL3(family);
  ReadMgmt(family);
  ReadLoopback(family);
  if (!ReadRoutes(family)) return;
  Report(RouteRules());
}

void PlainModel::ValidateOutputs() {
  ReadL3(4);
  if (!ReadRoutes(4)) return;
  if (!ReadRoutes(6)) return;
  Report(OutputRule());
}

void PlainModel::ValidateOspfAddresses() {
  ReadL3(4);
  ReadLoopback(4);
  if (!ReadOspf()) return;
  Report(OspfAddressesHold(l3_) && OspfAddressesHold(lo_));
}

void PlainModel::ValidateVrfs(const Place& place) {
  ReadL3(4);
  ReadLoopback(4);
  ReadMgmt(4);
  if (!ReadRoutes(4)) return;
  if (!ReadOspf()) return;
  const Reader* changed = ReaderOf(ElementOf(place, 0));
  Report((changed == nullptr || AddressesHold(*changed, 4)) &&
         OspfVrfsHold(l3_) && OspfVrfsHold(lo_) && ChangedVrfsHold(place));
}

// ---- Printing --------------------------------------------------------------

std::ostream& operator<<(std::ostream& out, const Call& call) {
  constexpr std::array kActions = {
      "validate",   "read routes",     "route rules", "next-hop rule",
      "limit rule", "black-hole rule", "output rule", "merge"};
  return out << kActions.at(static_cast<std::size_t>(call.action))
             << " opaque=\"" << call.opaque << "\" at " << PlaceText(call.place)
             << " family=" << call.family
             << " transaction=" << call.transaction;
}

std::ostream& operator<<(std::ostream& out, const Answer& answer) {
  constexpr std::array kExceptions = {"", "name too short", "no number",
                                      "number too large", "no address"};
  if (answer.exception == Exception::kNone) {
    out << answer.verdict << ' ' << answer.text.value_or("(no text)")
        << " by \"" << answer.format << '"';
  } else {
    out << "left: "
        << kExceptions.at(static_cast<std::size_t>(answer.exception));
  }
  for (const std::string& fault : answer.faults) out << "\n  fault: " << fault;
  for (const std::string& line : answer.log) out << "\n  log: " << line;
  return out;
}

}  // namespace ipav::model
