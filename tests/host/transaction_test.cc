#include "host/datastore/transaction.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "host/confd/path.h"
#include "host/datastore/input_error.h"
#include "host/datastore/wrapper.h"
#include "host/datastore/xml_difference.h"
#include "tests/host/fixtures.h"

namespace {

namespace fs = std::filesystem;

using host_test::Contains;
using host_test::ProjectModel;
using host_test::TestModel;
using ipav::datastore::Change;
using ipav::datastore::DataTree;
using ipav::datastore::Diff;
using ipav::datastore::FindXmlDifference;
using ipav::datastore::InputError;
using ipav::datastore::InputText;
using ipav::datastore::Model;
using ipav::datastore::Running;
using ipav::datastore::Transaction;
using ipav::testing::ReadFile;

InputText TextOf(const std::string& bytes) {
  InputText text{"data.xml", bytes, 0, LYD_XML};
  ipav::datastore::RemoveWrappers(&text);
  return text;
}

std::string ValueOf(const lyd_node* node) {
  if (node == nullptr) return "-";
  const char* value = lyd_get_value(node);
  return value == nullptr ? "+" : value;
}

void Print(const std::vector<Change>& changes, std::string* text) {
  for (const Change& change : changes) {
    *text += ipav::confd::PrintPath(change.Node()) + " " +
             ValueOf(change.before) + " " + ValueOf(change.after) + "\n";
    Print(change.children, text);
  }
}

void ExpectInTree(const DataTree& tree, const std::vector<Change>& changes) {
  for (const Change& change : changes) {
    if (change.after == nullptr) continue;
    const lyd_node* top = change.after;
    while (lyd_parent(top) != nullptr) top = lyd_parent(top);
    while (top->prev->next != nullptr) top = top->prev;
    EXPECT_EQ(top, tree.FirstChild(nullptr));
    ExpectInTree(tree, change.children);
  }
}

// What a transaction changes, or what is wrong with the running configuration.
// `compared` tells whether that was found without reading all of it.
std::string Outcome(const Model& model, const std::string& running,
                    const std::string& candidate, bool* compared) {
  const Running before(model, TextOf(running));
  try {
    const InputText text = TextOf(candidate);
    const Transaction transaction(before, DataTree::FromText(model, text),
                                  text);
    *compared = !before.has_tree();
    std::string changes;
    Print(transaction.diff().top(), &changes);
    ExpectInTree(transaction.candidate(), transaction.diff().top());
    return changes;
  } catch (const InputError& error) {
    *compared = false;
    return error.what();
  }
}

// The same from both trees.
std::string OutcomeOfTrees(const Model& model, const std::string& running,
                           const std::string& candidate) {
  try {
    const DataTree before = DataTree::FromText(model, TextOf(running));
    const DataTree after = DataTree::FromText(model, TextOf(candidate));
    std::string changes;
    Print(Diff(before, after).top(), &changes);
    return changes;
  } catch (const InputError& error) {
    return error.what();
  }
}

// Both ways say the same; returns whether the shorter one was taken.
bool ExpectSame(const Model& model, const std::string& running,
                const std::string& candidate) {
  bool compared = false;
  EXPECT_EQ(Outcome(model, running, candidate, &compared),
            OutcomeOfTrees(model, running, candidate))
      << running << "\n---\n"
      << candidate;
  return compared;
}

TEST(TransactionOfExamples, ChangesAreThoseOfTheWholeTrees) {
  const fs::path folder = IPAV_EXAMPLES "/branch-router";
  const std::string running = ReadFile(folder / "running.xml");
  int files = 0;
  int compared = 0;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() != ".xml") continue;
    ++files;
    const std::string candidate = ReadFile(entry.path());
    compared += ExpectSame(ProjectModel(), running, candidate) ? 1 : 0;
    // And the way back. NOLINTNEXTLINE(readability-suspicious-call-argument)
    compared += ExpectSame(ProjectModel(), candidate, running) ? 1 : 0;
    if (HasFailure()) FAIL() << entry.path();
  }
  EXPECT_GT(files, 50);
  EXPECT_GT(compared, files);
}

TEST(TransactionOfExamples, AWrapperOfOneConfigurationIsNoChange) {
  const fs::path folder = IPAV_EXAMPLES "/branch-router";
  const std::string running = ReadFile(folder / "running.xml");
  const std::string candidate = ReadFile(folder / "ra-timers-tuned.xml");
  const auto wrapped = [](const std::string& text) {
    return "<config xmlns=\"http://tail-f.com/ns/config/1.0\">\n" +
           text.substr(
               text.find("?>") == std::string::npos ? 0 : text.find("?>") + 2) +
           "</config>\n";
  };
  const std::string changes =
      OutcomeOfTrees(ProjectModel(), running, candidate);
  for (const auto& [before, after] :
       {std::pair(wrapped(running), candidate),
        std::pair(running, wrapped(candidate)),
        std::pair(wrapped(running), wrapped(candidate))}) {
    EXPECT_TRUE(ExpectSame(ProjectModel(), before, after));
    EXPECT_EQ(OutcomeOfTrees(ProjectModel(), before, after), changes);
  }
}

// --- Any texts

constexpr char kBody[] =
    "container c { leaf a { type string; default \"none\"; } "
    "leaf-list ll { type string; } "
    "list l { key k; leaf k { type string; must \". != 'bad'\"; } "
    "leaf v { type string; } container in { leaf w { type int8; } } } "
    "container d { leaf b { type uint8; } "
    "list m { key k; leaf k { type tailf:ipv6-address-and-prefix-length; } } "
    "container deep { presence yes; leaf e { type string; } } } } "
    "list top { key k; leaf k { type uint32; } leaf v { type "
    "string; } }";

using Lines = std::vector<std::string>;

// Each line is a tag or a whole element, and so is what is left where some
// whole elements are taken out.
Lines RandomLines(std::mt19937* random) {
  const auto chance = [&](unsigned percent) {
    return (*random)() % 100 < percent;
  };
  Lines lines = {"<c xmlns=\"urn:m\">"};
  if (chance(50)) lines.push_back("<a>none</a>");
  for (int i = 0; i < 6; ++i) {
    if (chance(60)) lines.push_back("<ll>v" + std::to_string(i) + "</ll>");
  }
  for (int i = 0; i < 30; ++i) {
    if (chance(20)) continue;
    const std::string key = "<l><k>e" + std::to_string(i) + "</k>";
    lines.push_back(key + (chance(50) ? "<v>x</v></l>" : "</l>"));
  }
  lines.push_back("<d>");
  if (chance(50)) lines.push_back("<b>1</b>");
  for (int i = 1; i < 10; ++i) {
    if (chance(60)) {
      lines.push_back("<m><k>2001:db8::" + std::to_string(i) + "/64</k></m>");
    }
  }
  if (chance(50)) lines.push_back("<deep><e>1</e></deep>");
  lines.push_back("</d>");
  lines.push_back("</c>");
  for (int i = 0; i < 10; ++i) {
    if (chance(60)) {
      lines.push_back("<top xmlns=\"urn:m\"><k>" + std::to_string(i) +
                      "</k></top>");
    }
  }
  return lines;
}

// Some of them make an invalid text.
void Edit(std::mt19937* random, Lines* lines) {
  static const Lines kNew = {
      "<a>some</a>",
      "<l><k>new</k></l>",
      "<l><k>e1</k><v>y</v></l>",
      "<m><k>2001:DB8::3/64</k></m>",
      "<b>2</b>",
      "<b>256</b>",
      "<!-- a comment -->",
      "<!-- <!-- -->",
      "<!-- \x01 -->",
      "<ll>v]]></ll>",
      "<ll><![CDATA[v<1]]></ll>",
      "<frob/>",
      "text",
      "<d/>",
      "<d><b>3</b></d>",
      "<deep/>",
      "<l>",
      "</l>",
      "<?pi?>",
      "<c xmlns=\"urn:m\"><b>1</b></c>",
      "<x:top xmlns:x=\"urn:m\"><x:k>7</x:k></x:top>",
      "<l><k>bad</k></l>",
      "<l a=\"'>\"><k>attribute</k></l>",
  };
  const std::size_t at = (*random)() % lines->size();
  const auto place = lines->begin() + static_cast<std::ptrdiff_t>(at);
  switch ((*random)() % 5) {
    case 0:
      lines->erase(place);
      break;
    case 1:
      lines->insert(place, std::string(*place));
      break;
    case 2:
      std::swap(lines->at(at), lines->at((*random)() % lines->size()));
      break;
    default:
      lines->insert(place, kNew.at((*random)() % kNew.size()));
      break;
  }
}

std::string Join(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

TEST(TransactionOfAnyTexts, SaysWhatTheWholeTreesSay) {
  const TestModel model(kBody);
  ASSERT_TRUE(model->judges_nodes_alone());
  // The same cases in every run. NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp)
  std::mt19937 random(6);
  int compared = 0;
  int refused = 0;
  for (int i = 0; i < 4000; ++i) {
    const Lines candidate = RandomLines(&random);
    Lines running = candidate;
    for (unsigned edits = random() % 4; edits > 0; --edits) {
      Edit(&random, &running);
    }
    const bool is_compared = ExpectSame(*model, Join(running), Join(candidate));
    if (::testing::Test::HasFailure()) FAIL() << "case " << i;
    compared += is_compared ? 1 : 0;
    bool ignored = false;
    const std::string outcome =
        Outcome(*model, Join(running), Join(candidate), &ignored);
    refused += Contains(outcome, "data.xml") ? 1 : 0;
  }
  EXPECT_GT(compared, 1000);
  EXPECT_GT(refused, 1000);
}

// --- What takes the whole tree

TEST(Transaction, OfAModelWithAConstraintReadsAllOfTheRunningConfiguration) {
  const std::string list = "list l { key k; leaf k { type string; } ";
  for (const std::string& body :
       {list + "leaf v { type string; mandatory true; } }",
        list + "leaf v { type string; must \"../k\"; } }",
        list + "leaf v { type string; when \"../k\"; } }",
        list + "leaf v { type leafref { path \"/l/k\"; } } }",
        list + "leaf v { type union { type uint8; type leafref { path "
               "\"/l/k\"; } } } }",
        list + "leaf v { type string; } unique v; }",
        list + "leaf v { type string; } max-elements 100; }",
        list + "leaf v { type string; } min-elements 1; }",
        list + "choice x { leaf v { type string; } leaf w { type string; } } }",
        list + "anydata v; }"}) {
    const TestModel model(body);
    EXPECT_FALSE(model->judges_nodes_alone()) << body;
    std::string text;
    for (int i = 0; i < 20; ++i) {
      text += "<l xmlns=\"urn:m\"><k>e" + std::to_string(i) + "</k>" +
              (Contains(body, "anydata") ? "" : "<v>e1</v>") + "</l>\n";
    }
    if (Contains(body, "unique")) continue;  // the data would not be
    EXPECT_FALSE(ExpectSame(*model, text, text)) << body;
  }
}

TEST(Transaction, OfADuplicateOfASharedEntryIsRefusedForIt) {
  const TestModel model(kBody);
  std::string shared;
  for (int i = 0; i < 20; ++i) {
    shared += "<top xmlns=\"urn:m\"><k>" + std::to_string(i) + "</k></top>\n";
  }
  const std::string twice = "<top xmlns=\"urn:m\"><k>7</k><v>x</v></top>\n";
  bool compared = false;
  const std::string outcome =
      Outcome(*model, shared + twice, shared, &compared);
  EXPECT_TRUE(Contains(outcome, "Duplicate instance of \"top\""));
  EXPECT_EQ(outcome, OutcomeOfTrees(*model, shared + twice, shared));
}

TEST(XmlDifference, HoldsEntriesWholeAndContainersInPart) {
  const TestModel model(kBody);
  std::string entries;
  for (int i = 0; i < 100; ++i) {
    entries += "<l><k>e" + std::to_string(i) + "</k></l>";
  }
  const auto text = [&](const std::string& more) {
    return "<c xmlns=\"urn:m\">" + entries + more + "</c>";
  };
  const auto difference =
      FindXmlDifference(*model, text("<l><k>x</k></l>"),
                        text("<l><k>x</k><v>1</v></l><d><b>1</b></d>"));
  ASSERT_TRUE(difference.has_value());
  EXPECT_EQ(difference->first, "<c xmlns=\"urn:m\"><l><k>x</k></l></c>");
  EXPECT_EQ(difference->second,
            "<c xmlns=\"urn:m\"><l><k>x</k><v>1</v></l><d><b>1</b></d></c>");
}

TEST(XmlDifference, OfTheSameTextIsNothing) {
  const TestModel model(kBody);
  const std::string text = "<c xmlns=\"urn:m\"><a>x</a></c>";
  const auto difference = FindXmlDifference(*model, text, text);
  ASSERT_TRUE(difference.has_value());
  EXPECT_EQ(difference->first, "");
  EXPECT_EQ(difference->second, "");
}

}  // namespace
