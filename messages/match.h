// Which documented text a text is, and what was filled in.
#ifndef IPAV_MESSAGES_MATCH_H_
#define IPAV_MESSAGES_MATCH_H_

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "messages/document.h"

namespace ipav::messages {

struct Match {
  const Section* section;
  std::string pattern;  // the documented text
  // Each placeholder with what stands in its place, in their order.
  std::vector<std::pair<std::string, std::string>> filled_in;
};

// The documented text with the most characters in common; none where there is
// no such text. A bare number of the document stands for any number.
std::optional<Match> FindText(const std::vector<Section>& document,
                              const std::string& text);

// The names, those of them at most `count`, that are written most alike; the
// best one first, none that has little in common.
std::vector<std::string> MostAlike(const std::vector<std::string>& names,
                                   const std::string& text, std::size_t count);

}  // namespace ipav::messages

#endif  // IPAV_MESSAGES_MATCH_H_
