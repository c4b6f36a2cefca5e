// Culprits among the timers of router advertisements.

#include <cstdlib>
#include <string>

#include "messages/culprits.h"

namespace ipav::messages {

namespace {

constexpr char kMax[] = "max-interval";
constexpr char kMin[] = "min-interval";
constexpr char kLifetime[] = "lifetime";

// The value of a timer.
unsigned long Seconds(const lyd_node* leaf) {
  return std::strtoul(TextOf(leaf).c_str(), nullptr, 10);
}

struct Timers {
  const lyd_node* container;
  const lyd_node* first;  // the one that is checked
  const lyd_node* max;
};

Timers TimersOf(const Refusal& refusal, const char* first) {
  const lyd_node* container = refusal.candidate.AtPath(refusal.path);
  if (container == nullptr) return {};
  return {container, refusal.candidate.At(container, {first}),
          refusal.candidate.At(container, {kMax})};
}

FoundCulprits MinInterval(const Refusal& refusal) {
  const Timers timers = TimersOf(refusal, kMin);
  if (timers.first == nullptr || timers.max == nullptr) return {};
  if (4 * Seconds(timers.first) <= 3 * Seconds(timers.max)) return {};
  return {true, {{kMin, timers.first}, {kMax, timers.max}}, ""};
}

FoundCulprits RouterLifetime(const Refusal& refusal) {
  const Timers timers = TimersOf(refusal, kLifetime);
  if (timers.first == nullptr || timers.max == nullptr) return {};
  const unsigned long lifetime = Seconds(timers.first);
  if (lifetime == 0 || lifetime > Seconds(timers.max)) return {};
  return {true, {{kLifetime, timers.first}, {kMax, timers.max}}, ""};
}

FoundCulprits TimerMissing(const Refusal& refusal) {
  const std::string& missing = refusal.reading.text->key;
  const lyd_node* container = refusal.candidate.AtPath(refusal.path);
  if (container == nullptr ||
      refusal.candidate.At(container, {missing.c_str()}) != nullptr) {
    return {};
  }
  FoundCulprits culprits{true, {}, ""};
  // 1. It was removed, or was never there.
  AddLeaf(refusal, container, missing.c_str(), missing, true, &culprits);
  if (culprits.nodes.empty()) {
    culprits.note = missing + " is in neither configuration";
  }
  // 2. The timers that need it.
  bool is_needed = false;
  for (const char* other : {kMax, kMin, kLifetime}) {
    if (missing == other) continue;
    const lyd_node* leaf = refusal.candidate.At(container, {other});
    if (leaf == nullptr) continue;
    culprits.nodes.push_back({other, leaf});
    is_needed = true;
  }
  return is_needed ? culprits : FoundCulprits{};
}

}  // namespace

CulpritSearches TimerCulprits() {
  return {
      {"ra-min-interval", MinInterval},
      {"ra-lifetime", RouterLifetime},
      {"ra-timer-missing", TimerMissing},
  };
}

}  // namespace ipav::messages
