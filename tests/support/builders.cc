#include "builders.h"

#include <cstddef>
#include <utility>

#include "fake_platform.h"
#include "path_text.h"

namespace ipav::testing {

KeyPath& KeyPath::Element(std::vector<Value> row) {
  rows_.push_back(std::move(row));
  return *this;
}

KeyPath& KeyPath::Replace(std::size_t index, Value value) {
  rows_.at(rows_.size() - 1 - index) = {std::move(value)};
  return *this;
}

confd_hkeypath_t* KeyPath::get() {
  stored_ = {};
  for (auto row = rows_.rbegin(); row != rows_.rend(); ++row) {
    confd_value_t* element = stored_.v[stored_.len++];
    for (const Value& value : *row) *element++ = value.Borrow();
    if (row->front().type() != C_XMLTAG) *element = Nothing().Borrow();
  }
  return &stored_;
}

std::string KeyPath::text() const {
  Path path;
  for (const auto& row : rows_) {
    if (row.front().type() == C_XMLTAG) {
      path.push_back({row.front().KeyText(), {}});
      continue;
    }
    for (const Value& key : row) path.back().keys.push_back(key.KeyText());
  }
  return PathText(path);
}

std::string RaConfig::container() const {
  return "/config/interface/" + kind + "{" + name + "}/ipv6/nd/ra/";
}

KeyPath RaConfig::keypath() const {
  KeyPath path;
  path.Node("config").Node("interface").Node(kind).Key(Text(name));
  path.Node("ipv6").Node("nd").Node("ra");
  return path;
}

void RaConfig::StoreIn(FakePlatform& platform) const {
  platform.AddEntry("/config/interface/" + kind, {Text(name)});
  const struct {
    const char* leaf;
    const std::optional<std::uint16_t>& seconds;
  } timers[] = {{"max-interval", max_interval},
                {"min-interval", min_interval},
                {"lifetime", lifetime}};
  for (const auto& timer : timers) {
    if (!timer.seconds) continue;
    platform.SetValue(container() + timer.leaf, Uint16(*timer.seconds));
  }
}

}  // namespace ipav::testing
