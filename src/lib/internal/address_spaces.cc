#include "src/lib/internal/address_spaces.h"

#include <functional>

namespace ip_application::config_valid::internal {

namespace {

constexpr std::uint32_t kGlobalAndMgmt = 0;

constexpr std::size_t kUsualNames = 16;

}  // namespace

std::uint32_t AddressSpaces::NumberOf(const std::string& vrf_name) {
  if (last_name_ == nullptr || vrf_name != *last_name_) {
    last_number_ =
        IsGlobalOrMgmt(vrf_name) ? kGlobalAndMgmt : FindOrAdd(vrf_name);
    last_name_ = &vrf_name;
  }
  return last_number_;
}

std::uint32_t AddressSpaces::FindOrAdd(const std::string& vrf_name) {
  const std::size_t hash = std::hash<std::string>()(vrf_name);
  const std::uint32_t found =
      index_.Find(hash, [&](auto at) { return *names_[at] == vrf_name; });
  if (found != HashIndex::kNone) return found + 1;

  index_.Reserve(index_.size() + 1);
  if (names_.empty()) names_.reserve(kUsualNames);
  names_.push_back(&vrf_name);
  index_.Add(hash);
  return static_cast<std::uint32_t>(names_.size());
}

}  // namespace ip_application::config_valid::internal
