// The texts that each validation point may set: those of the catalogue.

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/support/finding.h"
#include "fuzz/support/outcome.h"
#include "messages/match.h"

namespace ipav::fuzz {

void RequireKnownText(const std::string& point, const std::string& text) {
  const messages::Point* known = messages::FindPoint(point);
  const std::vector<messages::Reading> readings = messages::ReadText(text);
  if (known != nullptr &&
      std::any_of(readings.begin(), readings.end(), [&](const auto& reading) {
        return messages::Reports(*known, *reading.text);
      })) {
    return;
  }
  Finding("unknown text of " + point + ": " + text);
}

}  // namespace ipav::fuzz
