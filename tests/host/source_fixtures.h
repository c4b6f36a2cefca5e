// What the tests of places in texts share.
#ifndef TESTS_HOST_SOURCE_FIXTURES_H_
#define TESTS_HOST_SOURCE_FIXTURES_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "host/datastore/data_tree.h"
#include "host/source/source_text.h"
#include "tests/host/fixtures.h"

namespace host_test {

// A configuration of the project's model together with its text.
class Written {
 public:
  explicit Written(std::string text)
      : text_(std::move(text)),
        tree_(ipav::datastore::DataTree::FromText(
            ProjectModel(), ipav::datastore::CheckText("text", text_))),
        source_(text_) {}

  const ipav::datastore::DataTree& tree() const { return tree_; }
  const ipav::source::SourceText& source() const { return source_; }

  std::optional<ipav::source::Mark> MarkOf(const std::string& path) const {
    const lyd_node* node = NodeAt(tree_, path);
    EXPECT_NE(node, nullptr) << path;
    return source_.MarkOf(node);
  }

  // "LINE:COLUMN:what is marked" of a node; "" where it has no place.
  std::string Place(const std::string& path) const {
    const std::optional<ipav::source::Mark> mark = MarkOf(path);
    if (!mark) return "";
    return std::to_string(mark->line) + ":" + std::to_string(mark->column) +
           ":" + MarkedIn(*mark);
  }

  // The marked part of the shown line, by characters.
  static std::string MarkedIn(const ipav::source::Mark& mark) {
    std::string marked;
    std::size_t character = mark.skipped;
    for (const char c : mark.source_line) {
      if ((static_cast<unsigned char>(c) & 0xc0) != 0x80) ++character;
      if (character >= mark.column && character < mark.column + mark.length) {
        marked += c;
      }
    }
    return marked;
  }

 private:
  std::string text_;
  ipav::datastore::DataTree tree_;
  ipav::source::SourceText source_;
};

// One interface "a", whose name ends line 2, with that behind its name.
inline std::string XmlInterface(const std::string& inner) {
  return "<config xmlns=\"urn:vorplex:config\"><interface>\n"
         "<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name>\n" +
         inner + "</l3></interface></config>\n";
}

inline std::string JsonInterface(const std::string& members) {
  return "{\"vorplex-config:config\": {\"interface\": {\n"
         "\"ipapp:l3\": [{\"name\": \"a\",\n" +
         members + "}]}}}\n";
}

}  // namespace host_test

#endif  // TESTS_HOST_SOURCE_FIXTURES_H_
