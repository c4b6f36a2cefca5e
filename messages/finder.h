// Makes findings from refusals: what the text means, which nodes it is about,
// and their positions in the files.
#ifndef IPAV_MESSAGES_FINDER_H_
#define IPAV_MESSAGES_FINDER_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "host/source/source_text.h"
#include "messages/finding.h"

namespace ipav::messages {

// One of the two configurations of a commit. The pointers are borrowed.
struct Configuration {
  const datastore::DataTree* tree;
  std::string file;                  // as the user gave it
  const source::SourceText* source;  // null: not read from a file
};

// How the candidate was judged: as a change of the running configuration, or as
// a device loads it after a restart.
enum class Judged : std::uint8_t { kAsChange, kFromNothing };

// The position of a node of that configuration; none if its file does not have
// it.
std::optional<Place> PlaceOf(const Configuration& configuration,
                             const lyd_node* node);

// Compares the two configurations only when there is a refusal.
//
// A finding of a candidate that was judged from nothing is standing if its text
// is true of the running configuration as well, and all nodes that it names are
// there; the change may have altered them.
class Finder {
 public:
  Finder(Configuration running, Configuration candidate,
         Judged judged = Judged::kAsChange);
  ~Finder();
  Finder(const Finder&) = delete;
  Finder& operator=(const Finder&) = delete;

  // The finding for an answer that is a refusal.
  Finding Explain(const commit::Answer& answer);

  // A finding for each refusal among the answers, in their order. An exception
  // is not a refusal.
  std::vector<Finding> ExplainAll(const commit::Outcome& outcome);

 private:
  class Search;

  Configuration running_;
  Configuration candidate_;
  Judged judged_;
  std::unique_ptr<Search> search_;
};

// Whether ExplainAll() has a finding for that answer.
bool IsRefusal(const commit::Answer& answer);

}  // namespace ipav::messages

#endif  // IPAV_MESSAGES_FINDER_H_
