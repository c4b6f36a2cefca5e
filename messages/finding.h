// The explanation of a refusal: which nodes it is about, their positions in the
// files, and what to do.
#ifndef IPAV_MESSAGES_FINDING_H_
#define IPAV_MESSAGES_FINDING_H_

#include <cstddef>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "host/datastore/diff.h"

namespace ipav::messages {

// The position of a node in a file.
struct Place {
  std::string file;         // as the user gave it
  std::size_t line = 0;     // from 1
  std::size_t column = 0;   // from 1, in characters (not bytes) of the line
  std::size_t length = 0;   // characters to mark from there, at least 1
  std::string source_line;  // the whole line, without its end
  // If the line is too long, source_line is only the part around the position.
  std::size_t skipped = 0;  // characters of the line before source_line
};

// A node that a refusal is about. A removed one is in the running configuration
// only, any other in the candidate.
struct Culprit {
  std::string role;   // what it is in the refusal: "address", "overlaps with"
  std::string path;   // data path, from the root
  std::string value;  // of a leaf, in canonical form; empty for other nodes
  datastore::Novelty novelty = datastore::Novelty::kUnchanged;
  std::optional<Place> place;  // none if the file does not have it
};

// A part of a file, and the text to be written there. Lines and columns are
// from 1; the column of the end is the one behind the part.
struct TextEdit {
  std::size_t line = 0;
  std::size_t column = 0;
  std::size_t end_line = 0;
  std::size_t end_column = 0;
  std::string text;

  bool operator==(const TextEdit& other) const {
    return std::tie(line, column, end_line, end_column, text) ==
           std::tie(other.line, other.column, other.end_line, other.end_column,
                    other.text);
  }
};

// A way out of a refusal: with these edits of the candidate's file the refusal
// is gone, and no other one is new.
struct Fix {
  std::string id;        // "F1.2": of the first finding, the second one
  bool is_safe = false;  // the configuration means the same afterwards
  std::string text;      // one line: what is changed
  std::vector<TextEdit> edits;
};

struct Finding {
  std::string text;   // of the refusal, unchanged
  std::string point;  // name of the validation point
  std::string path;   // data path of the validated node

  // From the catalogue: a stable identifier such as "interface-overlap", the
  // title, the advice, and the anchor in docs/messages.md. Empty for a text
  // that the catalogue does not have.
  std::string rule;
  std::string title;
  std::string advice;
  std::string anchor;

  std::vector<Culprit> culprits;  // in the order of the text
  std::string note;  // why culprits are missing; empty when they are all there

  // The commit touches no culprit, and the running configuration already has
  // the fault. (A configuration that is judged from nothing: see Finder.)
  bool is_standing = false;

  // The commit does not report it: it appears after another violation of its
  // point is corrected.
  bool is_behind = false;

  std::optional<std::vector<Fix>> fixes;  // none: they were not looked for
};

// What several validation points have in common if they report the same fault:
// the text and the nodes.
std::vector<std::string> FaultOf(const Finding& finding);

// The data paths of the culprits of each finding.
std::vector<std::vector<std::string>> CulpritPaths(
    const std::vector<Finding>& findings);

}  // namespace ipav::messages

#endif  // IPAV_MESSAGES_FINDING_H_
