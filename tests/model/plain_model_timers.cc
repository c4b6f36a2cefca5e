// The model's rules for the router-advertisement timers.

#include "tests/model/plain_model.h"

namespace ipav::model {

void PlainModel::ValidateTimers(const Place& place, Timer other) {
  const std::string key = ElementOf(place, 3);
  const std::string list = ElementOf(place, 4);
  if (list != "l3" && list != "mgmt") {
    const std::string text =
        "invalid interface being handled by IP-App validation";
    return Reject(text, text);
  }

  const bool is_lifetime = other == Timer::kLifetime;
  const RaTimers timers = TimersOf(list, key);
  const Leaf<std::uint16_t>& second =
      is_lifetime ? timers.lifetime : timers.min_interval;
  if (!timers.max_interval.exists && !second.exists) {
    const std::string container =
        "/config/interface/" + list + "{" + key + "}/ipv6/nd/ra/";
    answer_.log.push_back("There is no path for '" + container +
                          "max-interval' and '" + container +
                          (is_lifetime ? "lifetime" : "min-interval") +
                          "'. Skipping validation ...");
    return;
  }
  if (!timers.max_interval.value) {
    const std::string text =
        "fail to get maximum router advertisement interval value";
    return Reject(text, text);
  }

  if (!is_lifetime) return JudgeMinInterval(*timers.max_interval.value, second);
  if (list == "l3") JudgeLifetime(*timers.max_interval.value, second);
}

void PlainModel::JudgeMinInterval(std::uint16_t max,
                                  const Leaf<std::uint16_t>& min) {
  if (!min.value) {
    const std::string text =
        "fail to get minimum router advertisement interval value";
    return Reject(text, text);
  }
  if (4 * *min.value <= 3 * max) return;
  const std::string text =
      "Minimum interval must be no greater than maximum interval * 0.75";
  Reject(text, text);
}

void PlainModel::JudgeLifetime(std::uint16_t max,
                               const Leaf<std::uint16_t>& lifetime) {
  if (!lifetime.value) {
    const std::string text = "fail to get router advertisement lifetime value";
    return Reject(text, text);
  }
  if (*lifetime.value == 0 || *lifetime.value > max) return;
  const std::string text =
      "Lifetime must be greater than maximum router advertisement interval";
  Reject(text, text);
}

RaTimers PlainModel::TimersOf(const std::string& list,
                              const std::string& key) const {
  for (const InterfaceEntry& entry :
       list == "l3" ? current_->l3 : current_->mgmt) {
    if (entry.key == key) return entry.timers;
  }
  return {};
}

}  // namespace ipav::model
