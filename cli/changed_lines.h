// The changes between two configurations, one a line.
#ifndef IPAV_CLI_CHANGED_LINES_H_
#define IPAV_CLI_CHANGED_LINES_H_

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "host/datastore/diff.h"

namespace ipav::cli {

struct ChangedLine {
  const datastore::Change* change;    // borrowed
  std::optional<std::size_t> leaves;  // number of them, of a list entry
};

// An added or deleted list entry is one line; with `full`, its leaves follow.
std::vector<ChangedLine> ListLines(
    const std::vector<datastore::Change>& changes, bool full);

// The line of one change; none for a key or an implicit default.
std::vector<ChangedLine> ListLine(const datastore::Change& change);

// "~ PATH: OLD -> NEW", printable.
std::string InWords(const ChangedLine& line);

// An object of the path, the kind of change, and the values of a leaf.
nlohmann::ordered_json JsonOf(const ChangedLine& line);

}  // namespace ipav::cli

#endif  // IPAV_CLI_CHANGED_LINES_H_
