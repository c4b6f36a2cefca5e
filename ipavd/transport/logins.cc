#include "ipavd/transport/logins.h"

#include <algorithm>

namespace ipav::transport {

bool Logins::Refuses(unsigned percent) const {
  const auto count = static_cast<unsigned>(logins_.size());
  if (count < limits_.start) return false;
  if (count >= limits_.full) return true;
  const unsigned growth = (100 - limits_.rate) * (count - limits_.start) /
                          (limits_.full - limits_.start);
  return percent < limits_.rate + growth;
}

std::optional<pid_t> Logins::OldestOfFull(const std::string& source) const {
  const auto is_same = [&source](const Login& login) {
    return login.source == source;
  };
  const auto count = std::count_if(logins_.begin(), logins_.end(), is_same);
  if (static_cast<unsigned>(count) < limits_.per_source) return std::nullopt;
  return std::find_if(logins_.begin(), logins_.end(), is_same)->process;
}

void Logins::Begin(pid_t process, const std::string& source) {
  logins_.push_back({process, source});
}

void Logins::End(pid_t process) {
  logins_.erase(std::remove_if(logins_.begin(), logins_.end(),
                               [process](const Login& login) {
                                 return login.process == process;
                               }),
                logins_.end());
}

}  // namespace ipav::transport
