// Counts the kinds of answers in the random scenarios. If the generator never
// triggered a rule, no mistake in it could be found.
#ifndef IPAV_TESTS_MODEL_ANSWER_KINDS_H_
#define IPAV_TESTS_MODEL_ANSWER_KINDS_H_

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "tests/model/plain_model.h"

namespace ipav::model {

class AnswerTally {
 public:
  AnswerTally();

  void CountLife() { ++lives_; }
  void Count(const Call& call, const Answer& answer);

  // Counts an answer that differs because an earlier call has read something.
  void CountDecidedByEarlierRead();
  // Counts a read of the OSPFv2 table that succeeded after one that failed.
  void CountOspfReadAgain();

  unsigned lives() const { return lives_; }
  void Print(std::ostream& out) const;

  // The kinds that must occur and did not, and answers of no known kind.
  std::vector<std::string> Missing() const;
  std::vector<std::string> Unknown() const;

 private:
  std::map<std::string, unsigned> counts_;  // "point: kind"
  unsigned lives_ = 0;
};

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_ANSWER_KINDS_H_
