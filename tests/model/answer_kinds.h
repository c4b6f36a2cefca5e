// Which kinds of answer the random lives bring up, and how often. A generator
// that misses a rule would let any mistake in it pass.
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

  // An answer that a read of an earlier call made different.
  void CountDecidedByEarlierRead();
  // A read of the OSPFv2 table that went well after one that did not.
  void CountOspfReadAgain();

  unsigned lives() const { return lives_; }
  void Print(std::ostream& out) const;

  // The kinds that must come up and did not, and answers of no known kind.
  std::vector<std::string> Missing() const;
  std::vector<std::string> Unknown() const;

 private:
  std::map<std::string, unsigned> counts_;  // "point: kind"
  unsigned lives_ = 0;
};

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_ANSWER_KINDS_H_
