// One case or more of each message, and what its finding must say.
#ifndef TESTS_MESSAGES_FINDINGS_TABLE_H_
#define TESTS_MESSAGES_FINDINGS_TABLE_H_

#include <string>
#include <vector>

namespace ipav::messages {

struct Expectation {
  std::string folder;  // of the case
  std::string rule;
  // "ROLE, NOVELTY PATH FILE:LINE MARKED" of each, and the note.
  std::vector<std::string> culprits;
};

const std::vector<Expectation>& Expectations();

}  // namespace ipav::messages

#endif  // TESTS_MESSAGES_FINDINGS_TABLE_H_
