// Suggestions for a name that was mistyped.
#ifndef IPAV_CLI_SIMILAR_NAMES_H_
#define IPAV_CLI_SIMILAR_NAMES_H_

#include <cstddef>
#include <string>
#include <vector>

namespace ipav::cli {

// The `count` names that are most similar to the text, the best one first.
// Names that have little in common with it are left out.
std::vector<std::string> MostAlike(const std::vector<std::string>& names,
                                   const std::string& text, std::size_t count);

}  // namespace ipav::cli

#endif  // IPAV_CLI_SIMILAR_NAMES_H_
