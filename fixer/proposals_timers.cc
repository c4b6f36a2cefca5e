// Proposals for the timers of router advertisements.

#include <cstdlib>

#include "fixer/proposals.h"

namespace ipav::fixer {

namespace {

using messages::TextOf;

constexpr unsigned long kMost = 65535;

unsigned long Seconds(const lyd_node* leaf) {
  return std::strtoul(TextOf(leaf).c_str(), nullptr, 10);
}

void ProposeValue(const lyd_node* leaf, unsigned long value, const char* why,
                  Proposals* proposals) {
  if (value > kMost) return;
  const std::string number = std::to_string(value);
  proposals->push_back(
      {false,
       "set " + std::string(leaf->schema->name) + " to " + number + why,
       {Set(leaf, number)}});
}

Proposals MinInterval(const Subject& subject) {
  const lyd_node* min = NodeWithRole(subject, "min-interval");
  const lyd_node* max = NodeWithRole(subject, "max-interval");
  if (min == nullptr || max == nullptr) return {};
  Proposals proposals;
  ProposeValue(min, 3 * Seconds(max) / 4, ", three quarters of max-interval",
               &proposals);
  ProposeValue(max, (4 * Seconds(min) + 2) / 3,
               ", so that min-interval is three quarters of it", &proposals);
  return proposals;
}

Proposals Lifetime(const Subject& subject) {
  const lyd_node* lifetime = NodeWithRole(subject, "lifetime");
  const lyd_node* max = NodeWithRole(subject, "max-interval");
  if (lifetime == nullptr || max == nullptr) return {};
  Proposals proposals;
  ProposeValue(lifetime, Seconds(max) + 1, ", the least above max-interval",
               &proposals);
  ProposeValue(lifetime, 0, ": the router is not a default router", &proposals);
  ProposeValue(max, Seconds(lifetime) - 1, ", the most below lifetime",
               &proposals);
  return proposals;
}

// The missing ones as RFC 4861, section 6.2.1, has them, or none at all.
Proposals Missing(const Subject& subject) {
  const messages::DataView& view = subject.candidate;
  const lyd_node* timers = view.AtPath(subject.finding.path);
  if (timers == nullptr) return {};
  constexpr unsigned long kUsualMax = 600;
  const lyd_node* max = view.Child(timers, "max-interval");
  const unsigned long interval = max == nullptr ? kUsualMax : Seconds(max);
  Proposal usual{false, "set", {}};
  Proposal without{false, "leave out all timers", {}};
  struct Timer {
    const char* name;
    unsigned long value;
  };
  const bool is_mgmt = InterfaceOf(timers) != nullptr &&
                       InterfaceOf(timers)->schema->name == std::string("mgmt");
  for (const Timer& timer : {Timer{"max-interval", interval},
                             Timer{"min-interval", interval * 33 / 100},
                             Timer{"lifetime", 3 * interval}}) {
    const lyd_node* leaf = view.Child(timers, timer.name);
    if (leaf != nullptr) {
      without.edits.push_back(Remove(leaf));
    } else if (!is_mgmt || timer.name != std::string("lifetime")) {
      const std::string number = std::to_string(timer.value);
      usual.text += std::string(usual.edits.empty() ? " " : ", ") + timer.name +
                    " to " + number;
      usual.edits.push_back(Add(timers, timer.name, number));
    }
  }
  usual.text +=
      usual.edits.size() > 1 ? ", the usual values" : ", the usual value";
  return {usual, without};
}

}  // namespace

Proposers TimerProposers() {
  return {
      {"ra-min-interval", MinInterval},
      {"ra-lifetime", Lifetime},
      {"ra-timer-missing", Missing},
  };
}

}  // namespace ipav::fixer
