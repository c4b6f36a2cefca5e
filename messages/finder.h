// Makes findings of refusals: what the text means, which nodes it is about and
// where they are written.
#ifndef IPAV_MESSAGES_FINDER_H_
#define IPAV_MESSAGES_FINDER_H_

#include <memory>
#include <string>
#include <vector>

#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "host/source/source_text.h"
#include "messages/finding.h"

namespace ipav::messages {

// One of the two configurations of a commit. All is borrowed.
struct Configuration {
  const datastore::DataTree* tree;
  std::string file;                  // as it was named
  const source::SourceText* source;  // null: of no file
};

// Costs nothing before the first refusal.
class Finder {
 public:
  Finder(Configuration running, Configuration candidate);
  ~Finder();
  Finder(const Finder&) = delete;
  Finder& operator=(const Finder&) = delete;

  // Of an answer that is no acceptance.
  Finding Explain(const commit::Answer& answer);

  // Of each refusal among the answers, in their order. An exception is none.
  std::vector<Finding> ExplainAll(const commit::Outcome& outcome);

 private:
  class Search;

  Configuration running_;
  Configuration candidate_;
  std::unique_ptr<Search> search_;
};

// Whether there is a finding of that answer.
bool IsRefusal(const commit::Answer& answer);

}  // namespace ipav::messages

#endif  // IPAV_MESSAGES_FINDER_H_
