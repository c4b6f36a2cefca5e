// Reads texts as `ipav check` reads files, compares them, and validates them in
// a whole commit. The targets config_xml and config_json are both made of this
// file, as each has its own corpus and dictionary.
//
// Legal: an InputError of lines that name the file; or a configuration, and
// for each call of the commit's plan verdict 0, or -1 with one text of the
// point, or the exceptions for invalid texts in the OSPFv2 table and for a
// short output interface name. No assertion: data that the model accepts has
// the right types.
//
// Input: the file.

#include <libyang/libyang.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/support/commit.h"
#include "fuzz/support/configurations.h"
#include "fuzz/support/finding.h"
#include "fuzz/support/target.h"
#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/diff.h"
#include "host/datastore/input_text.h"
#include "host/source/source_text.h"
#include "messages/finder.h"
#include "messages/finding.h"

namespace ipav::fuzz {

namespace {

using datastore::Change;
using datastore::DataTree;
using datastore::Diff;

struct FreeDeleter {
  void operator()(char* text) const { std::free(text); }
};

// Empty for a tree with only default values.
std::string Print(const DataTree& tree, LYD_FORMAT format) {
  char* printed = nullptr;
  const LY_ERR error = lyd_print_mem(&printed, tree.FirstChild(nullptr), format,
                                     LYD_PRINT_WITHSIBLINGS);
  const std::unique_ptr<char, FreeDeleter> owned(printed);
  Require(error == LY_SUCCESS, "a configuration that cannot be printed");
  return printed == nullptr ? "" : printed;
}

void RequireReadsBack(const DataTree& tree, LYD_FORMAT format) {
  const std::string text = Print(tree, format);
  if (text.empty()) return;
  const std::optional<DataTree> again = ReadConfiguration(text);
  Require(again.has_value(), "a printed configuration is refused");
  Require(Diff(tree, *again).top().empty(), "a printed configuration differs");
}

// A look-up with the keys of any list entry must find this entry.
void RequireEntriesAreFound(const DataTree& tree, const lyd_node* parent) {
  for (const lyd_node* node = tree.FirstChild(parent); node != nullptr;
       node = node->next) {
    if (node->schema->nodetype == LYS_LIST) {
      const lyd_node* found =
          tree.FindEntry(parent, *node->schema, datastore::KeysOf(node));
      Require(found == node, "keys that find another entry");
    }
    if (lyd_child(node) != nullptr) RequireEntriesAreFound(tree, node);
  }
}

std::size_t CountChanges(const std::vector<Change>& changes) {
  std::size_t count = changes.size();
  for (const Change& change : changes) count += CountChanges(change.children);
  return count;
}

// Both directions must have the same number of changes.
void RequireSameWayBack(const DataTree& from, const DataTree& to) {
  Require(
      CountChanges(Diff(from, to).top()) == CountChanges(Diff(to, from).top()),
      "another number of changes back");
}

// Whether the keys of an entry have a carriage return. libyang keeps it, but an
// XML reader replaces it, so the entry has no position.
bool HasCarriageReturn(const lyd_node* node) {
  if (node->schema->nodetype != LYS_LIST) return false;
  const std::vector<std::string> keys = datastore::KeysOf(node);
  return std::any_of(keys.begin(), keys.end(), [](const std::string& key) {
    return key.find('\r') != std::string::npos;
  });
}

// Each node that is written in the text must have a position in it.
void RequirePlaces(const source::SourceText& source, const lyd_node* node) {
  for (; node != nullptr; node = node->next) {
    if (HasCarriageReturn(node)) continue;
    const std::optional<source::Mark> mark = source.MarkOf(node);
    Require(mark.has_value() || (node->flags & LYD_DEFAULT) != 0,
            "a node without a place");
    if (mark) {
      Require(mark->line >= 1 && mark->length >= 1, "a place of nothing");
      Require(mark->column > mark->skipped &&
                  mark->column - mark->skipped <= mark->source_line.size() + 1,
              "a place outside of its line");
    }
    RequirePlaces(source, lyd_child(node));
  }
}

// Runs a commit, and makes a finding for each refusal.
void JudgeAndExplain(const messages::Configuration& running,
                     const messages::Configuration& candidate) {
  messages::Finder finder(running, candidate);
  for (const commit::Answer& refusal :
       JudgeCommit(*running.tree, *candidate.tree)) {
    const messages::Finding finding = finder.Explain(refusal);
    Require(!finding.rule.empty(), "a text that no message has");
    Require(!finding.culprits.empty() || !finding.note.empty(),
            "a finding of nothing");
  }
}

// If the text is accepted: its entries are found by their keys, it can be read
// back from libyang's print of it, it does not differ from itself, it has as
// many changes from another one as to it, and the commits from the empty and
// the small configuration to it, and back, are run.
void JudgeText(const std::string& text) {
  const std::optional<DataTree> tree = ReadConfiguration(text);
  if (!tree) return;
  Require(Diff(*tree, *tree).top().empty(),
          "a configuration differs from itself");
  RequireEntriesAreFound(*tree, nullptr);
  RequireSameWayBack(SmallConfiguration(), *tree);
  RequireReadsBack(*tree, LYD_XML);
  RequireReadsBack(*tree, LYD_JSON);

  const datastore::InputText read = datastore::CheckText("text", text);
  const source::SourceText source(read);
  RequirePlaces(source, tree->FirstChild(nullptr));

  static const DataTree kEmpty = DataTree::Empty(ProjectModel());
  static const datastore::InputText kSmallText =
      datastore::CheckText("small", SmallConfigurationText());
  static const source::SourceText kSmallSource(kSmallText);
  const messages::Configuration empty{&kEmpty, "", nullptr};
  const messages::Configuration small{&SmallConfiguration(), "small",
                                      &kSmallSource};
  const messages::Configuration judged{&*tree, "text", &source};
  JudgeAndExplain(empty, judged);
  JudgeAndExplain(small, judged);
  JudgeAndExplain(judged, small);
}

}  // namespace

}  // namespace ipav::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ipav::fuzz::JudgeText(std::string(data, data + size));
  return 0;
}
