#include "messages/catalogue.h"

#include <algorithm>

namespace ipav::messages {

const Message* FindMessage(const std::string& name) {
  const auto found = std::find_if(
      Messages().begin(), Messages().end(), [&](const Message& one) {
        return one.rule == name || one.anchor == name;
      });
  return found == Messages().end() ? nullptr : &*found;
}

const Point* FindPoint(const std::string& name) {
  const auto found =
      std::find_if(Points().begin(), Points().end(),
                   [&](const Point& one) { return one.name == name; });
  return found == Points().end() ? nullptr : &*found;
}

bool Reports(const Point& point, const Text& text) {
  return std::find(text.points.begin(), text.points.end(), point.name) !=
         text.points.end();
}

std::vector<std::string> PointsOf(const Message& message) {
  std::vector<std::string> names;
  for (const Point& point : Points()) {
    if (std::any_of(message.texts.begin(), message.texts.end(),
                    [&](const Text& text) { return Reports(point, text); })) {
      names.push_back(point.name);
    }
  }
  return names;
}

}  // namespace ipav::messages
