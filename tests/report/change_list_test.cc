#include "host/view/change_list.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/host/fixtures.h"

namespace {

using host_test::TestModel;
using ipav::datastore::DataTree;
using ipav::datastore::Diff;
using ipav::datastore::Novelty;
using ipav::view::ChangeLine;
using ipav::view::ListChanges;

constexpr char kBody[] =
    "container c { leaf a { type string; } "
    "leaf e { type boolean; default true; } leaf-list ll { type string; } "
    "container p { presence p; leaf x { type string; } } "
    "list l { key k; leaf k { type string; } leaf v { type string; } "
    "leaf e { type boolean; default true; } "
    "container in { leaf x { type string; } "
    "list m { key n; leaf n { type uint8; } leaf w { type string; } } } } }";

// "+ PATH: -value... +value..."
std::vector<std::string> Lines(const std::string& before,
                               const std::string& after) {
  static const TestModel kModel(kBody);
  const DataTree running = kModel.Tree(before);
  const DataTree candidate = kModel.Tree(after);
  std::vector<std::string> lines;
  for (const ChangeLine& change : ListChanges(Diff(running, candidate))) {
    std::string line = change.novelty == Novelty::kAdded     ? "+ "
                       : change.novelty == Novelty::kRemoved ? "- "
                                                             : "~ ";
    line += change.path + ":";
    for (const std::string& value : change.before) line += " -" + value;
    for (const std::string& value : change.after) line += " +" + value;
    lines.push_back(line);
  }
  return lines;
}

using Texts = std::vector<std::string>;

std::string C(const std::string& inside) { return "<c NS>" + inside + "</c>"; }

TEST(ChangeList, IsEmptyWhereNothingChanged) {
  EXPECT_EQ(Lines(C("<a>1</a>"), C("<a>1</a>")), Texts{});
}

TEST(ChangeList, ShowsBothValuesOfALeaf) {
  EXPECT_EQ(Lines(C("<a>1</a>"), C("<a>2</a>")), Texts{"~ /c/a: -1 +2"});
}

TEST(ChangeList, ShowsAddedAndRemovedLeaves) {
  EXPECT_EQ(Lines(C("<a>1</a><ll>x</ll>"), C("<ll>x</ll><ll>y</ll>")),
            (Texts{"+ /c/ll: +y", "- /c/a: -1"}));
}

TEST(ChangeList, ShowsAnAddedEntryOnceWithItsLeaves) {
  EXPECT_EQ(Lines("", C("<l><k>one</k><v>2</v><in><x>3</x><m><n>4</n>"
                        "<w>5</w></m><m><n>6</n></m></in></l>")),
            Texts{"+ /c/l{one}: +v 2 +in/x 3 +in/m{4}/w 5 +in/m{6}"});
}

TEST(ChangeList, ShowsARemovedEntryOnceWithItsLeaves) {
  EXPECT_EQ(Lines(C("<l><k>one</k><v>2</v></l><l><k>two</k></l>"),
                  C("<l><k>two</k></l>")),
            Texts{"- /c/l{one}: -v 2"});
}

TEST(ChangeList, LeavesOutDefaultsThatNobodyWrote) {
  EXPECT_EQ(Lines("", C("<l><k>one</k></l>")), Texts{"+ /c/l{one}:"});
  EXPECT_EQ(Lines("", C("<l><k>one</k><e>true</e></l>")),
            Texts{"+ /c/l{one}: +e true"});
}

TEST(ChangeList, ShowsTheDefaultThatAValueGivesWayTo) {
  EXPECT_EQ(Lines(C("<e>false</e>"), C("")), Texts{"~ /c/e: -false +true"});
}

TEST(ChangeList, ShowsAPresenceContainerWithItsLeaves) {
  EXPECT_EQ(Lines("", C("<p><x>1</x></p>")), Texts{"+ /c/p: +x 1"});
}

}  // namespace
